// One split row as a point feature.
#include "layer/AsciiLayer.h"
#include "support/TestFiles.h"

#include <Orvane/BFeature.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace {

using AsciiReader::Row;
using AsciiReader::AsciiLayer::ParseCoordinate;
using AsciiReader::AsciiLayer::ParsedToFeature;
using Orvane::BAttributeDef;
using Orvane::BAttributeDefs;
using Orvane::BFeature;
using Orvane::BParamList;
using Orvane::BSharedPtr;
using Orvane::BString;
using Orvane::EVariantType;
using TestSupport::Describe;
using TestSupport::ExpectBException;
using TestSupport::ExpectInvalidSubscript;
using TestSupport::Options;

/// A schema of columns named A, B, C... with these types.
BAttributeDefs SchemaOf(const std::vector<int>& types)
{
    BAttributeDefs schema;
    for (std::size_t i = 0; i < types.size(); ++i) {
        BAttributeDef def;
        def.SetName(BString(std::string(1, static_cast<char>('A' + i))));
        def.SetType(static_cast<EVariantType>(types[i]));
        schema.Add(def);
    }
    return schema;
}

BSharedPtr<BFeature> Make(const Row& row,
                          BAttributeDefs schema,
                          const BParamList& options,
                          std::uint32_t recordNumber = 1)
{
    return ParsedToFeature(row, schema, options, recordNumber, "", "", "");
}

/// The feature that Make gives, in one line of text.
std::string Text(const Row& row,
                 const std::vector<int>& types,
                 const BParamList& options,
                 std::uint32_t recordNumber = 1)
{
    return Describe(*Make(row, SchemaOf(types), options, recordNumber));
}

TEST(AsciiLayerParsedToFeature, MakesAPointAndKeepsTheOtherColumnsInSchemaOrder)
{
    EXPECT_EQ(Text({"1", "2", "a", "b"}, {11, 11}, Options().XY(0, 1)), "1 (1 2) A=11:a B=11:b");
}

TEST(AsciiLayerParsedToFeature, FindsTheCoordinatesBetweenTheOtherColumns)
{
    EXPECT_EQ(Text({"a", "3", "b", "1", "2"}, {11, 11}, Options().XYZ(3, 4, 1)),
              "1 (1 2 3) A=11:a B=11:b");
}

TEST(AsciiLayerParsedToFeature, HandsOutTheOneOwningHandle)
{
    const BSharedPtr<BFeature> feature = Make({"1", "2"}, {}, Options().XY(0, 1));
    EXPECT_EQ(feature.GetUseCount(), 1);
    EXPECT_TRUE(feature.IsOwner());
}

TEST(AsciiLayerParsedToFeature, SetsTheBoundingBoxFromThePoint)
{
    const auto feature = Make({"1", "2", "3"}, {}, Options().XYZ(0, 1, 2));
    EXPECT_EQ(feature->GetMBB().minX, 1);
    EXPECT_EQ(feature->GetMBB().maxX, 1);
    EXPECT_EQ(feature->GetMBB().minY, 2);
    EXPECT_EQ(feature->GetMBB().maxY, 2);
    EXPECT_EQ(feature->GetMBB().minZ, 3);
    EXPECT_EQ(feature->GetMBB().maxZ, 3);
}

TEST(AsciiLayerParsedToFeature, LeavesTheBoundingBoxEmptyWithoutAPoint)
{
    EXPECT_TRUE(Make({"", "2"}, {}, Options().XY(0, 1))->GetMBB().IsEmpty());
}

TEST(AsciiLayerParsedToFeature, LeavesZUnsetWithoutAZColumn)
{
    const auto feature = Make({"1", "2"}, {}, Options().XY(0, 1));
    ASSERT_NE(feature->GetPoint(), nullptr);
    EXPECT_FALSE(feature->GetPoint()->HasZ());
}

// --- names -------------------------------------------------------------------------------------

TEST(AsciiLayerParsedToFeatureName, IsTheRecordNumberWithoutANameColumn)
{
    EXPECT_EQ(Make({"a"}, SchemaOf({11}), Options(), 17)->GetName(), BString("17"));
    EXPECT_EQ(Make({"a"}, SchemaOf({11}), Options(), 4294967295U)->GetName(),
              BString("4294967295"));
}

