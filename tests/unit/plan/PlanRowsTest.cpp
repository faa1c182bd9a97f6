// Which records of a file are rows, and how those are cut that stray quotes, other separators or
// other line ends spoil.
#include "MadeFile.h"

#include <Orvane/Import/Plan.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <plan/PlanDialect.h>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Orvane::Import;

/// The records from the first row on, cells joined by `|`, lines by `/`; cut in pieces of `step`
/// bytes more and more, as a reader of a file does.
std::string CutAgain(const Plan& plan, std::string_view bytes, std::size_t step)
{
    std::string padded(bytes);
    padded.append(64, '\0');
    std::string result;
    Scan::RecordCutter cutter = CutterOf(plan);
    Scan::Record record;
    std::size_t at = plan.shape.firstRowByte;
    std::size_t size = at;
    while (at < bytes.size()) {
        size = std::min(bytes.size(), size + step);
        const std::string_view text = std::string_view(padded).substr(0, size);
        while (at < size &&
               cutter.Cut(text, at, size == bytes.size(), plan.shape.columnCount.value, record)) {
            at = record.next;
            result += result.empty() ? "" : "/";
            for (std::size_t index = 0; index < record.fields.size(); ++index) {
                result += (index == 0 ? "" : "|") + std::string(record.Cell(text, index));
            }
        }
    }
    return result;
}

struct RowsCase
{
    const char* name;
    std::string_view row; ///< the spoiled one, among whole rows
    const char* cells;    ///< what it holds
    std::uint64_t repaired;
    std::uint64_t misfits;
    std::uint64_t longRows;
};

void PrintTo(const RowsCase& row, std::ostream* out)
{
    *out << row.name;
}

class PlanRow : public testing::TestWithParam<RowsCase>
{};

std::string Surrounded(std::string_view row)
{
    std::string bytes = "day,hour,count,code,title,text\n";
    for (int i = 0; i < 20; ++i) {
        if (i == 11) {
            bytes += row;
            bytes += '\n';
        }
        const std::string number = std::to_string(10 + i);
        bytes += "2018-01-" + number + "," + number.substr(1) + ":15," + number + ",BH-98" +
                 number + ",\"Table, round\",\"It is made of wood, and lasts.\"\n";
    }
    return bytes;
}

TEST_P(PlanRow, IsReadInTheOneWayThatGivesItsCount)
{
    const RowsCase& expected = GetParam();
    const std::string bytes = Surrounded(expected.row);
    const MadeFile file(bytes);
    const Plan plan = MakePlan(file.Path(), {});
    EXPECT_EQ(plan.shape.columnCount.value, 6U);
    EXPECT_EQ(plan.shape.repairedRows, expected.repaired);
    EXPECT_EQ(plan.shape.misfits, expected.misfits);
    EXPECT_EQ(plan.shape.longRows, expected.longRows);
    const std::string all = CutAgain(plan, bytes, bytes.size());
    EXPECT_NE(all.find("/" + std::string(expected.cells) + "/2018-01-21|"), std::string::npos)
        << all;
    EXPECT_EQ(CutAgain(plan, bytes, 1), all);
    EXPECT_EQ(CutAgain(PlanFromJson(ToJson(plan)), bytes, 7), all);
}

