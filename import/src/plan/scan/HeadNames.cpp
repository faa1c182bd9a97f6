// Names are told from rows by what the columns below them hold.
#include "HeadNames.h"

#include "../Names.h"
#include "../values/Cell.h"
#include "../values/FoldedCell.h"
#include "../values/Words.h"
#include "HeadRecords.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

namespace {

using Values::ECell;

bool IsLetterOrHigh(char unit) noexcept
{
    return Values::IsLetter(unit) || static_cast<signed char>(unit) < 0;
}

/// @param word in lower case
bool IsSameWord(std::string_view cell, std::string_view word) noexcept
{
    const std::string_view text = Values::Trim(cell);
    return word.size() == text.size() &&
           std::equal(word.begin(), word.end(), text.begin(), [](char a, char b) {
               return a == Values::ToLower(b);
           });
}

bool IsOneOf(std::string_view cell, std::initializer_list<std::string_view> words)
{
    return std::any_of(
        words.begin(), words.end(), [&](std::string_view word) { return IsSameWord(cell, word); });
}

bool IsYear(std::string_view cell) noexcept
{
    const std::string_view text = Values::Trim(cell);
    return text.size() == 4 && (text.substr(0, 2) == "19" || text.substr(0, 2) == "20") &&
           std::all_of(text.begin(), text.end(), Values::IsDigit);
}

/// Whether a name is one of numbers or keys, of which each occurs once.
bool IsNameOfNumbers(std::string_view cell)
{
    return IsOneOf(cell, {"id", "fid", "gid", "objectid", "nr", "no", "key", "index"});
}

/// Whether a name is one of texts, which are no numbers.
bool IsNameOfTexts(std::string_view cell)
{
    return IsOneOf(cell,
                   {"name",
                    "ort",
                    "city",
                    "country",
                    "state",
                    "address",
                    "description",
                    "title",
                    "nom",
                    "nome",
                    "nombre",
                    "label",
                    "place",
                    "remark",
                    "remarks",
                    "comment"});
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

} // namespace

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
    return std::any_of(std::begin(kNames), std::end(kNames), [&](std::string_view name) {
        return IsSameWord(cell, name);
    });
}

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
    // A name of one letter may have a dash of its own.
    return !record.cells.empty() &&
           std::all_of(record.cells.begin(),
                       record.cells.end(),
                       [](const std::string& cell) {
                           const std::string_view text = Values::Trim(cell);
                           return text.empty() || text == "-" || Values::IsRule(cell);
                       }) &&
           std::any_of(record.cells.begin(), record.cells.end(), [](const std::string& cell) {
               return Values::IsRule(cell);
           });
}

bool IsRuleText(std::string_view line) noexcept
{
    constexpr std::string_view kSigns = "-=+|: \t";
    line = Values::Trim(line);
    return !line.empty() && kSigns.substr(0, 4).find(line.front()) != std::string_view::npos &&
           line.find_first_not_of(kSigns) == std::string_view::npos &&
           (line.find("---") != std::string_view::npos ||
            line.find("===") != std::string_view::npos);
}

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

bool AreRowNames(const std::vector<HeadRecord>& head, std::size_t from, std::size_t columns)
{
    std::set<std::string_view> seen;
    bool isLastUsed = false;
    for (std::size_t row = from; row < head.size(); ++row) {
        const std::vector<std::string>& cells = head[row].cells;
        if (cells.size() != columns) {
            continue;
        }
        const ECell kind = head[row].Kind(0).cell;
        if (kind == ECell::Decimal || kind == ECell::Spelled) {
            return false;
        }
        if (cells.front().empty() || !seen.insert(cells.front()).second) {
            return false;
        }
        isLastUsed = isLastUsed || !Values::Trim(cells.back()).empty();
    }
    return isLastUsed && seen.size() > 1;
}

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

int CountFittingNames(const std::vector<std::string>& names,
                      const std::vector<SampleColumn>& samples,
                      std::size_t unnamed)
{
    int fits = 0;
    std::string rest;
    for (std::size_t index = 0; index < names.size() && index < samples.size(); ++index) {
        const std::size_t column = index < unnamed ? index : index + 1;
        if (column >= samples.size()) {
            break;
        }
        const SampleColumn& sample = samples[column];
        if (sample.values == 0) {
            continue;
        }
        if (IsNameOfNumbers(names[index])) {
            fits += sample.distinct.size() * 2 > std::min(sample.values, kMostDistinct) ? 1 : -1;
        } else if (IsNameOfTexts(names[index])) {
            fits += sample.isTyped ? -1 : 1;
        }
        const Names::EAxis axis = Names::FindAxis(names[index], rest);
        if (axis != Names::EAxis::None) {
            const bool isLatitude = axis == Names::EAxis::Latitude;
            fits += sample.isTyped && !(isLatitude && sample.isPast90) ? 1 : -1;
        }
    }
    return fits;
}

} // namespace Orvane::Import::Scan
