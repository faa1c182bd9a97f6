// Hilbert's curve four levels at a time, and a grid that outliers do not spoil.
#include "PointGrid.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Orvane::GeoPackage {

namespace {

constexpr std::size_t kLargestSample = 16384;
constexpr double kLastCell = 65535;

/// Four levels of the curve: from the curve's orientation and four bits of each coordinate to eight
/// bits of the index, and the orientation that is left.
///
/// Orientation bit 0: the axes are swapped; bit 1: both are reversed.
struct CurveStep
{
    std::uint8_t index;
    std::uint8_t orientation;
};

constexpr std::size_t kOrientations = 4;
constexpr std::uint32_t kStepBits = 4;
constexpr std::size_t kStepsOfOrientation = std::size_t{1} << (2 * kStepBits);

constexpr CurveStep MakeStep(std::uint32_t orientation, std::uint32_t column, std::uint32_t row)
{
    std::uint32_t index = 0;
    for (std::uint32_t level = kStepBits; level-- > 0;) {
        const std::uint32_t reversed = orientation >> 1U;
        const std::uint32_t columnBit = ((column >> level) & 1U) ^ reversed;
        const std::uint32_t rowBit = ((row >> level) & 1U) ^ reversed;
        const bool isSwapped = (orientation & 1U) != 0;
        const std::uint32_t right = isSwapped ? rowBit : columnBit;
        const std::uint32_t upper = isSwapped ? columnBit : rowBit;
        // The curve goes up in the left half and comes down in the right one.
        index = (index << 2U) | ((3U * right) ^ upper);
        if (upper == 0) {
            orientation ^= right != 0 ? 3U : 1U;
        }
    }
    return {static_cast<std::uint8_t>(index), static_cast<std::uint8_t>(orientation)};
}

constexpr auto MakeSteps()
{
    std::array<CurveStep, kOrientations * kStepsOfOrientation> steps{};
    for (std::uint32_t number = 0; number < steps.size(); ++number) {
        steps[number] =
            MakeStep(number >> (2 * kStepBits), (number >> kStepBits) & 0xFU, number & 0xFU);
    }
    return steps;
}

constexpr auto kSteps = MakeSteps();

} // namespace

std::uint32_t HilbertIndex(std::uint16_t column, std::uint16_t row) noexcept
{
    std::uint32_t index = 0;
    std::uint32_t orientation = 0;
    for (std::uint32_t shift = 16; shift > 0;) {
        shift -= kStepBits;
        const std::uint32_t columnBits = (std::uint32_t{column} >> shift) & 0xFU;
        const std::uint32_t rowBits = (std::uint32_t{row} >> shift) & 0xFU;
        const CurveStep step =
            kSteps[(orientation << (2 * kStepBits)) | (columnBits << kStepBits) | rowBits];
        index = (index << (2 * kStepBits)) | step.index;
        orientation = step.orientation;
    }
    return index;
}

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