TEST(AsciiLayerParsedToFeatureName, IsTheFieldOfTheNameColumnCountedFromOne)
{
    EXPECT_EQ(Text({"1", "2", "c"}, {11}, Options().XY(0, 1).Set(Orvane::NAME_COLUMN, 3), 7),
              "c (1 2) A=11:c");
    EXPECT_EQ(Text({"1", "2", "c"}, {11}, Options().XY(0, 1).Set(Orvane::NAME_COLUMN, 1), 7),
              "1 (1 2) A=11:c");
}

// Rule: the location text comes first here.
TEST(AsciiLayerParsedToFeatureName, RefusesNameColumnZeroWithTheLocationFirst)
{
    ExpectBException(
        [] {
            (void)Make({"a", "b", "c"}, {}, Options().Set(Orvane::NAME_COLUMN, 0));
        },
        "AsciiLayer::ParsedToFeature",
        "The name column specified is out of bounds.");
}

TEST(AsciiLayerParsedToFeatureName, RefusesANegativeNameColumn)
{
    ExpectBException(
        [] {
            (void)Make({"a", "b", "c"}, {}, Options().Set(Orvane::NAME_COLUMN, -3));
        },
        "AsciiLayer::ParsedToFeature",
        "The name column specified is out of bounds.");
}

TEST(AsciiLayerParsedToFeatureName, RefusesANameColumnTwoPastTheRow)
{
    ExpectBException(
        [] {
            (void)Make({"a", "b", "c"}, {}, Options().Set(Orvane::NAME_COLUMN, 5));
        },
        "AsciiLayer::ParsedToFeature",
        "The name column specified is out of bounds.");
}

// Rule: the name column one past the row passes the test and fails at the access.
TEST(AsciiLayerParsedToFeatureName, OnePastTheRowIsAnInvalidSubscript)
{
    ExpectInvalidSubscript([] {
        (void)Make({"a", "b", "c"}, {}, Options().Set(Orvane::NAME_COLUMN, 4));
    });
}

// --- geometry ----------------------------------------------------------------------------------

TEST(AsciiLayerParsedToFeatureGeometry, IsMissingWhenXIsEmptyAndTheAttributesStay)
{
    EXPECT_EQ(Text({"", "2", "a"}, {11}, Options().XY(0, 1)), "1 (-) A=11:a");
}

TEST(AsciiLayerParsedToFeatureGeometry, IsMissingWhenYIsNoNumber)
{
    EXPECT_EQ(Text({"1", "abc", "a"}, {11}, Options().XY(0, 1)), "1 (-) A=11:a");
}

TEST(AsciiLayerParsedToFeatureGeometry, AcceptsBlanksBeforeANumber)
{
    EXPECT_EQ(Text({"1", " 12"}, {}, Options().XY(0, 1)), "1 (1 12)");
}

TEST(AsciiLayerParsedToFeatureGeometry, IsMissingWhenABlankFollowsANumber)
{
    EXPECT_EQ(Text({"1", "12 "}, {}, Options().XY(0, 1)), "1 (-)");
}

TEST(AsciiLayerParsedToFeatureGeometry, IsDroppedAsAWholeWhenZFails)
{
    EXPECT_EQ(Text({"1", "2", ""}, {}, Options().XYZ(0, 1, 2)), "1 (-)");
    EXPECT_EQ(Text({"1", "2", "x"}, {}, Options().XYZ(0, 1, 2)), "1 (-)");
}

TEST(AsciiLayerParsedToFeatureGeometry, StaysMissingWhenLaterCoordinatesAreGood)
{
    EXPECT_EQ(Text({"1", "", "3", "a"}, {11}, Options().XYZ(0, 1, 2)), "1 (-) A=11:a");
    EXPECT_EQ(Text({"", "2", "3", "a"}, {11}, Options().XYZ(0, 1, 2)), "1 (-) A=11:a");
}

TEST(AsciiLayerParsedToFeatureGeometry, IsMadeByAZColumnThatComesFirst)
{
    EXPECT_EQ(Text({"3", "1", "2"}, {}, Options().XYZ(1, 2, 0)), "1 (1 2 3)");
}

TEST(AsciiLayerParsedToFeatureGeometry, IsMissingWhenAZColumnThatComesFirstFails)
{
    EXPECT_EQ(Text({"", "1", "2"}, {}, Options().XYZ(1, 2, 0)), "1 (-)");
}

