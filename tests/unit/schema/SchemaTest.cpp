// The schema of a file from its sample lines or from all rows.
#include "lines/LineSource.h"
#include "schema/AsciiSchema.h"
#include "support/TestFiles.h"
#include "text/OptionRules.h"
#include "text/SplitPatterns.h"

#include <Orvane/BStringQt.h>
#include <Orvane/Constants.h>

#include <QFile>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

using AsciiReader::LineSource;
using AsciiReader::ReadOptions;
using AsciiReader::AsciiSchema::ScanAllRows;
using AsciiReader::AsciiSchema::Schema;
using AsciiReader::OptionRules::SampleSizeKey;
using AsciiReader::SplitPatterns::CommaSplit;
using Orvane::BString;
using TestSupport::Describe;
using TestSupport::ExpectBException;
using TestSupport::ExpectInvalidSubscript;
using TestSupport::ExpectSubclass;
using TestSupport::Options;
using TestSupport::TemporaryFolder;
using TestSupport::Texts;
using Lines = std::vector<std::string>;

Lines SchemaOf(const Texts& lines, const Options& options)
{
    return Describe(Schema(lines, options, CommaSplit()));
}

Options Auto()
{
    return Options().Set(Orvane::AUTO_SCHEMA, 1);
}

TEST(AsciiSchemaSchema, IsInferredFromTheSampleWithoutTheCoordinateColumns)
{
    EXPECT_EQ(SchemaOf({"1,2,a,7", "3,4,b,1.5"}, Auto().XY(0, 1)),
              (Lines{"C3:11:0:0", "C4:9:0:2"}));
}

TEST(AsciiSchemaSchema, KeepsTheCoordinateColumnsWithOneOfTheKeysOnly)
{
    EXPECT_EQ(SchemaOf({"7,8"}, Auto().Set(Orvane::X_COLUMN, 0)), (Lines{"C2:5:0:0", "C3:5:0:0"}));
}

TEST(AsciiSchemaSchema, UsesFiveLinesOfTheSampleByDefault)
{
    EXPECT_EQ(SchemaOf({"7", "7", "7", "7", "7", "x"}, Auto()), (Lines{"C1:5:0:0"}));
    EXPECT_EQ(SchemaOf({"7", "7", "7", "7", "x", "7"}, Auto()), (Lines{"C1:11:0:0"}));
}

TEST(AsciiSchemaSchema, UsesAsManyLinesAsTheSampleSizeSays)
{
    EXPECT_EQ(SchemaOf({"7", "x"}, Auto().Set(SampleSizeKey(), 1)), (Lines{"C1:5:0:0"}));
}

TEST(AsciiSchemaSchema, UsesEveryLineForANegativeSampleSize)
{
    EXPECT_EQ(SchemaOf({"7", "7", "7", "7", "7", "7", "x"}, Auto().Set(SampleSizeKey(), -1)),
              (Lines{"C1:11:0:0"}));
}

TEST(AsciiSchemaSchema, ThrowsAnInvalidSubscriptForASampleSizeOfZero)
{
    ExpectInvalidSubscript([] { (void)SchemaOf({"7"}, Auto().Set(SampleSizeKey(), 0)); });
}

TEST(AsciiSchemaSchema, FailsWithoutLines)
{
    ExpectSubclass([] { (void)SchemaOf({}, Auto()); },
                   "BFileContentNotValidException",
                   "AsciiSchema::Schema",
                   "There was no readable data in the file.");
}

TEST(AsciiSchemaSchema, FailsWithoutLinesBeforeTheSampleSizeCounts)
{
    ExpectSubclass([] { (void)SchemaOf({}, Options().Set(SampleSizeKey(), 0)); },
                   "BFileContentNotValidException",
                   "AsciiSchema::Schema",
                   "There was no readable data in the file.");
}

