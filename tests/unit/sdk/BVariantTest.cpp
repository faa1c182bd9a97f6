// Tests of the typed value: its types and every conversion.
#include <Orvane/BVariant.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace std::string_view_literals;
using Orvane::BString;
using Orvane::BVariant;
using Orvane::EVariantType;
using Strings = std::vector<BString>;
using Integers = std::vector<std::int32_t>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(BVariant, IsNoneWhenNewAndAfterClear)
{
    BVariant value;
    EXPECT_EQ(value.GetType(), EVariantType::None);
    EXPECT_TRUE(value.IsEmpty());
    value.SetValue(1);
    EXPECT_FALSE(value.IsEmpty());
    value.Clear();
    EXPECT_EQ(value.GetType(), EVariantType::None);
}

TEST(BVariant, NumbersItsTypesAsTheInterfaceSays)
{
    EXPECT_EQ(static_cast<int>(BVariant().GetType()), 0);
    EXPECT_EQ(static_cast<int>(BVariant(std::int32_t{1}).GetType()), 5);
    EXPECT_EQ(static_cast<int>(BVariant(std::int64_t{1}).GetType()), 7);
    EXPECT_EQ(static_cast<int>(BVariant(1.0).GetType()), 9);
    EXPECT_EQ(static_cast<int>(BVariant(1.0F).GetType()), 10);
    EXPECT_EQ(static_cast<int>(BVariant(BString("x")).GetType()), 11);
    EXPECT_EQ(static_cast<int>(EVariantType::Text), 12);
    EXPECT_EQ(static_cast<int>(BVariant(true).GetType()), 13);
    EXPECT_EQ(static_cast<int>(BVariant(Strings()).GetType()), 14);
    EXPECT_EQ(static_cast<int>(BVariant(Integers()).GetType()), 15);
}

TEST(BVariant, ConvertsLiteralsToTexts)
{
    EXPECT_EQ(BVariant("text"), BVariant(BString("text")));
    EXPECT_EQ(BVariant(u"text"), BVariant(BString("text")));
}

TEST(BVariant, CutsATextToALengthThatIsNotZero)
{
    BVariant value;
    value.SetValue(BString("abcdef"), 3);
    EXPECT_EQ(value.GetString(), BString("abc"));
    value.SetValue(BString("abcdef"), 0);
    EXPECT_EQ(value.GetString(), BString("abcdef"));
    value.SetValue(BString("abc"), 9);
    EXPECT_EQ(value.GetString(), BString("abc"));
}

struct ConversionCase
{
    const char* name;
    BVariant value;
    std::int32_t integer;
    std::int64_t wide;
    double real;
    bool boolean;
    const char* text;
};

void PrintTo(const ConversionCase& row, std::ostream* out)
{
    *out << row.name;
}

const ConversionCase kConversionCases[] = {
    {"None", BVariant(), 0, 0, 0, false, ""},
    {"Integer", BVariant(-42), -42, -42, -42, true, "-42"},
    {"ZeroInteger", BVariant(0), 0, 0, 0, false, "0"},
    {"WideInteger", BVariant(std::int64_t{7}), 7, 7, 7, true, "7"},
    {"WideIntegerPast32Bits",
     BVariant(std::int64_t{4294967296}),
     0,
     4294967296,
     4294967296.0,
     true,
     "4294967296"},
    {"Double", BVariant(-2.75), -2, -2, -2.75, true, "-2.75"},
    {"DoubleNextToZero", BVariant(0.25), 0, 0, 0.25, true, "0.25"},
    {"NegativeZeroDouble", BVariant(-0.0), 0, 0, -0.0, false, "-0"},
    {"LargestDoubleFor32Bits",
     BVariant(2147483647.75),
     2147483647,
     2147483647,
     2147483647.75,
     true,
     "2147483647.75"},
    {"LowestDoubleFor32Bits",
     BVariant(-2147483648.75),
     -2147483647 - 1,
     -2147483648LL,
     -2147483648.75,
     true,
     "-2147483648.75"},
    {"DoublePast32Bits", BVariant(2147483648.0), 0, 2147483648LL, 2147483648.0, true, "2147483648"},
    {"DoublePast64Bits",
     BVariant(9223372036854775808.0),
     0,
     0,
     9223372036854775808.0,
     true,
     "9223372036854775808"},
    {"LowestDoubleFor64Bits",
     BVariant(-9223372036854775808.0),
     0,
     INT64_MIN,
     -9223372036854775808.0,
     true,
     "-9223372036854775808"},
    {"InfiniteDouble", BVariant(kInfinity), 0, 0, kInfinity, true, "inf"},
    {"NaNDouble", BVariant(kNaN), 0, 0, kNaN, true, "nan"},
    {"Float", BVariant(0.1F), 0, 0, double{0.1F}, true, "0.1"},
    {"WholeFloat", BVariant(-16777216.0F), -16777216, -16777216, -16777216, true, "-16777216"},
    {"True", BVariant(true), 1, 1, 1, true, "1"},
    {"False", BVariant(false), 0, 0, 0, false, "0"},
    {"NumberText", BVariant(" 12.5x"), 12, 12, 12.5, true, " 12.5x"},
    {"WordText", BVariant("true"), 0, 0, 0, false, "true"},
    {"FractionText", BVariant("0.5"), 0, 0, 0.5, false, "0.5"},
    {"LongNumberText",
     BVariant("99999999999"),
     1215752191,
     99999999999,
     99999999999.0,
     true,
     "99999999999"},
    {"ListOfTexts", BVariant(Strings{"7"}), 0, 0, 0, false, ""},
    {"ListOfIntegers", BVariant(Integers{7}), 0, 0, 0, false, ""},
};

