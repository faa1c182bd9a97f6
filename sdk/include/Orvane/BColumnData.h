// The columns of a page: their names, their types and the arrays of their values.
#pragma once

#include <Orvane/BPageArray.h>
#include <Orvane/BString.h>
#include <Orvane/BTextArray.h>
#include <Orvane/BVariant.h>
#include <Orvane/Export.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Orvane {

/// The name and type of a stored column.
///
/// Types Int32, Int64, Double, Float and Boolean are stored in their own width; every other type
/// is stored as text.
struct BColumnInfo
{
    BString name;
    EVariantType type = EVariantType::None;

    friend bool operator==(const BColumnInfo&, const BColumnInfo&) noexcept = default;
};

/// The value types in which a column can be stored. Text stands last.
enum class EColumnStorage : std::uint8_t { Int32, Int64, Double, Float, Boolean, Text };

/// The values of one column of one page; the member that `storage` names holds them.
struct BColumnData
{
    EColumnStorage storage = EColumnStorage::Text;
    BPageArray<std::int32_t> int32s;
    BPageArray<std::int64_t> int64s;
    BPageArray<double> doubles;
    BPageArray<float> floats;
    BPageArray<std::uint8_t> booleans; ///< 0 or 1
    BTextArray texts;
    /// Which rows have a value: bit `row % 8` of byte `row / 8`, lowest bit first, 1 for a value,
    /// as Arrow has it. Rows at or beyond 8 * validity.GetSize() have values; empty: all rows have.
    /// The value of a row without one is 0, false or empty in its array.
    BPageArray<std::uint8_t> validity;

    /// Whether the row of the page has no value (None as a variant): that is not 0 and not the
    /// empty text.
    [[nodiscard]] bool IsNull(std::size_t rowInPage) const noexcept
    {
        return rowInPage / 8 < validity.GetSize() &&
               (static_cast<unsigned>(validity[rowInPage / 8]) >> (rowInPage % 8) & 1U) == 0;
    }

    /// Says that the row has no value. Its entry of the values' array is left to the caller: it is
    /// there or will be appended, and must be 0, false or empty.
    /// @throws std::bad_alloc; nothing is changed then.
    void SetNull(std::size_t rowInPage)
    {
        constexpr std::uint8_t kAllSet = 0xFF;
        const std::size_t index = rowInPage / 8;
        if (index >= validity.GetSize()) {
            validity.Resize(index + 1, kAllSet);
        }
        validity[index] = static_cast<std::uint8_t>(validity[index] & ~(1U << (rowInPage % 8)));
    }

    /// How many of the first `rows` rows have no value. Costs a step per 8 rows.
    [[nodiscard]] ORVANE_SDK_EXPORT std::size_t CountNulls(std::size_t rows) const noexcept;

    /// Forgets what was said of rows at and after `rows`: they have values until SetNull says
    /// otherwise.
    ORVANE_SDK_EXPORT void TruncateValidity(std::size_t rows) noexcept;
};

/// What one storage is made of, for code that treats all storages alike.
///
/// The objects have no state; VisitStorage hands them to its visitor as a value whose type tells
/// the storages apart. Everything that differs between storages is either here or chosen by
/// `Value`, so that a new storage is a member of EColumnStorage, one of BColumnData, a kind below
/// and its line in VisitStorage.
template <EColumnStorage Storage, EVariantType Type, auto Array, auto Get>
struct BColumnKind
{
    static constexpr EColumnStorage kStorage = Storage;
    /// The type of the column's values as variants.
    static constexpr EVariantType kType = Type;
    static constexpr bool kIsText = Storage == EColumnStorage::Text;
    /// The type of one value: std::int32_t, std::int64_t, double, float, bool or BString.
    using Value = decltype((std::declval<const BVariant&>().*Get)());

    /// The member that holds the values: a BPageArray, or a BTextArray.
    [[nodiscard]] static auto& ArrayOf(BColumnData& column) noexcept { return column.*Array; }

