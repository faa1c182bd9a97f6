// Walks down the head: preamble, names, what stands under them, the first row.
#include "../Names.h"
#include "../values/Cell.h"
#include "../values/FoldedCell.h"
#include "FirstLines.h"
#include "HeadNames.h"
#include "HeadRecords.h"
#include "Shape.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

namespace {

using Values::ECell;

constexpr std::size_t kMostHeadLines = 200;

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

/// The first line of a table under text of any kind: its names, which stand right before the first
/// row or a line before that, or the first row. A row has values where the last rows have them.
///
/// Rule: of lines of words over the rows the last holds the names; text may have their count.
std::size_t FindStartUnderText(const std::vector<HeadRecord>& head, std::size_t columns)
{
    constexpr std::size_t kMostLinesBetween = 1;
    std::size_t last = head.size();
    for (std::size_t rows = std::max<std::size_t>(head.size() / 4, 3); rows > 0 && last > 0;) {
        --last;
        rows -= head[last].cells.size() == columns ? 1U : 0U;
    }
    const std::vector<SampleColumn> samples = SampleColumns(head, last, columns);
    const auto isOf = [&](const HeadRecord& record, bool areTexts) {
        if (record.cells.size() != columns) {
            return false;
        }
        for (std::size_t column = 0; column < columns; ++column) {
            const ECell kind = record.Kind(column).cell;
            if (areTexts ? kind != ECell::Text : samples[column].isTyped && kind == ECell::Text) {
                return false;
            }
        }
        return true;
    };
    const auto isDrawn = [&](const HeadRecord& record) {
        return record.cells.size() == columns && (IsUnitsLine(record) || IsRuleLine(record));
    };
    std::size_t row = 0;
    while (row < head.size() && !isOf(head[row], false)) {
        ++row;
    }
    std::size_t between = 0;
    for (std::size_t index = row; index > 0 && between <= kMostLinesBetween; --index) {
        if (isOf(head[index - 1], true) && !isDrawn(head[index - 1])) {
            return index - 1;
        }
        between += head[index - 1].isBlank || isDrawn(head[index - 1]) ? 0U : 1U;
    }
    return row < head.size() ? row : 0;
}

/// The first record of the run that holds most of the head's records.
std::size_t FindTableStart(const std::vector<HeadRecord>& head, const Candidate& candidate)
{
    const std::size_t columns = candidate.fields;
    if (candidate.isUnderText) {
        return FindStartUnderText(head, columns);
    }
    const auto isRow = [&](const HeadRecord& record) {
        const std::size_t count = record.cells.size();
        return count == columns || (candidate.hasShortRows && count > 1 && count < columns);
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
        // A short table goes on in the next record; what comes after it are others.
        const bool isFirst =
            candidate.isFirstOfTables && index + 1 < head.size() && isRow(head[index + 1]);
        if (same * 2 >= end - index || isFirst) {
            return index;
        }
    }
    return 0;
}

/// Where the table begins when lines of its count, but of other cells, stand before it: at the
/// first row with values where the others have them, and the lines right before it.
std::size_t
SkipOtherCells(const std::vector<HeadRecord>& head, std::size_t first, std::size_t columns)
{
    constexpr std::size_t kMostNames = 4;
    const std::vector<SampleColumn> samples =
        SampleColumns(head, std::max(first + 1, head.size() / 2), columns);
    const auto typed = static_cast<std::size_t>(
        std::count_if(samples.begin(), samples.end(), [](const auto& one) { return one.isTyped; }));
    const auto fits = [&](const HeadRecord& record) {
        std::size_t texts = 0;
        std::size_t values = 0;
        for (std::size_t column = 0; column < columns && record.cells.size() == columns; ++column) {
            const ECell kind = record.Kind(column).cell;
            const bool isNone = kind == ECell::Empty || kind == ECell::NullWord;
            texts += samples[column].isTyped && kind == ECell::Text ? 1U : 0U;
            values += samples[column].isTyped && !isNone && kind != ECell::Text ? 1U : 0U;
        }
        return values > 0 && texts * 5 <= typed;
    };
    if (typed < 2 || columns < 3) {
        return first;
    }
    std::size_t row = first;
    while (row < head.size() && !fits(head[row])) {
        ++row;
    }
    std::size_t begin = row;
    while (begin > first && row - begin < kMostNames && !head[begin - 1].isBlank &&
           head[begin - 1].cells.size() == columns) {
        --begin;
    }
    const bool isParted =
        begin > first && (head[begin - 1].isBlank || head[begin - 1].cells.size() != columns);
    if (row == head.size() || !isParted) {
        return first;
    }
    // Rule: names are the table's though a line or two stand between them and the rows; lines of
    // text are not.
    const auto others = std::count_if(
        head.begin() + static_cast<std::ptrdiff_t>(first),
        head.begin() + static_cast<std::ptrdiff_t>(begin),
        [&](const auto& record) { return !record.isBlank && record.cells.size() != columns; });
    const std::vector<SampleColumn> rows = SampleColumns(head, row, columns);
    const NamesVerdict verdict = JudgeNames(head[first], rows);
    const NamesVerdict next = JudgeNames(head[begin], rows);
    const bool areNextNames =
        next.names == ENames::Found && next.forData == 0 && verdict.forData > 0;
    const bool areNames = verdict.names == ENames::Found && !areNextNames;
    return areNames && others < 2 ? first : begin;
}

/// Whether a record of texts is followed by names over columns of other values.
bool AreNamesNext(const std::vector<HeadRecord>& head, std::size_t row, std::size_t columns)
{
    if (row + 2 >= head.size() || head[row].cells.size() != columns ||
        head[row + 1].cells.size() != columns) {
        return false;
    }
    for (std::size_t column = 0; column < columns; ++column) {
        const ECell kind = head[row].Kind(column).cell;
        if (kind != ECell::Empty && kind != ECell::Text) {
            return false;
        }
    }
    const NamesVerdict next = JudgeNames(head[row + 1], SampleColumns(head, row + 2, columns));
    return next.names == ENames::Found && next.forNames > 0 && next.forData == 0 &&
           IsFurtherNames(
               head[row + 1], head[row], [&] { return SampleColumns(head, row + 2, columns); });
}

/// Whether a record has the cells of one of some others.
bool IsAnyOf(const std::vector<HeadRecord>& head,
             const std::vector<std::size_t>& others,
             std::size_t row)
{
    const std::vector<std::string> cells = TrimCells(head[row]);
    return std::any_of(others.begin(), others.end(), [&](std::size_t other) {
        return TrimCells(head[other]) == cells;
    });
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
    const auto add = [&](const HeadRecord& record) {
        for (std::size_t column = 0; column < table.columns; ++column) {
            table.forms[column].Add(record.cells[column], record.Kind(column));
        }
    };
    std::vector<const HeadRecord*> lone; ///< records with nothing after their first cell
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
        if (isNames) {
            continue;
        }
        if (table.columns > 2 && !record.cells.front().empty() && CountFilled(record) == 1) {
            lone.push_back(&record);
        } else {
            add(record);
        }
    }
    // Rule: a title or a footer that is padded with separators says nothing of the columns.
    for (const HeadRecord* record : lone) {
        if (table.forms.front().Fits(record->cells.front())) {
            add(*record);
        }
    }
}

