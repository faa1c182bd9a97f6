// Values in network byte order, each after its length.
#include "CopyRows.h"

#include "../DateText.h"
#include "../IntegerText.h"

#include <Orvane/BPointGeo.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <type_traits>
#include <utility>

namespace Orvane::Postgres {

namespace {

constexpr std::int64_t kMicroseconds = 1'000'000;
constexpr std::int64_t kSecondsPerDay = 86'400;

// The point as extended well-known binary.
constexpr std::uint32_t kPoint = 1;
constexpr std::uint32_t kHasZ = 0x80000000U;
constexpr std::uint32_t kHasSrid = 0x20000000U;

std::uint16_t Swap(std::uint16_t value)
{
    return __builtin_bswap16(value);
}

std::uint32_t Swap(std::uint32_t value)
{
    return __builtin_bswap32(value);
}

std::uint64_t Swap(std::uint64_t value)
{
    return __builtin_bswap64(value);
}

template <typename T>
auto ToBits(T value)
{
    if constexpr (sizeof(T) == 2) {
        return std::bit_cast<std::uint16_t>(value);
    } else if constexpr (sizeof(T) == 4) {
        return std::bit_cast<std::uint32_t>(value);
    } else {
        static_assert(sizeof(T) == 8);
        return std::bit_cast<std::uint64_t>(value);
    }
}

/// Days from 2000-01-01, PostgreSQL's day 0, in the Gregorian calendar. The count of days in eras
/// of 400 years that begin in March: each month's first day is (153 m + 2) / 5 days after March 1.
std::int64_t DaysOf(const DateParts& parts)
{
    constexpr std::int64_t kDaysPerEra = 146'097;
    constexpr std::int64_t kDaysTo2000 = 730'425; // from 0000-03-01
    const std::int64_t year = parts.year - (parts.month <= 2 ? 1 : 0);
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t month = (parts.month + 9) % 12;
    const std::int64_t dayOfYear = (153 * month + 2) / 5 + parts.day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * kDaysPerEra + dayOfEra - kDaysTo2000;
}

std::int64_t MicrosecondsOf(const DateParts& parts)
{
    const std::int64_t seconds = (std::int64_t{parts.hour} * 60 + parts.minute) * 60 + parts.second;
    return seconds * kMicroseconds + parts.nanoseconds / 1000;
}

/// What a column of dates and times needs, value by value.
struct DateFit
{
    bool isFit = true; ///< PostgreSQL gives all values back as they are
    bool hasZone = false;
    bool lacksZone = false;

