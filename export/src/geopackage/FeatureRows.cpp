// Turns values of pages and of objects into SQLite's values.
#include "FeatureRows.h"

#include "../DateText.h"
#include "../IntegerText.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <optional>
#include <utility>

namespace Orvane::GeoPackage {

namespace {

constexpr std::uint64_t kRowsPerProgress = 4096;

// The geometry: "GP", version 0, flags (little endian, no box), the system's number; then the
// point as well-known binary: little endian, its type, its coordinates.
constexpr std::size_t kSystemOffset = 4;
constexpr std::size_t kPointOffset = 8;
constexpr std::size_t kCoordinateOffset = kPointOffset + 5;
constexpr std::uint32_t kPointType = 1;
constexpr std::uint32_t kPointTypeWithZ = 1001;

template <typename T>
void PutLittle(char* place, T value) noexcept
{
    static_assert(std::endian::native == std::endian::little);
    std::memcpy(place, &value, sizeof value);
}

std::string MakeGeometry(const LayerDefinition& layer)
{
    std::string bytes(kCoordinateOffset + (layer.hasHeights ? 3 : 2) * sizeof(double), '\0');
    bytes[0] = 'G';
    bytes[1] = 'P';
    bytes[3] = 1;
    PutLittle(&bytes[kSystemOffset], layer.spatialReference.id);
    bytes[kPointOffset] = 1;
    PutLittle(&bytes[kPointOffset + 1], layer.hasHeights ? kPointTypeWithZ : kPointType);
    return bytes;
}

bool HasNul(const BTextArray& texts)
{
    const std::size_t size = texts.bytes.GetSize();
    return size > 0 && std::memchr(texts.bytes.Data(), '\0', size) != nullptr;
}

} // namespace

FeatureRows::FeatureRows(const LayerDefinition& layer, Progress progress)
    : m_layer(layer)
    , m_progress(std::move(progress))
    , m_firstField(layer.hasGeometry ? 1 : 0)
    , m_geometry(MakeGeometry(layer))
{
    m_counts.notOfTypeByField.resize(layer.fields.size());
}

FeatureRows::EWay FeatureRows::ChooseWay(const BColumnData& column, EVariantType type)
{
    const auto isText = [&] { return StorageOf(type) == EColumnStorage::Text; };
    switch (column.storage) {
    case EColumnStorage::Int32:
        // The field may be wider than the page's column.
        return type == EVariantType::Int32 || type == EVariantType::Int64 ? EWay::Int32
                                                                          : EWay::Convert;
    case EColumnStorage::Int64:
        return type == EVariantType::Int64 ? EWay::Int64 : EWay::Convert;
    case EColumnStorage::Double:
        return type == EVariantType::Double ? EWay::Double : EWay::Convert;
    case EColumnStorage::Float:
        return type == EVariantType::Float ? EWay::Float : EWay::Convert;
    case EColumnStorage::Boolean:
        return type == EVariantType::Boolean ? EWay::Boolean : EWay::Convert;
    case EColumnStorage::Text:
        break;
    }
    if (!isText()) {
        return EWay::Convert;
    }
    const ETextEncoding encoding = column.texts.encoding;
    const bool isUtf8 = encoding == ETextEncoding::Ascii || encoding == ETextEncoding::Utf8;
    if (IsDateType(type)) {
        return isUtf8 ? EWay::Date : EWay::Convert;
    }
    return isUtf8 && !HasNul(column.texts) ? EWay::Text : EWay::ConvertText;
}

void FeatureRows::SetPage(const BFeaturePage& page,
                          const BFeatureCollection* features,
                          std::size_t firstRow)
{
    m_page = &page;
    m_features = features != nullptr && features->GetObjectRowCount() > 0 ? features : nullptr;
    m_firstRow = firstRow;
    m_nextRow = 0;
    m_sources.clear();
    for (std::size_t index = 0; index < std::min(page.data.size(), m_layer.fields.size());
         ++index) {
        const BColumnData& column = page.data[index];
        m_sources.push_back({&column,
                             ChooseWay(column, m_layer.fields[index].type),
                             column.CountNulls(page.GetRowCount()) > 0});
    }
}

bool FeatureRows::Next()
{
    if (m_nextRow == m_page->GetRowCount()) {
        return false;
    }
    const std::size_t row = m_nextRow++;
    if (m_counts.rows % kRowsPerProgress == 0) {
        m_progress(m_counts.rows);
    }
    ++m_counts.rows;
    m_object = m_features == nullptr ? nullptr : m_features->GetObjectRow(m_firstRow + row);
    if (m_object != nullptr) {
        SetPoint(PointOf(*m_object));
        m_attributeCount = std::min(m_object->GetAttributeCount(), m_layer.fields.size());
        return true;
    }
    SetPoint(PointOf(*m_page, row));
    m_attributeCount = std::min(m_page->GetAttributeCount(row), m_sources.size());
    return true;
}

void FeatureRows::SetPoint(const std::optional<RowPoint>& point)
{
    m_hasPoint = m_layer.hasGeometry && point && point->HasPlace();
    if (!m_hasPoint) {
        return;
    }
    char* const coordinates = m_geometry.data() + kCoordinateOffset;
    PutLittle(coordinates, point->x);
    PutLittle(coordinates + sizeof point->x, point->y);
    if (m_layer.hasHeights) {
        PutLittle(coordinates + 2 * sizeof point->x, point->z);
    }
}

void FeatureRows::SetColumn(sqlite3_context* context, int columnIndex)
{
    if (static_cast<std::size_t>(columnIndex) < m_firstField) {
        if (m_hasPoint) {
            sqlite3_result_blob(
                context, m_geometry.data(), static_cast<int>(m_geometry.size()), SQLITE_STATIC);
        }
        return;
    }
    const std::size_t fieldIndex = static_cast<std::size_t>(columnIndex) - m_firstField;
    // What is not set is null.
    if (fieldIndex >= m_attributeCount) {
        return;
    }
    if (m_object != nullptr) {
        SetVariant(context, fieldIndex, m_object->GetAttributeValue(fieldIndex));
        return;
    }
    const std::size_t row = m_nextRow - 1;
    const BColumnData& column = *m_sources[fieldIndex].column;
    if (m_sources[fieldIndex].hasNulls && column.IsNull(row)) {
        return;
    }
    switch (m_sources[fieldIndex].way) {
    case EWay::Int32:
        sqlite3_result_int(context, column.int32s[row]);
        return;
    case EWay::Int64:
        sqlite3_result_int64(context, column.int64s[row]);
        return;
    case EWay::Double:
        SetReal(context, column.doubles[row]);
        return;
    case EWay::Float:
        SetReal(context, static_cast<double>(column.floats[row]));
        return;
    case EWay::Boolean:
        sqlite3_result_int(context, column.booleans[row]);
        return;
    case EWay::Text: {
        const std::string_view text = column.texts.GetBytes(row);
        // SQLite has no text without an address.
        sqlite3_result_text64(
            context, text.empty() ? "" : text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
        return;
    }
    case EWay::Date:
        SetDateText(context, fieldIndex, column.texts.GetBytes(row));
        return;
    case EWay::ConvertText:
        m_text.clear();
        AppendTextAsUtf8(column.texts.GetBytes(row), column.texts.encoding, m_text);
        SetText(context);
        return;
    case EWay::Convert:
        SetVariant(context, fieldIndex, m_page->GetValue(row, fieldIndex));
        return;
    }
}

void FeatureRows::SetReal(sqlite3_context* context, double value)
{
    if (std::isnan(value)) {
        ++m_counts.notNumbers;
        return;
    }
    sqlite3_result_double(context, value);
}

void FeatureRows::SetInt64Text(sqlite3_context* context, std::size_t fieldIndex)
{
    if (const std::optional<std::int64_t> value = ParseInt64(m_text)) {
        sqlite3_result_int64(context, *value);
    } else if (!m_text.empty()) {
        ++m_counts.notOfTypeByField[fieldIndex];
    }
}

void FeatureRows::SetDateText(sqlite3_context* context,
                              std::size_t fieldIndex,
                              std::string_view text)
{
    const EVariantType type = m_layer.fields[fieldIndex].type;
    const std::optional<DateParts> parts = ParseDateText(type, text);
    if (!parts) {
        m_counts.notOfTypeByField[fieldIndex] += text.empty() ? 0U : 1U;
        return;
    }
    const auto set = [context](std::string_view value) {
        sqlite3_result_text64(context, value.data(), value.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    };
    if (type == EVariantType::DateTime) {
        constexpr std::size_t kMilliseconds = 3;
        SpellDateTime(text, *parts, kMilliseconds, m_dateText);
        set(m_dateText);
    } else {
        set(text);
    }
}

void FeatureRows::SetText(sqlite3_context* context)
{
    if (m_text.find('\0') != std::string::npos) {
        std::string replaced;
        for (const char byte : m_text) {
            if (byte == '\0') {
                replaced += "\uFFFD";
                ++m_counts.nulCharacters;
            } else {
                replaced += byte;
            }
        }
        m_text.swap(replaced);
    }
    sqlite3_result_text64(context, m_text.data(), m_text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void FeatureRows::SetVariant(sqlite3_context* context,
                             std::size_t fieldIndex,
                             const BVariant& value)
{
    if (value.IsEmpty()) {
        return;
    }
    switch (m_layer.fields[fieldIndex].type) {
    case EVariantType::Int32:
        sqlite3_result_int(context, value.GetInteger());
        return;
    case EVariantType::Int64:
        if (value.GetType() != EVariantType::String) {
            sqlite3_result_int64(context, value.GetInt64());
            return;
        }
        m_text = value.GetString().ToUtf8();
        SetInt64Text(context, fieldIndex);
        return;
    case EVariantType::Double:
        SetReal(context, value.GetDouble());
        return;
    case EVariantType::Float:
        SetReal(context, static_cast<double>(value.GetFloat()));
        return;
    case EVariantType::Boolean:
        sqlite3_result_int(context, value.GetBoolean() ? 1 : 0);
        return;
    case EVariantType::Date:
    case EVariantType::Time:
    case EVariantType::DateTime:
        m_text = value.GetString().ToUtf8();
        SetDateText(context, fieldIndex, m_text);
        return;
    default:
        m_text = value.GetString().ToUtf8();
        SetText(context);
    }
}

} // namespace Orvane::GeoPackage
