// The row loop: appends the rows of the pending lines to a layer.
#include "file/LayerFill.h"

#include "text/ValueRules.h"

#include <Orvane/BException.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace AsciiReader {

using Orvane::BException;
using Orvane::BString;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Fewest adjacent columns of doubles that are converted together.
constexpr std::size_t kLeastTileColumns = 64;

/// Room that is reserved after the texts of a column before more are copied.
constexpr std::size_t kTextRoom = 256;

/// Length in UTF-16 units of a text of a layer.
std::size_t CountStoredUnits(const Orvane::BTextArray& texts, std::size_t index)
{
    const std::string_view bytes = texts.GetBytes(index);
    switch (texts.encoding) {
    case Orvane::ETextEncoding::Utf16:
        return bytes.size() / sizeof(char16_t);
    case Orvane::ETextEncoding::Utf8:
        return CountUtf16Units(bytes, ETextUnit::Utf8);
    default:
        return bytes.size();
    }
}

} // namespace

/// A field for conversion to a number, a word or a coordinate. Outer quotes only: numbers, words
/// and coordinates end at the first inner quote anyway.
std::string_view LayerFill::FieldAt(const Kernels::FieldRun& run, std::size_t row) const
{
    const std::string_view part = PartAt(run, row);
    return run.hasQuotes ? DropOuterQuotes(part, m_rows.GetBlock().unit) : part;
}

LayerFill::LayerFill(const LayerFillContext& context)
    : m_context(context)
    , m_layer(context.features, context.plan.MakeColumns())
    , m_kernels(Kernels::Best())
    , m_rows(context.lines)
{
    if (context.headerRule.IsActive()) {
        return;
    }
    m_fields = context.plan.GetRegularRow();
    m_rows.SetRows(context.separator, m_fields.size());
    m_widths.resize(m_fields.size());
    m_decimals.resize(m_fields.size());
    for (const RegularField& field : m_fields) {
        m_hasZ = m_hasZ || field.kind == RegularField::Kind::Z;
        m_hasPoint = m_hasPoint || field.kind <= RegularField::Kind::Z;
    }
}

LayerFill::Result LayerFill::Run()
{
    SourceLine line;
    for (;;) {
        Step step = Step::Continue;
        if (m_rows.Begin()) {
            step = AppendBlock();
        } else {
            m_context.lines.Next(line);
            step = AppendLine(line);
        }
        switch (step) {
        case Step::Continue:
            break;
        case Step::EndOfData:
            return Result::EndOfData;
        case Step::LimitReached:
            return Result::LimitReached;
        case Step::Cancelled:
            return Result::Cancelled;
        }
    }
}

LayerFill::Step LayerFill::AppendLine(SourceLine& line)
{
    if (line.text.IsEmpty() && !m_context.lines.HasPending()) {
        return Step::EndOfData;
    }
    // Rule: the line read when the limit is reached is dropped; a resumed read starts after it.
    if (m_context.limit >= 1 && m_featuresAdded >= static_cast<std::uint32_t>(m_context.limit)) {
        return Step::LimitReached;
    }
    if (line.mayBeUnbalanced) {
        JoinOpenQuotes(line);
    }
    // Rule: a header line is a row of one field, the line as it stands.
    if (m_context.headerRule.IsActive() && m_context.headerRule.Test(line.text)) {
        m_row.SetWhole(line.text);
    } else if (line.text.IsEmpty()) {
        m_row.SetEmpty();
    } else {
        m_context.separator.Split(line.text, m_row);
    }
    if (m_row.GetCount() != 0) {
        RowPlan::RowEnd end{};
        try {
            end = m_context.plan.ConvertRow(m_row, m_layer);
        } catch (...) {
            throw BException(BString::Format("Failed to parse feature # %d.", m_featuresAdded),
                             "AsciiFile::BuildLayer",
                             BString::Format("The following line may be formatted wrong.\n\t<%ls>.",
                                             line.text.ToString()));
        }
        // A failure to store the row is no fault of the line and passes unchanged.
        RowPlan::EndRow(m_row, end, m_lineNumber, m_layer);
        ++m_featuresAdded;
        if (ReportProgress() == Step::Cancelled) {
            return Step::Cancelled;
        }
    }
    // Rule: rows without fields count as lines, too.
    m_context.currentLine = m_lineNumber++;
    return Step::Continue;
}