/// Cuts the one quoted name in which a closing and an opening quote follow each other.
void SplitPairedNames(HeadRecord& record)
{
    constexpr std::string_view kPair = "\"\"";
    std::size_t found = record.cells.size();
    for (std::size_t index = 0; index < record.cells.size(); ++index) {
        const std::string& cell = record.cells[index];
        const std::size_t at = cell.find(kPair);
        if (!record.isQuoted[index] || at == std::string::npos) {
            continue;
        }
        if (found < record.cells.size() || cell.find(kPair, at + 1) != std::string::npos) {
            return;
        }
        found = index;
    }
    if (found == record.cells.size()) {
        return;
    }
    const std::string cell = record.cells[found];
    const std::size_t at = cell.find(kPair);
    const auto place = static_cast<std::ptrdiff_t>(found);
    record.cells[found] = cell.substr(0, at);
    record.cells.insert(record.cells.begin() + place + 1, cell.substr(at + kPair.size()));
    record.isQuoted.insert(record.isQuoted.begin() + place + 1, true);
    record.ForgetKinds();
}

/// Whether a cell marks its line: `~A`, `*`, `##`.
bool IsMark(std::string_view cell) noexcept
{
    constexpr std::string_view kSigns = "~#%*!/>";
    cell = Values::Trim(cell);
    return !cell.empty() && cell.size() <= 2 && kSigns.find(cell.front()) != std::string_view::npos;
}

