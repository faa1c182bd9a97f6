// Rows as CSV.
#pragma once

#include "../FieldNames.h"
#include "ByteSearch.h"
#include "NumberText.h"
#include "OutputBuffer.h"
#include "RowPoint.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import {

/// The format of TextRows that writes CSV as RFC 4180 has it, UTF-8, with LF as the end of a line.
///
/// Rules:
/// - A cell is quoted when it holds a comma, a quote, a CR or an LF, and otherwise not.
/// - A null is an empty cell. The empty text is `""` in a column that has nulls, so that both read
///   back as what they are, and an empty cell in a column without.
/// - In a file of one column an empty cell is `""`: many readers skip a line without a byte.
/// - Numbers have their shortest digits; whole numbers of a column of decimals end with ".0"; NaN
///   and infinity are "nan", "inf" and "-inf". Booleans are "true" and "false".
/// - The columns X, Y and, with heights, Z come last; they are empty in rows without a place.
class CsvFormat
{
public:
    /// @param out must outlive this object
    /// @param hasNulls by field: whether the column has a null
    CsvFormat(OutputBuffer& out, std::vector<bool> hasNulls, bool hasGeometry, bool hasHeights);

    /// The line of the columns' names. Before the first row.
    void WriteNames(const std::vector<FileField>& fields);
    /// A line of names as they are, without those of coordinates.
    void CopyNames(const std::vector<std::string>& names);

    void BeginRow() noexcept {}

    void Null(std::size_t fieldIndex)
    {
        Separate(fieldIndex);
        if (m_isSingle) {
            m_out.Append(R"("")");
        }
    }

    void Integer(std::size_t fieldIndex, std::int64_t value)
    {
        Separate(fieldIndex);
        WriteInteger(m_out, value);
    }

    /// @tparam Value double or float
    template <typename Value>
    void Real(std::size_t fieldIndex, Value value)
    {
        Separate(fieldIndex);
        WriteDecimal(m_out, value);
    }

    void Boolean(std::size_t fieldIndex, bool value)
    {
        Separate(fieldIndex);
        m_out.Append(value ? "true" : "false");
    }

    void Text(std::size_t fieldIndex, std::string_view utf8)
    {
        Separate(fieldIndex);
        if (utf8.empty()) {
            m_out.Append(m_isSingle || m_hasNulls[fieldIndex] ? R"("")" : "");
        } else {
            WriteCell(utf8);
        }
    }

    void EndRow(const RowPoint& point);

private:
    void Separate(std::size_t columnIndex)
    {
        if (columnIndex > 0) {
            m_out.Append(',');
        }
    }

    void WriteCell(std::string_view utf8)
    {
        if (HasAnyOf<false, ',', '"', '\n', '\r'>(utf8)) {
            WriteQuoted(utf8);
        } else {
            m_out.Append(utf8);
        }
    }

    void WriteQuoted(std::string_view utf8);

    OutputBuffer& m_out;
    std::vector<bool> m_hasNulls;
    bool m_hasGeometry;
    bool m_hasHeights;
    bool m_isSingle; ///< the file has one column, or none
};

} // namespace Orvane::Import
