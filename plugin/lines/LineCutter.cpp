// Cuts the text of a block into logical lines.
#include "lines/LineCutter.h"

#include "kernels/Kernels.h"
#include "text/ValueRules.h"

#include <Orvane/BException.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace AsciiReader::LineCutter {

namespace {

template <typename Unit>
using Text = std::basic_string_view<Unit>;

template <typename Unit>
constexpr std::size_t kNotFound = Text<Unit>::npos;

template <typename Unit>
std::size_t FindLast(Text<Unit> text, Unit unit) noexcept
{
    return text.rfind(unit);
}

/// The first quote from `at` on; one that stands right there costs no search.
template <typename Unit>
std::size_t FindQuote(Text<Unit> text, std::size_t at) noexcept
{
    return at < text.size() && text[at] == Unit('"') ? at : text.find(Unit('"'), at);
}

/// The first "\r\n", searched by its rarer half.
template <typename Unit>
std::size_t FindCrLf(Text<Unit> text, std::size_t from) noexcept
{
    std::size_t at = text.find(Unit('\r'), from);
    while (at != kNotFound<Unit> && (at + 1 == text.size() || text[at + 1] != Unit('\n'))) {
        at = text.find(Unit('\r'), at + 1);
    }
    return at;
}

template <typename Unit>
std::size_t FindLastCrLf(Text<Unit> text) noexcept
{
    std::size_t at = text.rfind(Unit('\n'));
    while (at != kNotFound<Unit> && (at == 0 || text[at - 1] != Unit('\r'))) {
        at = at == 0 ? kNotFound<Unit> : text.rfind(Unit('\n'), at - 1);
    }
    return at == kNotFound<Unit> ? at : at - 1;
}

std::size_t CountQuotes(Text<char> text) noexcept
{
    Kernels::Survey survey;
    Kernels::Best().survey(text.data(), text.size(), survey);
    return survey.quotes;
}

std::size_t CountQuotes(Text<char16_t> text) noexcept
{
    return ValueRules::CountQuotes(text);
}

template <typename Unit>
bool IsTrimmedUnit(Unit unit) noexcept
{
    return unit == Unit(' ') || (unit >= Unit('\t') && unit <= Unit('\r'));
}

/// End of the logical line that begins at `from`: the first line ending outside quotes, else the
/// end of `text`.
template <typename Unit>
std::size_t FindLogicalEnd(const BlockEntries& entries, Text<Unit> text, std::size_t from) noexcept
{
    const auto findEnding = [&entries, text](std::size_t at) {
        if (entries.ending == EEnding::Lf) {
            return text.find(Unit('\n'), at);
        }
        return entries.ending == EEnding::Cr ? text.find(Unit('\r'), at) : FindCrLf(text, at);
    };
    std::size_t end = std::min(findEnding(from), text.size());
    std::size_t at = from;
    while (entries.haveQuotes) {
        const std::size_t open = FindQuote(text.substr(at, end - at), 0);
        if (open == kNotFound<Unit>) {
            break;
        }
        const std::size_t close = FindQuote(text, at + open + 1);
        if (close == kNotFound<Unit>) {
            return text.size();
        }
        at = close + 1;
        if (end < at) {
            end = std::min(findEnding(at), text.size());
        }
    }
    return end;
}

/// Whether there is a "\r" at `from` or after it.
template <typename Unit>
bool HasReturn(const BlockText& block, Text<Unit> text, std::size_t from) noexcept
{
    if constexpr (sizeof(Unit) == 1) {
        // What was read with this block has been looked through.
        const bool hasCarried =
            from < block.freshBegin &&
            text.substr(from, block.freshBegin - from).find('\r') != kNotFound<Unit>;
        return hasCarried || block.survey.returns != 0;
    } else {
        return text.find(Unit('\r'), from) != kNotFound<Unit>;
    }
}

/// Number of quotes before `cutEnd`; those after it are kept for the next block.
template <typename Unit>
std::size_t CountLineQuotes(BlockText& block, Text<Unit> text, std::size_t cutEnd) noexcept
{
    if constexpr (sizeof(Unit) == 1) {
        const std::size_t all = block.carryQuotes + block.survey.quotes;
        block.carryQuotes = cutEnd == 0 ? all : CountQuotes(text.substr(cutEnd));
        return all - block.carryQuotes;
    } else {
        return CountQuotes(text.substr(0, cutEnd));
    }
}

template <typename Unit>
void CutText(BlockText& block,
             Text<Unit> text,
             bool isLast,
             const BlockWatcher& watcher,
             BlockEntries& entries)
{
    entries = BlockEntries();
    const std::size_t scanned = std::exchange(block.carryScanned, 0);
    std::size_t cutEnd = 0;
    // Rule: one block is cut by one kind of ending only.
    if (!HasReturn(block, text, scanned)) {
        const std::size_t last = FindLast(text.substr(scanned), Unit('\n'));
        if (last != kNotFound<Unit>) {
            entries.ending = EEnding::Lf;
            cutEnd = scanned + last + 1;
        }
    } else if (FindCrLf(text, scanned) != kNotFound<Unit>) {
        entries.ending = EEnding::CrLf;
        cutEnd = FindLastCrLf(text) + 2;
    } else if (text.find(Unit('\n'), scanned) != kNotFound<Unit>) {
        entries.ending = EEnding::Lf;
        cutEnd = FindLast(text, Unit('\n')) + 1;
    } else {
        entries.ending = EEnding::Cr;
        cutEnd = FindLast(text, Unit('\r')) + 1;
    }
    if (cutEnd == 0) {
        block.carryScanned = text.size();
    }
    block.carryBegin = cutEnd;
    if (watcher) {
        watcher(block.MakeView(0, text.size()), isLast ? text.size() : cutEnd);
    }

    const std::size_t quotes = CountLineQuotes(block, text, cutEnd);
    entries.haveQuotes = quotes > 0;
    entries.linesEnd = cutEnd;
    entries.linesTextEnd = cutEnd;
    const std::size_t endingSize = entries.ending == EEnding::CrLf ? 2 : 1;
    if (quotes % 2 != 0) {
        // Rule: the lines before the one that stays open are kept.
        std::size_t begin = 0;
        std::size_t end = FindLogicalEnd(entries, text.substr(0, cutEnd), begin);
        while (end < cutEnd) {
            begin = end + endingSize;
            end = FindLogicalEnd(entries, text.substr(0, cutEnd), begin);
        }
        entries.linesEnd = begin;
        entries.linesTextEnd = begin;
        throw Orvane::BFileContentNotValidException("AsciiFile::GetSafeLine",
                                                    "File contains an unmatched quote.");
    }
    if (isLast) {
        entries.hasFinalEmpty = true;
        entries.hasLastLine = cutEnd < text.size();
        entries.lastLineBegin = cutEnd;
        // Rule: only the file's last line loses its trailing white space.
        std::size_t end = text.size();
        while (end > cutEnd && IsTrimmedUnit(text[end - 1])) {
            --end;
        }
        entries.lastLineEnd = end;
        block.carryBegin = text.size();
        block.carryScanned = 0;
        block.carryQuotes = 0;
        return;
    }
    // Rule: empty lines at the end of a block that is not the last are dropped.
    std::size_t end = cutEnd;
    const auto endsWithEnding = [&entries, text](std::size_t at) {
        if (entries.ending == EEnding::CrLf) {
            return at >= 2 && text[at - 1] == Unit('\n') && text[at - 2] == Unit('\r');
        }
        return at >= 1 && text[at - 1] == Unit(entries.ending == EEnding::Lf ? '\n' : '\r');
    };
    while (endsWithEnding(end)) {
        end -= endingSize;
    }
    entries.linesEnd = end;
    entries.linesTextEnd = std::min(end + endingSize, cutEnd);
}

} // namespace

