// The order of the spatial index, and the memory that making it needs.
#include "PointSorter.h"

#include "PointGrid.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <optional>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

using Orvane::HilbertIndex;
using Orvane::GeoPackage::PointBox;
using Orvane::GeoPackage::PointGrid;
using Orvane::GeoPackage::PointSorter;
using Orvane::GeoPackage::RoundDown;
using Orvane::GeoPackage::RoundUp;
using Orvane::GeoPackage::SortedPoint;

TEST(HilbertIndex, GoesThroughEveryCellFromNeighbourToNeighbour)
{
    constexpr std::size_t kSide = 64;

    struct Cell
    {
        int column = -1;
        int row = -1;
    };

    std::vector<Cell> cells(kSide * kSide);
    for (std::size_t column = 0; column < kSide; ++column) {
        for (std::size_t row = 0; row < kSide; ++row) {
            const std::uint32_t index =
                HilbertIndex(static_cast<std::uint16_t>(column), static_cast<std::uint16_t>(row));
            ASSERT_LT(index, cells.size());
            EXPECT_EQ(cells[index].column, -1) << index;
            cells[index] = {static_cast<int>(column), static_cast<int>(row)};
        }
    }
    for (std::size_t index = 1; index < cells.size(); ++index) {
        EXPECT_EQ(std::abs(cells[index].column - cells[index - 1].column) +
                      std::abs(cells[index].row - cells[index - 1].row),
                  1)
            << index;
    }
}

TEST(HilbertIndex, IsTheSameOnTheFirstCellsOfTheFineGrid)
{
    for (std::uint32_t column = 0; column < 256; column += 3) {
        for (std::uint32_t row = 0; row < 256; ++row) {
            // A curve of an even number of levels begins with the smaller ones.
            ASSERT_EQ(
                HilbertIndex(column, row),
                HilbertIndex(static_cast<std::uint16_t>(column), static_cast<std::uint16_t>(row)));
        }
    }
}

TEST(HilbertIndex, GoesFromNeighbourToNeighbourFarFromTheBegin)
{
    // Cells of a square that the curve enters once and leaves once.
    constexpr std::uint32_t kColumn = 0xABCDEF00;
    constexpr std::uint32_t kRow = 0x12345600;
    constexpr std::uint32_t kSide = 256;
    std::vector<std::uint64_t> indices;
    for (std::uint32_t column = 0; column < kSide; ++column) {
        for (std::uint32_t row = 0; row < kSide; ++row) {
            indices.push_back(HilbertIndex(kColumn + column, kRow + row));
        }
    }
    std::sort(indices.begin(), indices.end());
    EXPECT_EQ(indices.back() - indices.front() + 1, std::uint64_t{kSide} * kSide);
    EXPECT_EQ(indices.front() % (std::uint64_t{kSide} * kSide), 0U);
}

TEST(HilbertIndex, UsesAllThirtyTwoBits)
{
    std::uint32_t highest = 0;
    constexpr std::uint16_t kCorners[] = {0, 65535};
    for (const std::uint16_t column : kCorners) {
        for (const std::uint16_t row : kCorners) {
            highest = std::max(highest, HilbertIndex(column, row));
        }
    }
    EXPECT_EQ(highest, 0xFFFFFFFFU);
}

TEST(GeoPackagePointGrid, KeepsItsCellsFineWhenAFewPointsLieFarAway)
{
    PointGrid grid;
    for (int number = 0; number < 1000; ++number) {
        const std::div_t place = std::div(number, 32);
        grid.Include(static_cast<float>(place.rem), static_cast<float>(place.quot));
    }
    grid.Include(1e30F, -1e30F);
    grid.Include(0, 1e30F);
    grid.Fit();
    EXPECT_NE(grid.GetIndex(10, 10), grid.GetIndex(11, 10));
    EXPECT_NE(grid.GetIndex(10, 10), grid.GetIndex(10, 11));
}

TEST(GeoPackagePointGrid, HasOneCellForPointsAtOnePlace)
{
    PointGrid grid;
    for (int number = 0; number < 100000; ++number) {
        grid.Include(7, 7);
    }
    grid.Fit();
    EXPECT_EQ(grid.GetIndex(7, 7), grid.GetIndex(8, 9));
}

