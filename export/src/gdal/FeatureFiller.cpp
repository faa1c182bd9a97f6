// Values and points of rows as GDAL's features have them.
#include "FeatureFiller.h"

#include "DateText.h"
#include "IntegerText.h"

#include <Orvane/BPointGeo.h>

#include <ogr_feature.h>
#include <ogr_geometry.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>

namespace Orvane::Import {

namespace {

/// Whether a format holds a text as it is.
bool HoldsText(ExportFormat::ETexts texts, std::string_view text)
{
    constexpr std::size_t kLongest = 254;
    switch (texts) {
    case ExportFormat::ETexts::Any:
        break;
    case ExportFormat::ETexts::Xml:
        return std::none_of(text.begin(), text.end(), [](char byte) {
            const auto code = static_cast<unsigned char>(byte);
            return code < ' ' && byte != '\t' && byte != '\n';
        });
    case ExportFormat::ETexts::Dbase:
        return text.size() <= kLongest && !text.ends_with(' ');
    case ExportFormat::ETexts::MapInfo:
        return text.size() <= kLongest && text.find_first_of("\r\n") == std::string_view::npos;
    }
    return true;
}

} // namespace

FeatureFiller::FeatureFiller(OGRFeature& feature,
                             const ExportFormat& format,
                             const std::vector<FileField>& fields,
                             bool hasGeometry,
                             bool hasHeights,
                             int firstField)
    : m_feature(feature)
    , m_format(format)
    , m_fields(fields)
    , m_hasGeometry(hasGeometry)
    , m_hasHeights(hasHeights)
    , m_holdsHeights(HoldsHeights(format.driver))
    , m_holdsMissingHeights(HoldsMissingHeights(format.driver))
    , m_firstField(firstField)
{
    m_losses.notOfType.resize(fields.size());
    m_losses.cutFractions.resize(fields.size());
    m_losses.cutOffsets.resize(fields.size());
    m_losses.earlyDates.resize(fields.size());
    m_losses.changedTexts.resize(fields.size());
}

void FeatureFiller::FillPageRow(const Orvane::BFeaturePage& page, std::size_t row)
{
    const Orvane::EPointKind kind = page.GetPointKind(row);
    if (kind == Orvane::EPointKind::None) {
        SetNoPoint();
    } else {
        const bool hasZ = kind == Orvane::EPointKind::XYZ;
        SetPoint(page.x[row], page.y[row], hasZ, hasZ ? page.z[row] : 0);
    }
    const std::size_t count = std::min(page.GetAttributeCount(row), m_fields.size());
    for (std::size_t index = 0; index < count; ++index) {
        SetColumnValue(index, page.data[index], row);
    }
    SetNulls(count);
}

void FeatureFiller::FillObject(const Orvane::BFeature& object)
{
    if (const Orvane::BPointGeo* point = object.GetPoint()) {
        SetPoint(point->GetX(), point->GetY(), point->HasZ(), point->GetZ());
    } else {
        SetNoPoint();
    }
    const std::size_t count = std::min(object.GetAttributeCount(), m_fields.size());
    for (std::size_t index = 0; index < count; ++index) {
        SetVariant(index, object.GetAttributeValue(index));
    }
    SetNulls(count);
}

void FeatureFiller::SetNoPoint()
{
    m_hasPoint = false;
    m_feature.SetGeometryDirectly(nullptr);
}

void FeatureFiller::SetPoint(double x, double y, bool hasZ, double z)
{
    if (!m_hasGeometry) {
        return;
    }
    // Rule: a point whose X or Y is no finite number has no place and goes without geometry.
    if (!std::isfinite(x) || !std::isfinite(y)) {
        ++m_losses.withoutPlace;
        SetNoPoint();
        return;
    }
    m_hasPoint = true;
    OGRGeometry* geometry = m_feature.GetGeometryRef();
    if (geometry == nullptr) {
        m_feature.SetGeometryDirectly(new OGRPoint());
        geometry = m_feature.GetGeometryRef();
    }
    OGRPoint& point = *geometry->toPoint();
    CheckDigits(x);
    CheckDigits(y);
    point.setX(x);
    point.setY(y);
    const bool hasHeight = hasZ && std::isfinite(z);
    m_losses.notFinite += hasZ && std::isinf(z) ? 1U : 0U;
    m_losses.withoutHeight += hasHeight && !m_holdsHeights ? 1U : 0U;
    m_losses.zeroHeights += m_hasHeights && !hasHeight && !m_holdsMissingHeights ? 1U : 0U;
    if (m_hasHeights && hasHeight) {
        point.setZ(z);
    } else {
        point.flattenTo2D();
    }
}

void FeatureFiller::SetNull(std::size_t index)
{
    const EVariantType type = m_fields[index].type;
    const bool isNumber = type == EVariantType::Int32 || type == EVariantType::Double ||
                          type == EVariantType::Float || type == EVariantType::Boolean;
    m_losses.zeroNulls += isNumber && !m_format.holdsNullNumbers ? 1U : 0U;
    m_feature.SetFieldNull(FieldNumber(index));
}

void FeatureFiller::CheckDigits(double value)
{
    if (m_format.holdsAllDigits || value == 0 || !std::isfinite(value)) {
        return;
    }
    constexpr int kDigits = 15;
    std::array<char, 32> text{};
    const auto written = std::to_chars(
        text.data(), text.data() + text.size(), value, std::chars_format::scientific, kDigits - 1);
    double back = 0;
    std::from_chars(text.data(), written.ptr, back);
    m_losses.longNumbers += back != value ? 1U : 0U;
}

void FeatureFiller::SetNulls(std::size_t from)
{
    for (std::size_t index = from; index < m_fields.size(); ++index) {
        SetNull(index);
    }
}

void FeatureFiller::SetValue(std::size_t index, double value)
{
    const bool isHeld =
        std::isfinite(value) || (std::isnan(value) ? m_format.holdsNaN : m_format.holdsInfinity);
    if (!isHeld) {
        ++m_losses.notFinite;
        SetNull(index);
    } else {
        CheckDigits(value);
        m_feature.SetField(FieldNumber(index), value);
    }
}

void FeatureFiller::SetValue(std::size_t index, float value)
{
    SetValue(index, static_cast<double>(value));
}

void FeatureFiller::SetValue(std::size_t index, std::int64_t value)
{
    m_feature.SetField(FieldNumber(index), static_cast<GIntBig>(value));
}

void FeatureFiller::SetText(std::size_t index, std::string& text)
{
    if (m_fields[index].type == EVariantType::Int64) {
        if (const std::optional<std::int64_t> value = ParseInt64(text)) {
            SetValue(index, *value);
        } else {
            m_losses.notOfType[index] += text.empty() ? 0U : 1U;
            SetNull(index);
        }
        return;
    }
    const bool isDate = m_fields[index].type == EVariantType::Date && m_format.holdsDates;
    // Date-times that the format cannot hold whole are texts.
    const bool isDateTime = m_fields[index].type == EVariantType::DateTime &&
                            m_feature.GetFieldDefnRef(FieldNumber(index))->GetType() == OFTDateTime;
    if (isDate || isDateTime) {
        SetDate(index, text);
        return;
    }
    // Texts of files end at a NUL; the character that stands for what cannot be shown replaces
    // it.
    if (text.find('\0') != std::string::npos) {
        m_losses.withNul += ReplaceNuls(text);
    }
    m_losses.changedTexts[index] += HoldsText(m_format.texts, text) ? 0U : 1U;
    m_feature.SetField(FieldNumber(index), text.c_str());
}

void FeatureFiller::SetDate(std::size_t index, const std::string& text)
{
    const std::optional<DateParts> parts = ParseDateText(m_fields[index].type, text);
    // GDAL's zones: 0 unknown, 100 UTC, and a step for every 15 minutes from there.
    constexpr int kUtc = 100;
    constexpr int kMinutesOfAStep = 15;
    if (!parts || (parts->offset && *parts->offset % kMinutesOfAStep != 0)) {
        m_losses.notOfType[index] += text.empty() ? 0U : 1U;
        SetNull(index);
        return;
    }
    if (parts->year < m_format.firstYear) {
        ++m_losses.earlyDates[index];
        SetNull(index);
        return;
    }
    m_losses.cutOffsets[index] += parts->offset && !m_format.holdsOffsets ? 1U : 0U;
    constexpr int kMilliseconds = 3;
    const int zone = parts->offset ? kUtc + *parts->offset / kMinutesOfAStep : 0;
    const auto second = static_cast<float>(parts->second + parts->nanoseconds / 1e9);
    m_losses.cutFractions[index] += parts->fractionDigits > kMilliseconds ? 1U : 0U;
    m_feature.SetField(FieldNumber(index),
                       parts->year,
                       parts->month,
                       parts->day,
                       parts->hour,
                       parts->minute,
                       second,
                       zone);
}

void FeatureFiller::SetValue(std::size_t index, std::int32_t value)
{
    m_feature.SetField(FieldNumber(index), static_cast<int>(value));
}

void FeatureFiller::SetValue(std::size_t index, bool value)
{
    m_feature.SetField(FieldNumber(index), value ? 1 : 0);
}

void FeatureFiller::SetColumnValue(std::size_t index,
                                   const Orvane::BColumnData& column,
                                   std::size_t row)
{
    if (column.IsNull(row)) {
        SetNull(index);
        return;
    }
    const EVariantType type = m_fields[index].type;
    Orvane::VisitStorage(column.storage, [this, index, type, &column, row](auto kind) {
        if constexpr (kind.kIsText) {
            m_text.clear();
            Orvane::AppendTextAsUtf8(column.texts.GetBytes(row), column.texts.encoding, m_text);
            SetTextAs(index, type);
        } else if (type == kind.kType) {
            SetValue(index, kind.GetValue(column, row));
        } else {
            SetVariant(index, Orvane::BVariant(kind.GetValue(column, row)));
        }
    });
}

void FeatureFiller::SetTextAs(std::size_t index, EVariantType type)
{
    switch (type) {
    case EVariantType::Int32:
    case EVariantType::Double:
    case EVariantType::Float:
    case EVariantType::Boolean:
        SetVariant(index, Orvane::BVariant(Orvane::BString::FromUtf8(m_text)));
        break;
    default:
        SetText(index, m_text);
    }
}

void FeatureFiller::SetVariant(std::size_t index, const Orvane::BVariant& value)
{
    if (value.IsEmpty()) {
        SetNull(index);
        return;
    }
    const bool isText = value.GetType() == EVariantType::String;
    switch (m_fields[index].type) {
    case EVariantType::Int32:
        m_feature.SetField(FieldNumber(index), static_cast<int>(value.GetInteger()));
        return;
    case EVariantType::Int64:
        if (!isText) {
            SetValue(index, value.GetInt64());
            return;
        }
        break;
    case EVariantType::Double:
        SetValue(index, value.GetDouble());
        return;
    case EVariantType::Float:
        SetValue(index, value.GetFloat());
        return;
    case EVariantType::Boolean:
        m_feature.SetField(FieldNumber(index), value.GetBoolean() ? 1 : 0);
        return;
    default:
        break;
    }
    m_text = value.GetString().ToUtf8();
    SetText(index, m_text);
}

} // namespace Orvane::Import
