// Logical lines: line endings, quotes, blocks, blank rows and codecs.
#include "file/AsciiFile.h"
#include "support/TestFiles.h"

#include <Orvane/BStringQt.h>
#include <Orvane/Constants.h>

#include <QByteArray>
#include <QString>
#include <QTextCodec>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace {

using AsciiReader::AsciiFile;
using AsciiReader::LineSource;
using Orvane::BString;
using TestSupport::ExpectBException;
using TestSupport::ExpectSubclass;
using TestSupport::Options;
using TestSupport::TemporaryFolder;
using TestSupport::Texts;

/// Every line that an open file hands out up to its end, with the blank lines that are kept.
Texts AllLines(AsciiFile& file)
{
    Texts lines;
    while (true) {
        BString line("not set");
        file.GetSafeLine(line);
        if (line.IsEmpty() && file.AtEnd()) {
            return lines;
        }
        lines.push_back(line);
    }
}

Texts LinesOf(std::string_view bytes,
              const Options& options = Options(),
              std::size_t blockSize = LineSource::kBlockSize)
{
    const TemporaryFolder folder;
    AsciiFile file(folder.File("lines.csv", bytes), AsciiFile::kRead, options, blockSize);
    file.Open();
    return AllLines(file);
}

Options KeepBlanks()
{
    return Options().Set(Orvane::IGNORE_BLANK_ROWS, false);
}

Options Codec(const char* name)
{
    return Options().Set("CODEC", BString(name));
}

struct LineCase
{
    const char* name;
    std::string bytes;
    Texts lines;
    Texts linesWithBlanks;
};

void PrintTo(const LineCase& lineCase, std::ostream* stream)
{
    *stream << testing::PrintToString(lineCase.bytes);
}

class AsciiFileGetSafeLine : public testing::TestWithParam<LineCase>
{};

TEST_P(AsciiFileGetSafeLine, HandsOutTheLinesThatAreNotBlank)
{
    EXPECT_EQ(LinesOf(GetParam().bytes), GetParam().lines);
}

TEST_P(AsciiFileGetSafeLine, HandsOutBlankLinesWhenTheyAreKept)
{
    EXPECT_EQ(LinesOf(GetParam().bytes, KeepBlanks()), GetParam().linesWithBlanks);
}

