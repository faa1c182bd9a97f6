// The schema from explicit record definitions.
#include "schema/AsciiSchema.h"
#include "support/TestFiles.h"

#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

using AsciiReader::Row;
using AsciiReader::AsciiSchema::SetSchema;
using Orvane::BString;
using TestSupport::Describe;
using TestSupport::ExpectBException;
using TestSupport::ExpectInvalidSubscript;
using TestSupport::Options;
using TestSupport::Texts;
using Lines = std::vector<std::string>;

Options Definitions(const Texts& definitions)
{
    return Options().Set(Orvane::COLUMN_DEFINITION, definitions);
}

Lines Set(const Options& options, unsigned columnCount)
{
    std::vector<Row> rows;
    return Describe(SetSchema(options, columnCount, rows));
}

/// Whether the definitions were abandoned: inference without rows then fails.
void ExpectInference(const Options& options, unsigned columnCount)
{
    ExpectInvalidSubscript([&] { (void)Set(options, columnCount); });
}

const char* const kDefinitionError =
    "There was an error in the schema. The definition \t\t\t\t\t\t\t\t\t does not have 5 values.\n "
    "\t\t\t\t\t\t\t\t\t Each record definition should look like \t\t\t\t\t\t\t\t\t "
    "ColNumber,ColName,ColType,ColLength,ColPrecision";

TEST(AsciiSchemaSetSchema, ReadsNameTypeLengthAndPrecision)
{
    EXPECT_EQ(Set(Definitions({"0,Station,11,20,0", "1,Depth,9,0,3", "2,Flag,13,0,0"}), 3),
              (Lines{"Station:11:20:0", "Depth:9:0:3", "Flag:13:0:0"}));
}

TEST(AsciiSchemaSetSchema, PutsDefinitionsOutOfOrderIntoTheOrderOfTheirNumbers)
{
    EXPECT_EQ(Set(Definitions({"2,C,9,0,0", "0,A,5,0,0", "1,B,11,0,0"}), 3),
              (Lines{"A:5:0:0", "B:11:0:0", "C:9:0:0"}));
}

TEST(AsciiSchemaSetSchema, GivesUpDefinitionsNumberedFromOne)
{
    ExpectInference(Definitions({"1,A,9,0,0", "2,B,9,0,0", "3,C,9,0,0"}), 3);
}

TEST(AsciiSchemaSetSchema, NeverMatchesADefinitionThatBeginsWithABlank)
{
    ExpectInference(Definitions({"0,A,9,0,0", " 1,Depth,9,0,3"}), 2);
    EXPECT_EQ(Set(Definitions({"0,A,9,0,0", " 1,Depth,9,0,3"}), 1), (Lines{"A:9:0:0"}));
}

TEST(AsciiSchemaSetSchema, NeverReachesANumberThatTheListIsTooShortFor)
{
    ExpectInference(Definitions({"0,A,9,0,0", "1,B,9,0,0", "3,A,9,0,0"}), 3);
}

TEST(AsciiSchemaSetSchema, GivesUpWhenTheCountIsAnother)
{
    ExpectInference(Definitions({"0,A,9,0,0", "1,B,9,0,0"}), 3);
    ExpectInference(Definitions({"0,A,9,0,0", "1,B,9,0,0"}), 1);
}

TEST(AsciiSchemaSetSchema, InfersFromTheRowsWhenTheCountIsAnother)
{
    std::vector<Row> rows{{"1.5", "x"}};
    EXPECT_EQ(Describe(SetSchema(Definitions({"0,A,9,0,0"}), 2, rows)),
              (Lines{"C1:9:0:0", "C2:11:0:0"}));
}

// Rule: every definition that begins with the digits of the position is accepted.
TEST(AsciiSchemaSetSchema, AcceptsTheDefinitionNumberedTenTwice)
{
    Texts definitions;
    for (int i = 0; i < 11; ++i) {
        definitions.push_back(BString(std::to_string(i) + ",N" + std::to_string(i) + ",5,0,0"));
    }
    ExpectInference(Definitions(definitions), 11);
    EXPECT_EQ(Set(Definitions(definitions), 12),
              (Lines{"N0:5:0:0",
                     "N1:5:0:0",
                     "N10:5:0:0",
                     "N2:5:0:0",
                     "N3:5:0:0",
                     "N4:5:0:0",
                     "N5:5:0:0",
                     "N6:5:0:0",
                     "N7:5:0:0",
                     "N8:5:0:0",
                     "N9:5:0:0",
                     "N10:5:0:0"}));
}

