// Rows as features of FlatGeobuf.
#pragma once

#include "../FieldNames.h"
#include "../text/RowPoint.h"
#include "FlatGeobufWriter.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import {

/// The format that TextRows fills: values go into the bytes of a feature's properties as they are.
///
/// Rules:
/// - A null has no bytes.
/// - NaN and infinity are numbers.
/// - A text of a date and time field is ISO 8601 with "T" and with seconds; a text that is no date
///   and time is null, and counted unless it is empty.
/// - A point without Z among points with Z has NaN there.
class FeatureFormat
{
public:
    /// @param fields and @param writer must outlive this object
    FeatureFormat(const std::vector<FileField>& fields, FlatGeobuf::FlatGeobufWriter& writer);

    void BeginRow() { m_used = 0; }

    void Null(std::size_t /*fieldIndex*/) {}

    void Integer(std::size_t fieldIndex, std::int64_t value)
    {
        if (m_fields[fieldIndex].type == EVariantType::Int32) {
            Put(fieldIndex, static_cast<std::int32_t>(value));
        } else {
            Put(fieldIndex, value);
        }
    }

    void Real(std::size_t fieldIndex, double value) { Put(fieldIndex, value); }

    void Real(std::size_t fieldIndex, float value) { Put(fieldIndex, value); }

    void Boolean(std::size_t fieldIndex, bool value)
    {
        Put(fieldIndex, static_cast<std::uint8_t>(value ? 1 : 0));
    }

    void Text(std::size_t fieldIndex, std::string_view utf8)
    {
        if (m_fields[fieldIndex].type == EVariantType::DateTime) {
            DateTime(fieldIndex, utf8);
        } else {
            PutText(fieldIndex, utf8);
        }
    }

    /// @throws WriteFailure, std::bad_alloc
    void EndRow(const RowPoint& point)
    {
        const std::string_view properties(m_properties.data(), m_used);
        if (point.exists) {
            constexpr double kNoHeight = std::numeric_limits<double>::quiet_NaN();
            m_writer.AddPoint({point.x, point.y, point.hasZ ? point.z : kNoHeight}, properties);
        } else {
            m_writer.AddWithoutPoint(properties);
        }
    }

    /// By field: texts of date and time fields that are none.
    [[nodiscard]] const std::vector<std::size_t>& GetNotOfType() const noexcept
    {
        return m_notOfType;
    }

private:
    /// Room for that many bytes more, with the field's number before them.
    char* Begin(std::size_t fieldIndex, std::size_t byteCount);

    template <typename T>
    void Put(std::size_t fieldIndex, T value)
    {
        std::memcpy(Begin(fieldIndex, sizeof value), &value, sizeof value);
    }

    void PutText(std::size_t fieldIndex, std::string_view utf8);
    void DateTime(std::size_t fieldIndex, std::string_view utf8);

    const std::vector<FileField>& m_fields;
    FlatGeobuf::FlatGeobufWriter& m_writer;
    std::vector<char> m_properties; ///< of the row at hand, and room for more
    std::size_t m_used = 0;
    std::vector<std::size_t> m_notOfType;
    std::string m_dateText;
};

} // namespace Orvane::Import
