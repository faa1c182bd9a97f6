// The rows of pages as rows of a text format.
#pragma once

#include "../FieldNames.h"
#include "../IntegerText.h"
#include "../Losses.h"
#include "KnownSystem.h"
#include "RowPoint.h"

#include <Orvane/BFeatureCollection.h>
#include <Orvane/BFeaturePage.h>
#include <Orvane/BPointGeo.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Orvane::Import {

/// Walks through pages and gives every value to a format, in the type of its field.
///
/// The format has, all of them called in the order of the fields:
///
///     void BeginRow();
///     void Null(std::size_t fieldIndex);
///     void Integer(std::size_t fieldIndex, std::int64_t value);
///     void Real(std::size_t fieldIndex, double value);     // any number, NaN too
///     void Real(std::size_t fieldIndex, float value);
///     void Boolean(std::size_t fieldIndex, bool value);
///     void Text(std::size_t fieldIndex, std::string_view utf8); // without NUL
///     void EndRow(const RowPoint& point);
///
/// Attributes belong to fields by position; a row with fewer attributes than fields has nulls for
/// the rest. A text in a 64-bit field is a number when all of it is one (ParseInt64), otherwise it
/// is null. A NUL inside a text is U+FFFD: texts end at a NUL for many programs. Values of other
/// types than the field's are converted as BVariant does.
template <typename Format>
class TextRows
{
public:
    /// @param fields and @param format must outlive this object, like @param transform
    /// @param transform for the points; null leaves them as they are
    TextRows(const std::vector<FileField>& fields,
             bool hasGeometry,
             Format& format,
             const PointTransform* transform)
        : m_fields(fields)
        , m_hasGeometry(hasGeometry)
        , m_format(format)
        , m_transform(hasGeometry ? transform : nullptr)
    {
        m_losses.notOfType.resize(fields.size());
        m_losses.cutFractions.resize(fields.size());
    }

    /// Ends each row with its last cell that is not null, instead of with that of the last field.
    void LeaveMissingCellsOut() noexcept { m_hasAllCells = false; }

    [[nodiscard]] LossCounts& GetLosses() noexcept { return m_losses; }

    [[nodiscard]] std::uint64_t GetRowCount() const noexcept { return m_rows; }

    [[nodiscard]] std::uint64_t GetPointCount() const noexcept { return m_points; }

    /// @param features the collection of the page when rows of it may stand as objects, or null
    /// @param firstRow the page's first row in that collection
    /// @param onRow called after each row with the number of rows so far; throws to stop
    template <typename OnRow>
    void WritePage(const BFeaturePage& page,
                   const BFeatureCollection* features,
                   std::size_t firstRow,
                   const OnRow& onRow)
    {
        SetPage(page);
        const bool hasObjects = features != nullptr && features->GetObjectRowCount() > 0;
        for (std::size_t row = 0; row < page.GetRowCount(); ++row) {
            const BFeature* const object =
                hasObjects ? features->GetObjectRow(firstRow + row) : nullptr;
            if (object != nullptr) {
                WriteObject(*object);
            } else {
                WritePageRow(page, row);
            }
            onRow(++m_rows);
        }
    }

private:
    /// How a column of the page becomes a field.
    enum class EWay : std::uint8_t {
        Int32,
        Int64,
        Double,
        Float,
        Boolean,
        Text,        ///< UTF-8 without NUL
        ConvertText, ///< other texts to a text field
        Convert      ///< by way of a variant
    };

    struct Source
    {
        const BColumnData* column;
        EWay way;
        bool hasNulls;
    };

    static EWay ChooseWay(const BColumnData& column, EVariantType type)
    {
        if (column.storage == EColumnStorage::Int32 && type == EVariantType::Int64) {
            return EWay::Int32;
        }
        if (column.storage != StorageOf(type)) {
            return EWay::Convert;
        }
        switch (column.storage) {
        case EColumnStorage::Int32:
            return EWay::Int32;
        case EColumnStorage::Int64:
            return EWay::Int64;
        case EColumnStorage::Double:
            return EWay::Double;
        case EColumnStorage::Float:
            return EWay::Float;
        case EColumnStorage::Boolean:
            return EWay::Boolean;
        case EColumnStorage::Text:
            break;
        }
        const BTextArray& texts = column.texts;
        const bool isUtf8 =
            texts.encoding == ETextEncoding::Ascii || texts.encoding == ETextEncoding::Utf8;
        const std::string_view bytes(texts.bytes.Data(), texts.bytes.GetSize());
        return isUtf8 && bytes.find('\0') == std::string_view::npos ? EWay::Text
                                                                    : EWay::ConvertText;
    }

    void SetPage(const BFeaturePage& page)
    {
        m_sources.clear();
        const std::size_t count = std::min(page.data.size(), m_fields.size());
        for (std::size_t index = 0; index < count; ++index) {
            const BColumnData& column = page.data[index];
            m_sources.push_back({&column,
                                 ChooseWay(column, m_fields[index].type),
                                 column.CountNulls(page.GetRowCount()) > 0});
        }
        m_x = page.x.Data();
        m_y = page.y.Data();
        m_z = page.z.Data();
        if (m_transform != nullptr) {
            Transform(page);
        }
    }

    void Transform(const BFeaturePage& page)
    {
        const std::size_t rows = page.GetRowCount();
        m_places.assign(3 * rows, 0.0);
        double* const x = m_places.data();
        double* const y = x + rows;
        double* const z = y + rows;
        std::copy_n(page.x.Data(), rows, x);
        std::copy_n(page.y.Data(), rows, y);
        // A point without a height is on the ellipsoid.
        for (std::size_t row = 0; row < rows; ++row) {
            const bool hasZ = page.GetPointKind(row) == EPointKind::XYZ;
            z[row] = hasZ && std::isfinite(page.z[row]) ? page.z[row] : 0.0;
        }
        (*m_transform)(rows, x, y, z);
        m_x = x;
        m_y = y;
        m_z = z;
    }

