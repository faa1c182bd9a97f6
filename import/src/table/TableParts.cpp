// One buffer; an index where pieces are clean, the plan's own cutter everywhere else.
#include "TableParts.h"

#include "../plan/PlanDialect.h"
#include "../plan/scan/CountByte.h"
#include "../plan/scan/MarkBits.h"
#include "../plan/values/FoldedCell.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace Orvane::Import::Table {

namespace {

constexpr std::size_t kPiece = std::size_t{128} * 1024;
constexpr std::size_t kSpace = AsciiReader::Kernels::kPadding;
constexpr std::size_t kMostRawBytes = std::size_t{64} * 1024;
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// Line breaks of every kind, in a text that comes in pieces.
class BreakCounter
{
public:
    void Add(std::string_view text) noexcept
    {
        for (const char unit : text) {
            m_count += unit == '\r' || (unit == '\n' && !m_isAfterReturn) ? 1U : 0U;
            m_isAfterReturn = unit == '\r';
        }
    }

    [[nodiscard]] std::uint64_t Count() const noexcept { return m_count; }

private:
    std::uint64_t m_count = 0;
    bool m_isAfterReturn = false;
};

std::uint64_t CountBreaks(std::string_view text) noexcept
{
    if (std::memchr(text.data(), '\n', text.size()) == nullptr &&
        std::memchr(text.data(), '\r', text.size()) == nullptr) {
        return 0;
    }
    BreakCounter counter;
    counter.Add(text);
    return counter.Count();
}

bool IsEmptyCell(std::string_view cell) noexcept
{
    return Values::Trim(cell).empty();
}

std::size_t CountKeptFields(const Plan& plan, bool isAllText)
{
    const auto columns = static_cast<std::size_t>(plan.shape.columnCount.value);
    const auto most = static_cast<std::size_t>(plan.shape.mostFields);
    return isAllText ? std::clamp(most, columns, columns + kMostExtraColumns) : columns;
}

} // namespace

TableRules::TableRules(const Plan& givenPlan, const TableRequest& request)
    : plan(givenPlan)
    , isAllText(request.isAllText || givenPlan.isAllText)
    , columnCount(givenPlan.columns.size())
    , mostFields(CountKeptFields(givenPlan, isAllText))
    , nullTexts(NullTextsOf(givenPlan, request))
{
    columns.reserve(columnCount);
    for (const PlanColumn& column : plan.columns) {
        columns.emplace_back(column, nullTexts, isAllText);
    }
}

std::size_t TableRules::FindMisfit(const TableRecord& record) const noexcept
{
    const std::size_t count = std::min(record.cells.size(), columnCount);
    for (std::size_t column = 0; column < count; ++column) {
        if (columns[column].Read(record.cells[column]) == ECellState::Misfit) {
            return column + 1;
        }
    }
    return 0;
}

TableParts::TableParts(const TableRules& rules, bool wantsRuns)
    : m_rules(rules)
    , m_source(OpenText(rules.plan))
    , m_cutter(CutterOf(rules.plan))
    , m_decoder(TextEncodingOf(rules.plan), rules.plan.path)
    , m_buffer(kPiece + kSpace)
    , m_wantsRuns(wantsRuns)
{
    m_isPlanned = m_source->Facts().size == rules.plan.bytes.size;
    static_cast<void>(FindPiece(0));
    m_fieldOfColumn.resize(rules.columnCount);
    for (std::size_t column = 0; column < rules.columnCount; ++column) {
        m_fieldOfColumn[column] = column;
    }
    // A row is compared with the names when it begins to look like them.
    for (const std::vector<std::string>& names : rules.plan.shape.namesLines) {
        const auto filled = std::find_if(
            names.begin(), names.end(), [](const std::string& name) { return !name.empty(); });
        if (filled != names.end()) {
            m_keyColumn = static_cast<std::size_t>(filled - names.begin());
        }
        m_comparesNames = m_comparesNames || !m_isPlanned || !IsFoundByType(names);
    }
    FindHead();
}

/// Whether a row of these names is found by its cells: they do not fit the columns' types.
bool TableParts::IsFoundByType(const std::vector<std::string>& names) const
{
    for (std::size_t column = 0; column < std::min(names.size(), m_rules.columnCount); ++column) {
        if (m_rules.columns[column].Read(names[column]) == ECellState::Misfit) {
            return true;
        }
    }
    return false;
}

/// Moves what is left to the front and reads on; a record that fills the buffer makes it larger.
/// @return false when there is no more text, or the buffer is full
bool TableParts::Refill()
{
    std::memmove(m_buffer.data(), m_buffer.data() + m_at, m_size - m_at);
    m_cutter.StartPiece(m_at);
    m_size -= m_at;
    m_byte += m_at;
    m_at = 0;
    m_positionCount = 0;
    m_nextPosition = 0;
    m_mayIndex = true;
    const std::size_t capacity = m_buffer.size() - kSpace;
    if (m_isAtEnd || (m_size == capacity && capacity >= kMostRecordBytes)) {
        return false;
    }
    if (m_size * 2 > capacity && capacity < kMostRecordBytes) {
        m_buffer.resize(capacity * 2 + kSpace);
    }
    const std::size_t wanted = m_buffer.size() - kSpace - m_size;
    const std::size_t got = m_source->Read(m_buffer.data() + m_size, wanted);
    m_isAtEnd = got < wanted;
    m_size += got;
    std::memset(m_buffer.data() + m_size, 0, kSpace);
    return got > 0;
}