/// Whether the first column counts the rows.
bool AreRowNumbers(const std::vector<HeadRecord>& head, std::size_t from)
{
    const std::string& first = head[from].cells.front();
    if (first != "0" && first != "1") {
        return false;
    }
    std::size_t number = first == "0" ? 0 : 1;
    return std::all_of(head.begin() + static_cast<std::ptrdiff_t>(from),
                       head.end(),
                       [&](const HeadRecord& record) {
                           return !record.cells.empty() &&
                                  record.cells.front() == std::to_string(number++);
                       });
}

/// Which column has no name where the names are one less than the columns; their count for the
/// last.
///
/// Rule: names of coordinates, keys or texts over columns that can be none do not stand where they
/// belong.
/// @param isByBlanks blanks separate, so that a text of two words has two cells
std::size_t FindUnnamedColumn(const std::vector<HeadRecord>& head,
                              std::size_t row,
                              const std::vector<std::string>& names,
                              bool isByBlanks,
                              TableHead& table)
{
    const std::vector<SampleColumn> samples = SampleColumns(head, row, table.columns);
    const bool canBeRowNames = AreRowNames(head, row, table.columns);
    const int inPlace = CountFittingNames(names, samples, names.size());
    const int shifted = CountFittingNames(names, samples, 0);
    if (!isByBlanks || samples.back().values == 0) {
        return shifted > inPlace || (shifted == inPlace && canBeRowNames) ? 0 : names.size();
    }
    // Rule: the second word of a text comes after a text; where most names fit in several places,
    // those between the first and the last of these are open.
    std::vector<std::size_t> places; ///< of the column without a name
    int best = 0;
    for (std::size_t place = 0; place <= names.size(); ++place) {
        const bool isPossible = place == names.size() || (place == 0 && canBeRowNames) ||
                                (place > 0 && !samples[place - 1].isTyped);
        const int fits = isPossible ? CountFittingNames(names, samples, place) : 0;
        if (isPossible && (places.empty() || fits > best)) {
            best = fits;
            places.clear();
        }
        if (isPossible && fits == best) {
            places.push_back(place);
        }
    }
    if (places.front() == 0 && (places.size() == 1 || AreRowNumbers(head, row))) {
        return 0;
    }
    const std::size_t place = places.front() == 0 ? places[1] : places.front();
    table.openAfter = place;
    table.openTo = places.back();
    return place;
}

/// A line of names that has not the table's count: one cell short or long, or with surplus cells
/// that are empty.
/// @param line of the table that the record is
/// @param row the first row
/// @param isByBlanks blanks separate, so that a text of two words has two cells
void UseUnevenNames(const std::vector<HeadRecord>& head,
                    HeadRecord record,
                    HeadLine& line,
                    std::size_t row,
                    bool isByBlanks,
                    TableHead& table)
{
    const std::vector<std::string> cells = TrimCells(record);
    const std::size_t fields = record.cells.size();
    bool isMarked = false;
    if (fields > table.columns) {
        DropEmptyNames(table.columns, record);
    }
    if (fields + 1 == table.columns) {
        SplitPairedNames(record);
    }
    if (record.cells.size() == table.columns + 1 && IsMark(record.cells.front())) {
        // Rule: a mark before the names is none of them: `~A DEPT GR`.
        record.cells.erase(record.cells.begin());
        record.isQuoted.erase(record.isQuoted.begin());
        record.ForgetKinds();
        isMarked = true;
    }
    const std::size_t names = record.cells.size();
    if (names > table.columns + 1 || names + 1 < table.columns) {
        return;
    }
    const std::vector<SampleColumn> samples = SampleColumns(head, row, table.columns);
    const NamesVerdict verdict = JudgeNames(record, samples);
    // Rule: words in the first line, one cell short or long, are names where all columns are texts.
    const bool areWords = verdict.names == ENames::Unsure && table.lines.size() == 1 &&
                          AreWords(record.cells) && head[row].line == record.line + record.lines;
    if ((verdict.names != ENames::Found && !areWords) || verdict.forData > 0) {
        return;
    }
    line.kind = ELineKind::Names;
    table.names = ENames::Found;
    table.namesFields = fields;
    table.namesVotes = verdict.forNames;
    table.namesReason = names < table.columns    ? "a line of names that is one cell short"
                        : fields < table.columns ? "a line of names with a separator missing"
                        : isMarked               ? "a line of names after a mark"
                        : names == table.columns ? "a line of names with surplus empty cells"
                                                 : "a line of names that is one cell long";
    JoinNames(record, false, table.columnNames);
    table.namesCells.push_back(cells);
    if (names >= table.columns) {
        return;
    }
    const std::size_t unnamed = FindUnnamedColumn(head, row, record.cells, isByBlanks, table);
    if (unnamed < names) {
        table.columnNames.pop_back();
        table.columnNames.insert(table.columnNames.begin() + static_cast<std::ptrdiff_t>(unnamed),
                                 std::string());
        table.namesReason = unnamed == 0 ? "a line of names without one for the names of rows"
                                         : "a line of names without one for a word of a text";
    }
}

