// Where a table begins, how many columns it has, and which of its cells are names.
#include "MadeFile.h"

#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Plan.h>

#include <gtest/gtest.h>

#include <algorithm>
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
    {"LinesOfTheTablesCountButOfOtherCellsAreNoneOfIt",
     "* Data of a probe:\n* FileName = x.hex\n# name 0 = prDM: Pressure [db]\n# name 1 = t090C: "
     "Temperature\n*END*\n" +
         Lines(12, [](int i) { return "  " + Point(i, "   ") + "   12." + Number(i); }),
     "runs of blanks",
     "|||",
     12,
     ""},
    {"NamesStayWithTheirRowsAfterABlankLine",
     "id,lon,lat\n\n" + Lines(12, [](int i) { return Point(i); }),
     "comma",
     "id|lon|lat",
     12,
     "1 2"},
    {"OfTwoCommentLinesTheFirstHoldsTheNamesOverUnits",
     "#nr lon  lat   wspd gst\n#-  degT degT  m/s  m/s\n" +
         Lines(12, [](int i) { return Point(i, " ") + " 4." + Number(i) + "  5." + Number(i); }),
     "runs of blanks",
     "nr|lon|lat|wspd|gst",
     12,
     "1 2"},
    {"OfTablesOneAfterTheOtherTheFirstIsTheTable",
     "id;lon;lat\n10;8.5100;47.3100\n11;8.5110;47.3110\n\nkind;meaning\n" +
         Lines(6, [](int i) { return Number(i) + ";state " + Number(i); }),
     "semicolon",
     "id|lon|lat",
     2,
     "1 2"},
    {"AFurtherTableOfFewerColumnsNeedsNoBlankLineBeforeIt",
     "code,name,lon,lat\n" + Lines(12, [](int i) { return "K" + Number(i) + ",n" + Point(i); }) +
         "kind,meaning\n" + Lines(6, [](int i) { return Number(i) + ",state " + Number(i); }),
     "comma",
     "code|name|lon|lat",
     12,
     "2 3"},
    {"ATableOfTwoRowsUnderTextIsFound",
     "Survey of the lake\nDate: 2021-05-06\n\nid|lon|lat\n10|8.5100|47.3100\n11|8.5110|47.3110\n",
     "bar",
     "id|lon|lat",
     2,
     "1 2"},
    {"NamesOfKeysAndTextsTellWhereShortNamesStand",
     "id,name,lat,lon\n" + Lines(12,
                                 [](int i) {
                                     return Number(i) + (i % 2 == 0 ? ",Aare" : ",Birs") + ",46.1" +
                                            Number(i) + ",7.2" + Number(i) + "," + Number(i) + ".5";
                                 }),
     "comma",
     "id|name|lat|lon|",
     12,
     "3 2"},
    {"TwoLinesOfNamesStandOverThreeRows",
     "A;;Position;\nid;n;lon;lat\n" +
         Lines(3, [](int i) { return Number(i) + ";" + Point(i, ";"); }),
     "semicolon",
     "A id|A n|Position lon|Position lat",
     3,
     "2 3"},
    {"ADashUnderANameOfOneLetterIsARule",
     "x,y,layer\n-,-,-----\n" +
         Lines(3, [](int i) { return "6001" + Number(i) + ".5,2001" + Number(i) + ".5,WALL"; }),
     "comma",
     "x|y|layer",
     3,
     "0 1"},
    {"ARowWithATrailingSeparatorBelongsToTheNamesAboveIt",
     "easting|northing|z\n600123.50|200456.25|400.5|\n",
     "bar",
     "easting|northing|z|",
     1,
     "0 1"},
    {"BlanksInTextsOfOneColumnSeparateNothing",
     "plant\n" + Lines(12, [](int i) { return (i % 3 == 0 ? "oak " : "fir ") + Number(i); }),
     "one column",
     "plant",
     12,
     ""},
    {"WordsOneShortAreNamesOverTexts",
     "Person,Tree,Colour,Size\n" +
         Lines(12,
               [](int i) {
                   const char* const names[] = {"Ada", "Bo", "Cy"};
                   const char* const trees[] = {"oak", "elm", "fir", "ash"};
                   return std::string(names[i % 3]) + "," + trees[i % 4] + ",red,large," +
                          trees[(i + 1) % 4];
               }),
     "comma",
     "Person|Tree|Colour|Size|",
     12,
     ""},
    {"TwoQuotedNamesWithoutASeparatorAreTwo",
     "\"id\"\"lon\",\"lat\"\n" + Lines(12, [](int i) { return Point(i); }),
     "comma",
     "id|lon|lat",
     12,
     "1 2"},
    {"WordsOverValuesInAllLinesProveAnUnusualSeparator",
     "id/lon/lat/n\n" + Lines(12, [](int i) { return Point(i, "/") + "/" + Number(i); }),
     "'/'",
     "id|lon|lat|n",
     12,
     "1 2"},
    {"DatesOfOneColumnAreNotCut",
     "day\n" + Lines(12, [](int i) { return "2021/03/" + Number(i); }),
     "one column",
     "day",
     12,
     ""},
    {"SeparatorsInPairsMakeNoColumnsOfPoints",
     "id||lon||lat\n" + Lines(12, [](int i) { return Point(i, "||"); }),
     "bar",
     "id||lon||lat",
     12,
     "2 4"},
    {"AFooterPaddedWithSeparatorsIsNoRowOfTexts",
     "code,name,lon,lat\n" + Lines(12, [](int i) { return "K" + Number(i) + ",n" + Point(i); }) +
         "Source: the office,,,\n",
     "comma",
     "code|name|lon|lat",
     12,
     "2 3"},
    {"AWiderTableEndsOneWithoutNames",
     Lines(12,
           [](int i) {
               return "K" + Number(i) + ",n1" + Number(i) + ",8.5" + Number(i) + ",147.3" +
                      Number(i);
           }) +
         "first,second,third,fourth,fifth,sixth\n" +
         Lines(6, [](int i) { return Point(i) + "," + Point(i); }),
     "comma",
     "|||",
     12,
     "3 2"},
    {"DecimalsAreNoNamesOfRows",
     "lon,lat\n" +
         Lines(12, [](int i) { return "8.5" + Number(i) + ",47.3" + Number(i) + "," + Number(i); }),
     "comma",
     "lon|lat|",
     12,
     "0 1"},
    {"AnOpenQuoteAtTheEndOfTheFileIsACutRow",
     "id,lon,lat,name\n" + Lines(12, [](int i) { return Point(i) + ",\"a b\""; }) +
         "30,8.6,47.6,\"a lon",
     "comma",
     "id|lon|lat|name",
     12,
     "1 2"},
    {"ACharacterCutByTheEndOfTheFileIsNoOtherEncoding",
     "id,lon,lat,name\n" + Lines(12, [](int i) { return Point(i) + ",Z\xC3\xBCrich"; }) +
         "30,8.6,47.6,Z\xC3",
     "comma",
     "id|lon|lat|name",
     13,
     "1 2"},
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
    {"AColumnThatHoldsTheSeparatorWithoutQuotesIsOneColumn",
     "day time lon lat name url\n" +
         Lines(12,
               [](int i) {
                   const char* names[] = {"Alp", "Big Hill", "Am See Ost", "Piz"};
                   return "2021-03-" + Number(i) + " 12:" + Number(i) + " 8.5" + Number(i) +
                          "0 47.3" + Number(i) + "0 " + names[i % 4] + " \"https://a.org/" +
                          Number(i) + " b\"";
               }),
     "blank",
     "day|time|lon|lat|name|url",
     12,
     "2 3"},
    {"TheLastColumnMayHoldTheSeparatorWithoutQuotes",
     "lon,lat,place\n8.5,47.3,Alp\n8.6,47.4,Tal, Ost\n8.7,47.5,Piz, Sued, oben\n8.8,47.6,See\n"
     "9.5,47.3,Grat, West\n",
     "comma",
     "lon|lat|place",
     5,
     "0 1"},
    {"AQuoteAfterBlanksOpensAField",
     "id,lon,lat,v\n" + Lines(12, [](int i) { return Point(i) + ", \"a" + Number(i) + ",b\" "; }),
     "comma",
     "id|lon|lat|v",
     12,
     "1 2"},
    {"LinesThatAreQuotedAsAWholeAreReadWithoutTheseQuotes",
     "\"id,lon,lat,v\"\n" +
         Lines(12, [](int i) { return "\"" + Point(i) + ",\"\"a" + Number(i) + ",b\"\"\""; }),
     "comma",
     "id|lon|lat|v",
     12,
     "1 2"},
    {"AMarkBeforeNamesThatStandAgainIsNoPartOfThem",
     "id,lon,lat\n" + Lines(12, [](int i) { return Point(i); }) + "\xEF\xBB\xBFid,lon,lat\n" +
         Lines(12, [](int i) { return Point(i + 20); }),
     "comma",
     "id|lon|lat",
     24,
     "1 2"},
    {"TheSecondOfTwoMarksAtTheBeginIsNoPartOfTheFirstName",
     "\xEF\xBB\xBF\xEF\xBB\xBFid,lon,lat\n" + Lines(12, [](int i) { return Point(i); }),
     "comma",
     "id|lon|lat",
     12,
     "1 2"},
    {"TheWholeTableOnceMoreIsAFurtherTable",
     "id,lon,lat\n" + Lines(12, [](int i) { return Point(i); }) + "id,lon,lat\n" +
         Lines(12, [](int i) { return Point(i); }),
     "comma",
     "id|lon|lat",
     12,
     "1 2"},
    {"ALogThatWasStartedAnewGoesOn",
     "id,lon,lat\n" + Lines(12, [](int i) { return Point(i); }) + "id,lon,lat\n" +
         Lines(12, [](int i) { return Point(i < 3 ? i : i + 20); }),
     "comma",
     "id|lon|lat",
     24,
     "1 2"},
    {"LinesOfBlanksAloneAreNoRows", "   \n  \n", "one column", "", 0, ""},
    {"AnOddCellIsNoObstacleUnderNamesOfDegrees",
     "id,lon,lat\n" + Lines(7, [](int i) { return Point(i); }) + "9,unknown,unknown\n",
     "comma",
     "id|lon|lat",
     8,
     "1 2"},
    {"EastAndNorthAreAxesWhereNoColumnSaysWestOrSouth",
     "id,E,N\n" + Lines(12,
                        [](int i) {
                            return Number(i) + ",2'600'1" + Number(i) + ".5,1'200'2" + Number(i) +
                                   ".5";
                        }),
     "comma",
     "id|E|N",
     12,
     "1 2"},
    {"EastAndNorthMayStandInASecondLineOfNames",
     "id,Position,Position,v\n,East,North,\n" + Lines(12,
                                                      [](int i) {
                                                          return Number(i) + ",2600" + Number(i) +
                                                                 ".5,1200" + Number(i) + ".5,9";
                                                      }),
     "comma",
     "id|Position East|Position North|v",
     12,
     "1 2"},
    {"AxesHaveRussianNames",
     "\xD0\x98\xD0\xBC\xD1\x8F,\xD0\x94\xD0\xBE\xD0\xBB\xD0\xB3\xD0\xBE\xD1\x82\xD0\xB0,"
     "\xD0\xA8\xD0\xB8\xD1\x80\xD0\xBE\xD1\x82\xD0\xB0\n" +
         Lines(12, [](int i) { return "a" + Point(i); }),
     "comma",
     "\xD0\x98\xD0\xBC\xD1\x8F|\xD0\x94\xD0\xBE\xD0\xBB\xD0\xB3\xD0\xBE\xD1\x82\xD0\xB0|"
     "\xD0\xA8\xD0\xB8\xD1\x80\xD0\xBE\xD1\x82\xD0\xB0",
     12,
     "1 2"},
    {"ASignOfDegreesIsNoPartOfAName",
     "Nom,Longitude (\xC2\xB0"
     "E),Latitude (\xC2\xB0N)\n" +
         Lines(12, [](int i) { return "a" + Point(i); }),
     "comma",
     "Nom|Longitude (\xC2\xB0"
     "E)|Latitude (\xC2\xB0N)",
     12,
     "1 2"},
    {"TwoPairsOfTheSameNamesAreAQuestion",
     "id,lon,lat,lon,lat\n" +
         Lines(12,
               [](int i) { return Point(i) + ",9.5" + Number(i) + "0,46.3" + Number(i) + "0"; }),
     "comma",
     "id|lon|lat|lon|lat",
     12,
     ""},
    {"TheTwoEndsOfAWayAreAQuestion",
     "id,start_lon,start_lat,end_lon,end_lat\n" +
         Lines(12,
               [](int i) { return Point(i) + ",9.5" + Number(i) + "0,46.3" + Number(i) + "0"; }),
     "comma",
     "id|start_lon|start_lat|end_lon|end_lat",
     12,
     ""},
    {"TheSeparatorOfUnitsInAsciiIsASeparator",
     "id\x1F"
     "lon\x1F"
     "lat\x1F"
     "note\n" +
         Lines(12,
               [](int i) {
                   return Point(i, "\x1F") + "\x1F\"Light, warm and dry in any weather, a " +
                          Number(i) + "\"";
               }),
     "'\x1F'",
     "id|lon|lat|note",
     12,
     "1 2"},
    {"ADrawnLineUnderNamesIsNoRowWhateverItsCount",
     " id | lon     | lat\n----+---------+---------\n" +
         Lines(5, [](int i) { return " " + Point(i, " | "); }) + "(5 rows)\n",
     "bar and blank",
     "id|lon|lat",
     5,
     "1 2"},
    {"AFrameOfDrawnLinesHoldsNoRow",
     "+----+---------+---------+\n| id | lon     | lat     |\n+----+---------+---------+\n" +
         Lines(5, [](int i) { return "| " + Point(i, " | ") + " |"; }) +
         "+----+---------+---------+\n",
     "bar",
     "|id|lon|lat|",
     5,
     "2 3"},
    {"TheSameNamesOnceMoreAreNamesAgain",
     "id,lon,lat\nid,lon,lat\n" + Lines(12, [](int i) { return Point(i); }),
     "comma",
     "id|lon|lat",
     12,
     "1 2"},
    {"ABlankBeforeEachLineIsNoColumn",
     Lines(12, [](int i) { return " " + Point(i, " "); }),
     "runs of blanks",
     "||",
     12,
     ""},
    {"RowsOfBlanksUnderMoreLinesOfTextAreTheTable",
     "Port:              P034\nSite:              Dover\nStart Date:        01JAN2019-00.00.00\n"
     "Contributor:       Lab\nDatum information: The data refer to chart datum\n"
     "Parameter code:    ASLV = Surface elevation\n  nr       lon       lat\n" +
         Lines(4, [](int i) { return "  " + Point(i, "   "); }),
     "runs of blanks",
     "nr|lon|lat",
     4,
     "1 2"},
    {"ABlankLineAmongRowsOfBlanksUnderTextEndsNoTable",
     "~Curves\n DEPT.M :\n GR.API :\n RHOB.G :\n STRT.M  100.0:\n  NR    LON      LAT\n" +
         Lines(12, [](int i) { return (i % 3 == 2 ? "\n  " : "  ") + Point(i, "   "); }),
     "runs of blanks",
     "NR|LON|LAT",
     12,
     "1 2"},
    {"UnitsAndRulesComeAgainWithTheNames",
     "id,lon,lat\n-,deg,deg\n" + Lines(6, [](int i) { return Point(i); }) +
         "id,lon,lat\n-,deg,deg\n" + Lines(6, [](int i) { return Point(i + 10); }),
     "comma",
     "id|lon|lat",
     12,
     "1 2"},
    {"NamesInACommentMayHaveABlankLineAfterThem",
     "# id lon lat\n\n" + Lines(12, [](int i) { return Point(i, " "); }),
     "blank",
     "id|lon|lat",
     12,
     "1 2"},
    {"NamesUnderATitleMayHaveABlankLineAfterThem",
     "Survey,,\nBy: A. B.,,\n,,\nid,lon,lat\n\n" + Lines(12, [](int i) { return Point(i); }),
     "comma",
     "id|lon|lat",
     12,
     "1 2"},
    {"ATitleBeforeABlankLineIsNoNameOfRows",
     "Survey of the lake, northern part\n\n" + Lines(12, [](int i) { return Point(i); }),
     "comma",
     "||",
     12,
     ""},
    {"ACutLastLineMovesNoWidths",
     Lines(6,
           [](int i) { return " " + Number(i) + "   8.5" + Number(i) + "0   47.3" + Number(i); }) +
         " 99   8.5",
     "runs of blanks",
     "||",
     6,
     ""},
    {"WidthsThatCutTheTextBeforeRowsOfBlanksAreNone",
     "* Data of a probe:\n* FileName = x.hex\n# nquan = 3\n# name 0 = prDM: Pressure [db]\n"
     "# name 1 = longitude: Longitude [deg]\n*END*\n" +
         Lines(30, [](int i) { return "     " + Point(i, "    -"); }),
     "runs of blanks",
     "||",
     30,
     ""},
    {"AMarkBeforeNamesIsNoneOfThem",
     "~Curves\n LON.DEG :\n LAT.DEG :\n~A  NR   LON    LAT\n" +
         Lines(12, [](int i) { return "  " + Point(i, "  "); }),
     "runs of blanks",
     "NR|LON|LAT",
     12,
     "1 2"},
    {"NumbersAloneAreNoNames", "8.5,47.3\n", "comma", "|", 1, ""},
};