class BVariantConversion : public testing::TestWithParam<ConversionCase>
{};

TEST_P(BVariantConversion, GivesTheValueInEveryScalarType)
{
    const ConversionCase& row = GetParam();
    EXPECT_EQ(row.value.GetInteger(), row.integer);
    EXPECT_EQ(row.value.GetInt64(), row.wide);
    EXPECT_EQ(row.value.GetBoolean(), row.boolean);
    EXPECT_EQ(row.value.GetString(), BString(row.text));
    // As variants, so that NaN equals NaN.
    EXPECT_EQ(BVariant(row.value.GetDouble()), BVariant(row.real));
    EXPECT_EQ(BVariant(row.value.GetFloat()), BVariant(static_cast<float>(row.real)));
}

INSTANTIATE_TEST_SUITE_P(,
                         BVariantConversion,
                         testing::ValuesIn(kConversionCases),
                         [](const auto& row) { return row.param.name; });

TEST(BVariant, RoundsAWideIntegerToFloatOnce)
{
    // Through double this would become halfway between two floats and round down.
    constexpr std::int64_t kValue = (std::int64_t{1} << 60) + (std::int64_t{1} << 36) + 1;
    EXPECT_EQ(BVariant(kValue).GetFloat(), static_cast<float>(kValue));
    EXPECT_NE(BVariant(kValue).GetFloat(), static_cast<float>(static_cast<double>(kValue)));
}

TEST(BVariant, ConvertsListsItemByItem)
{
    EXPECT_EQ(BVariant(Integers{1, -2}).GetStrings(), (Strings{"1", "-2"}));
    EXPECT_EQ(BVariant(Integers{1, -2}).GetIntegers(), (Integers{1, -2}));
    EXPECT_EQ(BVariant(Strings{"3x", "word"}).GetIntegers(), (Integers{3, 0}));
    EXPECT_EQ(BVariant(Strings{"3x", "word"}).GetStrings(), (Strings{"3x", "word"}));
}

TEST(BVariant, GivesAScalarAsTheListOfItself)
{
    EXPECT_EQ(BVariant(5).GetStrings(), Strings{"5"});
    EXPECT_EQ(BVariant(5.5).GetIntegers(), Integers{5});
    EXPECT_EQ(BVariant("7").GetIntegers(), Integers{7});
    EXPECT_EQ(BVariant(true).GetStrings(), Strings{"1"});
}

TEST(BVariant, GivesNoneAsTheEmptyList)
{
    EXPECT_TRUE(BVariant().GetStrings().empty());
    EXPECT_TRUE(BVariant().GetIntegers().empty());
}

TEST(BVariant, EqualsInTypeAndValue)
{
    EXPECT_EQ(BVariant(), BVariant());
    EXPECT_EQ(BVariant(1), BVariant(1));
    EXPECT_NE(BVariant(1), BVariant(2));
    EXPECT_NE(BVariant(1), BVariant(std::int64_t{1}));
    EXPECT_NE(BVariant(1.0), BVariant(1.0F));
    EXPECT_NE(BVariant("1"), BVariant(1));
    EXPECT_EQ(BVariant(Strings{"a"}), BVariant(Strings{"a"}));
    EXPECT_NE(BVariant(Integers{1}), BVariant(Integers{1, 2}));
}

TEST(BVariant, EqualsNaNWithNaNOnly)
{
    EXPECT_EQ(BVariant(kNaN), BVariant(kNaN));
    EXPECT_NE(BVariant(kNaN), BVariant(1.0));
    EXPECT_NE(BVariant(1.0), BVariant(kNaN));
    EXPECT_EQ(BVariant(static_cast<float>(kNaN)), BVariant(static_cast<float>(kNaN)));
    EXPECT_EQ(BVariant(kInfinity), BVariant(kInfinity));
    EXPECT_EQ(BVariant(0.0), BVariant(-0.0));
}

} // namespace
