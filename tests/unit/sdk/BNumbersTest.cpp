// Tests of the number conversions: tables, and the C library as the reference.
#include "support/CommaLocale.h"

#include <Orvane/BNumbers.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <string_view>

namespace {

using namespace std::string_view_literals;
namespace BNumbers = Orvane::BNumbers;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::u16string Widen(std::string_view text)
{
    return {text.begin(), text.end()};
}

struct RealCase
{
    const char* name;
    std::string_view text;
    double value;
    std::size_t consumed;
};

void PrintTo(const RealCase& row, std::ostream* out)
{
    *out << row.name;
}

constexpr RealCase kRealCases[] = {
    {"NothingOfTheEmptyText", ""sv, 0, 0},
    {"Digit", "7"sv, 7, 1},
    {"Decimal", "12.5"sv, 12.5, 4},
    {"NegativeDecimal", "-12.5"sv, -12.5, 5},
    {"PlusSign", "+12.5"sv, 12.5, 5},
    {"NegativeZero", "-0"sv, -0.0, 2},
    {"LeadingPoint", ".5"sv, 0.5, 2},
    {"NegativeLeadingPoint", "-.5"sv, -0.5, 3},
    {"TrailingPoint", "5."sv, 5, 2},
    {"TrailingPointBeforeExponent", "5.e1"sv, 50, 4},
    {"NothingOfThePointAlone", "."sv, 0, 0},
    {"NothingOfTheSignAlone", "-"sv, 0, 0},
    {"NothingOfTwoSigns", "--5"sv, 0, 0},
    {"NothingOfAWord", "word"sv, 0, 0},
    {"LeadingZeros", "000012"sv, 12, 6},
    {"Exponent", "1e3"sv, 1000, 3},
    {"CapitalExponentWithSign", "1E-3"sv, 0.001, 4},
    {"ExponentWithoutDigitsIsNotConsumed", "1e"sv, 1, 1},
    {"ExponentWithSignAloneIsNotConsumed", "1e+"sv, 1, 1},
    {"SecondPointEndsTheNumber", "1.2.3"sv, 1.2, 3},
    {"CommaEndsTheNumber", "1,5"sv, 1, 1},
    {"LetterEndsTheNumber", "12abc"sv, 12, 2},
    {"BlankEndsTheNumber", "12 "sv, 12, 2},
    {"NulEndsTheNumber",
     "12\0"
     "5"sv,
     12,
     2},
    {"LeadingNulIsNoNumber",
     "\0"
     "5"sv,
     0,
     0},
    {"LeadingWhiteSpaceIsCounted", " \t\n\v\f\r12"sv, 12, 8},
    {"NothingOfWhiteSpaceAlone", "   "sv, 0, 0},
    {"NothingOfWhiteSpaceAndAWord", "  x"sv, 0, 0},
    {"Infinity", "inf"sv, kInfinity, 3},
    {"LongInfinityInAnyCase", "-InFiNiTy"sv, -kInfinity, 9},
    {"HalfLongInfinity", "infinit"sv, kInfinity, 3},
    {"NaN", "nan"sv, kNaN, 3},
    {"NaNWithCharacters", "NAN(12_aZ)"sv, kNaN, 10},
    {"NaNWithOpenCharacters", "nan(12"sv, kNaN, 3},
    {"NaNWithForeignCharacters", "nan(1-2)"sv, kNaN, 3},
    {"Hexadecimal", "0x1F"sv, 31, 4},
    {"HexadecimalWithFractionAndExponent", "0X1.8p+3"sv, 12, 8},
    {"HexadecimalWithLeadingPoint", "0x.8"sv, 0.5, 4},
    {"HexadecimalWithoutDigits", "0x"sv, 0, 1},
    {"HexadecimalOfAWord", "0xyz"sv, 0, 1},
    {"NegativeHexadecimal", "-0xA"sv, -10, 4},
    {"PastTheLargest", "1e999"sv, kInfinity, 5},
    {"PastTheLowest", "-1e999"sv, -kInfinity, 6},
    {"BelowTheSmallest", "1e-999"sv, 0, 6},
    {"Subnormal", "5e-324"sv, 5e-324, 6},
    {"Largest", "1.7976931348623157e308"sv, 1.7976931348623157e308, 22},
    {"HalfwayCase", "9007199254740993"sv, 9007199254740992.0, 16},
    {"JustAboveHalfway", "9007199254740993.00000000000000001"sv, 9007199254740994.0, 34},
};

class BNumbersReal : public testing::TestWithParam<RealCase>
{};

void ExpectSame(double value, double expected)
{
    if (std::isnan(expected)) {
        EXPECT_TRUE(std::isnan(value));
    } else {
        EXPECT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(expected));
    }
}

