// Radix sort in place; runs in a file are merged with a heap.
#include "PointSorter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <type_traits>
#include <utility>

namespace Orvane::GeoPackage {

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr std::uint32_t kIsFloatX = 1;
constexpr std::uint32_t kIsFloatY = 2;

static_assert(std::is_trivially_copyable_v<SortedPoint> && sizeof(SortedPoint) == 20);

/// The float after that one.
float NextUp(float value) noexcept
{
    if (value == 0) {
        return std::numeric_limits<float>::denorm_min();
    }
    const auto bits = std::bit_cast<std::uint32_t>(value);
    return std::bit_cast<float>(value > 0 ? bits + 1 : bits - 1);
}

constexpr unsigned kDigitBits = 11;
constexpr std::uint32_t kDigits = 1U << kDigitBits;
constexpr unsigned kCurveDigits = 3; ///< digits of the 32-bit place on the curve
constexpr unsigned kRowDigits = 6;   ///< digits of the 62-bit row
/// Fewer points than this are sorted by comparing them.
constexpr std::size_t kFewPoints = 2048;

/// A digit of the order of operator<, the highest one first.
std::uint32_t GetDigit(const SortedPoint& point, unsigned digit) noexcept
{
    if (digit < kCurveDigits) {
        return (point.curveIndex >> (kDigitBits * (kCurveDigits - 1 - digit))) & (kDigits - 1);
    }
    const unsigned shift = kDigitBits * (kCurveDigits + kRowDigits - 1 - digit);
    return static_cast<std::uint32_t>(point.GetRow() >> shift) & (kDigits - 1);
}

/// Sorts by the digits from `digit` on: brings each point to its digit's part of the array, then
/// sorts the parts. Linear in the points, with nothing allocated.
void SortByDigits(SortedPoint* points,
                  std::size_t count,
                  unsigned digit,
                  const PointSorter::Step& step)
{
    if (count < kFewPoints || digit == kCurveDigits + kRowDigits) {
        std::sort(points, points + count);
        return;
    }
    // Often enough for a large part, and hardly ever for small ones.
    constexpr std::size_t kLargePart = std::size_t{1} << 18U;
    constexpr std::uint32_t kPartsOfStep = 128;
    const bool isLarge = count >= kLargePart;
    std::array<std::uint32_t, kDigits> ends{};
    for (std::size_t index = 0; index < count; ++index) {
        ++ends[GetDigit(points[index], digit)];
    }
    std::array<std::uint32_t, kDigits> begins{};
    std::uint32_t sum = 0;
    for (std::uint32_t value = 0; value < kDigits; ++value) {
        begins[value] = sum;
        sum += ends[value];
        ends[value] = sum;
    }
    std::array<std::uint32_t, kDigits> places = begins;
    for (std::uint32_t value = 0; value < kDigits; ++value) {
        while (places[value] < ends[value]) {
            // Follow the circle of points that stand in each other's part.
            SortedPoint point = points[places[value]];
            std::uint32_t its = GetDigit(point, digit);
            while (its != value) {
                std::swap(point, points[places[its]++]);
                its = GetDigit(point, digit);
            }
            points[places[value]++] = point;
        }
    }
    for (std::uint32_t value = 0; value < kDigits; ++value) {
        if (isLarge && value % kPartsOfStep == 0) {
            step();
        }
        if (ends[value] - begins[value] > 1) {
            SortByDigits(points + begins[value], ends[value] - begins[value], digit + 1, step);
        }
    }
}

} // namespace

float RoundDown(double value) noexcept
{
    // Values beyond the floats are converted by hand: the language leaves the cast undefined.
    constexpr double kLargest = std::numeric_limits<float>::max();
    if (value >= kLargest) {
        return std::numeric_limits<float>::max();
    }
    if (value < -kLargest) {
        return -kInfinity;
    }
    const auto rounded = static_cast<float>(value);
    return static_cast<double>(rounded) > value ? -NextUp(-rounded) : rounded;
}

float RoundUp(double value) noexcept
{
    return -RoundDown(-value);
}

SortedPoint::SortedPoint(std::uint64_t row, double x, double y) noexcept
    : curveIndex(0)
    , minX(RoundDown(x))
    , minY(RoundDown(y))
    , rowLow(static_cast<std::uint32_t>(row))
    , rowHighAndFlags(static_cast<std::uint32_t>(row >> 32U) << 2U)
{
    rowHighAndFlags |= static_cast<double>(minX) == x ? kIsFloatX : 0;
    rowHighAndFlags |= static_cast<double>(minY) == y ? kIsFloatY : 0;
}

