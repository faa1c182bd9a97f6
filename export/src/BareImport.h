// An import by the rules of the reader alone.
#pragma once

#include <Orvane/BPluginModule.h>
#include <Orvane/Import/ImportFile.h>

namespace Orvane::Import {

/// Previews the file, has the plug-in read it with the options that are given, and writes the
/// output. @throws as ImportFile
[[nodiscard]] ImportReport ImportByReader(const BPluginModule& module,
                                          const ImportRequest& request,
                                          const Callbacks& callbacks);

} // namespace Orvane::Import