INSTANTIATE_TEST_SUITE_P(, PlanHead, testing::ValuesIn(kHeadCases), [](const auto& row) {
    return std::string(row.param.name);
});

TEST(PlanHeads, ASeparatorPastAsciiIsNamedInTheQuestion)
{
    const MadeFile file("id\xC2\xA7lon\xC2\xA7lat\n" +
                        Lines(12, [](int i) { return Point(i, "\xC2\xA7"); }));
    const Plan plan = MakePlan(file.Path(), {});
    ASSERT_EQ(plan.questions.size(), 1U);
    EXPECT_EQ(
        plan.questions[0].text,
        "No columns of coordinates were found. The same number of '\xC2\xA7' is in each line: "
        "columns are cut at characters of ASCII only; put a tab in its place.");
}

TEST(PlanHeads, NamesThatStandTwiceAreJoinedWhereEveryCellIsKeptAsText)
{
    const MadeFile file("id,lon,lat\nid,lon,lat\n" + Lines(12, [](int i) { return Point(i); }));
    PlanRequest request;
    request.isAllText = true;
    request.hasNoPoints = true;
    const Plan plan = MakePlan(file.Path(), request);
    EXPECT_EQ(plan.columns[1].name, "lon lon");
    EXPECT_EQ(plan.shape.rows, 12U);
}