    void Add(EVariantType type, std::string_view text)
    {
        constexpr int kMostDigits = 6;
        constexpr int kLeapSecond = 60;
        const std::optional<DateParts> parts = ParseDateText(type, text);
        const bool isKept = parts && parts->fractionDigits <= kMostDigits &&
                            parts->second < kLeapSecond &&
                            (type == EVariantType::Time || parts->year > 0);
        isFit = isFit && isKept;
        if (parts) {
            (parts->offset ? hasZone : lacksZone) = true;
        }
    }
};

ECopyType TypeOf(EVariantType type, const DateFit& fit)
{
    switch (type) {
    case EVariantType::Int32:
        return ECopyType::Integer;
    case EVariantType::Int64:
        return ECopyType::BigInt;
    case EVariantType::Double:
        return ECopyType::Double;
    case EVariantType::Float:
        return ECopyType::Real;
    case EVariantType::Boolean:
        return ECopyType::Boolean;
    case EVariantType::Date:
        return fit.isFit ? ECopyType::Date : ECopyType::Text;
    case EVariantType::Time:
        return fit.isFit ? ECopyType::Time : ECopyType::Text;
    case EVariantType::DateTime:
        if (!fit.isFit || (fit.hasZone && fit.lacksZone)) {
            return ECopyType::Text;
        }
        return fit.hasZone ? ECopyType::TimestampTz : ECopyType::Timestamp;
    default:
        return ECopyType::Text;
    }
}

} // namespace

const char* NameOf(ECopyType type) noexcept
{
    switch (type) {
    case ECopyType::Integer:
        return "integer";
    case ECopyType::BigInt:
        return "bigint";
    case ECopyType::Double:
        return "double precision";
    case ECopyType::Real:
        return "real";
    case ECopyType::Boolean:
        return "boolean";
    case ECopyType::Date:
        return "date";
    case ECopyType::Time:
        return "time without time zone";
    case ECopyType::Timestamp:
        return "timestamp without time zone";
    case ECopyType::TimestampTz:
        return "timestamp with time zone";
    case ECopyType::Text:
        break;
    }
    return "text";
}

std::vector<ECopyType> ChooseTypes(const BFeaturePage* page, const std::vector<EVariantType>& types)
{
    std::vector<ECopyType> chosen;
    for (std::size_t index = 0; index < types.size(); ++index) {
        DateFit fit;
        const bool isRead =
            page != nullptr && index < page->data.size() && IsDateType(types[index]);
        for (std::size_t row = 0; isRead && row < page->GetRowCount(); ++row) {
            if (index < page->GetAttributeCount(row) && !page->data[index].IsNull(row)) {
                fit.Add(types[index], page->GetValue(row, index).GetString().ToUtf8());
            }
        }
        chosen.push_back(TypeOf(types[index], fit));
    }
    return chosen;
}

CopyRows::CopyRows(CopyLayout layout)
    : m_layout(std::move(layout))
{
    m_counts.notOfTypeByField.resize(m_layout.fields.size());
}

template <typename T>
void CopyRows::PutBig(T value)
{
    const auto bits = Swap(ToBits(value));
    m_bytes.append(reinterpret_cast<const char*>(&bits), sizeof bits);
}

template <typename T>
void CopyRows::PutValue(T value)
{
    PutBig(static_cast<std::int32_t>(sizeof(T)));
    PutBig(value);
}

void CopyRows::AppendHeader()
{
    m_bytes.append("PGCOPY\n\xFF\r\n\0", 11);
    PutBig(std::int32_t{0}); // flags
    PutBig(std::int32_t{0}); // length of what may be added to the header
}

void CopyRows::AppendTrailer()
{
    PutBig(std::int16_t{-1});
}

void CopyRows::PutPoint(bool hasPoint, double x, double y, double z)
{
    if (!hasPoint) {
        PutNull();
        return;
    }
    // Rule: a point whose X or Y is no finite number has no place and goes without geometry.
    if (!std::isfinite(x) || !std::isfinite(y)) {
        ++m_counts.withoutPlace;
        PutNull();
        return;
    }
    ++m_counts.points;
    const std::uint32_t type =
        kPoint | (m_layout.hasHeights ? kHasZ : 0) | (m_layout.srid != 0 ? kHasSrid : 0);
    const std::size_t size = 1 + sizeof type + (m_layout.srid != 0 ? sizeof m_layout.srid : 0) +
                             (m_layout.hasHeights ? 3 : 2) * sizeof(double);
    PutBig(static_cast<std::int32_t>(size));
    m_bytes += '\0'; // numbers in network byte order
    PutBig(type);
    if (m_layout.srid != 0) {
        PutBig(m_layout.srid);
    }
    PutBig(x);
    PutBig(y);
    if (m_layout.hasHeights) {
        PutBig(z);
    }
}

void CopyRows::PutText(std::string_view utf8)
{
    if (utf8.find('\0') == std::string_view::npos) {
        PutBig(static_cast<std::int32_t>(utf8.size()));
        m_bytes += utf8;
        return;
    }
    // PostgreSQL's texts hold no NUL.
    std::string replaced;
    for (const char byte : utf8) {
        if (byte == '\0') {
            replaced += "\uFFFD";
            ++m_counts.nulCharacters;
        } else {
            replaced += byte;
        }
    }
    PutBig(static_cast<std::int32_t>(replaced.size()));
    m_bytes += replaced;
}

void CopyRows::PutNotOfType(std::size_t fieldIndex, std::string_view text)
{
    m_counts.notOfTypeByField[fieldIndex] += text.empty() ? 0U : 1U;
    PutNull();
}

void CopyRows::PutDate(std::size_t fieldIndex, std::string_view text)
{
    const ECopyType type = m_layout.fields[fieldIndex];
    const EVariantType dateType = type == ECopyType::Date   ? EVariantType::Date
                                  : type == ECopyType::Time ? EVariantType::Time
                                                            : EVariantType::DateTime;
    DateFit fit;
    fit.Add(dateType, text);
    if (TypeOf(dateType, fit) != type) {
        throw DateMismatch(fieldIndex, std::string(text));
    }
    const std::optional<DateParts> parts = ParseDateText(dateType, text);
    switch (type) {
    case ECopyType::Date:
        PutValue(static_cast<std::int32_t>(DaysOf(*parts)));
        return;
    case ECopyType::Time:
        PutValue(MicrosecondsOf(*parts));
        return;
    default:
        break;
    }
    const std::int64_t offset = std::int64_t{parts->offset.value_or(0)} * 60 * kMicroseconds;
    PutValue(DaysOf(*parts) * kSecondsPerDay * kMicroseconds + MicrosecondsOf(*parts) - offset);
}

void CopyRows::PutVariant(std::size_t fieldIndex, const BVariant& value)
{
    if (value.IsEmpty()) {
        PutNull();
        return;
    }
    switch (m_layout.fields[fieldIndex]) {
    case ECopyType::Integer:
        PutValue(value.GetInteger());
        return;
    case ECopyType::BigInt:
        if (value.GetType() != EVariantType::String) {
            PutValue(value.GetInt64());
            return;
        }
        m_text = value.GetString().ToUtf8();
        if (const std::optional<std::int64_t> number = ParseInt64(m_text)) {
            PutValue(*number);
        } else {
            PutNotOfType(fieldIndex, m_text);
        }
        return;
    case ECopyType::Double:
        PutValue(value.GetDouble());
        return;
    case ECopyType::Real:
        PutValue(value.GetFloat());
        return;
    case ECopyType::Boolean:
        PutBig(std::int32_t{1});
        m_bytes += value.GetBoolean() ? '\1' : '\0';
        return;
    case ECopyType::Text:
        m_text = value.GetString().ToUtf8();
        PutText(m_text);
        return;
    case ECopyType::Date:
    case ECopyType::Time:
    case ECopyType::Timestamp:
    case ECopyType::TimestampTz:
        m_text = value.GetString().ToUtf8();
        PutDate(fieldIndex, m_text);
        return;
    }
}

void CopyRows::PutColumnValue(std::size_t fieldIndex, const BFeaturePage& page, std::size_t row)
{
    const BColumnData& column = page.data[fieldIndex];
    if (column.IsNull(row)) {
        PutNull();
        return;
    }
    const ECopyType type = m_layout.fields[fieldIndex];
    const auto putOther = [&] { PutVariant(fieldIndex, page.GetValue(row, fieldIndex)); };
    VisitStorage(column.storage, [&](auto kind) {
        const auto& values = kind.ArrayOf(column);
        if constexpr (kind.kIsText) {
            const bool isUtf8 = column.texts.encoding == ETextEncoding::Ascii ||
                                column.texts.encoding == ETextEncoding::Utf8;
            if (type == ECopyType::Text && isUtf8) {
                PutText(values.GetBytes(row));
            } else if (type >= ECopyType::Date && isUtf8) {
                PutDate(fieldIndex, values.GetBytes(row));
            } else {
                putOther();
            }
        } else if constexpr (kind.kType == EVariantType::Boolean) {
            if (type == ECopyType::Boolean) {
                PutBig(std::int32_t{1});
                m_bytes += values[row] != 0 ? '\1' : '\0';
            } else {
                putOther();
            }
        } else {
            constexpr ECopyType kOwn = kind.kType == EVariantType::Int32    ? ECopyType::Integer
                                       : kind.kType == EVariantType::Int64  ? ECopyType::BigInt
                                       : kind.kType == EVariantType::Double ? ECopyType::Double
                                                                            : ECopyType::Real;
            if (type == kOwn) {
                PutValue(values[row]);
            } else {
                putOther();
            }
        }
    });
}

void CopyRows::AppendRows(const BFeaturePage& page,
                          const BFeatureCollection* features,
                          std::size_t firstRow,
                          std::size_t begin,
                          std::size_t end)
{
    constexpr double kNoHeight = std::numeric_limits<double>::quiet_NaN();
    const bool mayHaveObjects = features != nullptr && features->GetObjectRowCount() > 0;
    const std::size_t fieldCount = m_layout.fields.size();
    const auto columnCount = static_cast<std::int16_t>(
        fieldCount + (m_layout.hasRowNumber ? 1U : 0U) + (m_layout.hasGeometry ? 1U : 0U));
    for (std::size_t row = begin; row < end; ++row) {
        ++m_counts.rows;
        PutBig(columnCount);
        if (m_layout.hasRowNumber) {
            PutValue(static_cast<std::int64_t>(m_counts.rows));
        }
        const BFeature* const object =
            mayHaveObjects ? features->GetObjectRow(firstRow + row) : nullptr;
        if (object != nullptr) {
            if (m_layout.hasGeometry) {
                const BPointGeo* const point = object->GetPoint();
                PutPoint(point != nullptr,
                         point != nullptr ? point->GetX() : 0,
                         point != nullptr ? point->GetY() : 0,
                         point != nullptr && point->HasZ() ? point->GetZ() : kNoHeight);
            }
            for (std::size_t index = 0; index < fieldCount; ++index) {
                PutVariant(index,
                           index < object->GetAttributeCount() ? object->GetAttributeValue(index)
                                                               : BVariant());
            }
            continue;
        }
        if (m_layout.hasGeometry) {
            const EPointKind kind = page.GetPointKind(row);
            const bool hasPoint = kind != EPointKind::None;
            PutPoint(hasPoint,
                     hasPoint ? page.x[row] : 0,
                     hasPoint ? page.y[row] : 0,
                     kind == EPointKind::XYZ ? page.z[row] : kNoHeight);
        }
        const std::size_t attributeCount =
            std::min({fieldCount, page.data.size(), page.GetAttributeCount(row)});
        for (std::size_t index = 0; index < attributeCount; ++index) {
            PutColumnValue(index, page, row);
        }
        for (std::size_t index = attributeCount; index < fieldCount; ++index) {
            PutNull();
        }
    }
}

} // namespace Orvane::Postgres