constexpr RowsCase kRowsCases[] = {
    {"AWholeRow",
     "2018-02-01,02:15,2,BH-9827,\"Table, long\",\"Made in one piece, of oak.\"",
     "2018-02-01|02:15|2|BH-9827|Table, long|Made in one piece, of oak.",
     0,
     0,
     0},
    {"ASeparatorThatIsMissingBetweenTwoQuotedCells",
     "2018-02-01,02:15,2,BH-9827,\"Table, long\"\"Made in one piece, of oak.\"",
     "2018-02-01|02:15|2|BH-9827|Table, long|Made in one piece, of oak.",
     1,
     0,
     0},
    {"AStrayOpenerInTheFirstCell",
     "\"2018-02-01,02:15,2,BH-9827,\"Table, long\",\"Made in one piece, of oak.\"",
     "\"2018-02-01|02:15|2|BH-9827|Table, long|Made in one piece, of oak.",
     1,
     0,
     0},
    {"AStrayOpenerInTheMiddle",
     "2018-02-01,02:15,\"2,BH-9827,\"Table, long\",\"Made in one piece, of oak.\"",
     "2018-02-01|02:15|\"2|BH-9827|Table, long|Made in one piece, of oak.",
     1,
     0,
     0},
    {"ADoubledOpener",
     "2018-02-01,02:15,2,BH-9827,\"\"Table, long\",\"Made in one piece, of oak.\"",
     "2018-02-01|02:15|2|BH-9827|\"Table, long|Made in one piece, of oak.",
     0,
     0,
     0},
    {"AnUnescapedQuoteBeforeTheCloser",
     "2018-02-01,02:15,2,BH-9827,\"Table, 48\"\",\"Made in one piece, of oak.\"",
     "2018-02-01|02:15|2|BH-9827|Table, 48\"|Made in one piece, of oak.",
     1,
     0,
     0},
    {"AMissingOpener",
     "2018-02-01,02:15,2,BH-9827,\"Table, long\",Made in one piece, of oak.\"",
     "2018-02-01|02:15|2|BH-9827|Table, long|Made in one piece, of oak.",
     1,
     0,
     0},
    {"AMissingCloser",
     "2018-02-01,02:15,2,BH-9827,\"Table, long,\"Made in one piece, of oak.\"",
     "2018-02-01|02:15|2|BH-9827|Table, long|Made in one piece, of oak.",
     1,
     0,
     0},
    {"ADoubledSeparator",
     "2018-02-01,02:15,2,,BH-9827,\"Table, long\",\"Made in one piece, of oak.\"",
     "2018-02-01|02:15|2|BH-9827|Table, long|Made in one piece, of oak.",
     1,
     0,
     0},
    {"AnotherSeparator",
     "2018-02-01;02:15;2;BH-9827;\"Table, long\";\"Made in one piece, of oak.\"",
     "2018-02-01|02:15|2|BH-9827|Table, long|Made in one piece, of oak.",
     1,
     0,
     0},
    {"AMissingSeparatorThatShiftsTheCells",
     "2018-02-01,02:15,2BH-9827,\"Table, long\",\"Made in one piece, of oak.\"",
     "2018-02-01|02:15|2BH-9827|Table, long|Made in one piece, of oak.",
     0,
     1,
     0},
    {"CellsThatAreMissingAtTheEnd",
     "2018-02-01,02:15,2,BH-9827",
     "2018-02-01|02:15|2|BH-9827",
     0,
     0,
     0},
    {"MoreCells",
     "2018-02-01,02:15,2,BH-9827,\"Table, long\",\"Made in one piece, of oak.\",more",
     "2018-02-01|02:15|2|BH-9827|Table, long|Made in one piece, of oak.|more",
     0,
     0,
     1},
    {"ALineBreakInsideQuotes",
     "2018-02-01,02:15,2,BH-9827,\"Table, long\",\"Made in\none piece, of oak.\"",
     "2018-02-01|02:15|2|BH-9827|Table, long|Made in\none piece, of oak.",
     0,
     0,
     0},
    {"ALineBreakAndSeparatorsInsideQuotes",
     "2018-02-01,02:15,2,BH-9827,\"Table, long, wide\nor, not, at all, so\",\"Made.\"",
     "2018-02-01|02:15|2|BH-9827|Table, long, wide\nor, not, at all, so|Made.",
     0,
     0,
     0},
    {"AnOpenerRightAfterACell",
     "2018-02-01,02:15,2,BH-9827\"Table, long\",\"Made in one piece, of oak.\"",
     "2018-02-01|02:15|2|BH-9827|Table, long|Made in one piece, of oak.",
     1,
     0,
     0},
    {"ACloserRightBeforeACell",
     "\"2018-02-01\"02:15,2,BH-9827,\"Table, long\",\"Made in one piece, of oak.\"",
     "2018-02-01|02:15|2|BH-9827|Table, long|Made in one piece, of oak.",
     1,
     0,
     0},
    {"AQuoteOfTheTextBeforeTheClosingOne",
     "2018-02-01,02:15,2,BH-9827,\"Table, long\",\"Made in \"one piece\"\"",
     "2018-02-01|02:15|2|BH-9827|Table, long|Made in \"one piece\"",
     0,
     0,
     0},
    {"AnOpenerThatSwallowsTheNextRow",
     "2018-02-01,02:15,2,BH-9827,\"Table, long\",\"",
     "2018-02-01|02:15|2|BH-9827|Table, long|\"",
     1,
     0,
     0},
};

