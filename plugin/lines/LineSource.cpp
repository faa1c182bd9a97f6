// Hands out the logical lines of a file.
#include "lines/LineSource.h"

#include "kernels/Kernels.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace AsciiReader {

using Orvane::BString;

LineSource::LineSource(const ReadOptions& options, std::size_t blockSize, std::size_t maxLineSize)
    : m_ignoresBlankRows(options.ignoresBlankRows)
    , m_reader(blockSize, maxLineSize)
    , m_decoder(options)
{}

LineSource::~LineSource() = default;

void LineSource::SetDevice(QFile* device)
{
    m_reader.SetDevice(device);
    Restart();
}

void LineSource::Restart()
{
    m_isRewound = false;
    m_holdsFirstBlock = false;
    m_entries = BlockEntries();
    m_putBack.clear();
    m_block.Reset();
    m_decoder.Restart();
    m_isFinished = false;
}

void LineSource::Rewind()
{
    m_putBack.clear();
    m_entries = BlockEntries();
    m_isRewound = true;
}

void LineSource::Release()
{
    if (!HasPending()) {
        m_holdsFirstBlock = false;
        m_block.Release();
        m_reader.ReleaseAhead();
    }
}

bool LineSource::HasPending() const noexcept
{
    return !m_putBack.empty() || m_entries.Any();
}

bool LineSource::GetBlock(LineBlock& block) const noexcept
{
    const bool hasLines = m_putBack.empty() && m_entries.lineBegin < m_entries.linesEnd;
    if (!hasLines || m_block.unit == ETextUnit::Utf16 ||
        m_entries.linesTextEnd > std::numeric_limits<std::uint32_t>::max() - Kernels::kPadding) {
        return false;
    }
    block = {m_block.bytes.Data(),
             m_entries.lineBegin,
             m_entries.linesTextEnd,
             m_entries.ending == EEnding::Cr ? '\r' : '\n',
             m_entries.ending == EEnding::CrLf,
             m_entries.haveQuotes,
             m_block.unit};
    return true;
}

void LineSource::SkipTo(std::size_t position) noexcept
{
    m_entries.lineBegin = std::min(position, m_entries.linesEnd);
}

void LineSource::ReadAhead()
{
    const bool isBytes = m_block.unit != ETextUnit::Utf16;
    if (isBytes && !m_isFinished && !m_isRewound && m_reader.HasDevice()) {
        m_reader.ReadAhead(m_block);
    }
}

bool LineSource::AtEnd() const
{
    if (HasPending()) {
        return false;
    }
    return !m_reader.HasDevice() || (!m_isRewound && (m_isFinished || m_reader.AtEnd()));
}

void LineSource::PutBack(const BString& first, const BString& second)
{
    m_putBack.push_front(second);
    m_putBack.push_front(first);
}

bool LineSource::Next(SourceLine& line)
{
    for (;;) {
        if (m_ignoresBlankRows && m_putBack.empty()) {
            LineCutter::SkipBlankLines(m_block, m_entries);
        }
        if (!NextEntry(line)) {
            return false;
        }
        if (!m_ignoresBlankRows || !line.text.IsEmpty()) {
            return true;
        }
    }
}

bool LineSource::NextEntry(SourceLine& line)
{
    if (!HasPending() && !Refill()) {
        line = SourceLine();
        return false;
    }
    line.mayBeUnbalanced = false;
    if (!m_putBack.empty()) {
        m_handedOut = std::move(m_putBack.front());
        m_putBack.pop_front();
        line.text = TextView(m_handedOut.View());
        line.mayBeUnbalanced = true;
    } else if (m_entries.lineBegin < m_entries.linesEnd) {
        line.text = LineCutter::NextLine(m_block, m_entries);
    } else if (m_entries.hasLastLine) {
        line.text = m_block.MakeView(m_entries.lastLineBegin, m_entries.lastLineEnd);
        line.mayBeUnbalanced = true;
        m_entries.hasLastLine = false;
    } else {
        line.text = TextView();
        m_entries.hasFinalEmpty = false;
    }
    return true;
}

bool LineSource::Replay()
{
    if (m_holdsFirstBlock && m_stamp == m_reader.MakeStamp()) {
        m_isRewound = false;
        m_entries = m_firstEntries;
        return true;
    }
    m_reader.Rewind();
    Restart();
    return false;
}

bool LineSource::Refill()
{
    if (!m_reader.HasDevice()) {
        return false;
    }
    if (m_isRewound && Replay() && m_entries.Any()) {
        return true;
    }
    // A block of blank lines alone, or of part of one line, gives no entries.
    while (!m_isFinished) {
        if (m_reader.AtEnd() && m_block.carryBegin == m_block.size && m_block.undecoded == 0) {
            return false;
        }
        const bool isFirst = !m_decoder.HasCodec();
        m_decoder.ChooseCodec(m_block);
        const std::size_t newBytes = m_reader.Read(m_block);
        // A file that was cut while it is read ends here, too.
        const bool isLast = newBytes == 0 || m_reader.AtEnd();
        m_decoder.Decode(m_block, newBytes, m_reader.GetPosition(), isLast);
        m_isFinished = isLast;
        m_holdsFirstBlock = false;
        if (m_block.size == 0) {
            continue;
        }
        LineCutter::Cut(m_block, isLast, m_watcher, m_entries);
        if (isFirst) {
            m_holdsFirstBlock = true;
            m_firstEntries = m_entries;
            m_stamp = m_reader.MakeStamp();
        }
        if (m_entries.Any()) {
            return true;
        }
    }
    return false;
}

} // namespace AsciiReader
