// Which projected systems coordinates in metres can be of.
#pragma once

#include <Orvane/Import/Plan.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Orvane::Import {

/// What the systems are ranked by.
struct SystemSearch
{
    std::vector<double> x; ///< per point, finite
    std::vector<double> y;
    /// Degrees of the same points, where the file has them; empty otherwise.
    std::vector<double> longitudes;
    std::vector<double> latitudes;
    /// Texts of the file in small letters, in which places may be named.
    std::string texts;
};

/// A coordinate system that a text names.
struct NamedSystem
{
    std::string name; ///< "AUTHORITY:CODE"; empty without one
    bool isGeographic = false;
};

/// The system of a well-known text, also of one that has no code and other names for the same; its
/// name is empty when it is no system of EPSG, or none at all.
/// @throws ImportFailure `library-load`
[[nodiscard]] NamedSystem IdentifySystem(const std::string& wkt);

/// The systems of EPSG's list, deprecated ones aside, in whose area of use the points lie: a value
/// "EPSG:25832", the share of points inside, and the name; at most 12, the likeliest first.
///
/// First come those that agree with the file's own degrees to 100 m. Then those whose area the
/// file's texts name, then the systems of whole countries and the zones of UTM, smaller areas
/// before larger ones. Values cannot tell a system beyond doubt: one point fits some hundred. Cost:
/// some seconds at most, for the list is the same whatever the file.
/// @throws ImportFailure `library-load`
[[nodiscard]] std::vector<PlanRival> RankSystems(const SystemSearch& search);

/// The two functions above as the library over GDAL and PROJ exports them, by the name
/// "kOrvaneSystemServices".
struct SystemServices
{
    NamedSystem (*identify)(const std::string& wkt);
    std::vector<PlanRival> (*rank)(const SystemSearch& search);
};

} // namespace Orvane::Import