INSTANTIATE_TEST_SUITE_P(
    ,
    AsciiFileGetSafeLine,
    testing::Values(
        LineCase{"OneLine", "a\n", {"a"}, {"a"}},
        LineCase{"OneLineWithoutLineEnding", "a", {"a"}, {"a"}},
        LineCase{"TwoLines", "a\nb\n", {"a", "b"}, {"a", "b"}},
        LineCase{"TwoLinesWithoutLastLineEnding", "a\nb", {"a", "b"}, {"a", "b"}},
        LineCase{"CrLf", "a\r\nb\r\n", {"a", "b"}, {"a", "b"}},
        LineCase{"Cr", "a\rb\r", {"a", "b"}, {"a", "b"}},
        LineCase{"CrWithoutLastLineEnding", "a\rb", {"a", "b"}, {"a", "b"}},
        LineCase{"BlankLineInTheMiddle", "a\n\nb\n", {"a", "b"}, {"a", "", "b"}},
        LineCase{"BlankLineAtTheStart", "\na\n", {"a"}, {"", "a"}},
        LineCase{"BlankLineAtTheEnd", "a\n\n", {"a"}, {"a", ""}},
        LineCase{"TwoBlankLinesAtTheEnd", "a\n\n\n", {"a"}, {"a", "", ""}},
        LineCase{"OneLineEndingOnly", "\n", {}, {""}},
        LineCase{"BlankCrLfLines", "a\r\n\r\nb\r\n", {"a", "b"}, {"a", "", "b"}},
        LineCase{"KeepsAStrayCrInACrLfFile", "a\rb\r\nc\r\n", {"a\rb", "c"}, {"a\rb", "c"}},
        LineCase{"KeepsAStrayLfInACrLfFile", "a\nb\r\nc\r\n", {"a\nb", "c"}, {"a\nb", "c"}},
        LineCase{"KeepsAStrayCrInAnLfFile", "a\rb\nc\r", {"a\rb", "c"}, {"a\rb", "c"}},
        LineCase{"KeepsLfLinesTogetherWhenOneCrLfFollows", "a\nb\nc\r\n", {"a\nb\nc"}, {"a\nb\nc"}},
        LineCase{"KeepsTrailingWhiteSpace", "a \t\nb \n", {"a \t", "b "}, {"a \t", "b "}},
        LineCase{
            "TrimsTheEndOfALastLineWithoutLineEnding", " a \n b \t ", {" a ", " b"}, {" a ", " b"}},
        LineCase{"TrimsAStrayCrOffTheLastLine", "a\nb\r", {"a", "b"}, {"a", "b"}},
        LineCase{"KeepsALineOfBlanks", "a\n  \nb\n", {"a", "  ", "b"}, {"a", "  ", "b"}},
        LineCase{"TrimsALastLineOfBlanksToABlankLine", "a\n  ", {"a"}, {"a", ""}},
        LineCase{"KeepsAQuotedLineBreakInsideOneLine",
                 "\"a\nb\",c\nd\n",
                 {"\"a\nb\",c", "d"},
                 {"\"a\nb\",c", "d"}},
        LineCase{"KeepsTwoQuotedLineBreaks",
                 "1,\"a\nb\nc\"\n2,d\n",
                 {"1,\"a\nb\nc\"", "2,d"},
                 {"1,\"a\nb\nc\"", "2,d"}},
        LineCase{"KeepsQuotedCrLfAsItIs",
                 "\"a\r\n\r\nb\"\r\nc\r\n",
                 {"\"a\r\n\r\nb\"", "c"},
                 {"\"a\r\n\r\nb\"", "c"}},
        LineCase{"KeepsAQuotedCr", "\"a\rb\"\rc\r", {"\"a\rb\"", "c"}, {"\"a\rb\"", "c"}},
        LineCase{"CountsBothQuotesOfAnEscapedPair",
                 "\"a\"\"b\"\nc\n",
                 {"\"a\"\"b\"", "c"},
                 {"\"a\"\"b\"", "c"}},
        LineCase{"JoinsLinesAtAQuoteInTheMiddleOfAField",
                 "a\"b\nc\"d\ne\n",
                 {"a\"b\nc\"d", "e"},
                 {"a\"b\nc\"d", "e"}},
        LineCase{"CountsAQuoteAfterABackslash",
                 "\"a\\\"\"\nb\"\nc\n",
                 {"\"a\\\"\"\nb\"", "c"},
                 {"\"a\\\"\"\nb\"", "c"}},
        LineCase{
            "KeepsBlankLinesInsideQuotes", "\"a\n\n\nb\"\n", {"\"a\n\n\nb\""}, {"\"a\n\n\nb\""}},
        LineCase{"KeepsAQuotedFieldThatBeginsWithALineBreak",
                 "\"\na\"\nb\n",
                 {"\"\na\"", "b"},
                 {"\"\na\"", "b"}},
        LineCase{"KeepsNulBytes",
                 std::string("a\0b\nc\n", 6),
                 {BString::FromUtf8(std::string_view("a\0b", 3)), "c"},
                 {BString::FromUtf8(std::string_view("a\0b", 3)), "c"}},
        LineCase{"HandsOutAnUnbalancedLastLineWithoutLineEndingAsWritten",
                 "a\n\"b",
                 {"a", "\"b"},
                 {"a", "\"b"}}),
    TestSupport::CaseName());

TEST(AsciiFileGetSafeLineEnd, GivesAnEmptyLineAgainAndAgain)
{
    const TemporaryFolder folder;
    AsciiFile file(folder.File("a.csv", "a\n"), AsciiFile::kRead, Options());
    file.Open();
    EXPECT_EQ(AllLines(file), (Texts{"a"}));
    for (int i = 0; i < 3; ++i) {
        BString line("not set");
        file.GetLine(line);
        EXPECT_TRUE(line.IsEmpty());
        EXPECT_TRUE(file.AtEnd());
    }
}

