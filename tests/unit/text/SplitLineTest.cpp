// Cutting a logical line into fields.
#include "support/TestFiles.h"
#include "text/AsciiUtils.h"
#include "text/Separator.h"
#include "text/SplitPatterns.h"

#include <Orvane/BStringQt.h>

#include <QRegularExpression>
#include <QString>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using AsciiReader::Row;
using AsciiReader::AsciiUtils::SplitLine;
using AsciiReader::SplitPatterns::CommaSplit;
using AsciiReader::SplitPatterns::SeparatorTemplate;
using AsciiReader::SplitPatterns::SpaceSplit;
using AsciiReader::SplitPatterns::TabSplit;
using Orvane::BString;
using TestSupport::Texts;

const std::vector<std::int32_t> kNoWidths;

Row SplitAtCommas(const char* line)
{
    return SplitLine(QString::fromUtf8(line), CommaSplit(), kNoWidths);
}

QRegularExpression LiteralSeparator(const char* separator)
{
    return QRegularExpression(SeparatorTemplate().arg(
        QRegularExpression::escape(QString::fromUtf8(separator)), 0, QLatin1Char(' ')));
}

struct SplitCase
{
    const char* name;
    const char* line;
    Texts fields;
};

void PrintTo(const SplitCase& splitCase, std::ostream* stream)
{
    *stream << splitCase.line;
}

class AsciiUtilsSplitLine : public testing::TestWithParam<SplitCase>
{};

TEST_P(AsciiUtilsSplitLine, CutsAtCommas)
{
    EXPECT_EQ(SplitAtCommas(GetParam().line), GetParam().fields);
}

INSTANTIATE_TEST_SUITE_P(
    ,
    AsciiUtilsSplitLine,
    testing::Values(
        SplitCase{"GivesThePartsBetweenSeparators", "a,b,c", {"a", "b", "c"}},
        SplitCase{"GivesOneFieldWithoutSeparator", "abc", {"abc"}},
        SplitCase{"KeepsAnEmptyPartInTheMiddle", "a,,c", {"a", "", "c"}},
        SplitCase{"KeepsAnEmptyPartAtTheEnd", "a,b,", {"a", "b", ""}},
        SplitCase{"KeepsAnEmptyPartAtTheStart", ",a", {"", "a"}},
        SplitCase{"GivesNoFieldsWhenAllPartsAreEmpty", ",,", {}},
        SplitCase{"GivesNoFieldsForOneSeparator", ",", {}},
        SplitCase{"GivesNoFieldsForAnEmptyLine", "", {}},
        SplitCase{"GivesOneEmptyFieldForTwoQuotes", "\"\"", {""}},
        SplitCase{"KeepsAllFieldsWhenOneHoldsOnlyQuotes", "\"\",", {"", ""}},
        SplitCase{"GivesOneEmptyFieldForASingleQuote", "\"", {""}},
        SplitCase{"DoesNotCutInsideQuotes", "\"x,y\",z", {"x,y", "z"}},
        SplitCase{"TurnsPairedQuotesIntoOne", "\"say \"\"hi\"\"\",1", {"say \"hi\"", "1"}},
        SplitCase{"TurnsFourQuotesIntoTwo", "a\"\"\"\"b", {"a\"\"b"}},
        SplitCase{"TurnsAnOddRunOfQuotesIntoPairsFromTheLeft", "a\"\"\"b\"", {"a\"\"b\""}},
        SplitCase{"DropsABackslashBeforeAQuote", "\"a\\\"b\"", {"a\"b"}},
        SplitCase{"KeepsABackslashBeforeAnythingElse", "a\\b,\\\\", {"a\\b", "\\\\"}},
        SplitCase{"ReplacesPairsBeforeBackslashes", "a\\\"\"b", {"a\"b"}},
        SplitCase{"DropsTheLastCharacterOfAnUnclosedQuotedField", "\"abc", {"ab"}},
        SplitCase{"DropsTheLastCharacterAfterAClosingQuote", "\"abc\"x,1", {"abc\"", "1"}},
        SplitCase{"KeepsQuotesAfterALeadingBlank", " \"a\"", {" \"a\""}},
        SplitCase{"KeepsBlanksAtBothEnds", " a , b ", {" a ", " b "}},
        SplitCase{"CutsOnlyAfterAStrayQuote", "a,\"b,c", {"a,\"b", "c"}},
        SplitCase{"CutsAfterTheLastOfThreeQuotes", "a,\"b,\"c,\"d,e", {"a,\"b", "c,\"", "e"}},
        SplitCase{"KeepsLineBreaksInsideQuotes", "\"a\r\nb\",c", {"a\r\nb", "c"}},
        SplitCase{"KeepsAQuoteInTheMiddleOfAField", "a\"b\"c,d", {"a\"b\"c", "d"}},
        SplitCase{"KeepsTextOutsideOfAscii", "\u00e9,\U0001F600", {"\u00e9", "\U0001F600"}}),
    TestSupport::CaseName());

