// Header lines and the sample pass.
#include "file/AsciiFile.h"
#include "support/TestFiles.h"
#include "text/OptionRules.h"

#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using AsciiReader::AsciiFile;
using AsciiReader::OptionRules::SampleSizeKey;
using Orvane::BString;
using TestSupport::ExpectSubclass;
using TestSupport::Options;
using TestSupport::TemporaryFolder;
using TestSupport::Texts;

const char* const kTenLines = "l1\nl2\nl3\nl4\nl5\nl6\nl7\nl8\nl9\nl10\n";

class AsciiFileRead : public testing::Test
{
protected:
    Texts Samples(std::string_view bytes, const Options& options)
    {
        Make(bytes, options);
        m_file->Read();
        return m_file->GetSampleLines();
    }

    void Make(std::string_view bytes, const Options& options)
    {
        m_file =
            std::make_unique<AsciiFile>(m_folder.File("a.csv", bytes), AsciiFile::kRead, options);
        m_file->Open();
    }

    TemporaryFolder m_folder;
    std::unique_ptr<AsciiFile> m_file;
};

TEST_F(AsciiFileRead, KeepsFiveSampleLinesByDefault)
{
    EXPECT_EQ(Samples(kTenLines, Options()), (Texts{"l1", "l2", "l3", "l4", "l5"}));
}

TEST_F(AsciiFileRead, KeepsAllLinesOfAShorterFile)
{
    EXPECT_EQ(Samples("l1\nl2", Options()), (Texts{"l1", "l2"}));
}

TEST_F(AsciiFileRead, KeepsAsManyLinesAsTheSampleSizeSays)
{
    EXPECT_EQ(Samples(kTenLines, Options().Set(SampleSizeKey(), 2)), (Texts{"l1", "l2"}));
    EXPECT_EQ(Samples(kTenLines, Options().Set(SampleSizeKey(), BString("3"))),
              (Texts{"l1", "l2", "l3"}));
    EXPECT_EQ(Samples(kTenLines, Options().Set(SampleSizeKey(), 100)).size(), 10U);
}

TEST_F(AsciiFileRead, KeepsNoLinesForASampleSizeOfZeroOrLessAndRewinds)
{
    for (const int size : {0, -1, -5}) {
        EXPECT_TRUE(Samples(kTenLines, Options().Set(SampleSizeKey(), size)).empty()) << size;
        BString line;
        m_file->GetSafeLine(line);
        EXPECT_EQ(line, BString("l1"));
    }
}

TEST_F(AsciiFileRead, EndsWithoutReadableDataWhenTheSampleIsEmpty)
{
    for (const int size : {0, -1}) {
        Make(kTenLines, Options().Set(SampleSizeKey(), size));
        m_file->Read();
        ExpectSubclass([this] { m_file->BuildSchema(); },
                       "BFileContentNotValidException",
                       "AsciiSchema::Schema",
                       "There was no readable data in the file.");
    }
}

TEST_F(AsciiFileRead, RewindsTheFile)
{
    Make("l1\nl2\n", Options());
    BString line;
    m_file->GetSafeLine(line);
    EXPECT_EQ(line, BString("l1"));
    m_file->Read();
    EXPECT_EQ(m_file->GetSampleLines(), (Texts{"l2"}));
    m_file->GetSafeLine(line);
    EXPECT_EQ(line, BString("l1"));
    m_file->GetSafeLine(line);
    EXPECT_EQ(line, BString("l2"));
}

TEST_F(AsciiFileRead, ClearsTheSamplesOfAnEarlierCall)
{
    Make("l1\nl2\n", Options());
    m_file->Read();
    m_file->Read();
    EXPECT_EQ(m_file->GetSampleLines(), (Texts{"l1", "l2"}));
}

TEST_F(AsciiFileRead, LeavesBlankLinesOutOfTheSampleWhenTheyAreIgnored)
{
    EXPECT_EQ(Samples("\nl1\n\nl2\n\n", Options()), (Texts{"l1", "l2"}));
}

TEST_F(AsciiFileRead, KeepsBlankLinesInTheSampleWhenTheyAreKept)
{
    EXPECT_EQ(Samples("\nl1\n\nl2\n", Options().Set(Orvane::IGNORE_BLANK_ROWS, false)),
              (Texts{"", "l1", "", "l2"}));
}

TEST_F(AsciiFileRead, KeepsAQuotedLineBreakInsideOneSampleLine)
{
    EXPECT_EQ(Samples("\"a\nb\",1\nc,2\n", Options()), (Texts{"\"a\nb\",1", "c,2"}));
}

TEST_F(AsciiFileRead, KeepsTheLineOfColumnNamesInTheSample)
{
    EXPECT_EQ(Samples("name\n1\n", Options().Names()), (Texts{"name", "1"}));
}

TEST_F(AsciiFileRead, SkipsTheCountedHeaderLines)
{
    EXPECT_EQ(
        Samples(kTenLines, Options().Set(Orvane::ASCII_HEADER_COUNT, 2).Set(SampleSizeKey(), 5)),
        (Texts{"l3", "l4", "l5", "l6", "l7"}));
}

TEST_F(AsciiFileRead, CountsHeaderLinesAnewOnEachCall)
{
    Make(kTenLines, Options().Set(Orvane::ASCII_HEADER_COUNT, 8));
    m_file->Read();
    m_file->Read();
    EXPECT_EQ(m_file->GetSampleLines(), (Texts{"l9", "l10"}));
}