TEST(AsciiLayerParsedToFeatureGeometry, KeepsANaNCoordinate)
{
    const auto feature = Make({"1", "2", "NaN"}, {}, Options().XYZ(0, 1, 2));
    ASSERT_NE(feature->GetPoint(), nullptr);
    EXPECT_TRUE(feature->GetPoint()->HasZ());
    EXPECT_TRUE(std::isnan(feature->GetPoint()->GetZ()));
}

TEST(AsciiLayerParsedToFeatureGeometry, KeepsNaNInACoordinateWhoseColumnIsMissing)
{
    const auto feature = Make({"1"}, {}, Options().XY(0, 5));
    ASSERT_NE(feature->GetPoint(), nullptr);
    EXPECT_EQ(feature->GetPoint()->GetX(), 1);
    EXPECT_TRUE(std::isnan(feature->GetPoint()->GetY()));
}

TEST(AsciiLayerParsedToFeatureGeometry, ReadsAColumnThatIsXAndYAsXOnly)
{
    const auto feature = Make({"1", "a"}, SchemaOf({11}), Options().XY(0, 0));
    ASSERT_NE(feature->GetPoint(), nullptr);
    EXPECT_EQ(feature->GetPoint()->GetX(), 1);
    EXPECT_TRUE(std::isnan(feature->GetPoint()->GetY()));
    EXPECT_EQ(feature->GetAttributeValue(0).GetString(), BString("a"));
}

TEST(AsciiLayerParsedToFeatureGeometry, IsNeverMadeWithOneOfTheTwoColumnsOnly)
{
    EXPECT_EQ(Text({"1", "2"}, {5, 5}, Options().Set(Orvane::X_COLUMN, 0)), "1 (-) A=5:1 B=5:2");
    EXPECT_EQ(Text({"1", "2"}, {5, 5}, Options().Set(Orvane::Y_COLUMN, 0)), "1 (-) A=5:1 B=5:2");
}

TEST(AsciiLayerParsedToFeatureGeometry, DoesNotReadZWithoutXAndY)
{
    EXPECT_EQ(Text({"1", "2"}, {5, 5}, Options().Set(Orvane::X_COLUMN, 0).Set(Orvane::Z_COLUMN, 1)),
              "1 (-) A=5:1 B=5:2");
}

TEST(AsciiLayerParsedToFeatureGeometry, MultipliesTheCoordinates)
{
    EXPECT_EQ(Text({"1", "2", "3"},
                   {},
                   Options()
                       .XYZ(0, 1, 2)
                       .Set(Orvane::X_MULTIPLIER, 2.0)
                       .Set(Orvane::Y_MULTIPLIER, 0.5)
                       .Set(Orvane::Z_MULTIPLIER, -1.0)),
              "1 (2 1 -3)");
}

TEST(AsciiLayerParsedToFeatureGeometry, MultipliesByAnIntegerOption)
{
    EXPECT_EQ(Text({"1", "2"},
                   {},
                   Options()
                       .XY(0, 1)
                       .Set(Orvane::X_MULTIPLIER, 10)
                       .Set(Orvane::Y_MULTIPLIER, BString("0.25"))),
              "1 (10 0.5)");
}

TEST(AsciiLayerParsedToFeatureGeometry, LeavesAllFactorsAtOneWithoutTheYMultiplier)
{
    EXPECT_EQ(
        Text({"1", "2", "3"},
             {},
             Options().XYZ(0, 1, 2).Set(Orvane::X_MULTIPLIER, 2.0).Set(Orvane::Z_MULTIPLIER, 5.0)),
        "1 (1 2 3)");
}

TEST(AsciiLayerParsedToFeatureGeometry, LeavesTheZFactorAtOneWithoutTheXAndYMultipliers)
{
    EXPECT_EQ(Text({"1", "2", "3"}, {}, Options().XYZ(0, 1, 2).Set(Orvane::Z_MULTIPLIER, 5.0)),
              "1 (1 2 3)");
}

