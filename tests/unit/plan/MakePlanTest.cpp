// Plans of small files, kind by kind, and of real ones where the folder of test data is there.
#include "MadeFile.h"
#include "support/DataFolder.h"
#include "support/TestFiles.h"

#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Plan.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

using namespace Orvane::Import;

Plan PlanOf(std::string_view bytes, const PlanRequest& request = {})
{
    const MadeFile file(bytes);
    return MakePlan(file.Path(), request);
}

std::string TypesOf(const Plan& plan)
{
    std::string types;
    for (const PlanColumn& column : plan.columns) {
        types += types.empty() ? "" : ", ";
        types += NameOf(column.type.value);
        types += column.spelling.empty() ? "" : " (" + column.spelling + ")";
    }
    return types;
}

bool HasFinding(const Plan& plan, std::string_view code)
{
    return std::any_of(plan.findings.begin(), plan.findings.end(), [&](const PlanFinding& finding) {
        return finding.code == code;
    });
}

bool HasQuestion(const Plan& plan, std::string_view code)
{
    return std::any_of(plan.questions.begin(),
                       plan.questions.end(),
                       [&](const PlanQuestion& question) { return question.code == code; });
}

struct ShapeCase
{
    const char* name;
    std::string_view bytes;
    const char* separator;
    bool hasNames;
    std::uint64_t rows;
    std::uint64_t columns;
};

void PrintTo(const ShapeCase& row, std::ostream* out)
{
    *out << row.name;
}

class MakePlanShape : public testing::TestWithParam<ShapeCase>
{};

TEST_P(MakePlanShape, FindsSeparatorNamesAndRows)
{
    const Plan plan = PlanOf(GetParam().bytes);
    EXPECT_EQ(Describe(plan.shape.separator.value), GetParam().separator);
    EXPECT_EQ(plan.shape.hasNames.value, GetParam().hasNames);
    EXPECT_EQ(plan.shape.rows, GetParam().rows);
    EXPECT_EQ(plan.shape.columnCount.value, GetParam().columns);
}

constexpr ShapeCase kShapeCases[] = {
    {"ASemicolonBeforeDecimalCommas",
     "name;y;x;day\na;-3,12;-40,08;20/07/2008\nb;-17,9;-38,7;21/04/2009\nc;1,5;2,25;13/01/2010\n",
     "semicolon",
     true,
     3,
     4},
    {"OneLineOfThreeIsNoSupport", "c0\nv0\na;b\n", "one column", false, 3, 1},
    {"NumbersAloneAreOneColumn", "-5739\n-5751\n-5683\n", "one column", false, 3, 1},
    {"RunsOfBlanks", "1.5  2.5   3\n4.5 5.25   6\n7  8.5 9\n", "runs of blanks", false, 3, 3},
    {"Tabs", "id\tx\ty\n1\t2.5\t3.5\n2\t3.5\t4.5\n", "tab", true, 2, 3},
    {"Bars", "id|x|y\n1|2.5|3.5\n2|3.5|4.5\n", "bar", true, 2, 3},
    {"Carets", "id^x^y\n1^2.5^3.5\n2^3.5^4.5\n", "'^'", true, 2, 3},
    {"AStatementOfTheSeparator", "sep=|\nid|x\n1|2,5\n2|3,5\n", "bar", true, 2, 2},
    {"ACommaAndABlank",
     "id, name, x\n1, \"a, b\", 2.5\n2, \"c\", 3.5\n",
     "comma and blank",
     true,
     2,
     3},
    {"TimesAndDatesAreNotCut",
     "t,x\n2018-01-01 11:27:50,1.5\n2018-01-01 11:28:00,2.5\n2018-01-02 00:00:20,3.5\n",
     "comma",
     true,
     3,
     2},
    {"FixedWidths",
     "id    name            x\n"
     "00001 Bad Aach      8.5\n"
     "00002 Aachen       10.5\n"
     "00003 Ulm an Donau  9.5\n"
     "00004 Rom          12.5\n",
     "widths 5, 13",
     true,
     4,
     3},
    {"APreambleOfOtherCounts",
     "A title\n\nid,x,y\n1,2.5,3\n2,3.5,4\n3,4.5,5\n",
     "comma",
     true,
     3,
     3},
    {"CommentLines", "# a comment, and more\nid,x,y\n1,2.5,3\n2,3.5,4\n", "comma", true, 2, 3},
    {"NamesInTheLastCommentLine",
     "# made by hand\n# id x y\n1 2.5 3\n2 3.5 4\n",
     "blank",
     true,
     2,
     3},
    {"TwoLinesOfNames", "x,y,depth\nlon,lat,m below\n1.5,2.5,3\n2.5,3.5,4\n", "comma", true, 2, 3},
    {"UnitsUnderTheNames", "x,y,depth\nm,m,m\n1.5,2.5,3\n2.5,3.5,4\n", "comma", true, 2, 3},
    {"WidthsUnderTheNames",
     "# water\nno\tlat\tlon\n15s\t16n\t16n\n1\t46.5\t-69.5\n2\t46.6\t-69.6\n",
     "tab",
     true,
     2,
     3},
    {"DurationsAreNoWidths", "a,b\n5s,7s\n6s,8s\n9s,2s\n", "comma", true, 3, 2},
    {"NoNamesOverNumbers", "1,2.5,3\n2,3.5,4\n", "comma", false, 2, 3},
    {"ReturnsAlone", "id,x\r1,2.5\r2,3.5\r", "comma", true, 2, 2},
    {"AnEmptyFile", "", "one column", false, 0, 1},
    {"OneLine", "a", "one column", false, 1, 1},
    {"QuotedLineBreaks", "id,t\n1,\"a\nb\"\n2,\"c\r\nd\"\n3,e\n", "comma", true, 3, 2},
};

INSTANTIATE_TEST_SUITE_P(, MakePlanShape, testing::ValuesIn(kShapeCases), [](const auto& row) {
    return row.param.name;
});

struct TypeCase
{
    const char* name;
    std::string_view bytes;
    const char* types;
};

void PrintTo(const TypeCase& row, std::ostream* out)
{
    *out << row.name;
}

class MakePlanTypes : public testing::TestWithParam<TypeCase>
{};

TEST_P(MakePlanTypes, AreTheNarrowestThatAllCellsFit)
{
    EXPECT_EQ(TypesOf(PlanOf(GetParam().bytes)), GetParam().types);
}

