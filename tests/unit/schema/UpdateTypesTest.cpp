// Widening the types of a schema row by row.
#include "schema/AsciiSchema.h"
#include "support/TestFiles.h"

#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using AsciiReader::Row;
using AsciiReader::AsciiSchema::InferSchema;
using AsciiReader::AsciiSchema::UpdateTypes;
using Orvane::BAttributeDef;
using Orvane::BAttributeDefs;
using Orvane::EVariantType;
using TestSupport::Describe;
using TestSupport::Options;

BAttributeDefs OneColumn(int type, int precision = 0)
{
    BAttributeDef def;
    def.SetName("A");
    def.SetType(static_cast<EVariantType>(type));
    def.SetPrecision(precision);
    BAttributeDefs schema;
    schema.Add(def);
    return schema;
}

struct WideningCase
{
    const char* name;
    int current;
    int afterBoolean;
    int afterInteger;
    int afterInt64;
    int afterDouble;
    int afterText;
};

void PrintTo(const WideningCase& wideningCase, std::ostream* stream)
{
    *stream << "from type " << wideningCase.current;
}

class AsciiSchemaUpdateTypes : public testing::TestWithParam<WideningCase>
{
protected:
    static int After(const char* value, const Options& options = Options())
    {
        BAttributeDefs schema = OneColumn(GetParam().current);
        UpdateTypes(schema, {value}, options);
        return static_cast<int>(schema.GetAt(0).GetType());
    }
};

TEST_P(AsciiSchemaUpdateTypes, FollowsTheTable)
{
    for (const char* word : {"1", "0", "Y", "no", "TRUE", "f"}) {
        EXPECT_EQ(After(word), GetParam().afterBoolean) << word;
    }
    EXPECT_EQ(After("7"), GetParam().afterInteger);
    EXPECT_EQ(After("3000000000"), GetParam().afterInt64);
    EXPECT_EQ(After("1.5"), GetParam().afterDouble);
    EXPECT_EQ(After("text"), GetParam().afterText);
    EXPECT_EQ(After(""), GetParam().afterText);
}

TEST_P(AsciiSchemaUpdateTypes, ReadsNumbersAsTextWhenTheyArePreserved)
{
    const Options preserve = Options().Set(Orvane::PRESERVE_NUMERIC_STRINGS, true);
    EXPECT_EQ(After("7", preserve), 11);
    EXPECT_EQ(After("3000000000", preserve), 11);
    EXPECT_EQ(After("1.5", preserve), 11);
    EXPECT_EQ(After("1", preserve), GetParam().afterBoolean);
}

constexpr WideningCase kWidenings[] = {
    {"FromNone", 0, 13, 5, 7, 9, 11},
    {"FromBoolean", 13, 13, 5, 7, 9, 11},
    {"FromInteger", 5, 5, 5, 7, 9, 11},
    {"FromInt64", 7, 7, 7, 7, 9, 11},
    {"FromFloat", 10, 10, 10, 10, 9, 11},
    {"FromDouble", 9, 9, 9, 9, 9, 11},
    {"FromString", 11, 11, 11, 11, 11, 11},
};

INSTANTIATE_TEST_SUITE_P(,
                         AsciiSchemaUpdateTypes,
                         testing::ValuesIn(kWidenings),
                         TestSupport::CaseName());

struct ColumnCase
{
    const char* name;
    std::vector<const char*> values;
    const char* definition;
};

void PrintTo(const ColumnCase& columnCase, std::ostream* stream)
{
    *stream << columnCase.definition;
}

class AsciiSchemaInferredColumn : public testing::TestWithParam<ColumnCase>
{};

TEST_P(AsciiSchemaInferredColumn, HasTheNarrowestType)
{
    std::vector<Row> rows;
    for (const char* value : GetParam().values) {
        rows.push_back({value});
    }
    EXPECT_EQ(Describe(InferSchema(rows, Options())),
              (std::vector<std::string>{GetParam().definition}));
}

