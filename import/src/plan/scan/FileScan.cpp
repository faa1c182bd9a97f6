// Pieces of whole records: by the index where there are no quotes, record by record otherwise.
#include "FileScan.h"

#include "../values/FoldedCell.h"

#include <algorithm>
#include <cstring>
#include <kernels/Kernels.h>
#include <limits>

namespace Orvane::Import::Scan {

void Occurrences::Add(const Position& position, std::string_view text)
{
    ++count;
    if (first.size() < kMostPlaces) {
        first.push_back({position, std::string(text.substr(0, kExampleBytes * 2))});
    }
}

namespace {

constexpr std::size_t kPiece = std::size_t{128} * 1024;
constexpr std::size_t kSpace = AsciiReader::Kernels::kPadding;

class Scanner
{
public:
    Scanner(TextSource& source, const ScanRequest& request)
        : m_source(source)
        , m_request(request)
        , m_cutter(request.dialect)
        , m_columns(request.head.columns)
        , m_buffer(kPiece + kSpace)
    {
        // Many columns share the memory.
        const std::size_t slots = m_columns <= 1024 ? 64 : (m_columns <= 16384 ? 8 : 2);
        m_profiles.assign(m_columns, ColumnProfile(slots));
    }

    ScanFacts Run()
    {
        m_source.Rewind();
        while (Fill()) {
            const std::size_t used = m_isSkipping ? SkipLine() : Consume();
            m_facts.bytes.Add({m_buffer.data(), used});
            std::memmove(m_buffer.data(), m_buffer.data() + used, m_size - used);
            m_size -= used;
            m_byte += used;
        }
        m_facts.columns.reserve(m_columns);
        for (ColumnProfile& profile : m_profiles) {
            m_facts.columns.push_back(profile.Finish());
            profile = ColumnProfile(2);
        }
        return std::move(m_facts);
    }

private:
    [[nodiscard]] std::string_view Text() const { return {m_buffer.data(), m_size}; }

    /// Reads on; a record that fills the buffer makes it larger.
    bool Fill()
    {
        const std::size_t capacity = m_buffer.size() - kSpace;
        if (m_size == capacity && !m_isSkipping) {
            if (capacity >= kMostRecord) {
                m_facts.tooLong.Add({m_line, m_byte}, Text());
                m_isSkipping = true;
                return true;
            }
            m_buffer.resize(capacity * 2 + kSpace);
        }
        const std::size_t wanted = m_buffer.size() - kSpace - m_size;
        if (!m_isAtEnd) {
            const std::size_t got = m_source.Read(m_buffer.data() + m_size, wanted);
            m_isAtEnd = got < wanted;
            m_size += got;
        }
        std::memset(m_buffer.data() + m_size, 0, kSpace);
        return m_size > 0;
    }

    /// Drops the line that is too long, up to its end.
    std::size_t SkipLine()
    {
        const char end = m_request.dialect.lineEnds == ELineEnds::Returns ? '\r' : '\n';
        const std::size_t at = Text().find(end);
        if (at == std::string_view::npos) {
            m_isSkipping = !m_isAtEnd;
            return m_size;
        }
        m_isSkipping = false;
        ++m_line;
        return at + 1;
    }

    /// Consumes whole records. @return bytes; 0 when the buffer holds none
    std::size_t Consume()
    {
        std::size_t at = 0;
        m_cutter.StartPiece();
        // Up to the first row everything is told by the head.
        if (m_byte < m_request.head.firstRow) {
            at = std::min<std::size_t>(m_size, m_request.head.firstRow - m_byte);
            if (m_byte + at < m_request.head.firstRow) {
                return at;
            }
            m_line = m_request.head.firstRowLine;
        }
        if (CanIndex()) {
            return ConsumeIndexed(at);
        }
        while (at < m_size && m_cutter.Cut(Text(), at, m_isAtEnd, m_columns, m_record)) {
            AddRecord(m_record);
            at = m_record.next;
        }
        return at;
    }

