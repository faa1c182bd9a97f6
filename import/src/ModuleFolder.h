// Where the plug-in module is found that nobody has named.
#pragma once

#include <filesystem>
#include <string>

namespace OrvaneHost {

/// The module to load: `named` when it is not empty, else "AsciiReader.so" beside the program, then
/// in the folder where it is installed.
/// @throws Orvane::BException at "PluginModule::Load": "The plug-in <...> was not found."
[[nodiscard]] std::filesystem::path FindModule(const std::string& named);

} // namespace OrvaneHost