INSTANTIATE_TEST_SUITE_P(, PlanRow, testing::ValuesIn(kRowsCases), [](const auto& row) {
    return std::string(row.param.name);
});

Plan PlanOf(std::string_view bytes, const PlanRequest& request = {})
{
    const MadeFile file(bytes);
    return MakePlan(file.Path(), request);
}

std::string LinesOf(const Plan& plan)
{
    std::string text;
    for (const PlanLines& lines : plan.shape.lines) {
        text += (text.empty() ? "" : ", ") + std::string(NameOf(lines.kind)) + " " +
                std::to_string(lines.firstLine) + "+" + std::to_string(lines.lineCount);
    }
    return text;
}

std::string TypesOf(const Plan& plan)
{
    std::string types;
    for (const PlanColumn& column : plan.columns) {
        types += (types.empty() ? "" : ", ") + std::string(NameOf(column.type.value));
    }
    return types;
}

/// Twelve rows of three columns under names.
std::string Table(std::string_view end = "\n")
{
    std::string bytes = "id,name,x";
    bytes += end;
    for (int i = 0; i < 12; ++i) {
        bytes += std::to_string(i) + ",n" + std::to_string(i % 5) + "," + std::to_string(i) + ".5";
        bytes += end;
    }
    return bytes;
}

TEST(PlanRows, EndBeforeATableOfOtherNamesAfterABlankLine)
{
    const Plan plan = PlanOf(Table() + "\ncode,meaning,unit\nA,apple,kg\nB,pear,kg\nC,plum,t\n");
    EXPECT_EQ(LinesOf(plan), "names 1+1, further table 15+4");
    EXPECT_EQ(plan.shape.rows, 12U);
    EXPECT_EQ(plan.shape.lastRowLine, 13U);
    EXPECT_EQ(TypesOf(plan), "integer, text, double");
}

TEST(PlanRows, EndBeforeATableOfAnotherWidthAfterABlankLine)
{
    const Plan plan = PlanOf(Table() + "\nA,1\nB,2\nC,3\n");
    EXPECT_EQ(LinesOf(plan), "names 1+1, further table 15+3");
    EXPECT_EQ(plan.shape.rows, 12U);
}

TEST(PlanRows, KeepToTheFirstOfTwoTablesOfTheSameLength)
{
    std::string bytes = Table() + "a,b,c,d\n";
    for (int i = 0; i < 12; ++i) {
        bytes += "1,2,3,4\n";
    }
    const Plan plan = PlanOf(bytes);
    EXPECT_EQ(plan.shape.columnCount.value, 3U);
    EXPECT_EQ(LinesOf(plan), "names 1+1, further table 14+13");
}