TEST_F(AsciiFileRead, SkipsLinesThatBeginWithAnIdentifierAnywhere)
{
    EXPECT_EQ(Samples("# a\nl1\n;b\nl2\n #\n",
                      Options().Set(Orvane::ASCII_HEADER_IDENTIFIER, Texts{"#", ";b"})),
              (Texts{"l1", "l2", " #"}));
}

TEST_F(AsciiFileRead, SkipsUpToAndWithTheFirstBlankLine)
{
    EXPECT_EQ(Samples("title\nunit\n\nl1\n\nl2\n",
                      Options()
                          .Set(Orvane::ASCII_HEADER_BLANK_LINE, true)
                          .Set(Orvane::IGNORE_BLANK_ROWS, false)),
              (Texts{"l1", "", "l2"}));
}

// Rule: the blank line that ends a header only shows when blank rows are kept.
TEST_F(AsciiFileRead, ReadsAllLinesAsTheHeaderWhenBlankRowsAreIgnored)
{
    EXPECT_EQ(Samples("title\n\nl1\n", Options().Set(Orvane::ASCII_HEADER_BLANK_LINE, true)),
              Texts{});
}

TEST_F(AsciiFileRead, PassesAnUnmatchedQuoteOn)
{
    ExpectSubclass([this] { (void)Samples("a\n\"b\nc\n", Options()); },
                   "BFileContentNotValidException",
                   "AsciiFile::GetSafeLine",
                   "File contains an unmatched quote.");
}

// --- header lines ------------------------------------------------------------------------------

TEST(AsciiFileIsHeaderLine, IsFalseWithoutHeaderOptions)
{
    AsciiFile file("some.csv", AsciiFile::kRead, Options());
    EXPECT_FALSE(file.IsHeaderLine("#"));
    EXPECT_FALSE(file.IsHeaderLine(""));
}

TEST(AsciiFileIsHeaderLine, ComparesTheStartOfTheLineWithEachIdentifier)
{
    AsciiFile file("some.csv",
                   AsciiFile::kRead,
                   Options().Set(Orvane::ASCII_HEADER_IDENTIFIER, Texts{"//", "#"}));
    EXPECT_TRUE(file.IsHeaderLine("#"));
    EXPECT_TRUE(file.IsHeaderLine("// text"));
    EXPECT_FALSE(file.IsHeaderLine("/ text"));
    EXPECT_FALSE(file.IsHeaderLine(" #"));
    EXPECT_FALSE(file.IsHeaderLine(""));
    EXPECT_TRUE(file.IsHeaderLine("# again"));
}

TEST(AsciiFileIsHeaderLine, MatchesEveryLineWithAnEmptyIdentifier)
{
    AsciiFile file(
        "some.csv", AsciiFile::kRead, Options().Set(Orvane::ASCII_HEADER_IDENTIFIER, Texts{""}));
    EXPECT_TRUE(file.IsHeaderLine("data"));
    EXPECT_TRUE(file.IsHeaderLine(""));
}

TEST(AsciiFileIsHeaderLine, DecidesByTheIdentifiersBeforeAllOtherOptions)
{
    AsciiFile file("some.csv",
                   AsciiFile::kRead,
                   Options()
                       .Set(Orvane::ASCII_HEADER_IDENTIFIER, Texts{})
                       .Set(Orvane::ASCII_HEADER_BLANK_LINE, true)
                       .Set(Orvane::ASCII_HEADER_COUNT, 5));
    EXPECT_FALSE(file.IsHeaderLine("a"));
    EXPECT_FALSE(file.IsHeaderLine(""));
}

TEST(AsciiFileIsHeaderLine, EndsTheHeaderWithTheBlankLine)
{
    AsciiFile file(
        "some.csv",
        AsciiFile::kRead,
        Options().Set(Orvane::ASCII_HEADER_BLANK_LINE, true).Set(Orvane::ASCII_HEADER_COUNT, 5));
    EXPECT_TRUE(file.IsHeaderLine("a"));
    EXPECT_TRUE(file.IsHeaderLine("b"));
    EXPECT_TRUE(file.IsHeaderLine(""));
    EXPECT_FALSE(file.IsHeaderLine("c"));
    EXPECT_FALSE(file.IsHeaderLine(""));
}

TEST(AsciiFileIsHeaderLine, GoesOnToTheCountWhenTheBlankLineOptionIsFalse)
{
    AsciiFile file(
        "some.csv",
        AsciiFile::kRead,
        Options().Set(Orvane::ASCII_HEADER_BLANK_LINE, false).Set(Orvane::ASCII_HEADER_COUNT, 2));
    EXPECT_TRUE(file.IsHeaderLine("a"));
    EXPECT_TRUE(file.IsHeaderLine(""));
    EXPECT_FALSE(file.IsHeaderLine("b"));
}

TEST(AsciiFileIsHeaderLine, NeverHoldsForACountOfZeroOrLess)
{
    AsciiFile none("some.csv", AsciiFile::kRead, Options().Set(Orvane::ASCII_HEADER_COUNT, 0));
    EXPECT_FALSE(none.IsHeaderLine("a"));
    AsciiFile less("some.csv", AsciiFile::kRead, Options().Set(Orvane::ASCII_HEADER_COUNT, -1));
    EXPECT_FALSE(less.IsHeaderLine("a"));
}

} // namespace