    [[nodiscard]] bool CanIndex() const
    {
        const Dialect& dialect = m_request.dialect;
        const bool isPlain =
            (dialect.separation == ESeparation::Character && !dialect.skipsBlanks) ||
            dialect.separation == ESeparation::OneColumn;
        return isPlain && dialect.lineEnds != ELineEnds::Any &&
               m_size < std::numeric_limits<std::uint32_t>::max() &&
               (dialect.quote == 0 ||
                std::memchr(m_buffer.data(), dialect.quote, m_size) == nullptr);
    }

    std::size_t ConsumeIndexed(std::size_t from)
    {
        const Dialect& dialect = m_request.dialect;
        const char lineEnd = dialect.lineEnds == ELineEnds::Returns ? '\r' : '\n';
        std::size_t to = m_size;
        if (!m_isAtEnd) {
            const void* last = memrchr(m_buffer.data() + from, lineEnd, m_size - from);
            if (last == nullptr) {
                return from;
            }
            to = static_cast<std::size_t>(static_cast<const char*>(last) - m_buffer.data()) + 1;
        }
        if (m_positions.size() < to - from + kSpace + 2) {
            m_positions.resize(to - from + kSpace + 2);
        }
        AsciiReader::Kernels::Structure structure;
        structure.separator =
            dialect.separation == ESeparation::OneColumn ? lineEnd : dialect.separator;
        structure.lineEnd = lineEnd;
        AsciiReader::Kernels::IndexState state;
        std::uint32_t* positions = m_positions.data() + 1;
        positions[-1] = static_cast<std::uint32_t>(from) - 1;
        std::size_t count = m_index(m_buffer.data(), from, to, structure, state, positions);
        if (to > from && m_buffer[to - 1] != lineEnd) {
            // The text's last line has no ending.
            positions[count++] = static_cast<std::uint32_t>(to);
            ++state.lineEnds;
            m_endsWithoutLineEnd = true;
        }
        AddIndexed(positions, count, state.lineEnds, lineEnd);
        return to;
    }

    /// Adds the records of an index; the last position is a line's end.
    void
    AddIndexed(const std::uint32_t* positions, std::size_t count, std::size_t lines, char lineEnd)
    {
        const char* text = m_buffer.data();
        const auto endsLine = [&](std::size_t index) {
            return positions[index] >= m_size || text[positions[index]] == lineEnd;
        };
        bool isRegular = count == lines * m_columns;
        for (std::size_t at = m_columns - 1; isRegular && at < count; at += m_columns) {
            isRegular = endsLine(at);
        }
        if (isRegular && !HasRowsApart(positions, count)) {
            AddRows(positions, lines);
            return;
        }
        for (std::size_t at = 0; at < count;) {
            std::size_t end = at;
            while (!endsLine(end)) {
                ++end;
            }
            const std::size_t fields = end - at + 1;
            if (fields == m_columns && !IsApart(positions + at)) {
                AddRows(positions + at, 1);
            } else {
                AddIndexedRecord(positions + at, fields);
            }
            at = end + 1;
        }
    }

    [[nodiscard]] std::string_view LineOf(const std::uint32_t* positions, std::size_t fields) const
    {
        const std::uint32_t begin = positions[-1] + 1;
        std::uint32_t end = positions[fields - 1];
        if (end > begin && m_buffer[end - 1] == '\r') {
            --end;
        }
        return Text().substr(begin, end - begin);
    }

    /// Whether a row needs a look of its own: blank, or names again.
    [[nodiscard]] bool IsApart(const std::uint32_t* positions) const
    {
        const std::uint32_t begin = positions[-1] + 1;
        const std::size_t size = positions[0] - begin;
        if (m_columns == 1 && size < 2) {
            return true;
        }
        for (const std::vector<std::string>& names : m_request.head.namesCells) {
            const std::string& name = names.front();
            if (size >= name.size() &&
                Values::Trim(Text().substr(begin, size)).substr(0, kMostNameBytes) == name) {
                return true;
            }
        }
        return false;
    }