TEST(PlanRows, KeepAQuotedFieldWholeWhoseHalvesHaveTheCount)
{
    const std::string bytes = "a,b,c\n1,\"x,y\nz,w\",2\n3,q,4\n5,r,6\n7,s,8\n9,t,10\n";
    const Plan plan = PlanOf(bytes);
    EXPECT_EQ(plan.shape.rows, 5U);
    EXPECT_EQ(plan.shape.repairedRows, 0U);
    EXPECT_EQ(CutAgain(plan, bytes, 3), "1|x,y\nz,w|2/3|q|4/5|r|6/7|s|8/9|t|10");
}

// Rule: a row that is cut inside quotes ends with its line where a whole row is the next one.
TEST(PlanRows, EndWithTheirLineWhereTheyAreCutInsideQuotes)
{
    std::string bytes = "id,name,remark\n";
    for (int i = 0; i < 9; ++i) {
        const std::string number = std::to_string(i);
        bytes += number + (i == 4 ? ",\"na\n" : ",\"name " + number + "\",\"a, b\"\n");
    }
    const Plan plan = PlanOf(bytes);
    EXPECT_EQ(plan.shape.rows, 8U);
    EXPECT_NE(CutAgain(plan, bytes, 3).find("/3|name 3|a, b/4|\"na/5|name 5|a, b/"),
              std::string::npos);
}

namespace {

/// Stations in aligned columns. @param odd the line of row 30 of 60
std::string Stations(const std::string& odd)
{
    std::string bytes = "id    name            depth    lat       lon\n";
    for (int i = 0; i < 60; ++i) {
        std::ostringstream line;
        line << std::left << std::setw(6) << i << std::setw(14) << "Station " + std::to_string(i)
             << std::right << std::fixed << std::setprecision(1) << std::setw(6) << 10.5 + i
             << std::setprecision(4) << std::setw(10) << 47 + i * 0.01 << std::setw(10)
             << 8 + i * 0.01 << "\n";
        bytes += i == 30 && !odd.empty() ? odd + "\n" : line.str();
    }
    return bytes;
}

} // namespace

// Rule: where blanks cut rows into more cells than the first line, and fixed widths into as many as
// that has, a text of words in all rows is one cell.
TEST(PlanRows, OfFixedWidthsHaveOneCellForEachName)
{
    const Plan plan = PlanOf(Stations({}));
    EXPECT_EQ(plan.shape.separator.value.kind, EPlanSeparation::Widths);
    EXPECT_EQ(plan.shape.columnCount.value, 5U);
    EXPECT_EQ(TypesOf(plan), "integer, text, double, double, double");
}

// Rule: a line that stands otherwise than all others has texts across the ends of two columns or
// more; a longer text is across one. Words tell where its cells end.
TEST(PlanRows, OfFixedWidthsMayStandOneCharacterAside)
{
    const std::string bytes = Stations("\"30    Station 30      40.5   47.3000    8.3000");
    const Plan plan = PlanOf(bytes);
    EXPECT_EQ(plan.shape.rows, 60U);
    EXPECT_EQ(TypesOf(plan), "text, text, double, double, double");
    EXPECT_NE(CutAgain(plan, bytes, 5).find("/\"30|Station 30|40.5|47.3000|8.3000/"),
              std::string::npos);
}

TEST(PlanRows, OfFixedWidthsKeepTheirColumnsWhateverOneLineLacks)
{
    const std::string line = "30    Station 30      40.5   47.3000    8.3000";
    for (std::size_t at = 0; at < line.size(); ++at) {
        std::string less = line;
        less.erase(at, 1);
        std::string more = line;
        more.insert(at, 1, ' ');
        EXPECT_EQ(PlanOf(Stations(less)).shape.columnCount.value, 5U) << less;
        EXPECT_EQ(PlanOf(Stations(more)).shape.columnCount.value, 5U) << more;
    }
}