TEST(AsciiFileGetSafeLineEnd, IsNotReachedWhileAnEmptyLineIsPending)
{
    const TemporaryFolder folder;
    AsciiFile file(folder.File("a.csv", "a\n"), AsciiFile::kRead, Options());
    file.Open();
    EXPECT_FALSE(file.AtEnd());
    BString line;
    file.GetSafeLine(line);
    EXPECT_EQ(line, BString("a"));
    EXPECT_FALSE(file.AtEnd());
    file.GetSafeLine(line);
    EXPECT_TRUE(line.IsEmpty());
    EXPECT_TRUE(file.AtEnd());
}

TEST(AsciiFileGetSafeLineQuotes, FailsForAFileThatEndsInsideAnOpenQuote)
{
    ExpectSubclass([] { (void)LinesOf("\"a\nb\n"); },
                   "BFileContentNotValidException",
                   "AsciiFile::GetSafeLine",
                   "File contains an unmatched quote.");
}

TEST(AsciiFileGetSafeLineQuotes, FailsWhenOnlyAnUnfinishedLastLineClosesTheQuote)
{
    ExpectSubclass([] { (void)LinesOf("\"a\nb\""); },
                   "BFileContentNotValidException",
                   "AsciiFile::GetSafeLine",
                   "File contains an unmatched quote.");
}

// Rule: lines before the open quote stay pending.
TEST(AsciiFileGetSafeLineQuotes, KeepsTheLinesBeforeAnUnmatchedQuotePending)
{
    const TemporaryFolder folder;
    AsciiFile file(folder.File("a.csv", "a\nb\n\"c\nd\n"), AsciiFile::kRead, Options());
    file.Open();
    BString line;
    ExpectSubclass([&] { file.GetSafeLine(line); },
                   "BFileContentNotValidException",
                   "AsciiFile::GetSafeLine",
                   "File contains an unmatched quote.");
    file.GetSafeLine(line);
    EXPECT_EQ(line, BString("a"));
    file.GetSafeLine(line);
    EXPECT_EQ(line, BString("b"));
}

// --- blocks ------------------------------------------------------------------------------------

TEST(AsciiFileGetSafeLineBlocks, GiveTheSameLinesWhateverTheirSize)
{
    const std::string bytes = "first,1\nsecond,22\n3\nfourth line is long,4444\n5";
    const Texts expected{"first,1", "second,22", "3", "fourth line is long,4444", "5"};
    for (std::size_t blockSize = 1; blockSize <= bytes.size() + 1; ++blockSize) {
        EXPECT_EQ(LinesOf(bytes, Options(), blockSize), expected) << blockSize;
    }
}

TEST(AsciiFileGetSafeLineBlocks, AreFilledAgainForOneLineThatSpansMany)
{
    const std::string longLine(5000, 'x');
    EXPECT_EQ(LinesOf(longLine + "\ny\n", Options(), 16), (Texts{BString(longLine), "y"}));
    EXPECT_EQ(LinesOf(longLine, Options(), 16), (Texts{BString(longLine)}));
    EXPECT_EQ(LinesOf("a\n" + longLine, Options(), 7), (Texts{"a", BString(longLine)}));
}

TEST(AsciiFileGetSafeLineBlocks, AreFilledAgainWhenTheyHoldBlankLinesOnly)
{
    const std::string blanks(5000, '\n');
    EXPECT_EQ(LinesOf(blanks + "a\n", Options(), 16), (Texts{"a"}));
    EXPECT_EQ(LinesOf("a\n" + blanks + "b" + blanks, Options(), 16), (Texts{"a", "b"}));
}

TEST(AsciiFileGetSafeLineBlocks, DoNotCutALineThatIsAsLongAsABlock)
{
    EXPECT_EQ(LinesOf("abc\ndef\nghi\n", Options(), 4), (Texts{"abc", "def", "ghi"}));
    EXPECT_EQ(LinesOf("abc\ndef\n", Options(), 3), (Texts{"abc", "def"}));
}

// Rule: blank lines at the end of a block are dropped, even when blank rows are kept.
TEST(AsciiFileGetSafeLineBlocks, DropBlankLinesAtTheEndOfABlockThatIsNotTheLast)
{
    EXPECT_EQ(LinesOf("a\n\n\nb\n\nc\n", KeepBlanks(), 4), (Texts{"a", "b", "c"}));
    EXPECT_EQ(LinesOf("a\n\n\nb\n\nc\n", KeepBlanks()), (Texts{"a", "", "", "b", "", "c"}));
}