/// Keeps a line under the names to be told when it comes again: the names have a cell where it has
/// its first one.
void AddUnitsToNames(const HeadRecord& record, TableHead& table)
{
    std::vector<std::string> cells = TrimCells(record);
    const auto filled = std::find_if(
        cells.begin(), cells.end(), [](const std::string& cell) { return !cell.empty(); });
    const auto first = static_cast<std::size_t>(filled - cells.begin());
    // A row may hold nothing but dashes for no value.
    const bool isPlain = std::any_of(cells.begin(), cells.end(), [](const std::string& cell) {
        return IsRuleText(cell) || std::any_of(cell.begin(), cell.end(), Values::IsLetter);
    });
    if (cells.size() == table.columns && isPlain && filled != cells.end() &&
        !table.namesCells.front()[first].empty()) {
        table.namesCells.push_back(std::move(cells));
    }
}

/// The cells of a comment line without its mark.
HeadRecord CutComment(const Dialect& dialect, const HeadRecord& record)
{
    const std::string stripped(StripComment(record.text));
    HeadRecord result;
    RecordCutter cutter(dialect);
    Record cut;
    if (!stripped.empty() && cutter.Cut(stripped, 0, true, 0, cut)) {
        for (const Field& field : cut.fields) {
            result.cells.emplace_back(field.In(stripped));
            result.isQuoted.push_back(field.isQuoted);
        }
    }
    return result;
}

bool HasEqualCells(const HeadRecord& record)
{
    return std::set<std::string>(record.cells.begin(), record.cells.end()).size() <
           record.cells.size();
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
    const bool isAfterBlank = head[first - 1].isBlank;
    while (first > 1 && head[first - 1].isBlank) {
        --first;
    }
    HeadLine& last = table.lines[first - 1];
    const HeadRecord& record = head[first - 1];
    if (last.kind == ELineKind::Comment && table.columns > 1) {
        HeadRecord named = CutComment(candidate.dialect, record);
        const std::vector<SampleColumn> samples = SampleColumns(head, row, table.columns);
        const NamesVerdict other = JudgeNames(named, samples);
        if (named.cells.size() != table.columns || other.names != ENames::Found) {
            return;
        }
        last.kind = ELineKind::Names;
        // Rule: of two comment lines with a cell for each column the first holds the names when the
        // second holds units, or texts that occur again in it.
        if (first > 1 && table.lines[first - 2].kind == ELineKind::Comment &&
            (IsUnitsLine(named) || HasEqualCells(named))) {
            HeadRecord before = CutComment(candidate.dialect, head[first - 2]);
            if (before.cells.size() == table.columns && !HasEqualCells(before) &&
                JudgeNames(before, samples).names == ENames::Found) {
                last.kind = ELineKind::Units;
                table.lines[first - 2].kind = ELineKind::Names;
                named = std::move(before);
            }
        }
        table.names = ENames::Found;
        table.namesFields = table.columns;
        table.namesVotes = other.forNames;
        table.namesReason = "a last comment line with a name for each column";
        JoinNames(named, false, table.columnNames);
    } else if (last.kind == ELineKind::Preamble && table.columns > 2) {
        const bool isByBlanks = candidate.dialect.separation == ESeparation::Blanks ||
                                candidate.dialect.separator == ' ';
        // Rule: past a blank line a title of some words is more likely than names of another count.
        const bool areSingle =
            std::none_of(record.cells.begin(), record.cells.end(), [](const std::string& cell) {
                return Values::Trim(cell).find(' ') != std::string_view::npos;
            });
        if (!isAfterBlank || areSingle || record.cells.size() == table.columns) {
            UseUnevenNames(head, record, last, row, isByBlanks, table);
        }
    }
}

