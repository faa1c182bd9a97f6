// Coordinate systems by authority and code.
#pragma once

#include <memory>
#include <string>

class OGRSpatialReference;

namespace Orvane::Import {

/// The coordinate system of "AUTHORITY:CODE", X before Y; null for the empty text.
/// @throws ImportFailure `crs-form`, `unknown-crs`
[[nodiscard]] std::shared_ptr<OGRSpatialReference> FindCoordinateSystem(const std::string& crs);

} // namespace Orvane::Import