LayerFill::Step LayerFill::ReportProgress() const
{
    Orvane::BProgress* const progress = m_context.progress;
    const bool isCancelled = progress != nullptr && progress->ShouldReport(m_lineNumber, 0) &&
                             !progress->Report(m_lineNumber, 0);
    return isCancelled ? Step::Cancelled : Step::Continue;
}

/// Appends following lines to a line until its quotes balance.
void LayerFill::JoinOpenQuotes(SourceLine& line)
{
    const auto countQuotes = [](const TextView& text) {
        return text.Visit([](auto view) { return ValueRules::CountQuotes(view); });
    };
    std::size_t quotes = countQuotes(line.text);
    if (quotes % 2 == 0) {
        return;
    }
    m_joined = line.text.ToString();
    while (quotes % 2 != 0) {
        if (m_context.lines.AtEnd()) {
            throw Orvane::BFileContentNotValidException("AsciiFile::GetSafeLine",
                                                        "File contains an unmatched quote.");
        }
        SourceLine next;
        m_context.lines.Next(next);
        quotes += countQuotes(next.text);
        m_joined.Append(u"\n");
        m_joined += next.text.ToString();
        ++m_lineNumber;
    }
    line.text = TextView(m_joined.View());
}

LayerFill::Step LayerFill::AppendBlock()
{
    bool isFirst = true;
    for (;;) {
        Step step = Step::Continue;
        switch (m_rows.FindNext()) {
        case BlockRows::Found::Rows:
            if (std::exchange(isFirst, false) && m_context.limit < 1) {
                m_layer.ReserveRows(m_rows.EstimateRows(), m_hasZ);
            }
            step = ConvertRegularRows();
            break;
        case BlockRows::Found::Line:
            step = AppendBlockLine();
            break;
        case BlockRows::Found::End:
            return Step::Continue;
        }
        if (step != Step::Continue) {
            return step;
        }
    }
}

LayerFill::Step LayerFill::AppendBlockLine()
{
    SourceLine line;
    return m_rows.ReadLine(line) ? AppendLine(line) : Step::Continue;
}

LayerFill::Step LayerFill::ConvertRegularRows()
{
    while (m_rows.GetRowCount() > 0) {
        std::size_t wanted = m_rows.GetRowCount();
        if (m_context.limit >= 1) {
            const auto limit = static_cast<std::uint32_t>(m_context.limit);
            if (m_featuresAdded >= limit) {
                return AppendBlockLine();
            }
            wanted = std::min<std::size_t>(wanted, limit - m_featuresAdded);
        }
        const Orvane::BFeatureAppender::Rows target = m_layer.BeginRows(wanted, m_hasZ);
        ConvertColumns(target.count, target);
        const Step step = CommitRows(target);
        if (step != Step::Continue) {
            return step;
        }
    }
    return Step::Continue;
}

