// The plug-in that reads the files.
#pragma once

#include <Orvane/BPluginModule.h>
#include <Orvane/Import/Api.h>

#include <string>

namespace Orvane::Import {

/// Loads a plug-in. Sessions and layers that come from it keep it loaded.
/// @param path the plug-in's file, UTF-8; empty: "AsciiReader.so" beside the program, beside this
///     library, or in the folder "orvane" beside this library
/// @throws ImportFailure `no-module`, `module-load`
[[nodiscard]] ORVANE_IMPORT_EXPORT BPluginModule LoadModule(const std::string& path = {});

} // namespace Orvane::Import
