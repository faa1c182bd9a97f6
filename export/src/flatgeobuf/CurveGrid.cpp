// Lays the grid over the middle of the sample.
#include "CurveGrid.h"

#include "HilbertCurve.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Orvane::FlatGeobuf {

namespace {

constexpr double kCells = 4294967296; // 2^32

struct Range
{
    double first;
    double last;
};

/// The middle 98 % of the values.
Range FindMiddle(std::vector<double>& values)
{
    constexpr std::size_t kShareOutside = 100;
    const std::size_t outside = values.size() / kShareOutside;
    const auto first = values.begin() + static_cast<std::ptrdiff_t>(outside);
    const auto last = values.end() - static_cast<std::ptrdiff_t>(outside) - 1;
    std::nth_element(values.begin(), first, values.end());
    std::nth_element(first, last, values.end());
    return {*first, *last};
}

std::uint32_t FindCell(double value, double origin, double cellsPerUnit) noexcept
{
    const double cell = (value - origin) * cellsPerUnit;
    // Not a number, as infinity times 0, goes to the first cell.
    return static_cast<std::uint32_t>(cell > 0 ? std::min(cell, kCells - 1) : 0);
}

} // namespace

CurveGrid::CurveGrid(std::vector<double> x, std::vector<double> y)
{
    if (x.empty()) {
        return;
    }
    constexpr double kSides = 1024;
    const Range rangeX = FindMiddle(x);
    const Range rangeY = FindMiddle(y);
    double width = std::max(rangeX.last - rangeX.first, rangeY.last - rangeY.first);
    if (width <= 0) {
        // All of the sample is at one place: what comes later is likely of the same magnitude.
        const double magnitude = std::max(std::abs(rangeX.first), std::abs(rangeY.first));
        width = magnitude > 0 ? magnitude / kSides : 1;
    }
    const double side = kSides * width;
    m_originX = rangeX.first + (rangeX.last - rangeX.first) / 2 - side / 2;
    m_originY = rangeY.first + (rangeY.last - rangeY.first) / 2 - side / 2;
    m_cellsPerUnit = kCells / side;
}

std::uint64_t CurveGrid::GetIndex(double x, double y) const noexcept
{
    return HilbertIndex(FindCell(x, m_originX, m_cellsPerUnit),
                        FindCell(y, m_originY, m_cellsPerUnit));
}

} // namespace Orvane::FlatGeobuf
