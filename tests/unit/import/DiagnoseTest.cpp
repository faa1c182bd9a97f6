// Where in a file a failure has its cause.
#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <diagnose/Diagnose.h>
#include <string>
#include <support/TestFiles.h>

namespace {

using Orvane::BParamList;
using Orvane::Import::FailureFields;
using TestSupport::CaseName;
using TestSupport::TemporaryFolder;

struct QuoteCase
{
    const char* name;
    const char* text;
    std::size_t blockSize;
    std::uint64_t line;
    std::uint64_t column;
    const char* row;
};

void PrintTo(const QuoteCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class FindsTheOpenQuote : public testing::TestWithParam<QuoteCase>
{};

constexpr std::size_t kLarge = 1 << 20;

constexpr QuoteCase kQuoteCases[] = {
    {"OnTheFirstLine", "a,\"b\nc,d\n", kLarge, 1, 2, "a,\"b"},
    {"OnALaterLine", "a,b\nc,\"d\ne,f\n", kLarge, 2, 2, "c,\"d"},
    {"OnTheLastLineWithoutEnding", "a,b\nc,\"d", kLarge, 2, 2, "c,\"d"},
    {"AfterBlankLines", "a,b\n\n\n\n\"c,d\n", kLarge, 5, 1, "\"c,d"},
    {"AfterAQuotedLineBreak", "a,\"b\nb\",c\nd,e,\"f\n", kLarge, 3, 3, "d,e,\"f"},
    {"OnTheLineWhereAnotherCloses", "a,\"b\nb\",\"c\nd\n", kLarge, 2, 3, "b\",\"c"},
    {"AStrayOneInsideOfAField", "a,b\n5'2\",d\n\"e\",\"f\"\n", kLarge, 2, 1, "5'2\",d"},
    {"TheOneBeforeThatClosesInsideOfAField", "a,\"b\n\"c\",d\n", kLarge, 1, 2, "a,\"b"},
    {"NotADoubledOne", "a,\"b\"\"c\"\nd,\"e\"\"\n", kLarge, 2, 2, "d,\"e\"\""},
    {"WithCarriageReturnsAndLineFeeds", "a,b\r\nc,\"d\r\ne\r\n", kLarge, 2, 2, "c,\"d"},
    {"WithCarriageReturnsAlone", "a,b\rc,d\re,\"f\r", kLarge, 3, 2, "e,\"f"},
    {"BeforeTheBlockEnds", "aa,bb\ncc,\"d\ndd\",ee\n", 14, 2, 2, "cc,\"d"},
    {"InTheThirdBlock", "aaaa,1\nbbbb,2\nccc,3\nddd,\"4\nee,5\n", 12, 4, 2, "ddd,\"4"},
    {"AfterBlankLinesAtTheEndOfABlock", "aaaa,1\n\n\n\n\nbb,\"2\ncc,3\n", 10, 6, 2, "bb,\"2"},
};

INSTANTIATE_TEST_SUITE_P(, FindsTheOpenQuote, testing::ValuesIn(kQuoteCases), CaseName());

TEST_P(FindsTheOpenQuote, WithLineFieldAndText)
{
    const QuoteCase& row = GetParam();
    const TemporaryFolder folder;
    FailureFields fields;
    fields.code = "unmatched-quote";
    fields.file = folder.File("a.csv", row.text).ToUtf8();
    Diagnose({BParamList(), 0, row.blockSize}, fields);
    EXPECT_EQ(fields.line, row.line);
    EXPECT_EQ(fields.column, row.column);
    EXPECT_EQ(fields.row, row.row);
}

TEST(DiagnoseQuote, CountsLinesOfWideTexts)
{
    const TemporaryFolder folder;
    std::string wide("\xFF\xFE", 2);
    for (const char byte : std::string("a,b\nc,\"d\ne\n")) {
        wide += byte;
        wide += '\0';
    }
    BParamList options;
    options.Add("CODEC", Orvane::BString("UTF-16"));
    FailureFields fields;
    fields.code = "unmatched-quote";
    fields.file = folder.File("a.csv", wide).ToUtf8();
    Diagnose({options}, fields);
    EXPECT_EQ(fields.line, 2U);
    EXPECT_EQ(fields.row, "c,\"d");
}

TEST(DiagnoseQuote, SaysThatABlockEndsInsideOfAQuotedText)
{
    const TemporaryFolder folder;
    FailureFields fields;
    fields.code = "unmatched-quote";
    fields.file = folder.File("a.csv", "aa,1\nbb,\"2\n2\",3\ncc,4\n").ToUtf8();
    Diagnose({BParamList(), 0, 12}, fields);
    EXPECT_EQ(fields.line, 2U);
    EXPECT_EQ(fields.cause,
              "The quoted text goes on over the end of a block of 16 MiB; the reader needs all "
              "quotes of a block closed.");
}

TEST(DiagnoseQuote, LeavesAFileAloneThatWasPutRightMeanwhile)
{
    const TemporaryFolder folder;
    FailureFields fields;
    fields.code = "unmatched-quote";
    fields.what = "as it was";
    fields.file = folder.File("a.csv", "a,\"b\"\n").ToUtf8();
    Diagnose({BParamList()}, fields);
    EXPECT_EQ(fields.line, 0U);
    EXPECT_EQ(fields.what, "as it was");
}

} // namespace
