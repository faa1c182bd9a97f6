// The rules on options that the reader shares with code that prepares a read.
#include "text/OptionRules.h"

#include "support/TestFiles.h"
#include "text/ReadOptions.h"

#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>

namespace {

namespace OptionRules = AsciiReader::OptionRules;
using AsciiReader::CoordinateOptions;
using AsciiReader::ReadOptions;
using Orvane::BString;
using TestSupport::Options;

TEST(OptionRules, KeysOfTheReaderHaveTheirTexts)
{
    EXPECT_EQ(OptionRules::SampleSizeKey(), BString("SCHEMA_SAMPLE_SIZE"));
    EXPECT_EQ(OptionRules::CodecKey(), BString("CODEC"));
    EXPECT_EQ(OptionRules::LocaleCodecKey(), BString("CODECFORLOCALE"));
}

TEST(OptionRules, AColumnWithoutANameIsNamedByItsNumber)
{
    EXPECT_EQ(OptionRules::MakeColumnName(1), BString("C1"));
    EXPECT_EQ(OptionRules::MakeColumnName(1000), BString("C1000"));
}

struct HeaderCase
{
    const char* name;
    Orvane::BVariant value;
    bool hasColumnNames;
};

void PrintTo(const HeaderCase& row, std::ostream* out)
{
    *out << row.name;
}

class OptionRulesHasColumnNames : public testing::TestWithParam<HeaderCase>
{};

TEST_P(OptionRulesHasColumnNames, Answers)
{
    const Options options = Options().Set(Orvane::FIRST_LINE_COLUMN_NAMES, GetParam().value);
    EXPECT_EQ(OptionRules::HasColumnNames(options), GetParam().hasColumnNames);
    const Orvane::BParamList normalised = OptionRules::Normalise(options);
    EXPECT_EQ(OptionRules::HasColumnNames(normalised), GetParam().hasColumnNames);
    EXPECT_EQ(ReadOptions(normalised).hasColumnNames, GetParam().hasColumnNames);
}

INSTANTIATE_TEST_SUITE_P(
    ,
    OptionRulesHasColumnNames,
    testing::Values(HeaderCase{"ATrueBoolean", Orvane::BVariant(true), true},
                    HeaderCase{"AFalseBoolean", Orvane::BVariant(false), false},
                    HeaderCase{"TheTextOne", Orvane::BVariant(BString("1")), true},
                    HeaderCase{"NotTheTextTwo", Orvane::BVariant(BString("2")), false},
                    HeaderCase{"NotTheTextTrue", Orvane::BVariant(BString("true")), false},
                    HeaderCase{"TheIntegerTwo", Orvane::BVariant(std::int32_t{2}), true}),
    [](const auto& row) { return row.param.name; });

TEST(OptionRules, WithoutTheKeyTheFirstLineHoldsNoColumnNames)
{
    EXPECT_FALSE(OptionRules::HasColumnNames(Options()));
}

TEST(ReadOptions, XAndYCountOnlyTogether)
{
    EXPECT_FALSE(ReadOptions(Options().Set(Orvane::X_COLUMN, 1)).HasCoordinates());
    EXPECT_FALSE(ReadOptions(Options().Set(Orvane::Y_COLUMN, 1)).HasCoordinates());
    EXPECT_TRUE(ReadOptions(Options().XY(0, 1)).HasCoordinates());
}

TEST(ReadOptions, EachColumnKeepsItsOwnNumber)
{
    const ReadOptions options(Options().Set(Orvane::Z_COLUMN, 3));
    EXPECT_EQ(options.x.fieldIndex, CoordinateOptions::kNoField);
    EXPECT_EQ(options.z.fieldIndex, 3);
    EXPECT_EQ(options.CountCoordinateKeys(), 1U);
}

TEST(ReadOptions, MultipliersCountOnlyTogether)
{
    const ReadOptions alone(
        Options().Set(Orvane::X_MULTIPLIER, 2.0).Set(Orvane::Z_MULTIPLIER, 3.0));
    EXPECT_EQ(alone.x.multiplier, 1.0);
    EXPECT_EQ(alone.z.multiplier, 1.0);
    const ReadOptions both(Options().Set(Orvane::X_MULTIPLIER, 2.0).Set(Orvane::Y_MULTIPLIER, 4.0));
    EXPECT_EQ(both.x.multiplier, 2.0);
    EXPECT_EQ(both.y.multiplier, 4.0);
    EXPECT_EQ(both.z.multiplier, 1.0);
}

TEST(ReadOptions, TheFirstKindOfHeaderThatIsNamedDecides)
{
    using Mode = ReadOptions::HeaderMode;
    const Options count = Options().Set(Orvane::ASCII_HEADER_COUNT, 2);
    EXPECT_EQ(ReadOptions(count).headerMode, Mode::Count);
    const Options blank = Options(count).Set(Orvane::ASCII_HEADER_BLANK_LINE, true);
    EXPECT_EQ(ReadOptions(blank).headerMode, Mode::BlankLine);
    const Options off = Options(count).Set(Orvane::ASCII_HEADER_BLANK_LINE, false);
    EXPECT_EQ(ReadOptions(off).headerMode, Mode::Count);
    const Options all =
        Options(blank).Set(Orvane::ASCII_HEADER_IDENTIFIER, std::vector<BString>{"#"});
    EXPECT_EQ(ReadOptions(all).headerMode, Mode::Identifiers);
}

TEST(ReadOptions, FiveLinesAreSampledWhereNoSizeIsGiven)
{
    EXPECT_EQ(ReadOptions(Options()).sampleSize, 5);
    EXPECT_EQ(ReadOptions(Options().Set(OptionRules::SampleSizeKey(), -1)).sampleSize, -1);
}

} // namespace