TEST(AsciiLayerParsedToFeatureGeometry, KeepsTheZFactorAtOneWhenOnlyXAndYHaveOne)
{
    EXPECT_EQ(
        Text({"1", "2", "3"},
             {},
             Options().XYZ(0, 1, 2).Set(Orvane::X_MULTIPLIER, 2.0).Set(Orvane::Y_MULTIPLIER, 2.0)),
        "1 (2 4 3)");
}

TEST(AsciiLayerParsedToFeatureGeometry, ReadsFormattedCoordinates)
{
    BAttributeDefs schema;
    const auto feature = ParsedToFeature(
        {"1 30 W", "10.5", "2:15"}, schema, Options().XYZ(0, 1, 2), 1, "DM", "", "DM");
    EXPECT_EQ(Describe(*feature), "1 (-1.5 10.5 2.25)");
}

TEST(AsciiLayerParsedToFeatureGeometry, IsMissingWhenATextDoesNotFitItsFormat)
{
    BAttributeDefs schema;
    const auto feature =
        ParsedToFeature({"1 61", "2"}, schema, Options().XY(0, 1), 1, "DM", "", "");
    EXPECT_EQ(Describe(*feature), "1 (-)");
}

TEST(AsciiLayerParsedToFeatureGeometry, IsMissingWhenTheFormatIsUnknown)
{
    BAttributeDefs schema;
    const auto feature = ParsedToFeature({"1", "2"}, schema, Options().XY(0, 1), 1, "Q", "", "");
    EXPECT_EQ(Describe(*feature), "1 (-)");
}

// --- attributes --------------------------------------------------------------------------------

TEST(AsciiLayerParsedToFeatureAttributes, AreNumberedTextsWithAnEmptySchema)
{
    EXPECT_EQ(Text({"a", "b"}, {}, Options()), "1 (-) attribute0=11:a attribute1=11:b");
}

TEST(AsciiLayerParsedToFeatureAttributes, AreNumberedWithoutTheCoordinateColumns)
{
    EXPECT_EQ(Text({"a", "1", "2", "b"}, {}, Options().XY(1, 2)),
              "1 (1 2) attribute0=11:a attribute1=11:b");
}

TEST(AsciiLayerParsedToFeatureAttributes, AreFewerWhenTheRowIsShort)
{
    EXPECT_EQ(Text({"1", "2", "a"}, {11, 5, 9}, Options().XY(0, 1)), "1 (1 2) A=11:a");
}

// Rule: the location text comes first here, and the count test shows equal numbers with ">".
TEST(AsciiLayerParsedToFeatureAttributes, TooManyArriveWithTheLocationFirst)
{
    ExpectBException(
        [] {
            (void)Make({"1", "2", "a", "b", "c"}, SchemaOf({11, 11}), Options().XY(0, 1));
        },
        "BAsciiFile::Read",
        "There are too many columns (2 > 2) for the row.");
}

TEST(AsciiLayerParsedToFeatureAttributes, TooManyAreNamedByTheFirstThatDoesNotFit)
{
    ExpectBException(
        [] {
            (void)Make({"a", "b", "c"}, SchemaOf({11}), Options());
        },
        "BAsciiFile::Read",
        "There are too many columns (1 > 1) for the row.");
}

struct ValueCase
{
    const char* name;
    int type;
    const char* text;
    const char* value;
};

void PrintTo(const ValueCase& valueCase, std::ostream* stream)
{
    *stream << valueCase.type << " \"" << valueCase.text << '"';
}

class AsciiLayerParsedToFeatureValues : public testing::TestWithParam<ValueCase>
{};

TEST_P(AsciiLayerParsedToFeatureValues, FollowTheTypeOfTheColumn)
{
    EXPECT_EQ(Text({GetParam().text}, {GetParam().type}, Options()),
              std::string("1 (-) A=") + GetParam().value);
}