TEST(AsciiSchemaSchema, CountsTheLineOfAShortRowFromZero)
{
    ExpectSubclass(
        [] {
            (void)SchemaOf({"1,2,a", "1"}, Auto().XY(0, 1));
        },
        "BIndexOutOfBoundsException",
        "AsciiUtils::RemoveXYZ",
        "Line 1 of the data.  Expected at least 2 (x, y) fields, but only 1 present.");
    ExpectSubclass(
        [] { (void)SchemaOf({"1,2"}, Auto().XYZ(0, 1, 2)); },
        "BIndexOutOfBoundsException",
        "AsciiUtils::RemoveXYZ",
        "Line 0 of the data.  Expected at least 3 fields (x, y, z), but only 2 present.");
}

// Rule: the location text comes first here, and no line number is added.
TEST(AsciiSchemaSchema, PassesTheFailedRemovalOnUnchanged)
{
    ExpectBException([] { (void)SchemaOf({"1,2,3"}, Auto().XY(0, 9)); },
                     "BAsciiFile::RemoveXYZ",
                     "Attempting to remove X/Y/Z columns failed. Possibly due to no X/Y/Z columns "
                     "being present.");
}

TEST(AsciiSchemaSchema, NamesColumnsFromTheFirstLine)
{
    EXPECT_EQ(SchemaOf({"Name, ,Depth", "a,b,7"}, Auto().Names()),
              (Lines{"Name:11:0:0", "C2:11:0:0", "Depth:5:0:0"}));
}

TEST(AsciiSchemaSchema, HasNamesAndNoTypesWithALineOfNamesAlone)
{
    EXPECT_EQ(SchemaOf({"Name,Depth"}, Auto().Names()), (Lines{"Name:0:0:0", "Depth:0:0:0"}));
}

TEST(AsciiSchemaSchema, IgnoresDefinitionsWhenInferenceIsAskedForToo)
{
    EXPECT_EQ(SchemaOf({"7"}, Auto().Set(Orvane::COLUMN_DEFINITION, Texts{"0,A,9,0,0"})),
              (Lines{"C1:5:0:0"}));
}

TEST(AsciiSchemaSchema, IsInferredWhenAutoSchemaIsPresentButFalse)
{
    EXPECT_EQ(SchemaOf({"7"},
                       Options()
                           .Set(Orvane::AUTO_SCHEMA, false)
                           .Set(Orvane::COLUMN_DEFINITION, Texts{"0,A,9,0,0"})),
              (Lines{"C1:5:0:0"}));
}

TEST(AsciiSchemaSchema, ComesFromDefinitionsWithoutAutoSchema)
{
    EXPECT_EQ(
        SchemaOf({"1,2,x"}, Options().XY(0, 1).Set(Orvane::COLUMN_DEFINITION, Texts{"0,A,9,4,2"})),
        (Lines{"A:9:4:2"}));
}

TEST(AsciiSchemaSchema, ThrowsAnInvalidSubscriptWhenDefinitionsAndColumnsDisagree)
{
    ExpectInvalidSubscript([] {
        (void)SchemaOf({"1,2"}, Options().Set(Orvane::COLUMN_DEFINITION, Texts{"0,A,9,0,0"}));
    });
}

TEST(AsciiSchemaSchema, IsEmptyWithoutAutoSchemaAndDefinitions)
{
    EXPECT_EQ(SchemaOf({"1,2"}, Options()), Lines{});
}

TEST(AsciiSchemaSchema, HasNoColumnsForFixedWidthsWithAValidPattern)
{
    EXPECT_EQ(SchemaOf({"abc"}, Auto().Set(Orvane::FIELD_LENGTH, std::vector<std::int32_t>{1, 2})),
              Lines{});
}

TEST(AsciiSchemaSchema, CutsFixedWidthsWithAPatternThatDoesNotCompile)
{
    const Options options = Auto().Set(Orvane::FIELD_LENGTH, std::vector<std::int32_t>{2, 3});
    EXPECT_EQ(Describe(Schema({"12abc"}, options, QRegularExpression(QStringLiteral("(")))),
              (Lines{"C1:5:0:0", "C2:11:0:0"}));
}

