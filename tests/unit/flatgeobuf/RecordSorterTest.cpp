// The order of features, and the memory that it needs.
#include "RecordSorter.h"

#include "BlockWriter.h"
#include "CurveGrid.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using Orvane::FlatGeobuf::BlockWriter;
using Orvane::FlatGeobuf::CurveGrid;
using Orvane::FlatGeobuf::FeatureFrame;
using Orvane::FlatGeobuf::Place;
using Orvane::FlatGeobuf::RecordShape;
using Orvane::FlatGeobuf::RecordSorter;

constexpr double kLargest = std::numeric_limits<double>::max();

TEST(FlatGeobufCurveGrid, TellsNeighboursApartWhenAFewPointsLieFarAway)
{
    std::vector<double> x;
    std::vector<double> y;
    for (int number = 0; number < 1000; ++number) {
        const std::div_t place = std::div(number, 32);
        x.push_back(place.rem);
        y.push_back(place.quot);
    }
    x.insert(x.end(), {1e30, 0, -1e300});
    y.insert(y.end(), {-1e30, 1e30, kLargest});
    const CurveGrid grid(x, y);
    EXPECT_NE(grid.GetIndex(10, 10), grid.GetIndex(10.001, 10));
    EXPECT_NE(grid.GetIndex(10, 10), grid.GetIndex(10, 10.001));
}

TEST(FlatGeobufCurveGrid, TellsPointsApartThatComeFarFromTheSample)
{
    const CurveGrid grid({7, 7.5, 8}, {46, 46.5, 47});
    EXPECT_NE(grid.GetIndex(150, -40), grid.GetIndex(150.01, -40));
    const CurveGrid onePlace({2600000, 2600000}, {1200000, 1200000});
    EXPECT_NE(onePlace.GetIndex(2600000, 1200000), onePlace.GetIndex(2600001, 1200000));
    EXPECT_NE(onePlace.GetIndex(2500000, 1200000), onePlace.GetIndex(2500100, 1200000));
}

TEST(FlatGeobufCurveGrid, HasAPlaceForEveryPoint)
{
    const CurveGrid grids[] = {CurveGrid(),
                               CurveGrid({0}, {0}),
                               CurveGrid({-kLargest, kLargest}, {0, 1}),
                               CurveGrid({1, 2, 3}, {1, 2, 3})};
    for (const CurveGrid& grid : grids) {
        for (const double value : {0.0, -1e-320, 1.0, kLargest, -kLargest}) {
            EXPECT_LE(grid.GetIndex(value, -value), std::numeric_limits<std::uint64_t>::max());
        }
    }
    EXPECT_EQ(CurveGrid({}, {}).GetIndex(1, 2), 0U);
}

struct Row
{
    Place place;
    std::string properties;
};

/// What a sorter gives for rows, in order; the bytes around properties are "<" and ">".
std::vector<Row> Sort(const std::vector<Row>& rows,
                      std::size_t memory,
                      std::size_t coordinateCount,
                      const RecordSorter::Step& step)
{
    const TestSupport::TemporaryFolder folder;
    RecordSorter sorter(folder.Path(), memory, RecordShape(coordinateCount), step);
    for (const Row& row : rows) {
        sorter.Add(row.place, row.properties);
    }
    EXPECT_EQ(sorter.GetCount(), rows.size());
    std::string bytes;
    BlockWriter out(
        [&](const void* block, std::size_t byteCount, std::uint64_t offset) {
            EXPECT_EQ(offset, bytes.size());
            bytes.append(static_cast<const char*>(block), byteCount);
        },
        0,
        1000);
    std::vector<Row> sorted;
    std::vector<std::size_t> sizes;
    sorter.Drain(out, [&](const Place& place, std::size_t propertySize) {
        sorted.push_back({place, {}});
        sizes.push_back(propertySize);
        return FeatureFrame{"<", ">"};
    });
    out.Flush();
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path())) << "the file has no name";
    std::size_t position = 0;
    for (std::size_t index = 0; index < sorted.size(); ++index) {
        EXPECT_EQ(bytes.at(position), '<');
        sorted[index].properties = bytes.substr(position + 1, sizes[index]);
        position += sizes[index] + 2;
        EXPECT_EQ(bytes.at(position - 1), '>');
    }
    EXPECT_EQ(position, bytes.size());
    return sorted;
}

