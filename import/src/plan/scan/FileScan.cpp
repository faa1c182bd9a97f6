// Pieces of whole records: by the index where there are no quotes, record by record otherwise.
#include "FileScan.h"

#include "../values/FoldedCell.h"
#include "CountByte.h"
#include "MarkBits.h"
#include "Rows.h"

#include <algorithm>
#include <cstring>
#include <kernels/Kernels.h>
#include <limits>

namespace Orvane::Import::Scan {

namespace {

constexpr std::size_t kPiece = std::size_t{128} * 1024;
constexpr std::size_t kSpace = AsciiReader::Kernels::kPadding;

class Scanner
{
public:
    Scanner(TextSource& source, const ScanRequest& request)
        : m_source(source)
        , m_request(request)
        , m_cutter(request.dialect, request.head.forms)
        , m_columns(request.head.columns)
        , m_rows(request, m_facts)
        , m_buffer(kPiece + kSpace)
    {}

    ScanFacts Run()
    {
        m_source.Rewind();
        while (Fill()) {
            m_countedSize = 0;
            const std::size_t used = m_isSkipping ? SkipLine() : Consume();
            const std::string_view piece(m_buffer.data(), used);
            used == m_countedSize ? m_facts.bytes.Add(piece, m_counts) : m_facts.bytes.Add(piece);
            std::memmove(m_buffer.data(), m_buffer.data() + used, m_size - used);
            m_size -= used;
            m_byte += used;
            m_cutter.StartPiece(used);
        }
        m_rows.Finish();
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
                m_facts.tooLong.Add({m_rows.Line(), m_byte}, Text());
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
        m_rows.SetLine(m_rows.Line() + 1);
        return at + 1;
    }

    /// Consumes whole records. @return bytes; 0 when the buffer holds none
    std::size_t Consume()
    {
        std::size_t at = 0;
        // Up to the first row everything is told by the head.
        if (m_byte < m_request.head.firstRow) {
            at = std::min<std::size_t>(m_size, m_request.head.firstRow - m_byte);
            if (m_byte + at < m_request.head.firstRow) {
                return at;
            }
            m_rows.SetLine(m_request.head.firstRowLine);
        }
        if (CanIndex()) {
            const std::size_t next = ConsumeIndexed(at);
            if (next > at) {
                return next;
            }
        }
        while (at < m_size && m_cutter.Cut(Text(), at, m_isAtEnd, m_columns, m_record)) {
            m_rows.AddRecord(Text(), m_byte + m_record.begin, m_record);
            at = m_record.next;
        }
        return at;
    }

    [[nodiscard]] bool CanIndex() const
    {
        const Dialect& dialect = m_request.dialect;
        // Quotes are indexed only as the reader knows them.
        const auto has = [&](char unit) {
            return std::memchr(m_buffer.data(), unit, m_size) != nullptr;
        };
        return dialect.IsPlain() && m_request.nullTexts.empty() &&
               dialect.lineEnds != ELineEnds::Any &&
               m_size < std::numeric_limits<std::uint32_t>::max() && !m_rows.IsOver() &&
               (dialect.quote == 0 || dialect.quote == '"' || !has(dialect.quote)) &&
               (!dialect.hasBackslashes || !has('\\'));
    }

    [[nodiscard]] bool HasNulBlock(std::size_t from, std::size_t to) const
    {
        return FindNulBlock(Text().substr(from, to - from)) != std::string_view::npos;
    }