TEST(AsciiSchemaSetSchema, AcceptsTwoDefinitionsOfOneNumberInListOrder)
{
    EXPECT_EQ(Set(Definitions({"0,B,5,0,0", "0,A,9,0,0"}), 2), (Lines{"B:5:0:0", "A:9:0:0"}));
}

TEST(AsciiSchemaSetSchema, MatchesANumberByItsTextAndNotByItsValue)
{
    ExpectInference(Definitions({"00,A,5,0,0", "01,B,5,0,0"}), 3);
    // Both begin with the digits of position 0.
    EXPECT_EQ(Set(Definitions({"00,A,5,0,0", "01,B,5,0,0"}), 2), (Lines{"A:5:0:0", "B:5:0:0"}));
}

TEST(AsciiSchemaSetSchema, SubtractsTheCoordinateKeysFromTheExpectedCount)
{
    const Texts three{"0,A,5,0,0", "1,B,5,0,0", "2,C,5,0,0"};
    EXPECT_EQ(Set(Definitions(three).XY(0, 1), 5).size(), 3U);
    ExpectInference(Definitions(three).XY(0, 1), 4);
    EXPECT_EQ(Set(Definitions(three).XYZ(0, 1, 2), 6).size(), 3U);
}

TEST(AsciiSchemaSetSchema, LooksOnlyForThePresenceOfTheCoordinateKeys)
{
    EXPECT_EQ(Set(Definitions({"0,A,5,0,0"}).Set(Orvane::Z_COLUMN, BString("none")), 2),
              (Lines{"A:5:0:0"}));
}

TEST(AsciiSchemaSetSchema, AcceptsAnEmptyListOnlyWhenAllColumnsAreCoordinates)
{
    EXPECT_EQ(Set(Definitions({}).XY(0, 1), 2), Lines{});
    ExpectInference(Definitions({}).XY(0, 1), 3);
    EXPECT_EQ(Set(Definitions({}), 0), Lines{});
}

TEST(AsciiSchemaSetSchema, ReadsNumbersUpToTheFirstOtherCharacter)
{
    EXPECT_EQ(Set(Definitions({"0,A,abc,x,", "1,B,9x, 12,-3"}), 2),
              (Lines{"A:0:0:0", "B:9:12:-3"}));
}

TEST(AsciiSchemaSetSchema, AcceptsAnyTypeNumber)
{
    EXPECT_EQ(Set(Definitions({"0,A,999,-5,0", "1,,-1,0,0"}), 2), (Lines{"A:999:-5:0", ":-1:0:0"}));
}

TEST(AsciiSchemaSetSchema, KeepsTheNameAsItIsWritten)
{
    EXPECT_EQ(Set(Definitions({"0, \"A\" ,5,0,0"}), 1), (Lines{" \"A\" :5:0:0"}));
}

TEST(AsciiSchemaSetSchema, FailsForAMatchingDefinitionWithFourValues)
{
    ExpectBException(
        [] { (void)Set(Definitions({"0,A,5,0"}), 1); }, kDefinitionError, "AsciiSchema::SetSchema");
}

TEST(AsciiSchemaSetSchema, FailsForAMatchingDefinitionWithSixValues)
{
    ExpectBException([] { (void)Set(Definitions({"0,A,5,0,0,"}), 1); },
                     kDefinitionError,
                     "AsciiSchema::SetSchema");
}

TEST(AsciiSchemaSetSchema, FailsForAMalformedDefinitionEvenWhenTheCountDisagrees)
{
    ExpectBException(
        [] {
            (void)Set(Definitions({"0,A,5,0,0", "1,B"}), 7);
        },
        kDefinitionError,
        "AsciiSchema::SetSchema");
}

TEST(AsciiSchemaSetSchema, CountsEmptyValues)
{
    EXPECT_EQ(Set(Definitions({"0,,,,"}), 1), (Lines{":0:0:0"}));
}

TEST(AsciiSchemaSetSchema, NeverSplitsADefinitionThatNoPositionReaches)
{
    EXPECT_EQ(Set(Definitions({"0,A,5,0,0", "7 is malformed"}), 1), (Lines{"A:5:0:0"}));
}

TEST(AsciiSchemaSetSchema, HasAnErrorTextOf192Characters)
{
    EXPECT_EQ(std::string(kDefinitionError).size(), std::size_t{192});
}

} // namespace
