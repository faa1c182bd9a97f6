// Columns of fixed widths: where all lines have blanks.
#include "../values/Cell.h"
#include "FirstLines.h"
#include "HeadRecords.h"
#include "Shape.h"
#include "Trial.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Orvane::Import::Scan {

namespace {

using Values::ECell;

/// Some characters of a line.
std::string_view
CutCharacters(std::string_view line, std::size_t from, std::size_t count, bool isUtf8)
{
    const auto skip = [&](std::size_t at, std::size_t characters) {
        for (; characters > 0 && at < line.size(); --characters) {
            ++at;
            while (isUtf8 && at < line.size() &&
                   (static_cast<unsigned char>(line[at]) & 0xC0U) == 0x80U) {
                ++at;
            }
        }
        return at;
    };
    const std::size_t begin = skip(0, from);
    return line.substr(begin, skip(begin, count) - begin);
}

/// Which columns of characters a line uses.
std::vector<bool> FindUse(std::string_view line, bool isUtf8)
{
    std::vector<bool> isUsed;
    for (const char unit : line) {
        if (!isUtf8 || (static_cast<unsigned char>(unit) & 0xC0U) != 0x80U) {
            isUsed.push_back(unit != ' ');
        }
    }
    while (!isUsed.empty() && !isUsed.back()) {
        isUsed.pop_back();
    }
    return isUsed;
}

std::vector<std::size_t> CountUses(const std::vector<std::vector<bool>>& uses)
{
    std::vector<std::size_t> counts;
    for (const std::vector<bool>& isUsed : uses) {
        counts.resize(std::max(counts.size(), isUsed.size()));
        for (std::size_t column = 0; column < isUsed.size(); ++column) {
            counts[column] += isUsed[column] ? 1U : 0U;
        }
    }
    return counts;
}

/// So many lines may stand otherwise than all others.
std::size_t CountStrays(std::size_t lines) noexcept
{
    return lines < 20 ? 0 : std::max<std::size_t>(lines / 50, 2);
}

/// The length of the shortest line but for strays.
std::size_t FindShortest(const std::vector<std::vector<bool>>& uses)
{
    std::vector<std::size_t> sizes;
    sizes.reserve(uses.size());
    for (const std::vector<bool>& isUsed : uses) {
        sizes.push_back(isUsed.size());
    }
    std::sort(sizes.begin(), sizes.end());
    return sizes.empty() ? 0 : sizes[CountStrays(sizes.size())];
}

/// Where columns end: blanks after what lines use, in all lines but a few.
/// @param shortest past the shortest line blanks may be texts that end early
std::vector<std::uint32_t>
FindGutters(const std::vector<std::size_t>& counts, std::size_t few, std::size_t shortest)
{
    std::vector<std::uint32_t> ends;
    for (std::size_t column = 1; column + 1 < counts.size() && column < shortest; ++column) {
        if (counts[column - 1] > few && counts[column] <= few) {
            ends.push_back(static_cast<std::uint32_t>(column));
        }
    }
    return ends;
}

/// Drops lines that stand otherwise than all others, as one that a stray character moves.
///
/// Rule: such a line has texts across the ends of two columns or more, or of one that holds numbers
/// alone, or begins one where all others have a blank, or leaves no blank where all others have two
/// or more; a longer text is across one end and leaves blanks after it.
void DropStrays(const std::vector<std::string_view>& lines,
                bool isUtf8,
                std::vector<std::vector<bool>>& uses)
{
    const std::size_t most = CountStrays(uses.size());
    const std::vector<std::size_t> counts = CountUses(uses);
    const std::vector<std::uint32_t> ends = FindGutters(counts, most, FindShortest(uses));
    std::vector<std::size_t> wide;   ///< columns of characters between columns, none of them blank
    std::vector<std::size_t> narrow; ///< the same where there is one
    for (const std::uint32_t end : ends) {
        std::size_t next = end;
        while (next < counts.size() && counts[next] > 0 && counts[next] <= most) {
            ++next;
        }
        const bool isFilled = next > end && (next == counts.size() || counts[next] > most);
        for (std::size_t column = end; isFilled && column < next; ++column) {
            (next > end + std::size_t{1} ? wide : narrow).push_back(column);
        }
    }
    const auto isAcross = [](const std::vector<bool>& isUsed, std::uint32_t end) {
        return end < isUsed.size() && isUsed[end - 1] && isUsed[end];
    };
    std::vector<std::uint32_t> endsOfNumbers; ///< that some lines are across
    for (std::size_t index = 0; index < ends.size(); ++index) {
        const std::uint32_t end = ends[index];
        const std::uint32_t begin = index == 0 ? 0 : ends[index - 1];
        std::size_t texts = counts[end] > 0 ? 0 : most + 1;
        for (std::size_t line = 0; texts <= most && line < lines.size(); ++line) {
            const std::string_view cell = CutCharacters(lines[line], begin, end - begin, isUtf8);
            const ECell kind = Values::ReadCell(cell).cell;
            const bool isText = kind == ECell::Text || kind == ECell::Boolean;
            texts += isText && !isAcross(uses[line], end) ? 1U : 0U;
        }
        if (texts <= most) {
            endsOfNumbers.push_back(end);
        }
    }
    const auto isStray = [&](const std::vector<bool>& isUsed) {
        const auto isAcrossIt = [&](std::uint32_t end) { return isAcross(isUsed, end); };
        const auto isIn = [&](std::size_t column) {
            return column < isUsed.size() && isUsed[column];
        };
        const auto isBefore = [&](std::size_t column) {
            return isIn(column) && !isUsed[column - 1];
        };
        return std::count_if(ends.begin(), ends.end(), isAcrossIt) >= 2 ||
               std::any_of(endsOfNumbers.begin(), endsOfNumbers.end(), isAcrossIt) ||
               std::any_of(wide.begin(), wide.end(), isIn) ||
               std::any_of(narrow.begin(), narrow.end(), isBefore);
    };
    const auto strays = static_cast<std::size_t>(std::count_if(uses.begin(), uses.end(), isStray));
    if (strays <= most) {
        uses.erase(std::remove_if(uses.begin(), uses.end(), isStray), uses.end());
    }
}

/// Whether each column has one name, which stands over it and the blanks beside it alone.
/// @param ends where columns end, all but the last
/// @param uses how many rows use each column of characters
bool HaveOneNameEach(const std::vector<std::uint32_t>& ends,
                     const std::vector<std::size_t>& uses,
                     const std::vector<std::pair<std::size_t, std::size_t>>& spans)
{
    bool isEach = spans.size() == ends.size() + 1;
    for (std::size_t index = 0; isEach && index < spans.size(); ++index) {
        std::size_t next = index < ends.size() ? ends[index] : spans[index].second;
        while (index < ends.size() && next < uses.size() && uses[next] == 0) {
            ++next;
        }
        isEach =
            (index == 0 || spans[index].first >= ends[index - 1]) && spans[index].second <= next;
    }
    return isEach;
}

/// Drops the ends of columns that a line of names contradicts: a column without a name over it is
/// part of the text before it.
///
/// Rule: names tell columns only where each of them begins or ends with a column, or stands over
/// one of its own when that is done.
/// @param uses how many rows use each column of characters
void KeepColumnsOfNames(std::string_view names,
                        const std::vector<std::string_view>& rows,
                        const std::vector<std::size_t>& uses,
                        bool isUtf8,
                        std::vector<std::uint32_t>& ends)
{
    const std::vector<bool> isName = FindUse(names, isUtf8);
    const auto hasName = [&](std::size_t from, std::size_t to) {
        const auto at = [&](std::size_t column) {
            return isName.begin() + static_cast<std::ptrdiff_t>(std::min(column, isName.size()));
        };
        return std::find(at(from), at(to), true) != at(to);
    };
    // Where columns begin, and where their texts end.
    std::vector<std::size_t> begins;
    std::vector<std::size_t> stops;
    std::size_t from = 0;
    for (std::size_t index = 0; index <= ends.size(); ++index) {
        const std::size_t stop = index < ends.size() ? ends[index] : uses.size();
        while (from < stop && uses[from] == 0) {
            ++from;
        }
        begins.push_back(from);
        stops.push_back(stop);
        from = stop;
    }
    const auto has = [](const std::vector<std::size_t>& list, std::size_t column) {
        return std::find(list.begin(), list.end(), column) != list.end();
    };
    bool areAligned = true;
    std::vector<std::pair<std::size_t, std::size_t>> spans; ///< where names begin and end
    for (std::size_t at = 0; at < isName.size();) {
        if (!isName[at]) {
            ++at;
            continue;
        }
        // A name may hold a blank.
        std::size_t end = at;
        while (end < isName.size() &&
               (isName[end] || (end + 1 < isName.size() && isName[end + 1]))) {
            ++end;
        }
        areAligned = areAligned && (has(begins, at) || has(stops, end));
        spans.emplace_back(at, end);
        at = end;
    }
    if (spans.size() < 2) {
        return;
    }
    // Numbers before a column are no text that goes on in it.
    const auto isText = [&](std::size_t index) {
        const std::size_t begin = index == 0 ? 0 : ends[index - 1];
        const auto texts = std::count_if(rows.begin(), rows.end(), [&](std::string_view row) {
            const std::string_view cell = CutCharacters(row, begin, ends[index] - begin, isUtf8);
            return Values::ReadCell(cell).cell == ECell::Text;
        });
        return static_cast<std::size_t>(texts) > CountStrays(rows.size());
    };
    std::vector<std::uint32_t> kept;
    for (std::size_t index = 0; index < ends.size(); ++index) {
        const std::size_t end = ends[index];
        const bool isThroughName = end > 0 && end < isName.size() && isName[end - 1] && isName[end];
        const std::size_t next = index + 1 < ends.size() ? ends[index + 1] : isName.size();
        if ((!isThroughName && hasName(end, next)) || !isText(index)) {
            kept.push_back(ends[index]);
        }
    }
    if (areAligned || HaveOneNameEach(kept, uses, spans)) {
        ends = std::move(kept);
    }
}

} // namespace

