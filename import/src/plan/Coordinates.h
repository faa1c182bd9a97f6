// Which columns are the coordinates, by their names and values together.
#pragma once

#include "scan/FileScan.h"

#include <Orvane/Import/Plan.h>

#include <functional>
#include <vector>

namespace Orvane::Import {

/// Rows of the whole table, as cells in UTF-8.
using SampleRows = std::vector<Scan::SampleRow>;

/// What the coordinates are decided from.
struct CoordinateSearch
{
    const std::vector<Scan::ColumnFacts>& facts;
    const SampleRows& rows;
    bool hasNames;
    /// The names of the columns after openAfter, up to openTo, may be those of the columns before.
    std::size_t openAfter;
    std::size_t openTo;
    /// Shows all rows of the file to a watch.
    std::function<void(Scan::RowWatch&)> look;
};

/// Decides coordinates and coordinate system, sets the roles of columns, adds questions (axes that
/// values cannot tell, several pairs, none) and findings (swapped, out of range, near 0/0).
/// @throws ImportFailure `no-such-column` for a given column that does not exist
void DecideCoordinates(const CoordinateSearch& search, const PlanRequest& request, Plan& plan);

} // namespace Orvane::Import
