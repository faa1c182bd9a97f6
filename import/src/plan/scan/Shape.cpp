// Dialects that a text suggests, tried on its first records.
#include "Shape.h"

#include "../values/Cell.h"
#include "../values/FoldedCell.h"
#include "FirstLines.h"
#include "Trial.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Orvane::Import::Scan {

namespace {

using Values::ECell;

constexpr std::size_t kTrialBytes = std::size_t{64} * 1024;

bool IsAlphanumeric(char unit) noexcept
{
    return Values::IsDigit(unit) || Values::IsLetter(unit) || static_cast<signed char>(unit) < 0;
}

/// Quotes at the front of fields whose closing counterpart stands before a separator.
bool HasQuotes(std::string_view text, char quote) noexcept
{
    std::size_t count = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        count += text[at] == quote && (at == 0 || !IsAlphanumeric(text[at - 1])) ? 1U : 0U;
    }
    return count > 1;
}

std::vector<char> FindSeparators(std::string_view text)
{
    std::array<std::size_t, 128> counts{};
    for (const char unit : text) {
        const auto code = static_cast<unsigned char>(unit);
        if (code < counts.size()) {
            ++counts[code];
        }
    }
    std::vector<std::pair<std::size_t, char>> found;
    for (std::size_t code = 1; code < counts.size(); ++code) {
        const char unit = static_cast<char>(code);
        const bool isPossible = !IsAlphanumeric(unit) && unit != '\n' && unit != '\r' &&
                                unit != '"' && unit != '\'' && unit != '\\' && unit != '\x1A' &&
                                unit != '(' && unit != ')' && unit != '[' && unit != ']' &&
                                unit != '-' && unit != '+' && unit != '.';
        if (isPossible && counts[code] > 0) {
            found.emplace_back(counts[code], unit);
        }
    }
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
        return a.first != b.first ? a.first > b.first : a.second < b.second;
    });
    std::vector<char> separators;
    for (const char usual : {',', ';', '\t', '|', ' '}) {
        if (counts[static_cast<unsigned char>(usual)] > 0) {
            separators.push_back(usual);
        }
    }
    for (const auto& [count, unit] : found) {
        if (separators.size() < 12 &&
            std::find(separators.begin(), separators.end(), unit) == separators.end()) {
            separators.push_back(unit);
        }
    }
    return separators;
}

/// Whether blanks stand between a separator and a quote.
bool HasQuoteAfterBlanks(std::string_view text, char separator) noexcept
{
    for (std::size_t at = text.find(separator); at != std::string_view::npos;
         at = text.find(separator, at)) {
        const std::size_t first = ++at;
        while (at < text.size() && text[at] == ' ') {
            ++at;
        }
        if (at > first && at < text.size() && text[at] == '"') {
            return true;
        }
    }
    return false;
}

/// A record of a trial with its text.
struct TrialRecord
{
    std::vector<std::string_view> cells;
    std::vector<bool> isQuoted;
};

/// How many columns from one side tell their cells apart: by a type, by characters that every cell
/// has, by quotes, or by being empty.
/// @param rows the first of them holds names
std::size_t CountTellingColumns(const std::vector<TrialRecord>& rows, bool isFromRight)
{
    const std::size_t columns = rows.front().cells.size();
    for (std::size_t column = 0; column < columns; ++column) {
        CellForm form;
        bool areQuoted = true;
        for (std::size_t row = 1; row < rows.size(); ++row) {
            const std::size_t index = isFromRight ? rows[row].cells.size() - 1 - column : column;
            const std::string_view cell = rows[row].cells[index];
            form.Add(cell, KindOf(cell));
            areQuoted = areQuoted && rows[row].isQuoted[index];
        }
        if (!areQuoted && !form.IsTelling() && form.empties < form.cells) {
            return column;
        }
    }
    return columns;
}

