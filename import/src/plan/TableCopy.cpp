// Two walks through the file, side by side.
#include "TableCopy.h"

#include "values/FoldedCell.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace Orvane::Import {

namespace {

/// The records of a text from one of its bytes on, blank ones aside.
class RecordWalk
{
public:
    RecordWalk(std::unique_ptr<Scan::TextSource> source,
               const Scan::ScanRequest& scan,
               std::uint64_t from)
        : m_source(std::move(source))
        , m_cutter(scan.dialect, scan.head.forms)
        , m_columns(scan.head.columns)
        , m_buffer(kPiece + kSpace)
    {
        for (std::uint64_t left = from; left > 0;) {
            const std::size_t wanted = std::min<std::uint64_t>(left, kPiece);
            const std::size_t got = m_source->Read(m_buffer.data(), wanted);
            left = got < wanted ? 0 : left - got;
        }
        m_byte = from;
    }

    bool Next()
    {
        do {
            m_at = m_record.next;
            while (!m_cutter.Cut(Text(), m_at, m_isAtEnd, m_columns, m_record)) {
                if (m_isAtEnd || !Fill()) {
                    return false;
                }
            }
        } while (m_record.isBlank && m_record.next > m_at);
        return m_record.next > m_at;
    }

    /// Where the record begins.
    [[nodiscard]] std::uint64_t Byte() const { return m_byte + m_record.begin; }

    [[nodiscard]] bool HasSameCells(const RecordWalk& other) const
    {
        const auto& fields = m_record.fields;
        const auto& others = other.m_record.fields;
        return std::equal(fields.begin(),
                          fields.end(),
                          others.begin(),
                          others.end(),
                          [&](const Scan::Field& a, const Scan::Field& b) {
                              return Values::Trim(a.In(Text())) == Values::Trim(b.In(other.Text()));
                          });
    }

private:
    static constexpr std::size_t kPiece = std::size_t{128} * 1024;
    static constexpr std::size_t kSpace = 64;

    [[nodiscard]] std::string_view Text() const { return {m_buffer.data(), m_size}; }

    /// Moves what is left to the front and reads on. @return false for a record that is too long
    bool Fill()
    {
        std::memmove(m_buffer.data(), m_buffer.data() + m_at, m_size - m_at);
        m_size -= m_at;
        m_byte += m_at;
        m_cutter.StartPiece(m_at);
        m_at = 0;
        m_record.next = 0;
        if (m_size + kSpace == m_buffer.size()) {
            if (m_size >= Scan::kMostRecord) {
                return false;
            }
            m_buffer.resize(m_size * 2 + kSpace);
        }
        const std::size_t wanted = m_buffer.size() - kSpace - m_size;
        const std::size_t got = m_source->Read(m_buffer.data() + m_size, wanted);
        m_isAtEnd = got < wanted;
        m_size += got;
        std::memset(m_buffer.data() + m_size, 0, kSpace);
        return true;
    }

    std::unique_ptr<Scan::TextSource> m_source;
    Scan::RecordCutter m_cutter;
    std::size_t m_columns;
    std::vector<char> m_buffer;
    std::size_t m_size = 0;
    std::size_t m_at = 0;
    std::uint64_t m_byte = 0;
    bool m_isAtEnd = false;
    Scan::Record m_record;
};

} // namespace

bool IsCopyAfter(std::unique_ptr<Scan::TextSource> first,
                 std::unique_ptr<Scan::TextSource> second,
                 const Scan::ScanRequest& scan,
                 const Scan::Position& names,
                 std::uint64_t rows)
{
    constexpr std::uint64_t kFewestRows = 3;
    RecordWalk table(std::move(first), scan, scan.head.firstRow);
    RecordWalk copy(std::move(second), scan, names.byte);
    if (!copy.Next()) {
        return false;
    }
    std::uint64_t same = 0;
    std::uint64_t others = 0;
    while (true) {
        const bool hasRow = table.Next() && table.Byte() < names.byte;
        const bool hasCopy = copy.Next();
        if (!hasRow && !hasCopy) {
            break;
        }
        // The rest of the longer one has no counterpart.
        const bool isSame = hasRow && hasCopy && table.HasSameCells(copy);
        ++(isSame ? same : others);
        if (others * 10 > rows) {
            return false;
        }
    }
    return same >= kFewestRows && others * 9 <= same;
}

} // namespace Orvane::Import