TEST_P(BNumbersReal, ConvertsAsTheCLibraryInTheCLocale)
{
    const RealCase& row = GetParam();
    std::size_t consumed = 99;
    ExpectSame(BNumbers::Strtod(row.text, &consumed), row.value);
    EXPECT_EQ(consumed, row.consumed);
    ExpectSame(BNumbers::Atof(row.text), row.value);

    const std::u16string wide = Widen(row.text);
    consumed = 99;
    ExpectSame(BNumbers::Wcstod(wide, &consumed), row.value);
    EXPECT_EQ(consumed, row.consumed);
    ExpectSame(BNumbers::Atof(wide), row.value);

    ExpectSame(std::strtod(std::string(row.text).c_str(), nullptr), row.value);
}

INSTANTIATE_TEST_SUITE_P(, BNumbersReal, testing::ValuesIn(kRealCases), [](const auto& row) {
    return row.param.name;
});

TEST(BNumbersWcstod, EndsTheNumberAtAUnitPastAscii)
{
    std::size_t consumed = 99;
    EXPECT_EQ(BNumbers::Wcstod(u"12\u00A0"sv, &consumed), 12);
    EXPECT_EQ(consumed, 2U);
    EXPECT_EQ(BNumbers::Wcstod(u"\u20031"sv, &consumed), 0);
    EXPECT_EQ(consumed, 0U);
    // Units whose low byte is a digit.
    EXPECT_EQ(BNumbers::Wcstod(u"1\u0132\uFF11"sv, &consumed), 1);
    EXPECT_EQ(consumed, 1U);
}

TEST(BNumbersStrtod, EndsTheNumberAtTheEndOfTheView)
{
    EXPECT_EQ(BNumbers::Strtod("12345"sv.substr(0, 3)), 123);
    EXPECT_EQ(BNumbers::Strtod("1e5"sv.substr(0, 2)), 1);
}

TEST(BNumbersStrtod, ReadsTextsOfAnyLength)
{
    for (const std::size_t zeros : {200U, 254U, 255U, 256U, 257U, 100000U}) {
        const std::string text = "0." + std::string(zeros, '0') + "1e" + std::to_string(zeros + 1);
        std::size_t consumed = 0;
        EXPECT_EQ(BNumbers::Strtod(text, &consumed), 1) << zeros;
        EXPECT_EQ(consumed, text.size());
        EXPECT_EQ(BNumbers::Wcstod(Widen(text), &consumed), 1) << zeros;
        EXPECT_EQ(consumed, text.size());
    }
    const std::string hexadecimal = "0x" + std::string(300, '0') + "A";
    EXPECT_EQ(BNumbers::Strtod(hexadecimal), 10);
}

/// A text of characters that numbers are written with; the same seed gives the same texts.
std::string RandomText(std::mt19937& random)
{
    constexpr std::string_view kUnits = "00112233456789..--++eEeExXpPabcdfinfINFnanNAN()_ \t,";
    static constexpr std::string_view kParts[] = {
        "0x", "inf", "infinity", "nan(", "nan", "1e", "e-3", "12.5", "999999999999", ".000"};
    std::string text;
    const std::size_t count = random() % 8;
    for (std::size_t part = 0; part < count; ++part) {
        if (random() % 4 == 0) {
            text += kParts[random() % std::size(kParts)];
        } else {
            text += kUnits[random() % kUnits.size()];
        }
    }
    return text;
}