    /// Consumes the whole lines of the buffer by an index of their fields. @return where the first
    /// byte stands that was not consumed; `from` when the lines have to be cut one by one
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
        m_counts = {};
        AsciiReader::Kernels::Best().countBytes(m_buffer.data() + from, to - from, m_counts);
        m_countedSize = from == 0 ? to : 0;
        structure.hasQuotes = dialect.quote == '"' &&
                              dialect.separation == ESeparation::Character && m_counts.quotes > 0;
        AsciiReader::Kernels::IndexState state;
        std::uint32_t* positions = m_positions.data() + 1;
        positions[-1] = static_cast<std::uint32_t>(from) - 1;
        std::size_t count = m_index(m_buffer.data(), from, to, structure, state, positions);
        if (to > from && m_buffer[to - 1] != lineEnd && state.inQuotes == 0) {
            // The text's last line has no ending.
            positions[count++] = static_cast<std::uint32_t>(to);
            ++state.lineEnds;
        }
        if (count == 0 || (!m_counts.IsPlain() && HasNulBlock(from, to))) {
            return from;
        }
        std::size_t openers = 0;
        if (structure.hasQuotes) {
            // Lines that do not end outside quotes wait for the next piece.
            while (count > 0 && positions[count - 1] < m_size &&
                   m_buffer[positions[count - 1]] != lineEnd) {
                --count;
            }
            if (count == 0 ||
                !AreQuotesClean(positions, count, to, lineEnd, state.lineEnds, openers)) {
                return from;
            }
        }
        return AddIndexed(positions, count, state.lineEnds, lineEnd, openers);
    }

    /// Whether every quote opens or closes a field or is one of a pair inside, and no line ends
    /// inside quotes.
    /// @param countedTo where the bytes of m_counts end
    bool AreQuotesClean(const std::uint32_t* positions,
                        std::size_t count,
                        std::size_t countedTo,
                        char lineEnd,
                        std::size_t lines,
                        std::size_t& openers) const
    {
        const char* text = m_buffer.data();
        const std::size_t from = positions[-1] + 1U;
        const std::size_t to = std::min<std::size_t>(positions[count - 1] + std::size_t{1}, m_size);
        std::size_t clean = 0;
        std::size_t returns = 0; ///< before line ends
        for (std::size_t index = 0; index < count; ++index) {
            // The first position wraps.
            const std::uint32_t begin = positions[static_cast<std::ptrdiff_t>(index) - 1] + 1U;
            std::uint32_t end = positions[index];
            if (end > begin && text[end - 1] == '\r') {
                --end;
                ++returns;
            }
            if (text[begin] != '"' || begin == end) {
                continue;
            }
            if (end - begin < 2 || text[end - 1] != '"') {
                return false;
            }
            ++openers;
            clean += 2;
            std::size_t at = begin + 1U;
            const std::size_t last = end - 1U;
            while (const void* found = std::memchr(text + at, '"', last - at)) {
                at = static_cast<std::size_t>(static_cast<const char*>(found) - text);
                if (at + 1 == last || text[at + 1] != '"') {
                    return false;
                }
                at += 2;
                clean += 2;
            }
        }
        const std::string_view piece(text + from, to - from);
        const std::string_view rest(text + to, countedTo - to);
        const std::size_t ends =
            lineEnd == '\n' ? m_counts.feeds - CountByte(rest, '\n') : CountByte(piece, lineEnd);
        const bool hasBreaks = lineEnd == '\r'
                                   ? std::memchr(text + from, '\n', to - from) != nullptr
                                   : !m_counts.IsPlain() && CountByte(piece, '\r') != returns;
        return clean == m_counts.quotes - CountByte(rest, '"') && !hasBreaks &&
               ends + (to == m_size && text[to - 1] != lineEnd ? 1U : 0U) == lines;
    }