// Rule: the second word of a text comes after a text; where most names fit in several places, those
// between the first and the last of these are open.
TEST(PlanHeads, NamesOneLessThanWordsStandWhereTheyFit)
{
    const MadeFile file("id name depth lat lon\n" + Lines(12, [](int i) {
                            return Number(i) + " Station " + Number(i) + " 140.5 47.3" + Number(i) +
                                   " 8.5" + Number(i);
                        }));
    const Plan plan = MakePlan(file.Path(), {});
    EXPECT_TRUE(plan.questions.empty());
    ASSERT_EQ(plan.columns.size(), 6U);
    EXPECT_EQ(plan.columns[1].name + "|" + plan.columns[2].name + "|" + plan.columns[3].name,
              "name||depth");
    EXPECT_EQ(plan.coordinates.value.x.value_or(0), 5U);
    EXPECT_EQ(plan.coordinates.value.y.value_or(0), 4U);
}

TEST(PlanHeads, CoordinatesAfterATextThatMayHaveTwoWordsAreAQuestion)
{
    const MadeFile file("id name depth lat lon\n" + Lines(12, [](int i) {
                            return Number(100 + 7 * i) + " Station 3.5" + Number(i) + " 9.3" +
                                   Number(i) + " 47.3" + Number(i) + " 8.5" + Number(i);
                        }));
    const Plan plan = MakePlan(file.Path(), {});
    ASSERT_EQ(plan.questions.size(), 1U);
    EXPECT_EQ(plan.questions[0].text,
              "The names line has one cell less than the rows, so that which columns are the "
              "coordinates cannot be told by their names.");
    EXPECT_EQ(plan.questions[0].answers.size(), 2U);
}