TEST(PlanRows, OfFixedWidthsHaveLongerTextsAfterTheHead)
{
    std::string bytes = "n    name   depth\n";
    for (int i = 0; i < 2500; ++i) {
        std::ostringstream line;
        line << std::left << std::setw(5) << i << std::setw(5) << (i == 2000 ? "north" : "a")
             << std::right << std::setw(7) << (i == 2200 ? 100000 : i) << "\n";
        bytes += line.str();
    }
    const Plan plan = PlanOf(bytes);
    EXPECT_EQ(plan.shape.rows, 2500U);
    EXPECT_EQ(TypesOf(plan), "integer, text, integer");
    const std::string rows = CutAgain(plan, bytes, 3);
    EXPECT_NE(rows.find("/1999|a|1999/2000|north|2000/2001|a|2001/"), std::string::npos);
    EXPECT_NE(rows.find("/2200|a|100000/"), std::string::npos);
}

// Rule: a word across two columns that may belong to either leaves one cell less.
TEST(PlanRows, OfFixedWidthsAreBadWhereAWordMayBelongToTwoColumns)
{
    const std::string bytes = Stations("30    Station 3012345678.5   47.3000   8.3000");
    const Plan plan = PlanOf(bytes);
    EXPECT_EQ(plan.shape.rows, 59U);
    EXPECT_EQ(plan.shape.misfits + plan.shape.shortRows, 1U);
}

TEST(PlanRows, EndBeforeAFooter)
{
    const Plan plan = PlanOf(Table() + "\nTotal,12\nmade by hand\n");
    EXPECT_EQ(LinesOf(plan), "names 1+1, footer 15+1, footer 16+1");
    EXPECT_EQ(plan.shape.rows, 12U);
    EXPECT_EQ(plan.shape.lastRowLine, 13U);
}

TEST(PlanRows, EndBeforeAFooterThatIsPaddedWithSeparators)
{
    const Plan plan = PlanOf(Table() + "Source: the archive,,\n");
    EXPECT_EQ(LinesOf(plan), "names 1+1, footer 14+1");
    EXPECT_EQ(TypesOf(plan), "integer, text, double");
}

TEST(PlanRows, GoOnAfterTheNamesInAnotherOrder)
{
    const Plan plan = PlanOf(Table() + "x,id,name\n100.5,50,n1\n101.5,51,n2\n");
    EXPECT_EQ(LinesOf(plan), "names 1+1, repeated names 14+1");
    ASSERT_EQ(plan.shape.orders.size(), 1U);
    EXPECT_EQ(plan.shape.orders[0].line, 14U);
    EXPECT_EQ(plan.shape.orders[0].columns, (std::vector<std::size_t>{2, 0, 1}));
    EXPECT_EQ(TypesOf(plan), "integer, text, double");
    EXPECT_EQ(plan.columns[2].most, 101.5);
    EXPECT_EQ(plan.shape.rows, 14U);
}

TEST(PlanRows, DoNotHoldALastRowThatIsCutShort)
{
    const Plan plan = PlanOf(Table() + "12,n");
    EXPECT_TRUE(plan.shape.isCutShort);
    EXPECT_EQ(plan.shape.rows, 12U);
    EXPECT_FALSE(PlanOf(Table() + "12,n\n").shape.isCutShort);
    EXPECT_EQ(PlanOf(Table() + "12,n\n").shape.rows, 13U);
}

TEST(PlanRows, AreNoLinesOfSeparatorsAlone)
{
    const Plan plan = PlanOf(Table() + ",,\n13,n,1.5\n,,\n");
    EXPECT_EQ(plan.shape.rows, 13U);
    EXPECT_EQ(plan.shape.blankLines, 2U);
    EXPECT_EQ(plan.columns[0].empties, 0U);
}

TEST(PlanRows, GoOnAfterALoneLineFeedAmongPairs)
{
    const Plan plan = PlanOf(Table("\r\n") + "12,n\n1,12.5\r\n13,n2,13.5\r\n");
    EXPECT_EQ(plan.shape.rows, 14U);
    EXPECT_EQ(plan.shape.repairedRows, 1U);
    EXPECT_EQ(plan.bytes.lines, 16U);
    EXPECT_EQ(TypesOf(plan), "integer, text, double");
}