INSTANTIATE_TEST_SUITE_P(
    ,
    AsciiSchemaInferredColumn,
    testing::Values(
        ColumnCase{"OfZeroesAndOnesIsBoolean", {"0", "1", "1", "0"}, "C1:13:0:0"},
        ColumnCase{"OfOneTwoThreeIsInteger", {"1", "2", "3"}, "C1:5:0:0"},
        ColumnCase{"OfOneAndAFractionIsDouble", {"1", "2.5"}, "C1:9:0:2"},
        ColumnCase{"WithAnEmptyValueIsString", {"1.5", "", "2"}, "C1:11:0:0"},
        ColumnCase{"WithALeadingBlankIsString", {"7", " 8"}, "C1:11:0:0"},
        ColumnCase{"WithATrailingBlankIsString", {"7 ", "8"}, "C1:11:0:0"},
        ColumnCase{"DoesNotCountTheDigitsOfItsFirstFraction", {"1.5", "22.75"}, "C1:9:0:4"},
        ColumnCase{"CountsTheDigitsOfAFractionAfterABoolean", {"1", "1.5"}, "C1:9:0:2"},
        ColumnCase{"KeepsTheLargestDigitCount", {"1", "1.25", "-123.5", "2.5"}, "C1:9:0:4"},
        ColumnCase{"HasNoPrecisionAfterOneFraction", {"1.25"}, "C1:9:0:0"},
        ColumnCase{"OfStringsStillCountsTheDigitsOfFractions", {"a", "1.25"}, "C1:11:0:3"},
        ColumnCase{"WithThousandsSeparatorsIsInteger", {"1,234", "5"}, "C1:5:0:0"},
        ColumnCase{"WithAnExponentIsInteger", {"1e5"}, "C1:5:0:0"},
        ColumnCase{"Past32BitsIsInt64", {"5", "3000000000"}, "C1:7:0:0"},
        ColumnCase{"OfTrueThenANumberIsInteger", {"true", "7"}, "C1:5:0:0"},
        ColumnCase{"OfANumberThenTrueIsInteger", {"7", "true"}, "C1:5:0:0"},
        ColumnCase{"OfTextThenTrueIsString", {"a", "true"}, "C1:11:0:0"}),
    TestSupport::CaseName());

TEST(AsciiSchemaUpdateTypesRows, IgnoresExtraFieldsAndLeavesMissingOnesAlone)
{
    BAttributeDefs schema = OneColumn(0);
    UpdateTypes(schema, {"1.5", "extra", "more"}, Options());
    EXPECT_EQ(Describe(schema), (std::vector<std::string>{"A:9:0:0"}));
    UpdateTypes(schema, {}, Options());
    EXPECT_EQ(Describe(schema), (std::vector<std::string>{"A:9:0:0"}));
}

TEST(AsciiSchemaUpdateTypesRows, RaisesThePrecisionOnlyWhenTheDigitsAreMore)
{
    BAttributeDefs schema = OneColumn(9, 4);
    UpdateTypes(schema, {"1.25"}, Options());
    EXPECT_EQ(schema.GetAt(0).GetPrecision(), 4);
    UpdateTypes(schema, {"123.25"}, Options());
    EXPECT_EQ(schema.GetAt(0).GetPrecision(), 5);
}

TEST(AsciiSchemaUpdateTypesRows, DoesNotCountDigitsOfPreservedNumbers)
{
    BAttributeDefs schema = OneColumn(9);
    UpdateTypes(schema, {"1.25"}, Options().Set(Orvane::PRESERVE_NUMERIC_STRINGS, true));
    EXPECT_EQ(Describe(schema), (std::vector<std::string>{"A:11:0:0"}));
}

TEST(AsciiSchemaUpdateTypesRows, DoesNotPreserveNumbersWhenTheOptionIsFalse)
{
    BAttributeDefs schema = OneColumn(0);
    UpdateTypes(schema, {"1.25"}, Options().Set(Orvane::PRESERVE_NUMERIC_STRINGS, false));
    EXPECT_EQ(Describe(schema), (std::vector<std::string>{"A:9:0:0"}));
}

TEST(AsciiSchemaUpdateTypesRows, CountsThousandsSeparatorsAmongTheDigits)
{
    BAttributeDefs schema = OneColumn(9);
    UpdateTypes(schema, {"1,234.5"}, Options());
    EXPECT_EQ(schema.GetAt(0).GetPrecision(), 6);
}

} // namespace