/// Makes converted rows visible: one by one under a progress object, else all at once.
LayerFill::Step LayerFill::CommitRows(const Orvane::BFeatureAppender::Rows& target)
{
    if (m_context.progress == nullptr) {
        RaiseWidths(target.count, target);
    }
    const std::size_t atOnce = m_context.progress == nullptr ? target.count : 1;
    for (std::size_t row = 0; row < target.count; row += atOnce) {
        const bool isLast = row + atOnce == target.count;
        if (isLast && m_context.progress != nullptr) {
            RaiseWidths(target.count, target);
        }
        m_layer.EndRows(atOnce, m_kinds.data() + row, m_lineNumber);
        m_rows.Pass(atOnce);
        m_featuresAdded += static_cast<std::uint32_t>(atOnce);
        if (m_context.progress != nullptr && ReportProgress() == Step::Cancelled) {
            if (!isLast) {
                RaiseWidths(row + 1, target);
                m_layer.AbandonRow();
            }
            return Step::Cancelled;
        }
        m_lineNumber += static_cast<std::uint32_t>(atOnce);
        m_context.currentLine = m_lineNumber - 1;
    }
    return Step::Continue;
}

Kernels::FieldRun LayerFill::MakeRun(std::size_t fieldIndex, std::size_t rows)
{
    Kernels::FieldRun run = m_rows.MakeRun(fieldIndex, rows);
    // Rule: an empty attribute is 0; an empty coordinate is none.
    run.emptyIsZero = m_fields[fieldIndex].kind > RegularField::Kind::Z;
    run.decimals = &m_decimals[fieldIndex];
    return run;
}

void LayerFill::ConvertColumns(std::size_t rows, const Orvane::BFeatureAppender::Rows& target)
{
    using Orvane::EPointKind;
    EPointKind kind = EPointKind::None;
    if (m_hasPoint) {
        kind = m_hasZ ? EPointKind::XYZ : EPointKind::XY;
    } else {
        std::fill_n(target.x, rows, kNaN);
        std::fill_n(target.y, rows, kNaN);
    }
    m_kinds.assign(rows, static_cast<std::uint8_t>(kind));
    m_fallbacks.resize(rows);
    for (std::size_t field = 0; field < m_fields.size(); ++field) {
        const Kernels::FieldRun run = MakeRun(field, rows);
        if (const std::size_t tile = CountTileColumns(field); tile > 0) {
            ConvertTile(run, field, tile, target);
            field += tile - 1;
            continue;
        }
        const std::size_t columnIndex = m_fields[field].columnIndex;
        Orvane::BColumnData* const column = target.columns + columnIndex;
        const std::size_t first = target.firstRow;
        switch (m_fields[field].kind) {
        case RegularField::Kind::X:
            ConvertCoordinate(run, RegularField::Kind::X, target.x);
            break;
        case RegularField::Kind::Y:
            ConvertCoordinate(run, RegularField::Kind::Y, target.y);
            break;
        case RegularField::Kind::Z:
            ConvertCoordinate(run, RegularField::Kind::Z, target.z);
            break;
        case RegularField::Kind::Int32: {
            std::int32_t* const out = column->int32s.Data() + first;
            const std::size_t fallbacks = m_kernels.toInt32s(run, out, m_fallbacks.data());
            for (std::size_t at = 0; at < fallbacks; ++at) {
                out[m_fallbacks[at]] = ValueRules::ToInt32(FieldAt(run, m_fallbacks[at]));
            }
            break;
        }
        case RegularField::Kind::Double:
            ConvertDoubles(run, column->doubles.Data() + first);
            break;
        case RegularField::Kind::Float: {
            m_doubles.resize(rows);
            ConvertDoubles(run, m_doubles.data());
            float* const out = column->floats.Data() + first;
            std::transform(m_doubles.begin(), m_doubles.end(), out, [](double value) {
                return static_cast<float>(value);
            });
            break;
        }
        case RegularField::Kind::Boolean:
            Kernels::ToBooleans(run, column->booleans.Data() + first);
            break;
        case RegularField::Kind::Text:
            ConvertTexts(run, columnIndex, column->texts);
            break;
        }
    }
    // Rule: one coordinate that fails removes the whole point.
    for (std::size_t row = 0; m_hasPoint && row < rows; ++row) {
        if (m_kinds[row] == static_cast<std::uint8_t>(EPointKind::None)) {
            target.x[row] = kNaN;
            target.y[row] = kNaN;
            if (m_hasZ) {
                target.z[row] = kNaN;
            }
        }
    }
}

