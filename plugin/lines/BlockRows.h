// Runs of regular rows in a block of bytes, by the positions of separators and line endings.
#pragma once

#include "kernels/Kernels.h"
#include "lines/LineSource.h"
#include "text/Separator.h"

#include <Orvane/BFeaturePage.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace AsciiReader {

/// Regular rows that stand one after the other in a block.
struct RowRun
{
    const char* text;               ///< of the block
    const std::uint32_t* positions; ///< entry 0 is that before the first row
    std::size_t fieldCount;
    std::size_t rows;
    bool isCrLf;
    bool hasQuotes;
    ETextUnit unit;

    /// The fields of one column over the first `count` rows.
    [[nodiscard]] Kernels::FieldRun MakeFields(std::size_t fieldIndex,
                                               std::size_t count) const noexcept
    {
        Kernels::FieldRun fields{};
        fields.text = text;
        fields.ends = positions + 1 + fieldIndex;
        fields.stride = fieldCount;
        fields.trim = isCrLf && fieldIndex + 1 == fieldCount ? 1 : 0;
        fields.rows = count;
        fields.hasQuotes = hasQuotes;
        return fields;
    }

    /// Where in the text the first row begins. Positions wrap before the text's first byte.
    [[nodiscard]] std::size_t GetBegin() const noexcept { return positions[0] + std::uint32_t{1}; }

    /// Where in the text the first `count` rows end, with their line endings.
    [[nodiscard]] std::size_t GetEnd(std::size_t count) const noexcept
    {
        return positions[count * fieldCount] + std::size_t{1};
    }
};

/// Iterates over the lines of blocks of bytes. Lines that have a given number of fields, of which
/// not all are empty, are found in runs, for conversion column by column; all others come one by
/// one.
///
/// Use: per block `Begin`, then per step `FindNext`: for Rows call GetRun and Pass, for Line call
/// ReadLine. The line source learns of every row and line that was passed, so that a walk may end
/// anywhere. Rows that are handed over with HandOver are an exception.
///
/// Memory: the positions of a window of 64 to 512 KiB.
class BlockRows
{
public:
    enum class Found : std::uint8_t {
        Rows, ///< at least one regular row stands next
        Line, ///< another line stands next
        End   ///< the block is at its end
    };

    /// @param lines where the blocks come from; kept by reference
    explicit BlockRows(LineSource& lines);

    /// Makes the walk one over rows of `fieldCount` fields that are cut at the separator. Without a
    /// call, with 0 fields, or with a separator that is not cut at one byte, it is not active.
    /// @param windowBytes bytes that are indexed at a time, a multiple of 64, 0 for the rule's;
    /// only
    ///     tests choose
    void SetRows(const Separator& separator, std::size_t fieldCount, std::size_t windowBytes = 0);

    [[nodiscard]] bool IsActive() const noexcept { return m_fieldCount > 0; }

    /// Begins with the next pending block. @return false when there is none, or not active
    bool Begin();
    /// What stands next; indexes more of the block as needed.
    Found FindNext();

    /// Regular rows that stand next; at least one after FindNext gave Rows.
    [[nodiscard]] std::size_t GetRowCount() const noexcept { return m_rowCount; }

    /// About how many rows the rest of the file has, if they are as long as the next ones.
    [[nodiscard]] std::size_t EstimateRows() const;

    /// The next rows, all of GetRowCount(). Valid until more is found.
    [[nodiscard]] RowRun GetRun() const noexcept;
    /// Skips the next rows.
    void Pass(std::size_t rows);

    /// Whether what stands next are all rows that the window has.
    [[nodiscard]] bool IsWholeWindow() const noexcept { return !m_isMixedWindow; }

    /// Skips all next rows and gives them away: the run stays valid as long as `positions` and the
    /// block do. The line source does not learn of them: its SkipTo is the caller's to call, and
    /// must be called before ReadLine.
    /// @param positions an array whose values are dropped and whose memory is used from now on
    RowRun HandOver(Orvane::BPageArray<std::uint32_t>& positions);
    /// Consumes one line, regular or not. @return false for an empty line that is skipped
    bool ReadLine(SourceLine& line);

    [[nodiscard]] const LineBlock& GetBlock() const noexcept { return m_block; }

private:
    bool IndexMore();
    void SkipBlankLines();
    [[nodiscard]] bool IsLineEnd(std::size_t positionIndex) const noexcept;
    [[nodiscard]] std::size_t CountRegularRows();

    LineSource& m_lines;
    bool m_ignoresBlankRows;
    std::size_t m_fieldCount = 0;
    std::size_t m_windowBytes = 0;
    const Kernels::Set& m_kernels;
    LineBlock m_block{};
    Kernels::Structure m_structure;
    Kernels::IndexState m_indexState;
    /// Entry 0 is the position before the next row; the positions of m_positionCount
    /// separators and line ends follow.
    Orvane::BPageArray<std::uint32_t> m_positions;
    std::size_t m_positionCount = 0;
    std::size_t m_nextPosition = 0; ///< index of the position before the next row
    std::size_t m_rowCount = 0;
    std::size_t m_indexedTo = 0;
    bool m_isMixedWindow = false; ///< the window holds rows that are not regular
    bool m_isLongLine = false;    ///< positions of the line that is being read were dropped
};

/// One field as it stands in the block, quotes included.
inline std::string_view PartAt(const Kernels::FieldRun& run, std::size_t row)
{
    // An index of -1 would wrap before the first field.
    const std::uint32_t* const position = run.ends + row * run.stride;
    const std::uint32_t begin = *(position - 1) + 1;
    const std::uint32_t end = *position - run.trim;
    return {run.text + begin, end - begin};
}

} // namespace AsciiReader
