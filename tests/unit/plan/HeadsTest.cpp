// Where a table begins, how many columns it has, and which of its cells are names.
#include "MadeFile.h"

#include <Orvane/Import/Plan.h>

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <plan/PlanDialect.h>
#include <string>
#include <string_view>

namespace {

using namespace Orvane::Import;

/// `count` lines that a function makes of their number.
std::string Lines(int count, const std::function<std::string(int)>& line)
{
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += line(i) + "\n";
    }
    return text;
}

std::string Number(int i)
{
    return std::to_string(10 + i);
}

/// "1,8.510,47.310"
std::string Point(int i, const std::string& separator = ",")
{
    return Number(i) + separator + "8.5" + Number(i) + "0" + separator + "47.3" + Number(i) + "0";
}

struct HeadCase
{
    const char* name;
    std::string bytes;
    const char* separator;
    const char* names; ///< joined by `|`; without names as many empty ones
    std::uint64_t rows;
    const char* points; ///< X and Y, counted from 0
};

void PrintTo(const HeadCase& row, std::ostream* out)
{
    *out << row.name;
}

class PlanHead : public testing::TestWithParam<HeadCase>
{};

std::string PointsOf(const Plan& plan)
{
    const PlanCoordinates& found = plan.coordinates.value;
    return found.x && plan.questions.empty()
               ? std::to_string(*found.x) + " " + std::to_string(*found.y)
               : "";
}

TEST_P(PlanHead, GivesNamesAndRows)
{
    const HeadCase& expected = GetParam();
    const MadeFile file(expected.bytes);
    const Plan plan = MakePlan(file.Path(), {});
    std::string names;
    for (const PlanColumn& column : plan.columns) {
        names += (column.index == 0 ? "" : "|") + column.name;
    }
    EXPECT_EQ(Describe(plan.shape.separator.value), expected.separator);
    EXPECT_EQ(names, expected.names);
    EXPECT_EQ(plan.shape.rows, expected.rows);
    EXPECT_EQ(PointsOf(plan), expected.points);
    EXPECT_EQ(ToJson(PlanFromJson(ToJson(plan))), ToJson(plan));
}

const HeadCase kHeadCases[] = {
    {"RowsThatLackCellsInTurnBelongToTheNamesAboveThem",
     "id,lon,lat,a,b,c\n" +
         Lines(12, [](int i) { return Point(i) + std::string(static_cast<size_t>(i % 4), ','); }),
     "comma",
     "id|lon|lat|a|b|c",
     12,
     "1 2"},
    {"RowsWithoutNamesThatLackCellsInTurnHaveTheLargestCount",
     Lines(15,
           [](int i) {
               std::string row = "2021-03-" + Number(i) + "," + Point(i);
               for (int cell = 0; cell < (i * 7) % 4; ++cell) {
                   row += "," + std::to_string(i * 3);
               }
               return row;
           }),
     "comma",
     "||||||",
     15,
     ""},
    {"TextsOfSeveralWordsInFixedWidthsAreNotCutUnderOneName",
     "NAME                LON      LAT      ELEV\n" +
         Lines(12,
               [](int i) {
                   const char* names[] = {"Big Hill", "Alp     ", "Piz Nair", "Am See  "};
                   return names[i % 4] + std::string(" ") + Number(i) + "         8.2" + Number(i) +
                          "0   47.2" + Number(i) + "0  1" + Number(i);
               }),
     "widths 11, 15, 10",
     "NAME|LON|LAT|ELEV",
     12,
     "1 2"},
    {"NamesOfCoordinatesStandOverColumnsThatCanHoldThem",
     "id,lon,lat,v\n" + Lines(12, [](int i) { return Point(i) + ",a" + Number(i) + "\\,b"; }),
     "comma",
     "id|lon|lat|v|",
     12,
     "1 2"},
    {"NamesThatAreOneShortBelongToTheColumnsAfterTheNamesOfRows",
     "lon,lat,v\n" + Lines(12, [](int i) { return "r" + Point(i) + "," + Number(i); }),
     "comma",
     "|lon|lat|v",
     12,
     "1 2"},
    {"SurplusEmptyNamesAreDropped",
     "id,lon,lat,v,,\n" + Lines(12, [](int i) { return Point(i) + ",a" + Number(i); }),
     "comma",
     "id|lon|lat|v",
     12,
     "1 2"},
    {"AnEmptyNameTooManyAmongTheNamesIsDropped",
     "id,,lon,lat,v\n" + Lines(12, [](int i) { return Point(i) + ",a" + Number(i); }),
     "comma",
     "id|lon|lat|v",
     12,
     "1 2"},
    {"NumbersAloneAreNoNames", "8.5,47.3\n", "comma", "|", 1, ""},
};

INSTANTIATE_TEST_SUITE_P(, PlanHead, testing::ValuesIn(kHeadCases), [](const auto& row) {
    return std::string(row.param.name);
});

} // namespace