constexpr TypeCase kTypeCases[] = {
    {"ADecimalAfterWholeNumbers", "a,b\n1,x\n2,y\n3,z\n4,x\n5,y\n9.75,z\n", "double, text"},
    {"ALateTextMakesText", "a,b\n1,x\n2,y\n3,z\nabc,x\n", "text, text"},
    {"ALateBigNumber", "a,b\n1,x\n2,y\n99999999999,z\n", "long integer, text"},
    {"GapsAreNoObstacle", "a,b\n1,x\n,y\n2.5,z\n", "double, text"},
    {"LeadingZerosStayText", "a,b\n01234,x\n51234,y\n", "text, text"},
    {"ZeroAndOneAreIntegers", "a,b\n0,x\n1,y\n0,z\n", "integer, text"},
    {"WordsOfTruth", "a,b\nyes,1\nNo,2\nYES,3\n", "boolean, integer"},
    {"LettersOnlyInPairs", "a,b\nN,1\nN,2\n", "text, integer"},
    {"ADecimalComma", "a;b\n1,5;x\n2,25;y\n3;z\n", "double (decimal comma), text"},
    {"ThousandsSigns", "a;b\n1,234,567;x\n2,345;y\n", "double (thousands ,), text"},
    {"ACommaBeforeThreeDigitsIsNotGuessed", "a;b\n1,234;x\n7,197;y\n", "text, text"},
    {"AnotherColumnProvesTheComma",
     "a;b\n1,234;0,5\n7,197;1,25\n",
     "double (decimal comma), double (decimal comma)"},
    {"DayFirstByOneRow",
     "a,b\n03/04/2018,1\n28/04/2018,2\n04/05/2018,3\n",
     "date (day first), integer"},
    {"DayOrMonthIsNotGuessed", "a,b\n03/04/2018,1\n04/05/2018,2\n", "text, integer"},
    {"IsoDatesAndTimes",
     "a,b,c\n2018-01-28,13:03:22,2018-01-28T13:03Z\n2018-02-01,00:00:00,2018-02-01T00:00Z\n",
     "date, time, date and time"},
    {"OffsetsInSome", "a,b\n2018-01-28T13:03Z,1\n2018-01-28T13:03,2\n", "text, integer"},
    {"TwentyDigitsStayText",
     "a,b\n12345678901234567890,1\n22345678901234567890,2\n",
     "text, integer"},
    {"LimitsStayText", "a,b\n<0.05,1\n0.2,2\n0.3,3\n", "text, integer"},
    {"EightDigitsUnderANameOfADate",
     "date,n\n20180128,20180128\n20180201,20181328\n",
     "date (YYYYMMDD), integer"},
};

INSTANTIATE_TEST_SUITE_P(, MakePlanTypes, testing::ValuesIn(kTypeCases), [](const auto& row) {
    return row.param.name;
});

TEST(MakePlan, CountsNullWordsOnlyAmongNumbersAndDates)
{
    const Plan plan = PlanOf("a,b\n1,NA\nNA,x\n2.5,y\n");
    EXPECT_EQ(TypesOf(plan), "double, text");
    EXPECT_EQ(plan.columns[0].values, 2U);
    EXPECT_EQ(plan.columns[0].nullWords, 1U);
    ASSERT_EQ(plan.columns[0].nullSpellings.size(), 1U);
    EXPECT_EQ(plan.columns[0].nullSpellings[0], "NA");
    EXPECT_EQ(plan.columns[1].values, 3U);
    EXPECT_EQ(plan.columns[1].nullWords, 0U);
}

TEST(MakePlan, ShowsTheCellThatMakesTextOfNumbersWithItsPlace)
{
    std::string bytes = "a,b\n";
    for (int i = 0; i < 50; ++i) {
        bytes += i == 30 ? "n/k,x\n" : std::to_string(i) + ",x\n";
    }
    const Plan plan = PlanOf(bytes);
    const PlanColumn& column = plan.columns[0];
    EXPECT_EQ(column.type.value, EPlanType::Text);
    ASSERT_EQ(column.type.rivals.size(), 1U);
    EXPECT_EQ(column.type.rivals[0].value, "number");
    bool isShown = false;
    for (const PlanEvidence& evidence : column.type.evidence) {
        if (evidence.what == "text") {
            ASSERT_EQ(evidence.places.size(), 1U);
            EXPECT_EQ(evidence.places[0].text, "n/k");
            EXPECT_EQ(evidence.places[0].line, 32U);
            EXPECT_EQ(evidence.places[0].byte, bytes.find("n/k"));
            isShown = true;
        }
    }
    EXPECT_TRUE(isShown);
}

TEST(MakePlan, SaysWhyCellsThatLookLikeMoreStayText)
{
    const auto why = [](std::string_view cells) {
        std::string bytes = "id,cell\n";
        for (std::size_t at = 0; at < cells.size();) {
            const std::size_t end = std::min(cells.find(' ', at), cells.size());
            bytes += "5," + std::string(cells.substr(at, end - at)) + "\n";
            at = end + 1;
        }
        const Plan plan = PlanOf(bytes);
        const PlanColumn& column = plan.columns.at(1);
        EXPECT_EQ(column.type.value, EPlanType::Text) << cells;
        return column.type.rivals.empty() ? "" : column.type.rivals.front().against;
    };
    EXPECT_EQ(why("01000 0800 12"), "2 cells have a leading zero, as codes have");
    EXPECT_EQ(why("1 007"), "1 cell has a leading zero, as codes have");
    EXPECT_EQ(why("1 99999999999999999999"), "1 cell has more digits than a number holds");
    EXPECT_EQ(why("0.12345678901234567891 0.5"), "1 cell has more digits than a number holds");
    EXPECT_EQ(why("1.5m 3ft 2.5m"), "numbers with units in the cells");
    EXPECT_EQ(why("32T 33T 32T"), "");
    EXPECT_EQ(why("1 2 3a"), "1 cell is no number");
    EXPECT_EQ(why("2024-01-05 2024-02-30 2024-03-01"), "1 cell is no date");
    EXPECT_EQ(why("yes no perhaps yes"), "1 cell is no truth value");
    EXPECT_EQ(why("1 2 a b c"), "");
}

TEST(MakePlan, AsksWhereNamesOfDegreesStandOverOtherNumbers)
{
    const Plan plan = PlanOf("id,lat,lon\n1,5230000.5,465000.5\n2,5230010.25,465020.75\n");
    ASSERT_TRUE(HasQuestion(plan, "coordinates"));
    EXPECT_EQ(plan.questions.front().text,
              "The columns 'lon' (465000.5 to 465020.75) and 'lat' (5230000.5 to 5230010.25) are "
              "named as degrees, but their values are none. Given by --x and --y, they are the "
              "metres of a map.");
    ASSERT_EQ(plan.questions.front().answers.size(), 1U);
    EXPECT_EQ(plan.questions.front().answers[0].x, 2U);
    EXPECT_EQ(plan.questions.front().answers[0].y, 1U);
}

TEST(MakePlan, AsksWhereValuesCanBeDegreesUnderNamesOfSomethingElse)
{
    std::string rows;
    for (int i = 10; i < 30; ++i) {
        rows +=
            std::to_string(i) + ",7.12" + std::to_string(i) + ",145.12" + std::to_string(i) + "\n";
    }
    const Plan plan = PlanOf("id,ph,conductivity\n" + rows);
    ASSERT_TRUE(HasQuestion(plan, "axes"));
    EXPECT_EQ(plan.questions.front().text,
              "Two columns can be degrees by their values, but not by their names.");
    EXPECT_TRUE(PlanOf(rows).questions.empty());
    EXPECT_TRUE(PlanOf("id,Column 2,Column 3\n" + rows).questions.empty());
}

TEST(MakePlan, PointsOutATotalAtTheEnd)
{
    const auto hasTotal = [](std::string_view bytes) {
        const Plan plan = PlanOf(bytes);
        return std::any_of(plan.findings.begin(), plan.findings.end(), [](const PlanFinding& each) {
            return each.code == "total-row";
        });
    };
    EXPECT_TRUE(hasTotal("id,word,n\n1,oak,3\n2,elm,4\nTotal,,7\n"));
    EXPECT_TRUE(hasTotal("town,n\n\"Bern, Ost\",3\nBasel,4\n\"Mittelwert:\",3.5\n"));
    EXPECT_FALSE(hasTotal("id,word,n\n1,oak,3\nTotal,,7\n2,elm,4\n"));
    EXPECT_FALSE(hasTotal("id,word,n\n1,oak,3\n2,elm,4\nTotalia,,7\n"));
}

