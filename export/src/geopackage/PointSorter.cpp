// Radix sort in place, its parts shared by threads; runs in a file are merged with a heap.
#include "PointSorter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <threads/SharedWork.h>
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

/// Points that stand side by side, and are sorted but for their digits from `digit` on.
struct Part
{
    SortedPoint* points;
    std::size_t count;
    unsigned digit;

    [[nodiscard]] bool HasNoDigit() const noexcept { return digit == kCurveDigits + kRowDigits; }
};

/// Brings each point to its digit's part of the array. Calls `add` for each of these parts of two
/// points and more, in order.
template <typename Add>
void Split(const Part& part, const Add& add)
{
    SortedPoint* const points = part.points;
    const unsigned digit = part.digit;
    std::array<std::uint32_t, kDigits> ends{};
    for (std::size_t index = 0; index < part.count; ++index) {
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
        if (ends[value] - begins[value] > 1) {
            add(Part{points + begins[value], ends[value] - begins[value], digit + 1});
        }
    }
}

/// Sorts a part: linear in the points, with nothing allocated.
void SortPart(const Part& part)
{
    if (part.count < kFewPoints || part.HasNoDigit()) {
        std::sort(part.points, part.points + part.count);
        return;
    }
    Split(part, SortPart);
}

/// Cuts the points into parts that threads can sort side by side, each in a few ms.
std::vector<Part>
CutIntoParts(SortedPoint* points, std::size_t count, const PointSorter::Step& step)
{
    constexpr std::size_t kMostOfPart = std::size_t{1} << 16U;
    std::vector<Part> large{{points, count, 0}};
    std::vector<Part> parts;
    while (!large.empty()) {
        const Part part = large.back();
        large.pop_back();
        if (part.count <= kMostOfPart || part.HasNoDigit()) {
            parts.push_back(part);
            continue;
        }
        Split(part, [&](const Part& smaller) { large.push_back(smaller); });
        step();
    }
    return parts;
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

PointSorter::PointSorter(std::filesystem::path folder,
                         std::size_t memoryLimit,
                         AsciiReader::TaskPool& pool)
    : m_folder(std::move(folder))
    , m_mostInMemory(std::clamp<std::size_t>(
          memoryLimit / sizeof(SortedPoint), 1, std::numeric_limits<std::uint32_t>::max()))
    , m_pool(pool)
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
    constexpr std::size_t kPointsOfStep = std::size_t{1} << 16U;
    SortedPoint* const points = m_points.Data();
    const std::size_t count = m_points.GetSize();
    AsciiReader::ForEachShared(
        m_pool,
        (count + kPointsOfStep - 1) / kPointsOfStep,
        [&](std::size_t number, const Step& /*step*/) {
            const std::size_t end = std::min(count, (number + 1) * kPointsOfStep);
            for (std::size_t index = number * kPointsOfStep; index < end; ++index) {
                points[index].curveIndex = m_grid.GetIndex(points[index].minX, points[index].minY);
            }
        },
        step);
    const std::vector<Part> parts = CutIntoParts(points, count, step);
    AsciiReader::ForEachShared(
        m_pool,
        parts.size(),
        [&](std::size_t number, const Step& /*step*/) { SortPart(parts[number]); },
        step);
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
