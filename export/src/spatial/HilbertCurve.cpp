// Hilbert's curve four levels at a time.
#include "HilbertCurve.h"

#include <array>
#include <cstddef>

namespace Orvane {

namespace {

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

/// @param Bits of each coordinate; a multiple of kStepBits
template <std::uint32_t Bits, typename Index>
Index FindIndex(std::uint32_t column, std::uint32_t row) noexcept
{
    Index index = 0;
    std::uint32_t orientation = 0;
    for (std::uint32_t shift = Bits; shift > 0;) {
        shift -= kStepBits;
        const std::uint32_t columnBits = (column >> shift) & 0xFU;
        const std::uint32_t rowBits = (row >> shift) & 0xFU;
        const CurveStep step =
            kSteps[(orientation << (2 * kStepBits)) | (columnBits << kStepBits) | rowBits];
        index = (index << (2 * kStepBits)) | step.index;
        orientation = step.orientation;
    }
    return index;
}

} // namespace

std::uint32_t HilbertIndex(std::uint16_t column, std::uint16_t row) noexcept
{
    return FindIndex<16, std::uint32_t>(column, row);
}

std::uint64_t HilbertIndex(std::uint32_t column, std::uint32_t row) noexcept
{
    return FindIndex<32, std::uint64_t>(column, row);
}

} // namespace Orvane