constexpr ValueCase kValues[] = {
    {"IntegerDropsCommas", 5, "1,234", "5:1234"},
    {"IntegerReadsTheLeadingDigits", 5, "12abc", "5:12"},
    {"IntegerAcceptsLeadingBlanks", 5, "  -7", "5:-7"},
    {"IntegerCutsAtThePoint", 5, "12.9", "5:12"},
    {"IntegerOfAWordIsZero", 5, "abc", "5:0"},
    {"IntegerOfNothingIsZero", 5, "", "5:0"},
    {"IntegerPast32BitsKeepsItsLow32Bits", 5, "4294967297", "5:1"},
    {"IntegerOfThreeThousandMillionsKeepsItsLow32Bits", 5, "3000000000", "5:-1294967296"},
    {"IntegerPast64BitsIsTheLargestCut", 5, "99999999999999999999", "5:-1"},
    {"IntegerBelow64BitsIsTheSmallestCut", 5, "-99999999999999999999", "5:0"},
    {"IntegerHasNoExponent", 5, "1e5", "5:1"},
    {"IntegerHasNoHexadecimal", 5, "0x10", "5:0"},
    {"DoubleDropsCommas", 9, "1,234.5", "9:1234.5"},
    {"DoubleReadsTheLeadingNumber", 9, "1.5kg", "9:1.5"},
    {"DoubleOfAWordIsZero", 9, "word", "9:0"},
    {"DoubleKeepsTheSignOfZero", 9, "-0", "9:-0"},
    {"DoubleAcceptsHexadecimal", 9, "0x1p4", "9:16"},
    {"DoubleAcceptsInf", 9, "-inf", "9:-inf"},
    {"DoubleAcceptsNan", 9, "nan", "9:nan"},
    {"DoublePastItsRangeIsInfinite", 9, "1e400", "9:inf"},
    {"DoubleIsRoundedToTheNearest", 9, "0.1", "9:0.1"},
    {"DoubleKeepsSeventeenDigits", 9, "0.30000000000000004", "9:0.30000000000000004"},
    {"FloatIsNarrowed", 10, "0.1", "10:0.1"},
    {"FloatDropsCommas", 10, "1,000.25", "10:1000.25"},
    {"FloatPastItsRangeIsInfinite", 10, "1e39", "10:inf"},
    {"StringStaysAsItIs", 11, " 1,5 ", "11: 1,5 "},
    {"SecondStringKindIsText", 12, "1,5", "11:1,5"},
    {"BooleanAcceptsAnyCase", 13, "Yes", "13:true"},
    {"BooleanOfANumberWordIsFalse", 13, "2", "13:false"},
    {"BooleanOfOneIsTrue", 13, "1", "13:true"},
    {"BooleanOfNothingIsFalse", 13, "", "13:false"},
    {"A64BitIntegerIsCarriedAsText", 7, "3000000000", "11:3000000000"},
    {"TypeSixIsCarriedAsText", 6, "1,0", "11:1,0"},
    {"TypeEightIsCarriedAsText", 8, "1", "11:1"},
    {"TypeZeroIsCarriedAsText", 0, "x", "11:x"},
    {"AnUnknownTypeIsCarriedAsText", 999, "x", "11:x"},
    {"ANegativeTypeIsCarriedAsText", -4, "x", "11:x"},
};

INSTANTIATE_TEST_SUITE_P(,
                         AsciiLayerParsedToFeatureValues,
                         testing::ValuesIn(kValues),
                         TestSupport::CaseName());

TEST(AsciiLayerParsedToFeatureValueRules, ReadNumbersFromTextOutsideOfAsciiUpToIt)
{
    EXPECT_EQ(Text({"12\u00e9", "1.5\u20ac"}, {5, 9}, Options()), "1 (-) A=5:12 B=9:1.5");
}

TEST(AsciiLayerParsedToFeatureWidths, AreRaisedToTheLongestText)
{
    BAttributeDefs schema = SchemaOf({11});
    const Options none;
    ParsedToFeature({"abc"}, schema, none, 1, "", "", "");
    EXPECT_EQ(schema.GetAt(0).GetLength(), 3);
    ParsedToFeature({"a"}, schema, none, 2, "", "", "");
    EXPECT_EQ(schema.GetAt(0).GetLength(), 3);
    ParsedToFeature({"abcde"}, schema, none, 3, "", "", "");
    EXPECT_EQ(schema.GetAt(0).GetLength(), 5);
}

TEST(AsciiLayerParsedToFeatureWidths, StayForAllTypesExceptTheString)
{
    BAttributeDefs schema = SchemaOf({12, 5, 9, 7, 13, 0});
    const Options none;
    ParsedToFeature({"abc", "123", "1.25", "300", "yes", "zz"}, schema, none, 1, "", "", "");
    for (std::size_t i = 0; i < schema.GetCount(); ++i) {
        EXPECT_EQ(schema.GetAt(i).GetLength(), 0) << i;
    }
}

