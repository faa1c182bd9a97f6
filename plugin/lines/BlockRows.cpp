// Runs of regular rows in a block of bytes, by the positions of separators and line endings.
#include "lines/BlockRows.h"

#include <algorithm>
#include <cstring>

namespace AsciiReader {

namespace {

/// Bytes that are indexed at a time: so few that a run of rows is converted while it is in the
/// cache, and so many that a run of long rows is worth its beginning for each column.
constexpr std::size_t kLeastWindowBytes = 65536;
constexpr std::size_t kMostWindowBytes = 524288;
constexpr std::size_t kWindowBytesOfAField = 768;

/// Most positions kept of a line that is not regular.
constexpr std::size_t kMaxLinePositions = 65536;

} // namespace

BlockRows::BlockRows(LineSource& lines)
    : m_lines(lines)
    , m_ignoresBlankRows(lines.IgnoresBlankRows())
    , m_kernels(Kernels::Best())
{}

void BlockRows::SetRows(const Separator& separator, std::size_t fieldCount, std::size_t windowBytes)
{
    m_structure.separator = separator.GetSingleByte();
    constexpr std::string_view kNotIndexed("\0\"\r\n-", 5);
    const bool isIndexable = kNotIndexed.find(m_structure.separator) == std::string_view::npos;
    m_fieldCount = isIndexable ? fieldCount : 0;
    m_windowBytes =
        windowBytes > 0
            ? windowBytes
            : std::clamp(m_fieldCount * kWindowBytesOfAField, kLeastWindowBytes, kMostWindowBytes);
}

bool BlockRows::Begin()
{
    if (m_fieldCount == 0 || !m_lines.GetBlock(m_block)) {
        return false;
    }
    m_structure.lineEnd = m_block.lineEnd;
    m_structure.isCrLf = m_block.isCrLf;
    m_structure.hasQuotes = m_block.hasQuotes;
    m_indexState = Kernels::IndexState();
    m_indexedTo = m_block.begin;
    m_positions.Resize(1);
    m_positions[0] = static_cast<std::uint32_t>(m_block.begin) - 1;
    m_positionCount = 0;
    m_nextPosition = 0;
    m_rowCount = 0;
    m_isLongLine = false;
    m_isMixedWindow = false;
    return true;
}

BlockRows::Found BlockRows::FindNext()
{
    for (;;) {
        SkipBlankLines();
        m_rowCount = CountRegularRows();
        if (m_rowCount > 0) {
            return Found::Rows;
        }
        if (m_indexState.lineEnds > 0) {
            return Found::Line;
        }
        if (!IndexMore()) {
            return Found::End;
        }
    }
}

std::size_t BlockRows::EstimateRows() const
{
    const std::size_t begin = m_positions[m_nextPosition] + std::size_t{1};
    const std::size_t end = m_positions[m_nextPosition + m_rowCount * m_fieldCount];
    // By the bytes of these rows; half a percent more, so that rows that get shorter still fit.
    const double rowsOfAByte = static_cast<double>(m_rowCount) / static_cast<double>(end - begin);
    const auto bytes = static_cast<double>(m_block.end - begin + m_lines.GetUnreadBytes());
    return static_cast<std::size_t>(bytes * rowsOfAByte * 1.005) + 1;
}

RowRun BlockRows::GetRun() const noexcept
{
    return {m_block.text,
            m_positions.Data() + m_nextPosition,
            m_fieldCount,
            m_rowCount,
            m_structure.isCrLf,
            m_structure.hasQuotes,
            m_block.unit};
}

RowRun BlockRows::HandOver(Orvane::BPageArray<std::uint32_t>& positions)
{
    const RowRun run = GetRun();
    const std::size_t end = m_nextPosition + m_rowCount * m_fieldCount;
    const std::size_t left = m_positionCount - end;
    positions.Resize(0);
    positions.Append(m_positions.Data() + end, left + 1);
    m_positions.Swap(positions);
    m_positionCount = left;
    m_nextPosition = 0;
    m_indexState.lineEnds -= m_rowCount;
    m_rowCount = 0;
    return run;
}

void BlockRows::Pass(std::size_t rows)
{
    m_nextPosition += rows * m_fieldCount;
    m_indexState.lineEnds -= rows;
    m_rowCount -= rows;
    m_lines.SkipTo(m_positions[m_nextPosition] + std::size_t{1});
}

bool BlockRows::ReadLine(SourceLine& line)
{
    std::size_t end = m_nextPosition + 1;
    while (!IsLineEnd(end)) {
        ++end;
    }
    const std::size_t begin = m_positions[m_nextPosition] + 1U;
    const std::size_t trim = m_structure.isCrLf ? 1 : 0;
    const std::string_view text(m_block.text + begin, m_positions[end] - begin - trim);
    m_lines.SkipTo(m_positions[end] + std::size_t{1});
    m_nextPosition = end;
    --m_indexState.lineEnds;
    m_rowCount = 0;
    m_isLongLine = false;
    line = SourceLine();
    line.text = TextView(text, m_block.unit);
    return !text.empty() || !m_ignoresBlankRows;
}

/// Indexes the next window, after the positions that are left. @return false at the block's end.
bool BlockRows::IndexMore()
{
    if (m_indexedTo >= m_block.end) {
        return false;
    }
    // What is left belongs to one line that is not complete yet.
    std::size_t left = m_positionCount - m_nextPosition;
    if (left > std::max(kMaxLinePositions, m_fieldCount)) {
        left = 0;
        m_isLongLine = true;
    }
    std::memmove(m_positions.Data(),
                 m_positions.Data() + m_nextPosition,
                 (left + 1) * sizeof(std::uint32_t));
    m_nextPosition = 0;
    const std::size_t to = std::min(m_indexedTo + m_windowBytes, m_block.end);
    m_positions.Reserve(1 + left + (to - m_indexedTo) + Kernels::kPadding);
    m_positionCount = left + m_kernels.index(m_block.text,
                                             m_indexedTo,
                                             to,
                                             m_structure,
                                             m_indexState,
                                             m_positions.Data() + 1 + left);
    m_indexedTo = to;
    m_isMixedWindow = false;
    return true;
}

/// Skips the empty lines before the next row, where blank rows are ignored.
void BlockRows::SkipBlankLines()
{
    if (!m_ignoresBlankRows || m_isLongLine) {
        return;
    }
    const std::uint32_t emptySize = m_structure.isCrLf ? 2 : 1;
    const std::size_t first = m_nextPosition;
    while (m_indexState.lineEnds > 0 &&
           m_positions[m_nextPosition + 1] - m_positions[m_nextPosition] == emptySize &&
           IsLineEnd(m_nextPosition + 1)) {
        ++m_nextPosition;
        --m_indexState.lineEnds;
    }
    if (m_nextPosition != first) {
        m_lines.SkipTo(m_positions[m_nextPosition] + std::size_t{1});
    }
}

bool BlockRows::IsLineEnd(std::size_t positionIndex) const noexcept
{
    return m_block.text[m_positions[positionIndex]] == m_structure.lineEnd;
}

/// Counts the rows from the next one on that have as many fields as a regular row, not all empty.
std::size_t BlockRows::CountRegularRows()
{
    const std::size_t fields = m_fieldCount;
    if (m_indexState.lineEnds == 0 || m_isLongLine) {
        return 0;
    }
    // A line of nothing but separators has no fields; it is as long as it has separators.
    const auto emptySize = static_cast<std::uint32_t>(fields) + (m_structure.isCrLf ? 1U : 0U);
    const std::size_t most =
        std::min(m_indexState.lineEnds, (m_positionCount - m_nextPosition) / fields);
    std::size_t rows = 0;
    std::size_t at = m_nextPosition;
    if (!m_isMixedWindow) {
        while (rows < most && IsLineEnd(at + fields) &&
               m_positions[at + fields] - m_positions[at] != emptySize) {
            at += fields;
            ++rows;
        }
        // All line ends of the window stand where regular rows have them: nothing else does.
        if (rows == m_indexState.lineEnds) {
            return rows;
        }
        m_isMixedWindow = true;
        rows = 0;
        at = m_nextPosition;
    }
    const auto isRegular = [this, fields, emptySize](std::size_t from) {
        std::size_t field = 1;
        while (field < fields && !IsLineEnd(from + field)) {
            ++field;
        }
        return field == fields && IsLineEnd(from + field) &&
               m_positions[from + field] - m_positions[from] != emptySize;
    };
    while (rows < most && isRegular(at)) {
        at += fields;
        ++rows;
    }
    return rows;
}

} // namespace AsciiReader