void LayerFill::ConvertCoordinate(const Kernels::FieldRun& run,
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
    const double multiplier = m_context.plan.GetMultiplier(kind);
    if (multiplier != 1.0) {
        for (std::size_t row = 0; row < run.rows; ++row) {
            out[row] *= multiplier;
        }
    }
}

void LayerFill::ConvertDoubles(const Kernels::FieldRun& run, double* out)
{
    const std::size_t fallbacks = m_kernels.toDoubles(run, out, m_fallbacks.data());
    for (std::size_t at = 0; at < fallbacks; ++at) {
        out[m_fallbacks[at]] = ValueRules::ToDouble(FieldAt(run, m_fallbacks[at]));
    }
}

/// Number of adjacent columns of doubles from `field` on that are converted together; 0 for too
/// few.
std::size_t LayerFill::CountTileColumns(std::size_t field) const
{
    // The last field may end with a "\r" that must be trimmed.
    const std::size_t end = m_fields.size() - 1;
    std::size_t next = field;
    while (next < end && m_fields[next].kind == RegularField::Kind::Double) {
        ++next;
    }
    return next - field < kLeastTileColumns ? 0 : next - field;
}

void LayerFill::ConvertTile(const Kernels::FieldRun& run,
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

void LayerFill::ConvertTexts(const Kernels::FieldRun& run,
                             std::size_t columnIndex,
                             Orvane::BTextArray& texts)
{
    const std::size_t first = texts.GetCount();
    std::size_t longest = m_context.plan.GetWidth(columnIndex);
    std::size_t row = 0;
    while (row < run.rows) {
        if (texts.encoding != Orvane::ETextEncoding::Utf16) {
            texts.bytes.ReserveMore(kTextRoom);
            Kernels::TextTarget target{texts.bytes.Data(),
                                       texts.bytes.GetSize(),
                                       texts.bytes.GetCapacity(),
                                       texts.ends.Data() + first,
                                       longest,
                                       texts.encoding == ToEncoding(m_rows.GetBlock().unit)};
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
std::size_t LayerFill::AppendTextByRules(std::string_view part, Orvane::BTextArray& texts)
{
    std::string_view field = part;
    const bool mayHaveQuotes = m_rows.GetBlock().hasQuotes && !field.empty() &&
                               std::memchr(field.data(), '"', field.size()) != nullptr;
    if (mayHaveQuotes && !Unquote(part, m_rows.GetBlock().unit, m_scratch, field)) {
        // Half of a character is a text in UTF-16 only.
        Widen(TextView(part, m_rows.GetBlock().unit), m_widePart);
        const std::u16string_view wide = Unquote(m_widePart, m_wideScratch);
        Orvane::AppendText(texts, AsBytes(wide), Orvane::ETextEncoding::Utf16);
        return wide.size();
    }
    Orvane::AppendText(texts, field, ToEncoding(m_rows.GetBlock().unit));
    return CountUtf16Units(field, m_rows.GetBlock().unit);
}

/// Raises the widths of the schema's columns by the texts of rows that were ended.
void LayerFill::RaiseWidths(std::size_t endedRows, const Orvane::BFeatureAppender::Rows& target)
{
    for (const RegularField& field : m_fields) {
        if (field.kind != RegularField::Kind::Text) {
            continue;
        }
        std::size_t width = m_widths[field.columnIndex];
        if (endedRows < target.count) {
            // Rule: rows after the one at which the read was cancelled do not count.
            width = 0;
            const Orvane::BTextArray& texts = target.columns[field.columnIndex].texts;
            for (std::size_t row = 0; row < endedRows; ++row) {
                width = std::max(width, CountStoredUnits(texts, target.firstRow + row));
            }
        }
        m_context.plan.RaiseWidth(field.columnIndex, width);
    }
}

} // namespace AsciiReader
