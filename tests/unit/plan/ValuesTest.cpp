// The grammar of values: a table of spellings, and values that are written and read back.
#include "plan/values/Angles.h"
#include "plan/values/Cell.h"
#include "plan/values/FoldedCell.h"
#include "plan/values/Numbers.h"
#include "plan/values/Times.h"
#include "plan/values/Words.h"

#include <gtest/gtest.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <string_view>

namespace {

using namespace Orvane::Import::Values;

struct ClassCase
{
    const char* name;
    std::string_view cell;
    ECell expected;
};

void PrintTo(const ClassCase& row, std::ostream* out)
{
    *out << row.cell;
}

class ValuesReadCell : public testing::TestWithParam<ClassCase>
{};

TEST_P(ValuesReadCell, PutsACellInItsClass)
{
    EXPECT_STREQ(NameOf(ReadCell(GetParam().cell).cell), NameOf(GetParam().expected));
}

constexpr ClassCase kClassCases[] = {
    {"NothingIsEmpty", "", ECell::Empty},
    {"BlanksAreEmpty", " \t ", ECell::Empty},
    {"ANoBreakBlankIsEmpty", "\xC2\xA0", ECell::Empty},
    {"AWholeNumber", "12", ECell::Integer},
    {"ANegativeWholeNumber", "-3", ECell::Integer},
    {"ASignOfPlus", "+4", ECell::Integer},
    {"BlanksAroundAreNoObstacle", "  12 ", ECell::Integer},
    {"ZeroAlone", "0", ECell::Integer},
    {"NineteenDigitsThatFit", "9223372036854775807", ECell::Integer},
    {"TwentyDigitsAreACode", "12345678901234567890", ECell::Code},
    {"ADecimal", "-3.5", ECell::Decimal},
    {"AnExponent", "1e3", ECell::Decimal},
    {"AnExponentWithSign", "1.5E+03", ECell::Decimal},
    {"ADecimalWithoutWholePart", ".5", ECell::Decimal},
    {"ADecimalWithoutFraction", "1.", ECell::Decimal},
    {"TheSignU2212",
     "\xE2\x88\x92"
     "6.5",
     ECell::Decimal},
    {"SixteenDigitsThatADoubleGivesBack", "704450.3499999996", ECell::Decimal},
    {"ZerosAtTheEndLoseNothing", "1155.95000000000000", ECell::Decimal},
    {"MoreDigitsThanADoubleHolds", "0.12345678901234567890", ECell::Code},
    {"ALeadingZeroIsACode", "007", ECell::Code},
    {"ATimeAsDigitsIsACode", "0800", ECell::Code},
    {"ZeroPointIsNoLeadingZero", "0.5", ECell::Decimal},
    {"ADecimalComma", "47,5", ECell::Spelled},
    {"ACommaBeforeThreeDigits", "1,234", ECell::Spelled},
    {"GroupsOfThousands", "1,234,567", ECell::Spelled},
    {"GroupsAndAPoint", "1,234.5", ECell::Spelled},
    {"Apostrophes", "2'600'123.45", ECell::Spelled},
    {"TypographicApostrophes",
     "2\xE2\x80\x99"
     "600\xE2\x80\x99"
     "123.45",
     ECell::Spelled},
    {"BlankGroups", "1 234 567", ECell::Spelled},
    {"NoBreakGroups",
     "1\xC2\xA0"
     "234",
     ECell::Spelled},
    {"ThinGroups",
     "1\xE2\x80\x89"
     "234",
     ECell::Spelled},
    {"NarrowGroups",
     "1\xE2\x80\xAF"
     "234",
     ECell::Spelled},
    {"GroupsThatAreNotExact", "1,2,4", ECell::Text},
    {"AUnitInTheCell", "13 ft", ECell::Text},
    {"MetresInTheCell", "98.470 m", ECell::Text},
    {"BelowALimit", "<0.05", ECell::Text},
    {"About", "~5", ECell::Text},
    {"Hexadecimal", "0x1F", ECell::Text},
    {"InBrackets", "(3.5)", ECell::Text},
    {"PerCent", "50 %", ECell::Text},
    {"AListThatEndsEarly", "12,", ECell::Text},
    {"TwoSigns", "--5", ECell::Text},
    {"AnExponentWithoutDigits", "1e+", ECell::Text},
    {"NA", "NA", ECell::NullWord},
    {"NSlashA", "n/a", ECell::NullWord},
    {"Null", "null", ECell::NullWord},
    {"BackslashN", "\\N", ECell::NullWord},
    {"NaN", "NaN", ECell::NullWord},
    {"ADash", "-", ECell::NullWord},
    {"TwoDashes", "--", ECell::NullWord},
    {"ASentinelIsAValue", "-9999", ECell::Integer},
    {"True", "TRUE", ECell::Boolean},
    {"No", "No", ECell::Boolean},
    {"ALetter", "f", ECell::Boolean},
    {"Tom", "Tom", ECell::Text},
    {"IsoDate", "2018-01-28", ECell::Date},
    {"SlashDate", "2018/01/02", ECell::Date},
    {"NamedMonth", "2 Jan 2018", ECell::Date},
    {"NamedMonthWithDashes", "02-Jan-2018", ECell::Date},
    {"EnglishOrder", "January 2, 2018", ECell::Date},
    {"ATime", "13:03:22.836", ECell::Time},
    {"AHalfDay", "1:03 pm", ECell::Time},
    {"IsoDateTime", "2017-09-08T04:49:21.410Z", ECell::DateTime},
    {"DateTimeWithBlank", "2018-01-01 11:27:50", ECell::DateTime},
    {"ADayThatIsNone", "2018-02-30", ECell::Text},
    {"AnHourThatIsNone", "24:10", ECell::Angle},
    {"DayFirst", "28/01/2018", ECell::Date},
    {"PointsBetween", "28.01.2018", ECell::Date},
    {"EightDigitsAreANumber", "20180102", ECell::Integer},
    {"SignsOfDegrees",
     "47\xC2\xB0"
     "12'30\"N",
     ECell::Angle},
    {"DegreesInWindows1252",
     "47\xB0"
     "12'30\"",
     ECell::Angle},
    {"LettersOfDegrees", "47d12m30s", ECell::Angle},
    {"ALetterAfterANumber", "49.0733336N", ECell::Angle},
    {"ALetterBeforeANumber", "W125.76", ECell::Angle},
    {"AFarTooLongNumberIsText",
     "1111111111111111111111111111111111111111111111111111111111111111111111",
     ECell::Text},
};

INSTANTIATE_TEST_SUITE_P(, ValuesReadCell, testing::ValuesIn(kClassCases), [](const auto& row) {
    return row.param.name;
});

struct NotationCase
{
    const char* name;
    std::string_view cell;
    unsigned notations;
};

void PrintTo(const NotationCase& row, std::ostream* out)
{
    *out << row.cell;
}

class ValuesReadNumber : public testing::TestWithParam<NotationCase>
{};

TEST_P(ValuesReadNumber, KeepsTheNotationsThatFit)
{
    EXPECT_EQ(ReadNumber(GetParam().cell).notations, GetParam().notations);
}

constexpr NotationCase kNotationCases[] = {
    {"AWholeNumberFitsAll", "12", kAllNotations},
    {"APointAndTwoDigits",
     "12.25",
     NotationPlain | NotationCommaGroups | NotationApostrophePoint | NotationBlankPoint},
    {"APointAndThreeDigitsMayGroup",
     "1.234",
     NotationPlain | NotationCommaGroups | NotationApostrophePoint | NotationBlankPoint |
         NotationPointGroups},
    {"ACommaAndThreeDigitsMayGroup",
     "1,234",
     NotationComma | NotationPointGroups | NotationApostropheComma | NotationBlankComma |
         NotationCommaGroups},
    {"AZeroBeforeACommaMayGroupToo",
     "0,214",
     NotationComma | NotationPointGroups | NotationApostropheComma | NotationBlankComma |
         NotationCommaGroups},
    {"ACommaAndOneDigit", "47,5", kCommaNotations},
    {"TwoCommas", "1,234,567", NotationCommaGroups},
    {"CommaThenPoint", "1,234.5", NotationCommaGroups},
    {"PointThenComma", "1.234,5", NotationPointGroups},
    {"Blanks", "1 234,5", NotationBlankComma},
    {"MixedBlanks",
     "1 234\xC2\xA0"
     "567",
     0},
    {"FourDigitsInAGroup", "1,2345", kCommaNotations},
    {"FourDigitsBeforeAGroup", "1234,567,890", 0},
    {"AnExponentAfterGroups", "1,234,567e3", 0},
};

INSTANTIATE_TEST_SUITE_P(,
                         ValuesReadNumber,
                         testing::ValuesIn(kNotationCases),
                         [](const auto& row) { return row.param.name; });

struct AngleCase
{
    const char* name;
    std::string_view cell;
    double degrees; ///< NaN: no angle
};

void PrintTo(const AngleCase& row, std::ostream* out)
{
    *out << row.cell;
}

class ValuesReadAngle : public testing::TestWithParam<AngleCase>
{};

TEST_P(ValuesReadAngle, GivesDegrees)
{
    const AngleReading reading = ReadAngle(GetParam().cell);
    ASSERT_EQ(reading.isAngle, !std::isnan(GetParam().degrees));
    if (reading.isAngle) {
        EXPECT_NEAR(reading.degrees, GetParam().degrees, 1e-12);
    }
}

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr double kDegrees = 47 + 12.0 / 60 + 30.0 / 3600;

constexpr AngleCase kAngleCases[] = {
    {"SignsAndALetter",
     "47\xC2\xB0"
     "12'30\"N",
     kDegrees},
    {"PrimesAndAnOrdinalSign", "47\xC2\xBA 12\xE2\x80\xB2 30\xE2\x80\xB3", kDegrees},
    {"Letters", "47d12m30s", kDegrees},
    {"Colons", "47:12:30", kDegrees},
    {"BlanksAndALetter", "47 12 30 N", kDegrees},
    {"LetterAndDashes", "N47-12-30", kDegrees},
    {"MinutesWithAComma", "47\xC2\xB0 12,5'", 47 + 12.5 / 60},
    {"TypographicQuotes",
     "59 12\xE2\x80\x99 7.7\xE2\x80\x99\xE2\x80\x99W",
     -(59 + 12.0 / 60 + 7.7 / 3600)},
    {"TypographicQuotesAfterDegrees",
     "59\xC2\xB0 12\xE2\x80\x99 7.7\xE2\x80\x99\xE2\x80\x99W",
     -(59 + 12.0 / 60 + 7.7 / 3600)},
    {"South", "47.5S", -47.5},
    {"WestFirst", "W 125.5", -125.5},
    {"MinusSign",
     "\xE2\x88\x92"
     "47\xC2\xB0"
     "30'",
     -47.5},
    {"SecondsPastSixty", "47:12:60", kNone},
    {"MinutesPastSixty", "47 75", kNone},
    {"DecimalsBeforeTheLastPart", "47.5 12 30", kNone},
    {"AFourthPart", "47 12 30 10", kNone},
    {"MinutesAlone", "12'", kNone},
    {"MetresAreNoAngle", "98.470 m", kNone},
    {"TwoLetters", "N47W", kNone},
    {"AWord", "North", kNone},
};

INSTANTIATE_TEST_SUITE_P(, ValuesReadAngle, testing::ValuesIn(kAngleCases), [](const auto& row) {
    return row.param.name;
});

TEST(ValuesAngles, CallASignWithALetterAContradiction)
{
    EXPECT_TRUE(ReadAngle("-47 S").isContradiction);
    EXPECT_TRUE(ReadAngle("97 N").isContradiction);
    EXPECT_FALSE(ReadAngle("97 E").isContradiction);
    EXPECT_FALSE(ReadAngle("47 S").isContradiction);
}

TEST(ValuesAngles, UnpackDegreesAndMinutesInOneNumber)
{
    EXPECT_TRUE(CanBePacked(4533.35, EPacking::Minutes));
    EXPECT_FALSE(CanBePacked(4563.35, EPacking::Minutes));
    EXPECT_DOUBLE_EQ(UnpackDegrees(4533.35, EPacking::Minutes), 45 + 33.35 / 60);
    EXPECT_DOUBLE_EQ(UnpackDegrees(-830.5, EPacking::Minutes), -(8 + 30.5 / 60));
    EXPECT_DOUBLE_EQ(UnpackDegrees(130.5, EPacking::Minutes), 1.5083333333333333);
}

TEST(ValuesAngles, UnpackDegreesMinutesAndSecondsInOneNumber)
{
    EXPECT_TRUE(CanBePacked(453321.5, EPacking::Seconds));
    EXPECT_FALSE(CanBePacked(456321.5, EPacking::Seconds));
    EXPECT_FALSE(CanBePacked(453361, EPacking::Seconds));
    EXPECT_FALSE(CanBePacked(1806000, EPacking::Seconds));
    EXPECT_DOUBLE_EQ(UnpackDegrees(453321.5, EPacking::Seconds), 45 + (33 * 60 + 21.5) / 3600);
    EXPECT_DOUBLE_EQ(UnpackDegrees(-83012, EPacking::Seconds), -(8 + 30.0 / 60 + 12.0 / 3600));
    EXPECT_DOUBLE_EQ(UnpackDegrees(12, EPacking::Seconds), 12.0 / 3600);
}

TEST(ValuesWords, NumbersWithUnitsAreNoCodes)
{
    EXPECT_TRUE(IsNumberWithUnit("13 ft"));
    EXPECT_TRUE(IsNumberWithUnit(" 2.5m "));
    EXPECT_TRUE(IsNumberWithUnit("5%"));
    EXPECT_TRUE(IsNumberWithUnit("12 t"));
    EXPECT_FALSE(IsNumberWithUnit("32T"));
    EXPECT_FALSE(IsNumberWithUnit("9c"));
    EXPECT_FALSE(IsNumberWithUnit("13"));
    EXPECT_FALSE(IsNumberWithUnit("ft"));
}

TEST(ValuesReadTime, KeepsTheOrdersThatFit)
{
    EXPECT_EQ(ReadTime("28/01/2018").dateForms, DateDayMonthYearSlash);
    EXPECT_EQ(ReadTime("01/28/2018").dateForms, DateMonthDayYearSlash);
    EXPECT_EQ(ReadTime("03/04/2018").dateForms,
              static_cast<unsigned>(DateDayMonthYearSlash) | DateMonthDayYearSlash);
    EXPECT_EQ(ReadTime("03/04/18").dateForms, DateShortYear);
    EXPECT_EQ(ReadTime("20180102").dateForms, DateCompact);
    EXPECT_EQ(ReadTime("20181302").dateForms, 0U);
    EXPECT_EQ(ReadTime("29/02/2019").dateForms, 0U);
    EXPECT_TRUE(ReadTime("2018-01-02T10:11+01:00").hasOffset);
    EXPECT_FALSE(ReadTime("2018-01-02T10:11").hasOffset);
}

TEST(ValuesWords, MakeABooleanOnlyOfOnePair)
{
    EXPECT_TRUE(MakeBoolean(WordTrue));
    EXPECT_TRUE(MakeBoolean(WordYes | WordNo));
    EXPECT_TRUE(MakeBoolean(LetterY | LetterN));
    EXPECT_FALSE(MakeBoolean(LetterN));
    EXPECT_FALSE(MakeBoolean(LetterT | LetterN));
    EXPECT_FALSE(MakeBoolean(WordTrue | WordNo));
    EXPECT_FALSE(MakeBoolean(0));
}

TEST(ValuesWords, KnowUnitsAndRules)
{
    for (const char* unit : {"m",
                             "[m]",
                             "(\xC2\xB0"
                             "E)",
                             "km/h",
                             "\xC2\xB0"
                             "C"}) {
        EXPECT_TRUE(IsUnit(unit)) << unit;
    }
    for (const char* word : {"depth", "5", "", "(a (b))"}) {
        EXPECT_FALSE(IsUnit(word)) << word;
    }
    EXPECT_TRUE(IsRule("-----"));
    EXPECT_TRUE(IsRule(" === "));
    EXPECT_FALSE(IsRule("-=-"));
}

// Writes random numbers in each notation and reads them back.
TEST(ValuesProperty, ANumberInAnyNotationIsReadBack)
{
    struct Spelling
    {
        Notation notation;
        std::string_view group;
        char decimal;
    };

    constexpr Spelling kSpellings[] = {
        {NotationPlain, "", '.'},
        {NotationComma, "", ','},
        {NotationCommaGroups, ",", '.'},
        {NotationPointGroups, ".", ','},
        {NotationApostrophePoint, "\xE2\x80\x99", '.'},
        {NotationApostropheComma, "'", ','},
        {NotationBlankPoint, "\xE2\x80\xAF", '.'},
        {NotationBlankComma, " ", ','},
    };
    std::mt19937_64 random(7);
    for (int i = 0; i < 4000; ++i) {
        const Spelling& spelling = kSpellings[random() % std::size(kSpellings)];
        const std::string whole = std::to_string(random() % 1000000000);
        const std::string fraction = random() % 3 == 0 ? "" : std::to_string(random() % 1000);
        std::string text = random() % 2 == 0 ? "-" : "";
        const std::string plain = text + whole + (fraction.empty() ? "" : "." + fraction);
        for (std::size_t at = 0; at < whole.size(); ++at) {
            if (at > 0 && (whole.size() - at) % 3 == 0) {
                text += spelling.group;
            }
            text += whole[at];
        }
        text += fraction.empty() ? "" : spelling.decimal + fraction;
        const NumberReading reading = ReadNumber(text);
        ASSERT_NE(reading.notations & spelling.notation, 0) << text;
        double expected = 0;
        std::from_chars(plain.data(), plain.data() + plain.size(), expected);
        ASSERT_EQ(ToDouble(text, spelling.notation), expected) << text;
    }
}

// Writes random angles in each spelling and reads them back.
TEST(ValuesProperty, AnAngleInAnySpellingIsReadBack)
{
    // What follows degrees, minutes and seconds.
    constexpr std::array<const char*, 3> kSpellings[] = {
        {"\xC2\xB0", "'", "\""},
        {"\xC2\xBA ", "\xE2\x80\xB2 ", "\xE2\x80\xB3"},
        {"d", "m", "s"},
        {" deg ", " min ", " sec"},
        {":", ":", ""},
        {" ", " ", ""},
        {"-", "-", ""},
    };
    std::mt19937_64 random(11);
    for (int i = 0; i < 4000; ++i) {
        const int degrees = static_cast<int>(random() % 180);
        const int minutes = static_cast<int>(random() % 60);
        const int seconds = static_cast<int>(random() % 60);
        const auto& marks = kSpellings[random() % std::size(kSpellings)];
        const bool isWest = random() % 2 == 0;
        const std::string cell = std::to_string(degrees) + marks[0] + std::to_string(minutes) +
                                 marks[1] + std::to_string(seconds) + ".25" + marks[2] +
                                 (isWest ? " W" : " E");
        const AngleReading reading = ReadAngle(cell);
        ASSERT_TRUE(reading.isAngle) << cell;
        const double expected = degrees + minutes / 60.0 + (seconds + 0.25) / 3600;
        ASSERT_NEAR(reading.degrees, isWest ? -expected : expected, 1e-9) << cell;
    }
}

// Any bytes at all: the rules end, and an empty cell is the only one without a class of its own.
TEST(ValuesProperty, AnyBytesAreReadWithoutHarm)
{
    std::mt19937_64 random(13);
    constexpr std::string_view kUnits = "0123456789.,'\"-+:/ eENSWOdms\xC2\xB0\xE2\x88\x92\xFF";
    for (int i = 0; i < 200000; ++i) {
        std::string cell;
        for (std::size_t size = random() % 80; size > 0; --size) {
            cell += kUnits[random() % kUnits.size()];
        }
        const CellReading reading = ReadCell(cell);
        if (reading.number.notations != 0) {
            std::array<char, FoldedCell::kCapacity> plain{};
            const auto notation = static_cast<Notation>(
                reading.number.notations & -static_cast<int>(reading.number.notations));
            ASSERT_GT(WritePlain(cell, notation, plain.data()), 0U) << cell;
        }
    }
}

} // namespace