PointBox SortedPoint::GetBox() const noexcept
{
    return {minX,
            (rowHighAndFlags & kIsFloatX) != 0 ? minX : NextUp(minX),
            minY,
            (rowHighAndFlags & kIsFloatY) != 0 ? minY : NextUp(minY)};
}

PointSorter::PointSorter(std::filesystem::path folder, std::size_t memoryLimit)
    : m_folder(std::move(folder))
    , m_mostInMemory(std::clamp<std::size_t>(
          memoryLimit / sizeof(SortedPoint), 1, std::numeric_limits<std::uint32_t>::max()))
{}

void PointSorter::Add(std::uint64_t row, double x, double y)
{
    if (m_points.GetSize() == m_mostInMemory) {
        Spill();
    }
    const SortedPoint point(row, x, y);
    m_grid.Include(point.minX, point.minY);
    m_points.Append(point);
    ++m_count;
    m_rowEnd = std::max(m_rowEnd, row + 1);
}

void PointSorter::Spill()
{
    if (!m_file) {
        m_file.emplace(m_folder);
    }
    m_file->Write(
        m_points.Data(), m_points.GetSize() * sizeof(SortedPoint), m_spilled * sizeof(SortedPoint));
    m_spilled += m_points.GetSize();
    m_points.Truncate(0);
}

void PointSorter::SortInMemory(const Step& step)
{
    constexpr std::size_t kPointsOfStep = std::size_t{1} << 18U;
    SortedPoint* const points = m_points.Data();
    for (std::size_t index = 0; index < m_points.GetSize(); ++index) {
        points[index].curveIndex = m_grid.GetIndex(points[index].minX, points[index].minY);
        if (index % kPointsOfStep == 0) {
            step();
        }
    }
    SortByDigits(points, m_points.GetSize(), 0, step);
}

void PointSorter::Sort(const Step& step)
{
    m_grid.Fit();
    if (!m_file) {
        SortInMemory(step);
        return;
    }
    if (!m_points.IsEmpty()) {
        Spill();
    }
    for (std::uint64_t first = 0; first < m_spilled; first += m_mostInMemory) {
        m_points.Resize(std::min<std::uint64_t>(m_mostInMemory, m_spilled - first));
        const std::size_t byteCount = m_points.GetSize() * sizeof(SortedPoint);
        m_file->Read(m_points.Data(), byteCount, first * sizeof(SortedPoint));
        step();
        SortInMemory(step);
        m_file->Write(m_points.Data(), byteCount, first * sizeof(SortedPoint));
        step();
        m_runs.push_back({first, first + m_points.GetSize(), 0});
    }
    BeginMerge();
}

void PointSorter::BeginMerge()
{
    // A quarter of the memory is enough to read each run in large pieces; what it is for next needs
    // memory of its own.
    m_runCapacity = std::max<std::size_t>(m_mostInMemory / 4 / m_runs.size(), 1);
    m_points.Clear();
    m_points.Resize(m_runCapacity * m_runs.size());
    for (std::size_t run = 0; run < m_runs.size(); ++run) {
        m_runs[run].firstInMemory = run * m_runCapacity;
        if (Fill(m_runs[run])) {
            m_heap.push_back(run);
        }
    }
    std::make_heap(m_heap.begin(), m_heap.end(), [this](std::size_t a, std::size_t b) {
        return Head(b) < Head(a);
    });
}

bool PointSorter::Fill(Run& run)
{
    run.position = 0;
    run.size = std::min<std::uint64_t>(m_runCapacity, run.endInFile - run.nextInFile);
    if (run.size == 0) {
        return false;
    }
    m_file->Read(m_points.Data() + run.firstInMemory,
                 run.size * sizeof(SortedPoint),
                 run.nextInFile * sizeof(SortedPoint));
    run.nextInFile += run.size;
    return true;
}

std::optional<SortedPoint> PointSorter::Next()
{
    if (!m_file) {
        return m_next < m_points.GetSize() ? std::optional(m_points[m_next++]) : std::nullopt;
    }
    if (m_heap.empty()) {
        return std::nullopt;
    }
    const auto isAfter = [this](std::size_t a, std::size_t b) { return Head(b) < Head(a); };
    std::pop_heap(m_heap.begin(), m_heap.end(), isAfter);
    Run& run = m_runs[m_heap.back()];
    const SortedPoint point = Head(m_heap.back());
    if (++run.position < run.size || Fill(run)) {
        std::push_heap(m_heap.begin(), m_heap.end(), isAfter);
    } else {
        m_heap.pop_back();
    }
    return point;
}

void PointSorter::Clear() noexcept
{
    m_points.Clear();
    m_file.reset();
    m_runs.clear();
    m_heap.clear();
}

} // namespace Orvane::GeoPackage
