// Removing the coordinate columns from a row.
#include "support/TestFiles.h"
#include "text/AsciiUtils.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

using AsciiReader::Row;
using AsciiReader::AsciiUtils::RemoveXYZ;
using TestSupport::ExpectBException;
using TestSupport::ExpectSubclass;
using TestSupport::Texts;

struct RemovalCase
{
    const char* name;
    Texts row;
    std::int32_t xIndex;
    std::int32_t yIndex;
    std::int32_t zIndex;
    Texts rest;
};

void PrintTo(const RemovalCase& removalCase, std::ostream* stream)
{
    *stream << removalCase.xIndex << ' ' << removalCase.yIndex << ' ' << removalCase.zIndex;
}

class AsciiUtilsRemoveXYZ : public testing::TestWithParam<RemovalCase>
{};

TEST_P(AsciiUtilsRemoveXYZ, LeavesTheOtherColumnsInOrder)
{
    Row row = GetParam().row;
    RemoveXYZ(row, GetParam().xIndex, GetParam().yIndex, GetParam().zIndex);
    EXPECT_EQ(row, GetParam().rest);
}

INSTANTIATE_TEST_SUITE_P(
    ,
    AsciiUtilsRemoveXYZ,
    testing::Values(
        RemovalCase{"RemovesXBeforeY", {"x", "y", "a", "b"}, 0, 1, -1, {"a", "b"}},
        RemovalCase{"RemovesXAfterY", {"y", "x", "a", "b"}, 1, 0, -1, {"a", "b"}},
        RemovalCase{"RemovesXAndYApart", {"a", "x", "b", "y"}, 1, 3, -1, {"a", "b"}},
        RemovalCase{"RemovesTwoFieldsWhenXEqualsY", {"a", "b", "c", "d"}, 1, 1, -1, {"a", "d"}},
        RemovalCase{"RemovesBothFieldsOfTwo", {"x", "y"}, 0, 1, -1, {}},
        RemovalCase{"CountsAnyNegativeZAsNone", {"x", "y", "z"}, 0, 1, -7, {"z"}},
        RemovalCase{"RemovesXThenYThenZ", {"a", "x", "b", "y", "z"}, 1, 3, 4, {"a", "b"}},
        RemovalCase{"RemovesXThenZThenY", {"x", "a", "z", "b", "y"}, 0, 4, 2, {"a", "b"}},
        RemovalCase{"RemovesYThenXThenZ", {"y", "a", "x", "b", "z"}, 2, 0, 4, {"a", "b"}},
        RemovalCase{"RemovesZThenXThenY", {"z", "a", "x", "b", "y"}, 2, 4, 0, {"a", "b"}},
        RemovalCase{"RemovesYThenZThenX", {"y", "a", "z", "b", "x"}, 4, 0, 2, {"a", "b"}},
        RemovalCase{"RemovesZThenYThenX", {"z", "a", "y", "b", "x"}, 4, 2, 0, {"a", "b"}},
        RemovalCase{
            "RemovesNothingWhenXEqualsYWithZ", {"a", "b", "c", "d"}, 0, 0, 2, {"a", "b", "c", "d"}},
        RemovalCase{"RemovesNothingWhenYEqualsZ", {"a", "b", "c"}, 0, 1, 1, {"a", "b", "c"}},
        RemovalCase{"RemovesNothingWhenXEqualsZ", {"a", "b", "c"}, 2, 1, 2, {"a", "b", "c"}},
        RemovalCase{
            "RemovesNothingWhenEqualIndicesLieOutside", {"a", "b", "c"}, 9, 9, 9, {"a", "b", "c"}}),
    TestSupport::CaseName());

TEST(AsciiUtilsRemoveXYZFailure, WantsTwoFieldsWithoutZ)
{
    Row row{"x"};
    ExpectSubclass([&] { RemoveXYZ(row, 0, 1, -1); },
                   "BIndexOutOfBoundsException",
                   "AsciiUtils::RemoveXYZ",
                   "Expected at least 2 (x, y) fields, but only 1 present.");
    EXPECT_EQ(row, (Texts{"x"}));
}

TEST(AsciiUtilsRemoveXYZFailure, WantsThreeFieldsWithZ)
{
    Row row{"x", "y"};
    ExpectSubclass([&] { RemoveXYZ(row, 0, 1, 0); },
                   "BIndexOutOfBoundsException",
                   "AsciiUtils::RemoveXYZ",
                   "Expected at least 3 fields (x, y, z), but only 2 present.");
    EXPECT_EQ(row, (Texts{"x", "y"}));
}

TEST(AsciiUtilsRemoveXYZFailure, NamesZeroFieldsOfAnEmptyRow)
{
    Row row;
    ExpectSubclass([&] { RemoveXYZ(row, 0, 1, -1); },
                   "BIndexOutOfBoundsException",
                   "AsciiUtils::RemoveXYZ",
                   "Expected at least 2 (x, y) fields, but only 0 present.");
}

const char* const kRemovalLocation = "BAsciiFile::RemoveXYZ";
const char* const kRemovalText = "Attempting to remove X/Y/Z columns failed. Possibly due to no "
                                 "X/Y/Z columns being present.";

// Rule: the location text comes first here.
TEST(AsciiUtilsRemoveXYZFailure, PutsTheLocationFirstWhenAnIndexLiesOutsideOfTheRow)
{
    Row row{"a", "b"};
    ExpectBException([&] { RemoveXYZ(row, 0, 5, -1); }, kRemovalLocation, kRemovalText);
    EXPECT_EQ(row, (Texts{"a", "b"}));
}

TEST(AsciiUtilsRemoveXYZFailure, RefusesANegativeIndex)
{
    Row row{"a", "b"};
    ExpectBException([&] { RemoveXYZ(row, -1, -1, -1); }, kRemovalLocation, kRemovalText);
    EXPECT_EQ(row, (Texts{"a", "b"}));
}

TEST(AsciiUtilsRemoveXYZFailure, KeepsFieldsRemovedBeforeTheFailureRemoved)
{
    Row row{"a", "b", "c"};
    ExpectBException([&] { RemoveXYZ(row, 2, -1, -1); }, kRemovalLocation, kRemovalText);
    EXPECT_EQ(row, (Texts{"a", "b"}));
}

TEST(AsciiUtilsRemoveXYZFailure, TestsAnIndexWhenItsFieldIsRemoved)
{
    // Equal indices: the first removal leaves one field, so the second one lies outside.
    Row row{"a", "b"};
    ExpectBException([&] { RemoveXYZ(row, 1, 1, -1); }, kRemovalLocation, kRemovalText);
    EXPECT_EQ(row, (Texts{"a"}));
}

TEST(AsciiUtilsRemoveXYZFailure, RefusesAZOutsideOfTheRowBeforeAnythingIsRemoved)
{
    Row row{"a", "b", "c"};
    ExpectBException([&] { RemoveXYZ(row, 0, 1, 3); }, kRemovalLocation, kRemovalText);
    EXPECT_EQ(row, (Texts{"a", "b", "c"}));
}

} // namespace