TEST(PlanRows, EndAtALoneReturnWhereThatGivesTheirCount)
{
    const Plan plan = PlanOf(Table() + "12,n1,12.5\r13,n2,13.5\n14,n\r3,14.5\n");
    EXPECT_EQ(plan.shape.rows, 15U);
    EXPECT_EQ(plan.shape.repairedRows, 1U);
    EXPECT_EQ(plan.bytes.lines, 17U);
}

TEST(PlanRows, BeginWithAMarkOnlyWhereItIsNoComment)
{
    EXPECT_EQ(PlanOf("colour,name\n#FF0000,red\n#00FF00,green\n#0000FF,blue\n").shape.rows, 3U);
    const Plan plan = PlanOf(Table() + "# moved\n12,n,12.5\n");
    EXPECT_EQ(plan.shape.rows, 13U);
    EXPECT_EQ(plan.shape.misfits, 0U);
}

TEST(PlanGiven, DecidesTypesNullsAndTheNameByColumn)
{
    PlanRequest request;
    request.types = {{"id", EPlanType::Text}, {"2", EPlanType::Text}};
    request.nameColumn = "name";
    request.hasNoPoints = true;
    const Plan plan = PlanOf(Table() + "none,none,none\n", request);
    EXPECT_EQ(TypesOf(plan), "text, text, text");
    EXPECT_EQ(plan.columns[0].type.decider, EDecider::Given);
    EXPECT_EQ(plan.columns[1].role, EPlanRole::Name);
    EXPECT_TRUE(plan.hasNoPoints);
    EXPECT_TRUE(plan.questions.empty());
    PlanRequest nulls;
    nulls.nullTexts = {"none"};
    const Plan withNulls = PlanOf(Table() + "none,none,none\n", nulls);
    EXPECT_EQ(TypesOf(withNulls), "integer, text, double");
    EXPECT_EQ(withNulls.columns[0].nullWords, 1U);
}

TEST(PlanGiven, KeepsEveryCellAsText)
{
    PlanRequest request;
    request.isAllText = true;
    const Plan plan = PlanOf(Table(), request);
    EXPECT_EQ(TypesOf(plan), "text, text, text");
    EXPECT_TRUE(plan.isAllText);
}

TEST(PlanGiven, SkipsAsManyLines)
{
    PlanRequest request;
    request.skipLines = 2;
    const Plan plan = PlanOf("a,b\n1,2\nc,d\n3,4\n5,6\n", request);
    EXPECT_EQ(LinesOf(plan), "preamble 1+1, preamble 2+1, names 3+1");
    EXPECT_EQ(plan.columns[0].name, "c");
    EXPECT_EQ(plan.shape.rows, 2U);
}

TEST(PlanGiven, FindsThePartnerOfOneCoordinate)
{
    const std::string bytes = "lat1,lon1,lat2,lon2\n47.5,8.5,46.5,7.5\n47.6,8.6,46.6,7.6\n";
    PlanRequest request;
    request.x = "lon2";
    const Plan plan = PlanOf(bytes, request);
    EXPECT_EQ(plan.coordinates.value.x, 3U);
    EXPECT_EQ(plan.coordinates.value.y, 2U);
    EXPECT_TRUE(plan.questions.empty());
}

TEST(PlanGiven, StatesTheCoordinateSystem)
{
    PlanRequest request;
    request.crs = "EPSG:2056";
    const Plan plan = PlanOf("x,y\n2600000,1200000\n2600001,1200001\n", request);
    EXPECT_EQ(plan.coordinateSystem.value, "EPSG:2056");
    EXPECT_EQ(plan.coordinateSystem.decider, EDecider::Given);
}

} // namespace
