// One byte at a time: such files are rare and small.
#include "LineUnquoter.h"

#include <algorithm>
#include <cstring>

namespace Orvane::Import::Scan {

namespace {

constexpr std::size_t kPiece = std::size_t{64} * 1024;

bool IsLineEnd(char unit) noexcept
{
    return unit == '\n' || unit == '\r';
}

/// Whether a line is one quoted field.
bool IsQuoted(std::string_view line) noexcept
{
    constexpr std::size_t kQuotes = 2;
    if (line.size() < kQuotes || line.front() != '"' || line.back() != '"') {
        return false;
    }
    line = line.substr(1, line.size() - kQuotes);
    for (std::size_t at = line.find('"'); at != std::string_view::npos;
         at = line.find('"', at + kQuotes)) {
        if (at + 1 == line.size() || line[at + 1] != '"') {
            return false;
        }
    }
    return true;
}

} // namespace

bool AreLinesQuoted(std::string_view text, bool isWhole)
{
    constexpr std::size_t kFewest = 2;
    std::size_t lines = 0;
    std::size_t quoted = 0;
    while (!text.empty()) {
        const std::size_t end = text.find_first_of("\r\n");
        const bool isCut = end == std::string_view::npos && !isWhole;
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.empty() || isCut) {
            continue;
        }
        ++lines;
        quoted += IsQuoted(line) ? 1U : 0U;
        if (lines > quoted + 1 + quoted / 50) {
            return false;
        }
    }
    return lines >= kFewest && quoted * 50 >= lines * 49;
}

void LineUnquoter::Restart()
{
    m_size = 0;
    m_at = 0;
    m_isAtEnd = false;
    m_isAtFront = true;
    m_isQuoted = false;
}

/// Makes at least two bytes, or all that are left, stand at m_at. @return whether there is one
bool LineUnquoter::Next(const std::function<std::size_t(char*, std::size_t)>& read)
{
    if (m_size - m_at < 2 && !m_isAtEnd) {
        m_piece.resize(kPiece);
        std::memmove(m_piece.data(), m_piece.data() + m_at, m_size - m_at);
        m_size -= m_at;
        m_at = 0;
        const std::size_t wanted = m_piece.size() - m_size;
        const std::size_t got = read(m_piece.data() + m_size, wanted);
        m_isAtEnd = got < wanted;
        m_size += got;
    }
    return m_at < m_size;
}

std::size_t LineUnquoter::Read(char* buffer,
                               std::size_t capacity,
                               const std::function<std::size_t(char*, std::size_t)>& read)
{
    std::size_t size = 0;
    while (size < capacity && Next(read)) {
        const char unit = m_piece[m_at];
        const bool isLast = m_at + 1 == m_size;
        const char next = isLast ? '\n' : m_piece[m_at + 1];
        ++m_at;
        if (IsLineEnd(unit)) {
            m_isAtFront = true;
            m_isQuoted = false;
        } else if (m_isAtFront) {
            m_isAtFront = false;
            m_isQuoted = unit == '"';
            if (m_isQuoted) {
                continue;
            }
        } else if (m_isQuoted && unit == '"') {
            if (IsLineEnd(next)) {
                continue;
            }
            m_at += next == '"' ? 1U : 0U;
        }
        buffer[size++] = unit;
    }
    return size;
}

} // namespace Orvane::Import::Scan
