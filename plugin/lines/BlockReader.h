// Reads the bytes of a file block by block.
#pragma once

#include "lines/BlockText.h"

#include <QFile>

#include <cstddef>
#include <cstdint>

namespace AsciiReader {

/// Moves the carry of the last block to the front of a block's text and reads the next bytes after
/// it. The device is kept by the caller and must outlive its use here.
class BlockReader
{
public:
    /// What the file looked like at some time.
    struct Stamp
    {
        qint64 size = -1;
        qint64 modified = -1;
        friend bool operator==(const Stamp&, const Stamp&) = default;
    };

    /// @param blockSize bytes of a block, at least 1
    /// @param maxLineSize units of a carry beyond which no more is read
    BlockReader(std::size_t blockSize, std::size_t maxLineSize) noexcept;

    /// Null for none. Reading continues where the device stands.
    void SetDevice(QFile* device) noexcept
    {
        m_device = device;
        m_ahead.isReady = false;
    }

    [[nodiscard]] bool HasDevice() const noexcept { return m_device != nullptr; }

    /// True where there is no device, too.
    [[nodiscard]] bool AtEnd() const;
    /// Bytes of the file before the next block.
    [[nodiscard]] std::int64_t GetPosition() const;
    /// Bytes of the file after the last block; 0 where the device does not know.
    [[nodiscard]] std::uint64_t GetUnreadBytes() const;
    [[nodiscard]] Stamp MakeStamp() const;

    /// Back to the file's first byte.
    /// @throws BException("Could not read from the file <%ls>.", "AsciiFile::GetSafeLine",
    /// <system's
    ///     text>)
    void Rewind();

    /// Reads the next block after the carry, and surveys it unless the text is UTF-16.
    /// @return bytes read; 0 at the file's end, also where it was cut meanwhile
    /// @throws BException("A line of the file <%ls> is longer than %d characters.",
    ///     "AsciiFile::GetSafeLine", "There is no line ending up to byte %d.") before anything is
    ///     read; as Rewind for the first bytes that cannot be read. Bytes read before a failure are
    ///     used; the next block meets it again.
    std::size_t Read(BlockText& block);

    /// Reads what the next Read will read, into memory of its own, so that Read finds it ready. A
    /// failure is left for Read to meet. While this works on another thread, nothing else of this
    /// object may be used, and of the block only the text before its carry may be changed.
    /// @param block as it will be given to Read, of bytes
    void ReadAhead(const BlockText& block);

    /// Frees what was read ahead; only to be called at the end of the file.
    void ReleaseAhead() noexcept { m_ahead = Ahead(); }

private:
    /// Bytes that were read ahead: a carry, then those after it.
    struct Ahead
    {
        bool isReady = false;
        Orvane::BPageArray<char> bytes;
        Kernels::Survey survey;
        std::size_t readBytes = 0;
    };

    [[nodiscard]] bool IsTooLong(const BlockText& block) const noexcept;
    /// Appends the next bytes to `bytes`, with padding after them. @return how many; -1 for a
    /// failure before the first one
    std::ptrdiff_t Append(Orvane::BPageArray<char>& bytes, Kernels::Survey* survey);
    [[noreturn]] void ThrowReadFailure() const;

    std::size_t m_blockSize;
    std::size_t m_maxLineSize;
    QFile* m_device = nullptr;
    Ahead m_ahead;
};

} // namespace AsciiReader
