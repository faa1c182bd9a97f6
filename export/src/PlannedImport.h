// An import that goes by a plan of the whole file.
#pragma once

#include <Orvane/Import/ImportFile.h>

namespace Orvane::Import {

/// Plans the file, or follows the plan that is given, reads it, writes the output, counts what is
/// in it, and closes the ledger. @throws as ImportFile
[[nodiscard]] ImportReport ImportByPlan(const ImportRequest& request, const Callbacks& callbacks);

} // namespace Orvane::Import
