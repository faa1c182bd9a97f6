// Where the plug-in module is found that nobody has named.
#pragma once

#include <filesystem>
#include <string>

namespace Orvane::Import {

/// The module to load: `named` when it is not empty, else "AsciiReader.so" beside the program,
/// beside this library, or in the folder "orvane" beside this library.
/// @throws ImportFailure `no-module`
[[nodiscard]] std::filesystem::path FindModule(const std::string& named);

} // namespace Orvane::Import