// Rule: a block that begins inside a run of blank lines keeps its leading blank lines.
TEST(AsciiFileGetSafeLineBlocks, KeepBlankLinesAtTheStartOfABlock)
{
    EXPECT_EQ(LinesOf("abc\n\n\nd\n", KeepBlanks(), 4), (Texts{"abc", "", "", "d"}));
}

// Rule: each block is cut by one kind of line ending, its own.
TEST(AsciiFileGetSafeLineBlocks, ChooseTheLineEndingForEachBlock)
{
    EXPECT_EQ(LinesOf("a\r\nb\r\nc\nd\ne\n", Options(), 6), (Texts{"a", "b", "c", "d", "e"}));
    EXPECT_EQ(LinesOf("a\r\nb\r\nc\nd\ne\n", Options()), (Texts{"a", "b", "c\nd\ne"}));
}

// Rule: a CR LF pair that a block's end cuts counts as a CR and an LF.
TEST(AsciiFileGetSafeLineBlocks, CountACutCrLfAsTwoEndings)
{
    EXPECT_EQ(LinesOf("abc\r\nde\n", KeepBlanks(), 4), (Texts{"abc", "", "de"}));
    EXPECT_EQ(LinesOf("abc\r\nde\n", Options(), 4), (Texts{"abc", "de"}));
    EXPECT_EQ(LinesOf("abc\r\nde\n", KeepBlanks()), (Texts{"abc", "de"}));
}

TEST(AsciiFileGetSafeLineBlocks, KeepACrLfWholeThatFollowsAnotherInTheBlock)
{
    EXPECT_EQ(LinesOf("a\r\nb\r\nc\r\n", KeepBlanks(), 5), (Texts{"a", "b", "c"}));
}

// Rule: a quoted field whose line breaks straddle a block boundary is an unmatched quote.
TEST(AsciiFileGetSafeLineBlocks, FailForAQuotedLineBreakAtABlockBoundary)
{
    const std::string bytes = "\"ab\ncd\nef\"\ng\n";
    ExpectSubclass([&] { (void)LinesOf(bytes, Options(), 8); },
                   "BFileContentNotValidException",
                   "AsciiFile::GetSafeLine",
                   "File contains an unmatched quote.");
    EXPECT_EQ(LinesOf(bytes), (Texts{"\"ab\ncd\nef\"", "g"}));
}

TEST(AsciiFileGetSafeLineBlocks, JoinAQuotedFieldWhoseLineBreaksStandInOneBlock)
{
    // The first block ends inside the quotes, before the first line break.
    EXPECT_EQ(LinesOf("a\n\"bcd\ne\"\nf\n", Options(), 5), (Texts{"a", "\"bcd\ne\"", "f"}));
}

// Rule: a block has 16 MiB; the place of a quoted line break in it decides.
TEST(AsciiFileGetSafeLineBlocks, HaveSixteenMebibytes)
{
    constexpr std::size_t kMebibytes16 = 16777216;
    ASSERT_EQ(LineSource::kBlockSize, kMebibytes16);
    // The first block ends after the quoted line break, so the quote stays open in it.
    const std::string open = std::string(kMebibytes16 - 3, 'x') + "\n\"\nb\"\n";
    ExpectSubclass([&] { (void)LinesOf(open); },
                   "BFileContentNotValidException",
                   "AsciiFile::GetSafeLine",
                   "File contains an unmatched quote.");
    // With one more character the line break moves to the second block, beside the closing quote.
    const std::string closed = std::string(kMebibytes16 - 2, 'x') + "\n\"\nb\"\n";
    const Texts lines = LinesOf(closed);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].GetLength(), kMebibytes16 - 2);
    EXPECT_EQ(lines[1], BString("\"\nb\""));
}

// --- codecs ------------------------------------------------------------------------------------

TEST(AsciiFileGetSafeLineCodec, IsLatin1ByDefault)
{
    EXPECT_EQ(LinesOf("\xe9\x80\xff\n"), (Texts{u"\u00e9\u0080\u00ff"}));
    EXPECT_EQ(LinesOf("\xc3\xa9\n"), (Texts{u"\u00c3\u00a9"}));
}

