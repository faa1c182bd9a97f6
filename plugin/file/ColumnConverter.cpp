// Converts regular rows to values, column by column.
#include "file/ColumnConverter.h"

#include "text/ValueRules.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace AsciiReader {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Fewest adjacent columns of doubles that are converted together.
constexpr std::size_t kLeastTileColumns = 64;

/// Room that is reserved after the texts of a column before more are copied.
constexpr std::size_t kTextRoom = 256;

} // namespace

ColumnConverter::ColumnConverter(const RowPlan& plan)
    : m_plan(plan)
    , m_fields(plan.GetRegularRow())
    , m_kernels(Kernels::Best())
    , m_decimals(m_fields.size())
    , m_widths(m_fields.size())
{
    for (const RegularField& field : m_fields) {
        m_hasX = m_hasX || field.kind == RegularField::Kind::X;
        m_hasY = m_hasY || field.kind == RegularField::Kind::Y;
        m_hasZ = m_hasZ || field.kind == RegularField::Kind::Z;
        if (field.kind == RegularField::Kind::Text) {
            m_widths[field.columnIndex] = plan.GetWidth(field.columnIndex);
        }
    }
}

/// A field for conversion to a number, a word or a coordinate. Outer quotes only: numbers, words
/// and coordinates end at the first inner quote anyway.
std::string_view ColumnConverter::FieldAt(const Kernels::FieldRun& run, std::size_t row) const
{
    const std::string_view part = PartAt(run, row);
    return run.hasQuotes ? DropOuterQuotes(part, m_run.unit) : part;
}

Kernels::FieldRun ColumnConverter::MakeFields(std::size_t fieldIndex, std::size_t rows)
{
    Kernels::FieldRun fields = m_run.MakeFields(fieldIndex, rows);
    // Rule: an empty attribute is 0; an empty coordinate is none.
    fields.emptyIsZero = m_fields[fieldIndex].kind > RegularField::Kind::Z;
    fields.decimals = &m_decimals[fieldIndex];
    return fields;
}

void ColumnConverter::Convert(const RowRun& run,
                              const Orvane::BFeatureAppender::Rows& target,
                              Orvane::BColumnData* texts)
{
    using Orvane::EPointKind;
    m_run = run;
    const std::size_t rows = target.count;
    const bool hasPoint = m_hasX || m_hasY || m_hasZ;
    EPointKind kind = EPointKind::None;
    if (hasPoint) {
        kind = m_hasZ ? EPointKind::XYZ : EPointKind::XY;
    }
    // Rule: any coordinate makes the point; those whose column is none (-1) are NaN.
    if (!m_hasX) {
        std::fill_n(target.x, rows, kNaN);
    }
    if (!m_hasY) {
        std::fill_n(target.y, rows, kNaN);
    }
    m_kinds.assign(rows, static_cast<std::uint8_t>(kind));
    m_fallbacks.resize(rows);
    for (std::size_t field = 0; field < m_fields.size(); ++field) {
        const Kernels::FieldRun fields = MakeFields(field, rows);
        if (const std::size_t tile = CountTileColumns(field); tile > 0) {
            ConvertTile(fields, field, tile, target);
            field += tile - 1;
            continue;
        }
        const std::size_t columnIndex = m_fields[field].columnIndex;
        Orvane::BColumnData* const column = target.columns + columnIndex;
        const std::size_t first = target.firstRow;
        switch (m_fields[field].kind) {
        case RegularField::Kind::X:
            ConvertCoordinate(fields, RegularField::Kind::X, target.x);
            break;
        case RegularField::Kind::Y:
            ConvertCoordinate(fields, RegularField::Kind::Y, target.y);
            break;
        case RegularField::Kind::Z:
            ConvertCoordinate(fields, RegularField::Kind::Z, target.z);
            break;
        case RegularField::Kind::Int32: {
            std::int32_t* const out = column->int32s.Data() + first;
            const std::size_t fallbacks = m_kernels.toInt32s(fields, out, m_fallbacks.data());
            for (std::size_t at = 0; at < fallbacks; ++at) {
                out[m_fallbacks[at]] = ValueRules::ToInt32(FieldAt(fields, m_fallbacks[at]));
            }
            break;
        }
        case RegularField::Kind::Double:
            ConvertDoubles(fields, column->doubles.Data() + first);
            break;
        case RegularField::Kind::Float: {
            m_doubles.resize(rows);
            ConvertDoubles(fields, m_doubles.data());
            float* const out = column->floats.Data() + first;
            std::transform(m_doubles.begin(), m_doubles.end(), out, [](double value) {
                return static_cast<float>(value);
            });
            break;
        }
        case RegularField::Kind::Boolean:
            Kernels::ToBooleans(fields, column->booleans.Data() + first);
            break;
        case RegularField::Kind::Text:
            ConvertTexts(fields, columnIndex, texts[columnIndex].texts);
            break;
        }
    }
    // Rule: one coordinate that fails removes the whole point.
    for (std::size_t row = 0; hasPoint && row < rows; ++row) {
        if (m_kinds[row] == static_cast<std::uint8_t>(EPointKind::None)) {
            target.x[row] = kNaN;
            target.y[row] = kNaN;
            if (m_hasZ) {
                target.z[row] = kNaN;
            }
        }
    }
}

