// A grid that outliers do not spoil.
#include "PointGrid.h"

#include <algorithm>
#include <cmath>

namespace Orvane::GeoPackage {

namespace {

constexpr std::size_t kLargestSample = 16384;
constexpr double kLastCell = 65535;

} // namespace

std::uint16_t PointGrid::Axis::GetCell(float value) const noexcept
{
    const double cell = (static_cast<double>(value) - origin) * cellsPerUnit;
    // Not a number, as infinity less infinity, goes to the first cell.
    return static_cast<std::uint16_t>(cell > 0 ? std::min(cell, kLastCell) : 0);
}

void PointGrid::Include(float x, float y)
{
    if (m_seen++ % m_stride != 0 || !std::isfinite(x) || !std::isfinite(y)) {
        return;
    }
    if (m_sampleX.size() == kLargestSample) {
        // Every second one goes, and from now on every second one comes.
        for (std::vector<float>* sample : {&m_sampleX, &m_sampleY}) {
            for (std::size_t index = 0; index < kLargestSample / 2; ++index) {
                (*sample)[index] = (*sample)[2 * index];
            }
            sample->resize(kLargestSample / 2);
        }
        m_stride *= 2;
    }
    m_sampleX.push_back(x);
    m_sampleY.push_back(y);
}

PointGrid::Axis PointGrid::FitAxis(std::vector<float>& values)
{
    if (values.empty()) {
        return {};
    }
    constexpr std::size_t kShareOutside = 100;
    std::sort(values.begin(), values.end());
    const std::size_t last = values.size() - 1;
    const double first = values[last / kShareOutside];
    const double end = values[last - last / kShareOutside];
    const double least = values.front();
    const double largest = values.back();
    const double width = end - first;
    const double origin = width > 0 ? std::max(first - width, least) : least;
    const double range = (width > 0 ? std::min(end + width, largest) : largest) - origin;
    return {origin, range > 0 ? kLastCell / range : 0};
}

void PointGrid::Fit()
{
    m_x = FitAxis(m_sampleX);
    m_y = FitAxis(m_sampleY);
}

} // namespace Orvane::GeoPackage
