// Names and types of columns from rows.
#include "schema/AsciiSchema.h"
#include "support/TestFiles.h"

#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using AsciiReader::Row;
using AsciiReader::AsciiSchema::InferSchema;
using AsciiReader::AsciiSchema::InitColumns;
using Orvane::BAttributeDefs;
using TestSupport::Describe;
using TestSupport::ExpectInvalidSubscript;
using TestSupport::Options;
using Lines = std::vector<std::string>;

TEST(AsciiSchemaInitColumns, NamesColumnsByTheirPositionInTheFile)
{
    BAttributeDefs schema;
    EXPECT_TRUE(InitColumns(schema, {"a", "b"}, Options()));
    EXPECT_EQ(Describe(schema), (Lines{"C1:0:0:0", "C2:0:0:0"}));
}

TEST(AsciiSchemaInitColumns, SkipsTheNumbersOfTheCoordinateColumns)
{
    BAttributeDefs schema;
    EXPECT_TRUE(InitColumns(schema, {"a", "b", "c"}, Options().XY(0, 1)));
    EXPECT_EQ(Describe(schema), (Lines{"C3:0:0:0", "C4:0:0:0", "C5:0:0:0"}));
}

TEST(AsciiSchemaInitColumns, SkipsCoordinateColumnsBetweenTheOthers)
{
    BAttributeDefs schema;
    EXPECT_TRUE(InitColumns(schema, {"a", "b"}, Options().XYZ(1, 3, 2)));
    EXPECT_EQ(Describe(schema), (Lines{"C1:0:0:0", "C5:0:0:0"}));
}

TEST(AsciiSchemaInitColumns, SkipsTheNumberOfASingleCoordinateKeyToo)
{
    BAttributeDefs schema;
    EXPECT_TRUE(InitColumns(schema, {"a", "b"}, Options().Set(Orvane::X_COLUMN, 0)));
    EXPECT_EQ(Describe(schema), (Lines{"C2:0:0:0", "C3:0:0:0"}));
}

TEST(AsciiSchemaInitColumns, ReadsNamesFromTheFirstRowTrimmed)
{
    BAttributeDefs schema;
    EXPECT_FALSE(InitColumns(schema, {" Name\t", " ", "Depth"}, Options().Names()));
    EXPECT_EQ(Describe(schema), (Lines{"Name:0:0:0", "C2:0:0:0", "Depth:0:0:0"}));
}

TEST(AsciiSchemaInitColumns, NumbersEmptyNamesPastTheCoordinateColumns)
{
    BAttributeDefs schema;
    EXPECT_FALSE(InitColumns(schema, {"", "b", ""}, Options().Names().XYZ(0, 1, 3)));
    EXPECT_EQ(Describe(schema), (Lines{"C3:0:0:0", "b:0:0:0", "C6:0:0:0"}));
}

TEST(AsciiSchemaInitColumns, KeepsNamesThatAreAlike)
{
    BAttributeDefs schema;
    EXPECT_FALSE(InitColumns(schema, {"a", "a"}, Options().Names()));
    EXPECT_EQ(Describe(schema), (Lines{"a:0:0:0", "a:0:0:0"}));
}

TEST(AsciiSchemaInitColumns, ReadsTheFirstRowAsDataWhenTheNamesOptionIsFalse)
{
    BAttributeDefs schema;
    EXPECT_TRUE(InitColumns(schema, {"a"}, Options().Set(Orvane::FIRST_LINE_COLUMN_NAMES, false)));
    EXPECT_EQ(Describe(schema), (Lines{"C1:0:0:0"}));
}

TEST(AsciiSchemaInitColumns, GivesNoColumnsForAnEmptyRow)
{
    BAttributeDefs schema;
    EXPECT_TRUE(InitColumns(schema, {}, Options()));
    EXPECT_EQ(schema.GetCount(), 0U);
}

TEST(AsciiSchemaInferSchema, ThrowsAnInvalidSubscriptWithoutRows)
{
    std::vector<Row> rows;
    ExpectInvalidSubscript([&] { (void)InferSchema(rows, Options()); });
}

TEST(AsciiSchemaInferSchema, RemovesTheRowOfNamesFromTheCallersList)
{
    std::vector<Row> rows{{"Name", "Depth"}, {"a", "1.5"}};
    EXPECT_EQ(Describe(InferSchema(rows, Options().Names())),
              (Lines{"Name:11:0:0", "Depth:9:0:0"}));
    EXPECT_EQ(rows, (std::vector<Row>{{"a", "1.5"}}));
}

TEST(AsciiSchemaInferSchema, CountsTheFirstRowForTheTypesWhenItIsData)
{
    std::vector<Row> rows{{"a", "2"}, {"5", "3"}};
    EXPECT_EQ(Describe(InferSchema(rows, Options())), (Lines{"C1:11:0:0", "C2:5:0:0"}));
    EXPECT_EQ(rows.size(), 2U);
}

TEST(AsciiSchemaInferSchema, HasNamesAndNoTypesWithTheRowOfNamesAlone)
{
    std::vector<Row> rows{{"Name", "Depth"}};
    EXPECT_EQ(Describe(InferSchema(rows, Options().Names())), (Lines{"Name:0:0:0", "Depth:0:0:0"}));
}

TEST(AsciiSchemaInferSchema, MakesAllColumnsStringsWhenNumbersArePreserved)
{
    std::vector<Row> rows{{"1", "7", "1.5", "x"}, {"0", "8", "2.5", "y"}};
    EXPECT_EQ(Describe(InferSchema(rows, Options().Set(Orvane::PRESERVE_NUMERIC_STRINGS, true))),
              (Lines{"C1:13:0:0", "C2:11:0:0", "C3:11:0:0", "C4:11:0:0"}));
}

} // namespace
