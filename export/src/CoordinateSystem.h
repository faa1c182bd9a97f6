// Coordinate systems by authority and code.
#pragma once

#include "KnownSystem.h"

#include <memory>
#include <string>

namespace Orvane::Import {

/// The coordinate system of "AUTHORITY:CODE", X before Y; null for the empty text. EPSG:4326 is
/// known here; GDAL is loaded for all others, and for what that one has no text at hand.
/// @throws ImportFailure `crs-form`, `unknown-crs`, `library-load`
[[nodiscard]] std::shared_ptr<const KnownSystem> FindCoordinateSystem(const std::string& crs);

} // namespace Orvane::Import