TEST(BNumbersStrtod, AgreesWithTheCLibraryOnRandomTexts)
{
    std::mt19937 random(20240607);
    for (int count = 0; count < 200000; ++count) {
        const std::string text = RandomText(random);
        char* end = nullptr;
        const double expected = std::strtod(text.c_str(), &end);
        std::size_t consumed = 99;
        const double value = BNumbers::Strtod(text, &consumed);
        ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(expected))
            << '<' << text << '>';
        ASSERT_EQ(consumed, static_cast<std::size_t>(end - text.c_str())) << '<' << text << '>';
    }
}

TEST(BNumbersWcstod, AgreesWithTheCLibraryOnRandomTexts)
{
    std::mt19937 random(20240608);
    for (int count = 0; count < 200000; ++count) {
        const std::string text = RandomText(random);
        const std::wstring wide(text.begin(), text.end());
        wchar_t* end = nullptr;
        const double expected = std::wcstod(wide.c_str(), &end);
        std::size_t consumed = 99;
        const double value = BNumbers::Wcstod(Widen(text), &consumed);
        ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(expected))
            << '<' << text << '>';
        ASSERT_EQ(consumed, static_cast<std::size_t>(end - wide.c_str())) << '<' << text << '>';
    }
}

struct IntegerCase
{
    const char* name;
    std::string_view text;
    std::int32_t narrow;
    std::int64_t whole;
};

void PrintTo(const IntegerCase& row, std::ostream* out)
{
    *out << row.name;
}

constexpr IntegerCase kIntegerCases[] = {
    {"NothingIsZero", ""sv, 0, 0},
    {"WordIsZero", "word"sv, 0, 0},
    {"SignAloneIsZero", "-"sv, 0, 0},
    {"TwoSignsAreZero", "+-1"sv, 0, 0},
    {"Plain", "42"sv, 42, 42},
    {"Negative", "-42"sv, -42, -42},
    {"PlusSign", "+42"sv, 42, 42},
    {"LeadingWhiteSpace", " \t\n\v\f\r42"sv, 42, 42},
    {"BlankAfterTheSignIsZero", "- 42"sv, 0, 0},
    {"PointEndsTheNumber", "42.9"sv, 42, 42},
    {"LetterEndsTheNumber", "42x"sv, 42, 42},
    {"NulEndsTheNumber",
     "4\0"
     "2"sv,
     4,
     4},
    {"HexadecimalIsZero", "0x10"sv, 0, 0},
    {"LeadingZerosAreDecimal", "010"sv, 10, 10},
    {"Largest32", "2147483647"sv, 2147483647, 2147483647},
    {"PastLargest32IsCut", "2147483648"sv, -2147483647 - 1, 2147483648},
    {"Lowest32", "-2147483648"sv, -2147483647 - 1, -2147483648},
    {"PastLowest32IsCut", "-2147483649"sv, 2147483647, -2147483649},
    {"ElevenNinesAreCut", "99999999999"sv, 1215752191, 99999999999},
    {"Largest64", "9223372036854775807"sv, -1, INT64_MAX},
    {"PastLargest64IsClampedFirst", "9223372036854775808"sv, -1, INT64_MAX},
    {"FarPastLargest64IsClampedFirst", "99999999999999999999999999"sv, -1, INT64_MAX},
    {"Lowest64", "-9223372036854775808"sv, 0, INT64_MIN},
    {"PastLowest64IsClampedFirst", "-9223372036854775809"sv, 0, INT64_MIN},
    {"FarPastLowest64IsClampedFirst", "-99999999999999999999999999"sv, 0, INT64_MIN},
};

class BNumbersInteger : public testing::TestWithParam<IntegerCase>
{};

TEST_P(BNumbersInteger, ConvertsAsTheCLibraryWith64BitsCutToTheLow32)
{
    const IntegerCase& row = GetParam();
    EXPECT_EQ(BNumbers::Atoi(row.text), row.narrow);
    EXPECT_EQ(BNumbers::Atoi(Widen(row.text)), row.narrow);
    EXPECT_EQ(BNumbers::Strtoll(row.text), row.whole);
    EXPECT_EQ(std::strtoll(std::string(row.text).c_str(), nullptr, 10), row.whole);
}

