// Cells that hold a whole position, which no two columns name.
#pragma once

#include "Coordinates.h"

#include <Orvane/Import/Plan.h>

#include <string>

namespace Orvane::Import {

/// What is said of the column that holds X and Y in one cell (`47.1, 8.5`, `(47.1, 8.5)`, `POINT
/// (8.5 47.1)`, `47°06'N 8°30'E`) or a reference of the military grid (`32TMT0376551061`): a
/// sentence with its name, a cell and what to do. In a file of one column: the character past
/// ASCII that seems to separate others. Empty without any of these.
[[nodiscard]] std::string DescribePairCells(const SampleRows& rows, const Plan& plan);

} // namespace Orvane::Import