TableParts::EPart TableParts::Next(TableRecord& record)
{
    if (m_isInHead) {
        if (ReadHead(record)) {
            return EPart::Record;
        }
        FinishHead();
    }
    for (;;) {
        if (m_at == m_size && !Refill()) {
            return EPart::End;
        }
        if (m_mayIndex && m_wantsRuns) {
            m_mayIndex = false;
            if (CanIndex()) {
                MakeIndex();
            }
        }
        if (m_nextPosition < m_positionCount && FindRun()) {
            m_lines.rows += m_run.rows;
            return EPart::Run;
        }
        if (!m_cutter.Cut(Text(), m_at, m_isAtEnd, m_rules.columnCount, m_cut)) {
            const bool wasAtEnd = m_isAtEnd;
            if (Refill() || m_isAtEnd != wasAtEnd) {
                continue;
            }
            return SkipLongLine(record);
        }
        MakeRecord(m_cut, record);
        Classify(m_cut, record);
        Count(record);
        m_line += m_cut.lines;
        m_at = m_cut.next;
        if (m_nextPosition < m_positionCount) {
            // The index goes on where the record ends, unless the two disagree.
            m_nextPosition += CountFields(m_nextPosition);
            const std::uint32_t end = m_positions[m_nextPosition];
            if (std::size_t{end} + 1 != m_at) {
                m_positionCount = 0;
                m_nextPosition = 0;
            }
        }
        return EPart::Record;
    }
}

/// Finds where the first row begins: where the plan says, if lines begin there; otherwise after as
/// many lines as the plan says, as in another file than the planned one.
void TableParts::FindHead()
{
    const PlanShape& shape = m_rules.plan.shape;
    const std::uint64_t lines = shape.firstRowLine - std::min<std::uint64_t>(shape.firstRowLine, 1);
    m_headEnd = shape.firstRowByte;
    m_isInHead = m_headEnd > 0 || lines > 0;
    while (m_size < m_headEnd && Refill()) {
    }
    const char lineEnd = m_cutter.Rules().lineEnds == Scan::ELineEnds::Returns ? '\r' : '\n';
    if (m_headEnd <= m_size) {
        const std::string_view head = Text().substr(0, static_cast<std::size_t>(m_headEnd));
        const auto beginsLine = [head](std::uint64_t byte) {
            const auto at = static_cast<std::size_t>(byte);
            return at == 0 || head[at - 1] == '\n' || head[at - 1] == '\r';
        };
        m_isHeadPlanned =
            beginsLine(m_headEnd) &&
            (CountBreaks(head) == lines || Scan::CountByte(head, lineEnd) == lines) &&
            std::all_of(shape.lines.begin(), shape.lines.end(), [&](const PlanLines& piece) {
                return piece.byte >= m_headEnd || beginsLine(piece.byte);
            });
    }
    if (m_isHeadPlanned) {
        return;
    }
    std::size_t end = 0;
    for (std::uint64_t line = 0; line < lines; ++line) {
        std::size_t at = FindLineEnd(end);
        while (at == std::string_view::npos && Refill()) {
            at = FindLineEnd(end);
        }
        end = at == std::string_view::npos ? m_size : at + 1;
    }
    m_headEnd = end;
}

/// Where the line ends that a position lies in; npos when that is not in the buffer.
std::size_t TableParts::FindLineEnd(std::size_t from) const
{
    switch (m_cutter.Rules().lineEnds) {
    case Scan::ELineEnds::Feeds:
        return Text().find('\n', from);
    case Scan::ELineEnds::Returns:
        return Text().find('\r', from);
    case Scan::ELineEnds::Any:
        break;
    }
    const std::size_t at = Text().find_first_of("\r\n", from);
    const bool isPair = at + 1 < m_size && m_buffer[at] == '\r' && m_buffer[at + 1] == '\n';
    return isPair ? at + 1 : at;
}

