// Reads the bytes of a file block by block.
#include "lines/BlockReader.h"

#include <Orvane/BException.h>
#include <Orvane/BStringQt.h>

#include <QDateTime>

#include <algorithm>
#include <cstring>

namespace AsciiReader {

using Orvane::BException;
using Orvane::BString;

namespace {

constexpr const char* kLocation = "AsciiFile::GetSafeLine";

/// Bytes that are read at a time.
constexpr std::size_t kPieceBytes = 262144;

} // namespace

BlockReader::BlockReader(std::size_t blockSize, std::size_t maxLineSize) noexcept
    : m_blockSize(std::max<std::size_t>(blockSize, 1))
    , m_maxLineSize(maxLineSize)
{}

bool BlockReader::AtEnd() const
{
    return m_device == nullptr || (!m_ahead.isReady && m_device->atEnd());
}

std::int64_t BlockReader::GetPosition() const
{
    return m_device->pos() - static_cast<qint64>(m_ahead.isReady ? m_ahead.readBytes : 0);
}

std::uint64_t BlockReader::GetUnreadBytes() const
{
    return static_cast<std::uint64_t>(std::max<qint64>(m_device->size() - GetPosition(), 0));
}

BlockReader::Stamp BlockReader::MakeStamp() const
{
    return {m_device->size(),
            m_device->fileTime(QFileDevice::FileModificationTime).toMSecsSinceEpoch()};
}

void BlockReader::Rewind()
{
    m_ahead.isReady = false;
    if (!m_device->reset()) {
        ThrowReadFailure();
    }
}

void BlockReader::ThrowReadFailure() const
{
    throw BException(BString::Format("Could not read from the file <%ls>.",
                                     Orvane::MakeBString(m_device->fileName())),
                     kLocation,
                     Orvane::MakeBString(m_device->errorString()));
}

/// Without this bound a file without line endings would be read into memory whole.
bool BlockReader::IsTooLong(const BlockText& block) const noexcept
{
    return block.size - block.carryBegin > m_maxLineSize;
}

std::size_t BlockReader::Read(BlockText& block)
{
    if (IsTooLong(block)) {
        throw BException(BString::Format("A line of the file <%ls> is longer than %d characters.",
                                         Orvane::MakeBString(m_device->fileName()),
                                         m_maxLineSize),
                         kLocation,
                         BString::Format("There is no line ending up to byte %d.", GetPosition()));
    }
    const std::size_t carry = block.size - block.carryBegin;
    const bool isBytes = block.unit != ETextUnit::Utf16;
    if (isBytes && m_ahead.isReady) {
        m_ahead.isReady = false;
        block.bytes.Swap(m_ahead.bytes);
        block.survey = m_ahead.survey;
        block.size = carry;
        block.freshBegin = carry;
        block.carryBegin = 0;
        return m_ahead.readBytes;
    }
    std::size_t kept = 0;
    if (isBytes) {
        kept = carry + block.undecoded;
        if (block.carryBegin > 0 && kept > 0) {
            std::memmove(block.bytes.Data(), block.bytes.Data() + block.carryBegin, kept);
        }
    } else if (block.carryBegin > 0 && carry > 0) {
        std::memmove(
            block.wide.Data(), block.wide.Data() + block.carryBegin, carry * sizeof(char16_t));
    }
    block.size = carry;
    block.freshBegin = carry;
    block.carryBegin = 0;
    block.bytes.Resize(kept);
    block.survey = Kernels::Survey();
    const std::ptrdiff_t got = Append(block.bytes, isBytes ? &block.survey : nullptr);
    if (got < 0) {
        ThrowReadFailure();
    }
    return static_cast<std::size_t>(got);
}

void BlockReader::ReadAhead(const BlockText& block)
{
    if (m_ahead.isReady || IsTooLong(block) || AtEnd()) {
        return;
    }
    const std::size_t kept = block.size - block.carryBegin + block.undecoded;
    m_ahead.bytes.Resize(0);
    m_ahead.bytes.Append(block.bytes.Data() + block.carryBegin, kept);
    m_ahead.survey = Kernels::Survey();
    const std::ptrdiff_t got = Append(m_ahead.bytes, &m_ahead.survey);
    if (got > 0) {
        m_ahead.readBytes = static_cast<std::size_t>(got);
        m_ahead.isReady = true;
    }
}

std::ptrdiff_t BlockReader::Append(Orvane::BPageArray<char>& bytes, Kernels::Survey* survey)
{
    // A small file needs no block-sized buffer.
    const std::size_t wanted =
        std::min<std::uint64_t>(m_blockSize, std::max<std::uint64_t>(GetUnreadBytes(), 4096));
    const std::size_t kept = bytes.GetSize();
    const std::size_t oldCapacity = bytes.GetCapacity();
    bytes.ReserveMore(wanted + Kernels::kPadding);
    const bool isNewMemory = bytes.GetCapacity() != oldCapacity;
    // In pieces that stay in the processor's cache while they are looked through.
    std::size_t got = 0;
    std::size_t asked = 0;
    std::size_t piece = 0;
    do {
        asked = std::min(kPieceBytes, wanted - got);
        char* const to = bytes.Data() + kept + got;
        if (isNewMemory) {
            Orvane::PrefaultMemory(to, asked);
        }
        const qint64 answer = m_device->read(to, static_cast<qint64>(asked));
        if (answer < 0 && got == 0) {
            return -1;
        }
        // Bytes read before a failure are used; the next block meets the failure again.
        piece = static_cast<std::size_t>(std::max<qint64>(answer, 0));
        if (survey != nullptr) {
            Kernels::Best().survey(to, piece, *survey);
        }
        got += piece;
    } while (piece == asked && got < wanted);
    bytes.Resize(kept + got);
    // Results from the padding are dropped, in ways that memory checkers cannot follow.
    std::memset(bytes.Data() + bytes.GetSize(), 0, Kernels::kPadding);
    return static_cast<std::ptrdiff_t>(got);
}

} // namespace AsciiReader