TEST(AsciiFileGetSafeLineCodec, IsTheOneNamed)
{
    EXPECT_EQ(LinesOf("\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\n", Codec("UTF-8")),
              (Texts{u"\u00e9\u20ac\U0001F600"}));
    EXPECT_EQ(LinesOf("\xe9\n", Codec("ISO-8859-5")), (Texts{u"\u0449"}));
    EXPECT_EQ(LinesOf("\x80\n", Codec("windows-1252")), (Texts{u"\u20ac"}));
}

TEST(AsciiFileGetSafeLineCodec, NameIsComparedWithoutCaseAndPunctuation)
{
    EXPECT_EQ(LinesOf("\xc3\xa9\n", Codec("utf8")), (Texts{u"\u00e9"}));
    EXPECT_EQ(LinesOf("\xc3\xa9\n", Codec("Utf_8")), (Texts{u"\u00e9"}));
}

class AsciiFileGetSafeLineLocaleCodec : public testing::Test
{
protected:
    AsciiFileGetSafeLineLocaleCodec()
        : m_previous(QTextCodec::codecForLocale())
    {
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-5"));
    }

    ~AsciiFileGetSafeLineLocaleCodec() override { QTextCodec::setCodecForLocale(m_previous); }

private:
    QTextCodec* m_previous;
};

TEST_F(AsciiFileGetSafeLineLocaleCodec, IsUsedWhenItsKeyIsPresentAndEmpty)
{
    EXPECT_EQ(LinesOf("\xe9\n", Options().Set("CODECFORLOCALE", BString())), (Texts{u"\u0449"}));
}

TEST_F(AsciiFileGetSafeLineLocaleCodec, IsUsedWhenItsKeyIsFalse)
{
    EXPECT_EQ(LinesOf("\xe9\n", Options().Set("CODECFORLOCALE", false)), (Texts{u"\u0449"}));
}

TEST_F(AsciiFileGetSafeLineLocaleCodec, YieldsToANamedCodec)
{
    EXPECT_EQ(LinesOf("\xe9\n", Codec("ISO-8859-1").Set("CODECFORLOCALE", true)),
              (Texts{u"\u00e9"}));
}

TEST_F(AsciiFileGetSafeLineLocaleCodec, IsNotUsedWithoutItsKey)
{
    EXPECT_EQ(LinesOf("\xe9\n"), (Texts{u"\u00e9"}));
}

TEST(AsciiFileGetSafeLineCodec, FailsAtTheFirstLineForAnUnknownName)
{
    const TemporaryFolder folder;
    AsciiFile file(folder.File("a.csv", "a\n"), AsciiFile::kRead, Codec("no such codec"));
    file.Open();
    EXPECT_EQ(file.GetMode(), AsciiFile::kRead);
    ExpectBException(
        [&] {
            BString line;
            file.GetSafeLine(line);
        },
        "The text codec <no such codec> is not available.",
        "AsciiFile::GetSafeLine");
}

TEST(AsciiFileGetSafeLineCodec, FailsForAnEmptyName)
{
    ExpectBException([] { (void)LinesOf("a\n", Codec("")); },
                     "The text codec <> is not available.",
                     "AsciiFile::GetSafeLine");
}

TEST(AsciiFileGetSafeLineCodec, KeepsCharactersOnABlocksSeamWhole)
{
    const std::string bytes = "\xc3\xa9\xe2\x82\xac\n\xf0\x9f\x98\x80x\nend\n";
    const Texts expected{u"\u00e9\u20ac", u"\U0001F600x", "end"};
    for (std::size_t blockSize = 1; blockSize <= bytes.size(); ++blockSize) {
        EXPECT_EQ(LinesOf(bytes, Codec("UTF-8"), blockSize), expected) << blockSize;
    }
}

TEST(AsciiFileGetSafeLineCodec, KeepsDoubleByteCharactersOnABlocksSeamWhole)
{
    const std::string bytes = "\xb0\xa1\xb3\xaa\n\xb4\xd9\n";
    ASSERT_NE(QTextCodec::codecForName("EUC-KR"), nullptr);
    const Texts expected{u"\uac00\ub098", u"\ub2e4"};
    for (std::size_t blockSize = 1; blockSize <= bytes.size(); ++blockSize) {
        EXPECT_EQ(LinesOf(bytes, Codec("EUC-KR"), blockSize), expected) << blockSize;
    }
}

