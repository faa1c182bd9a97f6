// Which columns are the coordinates, by their names and values together.
#pragma once

#include "scan/ColumnProfile.h"

#include <Orvane/Import/Plan.h>

#include <string>
#include <vector>

namespace Orvane::Import {

/// The first rows of the table, as cells.
using SampleRows = std::vector<std::vector<std::string>>;

/// What the coordinates are decided from.
struct CoordinateSearch
{
    const std::vector<Scan::ColumnFacts>& facts;
    const SampleRows& rows;
    bool hasNames;
};

/// Decides coordinates and coordinate system, sets the roles of columns, adds questions (axes that
/// values cannot tell, several pairs, none) and findings (swapped, out of range, near 0/0).
/// @throws ImportFailure `no-such-column` for a given column that does not exist
void DecideCoordinates(const CoordinateSearch& search, const PlanRequest& request, Plan& plan);

} // namespace Orvane::Import
