// Cuts the text of a block into logical lines.
#pragma once

#include "lines/BlockText.h"
#include "text/TextView.h"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace AsciiReader {

/// Kind of the line endings of one block.
enum class EEnding : std::uint8_t { None, CrLf, Lf, Cr };

/// The entries that a block gives, as positions in the text: lines of the block, then the last
/// line, then the empty entry at the end.
struct BlockEntries
{
    std::size_t lineBegin = 0;
    std::size_t linesEnd = 0;
    std::size_t linesTextEnd = 0; ///< with the ending of the last line
    std::size_t lastLineBegin = 0;
    std::size_t lastLineEnd = 0;
    EEnding ending = EEnding::None;
    bool haveQuotes = false;
    bool hasLastLine = false;
    bool hasFinalEmpty = false;

    [[nodiscard]] bool Any() const noexcept
    {
        return lineBegin < linesEnd || hasLastLine || hasFinalEmpty;
    }
};

/// Called for every block before its lines are given, or before the refill throws: the block's
/// text, valid as long as its lines, and how much of it is complete lines; all of it for the last
/// block.
using BlockWatcher = std::function<void(const TextView& text, std::size_t cutEnd)>;

/// The rules of LineSource on one block. Stateless: what is known of the carry stands in BlockText.
namespace LineCutter {

/// Finds what the block gives and where its carry begins.
/// @param isLast whether the file ends with it
/// @param watcher called once, where there is one
/// @param entries set also before a throw: the lines before the open quote
/// @throws BFileContentNotValidException("AsciiFile::GetSafeLine", "File contains an unmatched
///     quote.")
void Cut(BlockText& block, bool isLast, const BlockWatcher& watcher, BlockEntries& entries);

/// Hands out the next line of the block; there must be one.
TextView NextLine(const BlockText& block, BlockEntries& entries) noexcept;

/// Skips the empty lines before the next line of the block.
void SkipBlankLines(const BlockText& block, BlockEntries& entries) noexcept;

} // namespace LineCutter
} // namespace AsciiReader
