// A table of a PostgreSQL database as a target.
#pragma once

#include <Orvane/Import/Targets.h>

#include <memory>

namespace Orvane::Import {

/// The request's coordinate system is written as it should. Connects, begins a transaction, and
/// looks at the table; nothing is changed before Write.
/// @throws ImportFailure as OpenTarget
[[nodiscard]] std::unique_ptr<Target> OpenPostgisTarget(const TargetRequest& request);

} // namespace Orvane::Import
