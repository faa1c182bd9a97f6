// The plug-in that reads a file.
#pragma once

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BPluginModule.h>
#include <Orvane/BString.h>
#include <Orvane/Import/Api.h>
#include <Orvane/Import/Progress.h>

#include <functional>
#include <string>

namespace Orvane::Import {

/// The data-source type of a path: "DS_" and its extension with the letters a to z as capitals, so
/// "DS_CSV" for "a.csv" and "DS_MARKS" for "b.Marks"; "DS_TXT" for a path without an extension.
///
/// Rule: a file that no module reads by this type is read by a module for DS_TXT. All choices of
/// modules and readers follow this rule.
[[nodiscard]] ORVANE_IMPORT_EXPORT BString DataSourceTypeOf(const std::string& path);

/// Whether the module reads a file, by its proxy's CanRead: for the data-source type of the path,
/// else for DS_TXT. The file itself is not looked at, and need not exist.
/// @throws ImportFailure `module-failure`
[[nodiscard]] ORVANE_IMPORT_EXPORT bool
CanReadFile(const BPluginModule& module, const std::string& file, const BParamList& options);

/// Loads a plug-in. Sessions and layers that come from it keep it loaded.
/// @param path the plug-in's file, UTF-8; empty: "AsciiReader.so" beside the program, beside this
///     library, or in the folder "orvane" beside this library
/// @throws ImportFailure `no-module`, `module-load`
[[nodiscard]] ORVANE_IMPORT_EXPORT BPluginModule LoadModule(const std::string& path = {});

/// Whether the module is AsciiReader, by the name of its file: the reader of delimited text, whose
/// files a plan (Plan.h) can describe.
[[nodiscard]] ORVANE_IMPORT_EXPORT bool IsBundledModule(const BPluginModule& module);

/// Loads the plug-in that reads a file.
///
/// The modules to choose from are the files of the plug-in folder, which is "orvane" beside this
/// library, that end with ".so" and do not begin with "lib"; "AsciiReader.so" beside the program or
/// beside this library is one of them, in place of one of that name in the folder. They are asked
/// in the order of their file names, byte by byte: first for the data-source type of the path, then
/// for DS_TXT. The first that reads it is the one; the others are unloaded again.
/// @param file UTF-8; only its extension counts
/// @param options given to the modules' CanRead
/// @param path a module's file, UTF-8, when the choice is made already: it alone is loaded, and not
///     asked; empty to choose
/// @param note called with a note `module-load` for each module that cannot be loaded, when another
///     one reads the file
/// @throws ImportFailure `no-module` when there are none; `unsupported-type` when none reads it;
///     `module-load` when none reads it and one cannot be loaded
[[nodiscard]] ORVANE_IMPORT_EXPORT BPluginModule
LoadModuleFor(const std::string& file,
              const BParamList& options,
              const std::string& path = {},
              const std::function<void(const Note&)>& note = {});

} // namespace Orvane::Import