TEST(MakePlan, OffersTheFirstColumnsOfDecimalsWithoutNames)
{
    const auto offeredX = [](std::string_view bytes) {
        const Plan plan = PlanOf(bytes);
        EXPECT_TRUE(HasQuestion(plan, "coordinates"));
        std::string offered;
        for (const PlanAnswer& answer : plan.questions.front().answers) {
            offered += std::to_string(answer.x.value()) + std::to_string(answer.y.value()) + " ";
        }
        return offered;
    };
    EXPECT_EQ(offeredX("465000.5 5230000.25 400.1\n465010.5 5230010.25 401.1\n"), "01 10 ");
    EXPECT_EQ(offeredX("1,465000.5,5230000.25,TREE\n2,465010.5,5230010.25,POST\n"), "12 21 ");
    EXPECT_EQ(offeredX("a,b,465000.5,5230000.25\nc,d,465010.5,5230010.25\n"), "");
}

TEST(MakePlan, DegreesOfZeroWithMinutesAreNoPointAtZero)
{
    const Plan plan = PlanOf("lat_deg,lat_min,lon_deg,lon_min\n0,5,0,30\n0,6,0,31\n");
    EXPECT_EQ(plan.coordinates.value.notation, EPlanNotation::Sexagesimal);
    EXPECT_TRUE(plan.findings.empty());
}

TEST(MakePlan, AsksForTheEncodingWhereFewBytesAreNoUtf8)
{
    // Rule: letters of UTF-8 beside few bytes that are none make a question.
    const std::string_view table = "x,y,name\n7.5,46.9,Z\xC3\xBCrich\n7.6,46.8,Gen\xC3\xA8ve\n"
                                   "7.7,46.7,\xC5\x81\xC3\xB3\xC4\x87 \xE2\x82\xAC\n";
    const Plan valid = PlanOf(table);
    EXPECT_EQ(valid.bytes.encoding.value, "UTF-8");
    EXPECT_EQ(valid.bytes.encoding.confidence, EConfidence::Certain);
    const Plan doubtful = PlanOf(std::string(table) + "7.8,46.6,Z\xFCrich\n");
    EXPECT_EQ(doubtful.bytes.encoding.confidence, EConfidence::Tie);
    EXPECT_TRUE(HasQuestion(doubtful, "encoding"));
    ASSERT_FALSE(doubtful.bytes.encoding.rivals.empty());
    EXPECT_EQ(doubtful.bytes.encoding.value, "UTF-8");
    EXPECT_EQ(doubtful.bytes.encoding.rivals.front().value, "WINDOWS-1252");
    // More of them than one in ten: an encoding of single bytes that looks like UTF-8 by chance.
    const Plan single = PlanOf(std::string(table) + "7.8,46.6,Z\xFCrich\n7.9,46.5,\xE9\xE8\n");
    EXPECT_EQ(single.bytes.encoding.confidence, EConfidence::Strong);
}

TEST(MakePlan, ReadsATableWithAColumnNamedAsAGridBegins)
{
    EXPECT_EQ(TypesOf(PlanOf("ncols,nrows\n4,6\n5,7\n")), "integer, integer");
    EXPECT_EQ(TypesOf(PlanOf("ncols\n4\n5\n")), "integer");
}

TEST(MakePlan, AsksForNoEncodingWhereTheTextIsTheSame)
{
    // The letter of ISO-8859-3, which statistics find, is the one of WINDOWS-1252.
    const Plan plan =
        PlanOf("\"Messung 2024\"\n\n\"Bearbeiter: M\xFCller\"\n\nNr,Lat,Lon\n1,47.5,8.5\n");
    EXPECT_EQ(plan.bytes.encoding.value, "WINDOWS-1252");
    EXPECT_EQ(plan.bytes.encoding.confidence, EConfidence::Strong);
    ASSERT_EQ(plan.bytes.encoding.rivals.size(), 1U);
    EXPECT_EQ(plan.bytes.encoding.rivals.front().against, "gives the same text");
}

TEST(MakePlan, FindsEncodings)
{
    EXPECT_EQ(PlanOf("a,b\n1,x\n").bytes.encoding.value, "US-ASCII");
    EXPECT_EQ(PlanOf("a,b\n1,Z\xC3\xBCrich\n").bytes.encoding.value, "UTF-8");
    EXPECT_EQ(PlanOf("a,b\n1,Z\xFCrich\n").bytes.encoding.value, "WINDOWS-1252");
    const Plan marked = PlanOf("\xEF\xBB\xBF"
                               "a,b\n1,x\n");
    EXPECT_EQ(marked.bytes.encoding.value, "UTF-8");
    EXPECT_TRUE(marked.bytes.hasMark);
    EXPECT_EQ(marked.columns[0].name, "a");
    std::string wide;
    for (const char unit : std::string_view("name,x\na,1.5\nb,2.5\n")) {
        wide += unit;
        wide += '\0';
    }
    EXPECT_EQ(PlanOf(wide).bytes.encoding.value, "UTF-16LE");
    EXPECT_EQ(TypesOf(PlanOf(wide)), "text, double");
    EXPECT_EQ(PlanOf("\xFF\xFE" + wide).bytes.encoding.confidence, EConfidence::Certain);
}

TEST(MakePlan, UnpacksGzipUnderAnyName)
{
    // `x,y\n1.5,2.5\n3.5,4.5\n`
    constexpr std::string_view kPacked(
        "\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\xff\xab\xd0\xa9\xe4\x32\xd4\x33\xd5\x31\xd2\x33"
        "\xe5\x32\x06\xd2\x26\x40\x1a\x00\x9e\xab\x85\x58\x14\x00\x00\x00",
        37);
    const Plan plan = PlanOf(kPacked);
    EXPECT_EQ(plan.bytes.compression.value, "gzip");
    EXPECT_EQ(TypesOf(plan), "double, double");
    EXPECT_EQ(plan.shape.rows, 2U);
}

TEST(MakePlan, CountsEveryKindOfLineEnd)
{
    const Plan plan = PlanOf("a,b\r\n1,2\r\n3,4\n5,6\r\n7,\"x\ry\"");
    EXPECT_EQ(plan.bytes.lines, 6U);
    EXPECT_EQ(plan.bytes.returnsAndFeeds, 3U);
    EXPECT_EQ(plan.bytes.feeds, 1U);
    EXPECT_EQ(plan.bytes.returns, 1U);
    EXPECT_FALSE(plan.bytes.endsWithLineEnd);
    EXPECT_TRUE(HasFinding(plan, "mixed-line-ends"));
}

