// Records are cut once per dialect; their counts and cells make its score.
#include "Trial.h"

#include "../values/Cell.h"
#include "FirstLines.h"
#include "TableBlocks.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

namespace {

using Values::ECell;

struct Mode
{
    std::size_t fields = 1;
    double support = 0;
    double steady = 0;
    bool hasShortRows = false;
    bool isFirstOfTables = false;
    bool isUnderText = false;
    bool isNamed = false; ///< all records are one table with a line of words over values
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
    const auto isOften = [&](std::size_t frequency) {
        return frequency >= 5 && frequency * 3 >= counts.size();
    };
    for (const auto& [fields, frequency] : frequencies) {
        if (!canBeShort || !isOften(frequency) || mode.steady >= 0.8) {
            continue;
        }
        if (usual > 1 && fields > mode.fields && fields < usual * 2) {
            most = mode.fields == usual ? frequency + frequencies[usual] : frequency + most;
            mode.fields = fields;
            mode.hasShortRows = true;
        } else if (fields > 1 && fields < usual && usual < fields * 2 && mode.fields == usual &&
                   isOften(frequencies[usual])) {
            most += frequency;
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

/// Where the records are tables one after the other, or text before a table, the first table's
/// count is that of the file.
void UseFirstTable(const std::vector<BlockRow>& rows, Mode& mode)
{
    constexpr double kExplained = 0.8;
    constexpr std::size_t kManyFields = 4;
    const FirstTable table = FindFirstTable(rows, mode.fields);
    if (table.fields == 0 || mode.hasShortRows) {
        return;
    }
    mode.isNamed = table.isNamed && table.records == rows.size() && table.fields >= kManyFields &&
                   rows.size() > 2;
    if (table.fields != mode.fields) {
        mode.fields = table.fields;
        mode.support = static_cast<double>(table.records) / static_cast<double>(rows.size());
        mode.isFirstOfTables = true;
    }
    if (table.explainsAll) {
        mode.support = std::max(mode.support, kExplained);
    }
}

/// Under text of any kind, in which blanks make any count, rows of blanks are told by their values.
void UseLastTable(const std::vector<BlockRow>& rows, Mode& mode)
{
    constexpr double kExplained = 0.8;
    const LastTable table = FindLastTable(rows);
    const bool isFound = mode.fields == table.fields && mode.support >= kExplained;
    if (table.fields >= 2 && !isFound) {
        mode.fields = table.fields;
        mode.isUnderText = true;
        mode.support = std::max(
            kExplained, static_cast<double>(table.records) / static_cast<double>(rows.size()));
    }
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
    case '\x1F': // ASCII's own separator of units.
    case '\x01':
        return 0.95;
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

/// How much a cell looks like a value of its own: 1 for numbers and times, less for words.
double WeightOf(const Values::CellReading& reading, std::string_view cell, char separator)
{
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

} // namespace

double WeightOf(std::string_view cell, char separator)
{
    return WeightOf(Values::ReadCell(cell), cell, separator);
}

Candidate Try(std::string_view text, const Dialect& dialect, bool isWhole)
{
    RecordCutter cutter(dialect);
    Record record;
    std::vector<std::size_t> counts;
    std::vector<std::size_t> cleanCounts;
    std::vector<BlockRow> rows;
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
        candidate.first = counts.empty() ? record.fields.size() : candidate.first;
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
        BlockRow& row = rows.emplace_back();
        row.fields = record.fields.size();
        for (std::size_t index = 0; index < looked; ++index) {
            const std::string_view cell = record.Cell(text, index);
            const Values::CellReading reading = Values::ReadCell(cell);
            typed += WeightOf(reading, cell, dialect.separator);
            row.Add(index, reading.cell, cell);
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
    if (canBeShort) {
        UseFirstTable(rows, mode);
    } else if (dialect.separation == ESeparation::Blanks) {
        UseLastTable(rows, mode);
    }
    candidate.fields = mode.fields;
    std::size_t odd = counts.size(); ///< records up to the last of another count
    while (odd > 0 && counts[odd - 1] == mode.fields) {
        --odd;
    }
    candidate.isEvenUnderText = odd >= 3 && odd * 2 < counts.size();
    candidate.isFirstOfTables = mode.isFirstOfTables;
    candidate.isUnderText = mode.isUnderText;
    candidate.isNamed = mode.isNamed;
    candidate.support = mode.support;
    candidate.steady = mode.steady;
    candidate.hasShortRows = mode.hasShortRows;
    candidate.typed = cells == 0 ? 0 : typed / static_cast<double>(cells);
    // Rule: where `'` quotes and `"` stands in pairs alone, a pair is one.
    candidate.dialect.hasDoubles = candidate.doubles > 0 && candidate.singles == 0;
    return candidate;
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
    // A blank that cuts quotes apart stands in texts.
    const bool isBlank = candidate.dialect.separation == ESeparation::Character &&
                         candidate.dialect.separator == ' ';
    // So does one that the names do not have: `plant`, `oak 7`.
    constexpr double kAllTyped = 0.95;
    const bool isInText =
        candidate.first == 1 && candidate.fields == 2 && candidate.typed < kAllTyped;
    const double torn = !isBlank ? 1 : isInText ? 0.5 : candidate.strays * 2 > records ? 0.6 : 1;
    // Words over values in all lines prove an unusual separator.
    constexpr double kProved = 0.7;
    const double prior = PriorOf(candidate.dialect);
    return even * even * typed * many * few * torn *
           (candidate.isNamed ? std::max(prior, kProved) : prior);
}

Dialect Base(const ShapeRequest& request)
{
    Dialect dialect;
    dialect.lineEnds = request.lineEnds;
    dialect.joinsFeeds = request.joinsFeeds;
    dialect.isUtf8 = request.isUtf8;
    return dialect;
}

} // namespace Orvane::Import::Scan
