// Reads a file again, line by line as the reader does, and knows where each line stands.
#pragma once

#include <QFile>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <lines/LineSource.h>
#include <string>
#include <text/ReadOptions.h>
#include <text/TextView.h>

namespace Orvane::Import {

/// The lines of a file by the reader's own rules, with their physical line numbers: lines are
/// counted from 1 by "\n", by "\r" in text that has no "\n".
///
/// Memory: that of the reader's lines, one block. Time: linear.
class FileWalk
{
public:
    /// @param file UTF-8 @param options those of the reader
    /// @param blockSize bytes of a block; tests make it small
    FileWalk(const std::string& file,
             const AsciiReader::ReadOptions& options,
             std::size_t blockSize);
    FileWalk(const FileWalk&) = delete;
    FileWalk& operator=(const FileWalk&) = delete;
    ~FileWalk();

    /// One line as the reader gets it.
    struct Line
    {
        AsciiReader::TextView text;     ///< valid until the next call
        std::uint64_t physicalLine = 0; ///< where it begins; 0: beyond the last line
        bool mayBeOpen = false;         ///< the file's last line, whose quotes need not balance
    };

    /// @return false at the file's end, when the file cannot be read, and where a quote stays open
    bool Next(Line& line);

    /// Whether the walk has ended at a quote that stays open.
    [[nodiscard]] bool IsOpen() const noexcept { return m_isOpen; }

    /// After IsOpen: the text from the line that stays open to the end of the block's lines.
    [[nodiscard]] AsciiReader::TextView GetOpenText() const;

    /// After IsOpen: whether the file goes on after the block.
    [[nodiscard]] bool IsOpenAtSeam() const noexcept { return m_isOpenAtSeam; }

    /// The physical line that a position of the current block stands on.
    /// @param text begins in the block, at or after that of every earlier call
    [[nodiscard]] std::uint64_t LineOf(const AsciiReader::TextView& text);

private:
    void WatchBlock(const AsciiReader::TextView& text, std::size_t cutEnd);
    [[nodiscard]] std::size_t OffsetOf(const AsciiReader::TextView& text) const;
    [[nodiscard]] std::uint64_t CountEndings(std::size_t from, std::size_t to) const;

    bool m_ignoresBlankRows;
    QFile m_device;
    AsciiReader::LineSource m_source;
    AsciiReader::TextView m_block; ///< the current block's complete lines
    bool m_countsReturns = false;  ///< its lines end with "\r"
    std::uint64_t m_linesBefore = 0;
    std::uint64_t m_linesInBlock = 0;
    std::size_t m_countedTo = 0;   ///< position in the block up to which endings are counted
    std::uint64_t m_counted = 0;   ///< endings before that position
    std::size_t m_lastLineEnd = 0; ///< position after the last line given
    bool m_isOpen = false;
    bool m_isOpenAtSeam = false;
};

} // namespace Orvane::Import
