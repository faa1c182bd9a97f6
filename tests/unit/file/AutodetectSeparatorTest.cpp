// Choosing between comma and tab by the next two lines.
#include "file/AsciiFile.h"
#include "support/TestFiles.h"
#include "text/SplitPatterns.h"

#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using AsciiReader::AsciiFile;
using AsciiReader::SplitPatterns::CommaSplit;
using AsciiReader::SplitPatterns::TabSplit;
using Orvane::BString;
using TestSupport::ExpectBException;
using TestSupport::ExpectSubclass;
using TestSupport::Options;
using TestSupport::TemporaryFolder;
using TestSupport::Texts;

struct DetectionCase
{
    const char* name;
    const char* bytes;
    bool isTab;
};

void PrintTo(const DetectionCase& detectionCase, std::ostream* stream)
{
    *stream << testing::PrintToString(std::string(detectionCase.bytes));
}

class AsciiFileAutodetectSeparator : public testing::TestWithParam<DetectionCase>
{
protected:
    TemporaryFolder m_folder;
};

TEST_P(AsciiFileAutodetectSeparator, ComparesTheFieldCountsOfTwoLines)
{
    AsciiFile file(m_folder.File("a.txt", GetParam().bytes), AsciiFile::kRead, Options());
    file.Open();
    file.AutodetectSeparator();
    EXPECT_EQ(file.GetSeparator().pattern(),
              GetParam().isTab ? TabSplit().pattern() : CommaSplit().pattern());
}

TEST_P(AsciiFileAutodetectSeparator, ConsumesNothing)
{
    AsciiFile file(m_folder.File("a.txt", GetParam().bytes), AsciiFile::kRead, Options());
    AsciiFile other(file.GetFullPath(), AsciiFile::kRead, Options());
    file.Open();
    other.Open();
    file.AutodetectSeparator();
    file.AutodetectSeparator();
    for (int i = 0; i < 5; ++i) {
        BString line;
        BString expected;
        file.GetSafeLine(line);
        other.GetSafeLine(expected);
        EXPECT_EQ(line, expected) << i;
    }
    EXPECT_TRUE(file.AtEnd());
}

constexpr DetectionCase kDetections[] = {
    {"ThreeFieldsByCommaGiveComma", "a,b,c\n1,2,3\n", false},
    {"ThreeFieldsByTabGiveTab", "a\tb\tc\n1\t2\t3\n", true},
    {"BothGiveComma", "a,b,c\td\te\n1,2,3\t4\t5\n", false},
    {"NeitherGivesComma", "a\nb\n", false},
    {"OtherCommaCountsAndTwoTabFieldsGiveTab", "a\tb\n1,5\t2\n", true},
    {"OtherCommaCountsAndEqualTabsGiveTab", "x,y\ta,b\tc\n1\t2\t3\n", true},
    {"OtherCountsOfBothGiveComma", "a,b\tc\n1\t2\t3\n", false},
    {"EqualCommasAndOtherTabsGiveComma", "a,b\tc\n1,2\n", false},
    {"CommasInsideQuotesDoNotCount", "\"a,b\"\tc\n\"1,2\"\t3\n", true},
    {"TabsInsideQuotesDoNotCount", "\"a\tb\"\n\"1\t2\"\n", false},
    {"OneLineGivesComma", "a\tb\tc\n", false},
    {"TwoTabFieldsSuffice", "a\tb\n1\t2\n", true},
    {"BlanksAreNeverChosen", "a b c\n1 2 3\n", false},
    {"BlankLinesAreSkipped", "\na\tb\n\n1\t2\n", true},
    {"OnlyTabsHaveNoFields", "\t\t\n\t\t\n", false},
    {"AQuotedLineBreakIsOneLine", "\"a\nb\"\tc\n1\t2\n3\n", true},
};

INSTANTIATE_TEST_SUITE_P(,
                         AsciiFileAutodetectSeparator,
                         testing::ValuesIn(kDetections),
                         TestSupport::CaseName());

class AsciiFileAutodetectSeparatorRules : public testing::Test
{
protected:
    TemporaryFolder m_folder;
};

TEST_F(AsciiFileAutodetectSeparatorRules, LooksAtHeaderLinesToo)
{
    AsciiFile file(m_folder.File("a.txt", "# one,two\na\tb\n1\t2\n"),
                   AsciiFile::kRead,
                   Options().Set(Orvane::ASCII_HEADER_COUNT, 1));
    file.Open();
    file.AutodetectSeparator();
    EXPECT_EQ(file.GetSeparator().pattern(), CommaSplit().pattern());
}

TEST_F(AsciiFileAutodetectSeparatorRules, LooksAtTheLinesThatComeNext)
{
    AsciiFile file(m_folder.File("a.txt", "# one\na\tb\n1\t2\n"), AsciiFile::kRead, Options());
    file.Open();
    BString line;
    file.GetSafeLine(line);
    file.AutodetectSeparator();
    EXPECT_EQ(file.GetSeparator().pattern(), TabSplit().pattern());
    file.GetSafeLine(line);
    EXPECT_EQ(line, BString("a\tb"));
}

TEST_F(AsciiFileAutodetectSeparatorRules, LooksAtBlankLinesWhenTheyAreKept)
{
    AsciiFile file(m_folder.File("a.txt", "a\tb\n\n1\t2\n"),
                   AsciiFile::kRead,
                   Options().Set(Orvane::IGNORE_BLANK_ROWS, false));
    file.Open();
    file.AutodetectSeparator();
    EXPECT_EQ(file.GetSeparator().pattern(), CommaSplit().pattern());
    BString line;
    file.GetSafeLine(line);
    EXPECT_EQ(line, BString("a\tb"));
    file.GetSafeLine(line);
    EXPECT_TRUE(line.IsEmpty());
    file.GetSafeLine(line);
    EXPECT_EQ(line, BString("1\t2"));
}

TEST_F(AsciiFileAutodetectSeparatorRules, LeavesTheOnlyLineToBeRead)
{
    AsciiFile file(m_folder.File("a.txt", "a,b"), AsciiFile::kRead, Options());
    file.Open();
    file.Read();
    file.AutodetectSeparator();
    file.BuildSchema();
    file.CreateLayer();
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_EQ(file.GetLayer()->GetFeatures().GetCount(), 1U);
}

TEST_F(AsciiFileAutodetectSeparatorRules, RefusesAFileThatIsNotInReadMode)
{
    AsciiFile file(m_folder.Name("out.txt"), AsciiFile::kWrite, Options());
    file.Open();
    ExpectBException([&] { file.AutodetectSeparator(); },
                     "The file is not in read mode.",
                     "AsciiFile::AutodetectSeparator");
}

TEST_F(AsciiFileAutodetectSeparatorRules, PassesAnUnmatchedQuoteOn)
{
    AsciiFile file(m_folder.File("a.txt", "\"a\nb\n"), AsciiFile::kRead, Options());
    file.Open();
    ExpectSubclass([&] { file.AutodetectSeparator(); },
                   "BFileContentNotValidException",
                   "AsciiFile::GetSafeLine",
                   "File contains an unmatched quote.");
}

} // namespace