/// The column that holds the separator without quotes: names stand in the first record, and the
/// columns on both sides of one tell their cells apart in all rows.
///
/// Rule: what a row has more belongs to one column only where all the others are beyond doubt.
/// @return its candidate; none otherwise
std::optional<Candidate> TryLoose(std::string_view text, const Candidate& plain, bool isWhole)
{
    constexpr std::size_t kFewestRows = 4;
    constexpr std::size_t kFewestColumns = 3;
    RecordCutter cutter(plain.dialect);
    Record record;
    std::vector<TrialRecord> rows;
    std::size_t longer = 0;
    std::size_t shorter = 0;
    std::size_t at = 0;
    while (at < text.size() && rows.size() < kTrialRecords &&
           cutter.Cut(text, at, isWhole, 0, record)) {
        at = record.next;
        if (record.isBlank) {
            continue;
        }
        const std::size_t columns = rows.empty() ? record.fields.size() : rows[0].cells.size();
        longer += record.fields.size() > columns ? 1U : 0U;
        if (record.fields.size() < columns || record.strays + record.unclosed > 0) {
            ++shorter;
            continue;
        }
        TrialRecord& row = rows.emplace_back();
        for (std::size_t index = 0; index < record.fields.size(); ++index) {
            row.cells.push_back(record.Cell(text, index));
            row.isQuoted.push_back(record.fields[index].isQuoted);
        }
    }
    if (rows.size() < kFewestRows || longer < 2 || rows[0].cells.size() < kFewestColumns ||
        longer * 10 < rows.size() || shorter * 10 > rows.size() ||
        !std::all_of(rows[0].cells.begin(), rows[0].cells.end(), [](std::string_view name) {
            return Values::ReadCell(name).cell == ECell::Text;
        })) {
        return std::nullopt;
    }
    const std::size_t columns = rows[0].cells.size();
    const std::size_t left = CountTellingColumns(rows, false);
    if (left >= columns || left + CountTellingColumns(rows, true) + 1 != columns) {
        return std::nullopt;
    }
    // Rule: a comma or the like in a text has a blank after it, in all rows.
    const bool isBlank =
        plain.dialect.separation == ESeparation::Blanks || plain.dialect.separator == ' ';
    const auto isText = [&](const TrialRecord& row) {
        const std::size_t surplus = row.cells.size() - columns;
        const auto* first = row.cells.data() + left + 1;
        return std::all_of(
            first, first + surplus, [](std::string_view cell) { return cell.starts_with(' '); });
    };
    if (!isBlank && !std::all_of(rows.begin(), rows.end(), isText)) {
        return std::nullopt;
    }
    Candidate loose = plain;
    loose.dialect.looseColumn = left;
    loose.fields = columns;
    loose.support = static_cast<double>(rows.size()) / static_cast<double>(rows.size() + shorter);
    // Fixed widths explain runs of blanks better.
    loose.support *= plain.dialect.separation == ESeparation::Blanks ? 0.8 : 0.95;
    loose.hasShortRows = false;
    double typed = 0;
    std::size_t cells = 0;
    for (const TrialRecord& row : rows) {
        const std::size_t surplus = row.cells.size() - columns;
        for (std::size_t index = 0; index < columns; ++index) {
            const std::size_t from = index > left ? index + surplus : index;
            typed += index == left ? 0.8 : WeightOf(row.cells[from], loose.dialect.separator);
            ++cells;
        }
    }
    loose.typed = typed / static_cast<double>(cells);
    return loose;
}

/// Rule: where blanks cut rows into more cells than the first line, and fixed widths into as many
/// as that has, a text of words in all rows is one cell.
void PreferWidthsOfNames(std::vector<Candidate>& candidates)
{
    const auto find = [&](ESeparation separation) {
        return std::find_if(candidates.begin(), candidates.end(), [&](const Candidate& candidate) {
            return candidate.dialect.separation == separation;
        });
    };
    const auto widths = find(ESeparation::Widths);
    const auto blanks = find(ESeparation::Blanks);
    if (widths != candidates.end() && blanks != candidates.end() &&
        blanks->first < blanks->fields && widths->fields == blanks->first) {
        widths->score = std::max(widths->score, blanks->score * 1.01);
    }
}

void TryQuotes(std::string_view text,
               Dialect dialect,
               bool isWhole,
               std::vector<Candidate>& candidates)
{
    // Rule: a quote that opens no field, or that nothing closes, is text, so that `"` needs no
    // rival without quotes.
    dialect.quote = '"';
    Candidate plain = Try(text, dialect, isWhole);
    if (text.find("\\\"") != std::string_view::npos) {
        dialect.hasBackslashes = true;
        Candidate escaped = Try(text, dialect, isWhole);
        dialect.hasBackslashes = false;
        if (escaped.support > plain.support ||
            (escaped.support >= plain.support * 0.99 && escaped.strays < plain.strays)) {
            plain = escaped;
        }
    }
    if (dialect.separation == ESeparation::Character && dialect.separator != ' ' &&
        !dialect.skipsBlanks && HasQuoteAfterBlanks(text, dialect.separator)) {
        Dialect open = plain.dialect;
        open.opensAfterBlanks = true;
        const Candidate other = Try(text, open, isWhole);
        if (other.openers > plain.openers && other.strays < plain.strays &&
            other.support >= plain.support) {
            plain = other;
        }
    }
    if (HasQuotes(text, '\'')) {
        dialect.quote = '\'';
        const Candidate other = Try(text, dialect, isWhole);
        // Rule: an apostrophe quotes only where it opens and closes again and again.
        if (other.openers >= 3 && other.openers > plain.openers && other.support >= plain.support) {
            candidates.push_back(other);
        }
    }
    candidates.push_back(plain);
    constexpr double kEven = 0.9;
    if (plain.support < kEven) {
        if (std::optional<Candidate> loose = TryLoose(text, plain, isWhole)) {
            candidates.push_back(std::move(*loose));
        }
    }
}

