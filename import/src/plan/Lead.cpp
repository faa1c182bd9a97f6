// A walk over lines, a piece of the text at a time.
#include "Lead.h"

#include "scan/FirstLines.h"
#include "values/FoldedCell.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace Orvane::Import {

namespace {

constexpr std::size_t kPiece = std::size_t{64} * 1024;
/// Fewer lines are a head like any other.
constexpr std::uint64_t kFewestLines = 100;
/// So many comments stay with the table.
constexpr std::size_t kKept = 3;
constexpr std::size_t kMostText = 4096;

struct LineStart
{
    std::uint64_t byte = 0;
    std::uint64_t line = 0; ///< how many lines are before it
};

/// Calls `look(line, start)` for the lines of a text, up to Lead::kMostBytes, until it returns
/// false. Of a line longer than a piece its end is looked at on its own.
template <typename Look>
void WalkLines(Scan::TextSource& source, Scan::ELineEnds lineEnds, const Look& look)
{
    const char lineEnd = lineEnds == Scan::ELineEnds::Returns ? '\r' : '\n';
    std::vector<char> buffer(kPiece);
    std::size_t size = 0;
    LineStart start;
    source.Rewind();
    while (start.byte <= Lead::kMostBytes) {
        const std::size_t got = source.Read(buffer.data() + size, buffer.size() - size);
        size += got;
        if (size == 0) {
            return;
        }
        const std::string_view text(buffer.data(), size);
        std::size_t at = 0;
        while (at < text.size()) {
            const std::size_t end = text.find(lineEnd, at);
            const bool isWhole = end != std::string_view::npos;
            if (!isWhole && got > 0 && at > 0) {
                break;
            }
            if (!look(text.substr(at, (isWhole ? end : text.size()) - at), start)) {
                return;
            }
            const std::size_t next = isWhole ? end + 1 : text.size();
            start.byte += next - at;
            start.line += isWhole ? 1U : 0U;
            at = next;
        }
        size -= at;
        std::copy(buffer.begin() + static_cast<std::ptrdiff_t>(at),
                  buffer.begin() + static_cast<std::ptrdiff_t>(at + size),
                  buffer.begin());
        if (got == 0) {
            return;
        }
    }
}

Lead MakeLead(const LineStart& start, Scan::ELineKind kind, const std::string& first)
{
    Lead lead;
    if (start.line >= kFewestLines) {
        lead = {start.byte, start.line, kind, first};
    }
    return lead;
}

} // namespace

Lead FindLeadingComments(Scan::TextSource& source, Scan::ELineEnds lineEnds)
{
    const std::vector<std::string> marks = {"#", "%", "!", "//"};
    std::array<LineStart, kKept> last{};
    std::size_t kept = 0;
    std::string first;
    std::string mark;
    bool isOver = false;
    WalkLines(source, lineEnds, [&](std::string_view line, const LineStart& start) {
        if (start.byte == 0) {
            mark = Scan::FindMark(line, marks);
            first = line.substr(0, kMostText);
            if (mark.empty()) {
                return false;
            }
        }
        const bool isBlank = Values::Trim(line).empty() || line == "\r";
        isOver = !isBlank && Scan::FindMark(line, {mark}).empty();
        last.at(kept % kKept) = start;
        kept += isOver ? 0U : 1U;
        return !isOver;
    });
    return isOver && kept >= kKept
               ? MakeLead(last.at((kept + 1) % kKept), Scan::ELineKind::Comment, first)
               : Lead{};
}

Lead FindLeadingText(Scan::TextSource& source,
                     Scan::ELineEnds lineEnds,
                     char separator,
                     std::size_t fields)
{
    constexpr std::uint64_t kSteady = 10;
    std::string first;
    LineStart begin;
    std::uint64_t steady = 0;
    WalkLines(source, lineEnds, [&](std::string_view line, const LineStart& start) {
        if (start.byte == 0) {
            first = line.substr(0, kMostText);
        }
        const auto count =
            static_cast<std::size_t>(std::count(line.begin(), line.end(), separator)) + 1;
        if (count != fields) {
            steady = 0;
            return true;
        }
        begin = steady == 0 ? start : begin;
        return ++steady < kSteady;
    });
    return steady == kSteady ? MakeLead(begin, Scan::ELineKind::Preamble, first) : Lead{};
}

void MoveAfter(const Lead& lead, Scan::TableHead& head)
{
    if (lead.lines == 0) {
        return;
    }
    for (Scan::HeadLine& line : head.lines) {
        line.line += lead.lines;
        line.byte += lead.bytes;
    }
    head.lines.insert(head.lines.begin(), {lead.kind, 1, lead.lines, 0});
    head.firstRow += lead.bytes;
    head.firstRowLine += lead.lines;
}

} // namespace Orvane::Import
