// The numbers of a packed tree's nodes.
#include "PackedTree.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <vector>

namespace {

using Orvane::GeoPackage::TreeShape;

struct Case
{
    const char* name;
    std::uint64_t entries;
    std::size_t capacity;
    std::vector<std::uint64_t> nodesByLevel;
};

void PrintTo(const Case& row, std::ostream* out)
{
    *out << row.name;
}

const Case kCases[] = {
    {"NoEntryIsAnEmptyRoot", 0, 51, {1}},
    {"OneEntryIsARootThatIsALeaf", 1, 51, {1}},
    {"AFullLeafIsStillTheRoot", 51, 51, {1}},
    {"OneMoreEntryMakesTwoLeaves", 52, 51, {2, 1}},
    {"AFullSecondLevel", 2601, 51, {51, 1}},
    {"OneMoreEntryMakesAThirdLevel", 2602, 51, {52, 2, 1}},
    {"FourLevels", 140000, 51, {2746, 54, 2, 1}},
    {"ANarrowTree", 1000, 2, {500, 250, 125, 63, 32, 16, 8, 4, 2, 1}},
    {"ANarrowTreeThatIsFull", 27, 3, {9, 3, 1}},
};

class GeoPackageTreeShape : public testing::TestWithParam<Case>
{};

TEST_P(GeoPackageTreeShape, CountsNodesAndNumbersEachAfterItsChildren)
{
    const Case& row = GetParam();
    const TreeShape shape(row.entries, row.capacity);
    const std::size_t top = row.nodesByLevel.size() - 1;
    ASSERT_EQ(shape.GetTopLevel(), top);
    EXPECT_EQ(shape.GetNumber(top, 0), 1U);

    std::uint64_t others = 0;
    for (std::size_t level = 0; level < top; ++level) {
        ASSERT_EQ(shape.GetNodeCount(level), row.nodesByLevel[level]);
        others += row.nodesByLevel[level];
    }
    std::vector<bool> isUsed(others + 2);
    for (std::size_t level = 0; level < top; ++level) {
        for (std::uint64_t node = 0; node < row.nodesByLevel[level]; ++node) {
            const std::uint64_t number = shape.GetNumber(level, node);
            ASSERT_GE(number, 2U);
            ASSERT_LT(number, others + 2);
            EXPECT_FALSE(isUsed[number]) << number;
            isUsed[number] = true;
            const std::uint64_t parent = shape.GetParent(level, node);
            EXPECT_TRUE(level + 1 == top ? parent == 1 : parent > number) << number;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, GeoPackageTreeShape, testing::ValuesIn(kCases), TestSupport::CaseName());

} // namespace
