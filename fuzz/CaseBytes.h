// A case of a reader (options, calls, file) as the bytes of a fuzz input, and back.
#pragma once

#include "Dice.h"
#include "RandomFiles.h"

#include <string>
#include <string_view>

namespace Fuzz {

/// First bytes: extension, flags, block size, line that is cancelled, steps, options; the rest is
/// the file.
RandomFiles::Case DecodeCase(std::string_view bytes);
/// The bytes that give the case; a name or text that has no place in them comes back shortened.
std::string EncodeCase(const RandomFiles::Case& input);

/// A case of the random files, any of the seed's.
RandomFiles::Case MakeRandomCase(Dice& dice);

} // namespace Fuzz