TEST(MakePlan, NamesRaggedRowsAndWhatFollowsTheTable)
{
    std::string bytes = "id,x,y\n";
    for (int i = 0; i < 10; ++i) {
        bytes += "1,2.5,3.5\n";
    }
    bytes += "2,3.5\n3,4.5,5.5,6\n4,5.5,6.5,\n\n5,6.5,7.5\nTotal\n";
    const Plan plan = PlanOf(bytes);
    EXPECT_EQ(plan.shape.rows, 13U);
    EXPECT_EQ(plan.shape.shortRows, 1U);
    EXPECT_EQ(plan.shape.longRows, 1U);
    EXPECT_EQ(plan.shape.blankLines, 1U);
    EXPECT_EQ(plan.shape.lastRowLine, 16U);
    EXPECT_TRUE(HasFinding(plan, "short-row"));
    EXPECT_TRUE(HasFinding(plan, "long-row"));
    EXPECT_TRUE(HasFinding(plan, "trailing-separator"));
    ASSERT_FALSE(plan.shape.lines.empty());
    EXPECT_EQ(plan.shape.lines.back().kind, EPlanLines::Footer);
    EXPECT_EQ(plan.shape.lines.back().firstLine, 17U);
}

TEST(MakePlan, ReadsARowWithoutTheEmptyCellThatShiftsIt)
{
    std::string bytes = "id,name,x,note\n";
    for (int i = 0; i < 20; ++i) {
        bytes += i == 10 ? "10,,name,1.5,\n" : std::to_string(i) + ",name,1.5,\n";
    }
    const Plan plan = PlanOf(bytes);
    EXPECT_EQ(TypesOf(plan), "integer, text, double, text");
    EXPECT_EQ(plan.shape.rows, 20U);
    EXPECT_EQ(plan.shape.repairedRows, 1U);
    EXPECT_TRUE(HasFinding(plan, "repaired-shift"));
}

TEST(MakePlan, ReadsAStrayQuoteAsText)
{
    const Plan plan = PlanOf("id,a,b\n1,5\" pipe,x\n2,\"q\",y\n3,\"open,z\n4,r,\"w\"\n");
    EXPECT_EQ(plan.shape.rows, 4U);
    EXPECT_TRUE(HasFinding(plan, "stray-quote"));
    EXPECT_TRUE(HasFinding(plan, "unclosed-quote") || plan.shape.continuations == 0);
}

TEST(MakePlan, ListsNamesThatStandAgainAmongTheRows)
{
    const Plan plan = PlanOf("id,x\n1,2.5\n2,3.5\nid,x\n3,4.5\n");
    EXPECT_EQ(plan.shape.rows, 3U);
    EXPECT_EQ(TypesOf(plan), "integer, double");
    EXPECT_TRUE(HasFinding(plan, "repeated-names"));
}

struct PointCase
{
    const char* name;
    std::string_view bytes;
    int x;
    int y;
    EPlanNotation notation;
};

void PrintTo(const PointCase& row, std::ostream* out)
{
    *out << row.name;
}

class MakePlanPoints : public testing::TestWithParam<PointCase>
{};

TEST_P(MakePlanPoints, AreFoundByNameAndValue)
{
    const Plan plan = PlanOf(GetParam().bytes);
    const PlanCoordinates& found = plan.coordinates.value;
    EXPECT_EQ(found.x ? static_cast<int>(*found.x) : -1, GetParam().x);
    EXPECT_EQ(found.y ? static_cast<int>(*found.y) : -1, GetParam().y);
    EXPECT_EQ(found.notation, GetParam().notation);
}

constexpr PointCase kPointCases[] = {
    {"LatitudeAndLongitude", "id,lat,lon\n1,47.5,8.5\n2,46.5,7.5\n", 2, 1, EPlanNotation::Decimal},
    {"APopulationIsNoLatitude",
     "population,lat,lon\n12,47.5,8.5\n14,46.5,7.5\n",
     2,
     1,
     EPlanNotation::Decimal},
    {"MetresAreCartesian",
     "id,easting,northing\n1,700312.21,5157261.76\n2,700261.89,5157259.61\n",
     1,
     2,
     EPlanNotation::Cartesian},
    {"DegreesBeforeMetres",
     "x,y,lat,lon\n700312.21,5157261.76,46.5,-84.38\n700261.89,5157259.61,46.6,-84.39\n",
     3,
     2,
     EPlanNotation::Decimal},
    {"DegreesMinutesSeconds",
     "name,lat,lon\na,47\xC2\xB0"
     "12'30\"N,8\xC2\xB0"
     "30'00\"E\nb,46\xC2\xB0"
     "12'30\"N,7\xC2\xB0"
     "30'00\"E\n",
     2,
     1,
     EPlanNotation::Sexagesimal},
    {"LettersAfterNumbers",
     "id,latitude N/S,longitude E/W\n1,49.07N,125.76W\n2,49.08N,125.77W\n",
     2,
     1,
     EPlanNotation::Sexagesimal},
    {"PackedDegrees",
     "id,lat,lon\n1,4533.35,00830.5\n2,4534.10,00831.5\n",
     2,
     1,
     EPlanNotation::Packed},
    {"PackedDegreesWithoutZeros",
     "id,lat,lon\n1,4533.35,12830.5\n2,4534.10,12831.5\n",
     2,
     1,
     EPlanNotation::Packed},
    {"SecondsByADoubledQuote",
     "id,lat,lon\n1,\"47\xC2\xB0"
     "12'30\"\"N\",\"8\xC2\xB0"
     "30'10\"\"E\"\n2,\"46 deg 12' 30.5\"\" N\",\"7 deg 30' 10\"\" E\"\n",
     2,
     1,
     EPlanNotation::Sexagesimal},
    {"LettersInTheCellsWithoutNames",
     "47-12-30.5N,008-30-10E\n47-12-31.5N,008-30-11E\n",
     1,
     0,
     EPlanNotation::Sexagesimal},
    {"LettersInTheCellsUnderOtherNames",
     "a b c\n008-30-10E 47-12-30.5N 5\n008-30-11E 47-12-31.5N 6\n",
     0,
     1,
     EPlanNotation::Sexagesimal},
    {"AWordAfterCapitals",
     "id,GPSLongitude,GPSLatitude\n1,8.5,47.5\n2,7.5,46.5\n",
     1,
     2,
     EPlanNotation::Decimal},
    {"PackedDegreesWithSeconds",
     "id,lat,lon\n1,473012,0083012.5\n2,473115,0083113\n",
     2,
     1,
     EPlanNotation::PackedSeconds},
    {"LongitudesPastNinetyTellTheAxes",
     "a;37.77939;-122.42354\nb;37.77610;-122.42280\nc;37.77104;-122.42253\n",
     2,
     1,
     EPlanNotation::Decimal},
    {"UnitsInTheNames",
     "id,Lon [degrees_east],Lat [degrees_north]\n1,8.5,47.5\n2,7.5,46.5\n",
     1,
     2,
     EPlanNotation::Decimal},
    {"DegreeSignsInTheNames",
     "id,Lon (\xC2\xB0"
     "E),Lat (\xC2\xB0N)\n1,8.5,47.5\n2,7.5,46.5\n",
     1,
     2,
     EPlanNotation::Decimal},
    {"LettersOfHemispheresWithoutNames",
     "$GPGGA,4717.113,N,00833.915,E,8\n$GPGGA,4717.114,N,00833.916,E,8\n",
     3,
     1,
     EPlanNotation::Packed},
    {"LettersOfHemispheresBeforeDegrees",
     "id;a;b;c;d\n1;N;47.5;W;8.5\n2;S;46.5;E;7.5\n",
     4,
     2,
     EPlanNotation::Decimal},
    {"NamesInGerman",
     "id;Breite;L\xC3\xA4nge\n1;47,5;8,5\n2;46,5;7,25\n",
     2,
     1,
     EPlanNotation::Decimal},
};

