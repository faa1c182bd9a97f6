// Decides the attribute schema of a file by all of its rows.
#include "lines/BlockRows.h"
#include "schema/AsciiSchema.h"
#include "schema/RowReader.h"
#include "text/TypeWidening.h"

#include <numeric>
#include <string>

namespace AsciiReader::AsciiSchema {

using Orvane::BAttributeDef;
using Orvane::BAttributeDefs;
using Orvane::EVariantType;

namespace {

/// Widens a schema by the lines of a file: runs of regular rows of a block column by column, all
/// others row by row. Both paths give the same schema.
class AllRows
{
public:
    AllRows(LineSource& lines, const ReadOptions& options, const QRegularExpression& separator)
        : m_options(options)
        , m_reader(options, separator)
        , m_keepsText(options.keepsNumericTexts)
        , m_kernels(Kernels::Best())
        , m_rows(lines)
    {}

    void WidenByFirst(const TextView& line)
    {
        const std::size_t count = m_reader.Split(line);
        m_reader.RemoveCoordinates();
        if (InitColumns(m_schema, m_reader.MakeRow(), m_options)) {
            WidenByRow();
        }
        m_fieldOfColumn.resize(count);
        std::iota(m_fieldOfColumn.begin(), m_fieldOfColumn.end(), std::size_t{0});
        m_reader.RemoveCoordinatesFrom(m_fieldOfColumn);
        m_rows.SetRows(m_reader.GetSeparator(), count);
        ++m_lineNumber;
    }

    void WidenByLine(const TextView& line)
    {
        m_reader.Split(line);
        m_reader.RemoveCoordinates();
        WidenByRow();
        ++m_lineNumber;
    }

    /// Uses the lines of the pending block. @return false when there is none of bytes
    bool WidenByBlock()
    {
        if (!m_rows.Begin()) {
            return false;
        }
        SourceLine line;
        for (;;) {
            switch (m_rows.FindNext()) {
            case BlockRows::Found::Rows:
                WidenByColumns(m_rows.GetRowCount());
                m_lineNumber += m_rows.GetRowCount();
                m_rows.Pass(m_rows.GetRowCount());
                break;
            case BlockRows::Found::Line:
                if (m_rows.ReadLine(line)) {
                    WidenByLine(line.text);
                }
                break;
            case BlockRows::Found::End:
                return true;
            }
        }
    }

    /// Rule: lines of the file are counted from 1.
    [[nodiscard]] std::size_t GetLineNumber() const noexcept { return m_lineNumber; }

    [[nodiscard]] const BAttributeDefs& GetSchema() const noexcept { return m_schema; }

private:
    void WidenByRow()
    {
        m_reader.GetRow().Visit(
            [this](const auto& fields, ETextUnit) { WidenTypes(m_schema, fields, m_keepsText); });
    }

    void WidenByColumns(std::size_t rows)
    {
        m_fallbacks.resize(rows);
        for (std::size_t column = 0; column < m_fieldOfColumn.size(); ++column) {
            BAttributeDef& def = m_schema.GetAt(column);
            Kernels::FieldRun run = m_rows.GetRun().MakeFields(m_fieldOfColumn[column], rows);
            std::size_t row = 0;
            // Values that are all kept as text change nothing once there is a text.
            while (row < rows && (def.GetType() == EVariantType::None ||
                                  (m_keepsText && def.GetType() != EVariantType::String))) {
                WidenByField(def, PartAt(run, row));
                ++row;
            }
            if (row == rows || m_keepsText) {
                continue;
            }
            run.ends += row * run.stride;
            run.rows -= row;
            Kernels::TypeFacts facts;
            const std::size_t fallbacks = m_kernels.scanTypes(run, facts, m_fallbacks.data());
            if (facts.hasTexts) {
                WidenToType(def, EVariantType::String, 0);
            }
            if (facts.hasWholeNumbers) {
                WidenToType(def, EVariantType::Int32, 0);
            }
            if (facts.hasDecimals) {
                WidenToType(def, EVariantType::Double, static_cast<std::int32_t>(facts.mostDigits));
            }
            for (std::size_t at = 0; at < fallbacks; ++at) {
                WidenByField(def, PartAt(run, m_fallbacks[at]));
            }
        }
    }

    void WidenByField(BAttributeDef& def, std::string_view part)
    {
        const ETextUnit unit = m_rows.GetBlock().unit;
        std::string_view field;
        if (Unquote(part, unit, m_scratch, field)) {
            WidenType(def, field, m_keepsText);
        } else {
            // Half of a character is a text in UTF-16 only.
            Widen(TextView(part, unit), m_widePart);
            WidenType(def, Unquote(m_widePart, m_wideScratch), m_keepsText);
        }
    }

    const ReadOptions& m_options;
    RowReader m_reader;
    bool m_keepsText;
    const Kernels::Set& m_kernels;
    BlockRows m_rows;
    BAttributeDefs m_schema;
    std::size_t m_lineNumber = 1;
    std::vector<std::size_t> m_fieldOfColumn; ///< of a row as long as the first one
    std::vector<std::uint32_t> m_fallbacks;
    std::string m_scratch;
    std::u16string m_widePart;
    std::u16string m_wideScratch;
};

} // namespace

BAttributeDefs
ScanAllRows(LineSource& lines, const ReadOptions& options, const QRegularExpression& separator)
{
    AllRows rows(lines, options, separator);
    SourceLine line;
    lines.Next(line);
    try {
        if (!lines.AtEnd()) {
            rows.WidenByFirst(line.text);
        }
        while (!lines.AtEnd()) {
            if (rows.WidenByBlock()) {
                continue;
            }
            // Rule: the entry at which the file is at its end is no row.
            lines.Next(line);
            if (!lines.AtEnd()) {
                rows.WidenByLine(line.text);
            }
        }
    } catch (const Orvane::BIndexOutOfBoundsException& error) {
        RethrowWithLine(rows.GetLineNumber(), error);
    }
    return rows.GetSchema();
}

} // namespace AsciiReader::AsciiSchema