void ColumnConverter::ConvertCoordinate(const Kernels::FieldRun& run,
                                        RegularField::Kind kind,
                                        double* out)
{
    const std::size_t fallbacks = m_kernels.toDoubles(run, out, m_fallbacks.data());
    for (std::size_t at = 0; at < fallbacks; ++at) {
        const std::size_t row = m_fallbacks[at];
        if (!ValueRules::ToCoordinate(FieldAt(run, row), out[row])) {
            m_kinds[row] = static_cast<std::uint8_t>(Orvane::EPointKind::None);
        }
    }
    const double multiplier = m_plan.GetMultiplier(kind);
    if (multiplier != 1.0) {
        for (std::size_t row = 0; row < run.rows; ++row) {
            out[row] *= multiplier;
        }
    }
}

void ColumnConverter::ConvertDoubles(const Kernels::FieldRun& run, double* out)
{
    const std::size_t fallbacks = m_kernels.toDoubles(run, out, m_fallbacks.data());
    for (std::size_t at = 0; at < fallbacks; ++at) {
        out[m_fallbacks[at]] = ValueRules::ToDouble(FieldAt(run, m_fallbacks[at]));
    }
}

/// Number of adjacent columns of doubles from `field` on that are converted together; 0 for too
/// few.
std::size_t ColumnConverter::CountTileColumns(std::size_t field) const
{
    // The last field may end with a "\r" that must be trimmed.
    const std::size_t end = m_fields.size() - 1;
    std::size_t next = field;
    while (next < end && m_fields[next].kind == RegularField::Kind::Double) {
        ++next;
    }
    return next - field < kLeastTileColumns ? 0 : next - field;
}

void ColumnConverter::ConvertTile(const Kernels::FieldRun& run,
                                  std::size_t field,
                                  std::size_t count,
                                  const Orvane::BFeatureAppender::Rows& target)
{
    m_tile.resize(count);
    m_fallbackFields.resize(count * (run.rows + 3));
    for (std::size_t at = 0; at < count; ++at) {
        Orvane::BColumnData& column = target.columns[m_fields[field + at].columnIndex];
        m_tile[at].out = column.doubles.Data() + target.firstRow;
        m_tile[at].decimals = m_decimals[field + at];
    }
    const std::size_t fallbacks =
        m_kernels.toDoublesOfColumns(run, m_tile.data(), count, m_fallbackFields.data());
    for (std::size_t at = 0; at < fallbacks; ++at) {
        const Kernels::FallbackField& fallback = m_fallbackFields[at];
        Kernels::FieldRun column = run;
        column.ends += fallback.column;
        m_tile[fallback.column].out[fallback.row] =
            ValueRules::ToDouble(FieldAt(column, fallback.row));
    }
    for (std::size_t at = 0; at < count; ++at) {
        m_decimals[field + at] = m_tile[at].decimals;
    }
}

void ColumnConverter::ConvertTexts(const Kernels::FieldRun& run,
                                   std::size_t columnIndex,
                                   Orvane::BTextArray& texts)
{
    const std::size_t first = texts.GetCount();
    std::size_t longest = m_widths[columnIndex];
    std::size_t row = 0;
    while (row < run.rows) {
        if (texts.encoding != Orvane::ETextEncoding::Utf16) {
            texts.bytes.ReserveMore(kTextRoom);
            Kernels::TextTarget target{texts.bytes.Data(),
                                       texts.bytes.GetSize(),
                                       texts.bytes.GetCapacity(),
                                       texts.ends.Data() + first,
                                       longest,
                                       texts.encoding == ToEncoding(m_run.unit)};
            row = m_kernels.appendTexts(run, row, target);
            texts.bytes.Resize(target.size);
            texts.ends.Resize(first + row);
        }
        if (row < run.rows) {
            longest = std::max(longest, AppendTextByRules(PartAt(run, row), texts));
            ++row;
        }
    }
    m_widths[columnIndex] = longest;
}

/// The slow path: appends a text by all the rules. @return its length in UTF-16 units
std::size_t ColumnConverter::AppendTextByRules(std::string_view part, Orvane::BTextArray& texts)
{
    std::string_view field = part;
    const bool mayHaveQuotes = m_run.hasQuotes && !field.empty() &&
                               std::memchr(field.data(), '"', field.size()) != nullptr;
    if (mayHaveQuotes && !Unquote(part, m_run.unit, m_scratch, field)) {
        // Half of a character is a text in UTF-16 only.
        Widen(TextView(part, m_run.unit), m_widePart);
        const std::u16string_view wide = Unquote(m_widePart, m_wideScratch);
        Orvane::AppendText(texts, AsBytes(wide), Orvane::ETextEncoding::Utf16);
        return wide.size();
    }
    Orvane::AppendText(texts, field, ToEncoding(m_run.unit));
    return CountUtf16Units(field, m_run.unit);
}

} // namespace AsciiReader
