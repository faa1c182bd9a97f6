// The small questions about one field's text.
#include "support/TestFiles.h"
#include "text/AsciiUtils.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

namespace AsciiUtils = AsciiReader::AsciiUtils;
using Orvane::BString;

struct TypeCase
{
    const char* name;
    const char* text;
    std::int32_t type;
};

void PrintTo(const TypeCase& typeCase, std::ostream* stream)
{
    *stream << '"' << typeCase.text << '"';
}

constexpr TypeCase kTypes[] = {
    {"TakesDigitsAsAnInteger", "12", 5},
    {"TakesASignedNumberAsAnInteger", "-12", 5},
    {"TakesAPlusSignAsPartOfANumber", "+12", 5},
    {"IgnoresCommas", "1,234", 5},
    {"IgnoresCommasAnywhere", ",1,", 5},
    {"TakesZerosInFrontAsAnInteger", "0012", 5},
    {"TakesTheLargestOf32BitsAsAnInteger", "2147483647", 5},
    {"TakesTheSmallestOf32BitsAsAnInteger", "-2147483648", 5},
    {"TakesOneMoreThan32BitsAsA64BitInteger", "2147483648", 7},
    {"TakesOneLessThan32BitsAsA64BitInteger", "-2147483649", 7},
    {"TakesThreeThousandMillionsAsA64BitInteger", "3000000000", 7},
    {"TakesTheLargestOf64BitsAsA64BitInteger", "9223372036854775807", 7},
    {"TakesOneMoreThanTheLargestOf64BitsAsA64BitInteger", "9223372036854775808", 7},
    {"TakesTheSmallestOf64BitsAsA64BitInteger", "-9223372036854775808", 7},
    {"TakesTwentyDigitsAsText", "99999999999999999999", 11},
    {"TakesADecimalPointAsADouble", "12.5", 9},
    {"TakesALeadingPointAsADouble", ".5", 9},
    {"TakesAWholeNumberWithAPointAsADouble", "1.0", 9},
    {"TakesALargeNumberWithAPointAsADouble", "1.5e300", 9},
    {"TakesAPointWithoutDigitsBehindItAsText", "1.", 11},
    {"TakesAnExponentWithoutAPointAsAnInteger", "1e5", 5},
    {"TakesAnUpperCaseExponent", "1E5", 5},
    {"TakesASmallExponentWithoutAPointAsAnInteger", "1e-5", 5},
    {"TakesALargeExponentWithoutAPointAsA64BitInteger", "1e10", 7},
    {"TakesAnExponentPast64BitsAsText", "1e19", 11},
    {"TakesAnInfiniteValueAsText", "1e400", 11},
    {"TakesAnInfiniteValueWithAPointAsText", "1.0e400", 11},
    {"TakesAnExponentWithoutDigitsAsText", "1e", 11},
    {"TakesTheEmptyTextAsText", "", 11},
    {"TakesACommaAloneAsText", ",", 11},
    {"TakesASignAloneAsText", "-", 11},
    {"TakesTwoSignsAsText", "--1", 11},
    {"TakesABlankInFrontAsText", " 12", 11},
    {"TakesABlankBehindAsText", "12 ", 11},
    {"TakesTwoPointsAsText", "1.2.3", 11},
    {"TakesHexadecimalAsText", "0x10", 11},
    {"TakesInfAsText", "inf", 11},
    {"TakesNanAsText", "nan", 11},
    {"TakesWordsAsText", "true", 11},
    {"TakesDigitsOfOtherScriptsAsText", "\u0661\u0662", 11},
};

class AsciiUtilsDetectType : public testing::TestWithParam<TypeCase>
{};

TEST_P(AsciiUtilsDetectType, GivesTheValueClass)
{
    EXPECT_EQ(AsciiUtils::DetectType(GetParam().text), GetParam().type);
}

INSTANTIATE_TEST_SUITE_P(,
                         AsciiUtilsDetectType,
                         testing::ValuesIn(kTypes),
                         TestSupport::CaseName());

TEST(AsciiUtilsDetectTypeRules, TakesALineFeedBehindANumberAsText)
{
    EXPECT_EQ(AsciiUtils::DetectType("12\n"), 11);
}

