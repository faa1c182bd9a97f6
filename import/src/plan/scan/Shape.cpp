// Tries dialects on the text's first records, and tells names and preamble from rows.
#include "Shape.h"

#include "../Names.h"
#include "../values/Cell.h"
#include "../values/FoldedCell.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <unordered_set>
#include <utility>

namespace Orvane::Import::Scan {

namespace {

using Values::ECell;

constexpr std::size_t kTrialBytes = std::size_t{64} * 1024;
constexpr std::size_t kTrialRecords = 400;
constexpr std::size_t kHeadRecords = 1000;
constexpr std::size_t kMostHeadLines = 200;

bool IsAlphanumeric(char unit) noexcept
{
    return Values::IsDigit(unit) || Values::IsLetter(unit) || static_cast<signed char>(unit) < 0;
}

/// How much a cell looks like a value of its own: 1 for numbers and times, less for words.
double WeightOf(std::string_view cell, char separator)
{
    const Values::CellReading reading = Values::ReadCell(cell);
    switch (reading.cell) {
    case ECell::Empty:
        return 0.5;
    case ECell::Text:
        break;
    case ECell::Angle:
        return reading.angle.hasMarks || reading.angle.letter != 0 ? 1 : 0.6;
    case ECell::Spelled:
        return 0.9;
    default:
        return 1;
    }
    // Rule: a text that holds other separators may be several cells.
    double weight = cell.size() <= 40 ? 0.8 : 0.6;
    for (const char unit : {',', ';', '\t', '|'}) {
        if (unit != separator && cell.find(unit) != std::string_view::npos) {
            weight = unit == ',' ? std::min(weight, 0.45) : 0.2;
        }
    }
    return weight;
}

struct Mode
{
    std::size_t fields = 1;
    double support = 0;
    double steady = 0;
    bool hasShortRows = false;
};

/// The share of records in runs of three or more of one count: tables one after the other.
double FindSteady(const std::vector<std::size_t>& counts)
{
    std::size_t steady = 0;
    for (std::size_t at = 0; at < counts.size();) {
        std::size_t end = at;
        while (end < counts.size() && counts[end] == counts[at]) {
            ++end;
        }
        steady += end - at >= 3 && counts[at] >= 2 ? end - at : 0U;
        at = end;
    }
    return counts.empty() ? 0 : static_cast<double>(steady) / static_cast<double>(counts.size());
}

/// The count of the first run of ten or more records with two or more fields; 0 without one.
std::size_t FindFirstSteady(const std::vector<std::size_t>& counts)
{
    constexpr std::size_t kFewest = 10;
    for (std::size_t at = 0; at < counts.size();) {
        std::size_t end = at;
        while (end < counts.size() && counts[end] == counts[at]) {
            ++end;
        }
        if (end - at >= kFewest && counts[at] >= 2) {
            return counts[at];
        }
        at = end;
    }
    return 0;
}

/// The largest count of records that differ from one to the next; 0 where there are runs of one
/// count, or where one record in ten has a single field.
std::size_t FindMostOfRagged(const std::map<std::size_t, std::size_t>& frequencies,
                             std::size_t records,
                             double steady)
{
    constexpr std::size_t kFewestRecords = 5;
    constexpr double kMostSteady = 0.3;
    const auto lone = frequencies.find(1);
    const std::size_t lones = lone == frequencies.end() ? 0 : lone->second;
    if (records < kFewestRecords || steady >= kMostSteady || frequencies.size() < 3 ||
        lones * 10 > records) {
        return 0;
    }
    const auto most = std::find_if(frequencies.rbegin(),
                                   frequencies.rend(),
                                   [](const auto& frequency) { return frequency.second >= 2; });
    return most == frequencies.rend() ? 0 : most->first;
}

/// @param canBeShort whether rows may lack cells; blanks in texts make records of any count
Mode FindMode(const std::vector<std::size_t>& counts, bool canBeShort)
{
    std::map<std::size_t, std::size_t> frequencies;
    for (const std::size_t count : counts) {
        ++frequencies[count];
    }
    Mode mode;
    std::size_t most = 0;
    const std::size_t first = FindFirstSteady(counts);
    for (const auto& [fields, frequency] : frequencies) {
        // Of equal frequencies the larger count: short lines are titles. Of tables one after the
        // other that are about as long the first.
        const bool isFirst = fields == first && frequency * 10 >= most * 9;
        const bool isAfterFirst = mode.fields == first && frequency * 9 <= most * 10 && most > 0;
        if ((frequency >= most && !isAfterFirst) || isFirst) {
            most = frequency;
            mode.fields = fields;
        }
    }
    mode.steady = FindSteady(counts);
    // Rule: when a third of the rows has more cells, one here and one there, the others are short.
    const std::size_t usual = mode.fields;
    for (const auto& [fields, frequency] : frequencies) {
        if (canBeShort && usual > 1 && fields > mode.fields && fields < usual * 2 &&
            frequency >= 5 && frequency * 3 >= counts.size() && mode.steady < 0.8) {
            most = mode.fields == usual ? frequency + frequencies[usual] : frequency + most;
            mode.fields = fields;
            mode.hasShortRows = true;
        }
    }
    // Rule: where counts differ from one record to the next, the largest is the table's.
    const std::size_t ragged =
        canBeShort ? FindMostOfRagged(frequencies, counts.size(), mode.steady) : 0;
    if (ragged > mode.fields || (ragged == mode.fields && ragged > 2)) {
        mode.fields = ragged;
        mode.hasShortRows = true;
    }
    mode.support =
        counts.empty() ? 0 : static_cast<double>(most) / static_cast<double>(counts.size());
    return mode;
}

std::string_view FirstLine(std::string_view text) noexcept
{
    return text.substr(0, std::min(text.find_first_of("\r\n"), text.size()));
}

bool IsComment(std::string_view line) noexcept
{
    line = Values::Trim(line);
    return !line.empty() && (line.front() == '#' || line.front() == '%' || line.front() == '!' ||
                             line.substr(0, 2) == "//");
}

/// Counts `"` in cells that another quote encloses: pairs, and others.
void CountDoubles(std::string_view text, const Record& record, Candidate& candidate)
{
    for (const Field& field : record.fields) {
        const std::string_view cell = field.isQuoted ? field.In(text) : std::string_view();
        for (std::size_t at = cell.find('"'); at != std::string_view::npos;
             at = cell.find('"', at)) {
            const std::size_t end = std::min(cell.find_first_not_of('"', at), cell.size());
            ++((end - at) % 2 == 0 ? candidate.doubles : candidate.singles);
            at = end;
        }
    }
}

Candidate Try(std::string_view text, const Dialect& dialect, bool isWhole)
{
    RecordCutter cutter(dialect);
    Record record;
    std::vector<std::size_t> counts;
    std::vector<std::size_t> cleanCounts;
    Candidate candidate;
    candidate.dialect = dialect;
    double typed = 0;
    std::size_t cells = 0;
    std::size_t at = 0;
    while (at < text.size() && counts.size() < kTrialRecords &&
           cutter.Cut(text, at, isWhole, 0, record)) {
        at = record.next;
        // Comments before the table have blanks and commas of their own.
        if (record.isBlank || (counts.empty() && IsComment(FirstLine(text.substr(record.begin))))) {
            continue;
        }
        candidate.fewest = counts.empty() ? record.fields.size()
                                          : std::min(candidate.fewest, record.fields.size());
        counts.push_back(record.fields.size());
        if (record.strays + record.unclosed == 0) {
            cleanCounts.push_back(record.fields.size());
        }
        candidate.strays += record.strays;
        candidate.openers += record.openers;
        if (dialect.quote == '\'') {
            CountDoubles(text, record, candidate);
        }
        const std::size_t looked = std::min<std::size_t>(record.fields.size(), 64);
        for (std::size_t index = 0; index < looked; ++index) {
            const double weight = WeightOf(record.Cell(text, index), dialect.separator);
            typed += weight;
        }
        cells += looked;
    }
    const bool canBeShort =
        dialect.separation == ESeparation::Character && dialect.separator != ' ';
    // Rule: stray quotes make counts of their own, which say nothing of the table's.
    const bool areMostClean =
        cleanCounts.size() < counts.size() && cleanCounts.size() * 2 >= counts.size();
    Mode mode = FindMode(areMostClean ? cleanCounts : counts, canBeShort);
    if (areMostClean) {
        const auto same = std::count(counts.begin(), counts.end(), mode.fields);
        mode.support =
            (mode.support + static_cast<double>(same) / static_cast<double>(counts.size())) / 2;
    }
    candidate.fields = mode.fields;
    candidate.support = mode.support;
    candidate.steady = mode.steady;
    candidate.hasShortRows = mode.hasShortRows;
    candidate.typed = cells == 0 ? 0 : typed / static_cast<double>(cells);
    // Rule: where `'` quotes and `"` stands in pairs alone, a pair is one.
    candidate.dialect.hasDoubles = candidate.doubles > 0 && candidate.singles == 0;
    return candidate;
}

/// How usual a separator is; the unusual need more proof.
double PriorOf(const Dialect& dialect) noexcept
{
    switch (dialect.separation) {
    case ESeparation::OneColumn:
        return 1;
    case ESeparation::Blanks:
        return 0.9;
    case ESeparation::Widths:
        return 0.9;
    case ESeparation::Character:
        break;
    }
    switch (dialect.separator) {
    case ',':
    case ';':
    case '\t':
        return 1;
    case '|':
        return 0.98;
    case ' ':
        return 0.85;
    case ':':
        return 0.6;
    case '^':
    case '~':
        return 0.8;
    case '_':
    case '/':
    case '$':
    case '%':
    case '@':
    case '&':
    case '=':
    case '<':
    case '>':
    case '?':
        return 0.3;
    default:
        return 0.5;
    }
}

bool IsUsual(char separator) noexcept
{
    return separator == ',' || separator == ';' || separator == '\t' || separator == '|';
}

double ScoreOf(const Candidate& candidate, std::size_t records) noexcept
{
    const bool isOne =
        candidate.dialect.separation == ESeparation::OneColumn || candidate.fields < 2;
    const double typed = 0.15 + candidate.typed;
    if (isOne) {
        return 0.55 * typed;
    }
    // One line is no support for a separator; many fields in it are.
    const double few = records == 1 && candidate.fields < 3 ? 0.5 : 1;
    const double many = 1 + 0.05 * std::min(std::log2(static_cast<double>(candidate.fields)), 5.0);
    // A usual separator that stands in every line cuts it, however ragged the rows are.
    const bool isEverywhere = candidate.fewest >= 2 && IsUsual(candidate.dialect.separator) &&
                              candidate.dialect.separation == ESeparation::Character;
    const double even =
        std::max({candidate.support, 0.8 * candidate.steady, isEverywhere ? 0.7 : 0.0});
    return even * even * typed * many * few * PriorOf(candidate.dialect);
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

/// The separator that a first line `sep=;` states; 0 without one.
char FindStatement(std::string_view text) noexcept
{
    std::string_view line = Values::Trim(FirstLine(text));
    if (line.size() >= 2 && line.front() == '"' && line.back() == '"') {
        line = line.substr(1, line.size() - 2);
    }
    constexpr std::string_view kWord = "sep=";
    if (line.size() != kWord.size() + 1 && line.size() != kWord.size()) {
        return 0;
    }
    for (std::size_t i = 0; i < kWord.size(); ++i) {
        if (Values::ToLower(line[i]) != kWord[i]) {
            return 0;
        }
    }
    return line.size() > kWord.size() ? line.back() : '\t';
}

std::string_view StripComment(std::string_view line) noexcept
{
    line = Values::Trim(line);
    while (!line.empty() && (line.front() == '#' || line.front() == '%' || line.front() == '!' ||
                             line.front() == '/' || line.front() == ' ' || line.front() == '\t')) {
        line.remove_prefix(1);
    }
    return line;
}

Dialect Base(const ShapeRequest& request)
{
    Dialect dialect;
    dialect.lineEnds = request.lineEnds;
    dialect.joinsFeeds = request.joinsFeeds;
    dialect.isUtf8 = request.isUtf8;
    return dialect;
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

} // namespace

namespace {

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

namespace {

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
    if (trial.find("  ") != std::string_view::npos || trial.find(" \t") != std::string_view::npos) {
        dialect.separation = ESeparation::Blanks;
        dialect.separator = ' ';
        TryQuotes(trial, dialect, isWhole, candidates);
        dialect.quote = 0;
        dialect.ends = FindWidths(text, request);
        if (!dialect.ends.empty()) {
            dialect.separation = ESeparation::Widths;
            Candidate widths = Try(trial, dialect, isWhole);
            // Each line has the same count by force: cells that are cut through tell.
            widths.support *= 0.9;
            candidates.push_back(widths);
            dialect.ends.clear();
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
    std::stable_sort(candidates.begin(), candidates.end(), [](const auto& a, const auto& b) {
        return a.score > b.score;
    });
    return candidates;
}

namespace {

/// A record of the head with copies of its cells.
struct HeadRecord
{
    std::vector<std::string> cells;
    std::vector<bool> isQuoted;
    std::size_t byte = 0;
    std::size_t next = 0;
    std::uint64_t line = 1;
    std::uint64_t lines = 1;
    bool isBlank = false;
    bool isRepaired = false;
    std::string_view text; ///< the record's first line

    [[nodiscard]] const CellKind& Kind(std::size_t column) const
    {
        if (m_kinds.empty()) {
            m_kinds.reserve(cells.size());
            for (const std::string& cell : cells) {
                m_kinds.push_back(KindOf(cell));
            }
        }
        return m_kinds[column];
    }

    /// To be called when cells have changed.
    void ForgetKinds() { m_kinds.clear(); }

private:
    mutable std::vector<CellKind> m_kinds; ///< read when one is asked for
};

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

/// What the cells of a column have in common, by the rows of the head.
struct SampleColumn
{
    std::size_t values = 0;
    std::size_t texts = 0;
    std::size_t withDigits = 0;
    std::size_t booleans = 0;
    std::size_t quoted = 0;
    bool isTyped = false;
    bool isPast90 = false;                         ///< a number is no latitude
    std::unordered_set<std::string_view> distinct; ///< of the head's cells, at most 256
};

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

/// @param from the first row that counts; rows like the one before it are names again
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
            if (sample.distinct.size() < 256) {
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

bool IsKnownName(std::string_view cell)
{
    static constexpr std::string_view kNames[] = {
        "id",        "fid",         "name",    "date",     "time",     "lat",          "lon",
        "latitude",  "longitude",   "x",       "y",        "z",        "code",         "type",
        "value",     "year",        "station", "depth",    "city",     "country",      "state",
        "address",   "description", "status",  "url",      "comments", "key",          "title",
        "total",     "amount",      "number",  "category", "no",       "ort",          "breite",
        "laenge",    "nom",         "nome",    "nombre",   "fecha",    "datum",        "gid",
        "objectid",  "gender",      "age",     "price",    "unit",     "organisation", "email",
        "phone",     "notes",       "grade",   "source",   "region",   "group",        "first name",
        "last name", "department",  "label",   "day",      "month",    "count",        "index"};
    const std::string_view text = Values::Trim(cell);
    return std::any_of(std::begin(kNames), std::end(kNames), [&](std::string_view name) {
        return name.size() == text.size() &&
               std::equal(name.begin(), name.end(), text.begin(), [](char a, char b) {
                   return a == Values::ToLower(b);
               });
    });
}

bool IsLetterOrHigh(char unit) noexcept
{
    return Values::IsLetter(unit) || static_cast<signed char>(unit) < 0;
}

struct NamesVerdict
{
    ENames names = ENames::None;
    std::size_t forNames = 0;
    std::size_t forData = 0;
    std::string reason;
};

bool IsYear(std::string_view cell) noexcept
{
    const std::string_view text = Values::Trim(cell);
    return text.size() == 4 && (text.substr(0, 2) == "19" || text.substr(0, 2) == "20") &&
           std::all_of(text.begin(), text.end(), Values::IsDigit);
}

/// Whether a record holds names over the rows that follow it.
NamesVerdict JudgeNames(const HeadRecord& record, const std::vector<SampleColumn>& samples)
{
    NamesVerdict verdict;
    std::set<std::string> seen;
    bool isUnique = true;
    bool isMet = false;
    std::size_t known = 0;
    std::size_t filled = 0;
    std::size_t used = 0; ///< columns with values
    std::size_t missingForm = 0;
    bool isQuotedOver = false;
    for (std::size_t column = 0; column < samples.size() && column < record.cells.size();
         ++column) {
        const std::string& cell = record.cells[column];
        const SampleColumn& sample = samples[column];
        const ECell kind = record.Kind(column).cell;
        used += sample.values > 0 ? 1U : 0U;
        if (kind == ECell::Empty) {
            continue;
        }
        ++filled;
        isUnique = seen.insert(cell).second && isUnique;
        known += IsKnownName(cell) ? 1U : 0U;
        const bool isWord =
            kind == ECell::Text || kind == ECell::Boolean || kind == ECell::NullWord ||
            (kind == ECell::Angle && !std::any_of(cell.begin(), cell.end(), Values::IsDigit));
        if (sample.values == 0) {
            continue;
        }
        if (sample.isTyped) {
            verdict.forNames += isWord && kind != ECell::NullWord ? 1U : 0U;
            verdict.forData += !isWord && !IsYear(cell) ? 1U : 0U;
            if (isWord && kind == ECell::Boolean && sample.distinct.contains(cell)) {
                --verdict.forNames;
                ++verdict.forData;
            }
            continue;
        }
        // A number over a column of text is no name, but little proof of a row.
        isMet = isMet || sample.distinct.contains(cell);
        const bool hasDigit = std::any_of(cell.begin(), cell.end(), Values::IsDigit);
        missingForm +=
            isWord && !hasDigit && sample.values >= 2 && sample.withDigits * 10 >= sample.values * 9
                ? 1U
                : 0U;
        isQuotedOver = isQuotedOver || (record.isQuoted[column] && sample.quoted == 0);
    }
    if (verdict.forNames > 0 || verdict.forData > 0) {
        const bool isNames = verdict.forNames > verdict.forData;
        verdict.names = isNames ? ENames::Found : ENames::None;
        verdict.reason = isNames ? "texts over columns of other values"
                                 : "values like those below in the first row";
        return verdict;
    }
    const bool isFull = filled * 2 > used;
    if (!isUnique || !isFull || isMet) {
        verdict.reason =
            !isFull ? "most cells of the first row are empty" : "the first row's texts occur again";
        return verdict;
    }
    if (missingForm > 0 || known * 3 >= filled || (known > 0 && samples.size() <= 4) ||
        isQuotedOver) {
        verdict.names = ENames::Found;
        verdict.forNames = missingForm + known;
        verdict.reason = missingForm > 0 ? "all cells below have digits, the first row has none"
                         : known > 0     ? "words that are usual as names"
                                         : "quoted over unquoted";
        return verdict;
    }
    // Rule: numbers alone are no names.
    if (std::none_of(record.cells.begin(), record.cells.end(), [](const std::string& cell) {
            return std::any_of(cell.begin(), cell.end(), IsLetterOrHigh);
        })) {
        verdict.reason = "no letter is in the first row";
        return verdict;
    }
    verdict.names = ENames::Unsure;
    verdict.reason = "all columns are text, and the first row looks like the others";
    return verdict;
}

/// Widths and kinds of columns, as files of water data have them below the names: `5s 15s 12n 20d`.
bool IsWidthsLine(const HeadRecord& record)
{
    return record.cells.size() >= 2 &&
           std::all_of(record.cells.begin(), record.cells.end(), [](const std::string& cell) {
               const std::size_t digits = cell.find_first_not_of("0123456789");
               return digits != 0 && digits + 1 == cell.size() &&
                      std::string_view("snd").find(cell.back()) != std::string_view::npos;
           });
}

bool IsUnitsLine(const HeadRecord& record)
{
    std::size_t units = 0;
    std::size_t filled = 0;
    for (const std::string& cell : record.cells) {
        if (Values::Trim(cell).empty()) {
            continue;
        }
        ++filled;
        units += Values::IsUnit(cell) || cell == "-" ? 1U : 0U;
    }
    return filled > 0 && units * 2 > filled;
}

bool IsRuleLine(const HeadRecord& record)
{
    return !record.cells.empty() &&
           std::all_of(record.cells.begin(),
                       record.cells.end(),
                       [](const std::string& cell) {
                           return Values::IsRule(cell) || Values::Trim(cell).empty();
                       }) &&
           std::any_of(record.cells.begin(), record.cells.end(), [](const std::string& cell) {
               return Values::IsRule(cell);
           });
}

/// Whether a record continues the names above it: texts and no value over typed columns, or texts
/// that fill the gaps of the names. @param sample gives the columns of the rows after it
template <typename Sample>
bool IsFurtherNames(const HeadRecord& record, const HeadRecord& names, const Sample& sample)
{
    for (std::size_t column = 0; column < record.cells.size(); ++column) {
        const ECell kind = record.Kind(column).cell;
        if (kind != ECell::Empty && kind != ECell::NullWord && kind != ECell::Text &&
            kind != ECell::Boolean) {
            return false;
        }
    }
    const std::vector<SampleColumn> samples = sample();
    std::size_t texts = 0;
    std::size_t inGaps = 0;
    std::size_t filled = 0;
    for (std::size_t column = 0; column < record.cells.size() && column < samples.size();
         ++column) {
        const std::string& cell = record.cells[column];
        const ECell kind = record.Kind(column).cell;
        if (kind == ECell::Empty || kind == ECell::NullWord) {
            continue;
        }
        const bool isWord =
            kind == ECell::Text || (kind == ECell::Boolean && samples[column].booleans == 0);
        if (!isWord || samples[column].distinct.contains(cell)) {
            return false;
        }
        ++filled;
        texts += samples[column].isTyped ? 1U : 0U;
        const bool isGap =
            column >= names.cells.size() || Values::Trim(names.cells[column]).empty();
        inGaps += isGap ? 1U : 0U;
    }
    return texts > 0 || (filled >= 2 && inGaps * 2 > filled);
}

std::string UnquoteName(std::string_view cell)
{
    std::string name;
    for (std::size_t at = 0; at < cell.size(); ++at) {
        name.push_back(cell[at]);
        at += cell[at] == '"' && at + 1 < cell.size() && cell[at + 1] == '"' ? 1U : 0U;
    }
    return std::string(Values::Trim(name));
}

/// Names over fixed widths rarely keep to them: they are the words of their line when these are
/// as many as the columns.
void CutNamesByBlanks(const Dialect& dialect, HeadRecord& record, std::size_t columns)
{
    if (dialect.separation != ESeparation::Widths) {
        return;
    }
    Dialect blanks = dialect;
    blanks.separation = ESeparation::Blanks;
    RecordCutter cutter(blanks);
    Record cut;
    if (cutter.Cut(record.text, 0, true, 0, cut) && cut.fields.size() == columns) {
        for (std::size_t column = 0; column < columns; ++column) {
            record.cells[column] = std::string(cut.Cell(record.text, column));
        }
        record.ForgetKinds();
    }
}

/// Lines of names, joined by a blank.
/// @param isFirst cells of a first line over others that are empty inherit from the left
void JoinNames(const HeadRecord& record, bool isInherited, std::vector<std::string>& names)
{
    std::string left;
    for (std::size_t column = 0; column < names.size(); ++column) {
        std::string cell =
            column < record.cells.size() ? UnquoteName(record.cells[column]) : std::string();
        if (cell.empty() && isInherited) {
            cell = left;
        }
        left = cell;
        if (!cell.empty()) {
            names[column] += (names[column].empty() ? "" : " ") + cell;
        }
    }
}

/// Whether the first column names the rows: its cells are all there and all different, and the last
/// column is not empty.
bool AreRowNames(const std::vector<HeadRecord>& head, std::size_t from, std::size_t columns)
{
    std::set<std::string_view> seen;
    bool isLastUsed = false;
    for (std::size_t row = from; row < head.size(); ++row) {
        const std::vector<std::string>& cells = head[row].cells;
        if (cells.size() != columns) {
            continue;
        }
        if (cells.front().empty() || !seen.insert(cells.front()).second) {
            return false;
        }
        isLastUsed = isLastUsed || !Values::Trim(cells.back()).empty();
    }
    return isLastUsed && seen.size() > 1;
}

/// A text of one record that holds words alone, each of them once.
bool IsLineOfWords(const std::vector<HeadRecord>& head, std::size_t row)
{
    for (std::size_t index = row + 1; index < head.size(); ++index) {
        if (!head[index].isBlank) {
            return false;
        }
    }
    const std::vector<std::string>& cells = head[row].cells;
    return cells.size() > 1 &&
           std::set<std::string>(cells.begin(), cells.end()).size() == cells.size() &&
           std::all_of(cells.begin(), cells.end(), [](const std::string& cell) {
               return Values::ReadCell(cell).cell == ECell::Text;
           });
}

/// Cuts a line of one field anew by the separator that gives it the table's count of fields, where
/// there is one.
bool CutByOtherSeparator(const Dialect& dialect, std::size_t columns, HeadRecord& record)
{
    if (dialect.separation != ESeparation::Character || columns < 3 || record.cells.size() != 1) {
        return false;
    }
    for (const char separator : {',', ';', '\t', '|', ' '}) {
        Dialect other = dialect;
        other.separator = separator;
        other.skipsBlanks = false;
        RecordCutter cutter(other);
        Record cut;
        if (separator == dialect.separator || !cutter.Cut(record.text, 0, true, 0, cut) ||
            cut.fields.size() != columns || cut.strays + cut.unclosed > 0) {
            continue;
        }
        record.cells.clear();
        record.ForgetKinds();
        record.isQuoted.clear();
        for (const Field& field : cut.fields) {
            record.cells.emplace_back(field.In(record.text));
            record.isQuoted.push_back(field.isQuoted);
        }
        return true;
    }
    return false;
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

/// Whether the cells that are filled, three or more, are words, each of them once.
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

/// Titles may be filled up with separators to the table's count: the names are the first line
/// after them that is full.
std::size_t
SkipSparseLines(const std::vector<HeadRecord>& head, std::size_t first, std::size_t columns)
{
    constexpr std::size_t kMostTitles = 12;
    // A title fills a cell or two; names over groups of columns fill more.
    const auto isSparse = [&](const HeadRecord& record) {
        const std::size_t filled = CountFilled(record);
        return record.cells.size() != columns ||
               (filled < columns && (filled < 2 || (filled == 2 && columns > 4)));
    };
    if (columns < 2 || !isSparse(head[first])) {
        return first;
    }
    const std::size_t last = std::min(first + kMostTitles, head.size());
    for (std::size_t index = first + 1; index < last; ++index) {
        if (isSparse(head[index])) {
            continue;
        }
        const NamesVerdict verdict =
            JudgeNames(head[index], SampleColumns(head, index + 1, columns));
        return verdict.names == ENames::None && !AreWords(head[index].cells) ? first : index;
    }
    return first;
}

/// The first record of the run that holds most of the head's records.
std::size_t
FindTableStart(const std::vector<HeadRecord>& head, std::size_t columns, bool hasShortRows)
{
    const auto isRow = [&](const HeadRecord& record) {
        const std::size_t count = record.cells.size();
        return count == columns || (hasShortRows && count > 1 && count < columns);
    };
    for (std::size_t index = 0; index < head.size(); ++index) {
        if (head[index].isBlank || !isRow(head[index]) ||
            (columns > 1 && IsComment(head[index].text) && index + 1 < head.size() &&
             IsComment(head[index + 1].text))) {
            continue;
        }
        const std::size_t end = std::min(head.size(), index + 10);
        std::size_t same = 0;
        for (std::size_t next = index; next < end; ++next) {
            same += isRow(head[next]) ? 1U : 0U;
        }
        if (same * 2 >= end - index) {
            return index;
        }
    }
    return 0;
}

/// What a line before the table is.
ELineKind KindBeforeTable(const HeadRecord& record, bool isFirst)
{
    if (record.isBlank) {
        return ELineKind::Blank;
    }
    if (isFirst && FindStatement(record.text) != 0) {
        return ELineKind::Statement;
    }
    return IsComment(record.text) ? ELineKind::Comment : ELineKind::Preamble;
}

/// The forms of the rows' cells, and which marks begin none of them.
void LookAtRows(const std::vector<HeadRecord>& head, std::size_t from, TableHead& table)
{
    table.forms.assign(table.columns, {});
    table.commentMarks = {"#", "%", "!", "//"};
    for (std::size_t row = from; row < head.size(); ++row) {
        const HeadRecord& record = head[row];
        if (record.cells.size() != table.columns || record.isBlank || record.isRepaired) {
            continue;
        }
        const std::string_view mark = FindMark(record.text, table.commentMarks);
        table.commentMarks.erase(
            std::remove(table.commentMarks.begin(), table.commentMarks.end(), mark),
            table.commentMarks.end());
        const bool isNames =
            std::find(table.namesCells.begin(), table.namesCells.end(), TrimCells(record)) !=
            table.namesCells.end();
        for (std::size_t column = 0; column < table.columns && !isNames; ++column) {
            table.forms[column].Add(record.cells[column], record.Kind(column));
        }
    }
}

/// Removes the cells of a line of names that are empty and surplus, where it is clear which they
/// are: those at its end, or all that are empty.
void DropEmptyNames(std::size_t columns, HeadRecord& record)
{
    const auto isEmpty = [](const std::string& cell) { return Values::Trim(cell).empty(); };
    std::vector<std::string>& cells = record.cells;
    while (cells.size() > columns && isEmpty(cells.back())) {
        cells.pop_back();
    }
    const auto empty = static_cast<std::size_t>(std::count_if(cells.begin(), cells.end(), isEmpty));
    if (cells.size() > columns && cells.size() - columns == empty) {
        cells.erase(std::remove_if(cells.begin(), cells.end(), isEmpty), cells.end());
    }
    record.isQuoted.assign(cells.size(), false);
    record.ForgetKinds();
}

/// How many names of coordinates stand over columns that can hold them.
/// @param shift how many columns to the right of their own the names stand
int CountFittingAxes(const std::vector<std::string>& names,
                     const std::vector<SampleColumn>& samples,
                     std::size_t shift)
{
    int fits = 0;
    std::string rest;
    for (std::size_t index = 0; index < names.size() && index + shift < samples.size(); ++index) {
        const SampleColumn& sample = samples[index + shift];
        const Names::EAxis axis = Names::FindAxis(names[index], rest);
        if (axis != Names::EAxis::None) {
            const bool isLatitude = axis == Names::EAxis::Latitude;
            fits += sample.isTyped && !(isLatitude && sample.isPast90) ? 1 : -1;
        }
    }
    return fits;
}

/// A line of names that has not the table's count: one cell short or long, or with surplus cells
/// that are empty.
/// @param row the first row
void UseUnevenNames(const std::vector<HeadRecord>& head,
                    HeadRecord record,
                    std::size_t row,
                    TableHead& table)
{
    const std::vector<std::string> cells = TrimCells(record);
    const std::size_t fields = record.cells.size();
    if (fields > table.columns) {
        DropEmptyNames(table.columns, record);
    }
    const std::size_t names = record.cells.size();
    if (names > table.columns + 1 || names + 1 < table.columns) {
        return;
    }
    const std::vector<SampleColumn> samples = SampleColumns(head, row, table.columns);
    const NamesVerdict verdict = JudgeNames(record, samples);
    if (verdict.names != ENames::Found || verdict.forData > 0) {
        return;
    }
    table.lines.back().kind = ELineKind::Names;
    table.names = ENames::Found;
    table.namesFields = fields;
    table.namesVotes = verdict.forNames;
    table.namesReason = names < table.columns    ? "a line of names that is one cell short"
                        : names == table.columns ? "a line of names with surplus empty cells"
                                                 : "a line of names that is one cell long";
    JoinNames(record, false, table.columnNames);
    table.namesCells.push_back(cells);
    if (names >= table.columns) {
        return;
    }
    // Rule: names of coordinates over columns that can be none do not stand where they belong.
    const int inPlace = CountFittingAxes(record.cells, samples, 0);
    const int shifted = CountFittingAxes(record.cells, samples, 1);
    if (shifted > inPlace || (shifted == inPlace && AreRowNames(head, row, table.columns))) {
        table.columnNames.pop_back();
        table.columnNames.insert(table.columnNames.begin(), std::string());
        table.namesReason = "a line of names without one for the names of rows";
    }
}

/// A line before the table with other counts may hold the names: the last comment, or a line with
/// some cells less or more.
/// @param row the first row
void UseLineBefore(const std::vector<HeadRecord>& head,
                   std::size_t first,
                   std::size_t row,
                   const Candidate& candidate,
                   TableHead& table)
{
    HeadLine& last = table.lines.back();
    const HeadRecord& record = head[first - 1];
    if (last.kind == ELineKind::Comment) {
        const std::string stripped(StripComment(record.text));
        RecordCutter cutter(candidate.dialect);
        Record cut;
        if (!stripped.empty() && cutter.Cut(stripped, 0, true, 0, cut) &&
            cut.fields.size() == table.columns && table.columns > 1) {
            HeadRecord named;
            for (const Field& field : cut.fields) {
                named.cells.emplace_back(field.In(stripped));
                named.isQuoted.push_back(field.isQuoted);
            }
            const NamesVerdict other = JudgeNames(named, SampleColumns(head, row, table.columns));
            if (other.names == ENames::Found) {
                last.kind = ELineKind::Names;
                table.names = ENames::Found;
                table.namesFields = cut.fields.size();
                table.namesVotes = other.forNames;
                table.namesReason = "a last comment line with a name for each column";
                JoinNames(named, false, table.columnNames);
            }
        }
    } else if (last.kind == ELineKind::Preamble && table.columns > 2) {
        UseUnevenNames(head, record, row, table);
    }
}

} // namespace

std::string_view FindMark(std::string_view line, const std::vector<std::string>& marks) noexcept
{
    line = Values::Trim(line);
    for (const std::string& mark : marks) {
        if (line.substr(0, mark.size()) == mark) {
            return mark;
        }
    }
    return {};
}

TableHead FindTable(std::string_view text, const Candidate& candidate, const ShapeRequest& request)
{
    TableHead table;
    table.columns = candidate.fields;
    std::vector<HeadRecord> head = CutHead(text, candidate, request);
    if (head.empty()) {
        LookAtRows(head, 0, table);
        return table;
    }
    const auto addLine = [&](const HeadRecord& record, ELineKind kind) {
        table.lines.push_back({kind, record.line, record.lines, record.byte});
    };
    std::size_t first = FindTableStart(head, table.columns, candidate.hasShortRows);
    if (first > kMostHeadLines) {
        first = 0;
    }
    if (request.hasSkippedLines) {
        first = 0;
        while (first + 1 < head.size() && head[first].line <= request.skippedLines) {
            ++first;
        }
    }
    // Comments may stand at the begin of the table's own count. Rule: a line whose cells are of the
    // same kinds as those of the last row, not all of them texts, is a row whatever it begins with.
    const auto isLikeTheLast = [&](const HeadRecord& record) {
        const HeadRecord& row = head.back();
        bool isTyped = false;
        for (std::size_t column = 1; column < table.columns; ++column) {
            if (column >= row.cells.size() || record.Kind(column).cell != row.Kind(column).cell) {
                return false;
            }
            isTyped = isTyped || record.Kind(column).readings != 0;
        }
        return isTyped;
    };
    while (!request.hasSkippedLines && first < head.size() &&
           head[first].cells.size() == table.columns && IsComment(head[first].text) &&
           first + 1 < head.size() && !IsComment(head.back().text) && first < kMostHeadLines &&
           !isLikeTheLast(head[first])) {
        ++first;
    }
    const std::size_t top = first;
    first = request.hasSkippedLines ? first : SkipSparseLines(head, first, table.columns);
    for (std::size_t index = 0; index < first; ++index) {
        addLine(head[index], KindBeforeTable(head[index], index == 0));
    }
    std::size_t row = first;
    for (std::size_t index = row; index < std::min(row + 2, head.size()); ++index) {
        CutNamesByBlanks(candidate.dialect, head[index], table.columns);
    }
    table.columnNames.assign(table.columns, {});
    const std::vector<SampleColumn> samples = SampleColumns(head, row + 1, table.columns);
    NamesVerdict verdict = JudgeNames(head[row], samples);
    if (request.names >= 0) {
        verdict.names = request.names == 1 ? ENames::Found : ENames::None;
        verdict.reason = "given";
    }
    if (verdict.names != ENames::Found && request.names < 0) {
        if (IsLineOfWords(head, row)) {
            verdict.names = ENames::Found;
            verdict.reason = "a single line of words";
        } else if (first > top && AreWords(head[row].cells)) {
            verdict.names = ENames::Found;
            verdict.reason = "a line of words under a title";
        } else if (first > 0 && table.lines.back().kind == ELineKind::Preamble &&
                   CutByOtherSeparator(candidate.dialect, table.columns, head[first - 1]) &&
                   JudgeNames(head[first - 1], SampleColumns(head, row, table.columns)).names ==
                       ENames::Found) {
            table.lines.pop_back();
            row = first - 1;
            verdict = JudgeNames(head[row], SampleColumns(head, row + 1, table.columns));
        }
    }
    if (verdict.names == ENames::Unsure && request.canGuessNames) {
        verdict.names = AreWords(head[row].cells) || IsKnownName(head[row].cells.front())
                            ? ENames::Found
                            : ENames::None;
        verdict.reason += "; words are held to be names where every cell is kept as text";
    }
    table.names = verdict.names;
    table.namesVotes = verdict.forNames;
    table.dataVotes = verdict.forData;
    table.namesReason = verdict.reason;
    if (verdict.names == ENames::None && request.names < 0 && first > 0) {
        UseLineBefore(head, first, row, candidate, table);
    } else if (verdict.names == ENames::Found) {
        table.namesFields = head[row].cells.size();
        addLine(head[row], ELineKind::Names);
        std::vector<std::size_t> namesRows = {row};
        ++row;
        for (int further = 0; further < 3 && row < head.size(); ++further) {
            const bool hasCount = head[row].cells.size() == table.columns;
            if (hasCount && IsRuleLine(head[row])) {
                addLine(head[row], ELineKind::Rule);
            } else if (hasCount && row + 1 < head.size() &&
                       (IsUnitsLine(head[row]) ||
                        (IsWidthsLine(head[row]) && !IsWidthsLine(head[row + 1])))) {
                addLine(head[row], ELineKind::Units);
            } else if (hasCount && row + 1 < head.size() &&
                       IsFurtherNames(head[row], head[row - 1], [&] {
                           return SampleColumns(head, row + 1, table.columns);
                       })) {
                namesRows.push_back(row);
                addLine(head[row], ELineKind::Names);
            } else {
                break;
            }
            ++row;
        }
        for (std::size_t index = 0; index < namesRows.size(); ++index) {
            table.namesCells.push_back(TrimCells(head[namesRows[index]]));
            JoinNames(head[namesRows[index]], index + 1 < namesRows.size(), table.columnNames);
        }
    }
    LookAtRows(head, row, table);
    if (row < head.size()) {
        table.firstRow = head[row].byte;
        table.firstRowLine = head[row].line;
    } else {
        table.firstRow = head.back().next;
        table.firstRowLine = head.back().line + head.back().lines;
    }
    return table;
}

} // namespace Orvane::Import::Scan