/// Comments may stand at the begin of the table's own count. Rule: a line whose cells are of the
/// same kinds as those of the last row, not all of them texts, is a row whatever it begins with.
std::size_t
SkipComments(const std::vector<HeadRecord>& head, std::size_t first, std::size_t columns)
{
    const auto isLikeTheLast = [&](const HeadRecord& record) {
        const HeadRecord& row = head.back();
        bool isTyped = false;
        for (std::size_t column = 1; column < columns; ++column) {
            if (column >= row.cells.size() || record.Kind(column).cell != row.Kind(column).cell) {
                return false;
            }
            isTyped = isTyped || record.Kind(column).readings != 0;
        }
        return isTyped;
    };
    while (first + 1 < head.size() && head[first].cells.size() == columns &&
           IsComment(head[first].text) && !IsComment(head.back().text) && first < kMostHeadLines &&
           !isLikeTheLast(head[first])) {
        ++first;
    }
    return first;
}

} // namespace

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
    std::size_t first = FindTableStart(head, candidate);
    if (!candidate.isFirstOfTables && !candidate.hasShortRows) {
        first = SkipOtherCells(head, first, table.columns);
    }
    if (first > kMostHeadLines) {
        first = 0;
    }
    if (request.hasSkippedLines) {
        first = 0;
        while (first + 1 < head.size() && head[first].line <= request.skippedLines) {
            ++first;
        }
    }
    if (!request.hasSkippedLines) {
        first = SkipComments(head, first, table.columns);
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
    if (verdict.names != ENames::Found && AreNamesNext(head, row, table.columns)) {
        // Rule: texts over a line of names that is one beyond doubt are names as well.
        verdict = JudgeNames(head[row + 1], SampleColumns(head, row + 2, table.columns));
    }
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
    table.dataVotes = verdict.forData;
    if (verdict.names != ENames::Found && request.names < 0 && first > 0) {
        UseLineBefore(head, first, row, candidate, table);
    }
    const bool isNamedBefore = table.names == ENames::Found;
    if (verdict.names == ENames::Unsure && request.keepsAllText && !isNamedBefore) {
        verdict.names = AreWords(head[row].cells) || IsKnownName(head[row].cells.front())
                            ? ENames::Found
                            : ENames::None;
        verdict.reason += "; words are held to be names where every cell is kept as text";
    }
    if (!isNamedBefore) {
        table.names = verdict.names;
        table.namesVotes = verdict.forNames;
        table.namesReason = verdict.reason;
    }
    if (!isNamedBefore && verdict.names == ENames::Found) {
        table.namesFields = head[row].cells.size();
        addLine(head[row], ELineKind::Names);
        std::vector<std::size_t> namesRows = {row};
        std::vector<std::size_t> unitsRows;
        ++row;
        for (int further = 0; further < 3 && row < head.size(); ++further) {
            const bool hasCount = head[row].cells.size() == table.columns;
            if ((hasCount && IsRuleLine(head[row])) || IsRuleText(head[row].text)) {
                addLine(head[row], ELineKind::Rule);
                unitsRows.push_back(row);
            } else if (!request.keepsAllText && IsAnyOf(head, namesRows, row)) {
                // Rule: the same names once more right after them are names again. Where every
                // cell is kept as text they are joined, so that no line of names is left out.
                break;
            } else if (hasCount && row + 1 < head.size() &&
                       (IsUnitsLine(head[row]) ||
                        (IsWidthsLine(head[row]) && !IsWidthsLine(head[row + 1])))) {
                addLine(head[row], ELineKind::Units);
                unitsRows.push_back(row);
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
        // Rule: where names come again, the units and rules under them do.
        for (const std::size_t units : unitsRows) {
            AddUnitsToNames(head[units], table);
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