    /// Adds the records of an index; the last position is a line's end.
    /// @param openers quoted fields among them
    /// @return where the first record begins that is not complete
    std::size_t AddIndexed(const std::uint32_t* positions,
                           std::size_t count,
                           std::size_t lines,
                           char lineEnd,
                           std::size_t openers)
    {
        const char* text = m_buffer.data();
        const IndexedText indexed{text, m_byte, openers > 0, Mark(positions[count - 1])};
        const auto endsLine = [&](std::size_t index) {
            return positions[index] >= m_size || text[positions[index]] == lineEnd;
        };
        bool isRegular = count == lines * m_columns && !m_rows.IsOver();
        for (std::size_t at = m_columns - 1; isRegular && at < count; at += m_columns) {
            isRegular = endsLine(at);
        }
        for (std::size_t at = 0; isRegular && at < count; at += m_columns) {
            isRegular = !IsApart(positions + at);
        }
        const auto begins = [&](std::size_t at) { return std::size_t{positions[at - 1]} + 1; };
        if (isRegular) {
            m_rows.AddRows(indexed, positions, lines);
            m_rows.AddOpeners(openers);
            return std::min(std::size_t{positions[count - 1]} + 1, m_size);
        }
        for (std::size_t at = 0; at < count;) {
            std::size_t end = at;
            while (!endsLine(end)) {
                ++end;
            }
            if (end - at + 1 == m_columns && !m_rows.IsOver() && !IsApart(positions + at)) {
                m_rows.AddRows(indexed, positions + at, 1);
                for (std::size_t field = at; indexed.hasQuotes && field <= end; ++field) {
                    const std::size_t begin = field == 0 ? positions[-1] + 1U : begins(field);
                    m_rows.AddOpeners(begin < positions[field] && text[begin] == '"' ? 1 : 0);
                }
                at = end + 1;
                continue;
            }
            // Positions wrap before the text's first byte.
            const std::size_t begin = at == 0 ? positions[-1] + 1U : begins(at);
            if (!m_cutter.Cut(Text(), begin, m_isAtEnd, m_columns, m_record)) {
                return begin;
            }
            m_rows.AddRecord(Text(), m_byte + m_record.begin, m_record);
            if (m_record.next <= begins(end + 1) && m_record.next > positions[end] &&
                positions[end] < m_size) {
                at = end + 1;
                continue;
            }
            // The record ends elsewhere: what is left is cut without the index.
            std::size_t next = m_record.next;
            while (next < m_size && m_cutter.Cut(Text(), next, m_isAtEnd, m_columns, m_record)) {
                m_rows.AddRecord(Text(), m_byte + m_record.begin, m_record);
                next = m_record.next;
            }
            return next;
        }
        return std::min(std::size_t{positions[count - 1]} + 1, m_size);
    }

    /// Marks the buffer's first bytes. @return null where a part of a number separates fields
    const std::uint64_t* Mark(std::size_t size)
    {
        const Dialect& dialect = m_request.dialect;
        const char separator =
            dialect.separation == ESeparation::Character ? dialect.separator : ',';
        if (m_request.watch != nullptr || separator == '.' || separator == '-' ||
            Values::IsDigit(separator)) {
            return nullptr;
        }
        m_marks.resize(std::max(m_marks.size(), CountMarkWords(size, 2)));
        AsciiReader::Kernels::Best().markNumbers(m_buffer.data(), size, m_marks.data());
        return m_marks.data();
    }

    [[nodiscard]] bool IsApart(const std::uint32_t* positions) const
    {
        const std::uint32_t begin = positions[-1] + 1;
        std::size_t end = positions[m_columns - 1];
        end -= end > begin && m_buffer[end - 1] == '\r' ? 1U : 0U;
        const std::size_t first = std::min<std::size_t>(positions[0], end);
        return m_rows.IsApart(Text().substr(begin, first - begin), end - first);
    }

    TextSource& m_source;
    const ScanRequest& m_request;
    RecordCutter m_cutter;
    std::size_t m_columns;
    ScanFacts m_facts;
    Rows m_rows;
    std::vector<char> m_buffer;
    std::size_t m_size = 0;
    std::uint64_t m_byte = 0; ///< where the buffer's first byte stands in the text
    bool m_isAtEnd = false;
    bool m_isSkipping = false;
    std::vector<std::uint32_t> m_positions;
    std::vector<std::uint64_t> m_marks;
    AsciiReader::Kernels::ByteCounts m_counts; ///< of what was indexed last
    std::size_t m_countedSize = 0; ///< where that ends; 0: nothing from the buffer's begin
    Record m_record;
    decltype(AsciiReader::Kernels::Set::index) m_index = AsciiReader::Kernels::Best().index;
};

} // namespace

ScanFacts ScanFile(TextSource& source, const ScanRequest& request)
{
    return Scanner(source, request).Run();
}

} // namespace Orvane::Import::Scan
