// The least and the largest coordinates of many points.
#include "PointRanges.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Orvane {

namespace {

/// Points that are looked at axis by axis. Memory is what this costs: it comes faster where several
/// columns are read side by side, and when it is asked for that many values ahead.
constexpr std::size_t kBlock = 32;
constexpr std::size_t kAhead = 128;
constexpr std::size_t kValuesOfALine = 64 / sizeof(double);

/// Values that are compared at once, lane by lane.
constexpr std::size_t kLanes = 8;

/// The range of one axis.
class RangeFinder
{
public:
    RangeFinder() noexcept
    {
        m_lowest.fill(std::numeric_limits<double>::infinity());
        m_highest.fill(-std::numeric_limits<double>::infinity());
    }

    /// Includes the next values. @param count up to kBlock
    void Add(const double* values, std::size_t count) noexcept
    {
        for (std::size_t at = 0; at < count; at += kValuesOfALine) {
            __builtin_prefetch(values + at + kAhead);
        }
        const std::size_t whole = count - count % kLanes;
        AddLanes(values, whole);
        if (whole < count) {
            std::array<double, kLanes> last{};
            last.fill(values[whole]);
            std::memcpy(last.data(), values + whole, (count - whole) * sizeof(double));
            AddLanes(last.data(), kLanes);
        }
    }

    /// @return nothing where the ends are not clear
    [[nodiscard]] std::optional<Range> Finish() const noexcept
    {
        const Range range{*std::min_element(m_lowest.begin(), m_lowest.end()),
                          *std::max_element(m_highest.begin(), m_highest.end())};
        const bool isClear = !m_hasNaN && range.lowest != 0 && range.highest != 0;
        return isClear ? std::optional(range) : std::nullopt;
    }

private:
    /// @param count a multiple of kLanes
    void AddLanes(const double* values, std::size_t count) noexcept
    {
#if defined(__SSE2__)
        constexpr std::size_t kPairs = kLanes / 2;
        __m128d lowest[kPairs];
        __m128d highest[kPairs];
        std::memcpy(lowest, m_lowest.data(), sizeof lowest);
        std::memcpy(highest, m_highest.data(), sizeof highest);
        __m128d nans = _mm_setzero_pd();
        for (std::size_t at = 0; at < count; at += kLanes) {
            for (std::size_t lane = 0; lane < kPairs; ++lane) {
                const __m128d pair = _mm_loadu_pd(values + at + 2 * lane);
                lowest[lane] = _mm_min_pd(pair, lowest[lane]);
                highest[lane] = _mm_max_pd(pair, highest[lane]);
                nans = _mm_or_pd(nans, _mm_cmpunord_pd(pair, pair));
            }
        }
        std::memcpy(m_lowest.data(), lowest, sizeof lowest);
        std::memcpy(m_highest.data(), highest, sizeof highest);
        m_hasNaN = m_hasNaN || _mm_movemask_pd(nans) != 0;
#else
        for (std::size_t at = 0; at < count; ++at) {
            const double value = values[at];
            m_lowest[at % kLanes] = std::min(m_lowest[at % kLanes], value);
            m_highest[at % kLanes] = std::max(m_highest[at % kLanes], value);
            m_hasNaN = m_hasNaN || std::isnan(value);
        }
#endif
    }

    std::array<double, kLanes> m_lowest{};
    std::array<double, kLanes> m_highest{};
    bool m_hasNaN = false;
};

} // namespace

std::optional<PointRanges>
FindRanges(const double* x, const double* y, const double* z, std::size_t count)
{
    std::array<RangeFinder, 3> finders;
    const std::array<const double*, 3> axes = {x, y, z};
    const std::size_t axisCount = z == nullptr ? 2 : 3;
    for (std::size_t at = 0; at < count; at += kBlock) {
        for (std::size_t axis = 0; axis < axisCount; ++axis) {
            finders[axis].Add(axes[axis] + at, std::min(kBlock, count - at));
        }
    }
    PointRanges ranges{};
    const std::array<Range*, 3> ends = {&ranges.x, &ranges.y, &ranges.z};
    for (std::size_t axis = 0; axis < axisCount; ++axis) {
        const std::optional<Range> range = finders[axis].Finish();
        if (count == 0 || !range) {
            return std::nullopt;
        }
        *ends[axis] = *range;
    }
    return ranges;
}

} // namespace Orvane
