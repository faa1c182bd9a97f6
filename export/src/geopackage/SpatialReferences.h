// Coordinate systems of GDAL as rows of a GeoPackage.
#pragma once

#include "GeoPackageLayer.h"

class OGRSpatialReference;

namespace Orvane::GeoPackage {

/// The row for a system. Its number is that of its authority when that is a number; other systems
/// have 100000 and the organization "NONE".
/// @param system null for "undefined"
/// @throws std::bad_alloc.
[[nodiscard]] SpatialReference MakeSpatialReference(const OGRSpatialReference* system);

} // namespace Orvane::GeoPackage