TEST(AsciiUtilsSplitLineSeparators, CutsAtTabs)
{
    EXPECT_EQ(SplitLine(QStringLiteral("a,b\t\"c\td\"\te"), TabSplit(), kNoWidths),
              (Texts{"a,b", "c\td", "e"}));
}

TEST(AsciiUtilsSplitLineSeparators, CutsAtEverySingleBlank)
{
    EXPECT_EQ(SplitLine(QStringLiteral("a  b \"c d\""), SpaceSplit(), kNoWidths),
              (Texts{"a", "", "b", "c d"}));
}

TEST(AsciiUtilsSplitLineSeparators, MatchesALiteralSeparatorOfSeveralCharactersAsAWhole)
{
    EXPECT_EQ(SplitLine(QStringLiteral("a||b|c||\"d||e\""), LiteralSeparator("||"), kNoWidths),
              (Texts{"a", "b|c", "d||e"}));
}

TEST(AsciiUtilsSplitLineSeparators, MatchesOverlappingSeparatorsFromTheLeft)
{
    EXPECT_EQ(SplitLine(QStringLiteral("a|||b"), LiteralSeparator("||"), kNoWidths),
              (Texts{"a", "|b"}));
}

TEST(AsciiUtilsSplitLineSeparators, MatchesPatternCharactersOfTheSeparatorLiterally)
{
    EXPECT_EQ(SplitLine(QStringLiteral("1.5.*2"), LiteralSeparator(".*"), kNoWidths),
              (Texts{"1.5", "2"}));
}

TEST(AsciiUtilsSplitLineSeparators, CountsOnlyQuotesAfterASeparatorThatHoldsAQuote)
{
    const QRegularExpression separator = LiteralSeparator("\"|");
    const QString line = QStringLiteral("a\"|b\"|c");
    Texts expected;
    for (const QString& part : line.split(separator)) {
        expected.push_back(Orvane::MakeBString(part));
    }
    ASSERT_EQ(expected, (Texts{"a\"|b", "c"}));
    EXPECT_EQ(SplitLine(line, separator, kNoWidths), expected);
}

TEST(AsciiUtilsSplitLineSeparators, GivesAnyOtherPatternToTheEngine)
{
    EXPECT_EQ(SplitLine(QStringLiteral("a1b22c"),
                        QRegularExpression(QStringLiteral("[0-9]+")),
                        kNoWidths),
              (Texts{"a", "b", "c"}));
}

TEST(AsciiUtilsSplitLineSeparators, UnquotesFieldsOfAnyOtherPattern)
{
    EXPECT_EQ(SplitLine(QStringLiteral("\"a\";b:\"c"),
                        QRegularExpression(QStringLiteral("[;:]")),
                        kNoWidths),
              (Texts{"a", "b", ""}));
}

TEST(AsciiUtilsSplitLineSeparators, CutsALineWithALoneSurrogateByTheSameRule)
{
    QString line = QStringLiteral("a,\"b,c\",d");
    line[0] = QChar(0xD83D);
    const Row row = SplitLine(line, CommaSplit(), kNoWidths);
    ASSERT_EQ(row.size(), 3U);
    EXPECT_EQ(row[0].View(), std::u16string(1, char16_t{0xD83D}));
    EXPECT_EQ(row[1], BString("b,c"));
    EXPECT_EQ(row[2], BString("d"));
}

TEST(AsciiUtilsSplitLineSeparators, CutsALineWithALoneSurrogateAtTheEmptyLiteralByTheSameRule)
{
    QString line = QStringLiteral("a\"b\"");
    line[0] = QChar(0xD83D);
    const Row row =
        SplitLine(line, AsciiReader::SplitPatterns::MakeSeparatorPattern(QString()), kNoWidths);
    ASSERT_EQ(row.size(), 4U);
    EXPECT_EQ(row[0], BString());
    EXPECT_EQ(row[1].View(), std::u16string(1, char16_t{0xD83D}));
    EXPECT_EQ(row[2], BString("b"));
    EXPECT_EQ(row[3], BString());
}

