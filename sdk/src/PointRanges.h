// The least and the largest coordinates of many points.
#pragma once

#include <cstddef>
#include <optional>

namespace Orvane {

/// The least and the largest of some values.
struct Range
{
    double lowest;
    double highest;
};

struct PointRanges
{
    Range x;
    Range y;
    Range z; ///< 0 for points without Z
};

/// @param z null for points without Z
/// @return nothing without points, when a coordinate is NaN, or when an end is zero: that has two
///     signs, of which a walk over the points keeps the first
std::optional<PointRanges>
FindRanges(const double* x, const double* y, const double* z, std::size_t count);

} // namespace Orvane
