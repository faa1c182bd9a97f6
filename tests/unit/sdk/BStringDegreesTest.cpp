// Tests of reading angles written by people.
#include <Orvane/BException.h>
#include <Orvane/BString.h>

#include <gtest/gtest.h>

#include <cmath>
#include <ostream>
#include <string>
#include <string_view>

namespace {

using namespace std::string_view_literals;
using Orvane::BKelvaCoordinateFormatException;
using Orvane::BString;

/// The angle as the sum of its parts, the sign applied last.
constexpr double Angle(double degrees, double minutes = 0, double seconds = 0)
{
    return degrees + minutes / 60 + seconds / 3600;
}

struct ValidCase
{
    const char* name;
    const char* format;
    std::u16string_view text;
    double expected;
};

void PrintTo(const ValidCase& row, std::ostream* out)
{
    *out << row.name;
}

constexpr ValidCase kValidCases[] = {
    {"DegreesAlone", "D", u"12"sv, 12},
    {"DegreesWithFraction", "D", u"12.5"sv, 12.5},
    {"DegreesWithoutWholePart", "D", u".5"sv, 0.5},
    {"DegreesWithABarePoint", "D", u"12."sv, 12},
    {"DegreesWithLeadingZeros", "D", u"007.50"sv, 7.5},
    {"DegreesWithManyDigits", "D", u"12.500000000000000000000000000000"sv, 12.5},
    {"DegreesPastTheFullCircle", "D", u"725.25"sv, 725.25},
    {"MinusSign", "D", u"-12.5"sv, -12.5},
    {"PlusSign", "D", u"+12.5"sv, 12.5},
    {"SignApartFromItsNumber", "D", u"- 12.5"sv, -12.5},
    {"WhiteSpaceAround", "D", u" \t12.5\r\n"sv, 12.5},
    {"NoBreakSpaceAround", "D", u"\u00A012.5\u2009"sv, 12.5},
    {"DegreeSign", "D", u"12.5°"sv, 12.5},
    {"OrdinalSignForDegrees", "D", u"12.5º"sv, 12.5},
    {"LetterForDegrees", "D", u"12.5d"sv, 12.5},
    {"CapitalLetterForDegrees", "D", u"12.5D"sv, 12.5},
    {"FormatInLowerCase", "d", u"12.5"sv, 12.5},

    {"NorthIsPositive", "D", u"12.5N"sv, 12.5},
    {"SouthIsNegative", "D", u"12.5S"sv, -12.5},
    {"EastIsPositive", "D", u"12.5E"sv, 12.5},
    {"WestIsNegative", "D", u"12.5W"sv, -12.5},
    {"LowerCaseNorth", "D", u"12.5n"sv, 12.5},
    {"LowerCaseSouth", "D", u"12.5s"sv, -12.5},
    {"LowerCaseEast", "D", u"12.5e"sv, 12.5},
    {"LowerCaseWest", "D", u"12.5w"sv, -12.5},
    {"HemisphereFirst", "D", u"S12.5"sv, -12.5},
    {"HemisphereFirstApart", "D", u"w 12.5"sv, -12.5},
    {"HemisphereLastApart", "D", u"12.5 W"sv, -12.5},
    {"HemisphereAfterADegreeSign", "D", u"12.5°S"sv, -12.5},
    {"NegativeZero", "D", u"-0"sv, -0.0},

    {"MinutesByBlank", "DM", u"12 30"sv, 12.5},
    {"MinutesByColon", "DM", u"12:30"sv, 12.5},
    {"MinutesByHyphen", "DM", u"12-30"sv, 12.5},
    {"MinutesByHyphenBetweenBlanks", "DM", u"12 - 30"sv, 12.5},
    {"MinutesByColonBetweenBlanks", "DM", u"12 : 30"sv, 12.5},
    {"MinutesByTab", "DM", u"12\t30"sv, 12.5},
    {"MinutesByDegreeSignAlone", "DM", u"12°30"sv, 12.5},
    {"MinutesBySigns", "DM", u"12°30'"sv, 12.5},
    {"MinutesByTypographicQuote", "DM", u"12°30’"sv, 12.5},
    {"MinutesByPrime", "DM", u"12°30′"sv, 12.5},
    {"MinutesBySignsApart", "DM", u"12 ° 30 '"sv, 12.5},
    {"MinutesByLetters", "DM", u"12d30m"sv, 12.5},
    {"MinutesByCapitalLetters", "DM", u"12D30M"sv, 12.5},
    {"MinutesWithFraction", "DM", u"12 30.75"sv, Angle(12, 30.75)},
    {"MinutesBelowTheLimit", "DM", u"12 59.999"sv, Angle(12, 59.999)},
    {"MinutesOfNegativeZeroDegrees", "DM", u"-0 30"sv, -0.5},
    {"MinutesMissing", "DM", u"12.25"sv, 12.25},
    {"SouthAfterMinutes", "DM", u"12 30S"sv, -12.5},
    {"LowerCaseSouthAfterMinutes", "DM", u"12d30ms"sv, -12.5},
    {"SignedSeparatedByHyphen", "DM", u"-12-30"sv, -12.5},

    {"SecondsByBlank", "DMS", u"12 30 15"sv, Angle(12, 30, 15)},
    {"SecondsByColon", "DMS", u"12:30:15"sv, Angle(12, 30, 15)},
    {"SecondsByHyphen", "DMS", u"12-30-15"sv, Angle(12, 30, 15)},
    {"SecondsByHyphenAfterSigns", "DMS", u"12°-30'-15\""sv, Angle(12, 30, 15)},
    {"SecondsByMixedSeparators", "DMS", u"12° 30:15"sv, Angle(12, 30, 15)},
    {"SecondsBySigns", "DMS", u"12°30'15\""sv, Angle(12, 30, 15)},
    {"SecondsByTypographicQuotes", "DMS", u"12°30’15”"sv, Angle(12, 30, 15)},
    {"SecondsByPrimes", "DMS", u"12°30′15″"sv, Angle(12, 30, 15)},
    {"SecondsByTwoApostrophes", "DMS", u"12°30'15''"sv, Angle(12, 30, 15)},
    {"SecondsByTwoPrimes", "DMS", u"12°30′15′′"sv, Angle(12, 30, 15)},
    {"SecondsByLetters", "DMS", u"12d30m15s"sv, Angle(12, 30, 15)},
    {"SecondsByLettersApart", "DMS", u"12d 30m 15s"sv, Angle(12, 30, 15)},
    {"SecondsByCapitalLetters", "DMS", u"12D30M15S"sv, Angle(12, 30, 15)},
    {"SecondsWithFraction", "DMS", u"33°51'35.9\""sv, Angle(33, 51, 35.9)},
    {"SecondsMissing", "DMS", u"12 30.5"sv, Angle(12, 30.5)},
    {"SecondsAndMinutesMissing", "DMS", u"12"sv, 12},
    {"SouthAfterASecondSign", "DMS", u"33°51'35.9\"S"sv, -Angle(33, 51, 35.9)},
    {"SouthAfterASecondSignApart", "DMS", u"33° 51' 35.9\" S"sv, -Angle(33, 51, 35.9)},
    {"SouthApartFromPlainParts", "DMS", u"12 30 15 S"sv, -Angle(12, 30, 15)},
    {"SouthTouchingPlainParts", "DMS", u"12 30 15S"sv, -Angle(12, 30, 15)},
    {"LowerCaseSouthTouchingPlainParts", "DMS", u"12:30:15s"sv, -Angle(12, 30, 15)},
    {"SouthTouchingSignedParts", "DMS", u"12°30'15S"sv, -Angle(12, 30, 15)},
    {"SouthInOtherCaseThanTheMinuteLetter", "DMS", u"12d30m15S"sv, -Angle(12, 30, 15)},
    {"SouthApartFromLetteredParts", "DMS", u"12d30m15 s"sv, -Angle(12, 30, 15)},
    {"SouthAfterTheSecondLetter", "DMS", u"12d30m15sS"sv, -Angle(12, 30, 15)},
    {"LowerCaseSouthAfterTheSecondLetter", "DMS", u"12d30m15ss"sv, -Angle(12, 30, 15)},
    {"SouthApartAfterTheSecondLetter", "DMS", u"12d30m15s S"sv, -Angle(12, 30, 15)},
    {"NorthAfterTheSecondLetter", "DMS", u"12d30m15sN"sv, Angle(12, 30, 15)},
    {"SouthBeforeTheSecondLetter", "DMS", u"S12d30m15s"sv, -Angle(12, 30, 15)},
    {"SecondLetterOfSignedText", "DMS", u"-12d30m15S"sv, -Angle(12, 30, 15)},
    {"SecondLetterOfTextWithHemisphere", "DMS", u"W12°30'15S"sv, -Angle(12, 30, 15)},
    {"LowerCaseSecondLetterOfPlainSignedText", "DMS", u"-12 30 15s"sv, -Angle(12, 30, 15)},
    {"WestAfterSeconds", "DMS", u"122:25:09.8W"sv, -Angle(122, 25, 9.8)},
    {"EastBeforeSeconds", "DMS", u"E 151 12 40"sv, Angle(151, 12, 40)},
    {"FormatInMixedCase", "dMs", u"12 30 15"sv, Angle(12, 30, 15)},

    {"PackedMinutes", "DDMM.m", u"1230.5"sv, Angle(12, 30.5)},
    {"PackedMinutesWithoutFraction", "DDMM.m", u"1230"sv, 12.5},
    {"PackedMinutesOfThreeDigitDegrees", "DDMM.m", u"12230.5"sv, Angle(122, 30.5)},
    {"PackedMinutesOfOneDigitDegrees", "DDMM.m", u"230.5"sv, Angle(2, 30.5)},
    {"PackedMinutesWithoutDegrees", "DDMM.m", u"30.5"sv, Angle(0, 30.5)},
    {"PackedMinutesOfOneDigit", "DDMM.m", u"5"sv, Angle(0, 5)},
    {"PackedMinutesOfFractionAlone", "DDMM.m", u".5"sv, Angle(0, 0.5)},
    {"PackedMinutesWithSign", "DDMM.m", u"-0030.5"sv, -Angle(0, 30.5)},
    {"PackedMinutesWithHemisphere", "DDMM.m", u"1230.5S"sv, -Angle(12, 30.5)},
    {"PackedMinutesWithHemisphereFirst", "ddmm.M", u"w 1230.5"sv, -Angle(12, 30.5)},
    {"PackedSeconds", "DDMMSS.s", u"123015.5"sv, Angle(12, 30, 15.5)},
    {"PackedSecondsOfThreeDigitDegrees", "DDMMSS.s", u"1223015"sv, Angle(122, 30, 15)},
    {"PackedSecondsWithoutDegrees", "DDMMSS.s", u"3015.5"sv, Angle(0, 30, 15.5)},
    {"PackedSecondsOfOneDigitMinutes", "DDMMSS.s", u"515"sv, Angle(0, 5, 15)},
    {"PackedSecondsAlone", "DDMMSS.s", u"15.5"sv, Angle(0, 0, 15.5)},
    {"PackedSecondsWithHemisphere", "ddmmss.S", u"123015s"sv, -Angle(12, 30, 15)},
};

class BStringValidDegrees : public testing::TestWithParam<ValidCase>
{};

TEST_P(BStringValidDegrees, GivesTheSumOfThePartsWithTheSignAppliedLast)
{
    const ValidCase& row = GetParam();
    const double angle = BString::FromFormattedDegrees(row.format, row.text);
    EXPECT_EQ(angle, row.expected);
    EXPECT_EQ(std::signbit(angle), std::signbit(row.expected));
}

INSTANTIATE_TEST_SUITE_P(,
                         BStringValidDegrees,
                         testing::ValuesIn(kValidCases),
                         [](const auto& row) { return row.param.name; });

TEST(BStringDegreesRange, ReadsNumbersTooSmallForADoubleAsZero)
{
    const BString tiny("0." + std::string(400, '0') + "1");
    EXPECT_EQ(BString::FromFormattedDegrees("D", tiny), 0);
    EXPECT_EQ(BString::FromFormattedDegrees("DM", BString("12 ") + tiny), 12);
    EXPECT_EQ(BString::FromFormattedDegrees("D", "0." + std::string(310, '0') + "1"), 1e-311);
}

struct RefusedCase
{
    const char* name;
    const char* format;
    std::u16string_view text;
};

void PrintTo(const RefusedCase& row, std::ostream* out)
{
    *out << row.name;
}

constexpr RefusedCase kRefusedCases[] = {
    {"Empty", "DMS", u""sv},
    {"WhiteSpaceAlone", "DMS", u" \t"sv},
    {"SignAlone", "DMS", u"-"sv},
    {"HemisphereAlone", "DMS", u"S"sv},
    {"PointAlone", "D", u"."sv},
    {"DegreeSignAlone", "D", u"°"sv},
    {"Word", "D", u"twelve"sv},
    {"TwoSigns", "D", u"--12"sv},
    {"TypographicMinus", "D", u"−12"sv},
    {"SignLast", "D", u"12-"sv},
    {"SignAndHemisphereLast", "D", u"-12S"sv},
    {"PlusAndHemisphereLast", "D", u"+12N"sv},
    {"HemisphereAndSignFirst", "D", u"N-12"sv},
    {"SignAndHemisphereFirst", "D", u"-N12"sv},
    {"HemisphereAtBothEnds", "D", u"N12N"sv},
    {"TwoHemispheresLast", "D", u"12NE"sv},
    {"ContraryHemispheresAroundPlainParts", "DMS", u"N12 30 15S"sv},
    {"HemisphereInside", "DM", u"12N30"sv},
    {"UnknownLetterLast", "D", u"12X"sv},
    {"TwoPoints", "D", u"1.2.3"sv},
    {"DecimalComma", "D", u"12,5"sv},
    {"Exponent", "D", u"1e1"sv},
    {"ExponentWithSign", "D", u"1e+1"sv},
    {"Hexadecimal", "D", u"0x10"sv},
    {"Infinity", "D", u"inf"sv},
    {"NotANumber", "D", u"nan"sv},
    {"DigitsOfAnotherScript", "D", u"١٢"sv},
    {"TrailingNul", "D", u"12\0"sv},
    {"TwoPartsForDegrees", "D", u"12 30"sv},
    {"MinuteMarkForDegrees", "D", u"12'"sv},
    {"TwoDegreeSigns", "D", u"12°°"sv},
    {"ThreePartsForMinutes", "DM", u"12 30 15"sv},
    {"FourPartsForSeconds", "DMS", u"12 30 15 10"sv},
    {"FractionInDegreesBeforeMinutes", "DM", u"12.5 30"sv},
    {"BarePointInDegreesBeforeMinutes", "DM", u"12. 30"sv},
    {"FractionInMinutesBeforeSeconds", "DMS", u"12 30.5 15"sv},
    {"SixtyMinutes", "DM", u"12 60"sv},
    {"SixtySeconds", "DMS", u"12 30 60"sv},
    {"SixtyMinutesWithFraction", "DM", u"12 60.5"sv},
    {"HugeMinutes", "DM", u"12 100"sv},
    {"NegativeMinutes", "DM", u"12 -30"sv},
    {"NegativeMinutesAfterASign", "DM", u"12° -30'"sv},
    {"PlusBeforeMinutes", "DM", u"12 +30"sv},
    {"TwoHyphens", "DM", u"12--30"sv},
    {"TwoColons", "DM", u"12::30"sv},
    {"ColonLast", "DM", u"12:30:"sv},
    {"ColonFirst", "DM", u":12:30"sv},
    {"CommaBetween", "DM", u"12,30"sv},
    {"SecondMarkAfterMinutes", "DM", u"12°30\""sv},
    {"TwoApostrophesAfterMinutes", "DM", u"12°30''"sv},
    {"MinuteMarkAfterSeconds", "DMS", u"12°30'15'"sv},
    {"MixedPairOfMinuteSigns", "DMS", u"12°30'15'′"sv},
    {"MinuteLetterAfterDegrees", "DM", u"12m30"sv},
    {"SecondLetterAfterDegrees", "DMS", u"-12s"sv},
    {"MarkWithoutNumber", "DMS", u"12°'15\""sv},
    {"HugeDegrees",
     "D",
     u"10000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000"
     u"00"
     u"00000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000"
     u"00"
     u"00000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000"
     u"00"
     u"0000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000"sv},
    {"PackedWithSixtyMinutes", "DDMM.m", u"1260"sv},
    {"PackedWithSixtySeconds", "DDMMSS.s", u"123060"sv},
    {"PackedWithSixtyMinutesBeforeSeconds", "DDMMSS.s", u"126015"sv},
    {"PackedWithBlank", "DDMM.m", u"12 30.5"sv},
    {"PackedWithDegreeSign", "DDMM.m", u"1230.5°"sv},
    {"PackedWithColon", "DDMMSS.s", u"12:30:15"sv},
    {"PackedWithTwoPoints", "DDMMSS.s", u"1230.15.5"sv},
    {"PackedPointAlone", "DDMM.m", u"."sv},
    {"PackedEmpty", "DDMM.m", u""sv},
    {"PackedExponent", "DDMM.m", u"1230e1"sv},
};

struct Texts
{
    std::string location;
    std::string message;
};

Texts TextsOfFailure(const BString& format, const BString& text)
{
    try {
        static_cast<void>(BString::FromFormattedDegrees(format, text));
    } catch (const BKelvaCoordinateFormatException& failure) {
        return {failure.GetLocation().ToUtf8(), failure.GetMessage().ToUtf8()};
    }
    return {"nothing thrown", ""};
}

class BStringRefusedDegrees : public testing::TestWithParam<RefusedCase>
{};

TEST_P(BStringRefusedDegrees, ThrowsWithTextAndFormat)
{
    const BString text(GetParam().text);
    const Texts texts = TextsOfFailure(GetParam().format, text);
    EXPECT_EQ(texts.location, "BString::FromFormattedDegrees");
    EXPECT_EQ(texts.message,
              "The text <" + text.ToUtf8() + "> does not fit the coordinate format <" +
                  GetParam().format + ">.");
}

INSTANTIATE_TEST_SUITE_P(,
                         BStringRefusedDegrees,
                         testing::ValuesIn(kRefusedCases),
                         [](const auto& row) { return row.param.name; });

class BStringUnknownDegreesFormat : public testing::TestWithParam<const char*>
{};

TEST_P(BStringUnknownDegreesFormat, ThrowsWithTheFormat)
{
    const Texts texts = TextsOfFailure(GetParam(), "12");
    EXPECT_EQ(texts.location, "BString::FromFormattedDegrees");
    EXPECT_EQ(texts.message,
              "The coordinate format <" + std::string(GetParam()) + "> is not known.");
}

INSTANTIATE_TEST_SUITE_P(
    ,
    BStringUnknownDegreesFormat,
    testing::Values("", "DD", "MS", "DMSS", "DDMM", "DDMMSS", "D ", "decimal"));

} // namespace