/// Rule: where runs of blanks cut all rows under a text alike, fixed widths that cut the text as
/// well say nothing more.
void PreferBlanksUnderText(std::vector<Candidate>& candidates)
{
    for (const Candidate& blanks : candidates) {
        if (blanks.dialect.separation != ESeparation::Blanks || !blanks.isEvenUnderText) {
            continue;
        }
        for (Candidate& widths : candidates) {
            if (widths.dialect.separation == ESeparation::Widths &&
                widths.fields <= blanks.fields) {
                widths.score = std::min(widths.score, blanks.score * 0.99);
            }
        }
    }
}

/// A trial needs some whole lines, however long they are.
std::size_t FindTrialSize(std::string_view text) noexcept
{
    constexpr int kFewestLines = 4;
    std::size_t at = 0;
    for (int line = 0; line < kFewestLines && at < text.size(); ++line) {
        at = std::min(text.find_first_of("\r\n", at), text.size() - 1) + 1;
    }
    return std::min(std::max(at, kTrialBytes), text.size());
}

} // namespace

std::vector<Candidate> FindDialects(std::string_view text, const ShapeRequest& request)
{
    for (std::uint64_t line = 0; line < request.skippedLines && !text.empty(); ++line) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size() - 1);
        const bool isPair = text.substr(end, 2) == "\r\n";
        text.remove_prefix(end + (isPair ? 2 : 1));
    }
    const std::size_t size = FindTrialSize(text);
    const bool isCut = text.size() > size;
    const std::string_view trial = text.substr(0, size);
    const bool isWhole = request.isWhole && !isCut;
    std::vector<Candidate> candidates;
    if (request.hasGivenDialect) {
        candidates.push_back(Try(trial, request.given, isWhole));
        candidates.back().score = 1;
        return candidates;
    }
    Dialect dialect = Base(request);
    const char stated = FindStatement(trial);
    if (stated != 0) {
        dialect.separation = ESeparation::Character;
        dialect.separator = stated;
        TryQuotes(trial, dialect, isWhole, candidates);
        for (Candidate& candidate : candidates) {
            candidate.score = 1 + candidate.support;
        }
        return candidates;
    }
    dialect.separation = ESeparation::Character;
    for (const char separator : FindSeparators(trial)) {
        dialect.separator = separator;
        TryQuotes(trial, dialect, isWhole, candidates);
        if (separator != ' ' && separator != '\t') {
            dialect.skipsBlanks = true;
            const std::string pattern = std::string(1, separator) + " ";
            std::size_t with = 0;
            std::size_t all = 0;
            for (std::size_t at = 0; (at = trial.find(separator, at)) != std::string_view::npos;
                 ++at) {
                ++all;
                with += at + 1 < trial.size() && trial[at + 1] == ' ' ? 1U : 0U;
            }
            // Most of the blanks go with the separator: the pair separates.
            if (with * 10 >= all * 8 && all > 0) {
                const std::size_t first = candidates.size();
                TryQuotes(trial, dialect, isWhole, candidates);
                for (std::size_t i = first; i < candidates.size(); ++i) {
                    candidates[i].support *= 1.01;
                }
            }
            dialect.skipsBlanks = false;
        }
    }
    // A blank at the begin of lines is a run of blanks as well.
    constexpr std::array<std::string_view, 4> kRuns = {"  ", " \t", "\n ", "\r "};
    if (std::any_of(kRuns.begin(), kRuns.end(), [&](std::string_view run) {
            return trial.find(run) != std::string_view::npos;
        })) {
        dialect.separation = ESeparation::Blanks;
        dialect.separator = ' ';
        TryQuotes(trial, dialect, isWhole, candidates);
        dialect.quote = 0;
        dialect.ends = FindWidths(text, request);
        if (!dialect.ends.empty()) {
            dialect.separation = ESeparation::Widths;
            dialect.hasGutters = true;
            Candidate widths = Try(trial, dialect, isWhole);
            // Each line has the same count by force: cells that are cut through tell.
            widths.support *= 0.9;
            candidates.push_back(widths);
            dialect.ends.clear();
            dialect.hasGutters = false;
        }
    }
    dialect.separation = ESeparation::OneColumn;
    dialect.separator = 0;
    candidates.push_back(Try(trial, dialect, isWhole));
    std::size_t records = 0;
    for (const char unit : trial) {
        records += unit == '\n' || unit == '\r' ? 1U : 0U;
    }
    // A separator that separates nothing is one column.
    candidates.erase(std::remove_if(candidates.begin(),
                                    candidates.end(),
                                    [](const Candidate& candidate) {
                                        return candidate.fields < 2 &&
                                               candidate.dialect.separation !=
                                                   ESeparation::OneColumn;
                                    }),
                     candidates.end());
    for (Candidate& candidate : candidates) {
        candidate.score = ScoreOf(candidate, std::max<std::size_t>(records, 1));
    }
    PreferWidthsOfNames(candidates);
    PreferBlanksUnderText(candidates);
    std::stable_sort(candidates.begin(), candidates.end(), [](const auto& a, const auto& b) {
        return a.score > b.score;
    });
    return candidates;
}

} // namespace Orvane::Import::Scan
