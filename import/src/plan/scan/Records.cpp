// A walk over the fields of a record.
#include "Records.h"

#include "RowReading.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace Orvane::Import::Scan {

namespace {

/// Lines that belong together are looked for so far.
constexpr std::size_t kMostJoined = 4096;

/// How much may be compared for each byte of rows that are looked at again.
constexpr std::uint64_t kBudgetPerByte = 64;

bool IsBlank(char unit) noexcept
{
    return unit == ' ' || unit == '\t';
}

bool IsAllBlank(std::string_view text) noexcept
{
    return std::all_of(text.begin(), text.end(), [](char unit) {
        return IsBlank(unit) || unit == '\r' || unit == '\x1A' || unit == '\0';
    });
}

bool HasLineBreak(std::string_view text) noexcept
{
    return text.find('\n') != std::string_view::npos || text.find('\r') != std::string_view::npos;
}

/// Where a quote stands after blanks at the front of a field; `at` without one.
std::size_t FindOpener(std::string_view text, std::size_t at, const Dialect& dialect) noexcept
{
    std::size_t front = at;
    while (front < text.size() && IsBlank(text[front]) && text[front] != dialect.separator) {
        ++front;
    }
    return front < text.size() && text[front] == dialect.quote ? front : at;
}

std::string_view TrimRight(std::string_view text) noexcept
{
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

} // namespace

std::size_t FindNulBlock(std::string_view text) noexcept
{
    std::size_t at = text.find('\0');
    while (at != std::string_view::npos) {
        const std::size_t end = std::min(text.find_first_not_of('\0', at), text.size());
        if (end - at >= kNulBlock) {
            return at;
        }
        at = text.find('\0', end);
    }
    return std::string_view::npos;
}

RecordCutter::RecordCutter(Dialect dialect, std::vector<CellForm> forms)
    : m_dialect(std::move(dialect))
    , m_forms(std::move(forms))
    , m_ends(m_dialect.lineEnds)
{}

std::size_t RecordCutter::FindLineEnd(std::string_view text, std::size_t from) const
{
    switch (m_ends) {
    case ELineEnds::Feeds:
        return std::min(text.find('\n', from), text.size());
    case ELineEnds::Returns:
        return std::min(text.find('\r', from), text.size());
    case ELineEnds::Any:
        break;
    }
    while (from < text.size() && text[from] != '\n' && text[from] != '\r') {
        ++from;
    }
    return from;
}

bool RecordCutter::EndLine(std::string_view text,
                           std::size_t end,
                           bool isWhole,
                           Record& record) const
{
    if (end >= text.size()) {
        record.isEnded = false;
        record.next = text.size();
        return isWhole;
    }
    record.isEnded = true;
    record.next = end + 1;
    if (m_ends == ELineEnds::Any && text[end] == '\r') {
        if (record.next == text.size() && !isWhole) {
            return false;
        }
        if (record.next < text.size() && text[record.next] == '\n') {
            ++record.next;
        }
    }
    return true;
}

std::size_t RecordCutter::SkipQuoted(
    std::string_view text, std::size_t from, bool isWhole, Record& record, Field& field)
{
    if (from < m_noCloserBefore) {
        ++record.unclosed;
        return from;
    }
    const char quote = m_dialect.quote;
    const bool isBlanks = m_dialect.separation == ESeparation::Blanks;
    const auto isSeparator = [&](char unit) {
        return isBlanks ? IsBlank(unit) : unit == m_dialect.separator;
    };
    std::size_t strays = 0;
    std::size_t pairs = 0;
    std::size_t at = from + 1;
    const std::size_t limit = std::min(text.size(), from + kMostQuoted);
    while (at < limit) {
        const void* found = std::memchr(text.data() + at, quote, limit - at);
        if (found == nullptr) {
            break;
        }
        at = static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
        if (m_dialect.hasBackslashes) {
            std::size_t slashes = 0;
            while (at - slashes > from + 1 && text[at - slashes - 1] == '\\') {
                ++slashes;
            }
            if (slashes % 2 == 1) {
                ++at;
                continue;
            }
        }
        std::size_t after = at + 1;
        if (after < text.size() && text[after] == quote) {
            // Rule: after a quote inside, and where none is one of a pair, a pair before a
            // separator or a line's end is a quote of the text and the closing one.
            const std::size_t next = after + 1;
            const bool isLast =
                strays > 0 && pairs == 0 && next < text.size() &&
                (isSeparator(text[next]) || IsLineEnd(text, next) || text[next] == '\r');
            if (!isLast) {
                ++pairs;
                at = next;
                continue;
            }
            at = after;
            after = next;
        }
        if (m_dialect.separation == ESeparation::Character && m_dialect.separator != ' ') {
            while (after < text.size() && text[after] == ' ') {
                ++after;
            }
        }
        if (after == text.size() && !isWhole) {
            return kIncomplete;
        }
        const bool isClosed = after == text.size() || IsLineEnd(text, after) ||
                              text[after] == '\r' || isSeparator(text[after]);
        if (isClosed) {
            ++record.openers;
            record.strays += strays;
            field.begin = from + 1;
            field.size = at - from - 1;
            field.isQuoted = true;
            const std::string_view inside = field.In(text);
            if (HasLineBreak(inside)) {
                // Rule: a quoted field does not go on past a line with a block of NULs.
                if (FindNulBlock(inside) != std::string_view::npos) {
                    --record.openers;
                    record.strays -= strays;
                    ++record.unclosed;
                    field = {from, 0, false};
                    return from;
                }
                for (std::size_t i = 0; i < inside.size(); ++i) {
                    const bool isFirst =
                        inside[i] == '\n' ||
                        (inside[i] == '\r' && (i + 1 == inside.size() || inside[i + 1] != '\n'));
                    record.lines += isFirst ? 1U : 0U;
                }
            }
            return after;
        }
        ++strays;
        ++at;
    }
    if (limit == text.size() && !isWhole) {
        return kIncomplete;
    }
    m_noCloserBefore = limit;
    ++record.unclosed;
    return from;
}

bool RecordCutter::CutSeparated(std::string_view text, bool isWhole, Record& record)
{
    const bool isBlanks = m_dialect.separation == ESeparation::Blanks;
    const char separator = m_dialect.separator;
    const auto isSeparator = [&](char unit) {
        return isBlanks ? IsBlank(unit) : unit == separator;
    };
    std::size_t at = record.begin;
    if (isBlanks) {
        while (at < text.size() && IsBlank(text[at])) {
            ++at;
        }
    }
    for (;;) {
        Field field{at, 0, false};
        std::size_t front = at;
        if (m_dialect.skipsBlanks && !record.fields.empty()) {
            while (front < text.size() && text[front] == ' ') {
                ++front;
            }
            field.begin = front;
        } else if (m_dialect.opensAfterBlanks) {
            front = FindOpener(text, at, m_dialect);
        }
        std::size_t end = front;
        if (m_dialect.quote != 0 && front < text.size() && text[front] == m_dialect.quote) {
            end = SkipQuoted(text, front, isWhole, record, field);
            if (end == kIncomplete) {
                return false;
            }
        }
        if (!field.isQuoted) {
            while (end < text.size() && !isSeparator(text[end]) && !IsLineEnd(text, end)) {
                const bool isStray =
                    m_dialect.quote != 0 && end > front && text[end] == m_dialect.quote;
                record.strays += isStray ? 1U : 0U;
                ++end;
            }
            const bool isLast = end == text.size() || IsLineEnd(text, end);
            std::size_t stop = end;
            if (isLast && stop > field.begin && text[stop - 1] == '\r') {
                --stop;
            }
            field.size = stop - field.begin;
        } else if (end < text.size() && text[end] == '\r' && m_ends == ELineEnds::Feeds) {
            ++end;
            if (end < text.size() && text[end] != '\n') {
                // A return that ends nothing is part of the field.
                field = {at, end - at, false};
            }
        }
        const bool isLineOver = end >= text.size() || IsLineEnd(text, end);
        // Blanks at a line's end separate nothing.
        if (record.fields.size() < Record::kMostFields &&
            !(isBlanks && isLineOver && field.size == 0 && !field.isQuoted)) {
            record.fields.push_back(field);
        }
        if (isLineOver) {
            return EndLine(text, end, isWhole, record);
        }
        at = end + 1;
        if (isBlanks) {
            while (at < text.size() &&
                   (IsBlank(text[at]) ||
                    (text[at] == '\r' && at + 1 < text.size() && text[at + 1] == '\n'))) {
                ++at;
            }
        }
    }
}

std::size_t
RecordCutter::SkipCharacters(std::string_view text, std::size_t at, std::size_t count) const
{
    for (; count > 0 && at < text.size(); --count) {
        ++at;
        while (m_dialect.isUtf8 && at < text.size() &&
               (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U) {
            ++at;
        }
    }
    return at;
}

std::size_t RecordCutter::FindWordsEnd(std::string_view line,
                                       std::size_t begin,
                                       std::size_t end,
                                       std::size_t nextEnd) noexcept
{
    const auto isAcross = [&](std::size_t at) {
        return at > begin && at < line.size() && !IsBlank(line[at - 1]) && !IsBlank(line[at]);
    };
    if (!isAcross(end)) {
        return end;
    }
    std::size_t from = end;
    while (isAcross(from)) {
        --from;
    }
    const std::size_t to = std::min(line.find_first_of(" \t", end), line.size());
    std::size_t gap = 0;
    while (from > begin + gap && IsBlank(line[from - gap - 1])) {
        ++gap;
    }
    const bool isFirst = from == begin + gap;
    const bool isAlone = to >= nextEnd || IsAllBlank(line.substr(to, nextEnd - to));
    if (isAlone ? isFirst && to != nextEnd : isFirst || gap == 1) {
        return to;
    }
    return isAlone && !isFirst && gap > 1 ? from : kIncomplete;
}

void RecordCutter::CutLine(std::string_view text,
                           std::size_t end,
                           std::size_t expected,
                           Record& record) const
{
    std::size_t stop = end;
    if (stop > record.begin && text[stop - 1] == '\r') {
        --stop;
    }
    const std::string_view line = text.substr(0, stop);
    const auto push = [&](std::size_t at, std::size_t to) {
        std::string_view cell = line.substr(at, to - at);
        if (m_dialect.separation == ESeparation::Widths) {
            cell = TrimRight(cell);
            while (!cell.empty() && IsBlank(cell.front())) {
                cell.remove_prefix(1);
                ++at;
            }
        }
        record.fields.push_back({at, cell.size(), false});
    };
    const std::vector<std::uint32_t>& ends = m_dialect.ends;
    std::size_t at = record.begin;
    std::size_t fieldEnd = record.begin; ///< by the widths
    for (std::size_t index = 0; index < ends.size(); ++index) {
        const std::uint32_t width = ends[index] - (index == 0 ? 0 : ends[index - 1]);
        fieldEnd = SkipCharacters(line, fieldEnd, width);
        std::size_t to = std::max(at, fieldEnd);
        if (m_dialect.hasGutters) {
            const std::size_t nextEnd =
                index + 1 < ends.size()
                    ? SkipCharacters(line, fieldEnd, ends[index + 1] - ends[index])
                    : stop;
            const std::size_t wordsEnd = FindWordsEnd(line, at, to, nextEnd);
            if (wordsEnd == kIncomplete && expected > 0) {
                // Rule: a word across two columns that may belong to either leaves one cell less.
                record.isShifted = true;
                continue;
            }
            to = wordsEnd == kIncomplete ? to : wordsEnd;
        }
        push(at, to);
        at = to;
    }
    push(at, stop);
}

bool RecordCutter::CutFields(
    std::string_view text, std::size_t from, bool isWhole, Record& record, std::size_t expected)
{
    record.fields.clear();
    // Rule: a byte order mark at a record's begin is no part of it: files are put together.
    while (m_dialect.isUtf8 && from < text.size() && text[from] == kMark.front() &&
           text.substr(from, kMark.size()) == kMark) {
        from += kMark.size();
    }
    record.begin = from;
    record.lines = 1;
    record.openers = 0;
    record.strays = 0;
    record.unclosed = 0;
    record.repair = ERepair::None;
    record.isShifted = false;
    record.isDamaged = false;
    bool isComplete = false;
    if (m_dialect.separation == ESeparation::Character ||
        m_dialect.separation == ESeparation::Blanks) {
        isComplete = CutSeparated(text, isWhole, record);
    } else {
        const std::size_t end = FindLineEnd(text, from);
        CutLine(text, end, expected, record);
        isComplete = EndLine(text, end, isWhole, record);
        // Rule: a last line without an ending has the columns that it reaches.
        while (!record.isEnded && record.fields.size() > 1 && record.fields.back().begin >= end) {
            record.fields.pop_back();
        }
    }
    // Rule: a line of nothing but empty fields is blank.
    record.isBlank =
        record.openers == 0 &&
        (record.fields.size() <= 1
             ? record.fields.empty() || IsAllBlank(record.fields[0].In(text))
             : std::all_of(record.fields.begin(), record.fields.end(), [](const Field& field) {
                   return field.size == 0;
               }));
    return isComplete;
}

namespace {

/// Whether a record ends in `\n` without a `\r` before it.
bool IsLoneFeed(std::string_view text, const Record& record) noexcept
{
    return record.isEnded && record.next > record.begin && text[record.next - 1] == '\n' &&
           (record.next < record.begin + 2 || text[record.next - 2] != '\r');
}

} // namespace

bool RecordCutter::Cut(
    std::string_view text, std::size_t from, bool isWhole, std::size_t expected, Record& record)
{
    if (!CutFields(text, from, isWhole, record, expected)) {
        return false;
    }
    const std::string_view whole = text.substr(record.begin, record.next - record.begin);
    if (!record.isBlank && FindNulBlock(whole) != std::string_view::npos) {
        ReadBesideNuls(text, expected, record);
        return true;
    }
    if (record.fields.size() > expected && m_dialect.looseColumn < expected && !record.isBlank &&
        JoinLooseCells(text, expected, record)) {
        return true;
    }
    const bool isOdd = record.fields.size() != expected || (record.lines > 1 && expected > 2) ||
                       (record.strays > 0 && !m_forms.empty());
    if (expected < 2 || !isOdd || record.isBlank ||
        m_dialect.separation != ESeparation::Character) {
        return true;
    }
    if (m_dialect.joinsFeeds && record.fields.size() < expected && IsLoneFeed(text, record) &&
        m_compared < m_budget) {
        const EJoin join = JoinLines(text, isWhole, expected, record);
        if (join != EJoin::None) {
            return join == EJoin::Joined;
        }
    }
    Repair(text, expected, record);
    return true;
}

namespace {

std::string_view LineAt(std::string_view text, std::size_t from) noexcept
{
    text.remove_prefix(std::min(from, text.size()));
    return text.substr(0, std::min(text.find_first_of("\r\n"), text.size()));
}

std::size_t AfterLine(std::string_view text, std::size_t end) noexcept
{
    if (end < text.size() && text[end] == '\r') {
        ++end;
    }
    return end < text.size() && text[end] == '\n' ? end + 1 : end;
}

} // namespace

void RecordCutter::ReadBesideNuls(std::string_view text, std::size_t expected, Record& record)
{
    const std::string_view line = LineAt(text, record.begin);
    const std::size_t begin = std::min(line.find_first_not_of('\0'), line.size());
    const std::size_t end = line.find_last_not_of('\0') + 1;
    // Rule: NULs inside a row have taken cells with them; those beside it have not.
    record.isDamaged = record.lines > 1 || begin >= end ||
                       FindNulBlock(line.substr(begin, end - begin)) != std::string_view::npos;
    if (record.isDamaged) {
        return;
    }
    Record rest;
    CutFields(text.substr(0, record.begin + end), record.begin + begin, true, rest);
    record.isDamaged = expected > 0 && rest.fields.size() != expected;
    if (!record.isDamaged) {
        rest.begin = record.begin;
        rest.next = record.next;
        rest.isEnded = record.isEnded;
        rest.repair = ERepair::NulBlock;
        record = std::move(rest);
    }
}

void RecordCutter::Repair(std::string_view text, std::size_t expected, Record& record)
{
    const std::size_t fields = record.fields.size();
    if (record.lines > 1) {
        ReadFirstLine(text, expected, record);
        return;
    }
    const std::string_view line = LineAt(text, record.begin);
    m_budget += line.size() * kBudgetPerByte;
    const std::size_t end = record.begin + line.size();
    // A `\r` inside the line is another matter.
    const bool isLine = AfterLine(text, end) >= record.next;
    if (isLine && m_dialect.quote != 0 && record.strays > 0 && m_compared < m_budget &&
        SplitGlued(text, end, expected, record)) {
        return;
    }
    if (fields == expected) {
        return;
    }
    if (isLine && m_dialect.quote != 0 && record.strays + record.unclosed > 0 &&
        m_compared < m_budget) {
        std::vector<Field> found;
        if (ReadQuotes(line, record.begin, m_dialect, expected, m_forms, found, m_compared)) {
            record.fields = std::move(found);
            record.repair = ERepair::Quotes;
            return;
        }
    }
    if (isLine && ReadOtherSeparator(text, expected, record)) {
        return;
    }
    if (fields > expected && !HasTrailingCells(text, expected, record.fields) &&
        DropEmptyCells(text, expected, m_forms, record.fields)) {
        record.repair = ERepair::EmptyCells;
        return;
    }
    if (fields + 1 == expected && SplitQuoted(text, m_dialect.quote, m_forms, record.fields)) {
        record.repair = ERepair::Quotes;
        return;
    }
    if (fields < expected) {
        record.isShifted = AreCellsShifted(text, record.fields, m_forms);
    } else if (fields > expected && m_ends == ELineEnds::Feeds && !isLine) {
        SplitAtReturn(text, expected, record);
    }
}

bool RecordCutter::JoinLooseCells(std::string_view text, std::size_t expected, Record& record) const
{
    const std::size_t surplus = record.fields.size() - expected;
    const auto first = record.fields.begin() + static_cast<std::ptrdiff_t>(m_dialect.looseColumn);
    const auto last = first + static_cast<std::ptrdiff_t>(surplus);
    if (std::any_of(first, last + 1, [](const Field& field) { return field.isQuoted; })) {
        return false;
    }
    std::vector<Field> fields(record.fields.begin(), first);
    fields.push_back({first->begin, last->begin + last->size - first->begin, false});
    fields.insert(fields.end(), last + 1, record.fields.end());
    for (std::size_t index = 0; index < m_forms.size() && index < expected; ++index) {
        const bool isLoose = index == m_dialect.looseColumn;
        if (!isLoose && !fields[index].isQuoted && !m_forms[index].Fits(fields[index].In(text))) {
            return false;
        }
    }
    record.fields = std::move(fields);
    record.repair = ERepair::Loose;
    return true;
}

bool RecordCutter::HasTrailingCells(std::string_view text,
                                    std::size_t expected,
                                    const std::vector<Field>& fields) const
{
    const auto tail = fields.begin() + static_cast<std::ptrdiff_t>(expected);
    return std::all_of(tail, fields.end(), [](const Field& field) { return field.size == 0; }) &&
           DoCellsFit(text, {fields.begin(), tail}, m_forms);
}

std::size_t RecordCutter::CountFields(std::string_view line) const
{
    RecordCutter plain(m_dialect);
    Record record;
    plain.CutFields(line, 0, true, record);
    return record.strays + record.unclosed > 0 || record.lines > 1 ? 0 : record.fields.size();
}

bool RecordCutter::SplitGlued(std::string_view text,
                              std::size_t end,
                              std::size_t expected,
                              Record& record)
{
    constexpr std::size_t kMostPlaces = 32;
    if (m_forms.size() != expected || DoCellsFit(text, record.fields, m_forms)) {
        return false;
    }
    const std::string_view line = text.substr(record.begin, end - record.begin);
    const char quote = m_dialect.quote;
    const auto isGlue = [&](std::size_t at) {
        return at < line.size() && line[at] != m_dialect.separator && line[at] != quote;
    };
    RecordCutter plain(m_dialect);
    Record cut;
    std::vector<Field> found;
    std::size_t places = 0;
    for (std::size_t at = line.find(quote); at != std::string_view::npos && places < kMostPlaces;
         at = line.find(quote, at + 1)) {
        // An opener after a cell, or a closer before one.
        for (const std::size_t split : {at, at + 1}) {
            if (!isGlue(split == at ? at - 1 : split)) {
                continue;
            }
            ++places;
            m_compared += line.size();
            std::string whole(line);
            whole.insert(split, 1, m_dialect.separator);
            plain.StartPiece();
            plain.CutFields(whole, 0, true, cut);
            if (cut.fields.size() != expected || cut.strays + cut.unclosed > 0 || cut.lines > 1 ||
                !DoCellsFit(whole, cut.fields, m_forms)) {
                continue;
            }
            for (Field& field : cut.fields) {
                field.begin += record.begin - (field.begin > split ? 1U : 0U);
            }
            if (!found.empty()) {
                return false;
            }
            found = cut.fields;
        }
    }
    if (found.empty()) {
        return false;
    }
    record.fields = std::move(found);
    record.repair = ERepair::Quotes;
    return true;
}

bool RecordCutter::ReadFirstLine(std::string_view text, std::size_t expected, Record& record)
{
    // Rule: an opener that swallows whole rows is text.
    const std::string_view line = LineAt(text, record.begin);
    const std::size_t end = record.begin + line.size();
    const std::size_t after = AfterLine(text, end);
    const std::string_view next = LineAt(text, after);
    m_budget += (line.size() + next.size()) * kBudgetPerByte;
    const auto canBeRow = [&](std::string_view row) {
        return static_cast<std::size_t>(std::count(row.begin(), row.end(), m_dialect.separator)) +
                   1 >=
               expected;
    };
    if (after >= record.next || m_compared >= m_budget || !canBeRow(next)) {
        return false;
    }
    if (!canBeRow(line)) {
        return CutBeforeWholeRow(text, next, after, expected, record);
    }
    const auto endAfterLine = [&] {
        record.lines = 1;
        record.next = after;
        record.isEnded = true;
        record.repair = ERepair::Quotes;
    };
    if (record.strays > 0 && SplitGlued(text, end, expected, record)) {
        endAfterLine();
        return true;
    }
    std::vector<Field> found;
    std::vector<Field> ofNext;
    if (!ReadQuotes(line, record.begin, m_dialect, expected, m_forms, found, m_compared) ||
        !ReadQuotes(next, after, m_dialect, expected, m_forms, ofNext, m_compared)) {
        return false;
    }
    // Rule: a quoted field without stray quotes stays whole, unless it looks like no cell of its
    // column, and the lines that it would be cut into look like rows.
    const bool isClean = record.strays + record.unclosed == 0;
    if (isClean && (!DoCellsFit(text, found, m_forms, 1) || !DoCellsFit(text, ofNext, m_forms, 1) ||
                    DoCellsFit(text, record.fields, m_forms))) {
        return false;
    }
    record.fields = std::move(found);
    endAfterLine();
    return true;
}

bool RecordCutter::CutBeforeWholeRow(std::string_view text,
                                     std::string_view next,
                                     std::size_t after,
                                     std::size_t expected,
                                     Record& record)
{
    // Rule: a row that is cut inside quotes ends with its line where a whole row is the next one.
    RecordCutter plain(m_dialect);
    Record cut;
    m_compared += next.size();
    plain.CutFields(next, 0, true, cut);
    if (record.strays == 0 || expected < 3 || cut.fields.size() != expected || cut.lines > 1 ||
        cut.strays + cut.unclosed > 0 ||
        !(AreQuoted(cut.fields) || DoCellsFit(next, cut.fields, m_forms))) {
        return false;
    }
    CutFields(text.substr(0, after), record.begin, true, record);
    record.isShifted = record.fields.size() < expected;
    return true;
}

bool RecordCutter::ReadOtherSeparator(std::string_view text,
                                      std::size_t expected,
                                      Record& record) const
{
    if (m_forms.size() != expected || expected < 3) {
        return false;
    }
    const std::string_view line = LineAt(text, record.begin);
    std::vector<Field> found;
    for (const char separator : {',', ';', '\t', '|', ' '}) {
        if (separator == m_dialect.separator || line.find(separator) == std::string_view::npos) {
            continue;
        }
        Dialect dialect = m_dialect;
        dialect.separator = separator;
        dialect.skipsBlanks = false;
        RecordCutter other(dialect);
        Record cut;
        other.CutFields(line, 0, true, cut);
        if (cut.fields.size() != expected || cut.strays + cut.unclosed > 0 ||
            !(AreQuoted(cut.fields) || DoCellsFit(line, cut.fields, m_forms))) {
            continue;
        }
        if (!found.empty()) {
            return false;
        }
        found = std::move(cut.fields);
    }
    if (found.empty()) {
        return false;
    }
    for (Field& field : found) {
        field.begin += record.begin;
    }
    record.fields = std::move(found);
    record.repair = ERepair::Separator;
    return true;
}

RecordCutter::EJoin
RecordCutter::JoinLines(std::string_view text, bool isWhole, std::size_t expected, Record& record)
{
    m_keepsFeeds = true;
    Record joined;
    const std::string_view piece =
        text.substr(0, std::min(text.size(), record.begin + kMostJoined));
    const bool isCut = piece.size() < text.size();
    m_compared += piece.size() - record.begin;
    m_budget += (record.next - record.begin) * kBudgetPerByte;
    const bool isComplete = CutFields(piece, record.begin, isWhole && !isCut, joined);
    m_keepsFeeds = false;
    if (!isComplete) {
        // A row that may go on is complete when the text holds enough of it.
        const bool hasEnough = isWhole || text.size() - record.begin >= kMostJoined;
        return hasEnough ? EJoin::None : EJoin::Incomplete;
    }
    if (joined.fields.size() != expected || !DoCellsFit(text, joined.fields, m_forms, 1)) {
        return EJoin::None;
    }
    const std::string_view all = text.substr(joined.begin, joined.next - joined.begin);
    joined.lines = static_cast<std::uint64_t>(std::count(all.begin(), all.end(), '\n')) +
                   (joined.isEnded ? 0U : 1U);
    joined.repair = ERepair::LineEnd;
    record = std::move(joined);
    return EJoin::Joined;
}

bool RecordCutter::SplitAtReturn(std::string_view text, std::size_t expected, Record& record)
{
    m_ends = ELineEnds::Any;
    Record split;
    const bool isComplete = CutFields(text.substr(0, record.next), record.begin, true, split);
    m_ends = m_dialect.lineEnds;
    if (!isComplete || split.fields.size() != expected || split.next >= record.next) {
        return false;
    }
    split.repair = ERepair::LineEnd;
    record = std::move(split);
    return true;
}

} // namespace Orvane::Import::Scan