INSTANTIATE_TEST_SUITE_P(, BNumbersInteger, testing::ValuesIn(kIntegerCases), [](const auto& row) {
    return row.param.name;
});

TEST(BNumbersAtoi, EndsTheNumberAtAUnitPastAscii)
{
    EXPECT_EQ(BNumbers::Atoi(u"1\u0132"sv), 1);
    EXPECT_EQ(BNumbers::Atoi(u"\u00A01"sv), 0);
}

template <typename Real>
std::string Shortest(Real value)
{
    char buffer[32];
    return {buffer, BNumbers::FormatShortest(value, buffer)};
}

TEST(BNumbersFormatShortest, WritesTheFewestDigitsThatReadBack)
{
    EXPECT_EQ(Shortest(0.1), "0.1");
    EXPECT_EQ(Shortest(0.1F), "0.1");
    EXPECT_EQ(Shortest(double{0.1F}), "0.10000000149011612");
    EXPECT_EQ(Shortest(-0.0), "-0");
    EXPECT_EQ(Shortest(42.0), "42");
    EXPECT_EQ(Shortest(1e300), "1e+300");
    EXPECT_EQ(Shortest(5e-324), "5e-324");
    EXPECT_EQ(Shortest(-1.7976931348623157e308), "-1.7976931348623157e+308");
}

TEST(BNumbersFormatShortest, NamesWhatHasNoDigits)
{
    EXPECT_EQ(Shortest(kInfinity), "inf");
    EXPECT_EQ(Shortest(-kInfinity), "-inf");
    EXPECT_EQ(Shortest(kNaN), "nan");
    EXPECT_EQ(Shortest(-kNaN), "nan");
    EXPECT_EQ(Shortest(-std::numeric_limits<float>::quiet_NaN()), "nan");
}

TEST(BNumbersFormatShortest, ReadsBackForRandomBits)
{
    std::mt19937_64 random(7);
    for (int count = 0; count < 100000; ++count) {
        const auto value = std::bit_cast<double>(random());
        if (!std::isnan(value)) {
            ASSERT_EQ(BNumbers::Strtod(Shortest(value)), value);
        }
        const auto narrow = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        if (!std::isnan(narrow)) {
            ASSERT_EQ(static_cast<float>(BNumbers::Strtod(Shortest(narrow))), narrow);
        }
    }
}

/// Runs the process in a locale whose decimal sign is the comma.
class BNumbersUnderACommaLocale : public testing::Test
{
    TestSupport::CommaLocale m_locale;
};

TEST_F(BNumbersUnderACommaLocale, ConvertsEveryRowOfTheTableTheSame)
{
    for (const RealCase& row : kRealCases) {
        SCOPED_TRACE(row.name);
        std::size_t consumed = 99;
        ExpectSame(BNumbers::Strtod(row.text, &consumed), row.value);
        EXPECT_EQ(consumed, row.consumed);
        ExpectSame(BNumbers::Wcstod(Widen(row.text), &consumed), row.value);
        EXPECT_EQ(consumed, row.consumed);
    }
    for (const IntegerCase& row : kIntegerCases) {
        EXPECT_EQ(BNumbers::Atoi(row.text), row.narrow) << row.name;
    }
}

TEST_F(BNumbersUnderACommaLocale, ReadsThePointOnEveryPath)
{
    EXPECT_EQ(BNumbers::Strtod("1.5"), 1.5);
    EXPECT_EQ(BNumbers::Strtod("+1.5"), 1.5);
    EXPECT_EQ(BNumbers::Strtod("0x1.8"), 1.5);
    EXPECT_EQ(BNumbers::Strtod("1,5"), 1);
    EXPECT_EQ(BNumbers::Strtod("+1,5"), 1);
}

TEST_F(BNumbersUnderACommaLocale, WritesThePoint)
{
    EXPECT_EQ(Shortest(1.5), "1.5");
    EXPECT_EQ(Shortest(1.5F), "1.5");
}

} // namespace
