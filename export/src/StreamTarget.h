// Standard output as a target.
#pragma once

#include <Orvane/Import/Target.h>
#include <Orvane/Import/Targets.h>

#include <memory>

namespace Orvane::Import {

/// The `out` that means standard output.
inline constexpr const char* kStandardOutput = "-";

/// The target of standard output. Its bytes leave with Write; CountWritten counts them as they
/// leave.
/// @throws ImportFailure `unknown-format` without a text format, `crs-form`, `unknown-crs`
[[nodiscard]] std::unique_ptr<Target> OpenStreamTarget(const TargetRequest& request);

} // namespace Orvane::Import
