// The walk over rows, of which pages hold some and objects the others.
#include "support/TestFiles.h"

#include <Orvane/BFeatureAppender.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/BRowWalk.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Orvane::BFeature;
using Orvane::BFeatureAppender;
using Orvane::BFeatureCollection;
using Orvane::BFeaturePage;
using Orvane::BRowWalk;
using Orvane::EPointKind;

void Append(BFeatureCollection& features, std::uint32_t rows)
{
    BFeatureAppender appender(features, {{"n", Orvane::EVariantType::Int32}});
    for (std::uint32_t row = 0; row < rows; ++row) {
        appender.AddInt32(static_cast<std::int32_t>(row * 10));
        appender.EndRow(EPointKind::XY, row, row, 0, row);
    }
}

/// "3" for a row of its page, "3!" for an object.
std::vector<std::string> Visit(const BFeatureCollection& features)
{
    std::vector<std::string> names;
    Orvane::VisitRows(
        features,
        [&](const BFeaturePage& page, std::size_t row) {
            names.push_back(page.GetName(row).ToUtf8());
        },
        [&](const BFeature& object) { names.push_back(object.GetName().ToUtf8() + "!"); });
    return names;
}

TEST(VisitRows, VisitsNothingOfAnEmptyCollection)
{
    const BFeatureCollection features;
    EXPECT_TRUE(Visit(features).empty());
}

TEST(VisitRows, VisitsRowsOfAllPagesInOrder)
{
    BFeatureCollection features(3);
    Append(features, 7);
    ASSERT_EQ(features.GetPageCount(), 3U);
    EXPECT_EQ(Visit(features), (std::vector<std::string>{"0", "1", "2", "3", "4", "5", "6"}));
}

TEST(VisitRows, VisitsChangedRowsAsObjectsAtTheirPlace)
{
    BFeatureCollection features(3);
    Append(features, 7);
    features.GetAt(0)->SetName("first");
    features.GetAt(4)->SetName("fifth");
    features.GetAt(6)->SetName("last");
    EXPECT_EQ(Visit(features),
              (std::vector<std::string>{"first!", "1", "2", "3", "fifth!", "5", "last!"}));
}

TEST(VisitRows, LoadsPagesThatAreOnDisk)
{
    const TestSupport::TemporaryFolder folder;
    BFeatureCollection features(folder.Name("cache"), 2);
    Append(features, 201);
    features.GetAt(100)->SetName("changed");
    const std::vector<std::string> names = Visit(features);
    ASSERT_EQ(names.size(), 201U);
    EXPECT_EQ(names[0], "0");
    EXPECT_EQ(names[99], "99");
    EXPECT_EQ(names[100], "changed!");
    EXPECT_EQ(names[200], "200");
}

TEST(VisitRows, PassesOnWhatAVisitorThrows)
{
    BFeatureCollection features(3);
    Append(features, 7);
    std::size_t visited = 0;
    const auto stopAtFour = [&](const BFeaturePage& /*page*/, std::size_t /*row*/) {
        if (++visited == 4) {
            throw std::runtime_error("enough");
        }
    };
    EXPECT_THROW(Orvane::VisitRows(features, stopAtFour, [](const BFeature& /*object*/) {}),
                 std::runtime_error);
    EXPECT_EQ(visited, 4U);
}

TEST(BRowWalk, GivesPagesWithTheirFirstRows)
{
    BFeatureCollection features(3);
    Append(features, 7);
    BRowWalk walk(features);
    std::vector<std::size_t> firstRows;
    std::vector<std::size_t> counts;
    while (walk.NextPage()) {
        firstRows.push_back(walk.GetFirstRow());
        counts.push_back(walk.GetRowCount());
        EXPECT_FALSE(walk.MayHaveObjects());
        EXPECT_EQ(walk.GetObject(0), nullptr);
    }
    EXPECT_EQ(firstRows, (std::vector<std::size_t>{0, 3, 6}));
    EXPECT_EQ(counts, (std::vector<std::size_t>{3, 3, 1}));
    EXPECT_FALSE(walk.NextPage());
}

TEST(BRowWalk, LeavesAPageWholeForItsHolderWhenItGoesOn)
{
    const TestSupport::TemporaryFolder folder;
    BFeatureCollection features(folder.Name("cache"), 2);
    Append(features, 500);
    BRowWalk walk(features);
    ASSERT_TRUE(walk.NextPage());
    const std::shared_ptr<const BFeaturePage> first = walk.SharePage();
    while (walk.NextPage()) {
    }
    EXPECT_EQ(first->data[0].int32s[1], 10);
}

} // namespace
