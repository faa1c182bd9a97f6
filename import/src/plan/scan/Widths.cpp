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

/// Drops the ends of columns that a line of names contradicts: a column without a name over it is
/// part of the text before it.
///
/// Rule: names tell columns only where each of them begins or ends with a column.
/// @param isUsed which columns of characters the rows use
void KeepColumnsOfNames(std::string_view names,
                        const std::vector<std::string_view>& rows,
                        const std::vector<bool>& isUsed,
                        bool isUtf8,
                        std::vector<std::uint32_t>& ends)
{
    std::vector<bool> isName; ///< which columns of characters the names use
    for (const char unit : names) {
        if (!isUtf8 || (static_cast<unsigned char>(unit) & 0xC0U) != 0x80U) {
            isName.push_back(unit != ' ');
        }
    }
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
        const std::size_t stop = index < ends.size() ? ends[index] : isUsed.size();
        while (from < stop && !isUsed[from]) {
            ++from;
        }
        begins.push_back(from);
        stops.push_back(stop);
        from = stop;
    }
    const auto has = [](const std::vector<std::size_t>& list, std::size_t column) {
        return std::find(list.begin(), list.end(), column) != list.end();
    };
    std::size_t count = 0;
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
        if (!has(begins, at) && !has(stops, end)) {
            return;
        }
        at = end;
        ++count;
    }
    if (count < 2) {
        return;
    }
    // Numbers before a column are no text that goes on in it.
    const auto isText = [&](std::size_t index) {
        const std::size_t begin = index == 0 ? 0 : ends[index - 1];
        return std::any_of(rows.begin(), rows.end(), [&](std::string_view row) {
            const std::string_view cell = CutCharacters(row, begin, ends[index] - begin, isUtf8);
            return Values::ReadCell(cell).cell == ECell::Text;
        });
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
    ends = std::move(kept);
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
    // Names and dashes need not keep to the columns of the rows.
    const std::size_t skipped = std::min<std::size_t>(lines.size() / 10, 2);
    std::vector<bool> isUsed;
    std::size_t shortest = kMostWidth;
    for (std::size_t index = skipped; index < lines.size(); ++index) {
        std::size_t column = 0;
        std::size_t last = 0;
        for (const char unit : lines[index]) {
            if (request.isUtf8 && (static_cast<unsigned char>(unit) & 0xC0U) == 0x80U) {
                continue;
            }
            if (column == kMostWidth || unit == '\t') {
                return {};
            }
            isUsed.resize(std::max(isUsed.size(), column + 1));
            if (unit != ' ') {
                isUsed[column] = true;
                last = column + 1;
            }
            ++column;
        }
        shortest = std::min(shortest, last);
    }
    std::vector<std::uint32_t> ends;
    for (std::size_t column = 1; column + 1 < isUsed.size(); ++column) {
        // Past the shortest line blanks may be texts that end early.
        if (isUsed[column - 1] && !isUsed[column] && column < shortest) {
            ends.push_back(static_cast<std::uint32_t>(column));
        }
    }
    if (skipped > 0) {
        KeepColumnsOfNames(
            lines.front(), {lines.begin() + 1, lines.end()}, isUsed, request.isUtf8, ends);
    }
    const auto padded = std::count_if(lines.begin(), lines.end(), [](std::string_view line) {
        return line.find("  ") != std::string_view::npos;
    });
    // Rule: cells that are filled up to a width leave runs of blanks in nearly every line.
    const bool isPadded = static_cast<std::size_t>(padded) * 10 >= lines.size() * 8;
    return lines.size() < 3 || !isPadded ? std::vector<std::uint32_t>{} : ends;
}

} // namespace Orvane::Import::Scan
