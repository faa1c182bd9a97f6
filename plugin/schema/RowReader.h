// Splits lines into the fields that a schema is made of.
#pragma once

#include "text/AsciiUtils.h"
#include "text/CoordinateRemoval.h"
#include "text/ReadOptions.h"
#include "text/Separator.h"

#include <Orvane/BException.h>

#include <QRegularExpression>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace AsciiReader::AsciiSchema {

/// Splits lines and removes the coordinate columns.
class RowReader
{
public:
    RowReader(const ReadOptions& options, const QRegularExpression& separator)
        : m_hasCoordinates(options.HasCoordinates())
        , m_xIndex(options.x.fieldIndex)
        , m_yIndex(options.y.fieldIndex)
        , m_zIndex(options.z.fieldIndex)
        , m_separator(separator, options.fieldLengths)
    {}

    /// @return fields of the line before the coordinate columns went
    std::size_t Split(const TextView& line)
    {
        m_separator.Split(line, m_row);
        return m_row.GetCount();
    }

    void RemoveCoordinates()
    {
        m_row.VisitMutable([this](auto& fields) { RemoveCoordinatesFrom(fields); });
    }

    /// The same for any list with one entry per field.
    template <typename Fields>
    void RemoveCoordinatesFrom(Fields& fields) const
    {
        if (m_hasCoordinates) {
            RemoveCoordinateColumns(fields, m_xIndex, m_yIndex, m_zIndex);
        }
    }

    [[nodiscard]] const Separator& GetSeparator() const noexcept { return m_separator; }

    [[nodiscard]] SplitRow& GetRow() noexcept { return m_row; }

    [[nodiscard]] Row MakeRow()
    {
        Row row;
        m_row.Visit([&row](const auto& fields, ETextUnit unit) {
            row.reserve(fields.size());
            for (const auto field : fields) {
                row.push_back(MakeString(field, unit));
            }
        });
        return row;
    }

private:
    bool m_hasCoordinates;
    std::int32_t m_xIndex;
    std::int32_t m_yIndex;
    std::int32_t m_zIndex;
    Separator m_separator;
    SplitRow m_row;
};

/// Says in which line of the data the row is that lacks its coordinate columns.
[[noreturn]] inline void RethrowWithLine(std::size_t lineNumber,
                                         const Orvane::BIndexOutOfBoundsException& error)
{
    throw Orvane::BIndexOutOfBoundsException(
        error.GetLocation(),
        Orvane::BString::Format("Line %d of the data.  %ls", lineNumber, error.GetDetails()));
}

} // namespace AsciiReader::AsciiSchema