// --- all rows ----------------------------------------------------------------------------------

class AsciiSchemaScanAllRows : public testing::Test
{
protected:
    Lines Scan(std::string_view bytes, const Options& options) const
    {
        QFile file(Orvane::MakeQString(m_folder.File("rows.csv", bytes)));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
        LineSource lines{ReadOptions(options)};
        lines.SetDevice(&file);
        const Orvane::BAttributeDefs schema =
            ScanAllRows(lines, ReadOptions(options), CommaSplit());
        EXPECT_TRUE(lines.AtEnd());
        return Describe(schema);
    }

private:
    TemporaryFolder m_folder;
};

TEST_F(AsciiSchemaScanAllRows, CountsEveryRowForTheTypes)
{
    EXPECT_EQ(Scan("7,a\n7,a\n7,a\n7,a\n7,a\n7,a\n7.25,a\n", Options()),
              (Lines{"C1:9:0:3", "C2:11:0:0"}));
}

TEST_F(AsciiSchemaScanAllRows, ReadsTheLastLineWithoutLineEnding)
{
    EXPECT_EQ(Scan("7\nx", Options()), (Lines{"C1:11:0:0"}));
    EXPECT_EQ(Scan("7", Options()), (Lines{"C1:5:0:0"}));
}

TEST_F(AsciiSchemaScanAllRows, ReadsNamesFromTheFirstLine)
{
    EXPECT_EQ(Scan("A,B\n7,1\n8,0\n", Options().Names()), (Lines{"A:5:0:0", "B:13:0:0"}));
}

TEST_F(AsciiSchemaScanAllRows, LeavesTheCoordinateColumnsOut)
{
    EXPECT_EQ(Scan("1,2,a\n3,4,5\n", Options().XY(0, 1)), (Lines{"C3:11:0:0"}));
}

TEST_F(AsciiSchemaScanAllRows, HasNoColumnsAfterABlankFirstLine)
{
    EXPECT_EQ(Scan("\n7,8\n", Options().Set(Orvane::IGNORE_BLANK_ROWS, false)), Lines{});
}

TEST_F(AsciiSchemaScanAllRows, FailsForABlankFirstLineWithCoordinateColumns)
{
    ExpectSubclass(
        [this] { (void)Scan("\n7,8\n", Options().Set(Orvane::IGNORE_BLANK_ROWS, false).XY(0, 1)); },
        "BIndexOutOfBoundsException",
        "AsciiUtils::RemoveXYZ",
        "Line 1 of the data.  Expected at least 2 (x, y) fields, but only 0 present.");
}

TEST_F(AsciiSchemaScanAllRows, CountsTheLineOfAShortRowFromOne)
{
    ExpectSubclass([this] { (void)Scan("1,2,a\n3,4,b\n5\n", Options().XY(0, 1)); },
                   "BIndexOutOfBoundsException",
                   "AsciiUtils::RemoveXYZ",
                   "Line 3 of the data.  Expected at least 2 (x, y) fields, but only 1 present.");
}

TEST_F(AsciiSchemaScanAllRows, DoesNotSkipHeaderLines)
{
    EXPECT_EQ(
        Scan("# a\n7,8\n", Options().Set(Orvane::ASCII_HEADER_IDENTIFIER, Texts{BString("#")})),
        (Lines{"C1:11:0:0"}));
}

TEST_F(AsciiSchemaScanAllRows, PassesAnUnmatchedQuoteOn)
{
    ExpectSubclass([this] { (void)Scan("1,2\n\"3,4\n", Options()); },
                   "BFileContentNotValidException",
                   "AsciiFile::GetSafeLine",
                   "File contains an unmatched quote.");
}

} // namespace