std::vector<Row> MakeRows(std::size_t count, bool isOnePlace)
{
    std::mt19937_64 dice(7);
    std::uniform_real_distribution<double> any(-1000, 1000);
    std::vector<Row> rows;
    for (std::size_t row = 0; row < count; ++row) {
        const double x = any(dice);
        const double y = any(dice);
        rows.push_back({isOnePlace ? Place{1, 2, 3} : Place{x, y, static_cast<double>(row)},
                        std::to_string(row) + std::string(dice() % 40, 'p')});
    }
    return rows;
}

/// Lengths of the way from row to row.
double WayOf(const std::vector<Row>& rows)
{
    double way = 0;
    for (std::size_t index = 1; index < rows.size(); ++index) {
        way += std::hypot(rows[index].place.x - rows[index - 1].place.x,
                          rows[index].place.y - rows[index - 1].place.y);
    }
    return way;
}

TEST(FlatGeobufRecordSorter, GivesEveryRowOnceInAShortWayWithAnyMemory)
{
    const std::vector<Row> rows = MakeRows(20000, false);
    std::map<std::string, Place> expected;
    for (const Row& row : rows) {
        expected[row.properties] = row.place;
    }
    ASSERT_EQ(expected.size(), rows.size());
    for (const std::size_t memory : {std::size_t{0},
                                     std::size_t{5000},
                                     std::size_t{100000},
                                     std::size_t{1} << 20U,
                                     std::size_t{1} << 26U}) {
        const bool isOneByOne = memory == 0;
        const std::vector<Row> few(rows.begin(), rows.begin() + (isOneByOne ? 300 : 20000));
        const std::vector<Row> sorted = Sort(few, memory, 3, [] {});
        ASSERT_EQ(sorted.size(), few.size());
        std::map<std::string, Place> found;
        for (const Row& row : sorted) {
            found[row.properties] = row.place;
            const Place& place = expected.at(row.properties);
            ASSERT_EQ(row.place.x, place.x);
            ASSERT_EQ(row.place.y, place.y);
            ASSERT_EQ(row.place.z, place.z);
        }
        EXPECT_EQ(found.size(), few.size());
        if (!isOneByOne) {
            // Random places lie 1000 apart on average, neighbours on the curve some 14.
            EXPECT_LT(WayOf(sorted), 20000 * 20.0) << memory;
        }
    }
}

TEST(FlatGeobufRecordSorter, KeepsTheRowsOrderAtOnePlace)
{
    const std::vector<Row> rows = MakeRows(20000, true);
    for (const std::size_t memory : {std::size_t{50000}, std::size_t{1} << 26U}) {
        const std::vector<Row> sorted = Sort(rows, memory, 2, [] {});
        ASSERT_EQ(sorted.size(), rows.size());
        for (std::size_t index = 0; index < rows.size(); ++index) {
            ASSERT_EQ(sorted[index].properties, rows[index].properties);
            ASSERT_EQ(sorted[index].place.z, 0) << "two coordinates are kept";
        }
    }
}

TEST(FlatGeobufRecordSorter, KeepsRowsThatAreLongerThanItsMemory)
{
    std::vector<Row> rows;
    for (std::size_t number = 0; number < 12; ++number) {
        std::string properties(number % 3 == 0 ? 3000000 : 200000 * (number % 3), 'a');
        properties += static_cast<char>('a' + static_cast<int>(number));
        rows.push_back({{static_cast<double>(number % 5), 0, 0}, std::move(properties)});
    }
    for (const std::size_t memory :
         {std::size_t{1000}, std::size_t{1} << 20U, std::size_t{1} << 26U}) {
        std::vector<Row> sorted = Sort(rows, memory, 2, [] {});
        ASSERT_EQ(sorted.size(), rows.size());
        const auto byLast = [](const Row& a, const Row& b) {
            return a.properties.back() < b.properties.back();
        };
        std::sort(sorted.begin(), sorted.end(), byLast);
        for (std::size_t index = 0; index < rows.size(); ++index) {
            EXPECT_TRUE(sorted[index].properties == rows[index].properties) << index;
        }
    }
}

TEST(FlatGeobufRecordSorter, SortsNoneAndOne)
{
    EXPECT_TRUE(Sort({}, 1000, 2, [] {}).empty());
    EXPECT_EQ(Sort({{{1, 2, 0}, ""}}, 1000, 2, [] {}).size(), 1U);
}

TEST(FlatGeobufRecordSorter, StopsWhenItsStepThrows)
{
    const std::vector<Row> rows = MakeRows(1000, false);
    for (const std::size_t memory : {std::size_t{5000}, std::size_t{1} << 26U}) {
        EXPECT_THROW(
            static_cast<void>(Sort(rows, memory, 2, [] { throw std::runtime_error("stop"); })),
            std::runtime_error);
    }
}

} // namespace
