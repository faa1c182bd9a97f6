// The order of features: along a Hilbert curve over a grid that fits the first of them.
#pragma once

#include <cstdint>
#include <vector>

namespace Orvane::FlatGeobuf {

/// A grid of 2^32 by 2^32 square cells around a sample of points; those outside of it count to the
/// nearest cell.
///
/// Each side is 1024 times as long as the middle 98 % of the sample. So there is room for points
/// that come later, and still the cells are finer than any index needs.
class CurveGrid
{
public:
    /// A grid of one cell.
    CurveGrid() = default;

    /// @param x, y of the sample, finite, as many of the one as of the other
    CurveGrid(std::vector<double> x, std::vector<double> y);

    /// The curve's index of the point's cell.
    [[nodiscard]] std::uint64_t GetIndex(double x, double y) const noexcept;

private:
    double m_originX = 0;
    double m_originY = 0;
    double m_cellsPerUnit = 0;
};

} // namespace Orvane::FlatGeobuf
