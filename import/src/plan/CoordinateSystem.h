// The coordinate system of decided coordinates.
#pragma once

#include "CoordinateColumns.h"
#include "Coordinates.h"

#include <Orvane/Import/Plan.h>

#include <vector>

namespace Orvane::Import {

/// @param isPlaced whether the rows themselves say where the degrees lie
void DecideSystem(const std::vector<CoordinateColumn>& columns, bool isPlaced, Plan& plan);

/// Puts the systems that the points can be of beside the one that is undefined.
void RankSystemsOf(const CoordinateSearch& search, Plan& plan);

} // namespace Orvane::Import