/// Gives the lines before the first row: piece by piece as the plan lists them, or line by line.
bool TableParts::ReadHead(TableRecord& record)
{
    const std::vector<PlanLines>& lines = m_rules.plan.shape.lines;
    const std::uint64_t begin = m_byte + m_at;
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(m_headEnd, m_size) - m_at);
    if (size == 0) {
        return false;
    }
    std::string_view text = Text().substr(m_at, size);
    EPlanLines kind = EPlanLines::Preamble;
    for (const PlanLines& piece : lines) {
        if (piece.firstLine >= m_rules.plan.shape.firstRowLine) {
            break;
        }
        if (m_isHeadPlanned && piece.byte > begin) {
            text = text.substr(0, static_cast<std::size_t>(piece.byte - begin));
            break;
        }
        const bool isIn = m_isHeadPlanned ? piece.byte <= begin : piece.firstLine <= m_line;
        kind = isIn ? piece.kind : kind;
        // Lines are numbered as the plan numbers them.
        m_line = m_isHeadPlanned && piece.byte == begin ? piece.firstLine : m_line;
    }
    if (!m_isHeadPlanned) {
        const std::size_t end = FindLineEnd(m_at);
        text = text.substr(0, end == std::string_view::npos ? size : end + 1 - m_at);
    }
    record = TableRecord();
    record.kind = ERecord::Head;
    record.headKind = kind;
    record.line = m_line;
    record.byte = begin;
    m_at += text.size();
    const bool isEnded = text.back() == '\n' || text.back() == '\r';
    record.lines = CountBreaks(text) + (isEnded ? 0U : 1U);
    text.remove_suffix(text.back() == '\n' ? 1U : 0U);
    text.remove_suffix(!text.empty() && text.back() == '\r' ? 1U : 0U);
    m_rawText.clear();
    m_decoder.Append(text, m_rawText);
    record.raw = m_rawText;
    m_line += m_isHeadPlanned ? record.lines : 1;
    Count(record);
    return true;
}

void TableParts::FinishHead()
{
    m_isInHead = false;
    m_line = std::max<std::uint64_t>(m_rules.plan.shape.firstRowLine, 1);
}

/// Consumes a line that is too long, up to its end.
TableParts::EPart TableParts::SkipLongLine(TableRecord& record)
{
    record = TableRecord();
    record.kind = ERecord::Bad;
    record.why = EBadRow::TooLong;
    record.line = m_line;
    record.byte = m_byte + m_at;
    m_rawText.clear();
    m_decoder.Append(Text().substr(m_at, kMostRawBytes), m_rawText);
    record.raw = m_rawText;
    const char end = m_cutter.Rules().lineEnds == Scan::ELineEnds::Returns ? '\r' : '\n';
    BreakCounter breaks;
    bool isEnded = false;
    do {
        const std::string_view rest = Text().substr(m_at);
        const std::size_t at = rest.find(end);
        isEnded = at != std::string_view::npos;
        const std::size_t size = isEnded ? at + 1 : rest.size();
        breaks.Add(rest.substr(0, size));
        m_at += size;
    } while (!isEnded && Refill());
    record.lines = breaks.Count() + (isEnded ? 0U : 1U);
    ++m_line;
    Count(record);
    return EPart::Record;
}

bool TableParts::CanIndex() const
{
    const Scan::Dialect& dialect = m_cutter.Rules();
    const bool isPlain = dialect.IsPlain() && dialect.separator != '-';
    const char* text = m_buffer.data() + m_at;
    const std::size_t size = m_size - m_at;
    return isPlain && m_rules.columnCount > 0 && m_line <= LastLineOfRuns() &&
           dialect.lineEnds != Scan::ELineEnds::Any &&
           (dialect.quote == 0 || dialect.quote == '"' ||
            std::memchr(text, dialect.quote, size) == nullptr) &&
           (!dialect.hasBackslashes || std::memchr(text, '\\', size) == nullptr) &&
           m_source->CountInvalidUnits() == 0 && m_size < std::numeric_limits<std::uint32_t>::max();
}

/// Runs end before a line of names in another order, and at the last line of the table.
std::uint64_t TableParts::LastLineOfRuns() const noexcept
{
    const PlanShape& shape = m_rules.plan.shape;
    std::uint64_t last = std::numeric_limits<std::uint64_t>::max();
    if (!m_isPlanned) {
        return last;
    }
    if (shape.lastRowLine > 0) {
        last = shape.lastRowLine;
    }
    if (m_nextOrder < shape.orders.size()) {
        last = std::min(last, shape.orders[m_nextOrder].line - 1);
    }
    if (m_nextPiece < shape.lines.size()) {
        last = std::min(last, shape.lines[m_nextPiece].firstLine - 1);
    }
    return last;
}

bool TableParts::AreBytesFine(std::string_view text, bool hasHighBytes)
{
    switch (m_decoder.Kind()) {
    case CellDecoder::EKind::Utf8:
        return !hasHighBytes || AsciiReader::Kernels::Best().isUtf8(text.data(), text.size());
    case CellDecoder::EKind::OneByte:
        return !hasHighBytes || m_decoder.IsValid(text);
    case CellDecoder::EKind::ManyBytes:
        break;
    }
    return m_decoder.IsPlain(text);
}

