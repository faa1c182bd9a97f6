// The one visit of a column by its storage.
#include <Orvane/BColumnData.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <type_traits>

namespace {

using Orvane::BColumnData;
using Orvane::BPageArray;
using Orvane::BString;
using Orvane::BTextArray;
using Orvane::BVariant;
using Orvane::EColumnStorage;
using Orvane::EVariantType;

constexpr std::array kStorages = {EColumnStorage::Int32,
                                  EColumnStorage::Int64,
                                  EColumnStorage::Double,
                                  EColumnStorage::Float,
                                  EColumnStorage::Boolean,
                                  EColumnStorage::Text};

std::string NameOf(const BPageArray<std::int32_t>& /*values*/)
{
    return "int32s";
}

std::string NameOf(const BPageArray<std::int64_t>& /*values*/)
{
    return "int64s";
}

std::string NameOf(const BPageArray<double>& /*values*/)
{
    return "doubles";
}

std::string NameOf(const BPageArray<float>& /*values*/)
{
    return "floats";
}

std::string NameOf(const BPageArray<std::uint8_t>& /*values*/)
{
    return "booleans";
}

std::string NameOf(const BTextArray& /*texts*/)
{
    return "texts";
}

TEST(VisitColumn, GivesTheArrayThatTheStorageNames)
{
    std::string names;
    for (const EColumnStorage storage : kStorages) {
        BColumnData column;
        column.storage = storage;
        names += Orvane::VisitColumn(column, [](const auto& array) { return NameOf(array); }) + " ";
    }
    EXPECT_EQ(names, "int32s int64s doubles floats booleans texts ");
}

TEST(VisitColumn, GivesTheColumnsOwnArray)
{
    BColumnData column;
    column.storage = EColumnStorage::Double;
    Orvane::VisitColumn(column, [](auto& array) {
        if constexpr (std::is_same_v<decltype(array), BPageArray<double>&>) {
            array.Append(2.5);
        }
    });
    ASSERT_EQ(column.doubles.GetSize(), 1U);
    const BColumnData& constant = column;
    const void* place =
        Orvane::VisitColumn(constant, [](const auto& array) -> const void* { return &array; });
    EXPECT_EQ(place, &column.doubles);
}

TEST(VisitStorage, GivesKindsThatAgreeWithTheirStorage)
{
    for (const EColumnStorage storage : kStorages) {
        EXPECT_EQ(Orvane::VisitStorage(storage, [](auto kind) { return kind.kStorage; }), storage);
        EXPECT_EQ(Orvane::StorageOf(Orvane::TypeOf(storage)), storage);
    }
}

TEST(BColumnDataIsNull, KnowsRowsWithoutAValue)
{
    BColumnData column;
    EXPECT_FALSE(column.IsNull(0));
    EXPECT_FALSE(column.IsNull(1000));
    column.SetNull(10);
    EXPECT_EQ(column.validity.GetSize(), 2U);
    for (std::size_t row = 0; row < 40; ++row) {
        EXPECT_EQ(column.IsNull(row), row == 10) << row;
    }
    column.SetNull(3);
    column.SetNull(10);
    EXPECT_EQ(column.CountNulls(3), 0U);
    EXPECT_EQ(column.CountNulls(4), 1U);
    EXPECT_EQ(column.CountNulls(10), 1U);
    EXPECT_EQ(column.CountNulls(11), 2U);
    EXPECT_EQ(column.CountNulls(1000), 2U);
}

TEST(BColumnDataTruncateValidity, ForgetsTheRowsAfterIt)
{
    for (std::size_t rows = 0; rows <= 26; ++rows) {
        BColumnData column;
        for (std::size_t row = 0; row < 24; ++row) {
            column.SetNull(row);
        }
        column.TruncateValidity(rows);
        for (std::size_t row = 0; row < 40; ++row) {
            EXPECT_EQ(column.IsNull(row), row < rows && row < 24) << rows << ", " << row;
        }
    }
}

TEST(TypeOf, GivesStringForTexts)
{
    static_assert(Orvane::TypeOf(EColumnStorage::Text) == EVariantType::String);
    static_assert(Orvane::TypeOf(EColumnStorage::Int64) == EVariantType::Int64);
}

/// A value written as a variant, stored by its kind, and read back.
template <typename Kind>
BVariant StoreAndRead(Kind kind, const BVariant& value)
{
    BColumnData column;
    column.storage = Kind::kStorage;
    const auto converted = kind.Convert(value);
    if constexpr (Kind::kIsText) {
        AppendText(column.texts, converted.ToUtf8(), Orvane::ETextEncoding::Utf8);
    } else {
        auto& array = kind.ArrayOf(column);
        array.Append(
            static_cast<typename std::remove_reference_t<decltype(array)>::Value>(converted));
    }
    return BVariant(kind.GetValue(column, 0));
}

TEST(BColumnKind, ConvertsAVariantAndGivesItBackInItsType)
{
    const BVariant text(BString("7"));
    EXPECT_EQ(StoreAndRead(Orvane::BInt32Kind(), text), BVariant(std::int32_t{7}));
    EXPECT_EQ(StoreAndRead(Orvane::BInt64Kind(), text), BVariant(std::int64_t{7}));
    EXPECT_EQ(StoreAndRead(Orvane::BDoubleKind(), text), BVariant(7.0));
    EXPECT_EQ(StoreAndRead(Orvane::BFloatKind(), text), BVariant(7.0F));
    EXPECT_EQ(StoreAndRead(Orvane::BBooleanKind(), text), BVariant(true));
    EXPECT_EQ(StoreAndRead(Orvane::BTextKind(), BVariant(std::int32_t{7})), text);
}

} // namespace