    void WritePageRow(const BFeaturePage& page, std::size_t row)
    {
        m_format.BeginRow();
        std::size_t count = std::min(page.GetAttributeCount(row), m_sources.size());
        while (!m_hasAllCells && count > 1 && m_sources[count - 1].hasNulls &&
               m_sources[count - 1].column->IsNull(row)) {
            --count;
        }
        for (std::size_t index = 0; index < count; ++index) {
            const Source& source = m_sources[index];
            if (source.hasNulls && source.column->IsNull(row)) {
                m_format.Null(index);
            } else {
                WriteValue(page, row, index, source);
            }
        }
        WriteNulls(count);
        const EPointKind kind = page.GetPointKind(row);
        if (kind == EPointKind::None) {
            m_format.EndRow({});
        } else {
            const bool hasZ = kind == EPointKind::XYZ;
            EndRow({true, hasZ, m_x[row], m_y[row], hasZ ? m_z[row] : 0.0});
        }
    }

    void
    WriteValue(const BFeaturePage& page, std::size_t row, std::size_t index, const Source& source)
    {
        const BColumnData& column = *source.column;
        switch (source.way) {
        case EWay::Int32:
            m_format.Integer(index, column.int32s[row]);
            return;
        case EWay::Int64:
            m_format.Integer(index, column.int64s[row]);
            return;
        case EWay::Double:
            m_format.Real(index, column.doubles[row]);
            return;
        case EWay::Float:
            m_format.Real(index, column.floats[row]);
            return;
        case EWay::Boolean:
            m_format.Boolean(index, column.booleans[row] != 0);
            return;
        case EWay::Text:
            m_format.Text(index, column.texts.GetBytes(row));
            return;
        case EWay::ConvertText:
            m_text.clear();
            AppendTextAsUtf8(column.texts.GetBytes(row), column.texts.encoding, m_text);
            WriteText(index);
            return;
        case EWay::Convert:
            WriteVariant(index, page.GetValue(row, index));
            return;
        }
    }

    void WriteObject(const BFeature& object)
    {
        m_format.BeginRow();
        const std::size_t count = std::min(object.GetAttributeCount(), m_fields.size());
        for (std::size_t index = 0; index < count; ++index) {
            WriteVariant(index, object.GetAttributeValue(index));
        }
        WriteNulls(count);
        if (const BPointGeo* const point = object.GetPoint()) {
            RowPoint place{true, point->HasZ(), point->GetX(), point->GetY(), 0.0};
            place.z = place.hasZ ? point->GetZ() : 0.0;
            if (m_transform != nullptr) {
                (*m_transform)(1, &place.x, &place.y, &place.z);
            }
            EndRow(place);
        } else {
            m_format.EndRow({});
        }
    }

    void WriteNulls(std::size_t from)
    {
        for (std::size_t index = from; m_hasAllCells && index < m_fields.size(); ++index) {
            m_format.Null(index);
        }
    }

    void EndRow(const RowPoint& point)
    {
        if (!m_hasGeometry) {
            m_format.EndRow({});
            return;
        }
        // Rule: a point whose X or Y is no finite number has no place and goes without geometry.
        if (!std::isfinite(point.x) || !std::isfinite(point.y)) {
            ++m_losses.withoutPlace;
            m_format.EndRow({});
            return;
        }
        ++m_points;
        m_format.EndRow(point);
    }

    /// m_text in a text field.
    void WriteText(std::size_t index)
    {
        if (m_text.find('\0') != std::string::npos) {
            m_losses.withNul += ReplaceNuls(m_text);
        }
        m_format.Text(index, m_text);
    }

    void WriteInt64Text(std::size_t index)
    {
        if (const std::optional<std::int64_t> value = ParseInt64(m_text)) {
            m_format.Integer(index, *value);
        } else {
            m_losses.notOfType[index] += m_text.empty() ? 0U : 1U;
            m_format.Null(index);
        }
    }

    void WriteVariant(std::size_t index, const BVariant& value)
    {
        if (value.IsEmpty()) {
            m_format.Null(index);
            return;
        }
        switch (m_fields[index].type) {
        case EVariantType::Int32:
            m_format.Integer(index, value.GetInteger());
            return;
        case EVariantType::Int64:
            if (value.GetType() != EVariantType::String) {
                m_format.Integer(index, value.GetInt64());
                return;
            }
            m_text = value.GetString().ToUtf8();
            WriteInt64Text(index);
            return;
        case EVariantType::Double:
            m_format.Real(index, value.GetDouble());
            return;
        case EVariantType::Float:
            m_format.Real(index, value.GetFloat());
            return;
        case EVariantType::Boolean:
            m_format.Boolean(index, value.GetBoolean());
            return;
        default:
            m_text = value.GetString().ToUtf8();
            WriteText(index);
        }
    }

    const std::vector<FileField>& m_fields;
    bool m_hasGeometry;
    bool m_hasAllCells = true;
    Format& m_format;
    const PointTransform* m_transform;
    const double* m_x = nullptr; ///< of the page at hand, transformed if they must be
    const double* m_y = nullptr;
    const double* m_z = nullptr; ///< null without heights
    std::vector<double> m_places;
    std::vector<Source> m_sources; ///< by field, as many as the page has columns
    std::string m_text;
    LossCounts m_losses;
    std::uint64_t m_rows = 0;
    std::uint64_t m_points = 0;
};

} // namespace Orvane::Import
