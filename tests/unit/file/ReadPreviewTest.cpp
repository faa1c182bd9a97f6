// The first two lines by column.
#include "file/AsciiFile.h"
#include "support/TestFiles.h"
#include "text/SplitPatterns.h"

#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using AsciiReader::AsciiFile;
using Orvane::BParamList;
using Orvane::BString;
using TestSupport::Describe;
using TestSupport::ExpectBException;
using TestSupport::ExpectSubclass;
using TestSupport::Options;
using TestSupport::TemporaryFolder;
using TestSupport::Texts;

/// The entries of a preview, "key=type:value" each, in order.
std::vector<std::string> Entries(const BParamList& preview)
{
    std::vector<std::string> result;
    for (std::size_t i = 0; i < preview.GetCount(); ++i) {
        result.push_back(preview.GetKeyAt(i).ToUtf8() + "=" + Describe(preview.GetValueAt(i)));
    }
    return result;
}

class AsciiFileReadPreview : public testing::Test
{
protected:
    std::vector<std::string> Preview(std::string_view bytes, const Options& options = Options())
    {
        AsciiFile file(m_folder.File("a.csv", bytes), AsciiFile::kRead, options);
        file.Open();
        return Entries(file.ReadPreview());
    }

    TemporaryFolder m_folder;
};

using Lines = std::vector<std::string>;

TEST_F(AsciiFileReadPreview, SeesColumnNamesOverDataOfOtherTypes)
{
    EXPECT_EQ(Preview("x,y,name\n1.5,2,Ann\n"),
              (Lines{"0=14:[x][1.5]",
                     "1=14:[y][2]",
                     "2=14:[name][Ann]",
                     "FIRST_LINE_COLUMN_NAMES=11:1",
                     "NUM_COLUMNS=5:3"}));
}

TEST_F(AsciiFileReadPreview, SeesNoColumnNamesInTwoNumericLines)
{
    EXPECT_EQ(
        Preview("1,2\n3,4\n"),
        (Lines{"0=14:[1][3]", "1=14:[2][4]", "FIRST_LINE_COLUMN_NAMES=11:0", "NUM_COLUMNS=5:2"}));
}

TEST_F(AsciiFileReadPreview, SeesNoColumnNamesInTwoLinesOfText)
{
    EXPECT_EQ(Preview("a,b\nc,d\n").at(2), "FIRST_LINE_COLUMN_NAMES=11:0");
}

TEST_F(AsciiFileReadPreview, SeesColumnNamesWhenOneColumnDiffers)
{
    EXPECT_EQ(Preview("a,1\nb,1.5\n").at(2), "FIRST_LINE_COLUMN_NAMES=11:1");
}

TEST_F(AsciiFileReadPreview, RefusesLinesOfDifferentFieldCounts)
{
    ExpectSubclass([this] { (void)Preview("1,2,3\n1,2,3,4\n"); },
                   "BFileContentNotValidException",
                   "AsciiFile::ReadPreview",
                   "The number of records on first and second line differs.");
}

TEST_F(AsciiFileReadPreview, GivesEmptySecondFieldsForOneLine)
{
    const Lines expected{
        "0=14:[a][]", "1=14:[1][]", "FIRST_LINE_COLUMN_NAMES=11:0", "NUM_COLUMNS=5:2"};
    EXPECT_EQ(Preview("a,1\n"), expected);
    EXPECT_EQ(Preview("a,1"), expected);
    EXPECT_EQ(Preview("a,1\n\n\n"), expected);
}

TEST_F(AsciiFileReadPreview, CountsASecondLineOfBlanksAsNone)
{
    EXPECT_EQ(
        Preview("a,1\n   \n"),
        (Lines{"0=14:[a][]", "1=14:[1][]", "FIRST_LINE_COLUMN_NAMES=11:0", "NUM_COLUMNS=5:2"}));
}

TEST_F(AsciiFileReadPreview, SkipsLinesThatAreBlankWhenTrimmed)
{
    EXPECT_EQ(Preview("  \n\t\na,b\n \n1,2\n").front(), "0=14:[a][1]");
}

TEST_F(AsciiFileReadPreview, KeepsTheFieldsUntrimmed)
{
    EXPECT_EQ(
        Preview(" a ,b \n 1,2 \n"),
        (Lines{
            "0=14:[ a ][ 1]", "1=14:[b ][2 ]", "FIRST_LINE_COLUMN_NAMES=11:0", "NUM_COLUMNS=5:2"}));
}