    [[nodiscard]] static const auto& ArrayOf(const BColumnData& column) noexcept
    {
        return column.*Array;
    }

    /// One value; of a row without one 0, false or the empty text. For a text this makes a BString:
    /// BTextArray::GetBytes costs less.
    [[nodiscard]] static Value GetValue(const BColumnData& column, std::size_t rowInPage)
    {
        const auto& array = ArrayOf(column);
        if constexpr (kIsText) {
            return TextToString(array.GetBytes(rowInPage), array.encoding);
        } else {
            return static_cast<Value>(array[rowInPage]);
        }
    }

    /// A variant's value in this storage, converted as BVariant's getters convert.
    [[nodiscard]] static Value Convert(const BVariant& value) { return (value.*Get)(); }
};

using BInt32Kind = BColumnKind<EColumnStorage::Int32,
                               EVariantType::Int32,
                               &BColumnData::int32s,
                               &BVariant::GetInteger>;
using BInt64Kind = BColumnKind<EColumnStorage::Int64,
                               EVariantType::Int64,
                               &BColumnData::int64s,
                               &BVariant::GetInt64>;
using BDoubleKind = BColumnKind<EColumnStorage::Double,
                                EVariantType::Double,
                                &BColumnData::doubles,
                                &BVariant::GetDouble>;
using BFloatKind = BColumnKind<EColumnStorage::Float,
                               EVariantType::Float,
                               &BColumnData::floats,
                               &BVariant::GetFloat>;
using BBooleanKind = BColumnKind<EColumnStorage::Boolean,
                                 EVariantType::Boolean,
                                 &BColumnData::booleans,
                                 &BVariant::GetBoolean>;
using BTextKind = BColumnKind<EColumnStorage::Text,
                              EVariantType::String,
                              &BColumnData::texts,
                              &BVariant::GetString>;

/// Calls `visitor` with the kind of a storage, and gives its result, which must be of one type for
/// all kinds. This is the one place that tells storages apart while the program runs. Inlined
/// always, so that it costs what the switch costs.
///
///     const EVariantType type = VisitStorage(storage, [](auto kind) { return kind.kType; });
template <typename Visitor>
[[gnu::always_inline]] constexpr decltype(auto) VisitStorage(EColumnStorage storage,
                                                             Visitor&& visitor)
{
    switch (storage) {
    case EColumnStorage::Int32:
        return visitor(BInt32Kind());
    case EColumnStorage::Int64:
        return visitor(BInt64Kind());
    case EColumnStorage::Double:
        return visitor(BDoubleKind());
    case EColumnStorage::Float:
        return visitor(BFloatKind());
    case EColumnStorage::Boolean:
        return visitor(BBooleanKind());
    case EColumnStorage::Text:
        break;
    }
    return visitor(BTextKind());
}

/// Calls `visitor` with the array that holds the column's values: a BPageArray of std::int32_t,
/// std::int64_t, double, float or, for booleans, std::uint8_t; or the BTextArray. No two storages
/// share an array type. The array is const for a const column.
///
///     VisitColumn(column, [](auto& array) { array.ShrinkToFit(); });
template <typename Column, typename Visitor>
[[gnu::always_inline]] constexpr decltype(auto) VisitColumn(Column& column, Visitor&& visitor)
{
    static_assert(std::is_same_v<std::remove_const_t<Column>, BColumnData>);
    return VisitStorage(column.storage, [&column, &visitor](auto kind) -> decltype(auto) {
        return visitor(kind.ArrayOf(column));
    });
}

/// The type of a stored column's values as variants; String for every type that is stored as text.
[[nodiscard]] constexpr EVariantType TypeOf(EColumnStorage storage)
{
    return VisitStorage(storage, [](auto kind) { return kind.kType; });
}

/// The storage of a column of that type.
ORVANE_SDK_EXPORT EColumnStorage StorageOf(EVariantType type) noexcept;

} // namespace Orvane