TEST(PlanHeads, SeparatorsInPairsMakeNoColumns)
{
    const MadeFile file("id||lon||lat\n" + Lines(12, [](int i) { return Point(i, "||"); }));
    const Plan plan = MakePlan(file.Path(), {});
    ASSERT_EQ(plan.columns.size(), 5U);
    for (const PlanColumn& column : plan.columns) {
        EXPECT_EQ(column.role == EPlanRole::TrailingSeparator, column.index % 2 == 1);
    }
}

TEST(PlanHeads, ACharacterCutByTheEndOfTheFileLeavesUtf8)
{
    const MadeFile file("id,lon,lat,name\n" +
                        Lines(12, [](int i) { return Point(i) + ",Z\xC3\xBCrich"; }) +
                        "30,8.6,47.6,Z\xE2\x82");
    const Plan plan = MakePlan(file.Path(), {});
    EXPECT_EQ(plan.bytes.encoding.value, "UTF-8");
    EXPECT_TRUE(plan.questions.empty());
}

TEST(PlanHeads, AnOpenQuoteInALastLineWithoutAnEndingIsSaidAsACut)
{
    const MadeFile file("id,lon,lat,name\n" +
                        Lines(12, [](int i) { return Point(i) + ",\"a b\""; }) +
                        "30,8.6,47.6,\"a lon");
    const Plan plan = MakePlan(file.Path(), {});
    EXPECT_TRUE(plan.shape.isCutShort);
    EXPECT_TRUE(std::any_of(plan.findings.begin(), plan.findings.end(), [](const auto& finding) {
        return finding.code == "cut-row";
    }));
}

