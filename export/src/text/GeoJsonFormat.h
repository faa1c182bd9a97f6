// Rows as GeoJSON features.
#pragma once

#include "../FieldNames.h"
#include "ByteSearch.h"
#include "JsonText.h"
#include "NumberText.h"
#include "OutputBuffer.h"
#include "RowPoint.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import {

/// The format of TextRows that writes GeoJSON as RFC 7946 has it, one feature on a line, UTF-8.
///
/// Rules:
/// - Nulls, NaN and infinity are null; the latter two are counted.
/// - Numbers have their shortest digits; whole numbers of a column of decimals end with ".0".
/// - A row without a place has a null for its geometry; a Z that is no finite number is left out.
class GeoJsonFormat
{
public:
    enum class EKind {
        Collection,    ///< one object with all features, then with the box around them
        Sequence,      ///< features alone, an LF after each
        MarkedSequence ///< the same with an RS before each (RFC 8142)
    };

    /// @param out must outlive this object
    GeoJsonFormat(OutputBuffer& out, EKind kind, const std::vector<FileField>& fields);

    /// What comes before the first row.
    /// @param name the layer's
    /// @param crs the name of the coordinate system as a URN; empty for none. Only of a collection.
    void Begin(const std::string& name, const std::string& crs);
    /// What comes after the last row.
    void End();

    /// Numbers that are not finite, null in the file.
    [[nodiscard]] std::uint64_t GetNotFiniteCount() const noexcept { return m_notFinite; }

    void BeginRow() { m_out.Append(m_isFirst ? m_firstBegin : m_nextBegin); }

    void Null(std::size_t fieldIndex)
    {
        m_out.Append(m_keys[fieldIndex]);
        m_out.Append("null");
    }

    void Integer(std::size_t fieldIndex, std::int64_t value)
    {
        m_out.Append(m_keys[fieldIndex]);
        WriteInteger(m_out, value);
    }

    /// @tparam Value double or float
    template <typename Value>
    void Real(std::size_t fieldIndex, Value value)
    {
        if (!std::isfinite(value)) {
            ++m_notFinite;
            Null(fieldIndex);
            return;
        }
        m_out.Append(m_keys[fieldIndex]);
        WriteDecimal(m_out, value);
    }

    void Boolean(std::size_t fieldIndex, bool value)
    {
        m_out.Append(m_keys[fieldIndex]);
        m_out.Append(value ? "true" : "false");
    }

    void Text(std::size_t fieldIndex, std::string_view utf8)
    {
        m_out.Append(m_keys[fieldIndex]);
        WriteText(utf8);
    }

    void EndRow(const RowPoint& point);

private:
    void WriteText(std::string_view utf8)
    {
        m_out.Append('"');
        if (HasAnyOf<true, '"', '\\'>(utf8)) {
            WriteEscaped(utf8);
        } else {
            m_out.Append(utf8);
        }
        m_out.Append('"');
    }

    void WriteEscaped(std::string_view utf8);
    void WriteBox();

    /// The least and the greatest of numbers.
    struct Range
    {
        double least = std::numeric_limits<double>::infinity();
        double greatest = -std::numeric_limits<double>::infinity();

        void Include(double value) noexcept
        {
            least = std::min(least, value);
            greatest = std::max(greatest, value);
        }
    };

    OutputBuffer& m_out;
    EKind m_kind;
    std::vector<std::string> m_keys; ///< by field: `,"name":`, the first without its comma
    std::string_view m_firstBegin;
    std::string_view m_nextBegin;
    bool m_isFirst = true;
    bool m_haveAllZ = true; ///< all points so far
    Range m_x;
    Range m_y;
    Range m_z;
    std::uint64_t m_notFinite = 0;
    std::string m_escaped;
};

} // namespace Orvane::Import
