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
    {"ReadsDigitsAsAnInteger", "12", 5},
    {"ReadsASignedNumberAsAnInteger", "-12", 5},
    {"ReadsAPlusSignAsPartOfANumber", "+12", 5},
    {"IgnoresCommas", "1,234", 5},
    {"IgnoresCommasAnywhere", ",1,", 5},
    {"ReadsLeadingZerosAsAnInteger", "0012", 5},
    {"ReadsTheLargestOf32BitsAsAnInteger", "2147483647", 5},
    {"ReadsTheSmallestOf32BitsAsAnInteger", "-2147483648", 5},
    {"ReadsOneMoreThan32BitsAsA64BitInteger", "2147483648", 7},
    {"ReadsOneLessThan32BitsAsA64BitInteger", "-2147483649", 7},
    {"ReadsThreeThousandMillionsAsA64BitInteger", "3000000000", 7},
    {"ReadsTheLargestOf64BitsAsA64BitInteger", "9223372036854775807", 7},
    {"ReadsOneMoreThanTheLargestOf64BitsAsA64BitInteger", "9223372036854775808", 7},
    {"ReadsTheSmallestOf64BitsAsA64BitInteger", "-9223372036854775808", 7},
    {"ReadsTwentyDigitsAsText", "99999999999999999999", 11},
    {"ReadsADecimalPointAsADouble", "12.5", 9},
    {"ReadsALeadingPointAsADouble", ".5", 9},
    {"ReadsAWholeNumberWithAPointAsADouble", "1.0", 9},
    {"ReadsALargeNumberWithAPointAsADouble", "1.5e300", 9},
    {"ReadsAPointWithoutDigitsAfterItAsText", "1.", 11},
    {"ReadsAnExponentWithoutAPointAsAnInteger", "1e5", 5},
    {"ReadsAnUpperCaseExponent", "1E5", 5},
    {"ReadsASmallExponentWithoutAPointAsAnInteger", "1e-5", 5},
    {"ReadsALargeExponentWithoutAPointAsA64BitInteger", "1e10", 7},
    {"ReadsAnExponentPast64BitsAsText", "1e19", 11},
    {"ReadsAnInfiniteValueAsText", "1e400", 11},
    {"ReadsAnInfiniteValueWithAPointAsText", "1.0e400", 11},
    {"ReadsAnExponentWithoutDigitsAsText", "1e", 11},
    {"ReadsTheEmptyTextAsText", "", 11},
    {"ReadsACommaAloneAsText", ",", 11},
    {"ReadsASignAloneAsText", "-", 11},
    {"ReadsTwoSignsAsText", "--1", 11},
    {"ReadsALeadingBlankAsText", " 12", 11},
    {"ReadsATrailingBlankAsText", "12 ", 11},
    {"ReadsTwoPointsAsText", "1.2.3", 11},
    {"ReadsHexadecimalAsText", "0x10", 11},
    {"ReadsInfAsText", "inf", 11},
    {"ReadsNanAsText", "nan", 11},
    {"ReadsWordsAsText", "true", 11},
    {"ReadsDigitsOfOtherScriptsAsText", "\u0661\u0662", 11},
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

TEST(AsciiUtilsDetectTypeRules, ReadsALineFeedAfterANumberAsText)
{
    EXPECT_EQ(AsciiUtils::DetectType("12\n"), 11);
}

TEST(AsciiUtilsDetectTypeRules, ReadsANulUnitAsText)
{
    EXPECT_EQ(AsciiUtils::DetectType(BString::FromUtf8(std::string_view("1\0002", 3))), 11);
}

TEST(AsciiUtilsCountDigits, LeavesTheSignAndThePointOut)
{
    EXPECT_EQ(AsciiUtils::CountDigits("-12.5"), 3);
}

TEST(AsciiUtilsCountDigits, LeavesAPlusSignOut)
{
    EXPECT_EQ(AsciiUtils::CountDigits("+7"), 1);
}

TEST(AsciiUtilsCountDigits, CountsPlainDigits)
{
    EXPECT_EQ(AsciiUtils::CountDigits("12"), 2);
}

TEST(AsciiUtilsCountDigits, CountsExponentLettersAndLeavesOneSignOutWhereverItStands)
{
    EXPECT_EQ(AsciiUtils::CountDigits("1e+5"), 3);
}

TEST(AsciiUtilsCountDigits, LeavesOneSignOutWhenThereAreBoth)
{
    EXPECT_EQ(AsciiUtils::CountDigits("+1e-5"), 4);
}

TEST(AsciiUtilsCountDigits, LeavesOnePointOfTwoOut)
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
    {"LeadingBlank", " true", false, false},
    {"TrailingBlank", "true ", false, false},
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

TEST(AsciiUtilsCountQuotes, CountsAQuoteAfterABackslash)
{
    EXPECT_EQ(AsciiUtils::CountQuotes("\\\""), 1U);
}

TEST(AsciiUtilsCountQuotes, CountsOnlyTheDoubleQuoteCharacter)
{
    EXPECT_EQ(AsciiUtils::CountQuotes("'\u201c\u201d\""), 1U);
}

} // namespace