struct PairCase
{
    const char* name;
    const char* cell;
    const char* said; ///< after the sentence that nothing was found
};

void PrintTo(const PairCase& row, std::ostream* out)
{
    *out << row.name;
}

class PlanPairCells : public testing::TestWithParam<PairCase>
{};

TEST_P(PlanPairCells, AreNamedInTheQuestion)
{
    const std::string cell(GetParam().cell);
    const MadeFile file("id;place;n\n" + Lines(12, [&](int i) {
                            return Number(i) + ";" + cell + ";a" + Number(i);
                        }));
    const Plan plan = MakePlan(file.Path(), {});
    ASSERT_EQ(plan.questions.size(), 1U);
    const std::string both = "'): it has to be two columns of the file, one for X and one for Y.";
    const std::string grid = "'), which are not read: degrees or metres in two columns are.";
    const std::string said(GetParam().said);
    EXPECT_EQ(plan.questions[0].text,
              "No columns of coordinates were found." +
                  (said.empty() ? said
                                : " Column 'place' holds " + said + " ('" + cell +
                                      (said.starts_with("both") ? both : grid)));
}

constexpr PairCase kPairCases[] = {
    {"TwoNumbers", "47.1, 8.5", "both in one cell"},
    {"TwoNumbersInBrackets", "(47.1, -122.5)", "both in one cell"},
    {"APointOfWellKnownText", "POINT (8.5 47.1)", "both in one cell"},
    {"APointOfWholeNumbers", "Point(8 47)", "both in one cell"},
    {"TwoAngles",
     "47\xC2\xB0"
     "06'N 8\xC2\xB0"
     "30'E",
     "both in one cell"},
    {"LettersBeforeMinutes", "N47 01.097 E008 56.952", "both in one cell"},
    {"AReferenceOfTheGrid", "32TMT0376551061", "references of the military grid"},
    {"ARangeIsNone", "1.5-2.5", ""},
    {"AnAddressIsNone", "10.5 Main Street 7.2 W", ""},
};

