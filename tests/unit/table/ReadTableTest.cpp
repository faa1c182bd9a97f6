// Tables of small files: what cells become, which rows are bad, and where lines go.
#include "table/TableFile.h"

#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Plan.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace Orvane::Import;
using TableTest::BadWords;
using TableTest::Read;
using TableTest::ReadFile;
using TableTest::ReadPlanned;
using TableTest::Rows;
using TestSupport::TemporaryFolder;

using namespace std::string_view_literals;
using Texts = std::vector<std::string>;

PlanRequest WithNames()
{
    PlanRequest request;
    request.hasNames = true;
    request.separator = ",";
    return request;
}

/// Reads a file both ways and expects the same of both. @return the one that goes column by column
ReadFile ReadBothWays(std::string_view bytes,
                      const PlanRequest& planRequest = WithNames(),
                      TableRequest request = {})
{
    const TemporaryFolder folder;
    const std::string path = folder.File("table.csv", bytes).ToUtf8();
    Plan plan = MakePlan(path, planRequest);
    plan.shape.shortRowsAreRows = true;
    request.isOneByOne = true;
    const ReadFile slow = ReadPlanned(plan, request);
    request.isOneByOne = false;
    ReadFile fast = ReadPlanned(plan, request);
    EXPECT_EQ(Rows(*slow.layer), Rows(*fast.layer));
    EXPECT_EQ(BadWords(slow.bad), BadWords(fast.bad));
    EXPECT_EQ(slow.counts.lines.Sum(), plan.bytes.lines);
    EXPECT_EQ(fast.counts.lines.Sum(), plan.bytes.lines);
    EXPECT_EQ(slow.counts.rows, fast.counts.rows);
    EXPECT_EQ(slow.counts.points, fast.counts.points);
    EXPECT_EQ(slow.counts.rowsByColumn, 0U);
    for (std::size_t column = 0; column < fast.counts.columns.size(); ++column) {
        EXPECT_EQ(slow.counts.columns[column].empties, fast.counts.columns[column].empties);
        EXPECT_EQ(slow.counts.columns[column].nullWords, fast.counts.columns[column].nullWords);
        EXPECT_EQ(fast.counts.columns[column].values + fast.counts.columns[column].empties +
                      fast.counts.columns[column].nullWords,
                  fast.counts.rows);
    }
    return fast;
}

struct CellCase
{
    const char* name;
    const char* cells; ///< of a column, one per line
    const char* values;
};

