// The rows of a layer's pages as PostgreSQL's binary COPY format has them.
#pragma once

#include <Orvane/BFeature.h>
#include <Orvane/BFeatureCollection.h>
#include <Orvane/BFeaturePage.h>
#include <Orvane/BVariant.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Orvane::Postgres {

/// The types of columns in the table.
enum class ECopyType : std::uint8_t {
    Integer,     ///< integer
    BigInt,      ///< bigint
    Double,      ///< double precision
    Real,        ///< real
    Boolean,     ///< boolean
    Text,        ///< text
    Date,        ///< date
    Time,        ///< time without time zone
    Timestamp,   ///< timestamp without time zone
    TimestampTz, ///< timestamp with time zone
};

/// As SQL names it.
[[nodiscard]] const char* NameOf(ECopyType type) noexcept;

/// The columns of the table in the order in which a row has them: first the row's number, if it
/// goes into the table, then the geometry, if there is one, then the fields.
struct CopyLayout
{
    bool hasRowNumber = true;
    bool hasGeometry = true;
    bool hasHeights = false; ///< points have Z; those without one have NaN
    std::int32_t srid = 0;   ///< 0: none
    std::vector<ECopyType> fields;
};

/// What was made, and values that are not in it as they were.
struct CopyCounts
{
    std::uint64_t rows = 0;
    std::uint64_t points = 0;                    ///< rows with a geometry
    std::uint64_t withoutPlace = 0;              ///< points whose X or Y is no finite number
    std::uint64_t nulCharacters = 0;             ///< NUL in texts: U+FFFD in the table
    std::vector<std::uint64_t> notOfTypeByField; ///< texts that are no value of the type: null
};

/// The types for the layer's columns, by its first page. A column of dates or times whose values
/// PostgreSQL does not give back as they are (no ISO 8601, more than six digits after the seconds,
/// second 60, some with and some without a zone) is text.
/// @param page null: there is none
/// @param types of the fields; a row's attributes belong to them by position
[[nodiscard]] std::vector<ECopyType> ChooseTypes(const BFeaturePage* page,
                                                 const std::vector<EVariantType>& types);

/// A date or time after the first page that its column's type would change.
class DateMismatch : public std::exception
{
public:
    DateMismatch(std::size_t fieldIndex, std::string text)
        : m_fieldIndex(fieldIndex)
        , m_text(std::move(text))
    {}

    [[nodiscard]] std::size_t GetFieldIndex() const noexcept { return m_fieldIndex; }

    [[nodiscard]] const std::string& GetText() const noexcept { return m_text; }

private:
    std::size_t m_fieldIndex;
    std::string m_text;
};

/// Makes the bytes of COPY ... FROM STDIN (FORMAT binary), row by row into one buffer that its
/// owner empties.
///
/// Rules: a row with fewer attributes than fields has nulls for the rest. A point whose X or Y is
/// no finite number has no geometry. NaN and infinity in fields are kept. Values of other types
/// than the field's are converted as BVariant does; a text for a whole number that is none is null.
class CopyRows
{
public:
    explicit CopyRows(CopyLayout layout);

    /// The bytes so far.
    [[nodiscard]] std::string_view GetBytes() const noexcept { return m_bytes; }

    void Clear() noexcept { m_bytes.clear(); }

    /// Before the first row.
    void AppendHeader();
    /// After the last row.
    void AppendTrailer();

    /// Rows of a page, which must stay for the call.
    /// @param features the collection of the page when rows of it may stand as objects, or null
    /// @param firstRow the page's first row in that collection
    /// @param begin, end rows of the page
    /// @throws DateMismatch
    void AppendRows(const BFeaturePage& page,
                    const BFeatureCollection* features,
                    std::size_t firstRow,
                    std::size_t begin,
                    std::size_t end);

    [[nodiscard]] const CopyCounts& GetCounts() const noexcept { return m_counts; }

private:
    template <typename T>
    void PutBig(T value);

    void PutNull() { PutBig(std::int32_t{-1}); }

    template <typename T>
    void PutValue(T value);
    void PutPoint(bool hasPoint, double x, double y, double z);
    void PutText(std::string_view utf8);
    void PutDate(std::size_t fieldIndex, std::string_view text);
    void PutColumnValue(std::size_t fieldIndex, const BFeaturePage& page, std::size_t row);
    void PutVariant(std::size_t fieldIndex, const BVariant& value);
    void PutNotOfType(std::size_t fieldIndex, std::string_view text);

    CopyLayout m_layout;
    std::string m_bytes;
    std::string m_text;
    CopyCounts m_counts;
};

} // namespace Orvane::Postgres