TEST_F(AsciiFileReadPreview, UnquotesFieldsAndKeepsQuotedLineBreaks)
{
    EXPECT_EQ(
        Preview("\"a\nb\",\"c,d\"\n1,2\n"),
        (Lines{
            "0=14:[a\nb][1]", "1=14:[c,d][2]", "FIRST_LINE_COLUMN_NAMES=11:1", "NUM_COLUMNS=5:2"}));
}

// Rule: the trimmed and joined text only steers the reading; what is split is the last line handed
// out, which is the empty line after an unbalanced last line.
TEST_F(AsciiFileReadPreview, SplitsTheLineHandedOutLastAndNotTheJoinedText)
{
    EXPECT_EQ(Preview("\"ab,c"), (Lines{"FIRST_LINE_COLUMN_NAMES=11:0", "NUM_COLUMNS=5:0"}));
}

TEST_F(AsciiFileReadPreview, RefusesAnUnbalancedLastLineAsSecondLine)
{
    ExpectSubclass([this] { (void)Preview("a,b\n\"cd,e"); },
                   "BFileContentNotValidException",
                   "AsciiFile::ReadPreview",
                   "The number of records on first and second line differs.");
}

TEST_F(AsciiFileReadPreview, HasNoColumnsForAFileOfBlankLines)
{
    EXPECT_EQ(Preview("\n\n"), (Lines{"FIRST_LINE_COLUMN_NAMES=11:0", "NUM_COLUMNS=5:0"}));
}

TEST_F(AsciiFileReadPreview, HasNoColumnsForTwoLinesOfEmptyFields)
{
    EXPECT_EQ(Preview(",,\n,,\n"), (Lines{"FIRST_LINE_COLUMN_NAMES=11:0", "NUM_COLUMNS=5:0"}));
}

TEST_F(AsciiFileReadPreview, DoesNotSkipHeaderLines)
{
    EXPECT_EQ(Preview("h,i\n1,2\n3,4\n", Options().Set(Orvane::ASCII_HEADER_COUNT, 1)).front(),
              "0=14:[h][1]");
}

TEST_F(AsciiFileReadPreview, UsesTheSeparatorThatIsSet)
{
    AsciiFile file(m_folder.File("a.csv", "a\tb\n1\t2\n"), AsciiFile::kRead, Options());
    file.Open();
    file.SetSeparator(AsciiReader::SplitPatterns::TabSplit());
    EXPECT_EQ(file.ReadPreview().GetInteger(Orvane::NUM_COLUMNS), 2);
}

TEST_F(AsciiFileReadPreview, HasNoColumnsForFixedWidths)
{
    AsciiFile file(m_folder.File("a.csv", "ab\ncd\n"), AsciiFile::kRead, Options());
    file.Open();
    file.SetColumnWidths({1, 1});
    EXPECT_EQ(Entries(file.ReadPreview()),
              (Lines{"FIRST_LINE_COLUMN_NAMES=11:0", "NUM_COLUMNS=5:0"}));
}

TEST_F(AsciiFileReadPreview, ClearsTheSampleLines)
{
    AsciiFile file(m_folder.File("a.csv", "a,b\n1,2\n"), AsciiFile::kRead, Options());
    file.Open();
    file.Read();
    ASSERT_EQ(file.GetSampleLines().size(), 2U);
    (void)file.ReadPreview();
    EXPECT_TRUE(file.GetSampleLines().empty());
}

// Rule: a preview consumes its lines; a later read starts after them.
TEST_F(AsciiFileReadPreview, ConsumesTheLinesItShows)
{
    AsciiFile file(
        m_folder.File("a.csv", "1,2\n3,4\n5,6\n7,8\n9,10\n"), AsciiFile::kRead, Options());
    file.Open();
    file.Read();
    file.BuildSchema();
    file.CreateLayer();
    EXPECT_EQ(Entries(file.ReadPreview()).front(), "0=14:[1][3]");
    EXPECT_EQ(Entries(file.ReadPreview()).front(), "0=14:[5][7]");
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_EQ(Describe(*file.GetLayer()), (Lines{"1 (-) C1=5:9 C2=5:10"}));
}

// Rule: the preview names AsciiFile::Read as its location.
TEST_F(AsciiFileReadPreview, NamesAsciiFileReadWhenTheFileIsNotInReadMode)
{
    AsciiFile file(m_folder.Name("out.csv"), AsciiFile::kWrite, Options());
    file.Open();
    ExpectBException(
        [&] { (void)file.ReadPreview(); }, "The file is not in read mode.", "AsciiFile::Read");
}

TEST_F(AsciiFileReadPreview, PassesAnUnmatchedQuoteOn)
{
    ExpectSubclass([this] { (void)Preview("\"a\nb\n"); },
                   "BFileContentNotValidException",
                   "AsciiFile::GetSafeLine",
                   "File contains an unmatched quote.");
}

} // namespace
