// What an import asks when the plan leaves something open.
#pragma once

#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Plan.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Import {

/// The columns of a plan with the values of its first row, which is read for it.
/// @throws ImportFailure when the file cannot be read any more
[[nodiscard]] std::vector<ColumnSample> SampleColumns(const Plan& plan);

/// The failure that asks the plan's questions; the most basic one names its code and its text.
///
/// `answers` holds whole answers: each of them answers every question of the plan that has answers,
/// so that a caller who states one of them is asked nothing more. `missing` holds X and Y when the
/// plan has found no columns of coordinates: then the caller must name them or do without points.
/// @param plan with at least one question
/// @param rowsInTheWay bad rows, where they are more than the import allows; else 0. An answer is
///     whole only when it puts them aside
[[nodiscard]] ImportFailure
MakeQuestion(const Plan& plan, std::vector<ColumnSample> columns, std::uint64_t rowsInTheWay);

} // namespace Orvane::Import