INSTANTIATE_TEST_SUITE_P(, PlanPairCells, testing::ValuesIn(kPairCases), [](const auto& row) {
    return std::string(row.param.name);
});

TEST(PlanHeads, AFewLatitudesPast90DoNotLookLikeLongitudes)
{
    const auto hasSwapped = [](const std::string& last) {
        const MadeFile file("id,lon,lat\n" + Lines(19, [](int i) { return Point(i); }) + last);
        const Plan plan = MakePlan(file.Path(), {});
        return std::any_of(
            plan.findings.begin(), plan.findings.end(), [](const PlanFinding& finding) {
                return finding.code == "axes-swapped";
            });
    };
    EXPECT_FALSE(hasSwapped("19,8.6,95\n"));
    EXPECT_TRUE(
        hasSwapped(Lines(10, [](int i) { return Number(i) + ",8.6,13" + std::to_string(i); })));
}

TEST(PlanHeads, MoreLinesToSkipThanThereAreIsRefused)
{
    const MadeFile file("lon,lat\n8.5,47.5\n8.6,47.6\n");
    PlanRequest request;
    request.skipLines = 50;
    try {
        static_cast<void>(MakePlan(file.Path(), request));
        FAIL() << "no failure";
    } catch (const ImportFailure& failure) {
        EXPECT_EQ(failure.GetFields().code, "option-value");
        EXPECT_EQ(failure.GetFields().what,
                  "The file has 3 lines: none is left after the 50 that are to be skipped.");
    }
}