/// Looks at the returns: those before line ends are cut off, all others are breaks inside rows.
/// @return whether all line ends have one, or none has
bool TableParts::FindReturns(std::string_view text, char lineEnd)
{
    m_run.trim = 0;
    if (lineEnd == '\r') {
        m_hasBreaks = m_hasBreaks || text.find('\n') != std::string_view::npos;
        return true;
    }
    std::size_t lines = 0;
    std::size_t withReturn = 0;
    for (std::size_t index = 1; index <= m_positionCount; ++index) {
        const std::uint32_t position = m_positions[index];
        if (m_buffer[position] == lineEnd) {
            ++lines;
            withReturn += position > m_at && m_buffer[position - 1] == '\r' ? 1U : 0U;
        }
    }
    m_run.trim = withReturn > 0 ? 1 : 0;
    m_hasBreaks = m_hasBreaks || Scan::CountByte(text, '\r') != withReturn;
    return withReturn == 0 || withReturn == lines;
}

/// Quotes of fields that begin and end with one and have doubled ones inside; the others are not
/// counted.
std::size_t TableParts::CountCleanQuotes() const
{
    std::size_t quotes = 0;
    const char* text = m_buffer.data();
    for (std::size_t index = 1; index <= m_positionCount; ++index) {
        // The first position wraps.
        const std::size_t begin = m_positions[index - 1] + 1U;
        std::size_t end = m_positions[index];
        if (text[begin] != '"') {
            continue;
        }
        end -= m_run.trim != 0 && text[end] == '\n' ? 1U : 0U;
        if (end - begin < 2 || text[end - 1] != '"') {
            continue;
        }
        std::size_t at = begin + 1;
        const std::size_t last = end - 1;
        std::size_t inside = 0;
        while (const void* found = std::memchr(text + at, '"', last - at)) {
            at = static_cast<std::size_t>(static_cast<const char*>(found) - text);
            if (at + 1 == last || text[at + 1] != '"') {
                return 0;
            }
            at += 2;
            inside += 2;
        }
        quotes += 2 + inside;
    }
    return quotes;
}

/// Indexes the whole lines of the piece. Without an index records are cut one by one.
void TableParts::MakeIndex()
{
    const Scan::Dialect& dialect = m_cutter.Rules();
    const char lineEnd = dialect.lineEnds == Scan::ELineEnds::Returns ? '\r' : '\n';
    const void* last = memrchr(m_buffer.data() + m_at, lineEnd, m_size - m_at);
    if (last == nullptr) {
        return;
    }
    const std::size_t from = m_at;
    std::size_t to = static_cast<std::size_t>(static_cast<const char*>(last) - m_buffer.data()) + 1;
    AsciiReader::Kernels::Survey survey;
    AsciiReader::Kernels::Best().survey(m_buffer.data() + from, to - from, survey);
    AsciiReader::Kernels::Structure structure;
    structure.separator =
        dialect.separation == Scan::ESeparation::OneColumn ? lineEnd : dialect.separator;
    structure.lineEnd = lineEnd;
    structure.hasQuotes = dialect.quote == '"' && survey.quotes > 0;
    if (m_positions.size() < to - from + kSpace + 2) {
        m_positions.resize(to - from + kSpace + 2);
    }
    AsciiReader::Kernels::IndexState state;
    m_positions[0] = static_cast<std::uint32_t>(from) - 1;
    m_positionCount = m_index(m_buffer.data(), from, to, structure, state, m_positions.data() + 1);
    m_nextPosition = 0;
    // What comes after the last line end outside quotes is left for the next piece.
    while (m_positionCount > 0 && m_buffer[m_positions[m_positionCount]] != lineEnd) {
        --m_positionCount;
    }
    if (m_positionCount == 0) {
        return;
    }
    const std::size_t end = m_positions[m_positionCount] + std::size_t{1};
    const std::size_t tailQuotes =
        structure.hasQuotes ? Scan::CountByte(Text().substr(end, to - end), '"') : 0;
    to = end;
    const std::string_view text = Text().substr(from, to - from);
    m_run.trim = 0;
    m_hasBreaks = structure.hasQuotes && Scan::CountByte(text, lineEnd) != state.lineEnds;
    const bool isFine = Scan::FindNulBlock(text) == std::string_view::npos &&
                        AreBytesFine(text, survey.highBytes != 0) &&
                        (survey.returns == 0 || FindReturns(text, lineEnd)) &&
                        (!structure.hasQuotes || CountCleanQuotes() == survey.quotes - tailQuotes);
    if (!isFine) {
        m_positionCount = 0;
        return;
    }
    m_isRegular = m_positionCount == state.lineEnds * m_rules.columnCount;
    for (std::size_t index = m_rules.columnCount; m_isRegular && index <= m_positionCount;
         index += m_rules.columnCount) {
        m_isRegular = m_buffer[m_positions[index]] == lineEnd;
    }
    m_run.hasQuotes = structure.hasQuotes;
    m_run.isAscii = survey.highBytes == 0;
    m_hasMarks = !m_run.isAscii && text.find(Scan::kMark) != std::string_view::npos;
    m_run.fields = m_rules.columnCount;
    MarkCodes(to);
}

