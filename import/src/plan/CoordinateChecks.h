// What the values of decided coordinates say about them, as findings.
#pragma once

#include "CoordinateColumns.h"
#include "Coordinates.h"

#include <Orvane/Import/Plan.h>

#include <vector>

namespace Orvane::Import {

/// Points out what the ranges of the coordinates, and points at 0/0, say. Rows are looked at once
/// more where there is something to count.
void CheckRanges(const CoordinateSearch& search,
                 const std::vector<CoordinateColumn>& columns,
                 Plan& plan);

/// Points out that coordinates in metres may be of several zones: a column of zones says so, or X
/// has two groups far apart over the same Y.
void FindZones(const CoordinateSearch& search, Plan& plan);

} // namespace Orvane::Import