INSTANTIATE_TEST_SUITE_P(, MakePlanPoints, testing::ValuesIn(kPointCases), [](const auto& row) {
    return row.param.name;
});

TEST(MakePlan, UnpacksDegreesOfGivenColumns)
{
    PlanRequest request;
    request.x = "3";
    request.y = "1";
    const Plan letters = PlanOf("$GPGGA,4717.113,N,00833.915,E,8\n"
                                "$GPGGA,4717.114,N,00833.916,E,8\n",
                                request);
    EXPECT_EQ(letters.coordinates.value.notation, EPlanNotation::Packed);
    request.x = "lon";
    request.y = "lat";
    const Plan named = PlanOf("id,lat,lon\n1,4533.35,00830.5\n2,4534.10,00831.5\n", request);
    EXPECT_EQ(named.coordinates.value.notation, EPlanNotation::Packed);
    request.x = "b";
    request.y = "a";
    const Plan neither = PlanOf("id,a,b\n1,4533.35,830.5\n2,4534.10,831.5\n", request);
    EXPECT_EQ(neither.coordinates.value.notation, EPlanNotation::Cartesian);
}

TEST(MakePlan, DegreesStayDegreesBesideANumberThatStandsForNone)
{
    std::string bytes = "id,lat,lon\n";
    for (int row = 0; row < 40; ++row) {
        bytes += std::to_string(row) + (row % 5 == 0 ? ",-9999,-9999\n" : ",47.5,8.25\n");
    }
    const Plan plan = PlanOf(bytes);
    EXPECT_EQ(plan.coordinates.value.notation, EPlanNotation::Decimal);
    EXPECT_EQ(plan.coordinateSystem.value, "EPSG:4326");
    EXPECT_TRUE(HasFinding(plan, "latitude-out-of-range"));
    const Plan metres = PlanOf("id,lat,lon\n1,5247300.25,465120.5\n2,5247310.25,465220.5\n");
    EXPECT_EQ(metres.coordinates.value.notation, EPlanNotation::Cartesian);
}

TEST(MakePlan, AsksWhichSideOfTheLettersIsMeant)
{
    const Plan plan = PlanOf("10.5;N;47.5;W;8.5\n11.5;S;46.5;E;7.5\n");
    ASSERT_TRUE(HasQuestion(plan, "coordinates"));
    ASSERT_EQ(plan.questions[0].answers.size(), 2U);
    EXPECT_EQ(plan.questions[0].answers[0].x, std::size_t{2});
    EXPECT_EQ(plan.questions[0].answers[0].y, std::size_t{0});
    EXPECT_EQ(plan.questions[0].answers[1].x, std::size_t{4});
    EXPECT_EQ(plan.questions[0].answers[1].y, std::size_t{2});
}

TEST(MakePlan, AsksForTheAxesThatValuesCannotTell)
{
    const Plan plan = PlanOf("a;37.77939;22.42354\nb;37.77610;22.42280\nc;37.77104;22.42253\n");
    EXPECT_FALSE(plan.coordinates.value.x.has_value());
    ASSERT_TRUE(HasQuestion(plan, "axes"));
    ASSERT_EQ(plan.questions[0].answers.size(), 2U);
    EXPECT_EQ(plan.questions[0].answers[0].x, std::size_t{2});
    EXPECT_EQ(plan.questions[0].answers[0].y, std::size_t{1});
    EXPECT_EQ(plan.questions[0].answers[1].x, std::size_t{1});
    EXPECT_EQ(plan.questions[0].answers[1].y, std::size_t{2});
}

/// The columns of X and Y; both -1 where the plan asks.
std::pair<std::ptrdiff_t, std::ptrdiff_t> AxesOf(const Plan& plan)
{
    const PlanCoordinates& found = plan.coordinates.value;
    return {found.x ? static_cast<std::ptrdiff_t>(*found.x) : -1,
            found.y ? static_cast<std::ptrdiff_t>(*found.y) : -1};
}

TEST(MakePlan, TellsTheAxesByPlacesThatTheRowsName)
{
    using Axes = std::pair<std::ptrdiff_t, std::ptrdiff_t>;
    const Plan cities = PlanOf("4.89222,52.37306,Amsterdam\n23.71667,37.96667,Athens\n"
                               "49.88222,40.39528,Baku\n12.48333,41.9,Rome\n");
    EXPECT_EQ(AxesOf(cities), Axes(0, 1));
    EXPECT_EQ(cities.coordinateSystem.value, "EPSG:4326");
    EXPECT_EQ(cities.coordinates.confidence, EConfidence::Strong);
    const Plan zones = PlanOf("a\t52.18935\t-2.22001\tEurope/London\n"
                              "b\t52.58547\t-2.12296\tEurope/London\n"
                              "c\t51.30073\t-0.00014\tEurope/London\n");
    EXPECT_EQ(AxesOf(zones), Axes(2, 1));
    const Plan countries = PlanOf("48.2082;16.3738;AT\n47.0707;15.4395;AT\n48.3069;14.2858;AT\n");
    EXPECT_EQ(AxesOf(countries), Axes(1, 0));
}

TEST(MakePlan, AsksForTheAxesWherePlacesDoNotAgree)
{
    // Two rows are too few, places far away are none, and Libreville is near under both orders.
    EXPECT_TRUE(HasQuestion(PlanOf("4.89222,52.37306,Amsterdam\n23.71667,37.96667,Athens\n"
                                   "49.88222,40.39528,Nowhere\n"),
                            "axes"));
    EXPECT_TRUE(HasQuestion(PlanOf("4.89222,52.37306,Tokyo\n23.71667,37.96667,Tokyo\n"
                                   "49.88222,40.39528,Tokyo\n"),
                            "axes"));
    EXPECT_TRUE(HasQuestion(PlanOf("0.38333,9.45123,Libreville\n1.38333,9.35123,Libreville\n"
                                   "0.48333,8.75123,Libreville\n8.1234,1.123,Libreville\n"),
                            "axes"));
}

TEST(MakePlan, ReceiversWriteTheLatitudeFirst)
{
    using Axes = std::pair<std::ptrdiff_t, std::ptrdiff_t>;
    const Plan parts = PlanOf("2010\t1\t15\t8\t38\t18\t-37.04596\t-73.50876\t-2.7\n"
                              "2010\t1\t15\t8\t38\t28\t-37.04595\t-73.50875\t-0.3\n"
                              "2010\t1\t15\t8\t38\t38\t-37.04597\t-73.50874\t2.1\n");
    EXPECT_EQ(AxesOf(parts), Axes(7, 6));
    const Plan both = PlanOf("2010-01-15,08:38:18,-37.04596,-73.50876\n"
                             "2010-01-15,08:38:28,-37.04595,-73.50875\n"
                             "2010-01-15,08:38:38,-37.04597,-73.50874\n");
    EXPECT_EQ(AxesOf(both), Axes(3, 2));
    // Six whole numbers that are no time of day.
    EXPECT_TRUE(HasQuestion(PlanOf("2010\t13\t15\t8\t38\t18\t-37.04596\t-73.50876\n"
                                   "2010\t14\t15\t8\t38\t28\t-37.04595\t-73.50875\n"
                                   "2010\t15\t15\t8\t38\t38\t-37.04597\t-73.50874\n"),
                            "axes"));
}

