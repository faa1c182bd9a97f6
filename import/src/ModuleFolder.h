// Where plug-in modules are found that nobody has named.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Orvane::Import {

/// The folder of the file that this library's code is in; empty when the system does not tell.
[[nodiscard]] std::filesystem::path FindLibraryFolder();

/// The bundled module: "AsciiReader.so" beside the program, beside this library, or in the plug-in
/// folder, "orvane" beside this library. @throws ImportFailure `no-module`
[[nodiscard]] std::filesystem::path FindBundledModule();

/// All modules of the plug-in folder and the bundled one, by file name; see LoadModuleFor.
/// @throws ImportFailure `no-module` when there is none
[[nodiscard]] std::vector<std::filesystem::path> FindModules();

/// @throws ImportFailure `unsupported-type` for the file
[[noreturn]] void FailUnsupportedType(const std::string& file);

} // namespace Orvane::Import
