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

/// The systems of EPSG's list, deprecated ones aside, in whose area of use the points lie: a value
/// "EPSG:25832", the share of points inside, and the name; at most 12, the likeliest first.
///
/// First come those that agree with the file's own degrees to 100 m. Then those whose area the
/// file's texts name, then the systems of whole countries and the zones of UTM, smaller areas
/// before larger ones. Values cannot tell a system beyond doubt: one point fits some hundred. Cost:
/// some seconds at most, for the list is the same whatever the file.
[[nodiscard]] std::vector<PlanRival> RankSystems(const SystemSearch& search);

} // namespace Orvane::Import