std::vector<std::uint32_t> FindWidths(std::string_view text, const ShapeRequest& request)
{
    constexpr std::size_t kMostWidth = 4096;
    Dialect dialect = Base(request);
    dialect.quote = 0;
    RecordCutter cutter(dialect);
    Record record;
    std::vector<std::string_view> lines;
    std::size_t at = 0;
    while (at < text.size() && lines.size() < kHeadRecords &&
           cutter.Cut(text, at, request.isWhole, 0, record)) {
        at = record.next;
        if (!record.isBlank && !IsComment(record.Cell(text, 0))) {
            lines.push_back(record.Cell(text, 0));
        }
    }
    // Rule: a last line without an ending may have been cut.
    constexpr std::size_t kFewestLines = 4;
    if (request.isWhole && !record.isEnded && lines.size() > kFewestLines) {
        lines.pop_back();
    }
    // Names and dashes need not keep to the columns of the rows.
    const std::size_t skipped = std::min<std::size_t>(lines.size() / 10, 2);
    std::vector<std::vector<bool>> uses;
    for (std::size_t index = skipped; index < lines.size(); ++index) {
        uses.push_back(FindUse(lines[index], request.isUtf8));
        if (uses.back().size() > kMostWidth || lines[index].find('\t') != std::string_view::npos) {
            return {};
        }
    }
    DropStrays(
        {lines.begin() + static_cast<std::ptrdiff_t>(skipped), lines.end()}, request.isUtf8, uses);
    std::vector<std::size_t> counts = CountUses(uses);
    std::vector<std::uint32_t> ends = FindGutters(counts, 0, FindShortest(uses));
    if (skipped > 0) {
        KeepColumnsOfNames(
            lines.front(), {lines.begin() + 1, lines.end()}, counts, request.isUtf8, ends);
    }
    const auto padded = std::count_if(lines.begin(), lines.end(), [](std::string_view line) {
        return line.find("  ") != std::string_view::npos;
    });
    // Rule: cells that are filled up to a width leave runs of blanks in nearly every line.
    const bool isPadded = static_cast<std::size_t>(padded) * 10 >= lines.size() * 8;
    return lines.size() < 3 || !isPadded ? std::vector<std::uint32_t>{} : ends;
}

} // namespace Orvane::Import::Scan