TEST(PlanHeads, AGivenEncodingThatSpoilsLettersOfUtf8IsPointedOut)
{
    const MadeFile file("lon,lat,name\n8.5,47.5,Z\xC3\xBC"
                        "rich\n8.6,47.6,B\xC3\xA4"
                        "ch\n"
                        "8.7,47.7,\xC3\x96"
                        "rlikon\n");
    PlanRequest request;
    request.encoding = "ISO-8859-1";
    const Plan plan = MakePlan(file.Path(), request);
    ASSERT_FALSE(plan.findings.empty());
    EXPECT_EQ(plan.findings.back().code, "encoding-doubtful");
}

TEST(PlanHeads, ShiftsToJapaneseTellTheEncoding)
{
    const MadeFile file("lon,lat,name\n8.5,47.5,\x1B$BEl5~\x1B(B\n8.6,47.6,\x1B$BBg:e\x1B(B\n");
    const Plan plan = MakePlan(file.Path(), {});
    EXPECT_EQ(plan.bytes.encoding.value, "ISO-2022-JP");
    EXPECT_EQ(plan.bytes.encoding.decider, EDecider::Found);
    EXPECT_EQ(plan.shape.rows, 2U);
}

TEST(PlanHeads, FewWordsThatSeveralEncodingsHaveAreAQuestion)
{
    const MadeFile file(
        "id,lon,lat,name\n" + Lines(30, [](int i) {
            return Point(i) + ",\x8C\x63\xB9\xE6\xB0\xA2\xC7\xCF \xBC\x84\xBD\xC3\xC4\xDD\xB6\xF3" +
                   Number(i);
        }));
    const Plan plan = MakePlan(file.Path(), {});
    ASSERT_EQ(plan.questions.size(), 1U);
    EXPECT_EQ(plan.questions[0].code, "encoding");
    const auto& answers = plan.questions[0].answers;
    EXPECT_TRUE(std::any_of(answers.begin(), answers.end(), [](const PlanAnswer& answer) {
        return answer.encoding == "CP949";
    }));
}

TEST(PlanHeads, LikelySystemsLieWhereTheirAreaOfUseIs)
{
    const MadeFile file("id,E,N,canton\n" + Lines(12, [](int i) {
                            return Number(i) + ",26" + Number(i) + "100.5,12" + Number(i) +
                                   "200.5,Bern";
                        }));
    PlanRequest request;
    EXPECT_TRUE(MakePlan(file.Path(), request).coordinateSystem.rivals.empty());
    request.ranksSystems = true;
    const Plan plan = MakePlan(file.Path(), request);
    EXPECT_EQ(plan.coordinateSystem.value, "undefined Cartesian");
    ASSERT_FALSE(plan.coordinateSystem.rivals.empty());
    EXPECT_EQ(plan.coordinateSystem.rivals[0].value, "EPSG:2056");
    EXPECT_EQ(plan.coordinateSystem.rivals[0].against, "CH1903+ / LV95");
    EXPECT_LE(plan.coordinateSystem.rivals.size(), 12U);
}

TEST(PlanHeads, SystemsThatAgreeWithTheFilesOwnDegreesAreTheLikeliest)
{
    // UTM 32N of the same points.
    const MadeFile file("x,y,lon,lat\n500000,5260729.73,9,47.5\n500000,5316300.22,9,48\n"
                        "500000,5371875.58,9,48.5\n");
    PlanRequest request;
    request.x = "x";
    request.y = "y";
    request.ranksSystems = true;
    const Plan plan = MakePlan(file.Path(), request);
    ASSERT_FALSE(plan.coordinateSystem.rivals.empty());
    const auto& rivals = plan.coordinateSystem.rivals;
    EXPECT_TRUE(rivals[0].value == "EPSG:25832" || rivals[0].value == "EPSG:32632")
        << rivals[0].value;
}

} // namespace