void TableParts::MarkCodes(std::size_t size)
{
    m_codes.resize(std::max(m_codes.size(), Scan::CountMarkWords(size, 1)));
    const char separator = m_cutter.Rules().separator;
    if (separator == '.' || Values::IsDigit(separator)) {
        // Where a field begins cannot be seen from the byte before.
        std::fill(m_codes.begin(), m_codes.end(), ~std::uint64_t{0});
        m_run.codes = m_codes.data();
        return;
    }
    const bool hasCodes =
        AsciiReader::Kernels::Best().markCodes(m_buffer.data(), size, m_codes.data());
    m_run.codes = hasCodes ? m_codes.data() : nullptr;
}

bool TableParts::EndsLine(std::size_t index) const noexcept
{
    const char unit = m_buffer[m_positions[index]];
    return m_cutter.Rules().separation == Scan::ESeparation::OneColumn ||
           unit == (m_cutter.Rules().lineEnds == Scan::ELineEnds::Returns ? '\r' : '\n');
}

/// Fields of the line after a position.
std::size_t TableParts::CountFields(std::size_t index) const noexcept
{
    std::size_t fields = 1;
    while (!EndsLine(index + fields)) {
        ++fields;
    }
    return fields;
}

/// Whether a row of the table's count may be a blank line: nothing, or nothing but separators.
bool TableParts::IsShortLine(std::size_t index) const noexcept
{
    const std::size_t begin = m_positions[index] + 1U;
    const std::size_t size = m_positions[index + m_run.fields] - m_run.trim - begin;
    return size < std::max<std::size_t>(m_run.fields, 2);
}

/// Whether a row of the table's count needs a look of its own: blank, the names again, or with
/// line breaks inside.
bool TableParts::IsApart(std::size_t index) const noexcept
{
    const auto& namesLines = m_rules.plan.shape.namesLines;
    const std::size_t key = index + m_keyColumn;
    const std::size_t begin = m_positions[index] + 1U;
    const std::size_t end = m_positions[index + m_run.fields];
    // A byte order mark may begin the line.
    if (IsShortLine(index) || m_buffer[begin] == Scan::kMark.front() ||
        (m_run.fields == 1 && static_cast<unsigned char>(m_buffer[begin]) <= ' ')) {
        return true;
    }
    if (m_hasBreaks && CountBreaks(Text().substr(begin, end - m_run.trim - begin)) > 0) {
        return true;
    }
    for (std::size_t line = 0; m_comparesNames && line < namesLines.size(); ++line) {
        const std::vector<std::string>& names = namesLines[line];
        if (m_keyColumn >= names.size()) {
            continue;
        }
        // In another file than the planned one they may come in another order.
        if (!m_isPlanned) {
            const std::size_t first = m_positions[key] + 1U;
            std::string_view cell =
                Values::Trim(Text().substr(first, m_positions[key + 1] - first));
            cell.remove_prefix(m_run.hasQuotes && cell.starts_with('"') ? 1U : 0U);
            if (std::any_of(names.begin(), names.end(), [&](const std::string& name) {
                    return !name.empty() && cell.starts_with(name);
                })) {
                return true;
            }
            continue;
        }
        const std::size_t keyBegin = m_positions[key] + 1U;
        const std::size_t keySize = m_positions[key + 1] - keyBegin;
        const std::string& name = names[m_keyColumn];
        // Most rows differ in their first byte.
        const char first = m_buffer[keyBegin];
        const bool isFirstOther =
            static_cast<signed char>(first) > ' ' && first != '"' && first != name.front();
        if (isFirstOther || keySize < name.size()) {
            continue;
        }
        std::string_view cell = Values::Trim(Text().substr(keyBegin, keySize));
        cell.remove_prefix(m_run.hasQuotes && !cell.empty() && cell.front() == '"' ? 1U : 0U);
        cell = Values::Trim(cell);
        if (cell.starts_with(name) || (!IsAscii(name) && !m_decoder.IsPlain(cell))) {
            return true;
        }
    }
    return false;
}

/// Finds the regular rows that come next. @return false when a single record comes
bool TableParts::FindRun()
{
    const std::uint64_t lastLine = LastLineOfRuns();
    std::size_t index = m_nextPosition;
    std::uint64_t line = m_line;
    const bool hasOnlyRows =
        m_isRegular && !m_hasBreaks && !m_comparesNames && !m_hasMarks && m_rules.columnCount > 1;
    while (index < m_positionCount && line <= lastLine &&
           (hasOnlyRows ? !IsShortLine(index)
                        : (m_isRegular || CountFields(index) == m_run.fields) && !IsApart(index))) {
        index += m_run.fields;
        ++line;
    }
    if (index == m_nextPosition) {
        return false;
    }
    m_run.text = m_buffer.data();
    m_run.ends = m_positions.data() + m_nextPosition + 1;
    m_run.rows = (index - m_nextPosition) / m_run.fields;
    m_run.line = m_line;
    m_run.byte = m_byte;
    m_nextPosition = index;
    m_line = line;
    m_at = m_positions[index] + std::size_t{1};
    return true;
}

