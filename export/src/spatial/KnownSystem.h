// Coordinate systems as writers need them.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace Orvane {

/// The forms of well-known texts.
enum class EWkt {
    First,      ///< of GDAL: the first kind, with AUTHORITY
    Second2015, ///< WKT2:2015
    Second2019  ///< WKT2:2019
};

/// Carries points to longitude and latitude of WGS 84, in place. X and Y are NaN where a point has
/// no place there. One thread. @param z null for points without heights
using PointTransform = std::function<void(std::size_t count, double* x, double* y, double* z)>;

/// A coordinate system that is known by its authority and code. Not changed once it is made; its
/// functions may be called on any one thread at a time.
struct KnownSystem
{
    std::string text;      ///< by which it was found: "EPSG:25832"
    std::string name;      ///< for people; may be empty
    std::string authority; ///< "EPSG"; empty without one
    std::string code;      ///< "25832"; empty without one
    bool isWgs84 = false;  ///< whether it is longitude and latitude of WGS 84
    /// The system as well-known text in one line; empty when the form cannot say it.
    /// @throws WriteFailure when the list of systems cannot be read
    std::function<std::string(EWkt form)> makeWkt;
    /// From X before Y. @throws std::runtime_error when there is no way to WGS 84
    std::function<PointTransform()> makeTransform;
};

/// EPSG:4326 as well-known text of the first kind.
inline constexpr const char* kWgs84Wkt =
    R"(GEOGCS["WGS 84",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,298.257223563,)"
    R"(AUTHORITY["EPSG","7030"]],AUTHORITY["EPSG","6326"]],PRIMEM["Greenwich",0,)"
    R"(AUTHORITY["EPSG","8901"]],UNIT["degree",0.0174532925199433,AUTHORITY["EPSG","9122"]],)"
    R"(AXIS["Latitude",NORTH],AXIS["Longitude",EAST],AUTHORITY["EPSG","4326"]])";

} // namespace Orvane