void PrintTo(const CellCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class ReadTableCells : public testing::TestWithParam<CellCase>
{};

constexpr CellCase kCellCases[] = {
    {"WholeNumbersAreIntegers", "1\n-2\n+3\n2147483647\n", "1 -2 3 2147483647"},
    {"LargeWholeNumbersAreLongIntegers",
     "1\n99999999999\n-9223372036854775808\n",
     "1 99999999999 -9223372036854775808"},
    {"DecimalsAfterWholeNumbersStand",
     "1\n2\n3\n4\n5\n6\n9.75\n-3.5\n1e3\n",
     "1 2 3 4 5 6 9.75 -3.5 1000"},
    {"GapsAreNulls", "1\n\n3\nNA\n-\n", "1 null 3 null null"},
    {"GapsOfDoublesAreNulls", "1.5\n\n3.25\nnan\n  \n", "1.5 null 3.25 null null"},
    {"DecimalCommasAreDoubles", "\"1,5\"\n\"-0,25\"\n7\n", "1.5 -0.25 7"},
    {"ThousandsSignsAreNoDigits", "\"1,234,567\"\n\"12,345.5\"\n12\n", "1234567 12345.5 12"},
    {"UnicodeMinusIsAMinus",
     "1\n\xE2\x88\x92"
     "6.5\n",
     "1 -6.5"},
    {"BlanksAroundNumbersAreNoObstacle", " 1\n2 \n 3.5 \n", "1 2 3.5"},
    {"LeadingZerosStayText", "007\n0800\n12\n", "'007' '0800' '12'"},
    {"TwentyDigitsStayText", "12345678901234567890\n1\n", "'12345678901234567890' '1'"},
    {"OddCellsMakeText", "1\n2\n13 ft\n", "'1' '2' '13 ft'"},
    {"BooleanWordsAreBooleans", "yes\nNo\n\nYES\n", "true false null true"},
    {"ZeroAndOneAreIntegers", "0\n1\n1\n", "0 1 1"},
    {"IsoDatesStand", "2018-01-28\n\n2020-02-29\n", "'2018-01-28' null '2020-02-29'"},
    {"DayFirstDatesBecomeIso", "28/01/2018\n03/04/2018\n", "'2018-01-28' '2018-04-03'"},
    {"MonthFirstDatesBecomeIso", "1/28/2018\n3/4/2018\n", "'2018-01-28' '2018-03-04'"},
    {"MonthsByNameBecomeIso", "2 Jan 2018\n28-Feb-2019\n", "'2018-01-02' '2019-02-28'"},
    {"TimesOfDayAreTimes",
     "13:03\n1:03:22 pm\n23:59:59.836\n",
     "'13:03:00' '13:03:22' '23:59:59.836'"},
    {"DateTimesBecomeIso",
     "2018-01-28 13:03:22\n2018-01-29T00:00\n",
     "'2018-01-28T13:03:22' '2018-01-29T00:00:00'"},
    {"OffsetsStay",
     "2018-01-28T13:03:22Z\n2018-01-28 13:03:22 +0130\n2018-01-28T13:03:22.5-02:00\n",
     "'2018-01-28T13:03:22Z' '2018-01-28T13:03:22+01:30' '2018-01-28T13:03:22.5-02:00'"},
    {"TextsKeepTheirBlanks", " a\nb \n\nNA\n", "' a' 'b ' null 'NA'"},
    {"QuotedTextsLoseTheirQuotesAlone",
     "\"a \"\"b\"\" c\"\n\"x,y\"\n\"\"\n",
     "'a \"b\" c' 'x,y' null"},
};

INSTANTIATE_TEST_SUITE_P(, ReadTableCells, testing::ValuesIn(kCellCases), TestSupport::CaseName());

TEST_P(ReadTableCells, HaveTheValuesOfTheColumn)
{
    // A first column keeps lines with empty cells from being blank, a long tail of rows makes no
    // difference to how they are read.
    std::string bytes = "id,cell\n";
    std::size_t rows = 0;
    std::string cells = GetParam().cells;
    while (!cells.empty()) {
        const std::size_t end = cells.find('\n');
        bytes += std::to_string(rows++) + "," + cells.substr(0, end) + "\n";
        cells.erase(0, end + 1);
    }
    const ReadFile file = ReadBothWays(bytes);
    std::string values;
    const Orvane::BFeatureCollection& features = file.layer->GetFeatures();
    ASSERT_EQ(features.GetCount(), rows);
    for (std::size_t row = 0; row < rows; ++row) {
        values += values.empty() ? "" : " ";
        values += TableTest::ValueText(features.GetPage(0), row, 1);
    }
    EXPECT_EQ(values, GetParam().values);
    EXPECT_TRUE(file.bad.empty());
}

struct PointCase
{
    const char* name;
    const char* bytes;
    Texts rows;
};

void PrintTo(const PointCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class ReadTablePoints : public testing::TestWithParam<PointCase>
{};

const PointCase kPointCases[] = {
    {"PlainNumbersOfAllRowsAreNoAttributes",
     "name,lon,lat\na,7.5,47.25\nb,8.125,46.5\nc,9.5,46.25\n",
     {"(7.5 47.25) 'a'", "(8.125 46.5) 'b'", "(9.5 46.25) 'c'"}},
    {"DecimalCommasOfAllRowsAreNoAttributes",
     "name,lon,lat,elevation\na,\"7,5\",\"47,25\",\"400,5\"\nb,\"-8,125\",\"46,5\",401\n"
     "c,9,\"46,25\",\"402,25\"\n",
     {"(7.5 47.25 400.5) 'a'", "(-8.125 46.5 401) 'b'", "(9 46.25 402.25) 'c'"}},
    {"DecimalCommasPastTheDegreesAreAttributesToo",
     "name,lon,lat\na,\"7,5\",\"47,25\"\nb,\"8,125\",\"146,5\"\nc,\"9,5\",\"46,25\"\n",
     {"(7.5 47.25) 'a', 7.5, 47.25", "'b', 8.125, 146.5", "(9.5 46.25) 'c', 9.5, 46.25"}},
    {"WithAGapTheyAreAttributesToo",
     "name,lon,lat\na,7.5,47.25\nb,,46.5\nc,9.5,46.25\n",
     {"(7.5 47.25) 'a', 7.5, 47.25", "'b', null, 46.5", "(9.5 46.25) 'c', 9.5, 46.25"}},
    {"AnglesGivePointsAndStayTexts",
     "name,lat,lon\na,47\xC2\xB0"
     "30'00\"N,7\xC2\xB0"
     "15'00\"W\n"
     "b,46\xC2\xB0"
     "45'00\"S,8\xC2\xB0"
     "30'00\"E\nc,,\n",
     {"(-7.25 47.5) 'a', '47\xC2\xB0"
      "30'00\"N', '7\xC2\xB0"
      "15'00\"W'",
      "(8.5 -46.75) 'b', '46\xC2\xB0"
      "45'00\"S', '8\xC2\xB0"
      "30'00\"E'",
      "'c', null, null"}},
    {"HeightsAreOfThePoint",
     "name,lon,lat,elevation\na,7.5,47.25,100.5\nb,8.125,46.5,200.25\nc,9.5,46.25,300.75\n",
     {"(7.5 47.25 100.5) 'a'", "(8.125 46.5 200.25) 'b'", "(9.5 46.25 300.75) 'c'"}},
    {"WithoutAHeightThePointStands",
     "name,lon,lat,elevation\na,7.5,47.25,100.5\nb,8.125,46.5,\nc,9.5,46.25,300.75\n",
     {"(7.5 47.25 100.5) 'a', 100.5", "(8.125 46.5) 'b', null", "(9.5 46.25 300.75) 'c', 300.75"}},
    {"MinutesInTheirOwnColumnsCount",
     "name,lat_deg,lat_min,lon_deg,lon_min\na,47,30,7,15\nb,-46,45,8,30\nc,46,0,9,6\n",
     {"(7.25 47.5) 'a', 47, 30, 7, 15",
      "(8.5 -46.75) 'b', -46, 45, 8, 30",
      "(9.1 46) 'c', 46, 0, 9, 6"}},
};

INSTANTIATE_TEST_SUITE_P(,
                         ReadTablePoints,
                         testing::ValuesIn(kPointCases),
                         TestSupport::CaseName());

TEST_P(ReadTablePoints, AreMadeOfTheCoordinates)
{
    const ReadFile file = ReadBothWays(GetParam().bytes);
    EXPECT_EQ(Rows(*file.layer), GetParam().rows);
    EXPECT_EQ(file.counts.points + file.counts.rowsWithoutPoint, file.counts.rows);
}

struct BadCase
{
    const char* name;
    std::string_view bytes;
    Texts bad;
    Texts rows;
};

void PrintTo(const BadCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class ReadTableBad : public testing::TestWithParam<BadCase>
{};

const BadCase kBadCases[] = {
    {"ALongRowIsBad",
     "id,word,n\n1,a,10\n2,b,20\n3,c,d,30\n4,e,40\n5,f,50\n",
     {"long-row@4:4"},
     {"1, 'a', 10", "2, 'b', 20", "4, 'e', 40", "5, 'f', 50"}},
    {"ABlockOfNulsInsideARowIsBad",
     "id,word,n\n1,a,10\n2,b\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
     "x,20\n4,e,40\n5,f,50\n"sv,
     {"nul-block@3:2"},
     {"1, 'a', 10", "4, 'e', 40", "5, 'f', 50"}},
    {"ABlockOfNulsBesideARowIsNoPartOfIt",
     "id,word,n\n1,a,10\n\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
     "2,b,20\n4,e,40\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\n5,f,50\n"sv,
     {},
     {"1, 'a', 10", "2, 'b', 20", "4, 'e', 40", "5, 'f', 50"}},
    {"ALineOfNulsIsBlank",
     "id,word,n\n1,a,10\n\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\n"
     "4,e,40\n5,f,50\n\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"sv,
     {},
     {"1, 'a', 10", "4, 'e', 40", "5, 'f', 50"}},
    {"AQuotedFieldEndsAtABlockOfNuls",
     "id,word,n\n1,\"a,b\",10\n2,\"\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\n"
     "4,\"e,f\",40\n5,\"f\",50\n"sv,
     {"nul-block@3:2"},
     {"1, 'a,b', 10", "4, 'e,f', 40", "5, 'f', 50"}},
    {"SurplusEmptyCellsAreNoReason",
     "id,word,n\n1,a,10\n2,b,20,,\n4,e,40\n5,f,50\n",
     {},
     {"1, 'a', 10", "2, 'b', 20", "4, 'e', 40", "5, 'f', 50"}},
    {"AShortRowWhoseCellsFitHasNulls",
     "id,word,n\n1,a,10\n2,b\n4,e,40\n5,f,50\n",
     {},
     {"1, 'a', 10", "2, 'b', null", "4, 'e', 40", "5, 'f', 50"}},
    {"AShortRowWhoseCellsDoNotFitIsBad",
     "id,n,word\n1,10,a\n2,20,b\nx,c\n4,40,e\n5,50,f\n",
     {"short-row@4:1"},
     {"1, 10, 'a'", "2, 20, 'b'", "4, 40, 'e'", "5, 50, 'f'"}},
};

INSTANTIATE_TEST_SUITE_P(, ReadTableBad, testing::ValuesIn(kBadCases), TestSupport::CaseName());

TEST_P(ReadTableBad, RowsAreListedWithTheirPlaces)
{
    PlanRequest request = WithNames();
    const ReadFile file = ReadBothWays(GetParam().bytes, request);
    EXPECT_EQ(BadWords(file.bad), GetParam().bad);
    EXPECT_EQ(Rows(*file.layer), GetParam().rows);
    EXPECT_EQ(file.counts.badRows, GetParam().bad.size());
}

/// A plan of one file, with the bytes of another in its place.
ReadFile ReplayOn(std::string_view planned, std::string_view read, const PlanRequest& request)
{
    const TemporaryFolder folder;
    const std::string path = folder.File("table.csv", planned).ToUtf8();
    Plan plan = MakePlan(path, request);
    plan.shape.lastRowLine = 0;
    static_cast<void>(folder.File("table.csv", read));
    TableRequest tableRequest;
    const ReadFile fast = ReadPlanned(plan, tableRequest);
    tableRequest.isOneByOne = true;
    ReadFile slow = ReadPlanned(plan, tableRequest);
    EXPECT_EQ(Rows(*slow.layer), Rows(*fast.layer));
    EXPECT_EQ(BadWords(slow.bad), BadWords(fast.bad));
    return slow;
}

TEST(ReadTableReplay, ACellThatIsNoValueOfItsColumnMakesTheRowBad)
{
    const ReadFile file = ReplayOn("id,n,when,ok\n1,1.5,2020-01-01,yes\n2,2.5,2020-01-02,no\n",
                                   "id,n,when,ok\n1,1.5,2020-01-01,yes\n2,x,2020-01-02,no\n"
                                   "3.5,1,2020-01-01,no\n4,1,2020-13-01,no\n5,1,2020-01-01,maybe\n"
                                   "007,1,2020-01-01,no\n8,08,2020-01-01,no\n"
                                   "99999999999,1,2020-01-01,no\n9,,,\n",
                                   WithNames());
    EXPECT_EQ(Rows(*file.layer), (Texts{"1, 1.5, '2020-01-01', true", "9, null, null, null"}));
    EXPECT_EQ(BadWords(file.bad),
              (Texts{"value@3:2",
                     "value@4:1",
                     "value@5:3",
                     "value@6:4",
                     "value@7:1",
                     "value@8:2",
                     "value@9:1"}));
}

TEST(ReadTableReplay, ACoordinateThatIsNoAttributeIsNotLost)
{
    const ReadFile file = ReplayOn("name,lon,lat\na,7.5,47.25\nb,8.125,46.5\nc,9.5,46.25\n",
                                   "name,lon,lat\na,7.5,47.25\nb,8.125,146.5\nc,,\nd,9.5,\n",
                                   WithNames());
    EXPECT_EQ(Rows(*file.layer), (Texts{"(7.5 47.25) 'a'", "'c'"}));
    EXPECT_EQ(BadWords(file.bad), (Texts{"value@3:2", "value@5:2"}));
}

TEST(ReadTable, PastTheDegreesThereIsNoPoint)
{
    std::string bytes = "name,lon,lat\n";
    for (int row = 0; row < 300; ++row) {
        bytes += row == 250 ? "b,8.125,146.5\n" : "a,7.5,47.25\n";
    }
    const ReadFile file = ReadBothWays(bytes);
    EXPECT_EQ(Rows(*file.layer)[249], "(7.5 47.25) 'a', 7.5, 47.25");
    EXPECT_EQ(Rows(*file.layer)[250], "'b', 8.125, 146.5");
    EXPECT_EQ(file.counts.outOfRange, 1U);
    EXPECT_EQ(file.counts.lineWithoutPoint, 252U);
    EXPECT_EQ(file.counts.rowsWithoutPoint, 1U);
}

TEST(ReadTable, BytesThatAreNoCharactersMakeTheRowBad)
{
    PlanRequest request = WithNames();
    request.encoding = "UTF-8";
    const ReadFile file = ReadBothWays("id,word\n1,Z\xC3\xBC"
                                       "rich\n2,Z\xFC"
                                       "rich\n3,c\n",
                                       request);
    EXPECT_EQ(Rows(*file.layer), (Texts{"1, 'Z\xC3\xBCrich'", "3, 'c'"}));
    EXPECT_EQ(BadWords(file.bad), (Texts{"encoding@3:2"}));
    EXPECT_EQ(file.bad[0].raw, "2,Z\xEF\xBF\xBDrich");
}

struct EncodingCase
{
    const char* name;
    const char* encoding;
    std::string bytes;
};

void PrintTo(const EncodingCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class ReadTableEncodings : public testing::TestWithParam<EncodingCase>
{};

const EncodingCase kEncodings[] = {
    {"Utf8", "UTF-8", "id,word,n\n1,\xC3\xA4\xE2\x82\xAC,1\n2,\"\xC3\xB6,\"\"\",2\n"},
    {"Utf8WithAMark",
     "",
     "\xEF\xBB\xBFid,word,n\n1,\xC3\xA4\xE2\x82\xAC,1\n2,\"\xC3\xB6,\"\"\",2\n"},
    {"OneBytePerCharacter", "WINDOWS-1252", "id,word,n\n1,\xE4\x80,1\n2,\"\xF6,\"\"\",2\n"},
    {"ManyBytesPerCharacter",
     "GB18030",
     "id,word,n\n1,\x81\x30\x8A\x31\xA2\xE3,1\n2,\"\x81\x30\x8B\x32,\"\"\",2\n"},
    {"Utf16",
     "",
     [] {
         const std::u16string text = u"\uFEFFid,word,n\n1,\u00E4\u20AC,1\n2,\"\u00F6,\"\"\",2\n";
         std::string bytes;
         for (const char16_t unit : text) {
             bytes.push_back(static_cast<char>(unit & 0xFFU));
             bytes.push_back(static_cast<char>(unit >> 8U));
         }
         return bytes;
     }()},
};

INSTANTIATE_TEST_SUITE_P(,
                         ReadTableEncodings,
                         testing::ValuesIn(kEncodings),
                         TestSupport::CaseName());

TEST_P(ReadTableEncodings, GiveTheSameCells)
{
    PlanRequest request = WithNames();
    request.encoding = GetParam().encoding;
    const ReadFile file = ReadBothWays(GetParam().bytes, request);
    EXPECT_EQ(Rows(*file.layer), (Texts{"1, '\xC3\xA4\xE2\x82\xAC', 1", "2, '\xC3\xB6,\"', 2"}));
}

TEST(ReadTable, CellsOfAllTextStayAsTheyAre)
{
    PlanRequest planRequest = WithNames();
    planRequest.isAllText = true;
    TableRequest request;
    request.isAllText = true;
    const ReadFile file = ReadBothWays(
        "id,lon,lat\n007,7.5, 47\n2,,\n3,4\n5,6,7,8,\"9\"\n6,7,8\n", planRequest, request);
    EXPECT_EQ(Rows(*file.layer),
              (Texts{"'007', '7.5', ' 47', none, none",
                     "'2', '', '', none, none",
                     "'3', '4', none, none, none",
                     "'5', '6', '7', '8', '9'",
                     "'6', '7', '8', none, none"}));
    EXPECT_EQ(file.layer->GetSchema().GetAt(4).GetName(), Orvane::BString("extra_2"));
    EXPECT_TRUE(file.bad.empty());
}

TEST(ReadTable, CellsThatThePlanHasNotSeenGetColumnsToo)
{
    PlanRequest planRequest = WithNames();
    planRequest.isAllText = true;
    const TemporaryFolder folder;
    const std::string path = folder.File("table.csv", "id,word\n1,a\n2,b\n3,c\n").ToUtf8();
    const Plan plan = MakePlan(path, planRequest);
    static_cast<void>(folder.File("table.csv", "id,word\n1,a\n2,b\n3,c,d\n4,e\n5,f,g,h\n6,i\n"));
    const ReadFile file = ReadPlanned(plan, {});
    EXPECT_EQ(Rows(*file.layer),
              (Texts{"'1', 'a', none, none",
                     "'2', 'b', none, none",
                     "'3', 'c', 'd', none",
                     "'4', 'e', none, none",
                     "'5', 'f', 'g', 'h'",
                     "'6', 'i', none, none"}));
    EXPECT_EQ(file.layer->GetSchema().GetCount(), 4U);
    EXPECT_TRUE(file.bad.empty());
}

TEST(ReadTable, NamesOfAllTextStayAsTheyAre)
{
    PlanRequest planRequest = WithNames();
    planRequest.isAllText = true;
    const ReadFile file = ReadBothWays("id,,id\n1,2,3\n4,5,6\n", planRequest);
    const Orvane::BAttributeDefs& schema = file.layer->GetSchema();
    EXPECT_EQ(schema.GetAt(0).GetName(), Orvane::BString("id"));
    EXPECT_EQ(schema.GetAt(1).GetName(), Orvane::BString(""));
    EXPECT_EQ(schema.GetAt(2).GetName(), Orvane::BString("id"));
}

TEST(ReadTable, GivenNullTextsAreNullInEveryColumn)
{
    TableRequest request;
    request.nullTexts = {"-9999", "x"};
    const ReadFile file =
        ReadBothWays("id,n,word,lon,lat\n1,-9999,x,7.5,47.5\n2,3,y,-9999,-9999\n3,4,xx,8.5,46.5\n",
                     WithNames(),
                     request);
    // A row without a point keeps the columns of coordinates among the attributes.
    EXPECT_EQ(Rows(*file.layer),
              (Texts{"(7.5 47.5) 1, null, null, 7.5, 47.5",
                     "2, 3, 'y', null, null",
                     "(8.5 46.5) 3, 4, 'xx', 8.5, 46.5"}));
    EXPECT_EQ(file.counts.columns[1].nullWords, 1U);
}

TEST(ReadTable, EndsAfterTheMostRows)
{
    TableRequest request;
    request.mostRows = 2;
    const ReadFile file = Read("id,word\n1,a\n2,b\n3,c\n4,d\n", WithNames(), request);
    EXPECT_EQ(Rows(*file.layer), (Texts{"1, 'a'", "2, 'b'"}));
    EXPECT_TRUE(file.counts.isStoppedAtMost);
    EXPECT_EQ(file.counts.lines.rows, 2U);
    request.mostRows = 4;
    EXPECT_FALSE(
        Read("id,word\n1,a\n2,b\n3,c\n4,d\n", WithNames(), request).counts.isStoppedAtMost);
}

TEST(ReadTable, NamesFeaturesByTheRowsNumber)
{
    const ReadFile file = Read("id,word\n1,a\n\n2,b,c\n3,d\n4,e\n5,f\n", WithNames());
    EXPECT_EQ(TestSupport::FeatureNames(*file.layer),
              (std::vector<std::string>{"1", "2", "3", "4"}));
}

/// A table of many rows: every piece of the text, and its ends, are met.
std::string ManyRows(std::size_t rows, std::string_view lineEnd, bool isQuoted)
{
    std::string bytes = "id,word,n,when,ok,lon,lat";
    bytes += lineEnd;
    for (std::size_t row = 0; row < rows; ++row) {
        const std::string number = std::to_string(row);
        bytes += number;
        const std::string quote = isQuoted && row % 3 != 0 ? "\"" : "";
        bytes += "," + quote + "w" + number + (quote.empty() ? "" : ",\"\"q\"\"") + quote;
        bytes += row % 5 == 0 ? "," : "," + number + ".25";
        bytes += row % 7 == 0 ? "," : ",2020-01-" + std::string(row % 2 == 0 ? "05" : "06");
        bytes += row % 2 == 0 ? ",true" : ",false";
        bytes += ",7." + number + ",46." + number;
        bytes += lineEnd;
        if (row % 1009 == 1008) {
            bytes += lineEnd;
        }
        if (row % 1511 == 1510) {
            bytes += "1,2,3,4,5,6,7,8,9";
            bytes += lineEnd;
        }
        if (isQuoted && row % 701 == 700) {
            bytes += number + ",\"line" + std::string(lineEnd) + "break\",1,,,7.5,46.5";
            bytes += lineEnd;
        }
    }
    return bytes;
}

struct ManyCase
{
    const char* name;
    const char* lineEnd;
    bool isQuoted;
};

void PrintTo(const ManyCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class ReadTableMany : public testing::TestWithParam<ManyCase>
{};

constexpr ManyCase kManyCases[] = {
    {"Feeds", "\n", false},
    {"FeedsWithQuotes", "\n", true},
    {"ReturnsAndFeeds", "\r\n", false},
    {"ReturnsAndFeedsWithQuotes", "\r\n", true},
    {"Returns", "\r", false},
    {"ReturnsWithQuotes", "\r", true},
};

INSTANTIATE_TEST_SUITE_P(, ReadTableMany, testing::ValuesIn(kManyCases), TestSupport::CaseName());

TEST_P(ReadTableMany, RowsAreTheSameBothWays)
{
    constexpr std::size_t kRows = 20000;
    const ReadFile file = ReadBothWays(ManyRows(kRows, GetParam().lineEnd, GetParam().isQuoted));
    const std::size_t withBreaks = GetParam().isQuoted ? kRows / 701 : 0;
    EXPECT_EQ(file.counts.rows, kRows + withBreaks);
    EXPECT_EQ(file.counts.lines.continuations, withBreaks);
    EXPECT_EQ(file.counts.badRows, kRows / 1511);
    EXPECT_EQ(file.counts.lines.blanks, kRows / 1009);
    EXPECT_EQ(file.counts.points, file.counts.rows);
    EXPECT_GT(file.counts.rowsByColumn, kRows / 2);
    const std::vector<std::string> rows = Rows(*file.layer);
    EXPECT_EQ(rows[1],
              GetParam().isQuoted ? "(7.1 46.1) 1, 'w1,\"q\"', 1.25, '2020-01-06', false"
                                  : "(7.1 46.1) 1, 'w1', 1.25, '2020-01-06', false");
}

TEST(ReadTable, TheSinkEndsTheReading)
{
    class Stopping : public BadRowSink
    {
    public:
        void Add(const TableRecord& /*record*/) override
        {
            FailureFields fields;
            fields.code = "stopped";
            throw ImportFailure(std::move(fields));
        }
    };

    const TemporaryFolder folder;
    const std::string path =
        folder.File("table.csv", "id,word\n1,a\n2,b\n3,c,d\n4,e\n5,f\n").ToUtf8();
    const Plan plan = MakePlan(path, WithNames());
    Orvane::BVectorLayer layer;
    Stopping sink;
    try {
        ReadTable(plan, {}, layer, sink, {});
        FAIL() << "nothing was thrown";
    } catch (const ImportFailure& failure) {
        EXPECT_TRUE(failure.Is("stopped"));
    }
    EXPECT_LE(layer.GetFeatures().GetCount(), 2U);
}

TEST(TableWalkNext, GivesEveryLineOfTheFile)
{
    const std::string bytes = "# made by hand\n\nid,word,n\n1,a,2\n\n# note\n2,\"b\nc\",3\n"
                              "id,word,n\n3,d,4\n4,e,5,6\n5,f,6\n";
    const TemporaryFolder folder;
    const std::string path = folder.File("table.csv", bytes).ToUtf8();
    const Plan plan = MakePlan(path, WithNames());
    TableWalk walk(plan, {});
    TableRecord record;
    std::uint64_t line = 1;
    std::uint64_t byte = 0;
    std::string kinds;
    while (walk.Next(record)) {
        EXPECT_EQ(record.line, line);
        EXPECT_EQ(record.byte, byte);
        line += record.lines;
        byte += record.raw.size() + 1;
        kinds += "HRBCNFTX"[static_cast<std::size_t>(record.kind)];
    }
    EXPECT_EQ(kinds, "HHHRBCRNRXR");
    EXPECT_EQ(walk.Lines().Sum(), plan.bytes.lines);
    EXPECT_EQ(byte, bytes.size());
}

} // namespace
