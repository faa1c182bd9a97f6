// Sorts the points of a layer along a Hilbert curve, in bounded memory.
#pragma once

#include "PointGrid.h"
#include "SpillFile.h"

#include <Orvane/BFeaturePage.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <threads/TaskPool.h>
#include <vector>

namespace Orvane::GeoPackage {

/// The box of a point as the spatial index keeps it: in 32-bit floats, rounded outward.
struct PointBox
{
    float minX;
    float maxX;
    float minY;
    float maxY;
};

/// The largest float that is not above the value, and the least that is not below it. No NaN.
[[nodiscard]] float RoundDown(double value) noexcept;
[[nodiscard]] float RoundUp(double value) noexcept;

/// A point as it is sorted; 20 bytes.
struct SortedPoint
{
    std::uint32_t curveIndex;
    float minX;
    float minY;
    std::uint32_t rowLow;
    std::uint32_t rowHighAndFlags; ///< bits 0 and 1: X and Y are floats; the row's high bits above

    SortedPoint() = default;
    SortedPoint(std::uint64_t row, double x, double y) noexcept;

    [[nodiscard]] std::uint64_t GetRow() const noexcept
    {
        return (std::uint64_t{rowHighAndFlags >> 2U} << 32U) | rowLow;
    }

    [[nodiscard]] PointBox GetBox() const noexcept;

    /// By place on the curve, then by row.
    friend bool operator<(const SortedPoint& a, const SortedPoint& b) noexcept
    {
        return a.curveIndex != b.curveIndex ? a.curveIndex < b.curveIndex : a.GetRow() < b.GetRow();
    }
};

/// Accepts points in any order and gives them back in the order of operator<.
///
/// Order of calls: Add for every point, Sort, then Next until it gives nothing. What does not fit
/// in the memory limit is put into a file, sorted there part by part, and merged: the order is the
/// same with any limit and with any number of threads. Used by one thread at a time; Sort shares
/// its work with the pool.
class PointSorter
{
public:
    /// Called between steps of some 10 ms; throws to stop.
    using Step = std::function<void()>;

    /// @param folder where the file goes when one is needed; absolute
    /// @param memoryLimit bytes for the points in memory; at least one point is kept in memory
    /// @param pool must outlive this object
    PointSorter(std::filesystem::path folder, std::size_t memoryLimit, AsciiReader::TaskPool& pool);

    /// @param row at most 2^62 - 1; each at most once
    /// @param x, @param y finite
    /// @throws WriteFailure, std::bad_alloc.
    void Add(std::uint64_t row, double x, double y);

    [[nodiscard]] std::uint64_t GetCount() const noexcept { return m_count; }

    /// The largest row and one; 0 without points.
    [[nodiscard]] std::uint64_t GetRowEnd() const noexcept { return m_rowEnd; }

    /// For the owner of the pool. @throws WriteFailure, std::bad_alloc; what `step` throws.
    void Sort(const Step& step);

    /// The next point; nothing after the last one. @throws WriteFailure.
    [[nodiscard]] std::optional<SortedPoint> Next();

    /// Gives the memory and the file back, before the end of the object.
    void Clear() noexcept;

private:
    /// A sorted part of the file while it is merged.
    struct Run
    {
        std::uint64_t nextInFile; ///< point number in the file, after those in memory
        std::uint64_t endInFile;
        std::size_t firstInMemory; ///< where the run's share of m_points begins
        std::size_t position = 0;  ///< in that share
        std::size_t size = 0;      ///< points in that share
    };

    void Spill();
    void SortInMemory(const Step& step);
    void BeginMerge();
    /// @return false when the run is at its end
    [[nodiscard]] bool Fill(Run& run);

    [[nodiscard]] const SortedPoint& Head(std::size_t run) const noexcept
    {
        return m_points[m_runs[run].firstInMemory + m_runs[run].position];
    }

    std::filesystem::path m_folder;
    std::size_t m_mostInMemory;
    AsciiReader::TaskPool& m_pool;
    BPageArray<SortedPoint> m_points;
    PointGrid m_grid;
    std::uint64_t m_count = 0;
    std::uint64_t m_rowEnd = 0;
    std::uint64_t m_spilled = 0; ///< points in the file
    std::optional<SpillFile> m_file;
    std::size_t m_next = 0; ///< point in m_points, without a file
    std::vector<Run> m_runs;
    std::vector<std::size_t> m_heap; ///< numbers of the runs, the least head first
    std::size_t m_runCapacity = 0;   ///< points of each run in memory
};

} // namespace Orvane::GeoPackage