TEST(AsciiUtilsSplitLineSeparators, CutsAVeryLongLineByQuoteParity)
{
    QString line;
    constexpr int kFields = 200000;
    for (int i = 0; i < kFields; ++i) {
        line += QStringLiteral("\"a,b\",");
    }
    line += QStringLiteral("end");
    const Row row = SplitLine(line, CommaSplit(), kNoWidths);
    ASSERT_EQ(row.size(), static_cast<std::size_t>(kFields) + 1);
    EXPECT_EQ(row.front(), BString("a,b"));
    EXPECT_EQ(row[kFields - 1], BString("a,b"));
    EXPECT_EQ(row.back(), BString("end"));
}

TEST(AsciiUtilsSplitLineSeparators, CutsAVeryLongLineByALiteralSeparatorOfTheOptions)
{
    QString line;
    constexpr int kFields = 100000;
    for (int i = 0; i < kFields; ++i) {
        line += QStringLiteral("\"a;;b\";;");
    }
    const Row row = SplitLine(line, LiteralSeparator(";;"), kNoWidths);
    ASSERT_EQ(row.size(), static_cast<std::size_t>(kFields) + 1);
    EXPECT_EQ(row.front(), BString("a;;b"));
    EXPECT_EQ(row.back(), BString(""));
}

const QRegularExpression& InvalidPattern()
{
    static const QRegularExpression pattern(QStringLiteral("("));
    return pattern;
}

struct WidthCase
{
    const char* name;
    const char* line;
    std::vector<std::int32_t> widths;
    Texts fields;
};

void PrintTo(const WidthCase& widthCase, std::ostream* stream)
{
    *stream << widthCase.line;
}

class AsciiUtilsSplitLineByWidths : public testing::TestWithParam<WidthCase>
{};

TEST_P(AsciiUtilsSplitLineByWidths, CutsWithAPatternThatDoesNotCompile)
{
    EXPECT_EQ(SplitLine(QString::fromUtf8(GetParam().line), InvalidPattern(), GetParam().widths),
              GetParam().fields);
}

INSTANTIATE_TEST_SUITE_P(
    ,
    AsciiUtilsSplitLineByWidths,
    testing::Values(
        WidthCase{"DropsWhatStandsPastTheWidths", "abcdefg", {3, 2}, {"abc", "de"}},
        WidthCase{"GivesAShorterLastField", "abcd", {3, 5}, {"abc", "d"}},
        WidthCase{"GivesFewerFieldsWhenTheLineEndsAtASeam", "abc", {3, 3}, {"abc"}},
        WidthCase{"GivesNoFieldsForAnEmptyLine", "", {3, 3}, {}},
        WidthCase{"NeitherUnquotesNorTrims", "\"a\" b ", {3, 3}, {"\"a\"", " b "}},
        WidthCase{"KeepsARowOfBlanks", "      ", {3, 3}, {"   ", "   "}},
        WidthCase{"KeepsAnEmptyFieldOfWidthZero", "ab", {1, 0, 1}, {"a", "", "b"}},
        WidthCase{"CutsTheRestOfTheLineForANegativeWidth", "abcd", {3, -2, 1}, {"abc", "d", "b"}},
        WidthCase{"GivesNoFieldsBeforeTheLine", "abcd", {1, -3, 2}, {"a", "bcd"}}),
    TestSupport::CaseName());

TEST(AsciiUtilsSplitLineByWidthsRules, GivesNoFieldsForAnInvalidPatternWithoutWidths)
{
    EXPECT_TRUE(SplitLine(QStringLiteral("a,b"), InvalidPattern(), kNoWidths).empty());
}

TEST(AsciiUtilsSplitLineByWidthsRules, GivesNoFieldsForAValidPatternWithWidths)
{
    EXPECT_TRUE(SplitLine(QStringLiteral("a,b"), CommaSplit(), {1, 2}).empty());
}

TEST(AsciiUtilsSplitLineByWidthsRules, GivesNoFieldsForTheEmptyPatternWithWidths)
{
    ASSERT_TRUE(QRegularExpression().isValid());
    EXPECT_TRUE(SplitLine(QStringLiteral("abc"), QRegularExpression(), {1, 2}).empty());
}

} // namespace