void TableParts::ReadRow(std::size_t row, TableRecord& record)
{
    const std::uint32_t* ends = m_run.ends + row * m_run.fields;
    m_cut.fields.clear();
    m_cut.begin = ends[-1] + 1U;
    m_cut.lines = 1;
    m_cut.strays = 0;
    m_cut.unclosed = 0;
    m_cut.isEnded = true;
    m_cut.isBlank = false;
    m_cut.repair = Scan::ERepair::None;
    m_cut.isShifted = false;
    m_cut.next = ends[m_run.fields - 1] + std::size_t{1};
    std::size_t begin = m_cut.begin;
    for (std::size_t field = 0; field < m_run.fields; ++field) {
        const std::size_t position = ends[field];
        const std::size_t end = position - (field + 1 == m_run.fields ? m_run.trim : 0U);
        const bool isQuoted = m_run.hasQuotes && end > begin && m_run.text[begin] == '"';
        m_cut.fields.push_back(
            {begin + (isQuoted ? 1U : 0U), end - begin - (isQuoted ? 2U : 0U), isQuoted});
        begin = position + 1;
    }
    MakeRecord(m_cut, record);
    record.line = m_run.line + row;
    if (!m_comparesNames && IsNamesAgain(record)) {
        record.kind = ERecord::RepeatedNames;
        --m_lines.rows;
        Count(record);
        return;
    }
    Reorder(record);
}

std::string_view TableParts::RawOf(const Scan::Record& cut) const
{
    std::string_view raw = Text().substr(cut.begin, cut.next - cut.begin);
    if (cut.isEnded) {
        const bool isFeed = raw.back() == '\n';
        raw.remove_suffix(1);
        raw.remove_suffix(isFeed && !raw.empty() && raw.back() == '\r' ? 1U : 0U);
    } else if (!raw.empty() && raw.back() == '\r') {
        raw.remove_suffix(1);
    }
    return raw;
}

void TableParts::MakeRecord(const Scan::Record& cut, TableRecord& record)
{
    record.kind = ERecord::Row;
    record.why = EBadRow::None;
    record.headKind = EPlanLines::Preamble;
    record.line = m_line;
    record.byte = m_byte + cut.begin;
    record.column = 0;
    record.isTrailing = false;
    record.isShort = false;
    record.isRepaired = cut.strays > 0 || cut.unclosed > 0 || cut.repair != Scan::ERepair::None;
    record.raw = RawOf(cut);
    record.lines = 1 + CountBreaks(record.raw);
    const bool isPlain = m_decoder.IsPlain(record.raw);
    MakeCells(cut, isPlain, record);
    if (!isPlain) {
        m_rawText.clear();
        if (!m_decoder.Append(record.raw, m_rawText)) {
            record.why = EBadRow::Encoding;
        }
        record.raw = m_rawText;
    } else if (m_source->CountInvalidUnits() > 0 &&
               record.raw.find(kReplacement) != std::string_view::npos) {
        record.why = EBadRow::Encoding;
    }
    if (record.why == EBadRow::Encoding) {
        const auto isBroken = [](std::string_view cell) {
            return cell.find(kReplacement) != std::string_view::npos;
        };
        const auto cell = std::find_if(record.cells.begin(), record.cells.end(), isBroken);
        record.column = cell == record.cells.end()
                            ? 0
                            : static_cast<std::size_t>(cell - record.cells.begin()) + 1;
    }
}

/// Removes the escapes of a quoted cell that stands at the end of the cells' text.
void TableParts::Unescape(std::size_t from)
{
    const char quote = m_cutter.Rules().quote;
    const bool hasBackslashes = m_cutter.Rules().hasBackslashes;
    const bool hasDoubles = m_cutter.Rules().hasDoubles;
    std::size_t to = from;
    for (std::size_t at = from; at < m_cellText.size(); ++at) {
        const bool isEscape =
            at + 1 < m_cellText.size() &&
            ((m_cellText[at + 1] == quote &&
              (m_cellText[at] == quote || (hasBackslashes && m_cellText[at] == '\\'))) ||
             (hasDoubles && m_cellText[at] == '"' && m_cellText[at + 1] == '"'));
        at += isEscape ? 1U : 0U;
        m_cellText[to++] = m_cellText[at];
    }
    m_cellText.resize(to);
}

