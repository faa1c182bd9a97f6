// Lines with the places where they stand.
#include "diagnose/FileWalk.h"

#include <Orvane/BException.h>

#include <QString>

#include <algorithm>
#include <string_view>
#include <text/ValueRules.h>

namespace Orvane::Import {

using AsciiReader::SourceLine;
using AsciiReader::TextView;

namespace {

/// The units from `from` to `to`.
TextView Part(const TextView& text, std::size_t from, std::size_t to)
{
    if (text.GetUnit() == AsciiReader::ETextUnit::Utf16) {
        return TextView(text.Wide().substr(from, to - from));
    }
    return {text.Bytes().substr(from, to - from), text.GetUnit()};
}

bool Contains(const TextView& text, char wanted)
{
    return text.Visit([wanted](auto view) {
        return view.find(static_cast<typename decltype(view)::value_type>(wanted)) != view.npos;
    });
}

/// The unit at a position, 0 at the end.
char32_t UnitAt(const TextView& text, std::size_t at)
{
    return text.Visit([at](auto view) -> char32_t {
        return at < view.size() ? static_cast<char32_t>(view[at]) : U'\0';
    });
}

/// The options with blank rows, which are passed over here: they may stand before an open quote.
AsciiReader::ReadOptions KeepBlankRows(AsciiReader::ReadOptions options)
{
    options.ignoresBlankRows = false;
    return options;
}

} // namespace

FileWalk::FileWalk(const std::string& file,
                   const AsciiReader::ReadOptions& options,
                   std::size_t blockSize)
    : m_ignoresBlankRows(options.ignoresBlankRows)
    , m_device(QString::fromStdString(file))
    , m_source(KeepBlankRows(options), blockSize)
{
    if (m_device.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        m_source.SetDevice(&m_device);
        m_source.SetBlockWatcher(
            [this](const TextView& text, std::size_t cutEnd) { WatchBlock(text, cutEnd); });
    }
}

FileWalk::~FileWalk() = default;

void FileWalk::WatchBlock(const TextView& text, std::size_t cutEnd)
{
    m_linesBefore += m_linesInBlock;
    m_block = Part(text, 0, cutEnd);
    m_countsReturns = !Contains(m_block, '\n');
    m_linesInBlock = CountEndings(0, cutEnd);
    m_countedTo = 0;
    m_counted = 0;
    m_lastLineEnd = 0;
}

std::uint64_t FileWalk::CountEndings(std::size_t from, std::size_t to) const
{
    return Part(m_block, from, to).Visit([this](auto view) {
        using Unit = typename decltype(view)::value_type;
        const Unit ending = m_countsReturns ? Unit('\r') : Unit('\n');
        return static_cast<std::uint64_t>(std::count(view.begin(), view.end(), ending));
    });
}

std::size_t FileWalk::OffsetOf(const TextView& text) const
{
    return text.Visit([this](auto view) {
        using Unit = typename decltype(view)::value_type;
        const auto* const begin =
            m_block.Visit([](auto block) { return reinterpret_cast<const Unit*>(block.data()); });
        return static_cast<std::size_t>(view.data() - begin);
    });
}

std::uint64_t FileWalk::LineOf(const TextView& text)
{
    const std::size_t offset = OffsetOf(text);
    m_counted += CountEndings(m_countedTo, offset);
    m_countedTo = offset;
    return m_linesBefore + m_counted + 1;
}

bool FileWalk::Next(Line& line)
{
    line = Line();
    SourceLine next;
    try {
        do {
            if (m_isOpen || !m_source.Next(next)) {
                return false;
            }
        } while (m_ignoresBlankRows && next.text.IsEmpty());
    } catch (const BFileContentNotValidException&) {
        // The lines of this block before the open one are pending.
        while (m_source.HasPending()) {
            m_source.Next(next);
            m_lastLineEnd = OffsetOf(next.text) + next.text.GetSize();
        }
        m_isOpen = true;
        m_isOpenAtSeam = !m_device.atEnd();
        return false;
    } catch (const BException&) {
        return false;
    }
    line.text = next.text;
    line.mayBeOpen = next.mayBeUnbalanced;
    if (!next.text.IsEmpty() || m_source.HasPending()) {
        line.physicalLine = LineOf(next.text);
    }
    return true;
}

TextView FileWalk::GetOpenText() const
{
    std::size_t begin = m_lastLineEnd;
    if (begin > 0) {
        const bool isCrLf = UnitAt(m_block, begin) == U'\r' && UnitAt(m_block, begin + 1) == U'\n';
        begin += isCrLf ? 2 : 1;
    }
    return Part(m_block, std::min(begin, m_block.GetSize()), m_block.GetSize());
}

} // namespace Orvane::Import