TEST(MakePlan, AsksWhereThereAreNoCoordinates)
{
    EXPECT_TRUE(HasQuestion(PlanOf("id,name\n1,a\n2,b\n"), "coordinates"));
}

TEST(MakePlan, KeepsToWhatIsGiven)
{
    PlanRequest request;
    request.separator = ";";
    request.hasNames = false;
    request.x = "2";
    request.y = "1";
    const Plan plan = PlanOf("a,b;47.5;8.5\nc,d;46.5;7.5\n", request);
    EXPECT_EQ(plan.shape.columnCount.value, 3U);
    EXPECT_EQ(plan.shape.separator.decider, EDecider::Given);
    EXPECT_EQ(plan.shape.hasNames.decider, EDecider::Given);
    EXPECT_EQ(plan.coordinates.decider, EDecider::Given);
    EXPECT_EQ(plan.coordinates.value.x, 2U);
    request.x = "3";
    EXPECT_THROW(static_cast<void>(PlanOf("a,b;47.5;8.5\n", request)), ImportFailure);
}

std::string FailureOf(const std::string& path)
{
    try {
        static_cast<void>(MakePlan(path, {}));
    } catch (const ImportFailure& failure) {
        return failure.GetFields().code + ": " + failure.GetFields().what;
    }
    return {};
}

TEST(MakePlan, SaysWhyAFileCannotBeRead)
{
    EXPECT_EQ(FailureOf("/no/such/file.csv"), "no-such-file: There is no such file.");
    EXPECT_EQ(FailureOf(std::filesystem::temp_directory_path().string()),
              "is-folder: This is a folder.");
    EXPECT_EQ(FailureOf("/dev/null"), "not-a-file: This is no regular file.");
    const MadeFile zip(std::string_view("PK\x03\x04more", 8));
    EXPECT_EQ(FailureOf(zip.Path()), "compressed: The file is compressed by zip.");
    const MadeFile cut(std::string_view("\x1F\x8B\x08\0\0\0\0\0\x02\x03", 10), ".gz");
    EXPECT_EQ(FailureOf(cut.Path()), "damaged: The compressed file cannot be unpacked.");
}

struct BinaryCase
{
    const char* name;
    std::string bytes;
    const char* failure;
};

