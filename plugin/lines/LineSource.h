// Decodes a file block by block and cuts the blocks into logical lines.
#pragma once

#include "kernels/Kernels.h"
#include "text/ReadOptions.h"
#include "text/TextView.h"

#include <Orvane/BFeaturePage.h>
#include <Orvane/BString.h>

#include <QFile>
#include <QTextCodec>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
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

    /// Called for every block before its lines are given, or before the refill throws: the block's
    /// text, valid as long as its lines, and how much of it is complete lines; all of it for the
    /// last block.
    using BlockWatcher = std::function<void(const TextView& text, std::size_t cutEnd)>;

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

    /// Bytes of the file after the last block; 0 where the device does not know.
    [[nodiscard]] std::uint64_t GetUnreadBytes() const;

    /// Puts two lines before the pending ones; `first` is the next to be handed out.
    void PutBack(const Orvane::BString& first, const Orvane::BString& second);

    /// Back to the file's first byte; nothing is pending afterwards. When the first block is still
    /// in memory and the file is unchanged, it is not read again.
    void Rewind();

    /// Frees the block's memory; only to be called when nothing is pending.
    void Release();

private:
    enum class Ending : std::uint8_t { None, CrLf, Lf, Cr };

    /// What the file looked like when its first block was read.
    struct Stamp
    {
        qint64 size = -1;
        qint64 modified = -1;
        friend bool operator==(const Stamp&, const Stamp&) = default;
    };

    /// The entries that a block gives, as positions in the text: lines of the block, then the last
    /// line, then the empty entry at the end.
    struct Entries
    {
        std::size_t lineBegin = 0;
        std::size_t linesEnd = 0;
        std::size_t linesTextEnd = 0; ///< with the ending of the last line
        std::size_t lastLineBegin = 0;
        std::size_t lastLineEnd = 0;
        Ending ending = Ending::None;
        bool haveQuotes = false;
        bool hasLastLine = false;
        bool hasFinalEmpty = false;

        [[nodiscard]] bool Any() const noexcept
        {
            return lineBegin < linesEnd || hasLastLine || hasFinalEmpty;
        }
    };

    bool NextEntry(SourceLine& line);
    void SkipBlankLines() noexcept;
    bool Refill();
    bool Replay();
    [[noreturn]] void ThrowReadFailure() const;
    void Restart();
    void ChooseCodec();
    void RequireShortCarry() const;
    std::size_t ReadBytes();
    void Decode(std::size_t newBytes, bool isLast);
    void DecodeUtf8(bool isLast);
    void DecodeWide(std::string_view bytes, bool isLast);
    void AppendCutCharacter(std::string_view bytes, qsizetype left, QString& decoded) const;
    void WidenText();
    void CutBlock(bool isLast);
    template <typename Unit>
    void CutText(std::basic_string_view<Unit> text, bool isLast);
    template <typename Unit>
    bool HasReturn(std::basic_string_view<Unit> text, std::size_t from) const noexcept;
    template <typename Unit>
    std::size_t CountLineQuotes(std::basic_string_view<Unit> text, std::size_t cutEnd) noexcept;
    template <typename Unit>
    std::size_t FindLogicalEnd(std::basic_string_view<Unit> text, std::size_t from) const noexcept;
    [[nodiscard]] TextView MakeView(std::size_t from, std::size_t to) const noexcept;
    [[nodiscard]] Stamp MakeStamp() const;

    std::optional<Orvane::BString> m_codecName;
    bool m_usesLocaleCodec;
    bool m_ignoresBlankRows;
    std::size_t m_blockSize;
    std::size_t m_maxLineSize;
    QFile* m_device = nullptr;
    BlockWatcher m_watcher;

    // The block's text: bytes or UTF-16, by m_unit. Bytes that begin an incomplete UTF-8 character
    // follow it.
    ETextUnit m_unit = ETextUnit::Latin1;
    Orvane::BPageArray<char> m_bytes;
    Orvane::BPageArray<char16_t> m_wide;
    std::size_t m_textSize = 0;
    std::size_t m_undecoded = 0;
    std::size_t m_carryBegin = 0;   ///< where the text starts that the next block takes over
    std::size_t m_carryScanned = 0; ///< units of that text known to hold no line ending
    std::size_t m_carryQuotes = 0;  ///< quotes in that text, while it is bytes
    std::size_t m_freshBegin = 0;   ///< where the text starts that was read with this block
    Kernels::Survey m_survey;       ///< what the bytes of this block hold

    std::deque<Orvane::BString> m_putBack; ///< first of the pending entries
    Orvane::BString m_handedOut;           ///< keeps a line that was put back while it is in use
    Entries m_entries;

    QTextCodec* m_codec = nullptr;
    std::unique_ptr<QTextCodec::ConverterState> m_decoder; ///< for text decoded to UTF-16
    /// UTF-8: bytes of an incomplete character; other codecs: the last bytes decoded.
    std::string m_undecodedBytes;
    bool m_isAtFileStart = true; ///< no character was decoded yet
    bool m_isFinished = false;   ///< the last block was cut

    // For reading the first block once, however often the file is rewound.
    bool m_isRewound = false;
    bool m_holdsFirstBlock = false;
    Entries m_firstEntries;
    Stamp m_stamp;
};

} // namespace AsciiReader
