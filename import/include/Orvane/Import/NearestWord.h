// Finds the known words that an unknown one was probably meant to be.
#pragma once

#include <Orvane/Import/Api.h>

#include <string_view>
#include <vector>

namespace Orvane::Import {

/// The known words most like `word`, in their own order: those that begin with it; without any,
/// those that contain it, if it has at least four bytes; without any, those the fewest edits away.
/// An edit inserts, removes or replaces a byte or swaps two neighbours; more than one edit for each
/// three bytes is not alike. The case of ASCII letters and dashes at the beginning do not count.
/// Words longer than 64 bytes are like none.
///
///     FindNearestWords("imprt", {"import", "plan"}); // {"import"}
[[nodiscard]] ORVANE_IMPORT_EXPORT std::vector<std::string_view>
FindNearestWords(std::string_view word, const std::vector<std::string_view>& known);

} // namespace Orvane::Import