void PrintTo(const BinaryCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class MakePlanBinary : public testing::TestWithParam<BinaryCase>
{};

std::string Bytes(std::string_view front, std::size_t zeros = 0)
{
    return std::string(front) + std::string(zeros, '\0');
}

/// An archive with one file of that name.
std::string Zip(std::string_view name)
{
    return Bytes({"PK\x03\x04", 4}, 22) + static_cast<char>(name.size()) + Bytes({"\0\0\0", 3}) +
           std::string(name);
}

/// Bytes of all values, mixed.
std::string Noise(std::size_t size)
{
    std::string bytes;
    std::uint32_t state = 1;
    while (bytes.size() < size) {
        state = state * 1664525U + 1013904223U;
        bytes.push_back(static_cast<char>(state >> 24U));
    }
    return bytes;
}

const BinaryCase kBinaryCases[] = {
    {"AnExcelWorkbook",
     Zip("[Content_Types].xml") + Zip("xl/workbook.xml"),
     "not-text: The file is an Excel workbook, and no text."},
    {"AnOpenDocumentSpreadsheet",
     Zip("mimetype") + "application/vnd.oasis.opendocument.spreadsheet",
     "not-text: The file is an OpenDocument spreadsheet, and no text."},
    {"AnOldWorkbook",
     Bytes("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 100),
     "not-text: The file is an Excel workbook or another Office document, and no text."},
    {"GeoJson",
     "\n{ \"type\": \"FeatureCollection\", \"features\": [\n{\"type\": \"Feature\"}]}\n",
     "not-text: The file is GeoJSON, and no delimited text."},
    {"JsonLines",
     "{\"id\":1,\"lon\":8.5}\n{\"id\":2,\"lon\":8.6}\n",
     "not-text: The file is JSON lines, and no delimited text."},
    {"Json", "[\n {\"id\": 1}\n]\n", "not-text: The file is JSON, and no delimited text."},
    {"Kml",
     "\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<!-- a, b -->\n<kml xmlns=\"http://x.org\">\n</kml>\n",
     "not-text: The file is KML, and no delimited text."},
    {"Gpx", "<gpx version=\"1.1\">\n</gpx>\n", "not-text: The file is GPX, and no delimited text."},
    {"Xml",
     "<?xml version=\"1.0\"?>\n<stations><s/></stations>\n",
     "not-text: The file is XML, and no delimited text."},
    {"AnHtmlPage",
     "<!DOCTYPE html>\n<html><body>404, not found</body></html>\n",
     "not-text: The file is an HTML page, and no delimited text."},
    {"AnAsciiGrid",
     "NCOLS 4\r\nnrows   6\r\nxllcorner 0.0\r\n1 2 3 4\r\n",
     "not-text: The file is an ASCII grid, and no delimited text."},
    {"AnArchive", Zip("data.csv"), "compressed: The file is compressed by zip."},
    {"ATarArchive",
     Bytes("data.csv", 249) + Bytes("ustar", 100),
     "compressed: The file is compressed by tar."},
    {"APicture",
     Bytes("\x89PNG\r\n\x1A\n", 100),
     "not-text: The file is a PNG picture, and no text."},
    {"ADatabase",
     Bytes("SQLite format 3", 100),
     "not-text: The file is an SQLite database, and no text."},
    {"AGeoPackage",
     Bytes("SQLite format 3", 53) + "GPKG",
     "not-text: The file is a GeoPackage, and no text."},
    {"AShapefile",
     Bytes({"\0\0\x27\x0A", 4}, 100),
     "not-text: The file is a shapefile, and no text."},
    {"ADBaseTable",
     Bytes({"\x03\x7A\x03\x05\1\0\0\0\x41\0\x09\0", 12}, 20) + Bytes("NAME", 7) + "C" +
         Bytes("", 20) + "\r Zug",
     "not-text: The file is a dBase table, and no text."},
    {"ADocument", "%PDF-1.7\n", "not-text: The file is a PDF document, and no text."},
    {"AnythingElse", Noise(4000), "not-text: The file is no text."},
    {"OneControlCharacterThatSeparates",
     "id\1lon\1lat\n1\1"
     "8.5\1"
     "47.5\n2\1"
     "7.5\1"
     "46.5\n",
     ""},
    {"BlocksOfNuls", Bytes("id,lon,lat\n1,8.5,47.5\n", 3000) + "2,7.5,46.5\n", ""},
    {"TextThatBeginsLikeADatabase", "SQLite format 3,b\n1,2\n", ""},
};

INSTANTIATE_TEST_SUITE_P(,
                         MakePlanBinary,
                         testing::ValuesIn(kBinaryCases),
                         TestSupport::CaseName());

TEST_P(MakePlanBinary, IsRefusedWithWhatItIs)
{
    const MadeFile file(GetParam().bytes);
    EXPECT_EQ(FailureOf(file.Path()), GetParam().failure);
}

TEST(MakePlan, ReadsBytesThatLookLikeNoTextInAGivenEncoding)
{
    const MadeFile file(Noise(4000));
    PlanRequest request;
    request.encoding = "ISO-8859-1";
    EXPECT_EQ(MakePlan(file.Path(), request).bytes.size, 4000U);
}

TEST(MakePlan, DoesNotReadALineThatFitsNoMemory)
{
    std::string bytes = "id,x\n1,2.5\n";
    bytes.append(std::size_t{40} << 20U, 'a');
    bytes += "\n2,3.5\n";
    const Plan plan = PlanOf(bytes);
    EXPECT_TRUE(HasFinding(plan, "line-too-long"));
    EXPECT_EQ(plan.shape.rows, 2U);
    EXPECT_EQ(plan.bytes.lines, 4U);
}

TEST(MakePlan, ReadsOnInTheSameCountWhereverAPieceEnds)
{
    std::string bytes = "id,name,x\n";
    std::uint64_t rows = 0;
    while (bytes.size() < 700000) {
        bytes += std::to_string(rows) + (rows % 7 == 0 ? ",\"a\nb\"," : ",ab,") + "1.5\r\n";
        ++rows;
    }
    const Plan plan = PlanOf(bytes);
    EXPECT_EQ(plan.shape.rows, rows);
    EXPECT_EQ(plan.shape.continuations, (rows + 6) / 7);
    EXPECT_EQ(TypesOf(plan), "integer, text, double");
    EXPECT_EQ(plan.columns[0].most, static_cast<double>(rows - 1));
}

TEST(MakePlan, PlansAsManyColumnsAsALineHolds)
{
    constexpr std::size_t kColumns = 100000;
    std::string bytes;
    for (int row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < kColumns; ++column) {
            bytes += (column > 0 ? "," : "") + (row == 0 ? "c" + std::to_string(column) : "1.5");
        }
        bytes += '\n';
    }
    const Plan plan = PlanOf(bytes);
    EXPECT_TRUE(plan.shape.hasNames.value);
    ASSERT_EQ(plan.columns.size(), kColumns);
    EXPECT_EQ(plan.columns.back().type.value, EPlanType::Double);
    EXPECT_EQ(plan.columns.back().name, "c99999");
}

/// What is known of a real file; -1 for no column.
struct RealCase
{
    const char* file;
    const char* encoding;
    const char* separator; ///< its first word
    bool hasNames;
    std::uint64_t records;
    int x;
    int y;
    const char* question;
};

void PrintTo(const RealCase& row, std::ostream* out)
{
    *out << row.file;
}

std::vector<RealCase> RealCases()
{
    if (!TestSupport::HasDataFolder()) {
        return {};
    }
    return {
        {"earthquakes.txt", "US-ASCII", "comma", true, 1197, 2, 1, ""},
        {"airports_noheader.txt", "US-ASCII", "comma", false, 9967, 4, 5, ""},
        {"volcanoes_latin1.csv", "WINDOWS-1252", "comma", true, 1571, 5, 4, ""},
        {"dwd_stations_fixed.txt", "WINDOWS-1252", "widths", true, 1350, 5, 4, ""},
        {"argo_profiles.txt", "US-ASCII", "comma", true, 2702, 3, 2, ""},
        {"inmet_stations.csv", "US-ASCII", "semicolon", true, 566, 4, 3, ""},
        {"ais_norway.csv", "US-ASCII", "semicolon", true, 665, 4, 5, ""},
        {"sacramento_sales_cr.csv", "US-ASCII", "comma", true, 985, 11, 10, ""},
        {"planning_multiline.csv", "US-ASCII", "comma", true, 2146, 9, 10, ""},
        {"service_requests_311.csv", "UTF-8", "comma", true, 1000, 39, 38, ""},
        {"bus_stops_quoted.csv", "UTF-8", "comma", true, 659, 9, 8, ""},
        // The degrees before the metres.
        {"addresses_ward5.csv", "US-ASCII", "comma", true, 5726, 6, 5, ""},
        {"street_lights_cp949.csv", "CP949", "comma", true, 19316, 2, 1, ""},
        {"wells_colorado.csv", "US-ASCII", "comma", true, 183, 35, 34, ""},
        {"glacier_boreholes.csv", "UTF-8", "comma", true, 835, 6, 5, ""},
        // Year, month, day, hour, minute and second before the latitude.
        {"soundings_garmin.txt", "US-ASCII", "tab", false, 947, 7, 6, ""},
        {"world_cities.csv", "UTF-8", "comma", true, 20000, 6, 5, ""},
        {"geonames_gb.txt", "UTF-8", "tab", false, 47, 5, 4, ""},
        {"postal_codes_th.tsv", "US-ASCII", "tab", false, 903, 10, 9, ""},
        // Runs of blanks, with the names in a comment.
        {"lvis_lidar_spaces.txt", "US-ASCII", "runs", true, 998, 3, 4, ""},
        {"lidar_autzen.txt", "US-ASCII", "comma", true, 103, 0, 1, ""},
        {"taxi_track.ssv", "US-ASCII", "blank", false, 18317, 1, 0, ""},
        {"gps_logger_mtk.csv", "US-ASCII", "comma", true, 817, 7, 5, ""},
        {"gps_logger_v900.csv", "US-ASCII", "comma", true, 742, 5, 4, ""},
        {"dms_variants.csv", "UTF-8", "comma", true, 19, 1, 0, ""},
        {"tapir_occurrences_wide.txt", "UTF-8", "tab", true, 61, 79, 78, ""},
        {"ports_bom.csv", "UTF-8", "comma", true, 8016, 2, 3, ""},
        {"depths_one_column.txt", "US-ASCII", "one", false, 7926, -1, -1, "coordinates"},
        {"capitals_ragged.csv", "UTF-8", "comma", false, 55, 0, 1, ""},
        {"health_utf16le.csv", "UTF-16LE", "comma", true, 327, -1, -1, "coordinates"},
        {"stadiums_thousands.csv", "UTF-8", "comma", true, 325, -1, -1, "coordinates"},
    };
}

class MakePlanOfRealFiles : public testing::TestWithParam<RealCase>
{};

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(MakePlanOfRealFiles);

TEST_P(MakePlanOfRealFiles, IsWhatPeopleSayOfThem)
{
    const RealCase& expected = GetParam();
    const Plan plan = MakePlan((TestSupport::DataFolder() / expected.file).string(), {});
    EXPECT_EQ(plan.bytes.encoding.value, expected.encoding);
    EXPECT_EQ(Describe(plan.shape.separator.value).rfind(expected.separator, 0), 0U)
        << Describe(plan.shape.separator.value);
    EXPECT_EQ(plan.shape.hasNames.value, expected.hasNames);
    EXPECT_EQ(plan.shape.rows + plan.shape.longRows, expected.records);
    const PlanCoordinates& found = plan.coordinates.value;
    EXPECT_EQ(found.x ? static_cast<int>(*found.x) : -1, expected.x);
    EXPECT_EQ(found.y ? static_cast<int>(*found.y) : -1, expected.y);
    EXPECT_EQ(plan.questions.empty() ? "" : plan.questions.front().code, expected.question);
}

INSTANTIATE_TEST_SUITE_P(,
                         MakePlanOfRealFiles,
                         testing::ValuesIn(RealCases()),
                         [](const auto& row) {
                             std::string name = row.param.file;
                             name.resize(name.find('.'));
                             return name;
                         });

TEST(PlanFromJson, GivesThePlanBackThatWasWritten)
{
    for (const std::string_view bytes :
         {std::string_view(""),
          std::string_view("\xFF\xFE"
                           "a\0,\0b\0\n\0",
                           10),
          std::string_view("id,name,x,y\n1,a,2.5,3.5\n2,\"b\nc\",NaN,47.5\n"),
          std::string_view("id name   x\n--------------\n1  a      1\n2  b     11\n"),
          std::string_view("# made\nid;lat;lon\n1;47\xB0 12' N;8,5\n3;4;5;6\n\n7;8\nid;lat;lon\n"),
          std::string_view("a;37.77939;22.42354\nb;37.77610;22.42280\nc;37.77104;22.42253\n")}) {
        const std::string json = ToJson(PlanOf(bytes));
        EXPECT_EQ(ToJson(PlanFromJson(json)), json);
    }
}

std::string ReasonOf(std::string_view json)
{
    try {
        static_cast<void>(PlanFromJson(json));
    } catch (const ImportFailure& failure) {
        EXPECT_EQ(failure.GetFields().code, "not-a-plan");
        EXPECT_EQ(failure.GetFields().what, "This is no plan.");
        EXPECT_EQ(failure.GetKind(), EFailureKind::Input);
        return failure.GetFields().cause;
    }
    return {};
}

std::string Replaced(std::string text, std::string_view from, std::string_view to)
{
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

TEST(PlanFromJson, SaysWhichKeyIsMissingOrHoldsSomethingElse)
{
    const std::string json = ToJson(PlanOf("id,x,y\n1,2.5,3.5\n2,3.5,4.5\n"));
    EXPECT_EQ(ReasonOf(json), "");
    EXPECT_EQ(ReasonOf(""), "It is not valid JSON.");
    EXPECT_EQ(ReasonOf("[]"), "The plan must be an object.");
    EXPECT_EQ(ReasonOf("{}"), "The key path is missing.");
    EXPECT_EQ(ReasonOf(Replaced(json, "\"hasMark\": false", "\"hasMark\": 0")),
              "The key bytes.hasMark must hold true or false.");
    EXPECT_EQ(ReasonOf(Replaced(json, "\"rows\": 2", "\"rows\": -2")),
              "The key shape.rows must hold a whole number.");
    EXPECT_EQ(ReasonOf(Replaced(json, "\"role\": \"X\"", "\"role\": \"V\"")),
              "The key columns[1].role must hold a word of a plan.");
    EXPECT_EQ(ReasonOf(Replaced(json, "\"z\": null", "\"z\": 3")),
              "The key coordinates must hold columns of the file.");
    EXPECT_EQ(ReasonOf(Replaced(json, "\"character\": \",\"", "\"character\": \"\"")),
              "The key shape.separator.value.character must hold one character.");
    EXPECT_EQ(ReasonOf(Replaced(json, "\"index\": 1", "\"index\": 2")),
              "The key columns must hold the columns in their order.");
}

struct SeparatorCase
{
    const char* name;
    const char* given;
    const char* separator; ///< null: refused
    std::uint64_t columns;
};

void PrintTo(const SeparatorCase& row, std::ostream* out)
{
    *out << row.name;
}

class MakePlanWithAGivenSeparator : public testing::TestWithParam<SeparatorCase>
{};

TEST_P(MakePlanWithAGivenSeparator, CutsByIt)
{
    PlanRequest request;
    request.separator = GetParam().given;
    const std::string_view bytes = "ab cd,e;f\tg\nhi jk,l;m\tn\nop qr,s;t\tu\n";
    if (GetParam().separator == nullptr) {
        try {
            static_cast<void>(PlanOf(bytes, request));
            ADD_FAILURE();
        } catch (const ImportFailure& failure) {
            EXPECT_EQ(failure.GetFields().code, "option-value");
            EXPECT_EQ(failure.GetFields().subject, "separator");
        }
        return;
    }
    const Plan plan = PlanOf(bytes, request);
    EXPECT_EQ(Describe(plan.shape.separator.value), GetParam().separator);
    EXPECT_EQ(plan.shape.separator.decider, EDecider::Given);
    EXPECT_EQ(plan.shape.columnCount.value, GetParam().columns);
}

constexpr SeparatorCase kSeparatorCases[] = {
    {"ACharacter", ";", "semicolon", 2},
    {"ATabByItsEscape", "\\t", "tab", 2},
    {"ATabByItsName", "tab", "tab", 2},
    {"Blanks", "blanks", "runs of blanks", 3},
    {"None", "none", "one column", 1},
    {"Widths", "widths:3,3", "widths 3, 3", 3},
    {"NoCharacter", "", nullptr, 0},
    {"TwoCharacters", ";;", nullptr, 0},
    {"ALineEnd", "\n", nullptr, 0},
    {"WidthsThatAreNone", "widths:", nullptr, 0},
    {"AWidthOfZero", "widths:3,0", nullptr, 0},
    {"WidthsThatGoOn", "widths:3,", nullptr, 0},
};

INSTANTIATE_TEST_SUITE_P(,
                         MakePlanWithAGivenSeparator,
                         testing::ValuesIn(kSeparatorCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(MakePlan, RefusesAnUnknownEncoding)
{
    PlanRequest request;
    request.encoding = "utf-9";
    try {
        static_cast<void>(PlanOf("a\n", request));
        ADD_FAILURE();
    } catch (const ImportFailure& failure) {
        EXPECT_EQ(failure.GetFields().code, "unknown-codec");
        EXPECT_EQ(failure.GetFields().value, "utf-9");
    }
}

TEST(MakePlan, ReadsTheUnitsOfAGivenEncodingWithoutAMark)
{
    PlanRequest request;
    request.encoding = "utf-16be";
    const Plan plan = PlanOf(std::string_view("\0a\0,\0b\0\n\x4E\x2D\0,\x65\x87\0\n", 16), request);
    EXPECT_EQ(plan.bytes.encoding.value, "UTF-16BE");
    EXPECT_EQ(plan.bytes.positions, "text");
    EXPECT_EQ(plan.bytes.lines, 2U);
}

TEST(MakePlan, FindsUtf32WithoutAMark)
{
    std::string bytes;
    for (const char unit : std::string_view("id,name\n1,a\n2,b\n3,c\n")) {
        bytes += std::string("\0\0\0", 3) + unit;
    }
    EXPECT_EQ(PlanOf(bytes).bytes.encoding.value, "UTF-32BE");
}

// Rule: a byte order mark at a line's begin is no part of its row.
TEST(MakePlanPlaces, CountTheBytesOfAMarkInsideTheText)
{
    const Plan plan = PlanOf("a,b\n1,x\n2,y\n\xEF\xBB\xBF"
                             "3,52\n4,z\n");
    std::vector<std::uint64_t> bytes;
    for (const PlanEvidence& evidence : plan.columns[1].type.evidence) {
        for (const PlanPlace& place : evidence.places) {
            if (place.text == "52") {
                bytes.push_back(place.byte);
            }
        }
    }
    EXPECT_EQ(bytes, std::vector<std::uint64_t>{17});
}

} // namespace
