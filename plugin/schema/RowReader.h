// Splits lines into the fields that a schema is made of.
#pragma once

#include "text/AsciiUtils.h"
#include "text/CoordinateColumns.h"
#include "text/Separator.h"

#include <Orvane/BException.h>
#include <Orvane/BKeyValuePairs.h>
#include <Orvane/Constants.h>

#include <QRegularExpression>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace AsciiReader::AsciiSchema {

inline bool IsTrue(const Orvane::BParamList& params, const Orvane::BString& key)
{
    return params.HasProperty(key) && params.GetBoolean(key, false);
}

/// The column numbers of the options, -1 for those that are absent.
struct CoordinateColumns
{
    explicit CoordinateColumns(const Orvane::BParamList& params)
        : x(Get(params, Orvane::X_COLUMN))
        , y(Get(params, Orvane::Y_COLUMN))
        , z(Get(params, Orvane::Z_COLUMN))
        , areInRows(params.HasProperty(Orvane::X_COLUMN) && params.HasProperty(Orvane::Y_COLUMN))
    {}

    static std::int32_t Get(const Orvane::BParamList& params, const Orvane::BString& key)
    {
        return params.HasProperty(key) ? params.GetInteger(key, 0) : -1;
    }

    [[nodiscard]] bool Contains(std::int32_t column) const noexcept
    {
        return column == x || column == y || column == z;
    }

    std::int32_t x;
    std::int32_t y;
    std::int32_t z;
    bool areInRows;
};

/// Splits lines and takes the coordinate columns out.
class RowReader
{
public:
    RowReader(const Orvane::BParamList& params, const QRegularExpression& separator)
        : m_columns(params)
        , m_separator(separator,
                      params.HasProperty(Orvane::FIELD_LENGTH)
                          ? params.GetIntegers(Orvane::FIELD_LENGTH)
                          : std::vector<std::int32_t>())
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

    /// The same for what stands for the fields of a row.
    template <typename Fields>
    void RemoveCoordinatesFrom(Fields& fields) const
    {
        if (m_columns.areInRows) {
            RemoveCoordinateColumns(fields, m_columns.x, m_columns.y, m_columns.z);
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
    CoordinateColumns m_columns;
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