TEST(GeoPackageRounding, GoesOutwardByNoMoreThanOneFloat)
{
    constexpr double kLargest = std::numeric_limits<float>::max();
    const double kValues[] = {0.0,
                              -0.0,
                              0.1,
                              -0.1,
                              1.0,
                              16777217.0,
                              -16777217.0,
                              1e-50,
                              -1e-50,
                              std::numeric_limits<double>::denorm_min(),
                              kLargest,
                              -kLargest,
                              1e39,
                              -1e39,
                              std::numeric_limits<double>::max(),
                              -std::numeric_limits<double>::max()};
    for (const double value : kValues) {
        const float down = RoundDown(value);
        const float up = RoundUp(value);
        EXPECT_LE(static_cast<double>(down), value) << value;
        EXPECT_GE(static_cast<double>(up), value) << value;
        EXPECT_GE(std::nextafter(down, std::numeric_limits<float>::infinity()), up) << value;
        const SortedPoint point(1, value, -value);
        const PointBox box = point.GetBox();
        EXPECT_EQ(box.minX, down) << value;
        EXPECT_EQ(box.maxX, up) << value;
        EXPECT_EQ(box.minY, -up) << value;
        EXPECT_EQ(box.maxY, -down) << value;
    }
}

TEST(GeoPackageSortedPoint, KeepsRowsOfSixtyTwoBits)
{
    constexpr std::uint64_t kLargest = (std::uint64_t{1} << 62U) - 1;
    for (const std::uint64_t row : {std::uint64_t{0}, std::uint64_t{1} << 32U, kLargest}) {
        EXPECT_EQ(SortedPoint(row, 0.1, 1).GetRow(), row);
    }
}

std::vector<std::uint64_t>
SortedRows(std::size_t helpers, std::size_t memoryLimit, std::size_t count, bool isOnePlace)
{
    const TestSupport::TemporaryFolder folder;
    AsciiReader::TaskPool pool(helpers);
    PointSorter sorter(folder.Path(), memoryLimit, pool);
    std::mt19937_64 dice(7);
    std::uniform_real_distribution<double> any(-1000, 1000);
    for (std::uint64_t row = 1; row <= count; ++row) {
        const double x = any(dice);
        sorter.Add(row, isOnePlace ? 1 : x, isOnePlace ? 2 : any(dice));
    }
    sorter.Sort([] {});
    EXPECT_EQ(sorter.GetCount(), count);
    EXPECT_EQ(sorter.GetRowEnd(), count == 0 ? 0 : count + 1);
    std::vector<std::uint64_t> rows;
    std::optional<SortedPoint> last;
    while (const std::optional<SortedPoint> point = sorter.Next()) {
        EXPECT_TRUE(!last || *last < *point);
        last = point;
        rows.push_back(point->GetRow());
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path())) << "the file has no name";
    return rows;
}

/// By the number of helpers.
class GeoPackagePointSorter : public testing::TestWithParam<std::size_t>
{};

INSTANTIATE_TEST_SUITE_P(, GeoPackagePointSorter, testing::Values(0, 1, 3));

TEST_P(GeoPackagePointSorter, GivesTheSameOrderWithAnyMemory)
{
    constexpr std::size_t kCount = 20000;
    const std::vector<std::uint64_t> expected = SortedRows(0, std::size_t{1} << 26U, kCount, false);
    ASSERT_EQ(expected.size(), kCount);
    constexpr std::size_t kLimits[] = {400, 2000, 20000, 399980, 400000};
    for (const std::size_t limit : kLimits) {
        EXPECT_EQ(SortedRows(GetParam(), limit, kCount, false), expected) << limit;
    }
}

TEST_P(GeoPackagePointSorter, SortsMorePointsThanOnePartHolds)
{
    constexpr std::size_t kCount = 300000;
    EXPECT_EQ(SortedRows(GetParam(), std::size_t{1} << 26U, kCount, false).size(), kCount);
}

TEST_P(GeoPackagePointSorter, KeepsTheRowsOrderAtOnePlace)
{
    const std::vector<std::uint64_t> rows =
        SortedRows(GetParam(), std::size_t{1} << 26U, 300000, true);
    ASSERT_EQ(rows.size(), 300000U);
    for (std::size_t index = 0; index < rows.size(); ++index) {
        ASSERT_EQ(rows[index], index + 1);
    }
}

TEST_P(GeoPackagePointSorter, SortsNoneAndOne)
{
    EXPECT_TRUE(SortedRows(GetParam(), 1000, 0, false).empty());
    EXPECT_EQ(SortedRows(GetParam(), 1000, 1, false), std::vector<std::uint64_t>{1});
    EXPECT_EQ(SortedRows(GetParam(), 0, 3, false).size(), 3U);
}

TEST_P(GeoPackagePointSorter, StopsWhenItsStepThrows)
{
    const TestSupport::TemporaryFolder folder;
    AsciiReader::TaskPool pool(GetParam());
    PointSorter sorter(folder.Path(), std::size_t{1} << 26U, pool);
    for (std::uint64_t row = 1; row <= 300000; ++row) {
        sorter.Add(row, static_cast<double>(row), 0);
    }
    EXPECT_THROW(sorter.Sort([] { throw std::runtime_error("stop"); }), std::runtime_error);
}

} // namespace
