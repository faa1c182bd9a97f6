// Coordinate systems as texts.
#pragma once

#include <string>

class OGRSpatialReference;

namespace Orvane {

/// The system as well-known text in one line; empty when the form cannot say it.
/// @param form as GDAL names it: "WKT1_GDAL", "WKT2_2015", "WKT2_2019"
/// @throws std::bad_alloc.
[[nodiscard]] std::string MakeWkt(const OGRSpatialReference& system, const char* form);

} // namespace Orvane