void Cut(BlockText& block, bool isLast, const BlockWatcher& watcher, BlockEntries& entries)
{
    if (block.unit == ETextUnit::Utf16) {
        CutText(block, Text<char16_t>(block.wide.Data(), block.size), isLast, watcher, entries);
    } else {
        CutText(block, Text<char>(block.bytes.Data(), block.size), isLast, watcher, entries);
    }
}

TextView NextLine(const BlockText& block, BlockEntries& entries) noexcept
{
    const std::size_t begin = entries.lineBegin;
    const std::size_t end =
        block.unit == ETextUnit::Utf16
            ? FindLogicalEnd(entries, Text<char16_t>(block.wide.Data(), entries.linesEnd), begin)
            : FindLogicalEnd(entries, Text<char>(block.bytes.Data(), entries.linesEnd), begin);
    const std::size_t endingSize = entries.ending == EEnding::CrLf ? 2 : 1;
    entries.lineBegin = std::min(end + endingSize, entries.linesEnd);
    return block.MakeView(begin, end);
}

void SkipBlankLines(const BlockText& block, BlockEntries& entries) noexcept
{
    const auto skip = [&entries](auto text) {
        using Unit = typename decltype(text)::value_type;
        const bool isCrLf = entries.ending == EEnding::CrLf;
        const Unit first = entries.ending == EEnding::Lf ? Unit('\n') : Unit('\r');
        std::size_t& at = entries.lineBegin;
        while (at < text.size() && text[at] == first &&
               (!isCrLf || (at + 1 < text.size() && text[at + 1] == Unit('\n')))) {
            at += isCrLf ? 2 : 1;
        }
        at = std::min(at, text.size());
    };
    if (block.unit == ETextUnit::Utf16) {
        skip(Text<char16_t>(block.wide.Data(), entries.linesEnd));
    } else {
        skip(Text<char>(block.bytes.Data(), entries.linesEnd));
    }
}

} // namespace AsciiReader::LineCutter
