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
    return m_device == nullptr || m_device->atEnd();
}

std::int64_t BlockReader::GetPosition() const
{
    return m_device->pos();
}

std::uint64_t BlockReader::GetUnreadBytes() const
{
    return static_cast<std::uint64_t>(std::max<qint64>(m_device->size() - m_device->pos(), 0));
}

BlockReader::Stamp BlockReader::MakeStamp() const
{
    return {m_device->size(),
            m_device->fileTime(QFileDevice::FileModificationTime).toMSecsSinceEpoch()};
}

void BlockReader::Rewind()
{
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
void BlockReader::RequireShortCarry(const BlockText& block) const
{
    if (block.size - block.carryBegin > m_maxLineSize) {
        throw BException(
            BString::Format("A line of the file <%ls> is longer than %d characters.",
                            Orvane::MakeBString(m_device->fileName()),
                            m_maxLineSize),
            kLocation,
            BString::Format("There is no line ending up to byte %d.", m_device->pos()));
    }
}

std::size_t BlockReader::Read(BlockText& block)
{
    RequireShortCarry(block);
    const std::size_t carry = block.size - block.carryBegin;
    std::size_t kept = 0;
    if (block.unit == ETextUnit::Utf16) {
        if (block.carryBegin > 0 && carry > 0) {
            std::memmove(
                block.wide.Data(), block.wide.Data() + block.carryBegin, carry * sizeof(char16_t));
        }
    } else {
        kept = carry + block.undecoded;
        if (block.carryBegin > 0 && kept > 0) {
            std::memmove(block.bytes.Data(), block.bytes.Data() + block.carryBegin, kept);
        }
    }
    block.size = carry;
    block.freshBegin = carry;
    block.carryBegin = 0;

    // A small file needs no block-sized buffer.
    const std::size_t wanted =
        std::min<std::uint64_t>(m_blockSize, std::max<std::uint64_t>(GetUnreadBytes(), 4096));
    block.bytes.Resize(kept);
    const std::size_t oldCapacity = block.bytes.GetCapacity();
    block.bytes.ReserveMore(wanted + Kernels::kPadding);
    const bool isNewMemory = block.bytes.GetCapacity() != oldCapacity;
    // In pieces that stay in the processor's cache while they are looked through.
    block.survey = Kernels::Survey();
    std::size_t got = 0;
    std::size_t asked = 0;
    std::size_t piece = 0;
    do {
        asked = std::min(kPieceBytes, wanted - got);
        char* const to = block.bytes.Data() + kept + got;
        if (isNewMemory) {
            Orvane::PrefaultMemory(to, asked);
        }
        const qint64 answer = m_device->read(to, static_cast<qint64>(asked));
        if (answer < 0 && got == 0) {
            ThrowReadFailure();
        }
        // Bytes read before a failure are used; the next block meets the failure again.
        piece = static_cast<std::size_t>(std::max<qint64>(answer, 0));
        if (block.unit != ETextUnit::Utf16) {
            Kernels::Best().survey(to, piece, block.survey);
        }
        got += piece;
    } while (piece == asked && got < wanted);
    block.bytes.Resize(kept + got);
    // Results from the padding are dropped, in ways that memory checkers cannot follow.
    std::memset(block.bytes.Data() + block.bytes.GetSize(), 0, Kernels::kPadding);
    return got;
}

} // namespace AsciiReader
