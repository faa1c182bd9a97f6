// Coordinate systems as rows of a GeoPackage.
#pragma once

#include "GeoPackageLayer.h"
#include "KnownSystem.h"

namespace Orvane::GeoPackage {

/// The row for a system. Its number is that of its authority when that is a number; other systems
/// have 100000 and the organization "NONE".
/// @param system null for "undefined"
/// @throws what the system's makeWkt throws
[[nodiscard]] SpatialReference MakeSpatialReference(const KnownSystem* system);

} // namespace Orvane::GeoPackage