void TableParts::MakeCells(const Scan::Record& cut, bool isPlain, TableRecord& record)
{
    const char quote = m_cutter.Rules().quote;
    const bool hasDoubles = m_cutter.Rules().hasDoubles;
    record.cells.clear();
    m_cellText.clear();
    m_cellSpans.clear();
    for (const Scan::Field& field : cut.fields) {
        const std::string_view cell = field.In(Text());
        const bool hasEscapes =
            field.isQuoted && (std::memchr(cell.data(), quote, cell.size()) != nullptr ||
                               (hasDoubles && cell.find('"') != std::string_view::npos));
        if (!hasEscapes && (isPlain || m_decoder.IsPlain(cell))) {
            record.cells.push_back(cell);
            continue;
        }
        const std::size_t begin = m_cellText.size();
        m_decoder.Append(cell, m_cellText);
        if (hasEscapes) {
            Unescape(begin);
        }
        m_cellSpans.emplace_back(record.cells.size(), begin);
        record.cells.emplace_back();
    }
    std::size_t end = m_cellText.size();
    while (!m_cellSpans.empty()) {
        const auto [index, begin] = m_cellSpans.back();
        record.cells[index] = std::string_view(m_cellText).substr(begin, end - begin);
        end = begin;
        m_cellSpans.pop_back();
    }
}

bool TableParts::IsNamesAgain(const TableRecord& record) const
{
    const auto isSame = [&](const std::vector<std::string>& names) {
        if (names.size() != record.cells.size()) {
            return false;
        }
        std::size_t filled = 0;
        for (std::size_t index = 0; index < names.size(); ++index) {
            const std::string_view cell = Values::Trim(record.cells[index]);
            if (cell != names[index]) {
                return false;
            }
            filled += cell.empty() ? 0U : 1U;
        }
        return filled > 0;
    };
    const auto& lines = m_rules.plan.shape.namesLines;
    return std::any_of(lines.begin(), lines.end(), isSame);
}

/// The piece of the plan's lines that a line after the head lies in; null for none. Lines are asked
/// for in order.
const PlanLines* TableParts::FindPiece(std::uint64_t line)
{
    if (!m_isPlanned) {
        return nullptr;
    }
    const std::vector<PlanLines>& lines = m_rules.plan.shape.lines;
    const auto isPast = [line](const PlanLines& piece) {
        const bool isApart =
            piece.kind == EPlanLines::FurtherTable || piece.kind == EPlanLines::Footer;
        return !isApart || piece.firstLine + piece.lineCount <= line;
    };
    while (m_nextPiece < lines.size() && isPast(lines[m_nextPiece])) {
        ++m_nextPiece;
    }
    const bool isInside = m_nextPiece < lines.size() && lines[m_nextPiece].firstLine <= line;
    return isInside ? &lines[m_nextPiece] : nullptr;
}

void TableParts::ClassifyShort(const Scan::Record& cut, TableRecord& record)
{
    const auto makeBad = [&](EBadRow why, std::size_t column) {
        record.kind = ERecord::Bad;
        record.why = why;
        record.column = column;
    };
    record.isShort = true;
    if (m_rules.isAllText) {
        return;
    }
    if (cut.unclosed > 0) {
        makeBad(EBadRow::OpenQuote, 0);
    } else if (!cut.isEnded) {
        makeBad(EBadRow::CutShort, record.cells.size());
    } else if (const std::size_t misfit = m_rules.FindMisfit(record); misfit != 0) {
        makeBad(EBadRow::ShortRow, misfit);
    } else if (record.cells.size() < 2 || m_isReordered || cut.isShifted ||
               !m_rules.plan.shape.shortRowsAreRows) {
        makeBad(EBadRow::ShortRow, record.cells.size());
    }
}

void TableParts::ClassifyLong(const Scan::Record& cut, TableRecord& record)
{
    const auto firstSurplus =
        record.cells.begin() + static_cast<std::ptrdiff_t>(m_rules.columnCount);
    const bool isTrailing = std::all_of(firstSurplus, record.cells.end(), IsEmptyCell);
    if (isTrailing && (m_rules.isAllText || m_rules.FindMisfit(record) == 0)) {
        record.isTrailing = true;
        return;
    }
    if (m_rules.isAllText && record.cells.size() <= m_rules.columnCount + kMostExtraColumns) {
        return;
    }
    record.kind = ERecord::Bad;
    record.why = cut.unclosed > 0 ? EBadRow::OpenQuote : EBadRow::LongRow;
    record.column = m_rules.columnCount + 1;
}

/// Whether a record holds the names in whatever order; then cells follow them from here on.
bool TableParts::FindOrder(const TableRecord& record)
{
    const auto& lines = m_rules.plan.shape.namesLines;
    const std::size_t count = m_rules.columnCount;
    if (lines.empty() || lines.front().size() != count || record.cells.size() != count) {
        return false;
    }
    const std::vector<std::string>& names = lines.front();
    std::vector<std::size_t> fieldOfColumn(count, count);
    for (std::size_t field = 0; field < count; ++field) {
        const auto name = std::find(names.begin(), names.end(), Values::Trim(record.cells[field]));
        const auto column = static_cast<std::size_t>(name - names.begin());
        if (column == count || names[column].empty() || fieldOfColumn[column] != count) {
            return false;
        }
        fieldOfColumn[column] = field;
    }
    m_fieldOfColumn = std::move(fieldOfColumn);
    m_isReordered = true;
    return true;
}