    [[nodiscard]] bool HasRowsApart(const std::uint32_t* positions, std::size_t count) const
    {
        bool isAny = false;
        for (std::size_t at = 0; at < count && !isAny; at += m_columns) {
            isAny = IsApart(positions + at);
        }
        return isAny;
    }

    void AddRun(std::size_t fields, std::uint64_t rows, const Position& position)
    {
        if (!m_facts.runs.empty() && m_facts.runs.back().fields == fields) {
            m_facts.runs.back().rows += rows;
        } else if (m_facts.runs.size() < ScanFacts::kMostRuns) {
            m_facts.runs.push_back({position, fields, rows});
        } else {
            m_facts.hasMoreRuns = true;
        }
        m_facts.mostFields = std::max(m_facts.mostFields, fields);
        if (fields == m_columns) {
            m_facts.rows += rows;
            m_facts.afterLastRow = 0;
        } else if (fields > 0) {
            m_facts.afterLastRow += rows;
        }
    }

    /// Adds rows of the table's count without quotes and line breaks.
    void AddRows(const std::uint32_t* positions, std::size_t rows)
    {
        const std::uint64_t begin = m_byte + (positions[-1] + 1U);
        AddRun(m_columns, rows, {m_line, begin});
        for (std::size_t column = 0; column < m_columns; ++column) {
            m_profiles[column].AddRun(
                {m_buffer.data(), positions + column, m_columns, rows, m_line, m_byte});
        }
        m_line += rows;
        m_facts.lastRowLine = m_line - 1;
    }

    void AddIndexedRecord(const std::uint32_t* positions, std::size_t fields)
    {
        m_record.fields.clear();
        m_record.begin = positions[-1] + 1U;
        m_record.lines = 1;
        m_record.openers = 0;
        m_record.strays = 0;
        m_record.unclosed = 0;
        std::size_t begin = m_record.begin;
        const std::size_t kept = std::min(fields, Record::kMostFields);
        for (std::size_t index = 0; index < kept; ++index) {
            const std::uint32_t end = positions[index];
            const bool hasReturn = index + 1 == fields && end > begin && m_buffer[end - 1] == '\r';
            m_record.fields.push_back({begin, end - begin - (hasReturn ? 1U : 0U), false});
            begin = end + 1U;
        }
        m_record.next = begin;
        m_record.isEnded = positions[fields - 1] < m_size;
        const std::string_view line = LineOf(positions, fields);
        m_record.isBlank = fields == 1 && std::all_of(line.begin(), line.end(), [](char unit) {
                               return unit == ' ' || unit == '\t' || unit == '\x1A';
                           });
        AddRecord(m_record);
    }

    [[nodiscard]] std::string_view FirstLine(const Record& record) const
    {
        std::string_view text = Text().substr(record.begin, record.next - record.begin);
        text = text.substr(0, std::min(text.find('\n'), text.size()));
        return text.substr(0, std::min(text.find('\r'), text.size()));
    }

    [[nodiscard]] bool IsNamesAgain(const Record& record) const
    {
        const auto isSame = [&](const std::vector<std::string>& names) {
            std::size_t filled = 0;
            for (std::size_t column = 0; column < names.size(); ++column) {
                const std::string_view cell = Values::Trim(record.Cell(Text(), column));
                if (cell.substr(0, kMostNameBytes) != names[column]) {
                    return false;
                }
                filled += cell.empty() ? 0U : 1U;
            }
            return filled > 0;
        };
        const auto& lines = m_request.head.namesCells;
        return std::any_of(lines.begin(), lines.end(), [&](const auto& names) {
            return names.size() == record.fields.size() && isSame(names);
        });
    }

