// Hands out the logical lines of a file.
#pragma once

#include "lines/BlockReader.h"
#include "lines/BlockText.h"
#include "lines/LineCutter.h"
#include "lines/TextDecoder.h"
#include "text/ReadOptions.h"
#include "text/TextView.h"

#include <Orvane/BString.h>

#include <QFile>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <utility>

namespace AsciiReader {

/// One entry of the pending lines.
struct SourceLine
{
    TextView text;
    /// Whether the quotes may not balance: in the file's last line without a line ending, and in
    /// lines that were put back.
    bool mayBeUnbalanced = false;
};

/// The pending lines that one block holds in bytes, uncut.
struct LineBlock
{
    const char* text;  ///< kPadding bytes of Kernels.h are readable after `end`
    std::size_t begin; ///< where the next pending line begins
    std::size_t end;   ///< after the line ending of the last one
    char lineEnd;      ///< last byte of a line ending
    bool isCrLf;       ///< a line ending is "\r\n"
    bool hasQuotes;    ///< lines go on over endings inside quotes; quotes balance from begin to end
    ETextUnit unit;
};

/// The pending lines of an open file.
///
/// A block is read, decoded once and kept; lines are views into it. ISO-8859-1 and valid UTF-8
/// stay bytes; everything else is decoded to UTF-16. The rules of one block:
///
/// - The block's text is the carry, what the last block had after its last line ending, and the new
///   text.
/// - It is cut by one kind of line ending: "\r\n" when it holds that anywhere, else "\n", else
///   "\r". Other endings stay inside the lines.
/// - Text after the last ending is carried to the next block. The rest is cut into lines; a line
///   continues over an ending while its double quotes do not balance. When the quotes of the rest
///   do not balance, the refill throws; the lines before the open quote stay pending.
/// - Empty lines at the end of a block that is not the last are dropped.
/// - The last block gives its lines, then the text after the last ending (trailing white space
///   removed), then one empty line.
///
/// Memory: one block, and the line that spans blocks as far as it is read, at most 2 GiB. Time:
/// linear in the bytes read, whatever the number of blocks that a line spans.
class LineSource
{
public:
    /// Bytes of a block. Rule: quotes must balance within a block's complete lines, so that the
    /// size can be seen in results; it is fixed.
    static constexpr std::size_t kBlockSize = 16777216;

    /// Units of a line, read so far, beyond which no more of it is read: with one block more all
    /// positions in a line stay below 2^31, as texts and patterns need it.
    static constexpr std::size_t kMaxLineSize = 2147483647 - kBlockSize;

    /// @param options of these, codec and treatment of blank rows are kept
    explicit LineSource(const ReadOptions& options,
                        std::size_t blockSize = kBlockSize,
                        std::size_t maxLineSize = kMaxLineSize);
    ~LineSource();
    LineSource(const LineSource&) = delete;
    LineSource& operator=(const LineSource&) = delete;

    /// Reads from `device` from now on, from its start; null for none. The device is kept by the
    /// caller and must outlive its use here.
    void SetDevice(QFile* device);

    /// See BlockWatcher; an empty one for none.
    void SetBlockWatcher(BlockWatcher watcher) { m_watcher = std::move(watcher); }

    /// Hands out the next entry; empty ones are passed over where blank rows are ignored.
    /// @return false when none is pending and the device is at its end; then `line` is empty
    /// @throws BFileContentNotValidException("AsciiFile::GetSafeLine", "File contains an unmatched
    ///     quote."); BException("The text codec <%ls> is not available.",
    ///     "AsciiFile::GetSafeLine"); BException("Could not read from the file <%ls>.",
    ///     "AsciiFile::GetSafeLine", <system's text>); BException("A line of the file <%ls> is
    ///     longer than %d characters.", "AsciiFile::GetSafeLine", "There is no line ending up to
    ///     byte %d.").
    bool Next(SourceLine& line);

    [[nodiscard]] bool IgnoresBlankRows() const noexcept { return m_ignoresBlankRows; }

    /// Gives the next pending entries uncut. @return false when they are not lines of a block
    /// that stayed bytes, or when the block is too large for 32-bit positions.
    [[nodiscard]] bool GetBlock(LineBlock& block) const noexcept;
    /// Drops the lines of GetBlock before `position`, where a line begins or the block ends.
    void SkipTo(std::size_t position) noexcept;

    [[nodiscard]] bool HasPending() const noexcept;
    /// True when the device is at its end and nothing is pending.
    [[nodiscard]] bool AtEnd() const;

    /// Reads the bytes of the next block while the lines of this one are in use: on another thread,
    /// which alone may use this object meanwhile, but for HasPending, GetBlock and SkipTo. Changes
    /// nothing but the time that the next block costs.
    /// @throws std::bad_alloc; the next block is read when it is needed then.
    void ReadAhead();

    /// Bytes of the file after the last block; 0 where the device does not know.
    [[nodiscard]] std::uint64_t GetUnreadBytes() const { return m_reader.GetUnreadBytes(); }

    /// Puts two lines before the pending ones; `first` is the next to be handed out.
    void PutBack(const Orvane::BString& first, const Orvane::BString& second);

    /// Back to the file's first byte; nothing is pending afterwards. When the first block is still
    /// in memory and the file is unchanged, it is not read again.
    void Rewind();

    /// Frees the block's memory; only to be called when nothing is pending.
    void Release();

private:
    bool NextEntry(SourceLine& line);
    bool Refill();
    bool Replay();
    void Restart();

    bool m_ignoresBlankRows;
    BlockReader m_reader;
    TextDecoder m_decoder;
    BlockWatcher m_watcher;
    BlockText m_block;
    BlockEntries m_entries;
    std::deque<Orvane::BString> m_putBack; ///< first of the pending entries
    Orvane::BString m_handedOut;           ///< keeps a line that was put back while it is in use
    bool m_isFinished = false;             ///< the last block was cut

    // For reading the first block once, however often the file is rewound.
    bool m_isRewound = false;
    bool m_holdsFirstBlock = false;
    BlockEntries m_firstEntries;
    BlockReader::Stamp m_stamp;
};

} // namespace AsciiReader
