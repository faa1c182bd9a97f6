// Records of a text's head, with copies of their cells.
#include "HeadRecords.h"

#include "../values/Cell.h"
#include "../values/FoldedCell.h"
#include "FirstLines.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

namespace {

using Values::ECell;

/// Whether a cell is a number with a whole part past 90, as no latitude is.
bool IsPast90(std::string_view cell)
{
    constexpr long kMost = 90;
    long whole = 0;
    std::size_t digits = 0;
    cell = Values::Trim(cell);
    for (const char unit : cell.substr(cell.starts_with('-') ? 1 : 0)) {
        if (!Values::IsDigit(unit)) {
            break;
        }
        whole = std::min(whole * 10 + (unit - '0'), kMost + 1);
        ++digits;
    }
    return digits > 0 && whole > kMost;
}

} // namespace

std::vector<HeadRecord>
CutHead(std::string_view text, const Candidate& candidate, const ShapeRequest& request)
{
    RecordCutter cutter(candidate.dialect);
    Record record;
    std::vector<HeadRecord> head;
    std::uint64_t line = 1;
    std::size_t at = 0;
    std::size_t cells = 0;
    while (at < text.size() && head.size() < kHeadRecords && cells < 1000000 &&
           cutter.Cut(text, at, request.isWhole, candidate.fields, record)) {
        HeadRecord& item = head.emplace_back();
        for (const Field& field : record.fields) {
            item.cells.emplace_back(field.In(text));
            item.isQuoted.push_back(field.isQuoted);
        }
        cells += item.cells.size();
        item.byte = record.begin;
        item.next = record.next;
        item.line = line;
        item.lines = record.lines;
        item.isBlank = record.isBlank;
        item.isRepaired = (record.repair != ERepair::None && record.repair != ERepair::Loose) ||
                          record.strays > 0;
        item.text = FirstLine(text.substr(record.begin, record.next - record.begin));
        line += record.lines;
        at = record.next;
    }
    return head;
}

std::vector<SampleColumn>
SampleColumns(const std::vector<HeadRecord>& head, std::size_t from, std::size_t columns)
{
    std::vector<SampleColumn> samples(columns);
    for (std::size_t row = from; row < head.size(); ++row) {
        const bool isAgain = from > 0 && columns > 1 && head[row].cells == head[from - 1].cells;
        if (head[row].cells.size() != columns || isAgain) {
            continue;
        }
        for (std::size_t column = 0; column < columns; ++column) {
            const std::string& cell = head[row].cells[column];
            const ECell kind = head[row].Kind(column).cell;
            if (kind == ECell::Empty || kind == ECell::NullWord) {
                continue;
            }
            SampleColumn& sample = samples[column];
            ++sample.values;
            sample.texts += kind == ECell::Text ? 1U : 0U;
            sample.isPast90 = sample.isPast90 || IsPast90(cell);
            sample.booleans += kind == ECell::Boolean ? 1U : 0U;
            sample.quoted += head[row].isQuoted[column] ? 1U : 0U;
            sample.withDigits += std::any_of(cell.begin(), cell.end(), Values::IsDigit) ? 1U : 0U;
            if (sample.distinct.size() < kMostDistinct) {
                sample.distinct.insert(cell);
            }
        }
    }
    for (SampleColumn& sample : samples) {
        // One odd cell in ten is a counter-example, not another kind of column.
        sample.isTyped = sample.values > 0 && sample.texts * 10 <= sample.values;
    }
    return samples;
}

std::vector<std::string> TrimCells(const HeadRecord& record)
{
    std::vector<std::string> cells;
    for (const std::string& cell : record.cells) {
        cells.emplace_back(Values::Trim(cell));
    }
    return cells;
}

std::size_t CountFilled(const HeadRecord& record)
{
    return static_cast<std::size_t>(
        std::count_if(record.cells.begin(), record.cells.end(), [](const std::string& cell) {
            return !Values::Trim(cell).empty();
        }));
}

bool AreWords(const std::vector<std::string>& cells)
{
    std::set<std::string_view> seen;
    for (const std::string& cell : cells) {
        if (Values::Trim(cell).empty()) {
            continue;
        }
        if (Values::ReadCell(cell).cell != ECell::Text || !seen.insert(cell).second) {
            return false;
        }
    }
    return seen.size() >= 3;
}

} // namespace Orvane::Import::Scan