    void AddRecord(const Record& record)
    {
        const Position position{m_line, m_byte + record.begin};
        m_line += record.lines;
        m_facts.continuations += record.lines - 1;
        m_facts.openers += record.openers;
        if (record.isBlank && m_columns > 0) {
            AddRun(0, 1, position);
            m_facts.blanks.Add(position, {});
            return;
        }
        if (record.strays > 0) {
            m_facts.strays.Add(position, FirstLine(record));
        }
        if (record.unclosed > 0) {
            m_facts.unclosed.Add(position, FirstLine(record));
        }
        const std::size_t fields = record.fields.size();
        if (fields == m_columns) {
            if (IsNamesAgain(record)) {
                m_facts.repeatedNames.Add(position, FirstLine(record));
                return;
            }
            AddCells(record, fields, position);
            return;
        }
        AddUneven(record, fields, position, FirstLine(record));
    }

    void AddUneven(const Record& record,
                   std::size_t fields,
                   const Position& position,
                   std::string_view line)
    {
        const std::string_view text = Text();
        const auto isEmpty = [&](std::size_t index) {
            return Values::Trim(record.Cell(text, index)).empty();
        };
        if (fields > m_columns) {
            std::size_t index = m_columns;
            while (index < fields && isEmpty(index)) {
                ++index;
            }
            // Rule: surplus empty cells are trailing separators, unless the others fit only
            // shifted.
            if (index == fields && !IsMisfit(record, m_columns)) {
                m_facts.trailing.Add(position, line);
                AddCells(record, m_columns, position);
                return;
            }
        }
        if (!line.empty() && (line.front() == '#' || line.front() == '%' || line.front() == '!' ||
                              line.substr(0, 2) == "//")) {
            m_facts.comments.Add(position, line);
            AddRun(fields, 1, position);
            return;
        }
        if (m_facts.counts.size() < ScanFacts::kMostCounts || m_facts.counts.contains(fields)) {
            m_facts.counts[fields].Add(position, line);
        }
        (fields < m_columns ? m_facts.shorter : m_facts.longer).Add(position, line);
        m_facts.endsInsideRow = !record.isEnded && fields < m_columns;
        if (fields < m_columns && m_request.countsShortRows && fields > 1 &&
            !IsMisfit(record, fields)) {
            AddCells(record, fields, position);
            return;
        }
        AddRun(fields, 1, position);
    }

    [[nodiscard]] bool IsMisfit(const Record& record, std::size_t fields) const
    {
        for (std::size_t column = 0; column < fields; ++column) {
            if (m_profiles[column].IsMisfit(record.Cell(Text(), column))) {
                return true;
            }
        }
        return false;
    }

    /// @param fields how many cells belong to the table; the others are null
    void AddCells(const Record& record, std::size_t fields, const Position& position)
    {
        const std::string_view text = Text();
        AddRun(m_columns, 1, position);
        m_facts.lastRowLine = position.line + record.lines - 1;
        std::uint64_t line = position.line;
        for (std::size_t column = 0; column < m_columns; ++column) {
            if (column >= fields) {
                m_profiles[column].Add({}, position, false);
                continue;
            }
            const Field& field = record.fields[column];
            m_profiles[column].Add(field.In(text), {line, m_byte + field.begin}, field.isQuoted);
            if (record.lines > 1 && field.isQuoted) {
                const std::string_view cell = field.In(text);
                line += static_cast<std::uint64_t>(std::count(cell.begin(), cell.end(), '\n'));
            }
        }
    }

    TextSource& m_source;
    const ScanRequest& m_request;
    RecordCutter m_cutter;
    std::size_t m_columns;
    std::vector<char> m_buffer;
    std::size_t m_size = 0;
    std::uint64_t m_byte = 0; ///< where the buffer's first byte stands in the text
    std::uint64_t m_line = 1;
    bool m_isAtEnd = false;
    bool m_isSkipping = false;
    bool m_endsWithoutLineEnd = false;
    std::vector<std::uint32_t> m_positions;
    std::vector<ColumnProfile> m_profiles;
    Record m_record;
    ScanFacts m_facts;
    decltype(AsciiReader::Kernels::Set::index) m_index = AsciiReader::Kernels::Best().index;
};

} // namespace

ScanFacts ScanFile(TextSource& source, const ScanRequest& request)
{
    return Scanner(source, request).Run();
}

} // namespace Orvane::Import::Scan