/// Cells of the records from here on belong to the columns that the plan says.
void TableParts::BeginOrder(std::uint64_t line)
{
    const std::vector<PlanOrder>& orders = m_rules.plan.shape.orders;
    while (m_isPlanned && m_nextOrder < orders.size() && orders[m_nextOrder].line <= line) {
        const std::vector<std::size_t>& columns = orders[m_nextOrder].columns;
        m_isReordered = true;
        for (std::size_t field = 0; field < columns.size(); ++field) {
            if (columns[field] < m_fieldOfColumn.size()) {
                m_fieldOfColumn[columns[field]] = field;
            }
        }
        ++m_nextOrder;
    }
}

/// Puts the cells in the order of the table's columns.
void TableParts::Reorder(TableRecord& record)
{
    if (!m_isReordered || record.cells.size() < m_rules.columnCount) {
        return;
    }
    m_ordered.assign(record.cells.begin(), record.cells.end());
    for (std::size_t column = 0; column < m_rules.columnCount; ++column) {
        record.cells[column] = m_ordered[m_fieldOfColumn[column]];
    }
}

/// The cell with a block of NULs, from 1; 0 without one.
std::size_t TableParts::FindNulBlockCell(const Scan::Record& cut) const
{
    const auto cell = std::find_if(cut.fields.begin(), cut.fields.end(), [&](const auto& field) {
        return Scan::FindNulBlock(field.In(Text())) != std::string_view::npos;
    });
    return cell == cut.fields.end() ? 0 : static_cast<std::size_t>(cell - cut.fields.begin()) + 1;
}

/// Says what a record is, by the rules that PlanShape states.
void TableParts::Classify(const Scan::Record& cut, TableRecord& record)
{
    const PlanShape& shape = m_rules.plan.shape;
    const auto make = [&record](ERecord kind) {
        record.kind = kind;
        record.why = EBadRow::None;
    };
    if (cut.isBlank) {
        make(ERecord::Blank);
        return;
    }
    if (const PlanLines* const piece = FindPiece(record.line)) {
        make(piece->kind == EPlanLines::Footer ? ERecord::Footer : ERecord::FurtherTable);
        return;
    }
    const std::size_t fields = record.cells.size();
    const auto begins = [&](const std::string& mark) { return record.raw.starts_with(mark); };
    if (fields != m_rules.columnCount &&
        std::any_of(shape.commentMarks.begin(), shape.commentMarks.end(), begins)) {
        make(ERecord::Comment);
        return;
    }
    const bool isNewOrder = m_isPlanned ? m_nextOrder < shape.orders.size() &&
                                              shape.orders[m_nextOrder].line <= record.line
                                        : FindOrder(record);
    if (isNewOrder || IsNamesAgain(record)) {
        make(ERecord::RepeatedNames);
        BeginOrder(record.line);
        return;
    }
    if (cut.isDamaged) {
        record.why = record.why == EBadRow::None ? EBadRow::NulBlock : record.why;
        record.kind = ERecord::Bad;
        record.column = FindNulBlockCell(cut);
        return;
    }
    if (record.why == EBadRow::Encoding) {
        record.kind = ERecord::Bad;
        return;
    }
    Reorder(record);
    if (fields < m_rules.columnCount) {
        ClassifyShort(cut, record);
    } else if (fields > m_rules.columnCount) {
        ClassifyLong(cut, record);
    } else if (!cut.isEnded && cut.unclosed > 0 && !m_rules.isAllText &&
               (shape.isCutShort || !m_isPlanned)) {
        record.kind = ERecord::Bad;
        record.why = EBadRow::CutShort;
        record.column = fields;
    }
    // Rule: what could be a row after the last row is none of the table.
    if (m_isPlanned && record.kind == ERecord::Row && !m_rules.isAllText && shape.lastRowLine > 0 &&
        record.line > shape.lastRowLine) {
        make(ERecord::Footer);
    }
}

void TableParts::Count(const TableRecord& record)
{
    switch (record.kind) {
    case ERecord::Head:
        switch (record.headKind) {
        case EPlanLines::Names:
        case EPlanLines::Units:
        case EPlanLines::Rule:
            m_lines.names += record.lines;
            return;
        case EPlanLines::Comment:
            m_lines.comments += record.lines;
            return;
        case EPlanLines::Blank:
            m_lines.blanks += record.lines;
            return;
        default:
            m_lines.preamble += record.lines;
            return;
        }
    case ERecord::Row:
        ++m_lines.rows;
        m_lines.continuations += record.lines - 1;
        return;
    case ERecord::Blank:
        m_lines.blanks += record.lines;
        return;
    case ERecord::Comment:
        m_lines.comments += record.lines;
        return;
    case ERecord::RepeatedNames:
        m_lines.repeatedNames += record.lines;
        return;
    case ERecord::Footer:
        m_lines.footers += record.lines;
        return;
    case ERecord::FurtherTable:
        m_lines.furtherTables += record.lines;
        return;
    case ERecord::Bad:
        m_lines.bad += record.lines;
        return;
    }
}

} // namespace Orvane::Import::Table
