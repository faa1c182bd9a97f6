// Puts a report and its ledger into words.
#include "LedgerWords.h"

#include "LayerWords.h"
#include "TerminalText.h"

#include <Orvane/Import/Plan.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace OrvaneHost {

namespace {

using Orvane::Import::EPlanLines;
using Orvane::Import::ImportReport;
using Orvane::Import::Ledger;
using Orvane::Import::LedgerColumn;
using Orvane::Import::Plan;
using Orvane::Import::PlanFinding;
using Orvane::Import::PlanLines;

constexpr std::size_t kMostItems = 5;
constexpr std::size_t kNameCharacters = 40;

std::string FormatFixed(double value, int digits)
{
    std::array<char, 64> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%.*f", digits, value);
    return buffer.data();
}

std::string Count(std::uint64_t count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string Quoted(std::string_view text)
{
    return "'" + TerminalText::EscapeAndCut(text, kNameCharacters) + "'";
}

std::string Line(const char* label, const std::string& text)
{
    return TerminalText::Pad(label, 10) + text + "\n";
}

/// "a, b, c and 4 more"
std::string Join(const std::vector<std::string>& items)
{
    std::string text;
    for (std::size_t index = 0; index < std::min(items.size(), kMostItems); ++index) {
        text += (index == 0 ? "" : ", ") + items[index];
    }
    if (items.size() > kMostItems) {
        text += " and " + std::to_string(items.size() - kMostItems) + " more";
    }
    return text;
}

std::string NameOf(const LedgerColumn& column, std::size_t index)
{
    return column.name.empty() ? "column " + std::to_string(index) : Quoted(column.name);
}

/// "1198 lines: 1 of names, 1190 rows with a point, 7 rows without"
std::string DescribeLines(const Ledger& ledger, bool hasPoints)
{
    const auto& lines = ledger.lines;
    std::string text = Count(ledger.linesScanned, "line", "lines");
    const char* separator = ": ";
    const auto add = [&](std::uint64_t count, const std::string& words) {
        if (count > 0) {
            text += separator + std::to_string(count) + " " + words;
            separator = ", ";
        }
    };
    add(lines.names, "of names");
    add(lines.preamble, "before the names");
    add(lines.comments, lines.comments == 1 ? "comment" : "comments");
    if (hasPoints) {
        add(lines.points, lines.points == 1 ? "row with a point" : "rows with a point");
        add(lines.rowsWithoutPoint, lines.rowsWithoutPoint == 1 ? "row without" : "rows without");
    } else {
        const std::uint64_t rows = lines.points + lines.rowsWithoutPoint;
        add(rows, rows == 1 ? "row" : "rows");
    }
    add(lines.continuations, "inside quotes");
    add(lines.blanks, "blank");
    add(lines.repeatedNames, "of names again");
    add(lines.badRows, "of bad rows");
    add(lines.footers, "after the table");
    add(lines.furtherTables, "of further tables");
    return text;
}

/// "UTF-8, semicolon, 22 columns: 5 integer, 8 double, 9 text"
std::string DescribeShape(const Plan& plan, const Ledger& ledger)
{
    std::string text = plan.bytes.encoding.value;
    text += plan.bytes.hasMark ? " with a byte order mark, " : ", ";
    if (plan.bytes.compression.value != "none") {
        text += plan.bytes.compression.value + ", ";
    }
    text += TerminalText::Escape(Describe(plan.shape.separator.value)) + ", " +
            Count(ledger.columns.size(), "column", "columns");
    std::vector<std::pair<std::string, std::size_t>> types;
    for (const LedgerColumn& column : ledger.columns) {
        const auto found = std::find_if(types.begin(), types.end(), [&](const auto& type) {
            return type.first == column.type;
        });
        if (found == types.end()) {
            types.emplace_back(column.type, 1);
        } else {
            ++found->second;
        }
    }
    const char* separator = ": ";
    for (const auto& [type, count] : types) {
        text += separator + std::to_string(count) + " " + type;
        separator = ", ";
    }
    return text;
}

std::string DescribeNulls(const Ledger& ledger)
{
    std::vector<std::string> items;
    for (std::size_t index = 0; index < ledger.columns.size(); ++index) {
        const LedgerColumn& column = ledger.columns[index];
        if (column.GetNulls() == 0) {
            continue;
        }
        std::string text = std::to_string(column.GetNulls()) + " in " + NameOf(column, index);
        if (column.nullWords > 0) {
            text += " (" + std::to_string(column.nullWords);
            text += column.nullSpellings.empty() ? " by --null" : " written";
            for (const std::string& word : column.nullSpellings) {
                text += " " + Quoted(word);
            }
            text += ")";
        }
        items.push_back(std::move(text));
    }
    return Join(items);
}

std::string DescribePoints(const ImportReport& report)
{
    const auto name = [&](std::size_t index) {
        std::string text = "column " + std::to_string(index);
        if (report.columns.hasColumnNames && index < report.columns.names.size()) {
            text += " " + Quoted(report.columns.names[index].ToUtf8());
        }
        return text;
    };
    std::string text = "X " + name(*report.columns.x) + ", Y " + name(*report.columns.y);
    text += report.columns.z ? ", Z " + name(*report.columns.z) : "";
    const Plan& plan = *report.plan;
    text += ", " + std::string(NameOf(plan.coordinates.value.notation));
    text += "; " + (report.crs.empty() ? plan.coordinateSystem.value : report.crs);
    const bool isFound = report.crs == plan.coordinateSystem.value &&
                         !plan.coordinateSystem.evidence.empty() && !report.crs.empty();
    if (isFound) {
        text += " (" + plan.coordinateSystem.evidence.front().what + ")";
    }
    return TerminalText::Escape(text);
}

/// Lines after the rows, and tables that are not imported, with their places.
std::string DescribeLeftOut(const Plan& plan, EPlanLines kind)
{
    std::vector<std::string> items;
    for (const PlanLines& lines : plan.shape.lines) {
        if (lines.kind == kind) {
            items.push_back(lines.lineCount == 1
                                ? "line " + std::to_string(lines.firstLine)
                                : "lines " + std::to_string(lines.firstLine) + " to " +
                                      std::to_string(lines.firstLine + lines.lineCount - 1));
        }
    }
    return Join(items);
}

/// Findings that no other line says.
std::string DescribeFindings(const Plan& plan)
{
    constexpr std::string_view kSaid[] = {"short-row",
                                          "long-row",
                                          "trailing-separator",
                                          "comment-line",
                                          "repeated-names",
                                          "stray-quote",
                                          "unclosed-quote",
                                          "mixed-line-ends",
                                          "footer"};
    std::string text;
    std::size_t shown = 0;
    for (const PlanFinding& finding : plan.findings) {
        if (std::find(std::begin(kSaid), std::end(kSaid), finding.code) != std::end(kSaid) ||
            ++shown > kMostItems) {
            continue;
        }
        std::string words = TerminalText::Escape(finding.text);
        words += finding.count > 1 ? " " + std::to_string(finding.count) + " times" : "";
        if (!finding.places.empty() && finding.places.front().line > 0) {
            words += (finding.count > 1 ? ", first in line " : " Line ") +
                     std::to_string(finding.places.front().line);
        }
        text += Line(text.empty() ? "Note:" : "", words);
    }
    return text;
}

std::string DescribeBadRows(const Ledger& ledger)
{
    std::string text = std::to_string(ledger.badRows) + " (";
    const char* separator = "";
    for (const auto& [reason, count] : ledger.badRowsByReason) {
        text += separator + std::to_string(count) + " " + reason;
        separator = ", ";
    }
    text += "), line ";
    std::vector<std::string> lines;
    for (const auto& row : ledger.firstBadRows) {
        lines.push_back(std::to_string(row.line));
    }
    lines.resize(std::min(lines.size(), kMostItems));
    text += Join(lines);
    text += ledger.badRows > lines.size() ? " and so on" : "";
    if (!ledger.rejectedFile.empty()) {
        text += "; written to " + TerminalText::Escape(ledger.rejectedFile);
        text +=
            ledger.rejectedTable.empty() ? "" : " and to the table '" + ledger.rejectedTable + "'";
    } else {
        text += "; skipped";
    }
    return text;
}

} // namespace

std::string DescribeImport(const ImportReport& report)
{
    const Plan& plan = *report.plan;
    const Ledger& ledger = *report.ledger;
    const bool hasPoints = report.columns.x.has_value();
    std::string text = Line("Lines:", DescribeLines(ledger, hasPoints));
    text += Line("Text:", DescribeShape(plan, ledger));
    std::vector<std::string> kept;
    for (std::size_t index = 0; index < ledger.columns.size(); ++index) {
        const LedgerColumn& column = ledger.columns[index];
        if (!column.keptAsText.empty() && !plan.isAllText) {
            kept.push_back(NameOf(column, index) + " is text: " +
                           TerminalText::EscapeAndCut(std::string_view(column.keptAsText), 120));
        }
    }
    for (std::size_t index = 0; index < std::min(kept.size(), kMostItems); ++index) {
        text += Line(index == 0 ? "Kept:" : "", kept[index]);
    }
    if (kept.size() > kMostItems) {
        text += Line("", "and " + std::to_string(kept.size() - kMostItems) + " more");
    }
    const auto addIfAny = [&text](const char* label, const std::string& words) {
        text += words.empty() ? "" : Line(label, words);
    };
    addIfAny(plan.isAllText ? "Empty:" : "Nulls:", DescribeNulls(ledger));
    if (hasPoints) {
        text += Line("Points:", DescribePoints(report));
        text += Line("Extent:", DescribeExtent(ledger.extent));
        if (ledger.points < ledger.rows) {
            text += Line(
                "No point:",
                Count(ledger.rows - ledger.points, "row", "rows") +
                    (ledger.lineWithoutPoint > 0
                         ? (ledger.rows - ledger.points > 1 ? ", first in line " : ", line ") +
                               std::to_string(ledger.lineWithoutPoint)
                         : "") +
                    (ledger.outOfRange > 0 ? ", of these " + std::to_string(ledger.outOfRange) +
                                                 " with values that are no degrees"
                                           : ""));
        }
    }
    std::vector<std::string> odd;
    if (ledger.shortRows > 0) {
        odd.push_back(Count(ledger.shortRows, "row", "rows") + " with cells missing at the end");
    }
    if (ledger.trailingRows > 0) {
        odd.push_back(Count(ledger.trailingRows, "row", "rows") + " with empty cells too many");
    }
    if (ledger.repairedRows > 0) {
        odd.push_back(Count(ledger.repairedRows, "row", "rows") + " with quotes read as text");
    }
    addIfAny("Repaired:", Join(odd));
    if (ledger.badRows > 0) {
        text += Line("Bad rows:", DescribeBadRows(ledger));
    }
    addIfAny("Footer:", DescribeLeftOut(plan, EPlanLines::Footer));
    addIfAny("Left out:", DescribeLeftOut(plan, EPlanLines::FurtherTable));
    text += DescribeFindings(plan);
    text += Line("Written:",
                 TerminalText::Escape(report.out) + " (" + report.format + "), " +
                     Count(ledger.rowsWritten, "row", "rows") +
                     (hasPoints ? ", " + Count(ledger.pointsWritten, "point", "points") : ""));
    text += Line("Time:", DescribeTimes(report, plan.path));
    return text;
}

std::string DescribeImbalances(const ImportReport& report)
{
    if (!report.ledger || report.ledger->imbalances.empty()) {
        return {};
    }
    constexpr std::size_t kMostLines = 20;
    const std::vector<std::string>& list = report.ledger->imbalances;
    std::string text = "orvane: " + TerminalText::Escape(report.out) +
                       " is written, but it is not all of the file:";
    for (std::size_t index = 0; index < std::min(list.size(), kMostLines); ++index) {
        text += "\n  " + TerminalText::Escape(list[index]) + ".";
    }
    if (list.size() > kMostLines) {
        text += "\n  and " + std::to_string(list.size() - kMostLines) + " more; --json has all";
    }
    return text;
}

std::string DescribeTimes(const ImportReport& report, const std::string& file)
{
    std::error_code error;
    const std::uintmax_t bytes = std::filesystem::file_size(file, error);
    const double megabytes = error ? 0 : static_cast<double>(bytes) / 1e6;
    const double seconds = report.planSeconds + report.readSeconds + report.writeSeconds;
    const auto rate = [&](double time) {
        return FormatFixed(time > 0 ? megabytes / time : 0, 1) + " MB/s";
    };
    return FormatFixed(seconds, 3) + " s, " + rate(seconds) + " (" +
           (report.plan ? "planning " + FormatFixed(report.planSeconds, 3) + " s, " : "") +
           "reading " + FormatFixed(report.readSeconds, 3) + " s, " + rate(report.readSeconds) +
           "; writing " + FormatFixed(report.writeSeconds, 3) + " s)";
}

} // namespace OrvaneHost