TEST(AsciiUtilsDetectTypeRules, TakesANulUnitAsText)
{
    EXPECT_EQ(AsciiUtils::DetectType(BString::FromUtf8(std::string_view("1\0002", 3))), 11);
}

TEST(AsciiUtilsCountDigits, TakesAwayTheSignAndThePoint)
{
    EXPECT_EQ(AsciiUtils::CountDigits("-12.5"), 3);
}

TEST(AsciiUtilsCountDigits, TakesAwayAPlusSign)
{
    EXPECT_EQ(AsciiUtils::CountDigits("+7"), 1);
}

TEST(AsciiUtilsCountDigits, CountsPlainDigits)
{
    EXPECT_EQ(AsciiUtils::CountDigits("12"), 2);
}

TEST(AsciiUtilsCountDigits, CountsExponentLettersAndTakesOneSignAwayWhereverItStands)
{
    EXPECT_EQ(AsciiUtils::CountDigits("1e+5"), 3);
}

TEST(AsciiUtilsCountDigits, TakesOneSignAwayWhenThereAreBoth)
{
    EXPECT_EQ(AsciiUtils::CountDigits("+1e-5"), 4);
}

TEST(AsciiUtilsCountDigits, TakesOnePointAwayOfTwo)
{
    EXPECT_EQ(AsciiUtils::CountDigits("1.2.3"), 4);
}

TEST(AsciiUtilsCountDigits, GivesZeroForTheEmptyText)
{
    EXPECT_EQ(AsciiUtils::CountDigits(""), 0);
}

struct WordCase
{
    const char* name;
    const char* text;
    bool isBoolean;
    bool isTrue;
};

void PrintTo(const WordCase& wordCase, std::ostream* stream)
{
    *stream << '"' << wordCase.text << '"';
}

constexpr WordCase kWords[] = {
    {"One", "1", true, true},
    {"Zero", "0", true, false},
    {"LetterY", "y", true, true},
    {"LetterN", "n", true, false},
    {"LetterT", "t", true, true},
    {"LetterF", "f", true, false},
    {"Yes", "yes", true, true},
    {"No", "no", true, false},
    {"True", "true", true, true},
    {"False", "false", true, false},
    {"UpperCaseTrue", "TRUE", true, true},
    {"MixedCaseYes", "Yes", true, true},
    {"UpperCaseF", "F", true, false},
    {"MixedCaseNo", "No", true, false},
    {"Two", "2", false, false},
    {"BlankInFront", " true", false, false},
    {"BlankBehind", "true ", false, false},
    {"LongerWord", "yess", false, false},
    {"Empty", "", false, false},
    {"TwoDigits", "01", false, false},
};

class AsciiUtilsBooleanWords : public testing::TestWithParam<WordCase>
{};

TEST_P(AsciiUtilsBooleanWords, AreKnownWhateverTheirCase)
{
    EXPECT_EQ(AsciiUtils::IsBooleanWord(GetParam().text), GetParam().isBoolean);
    EXPECT_EQ(AsciiUtils::IsTrueWord(GetParam().text), GetParam().isTrue);
}

INSTANTIATE_TEST_SUITE_P(,
                         AsciiUtilsBooleanWords,
                         testing::ValuesIn(kWords),
                         TestSupport::CaseName());

TEST(AsciiUtilsCountQuotes, GivesZeroWithoutQuotes)
{
    EXPECT_EQ(AsciiUtils::CountQuotes(""), 0U);
    EXPECT_EQ(AsciiUtils::CountQuotes("a,b"), 0U);
}

TEST(AsciiUtilsCountQuotes, CountsBothQuotesOfAnEscapedPair)
{
    EXPECT_EQ(AsciiUtils::CountQuotes("\"a\"\"b\""), 4U);
}

TEST(AsciiUtilsCountQuotes, CountsAQuoteBehindABackslash)
{
    EXPECT_EQ(AsciiUtils::CountQuotes("\\\""), 1U);
}

TEST(AsciiUtilsCountQuotes, CountsOnlyTheDoubleQuoteCharacter)
{
    EXPECT_EQ(AsciiUtils::CountQuotes("'\u201c\u201d\""), 1U);
}

} // namespace