// --- one coordinate ----------------------------------------------------------------------------

struct CoordinateCase
{
    const char* name;
    const char* text;
    bool fits;
    double value;
};

void PrintTo(const CoordinateCase& coordinateCase, std::ostream* stream)
{
    *stream << '"' << coordinateCase.text << '"';
}

class AsciiLayerParseCoordinate : public testing::TestWithParam<CoordinateCase>
{};

TEST_P(AsciiLayerParseCoordinate, AcceptsAWholeFiniteNumber)
{
    double value = -99;
    ASSERT_EQ(ParseCoordinate(GetParam().text, "", value), GetParam().fits);
    if (GetParam().fits) {
        EXPECT_EQ(value, GetParam().value);
    }
}

constexpr CoordinateCase kCoordinates[] = {
    {"Integer", "12", true, 12},
    {"Negative", "-12.5", true, -12.5},
    {"PlusSign", "+1", true, 1},
    {"LeadingPoint", ".5", true, 0.5},
    {"TrailingPoint", "5.", true, 5},
    {"Exponent", "1e3", true, 1000},
    {"Hexadecimal", "0x1F", true, 31},
    {"HexadecimalFraction", "0x.8p1", true, 1},
    {"LeadingBlanks", " \t\n\v\f\r7", true, 7},
    {"TooSmallForADouble", "1e-400", true, 0},
    {"SeventeenDigits", "8.0000000000000018", true, 8.0000000000000018},
    {"ManyDigits", "0.1000000000000000055511151231257827021181583404541015625", true, 0.1},
    {"Empty", "", false, 0},
    {"OnlyBlanks", "  ", false, 0},
    {"TrailingBlank", "12 ", false, 0},
    {"UnitAfterTheNumber", "12m", false, 0},
    {"DecimalComma", "1,5", false, 0},
    {"Thousands", "1,234", false, 0},
    {"Word", "abc", false, 0},
    {"SignAlone", "-", false, 0},
    {"ExponentWithoutDigits", "1e", false, 0},
    {"HexadecimalPrefixAlone", "0x", false, 0},
    {"Infinite", "inf", false, 0},
    {"InfiniteWord", "-Infinity", false, 0},
    {"PastTheRange", "1e400", false, 0},
};

INSTANTIATE_TEST_SUITE_P(,
                         AsciiLayerParseCoordinate,
                         testing::ValuesIn(kCoordinates),
                         TestSupport::CaseName());

TEST(AsciiLayerParseCoordinateRules, AcceptsNaN)
{
    for (const char* text : {"nan", "NaN", "-NAN", " nan", "nan(12)"}) {
        double value = 0;
        EXPECT_TRUE(ParseCoordinate(text, "", value)) << text;
        EXPECT_TRUE(std::isnan(value)) << text;
    }
}

TEST(AsciiLayerParseCoordinateRules, StopsAtANulUnit)
{
    double value = 0;
    EXPECT_FALSE(ParseCoordinate(BString::FromUtf8(std::string_view("1\0002", 3)), "", value));
}

TEST(AsciiLayerParseCoordinateRules, RefusesDigitsOutsideOfAscii)
{
    double value = 0;
    EXPECT_FALSE(ParseCoordinate("\uff11", "", value));
}

TEST(AsciiLayerParseCoordinateRules, ReadsFormattedDegrees)
{
    double value = 0;
    ASSERT_TRUE(ParseCoordinate("W 10 30", "DM", value));
    EXPECT_EQ(value, -10.5);
    ASSERT_TRUE(ParseCoordinate("010.25", "d", value));
    EXPECT_EQ(value, 10.25);
}

TEST(AsciiLayerParseCoordinateRules, IgnoresFailuresOfTheFormat)
{
    double value = 0;
    EXPECT_FALSE(ParseCoordinate("10 60", "DM", value));
    EXPECT_FALSE(ParseCoordinate("north", "DM", value));
    EXPECT_FALSE(ParseCoordinate("10", "unknown", value));
}

TEST(AsciiLayerParseCoordinateRules, RefusesTheEmptyTextWithAFormat)
{
    double value = 0;
    EXPECT_FALSE(ParseCoordinate("", "DM", value));
}

} // namespace
