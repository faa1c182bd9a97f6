// The order in which points go into the spatial index: along a Hilbert curve over a grid.
#pragma once

#include "HilbertCurve.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Orvane::GeoPackage {

/// A grid over most of a layer's points; those outside of it count to the nearest cell.
///
/// A few points far from all others (as 0, 0 for "not known") do not make the cells coarse: the
/// grid follows the middle 98 % of a sample of the points, with as much again on each side.
class PointGrid
{
public:
    /// A grid of one cell.
    PointGrid() = default;

    /// Sees a point, in the order of the layer. Keeps every n-th one, at most 16384 of them.
    void Include(float x, float y);
    /// Lays the grid over the points seen. Once, after the last Include and before GetIndex.
    void Fit();

    /// The curve's index of the point's cell.
    [[nodiscard]] std::uint32_t GetIndex(float x, float y) const noexcept
    {
        return HilbertIndex(m_x.GetCell(x), m_y.GetCell(y));
    }

private:
    /// One direction of the grid.
    struct Axis
    {
        double origin = 0;
        double cellsPerUnit = 0;

        [[nodiscard]] std::uint16_t GetCell(float value) const noexcept;
    };

    static Axis FitAxis(std::vector<float>& values);

    std::size_t m_seen = 0;
    std::size_t m_stride = 1;
    std::vector<float> m_sampleX;
    std::vector<float> m_sampleY;
    Axis m_x;
    Axis m_y;
};

} // namespace Orvane::GeoPackage