TEST(AsciiFileGetSafeLineCodec, RemovesTheByteOrderMarkAtTheFileStart)
{
    const std::string bytes = "\xef\xbb\xbf"
                              "a\nb\n";
    for (std::size_t blockSize = 1; blockSize <= bytes.size(); ++blockSize) {
        EXPECT_EQ(LinesOf(bytes, Codec("UTF-8"), blockSize), (Texts{"a", "b"})) << blockSize;
    }
}

TEST(AsciiFileGetSafeLineCodec, KeepsAByteOrderMarkAfterTheFileStart)
{
    const std::string bytes = "abc\n\xef\xbb\xbf"
                              "d\n";
    for (std::size_t blockSize = 1; blockSize <= bytes.size(); ++blockSize) {
        EXPECT_EQ(LinesOf(bytes, Codec("UTF-8"), blockSize), (Texts{"abc", u"\ufeffd"}))
            << blockSize;
    }
}

TEST(AsciiFileGetSafeLineCodec, KeepsAUtf8ByteOrderMarkInLatin1)
{
    EXPECT_EQ(LinesOf("\xef\xbb\xbf"
                      "a\n"),
              (Texts{u"\u00ef\u00bb\u00bfa"}));
}

TEST(AsciiFileGetSafeLineCodec, ReadsUtf16WithAByteOrderMarkInBlocksOfAnySize)
{
    const QString text = QStringLiteral("a,\u20ac\n\U0001F600\nend\n");
    std::string bytes("\xff\xfe");
    for (const QChar unit : text) {
        bytes += static_cast<char>(unit.unicode() & 0xffU);
        bytes += static_cast<char>(unit.unicode() >> 8U);
    }
    const Texts expected{u"a,\u20ac", u"\U0001F600", "end"};
    EXPECT_EQ(LinesOf(bytes, Codec("UTF-16")), expected);
    EXPECT_EQ(LinesOf(bytes, Codec("UTF-16LE")), expected);
    for (std::size_t blockSize = 1; blockSize <= bytes.size(); ++blockSize) {
        EXPECT_EQ(LinesOf(bytes, Codec("UTF-16"), blockSize), expected) << blockSize;
    }
}

TEST(AsciiFileGetSafeLineCodec, DecodesACutCharacterThatIsAllOfTheFileAlikeInBlocksOfAnySize)
{
    for (const char* const codec : {"UTF-16", "UTF-32", "UTF-32LE", "GB18030", "EUC-KR"}) {
        for (const std::string& bytes :
             {std::string("\xd8"), std::string("\xab\0", 2), std::string("\0\0\xfe", 3)}) {
            const Texts expected = LinesOf(bytes, Codec(codec));
            for (std::size_t blockSize = 1; blockSize <= bytes.size(); ++blockSize) {
                EXPECT_EQ(LinesOf(bytes, Codec(codec), blockSize), expected)
                    << codec << ", " << bytes.size() << " bytes, blocks of " << blockSize;
            }
        }
    }
}

TEST(AsciiFileGetSafeLineCodec, StartsAnewWhenTheFileIsRewound)
{
    const TemporaryFolder folder;
    AsciiFile file(folder.File("a.csv",
                               "\xef\xbb\xbf"
                               "a\n\xc3\xa9\n"),
                   AsciiFile::kRead,
                   Codec("UTF-8"),
                   5);
    file.Open();
    file.Read();
    EXPECT_EQ(file.GetSampleLines(), (Texts{"a", u"\u00e9"}));
    EXPECT_EQ(AllLines(file), (Texts{"a", u"\u00e9"}));
}

TEST(AsciiFileGetSafeLineCodec, ReadsLinesOutsideOfAsciiWithQuotedBreaks)
{
    EXPECT_EQ(LinesOf("\"\xc3\xa9\n\xc3\xa8\",1\n2\n", Codec("UTF-8")),
              (Texts{u"\"\u00e9\n\u00e8\",1", "2"}));
}

} // namespace
