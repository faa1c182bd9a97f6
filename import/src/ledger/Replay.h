// A plan that was saved, followed for a file.
#pragma once

#include <Orvane/Import/Plan.h>

#include <string>

namespace Orvane::Import {

/// The plan with the path, the size and the lines of the file, which are counted anew: all that was
/// decided stays.
///
/// Rule: the file must begin as the planned one did: its lines of names must stand where they
/// stood, spelled as they were, and its rows must begin at a line's begin. Rule: when the file has
/// other lines than the planned one, whatever follows the rows is read as rows; what does not fit
/// is a bad row.
/// @throws ImportFailure `plan-unfit` with the line; as MakePlan for a file that cannot be read
[[nodiscard]] Plan FollowPlan(Plan plan, const std::string& file);

} // namespace Orvane::Import
