// A walk over the fields of a record.
#include "Records.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Orvane::Import::Scan {

namespace {

bool IsBlank(char unit) noexcept
{
    return unit == ' ' || unit == '\t';
}

bool IsAllBlank(std::string_view text) noexcept
{
    return std::all_of(text.begin(), text.end(), [](char unit) {
        return IsBlank(unit) || unit == '\r' || unit == '\x1A';
    });
}

bool HasLineBreak(std::string_view text) noexcept
{
    return text.find('\n') != std::string_view::npos || text.find('\r') != std::string_view::npos;
}

std::string_view TrimRight(std::string_view text) noexcept
{
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

} // namespace

RecordCutter::RecordCutter(Dialect dialect)
    : m_dialect(std::move(dialect))
{}

std::size_t RecordCutter::FindLineEnd(std::string_view text, std::size_t from) const
{
    switch (m_dialect.lineEnds) {
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
    if (m_dialect.lineEnds == ELineEnds::Any && text[end] == '\r') {
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
    if (from < m_noCloserBefore || from < m_textUntil) {
        ++record.unclosed;
        return from;
    }
    const char quote = m_dialect.quote;
    std::size_t strays = 0;
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
            at = after + 1;
            continue;
        }
        if (m_dialect.separation == ESeparation::Character && m_dialect.separator != ' ') {
            while (after < text.size() && text[after] == ' ') {
                ++after;
            }
        }
        if (after == text.size() && !isWhole) {
            return kIncomplete;
        }
        const bool isClosed =
            after == text.size() || IsLineEnd(text[after]) || text[after] == '\r' ||
            (m_dialect.separation == ESeparation::Blanks ? IsBlank(text[after])
                                                         : text[after] == m_dialect.separator);
        if (isClosed) {
            ++record.openers;
            record.strays += strays;
            field.begin = from + 1;
            field.size = at - from - 1;
            field.isQuoted = true;
            const std::string_view inside = field.In(text);
            if (HasLineBreak(inside)) {
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
        }
        std::size_t end = front;
        if (m_dialect.quote != 0 && front < text.size() && text[front] == m_dialect.quote) {
            end = SkipQuoted(text, front, isWhole, record, field);
            if (end == kIncomplete) {
                return false;
            }
        }
        if (!field.isQuoted) {
            while (end < text.size() && !isSeparator(text[end]) && !IsLineEnd(text[end])) {
                const bool isStray =
                    m_dialect.quote != 0 && end > front && text[end] == m_dialect.quote;
                record.strays += isStray ? 1U : 0U;
                ++end;
            }
            const bool isLast = end == text.size() || IsLineEnd(text[end]);
            std::size_t stop = end;
            if (isLast && stop > field.begin && text[stop - 1] == '\r') {
                --stop;
            }
            field.size = stop - field.begin;
        } else if (end < text.size() && text[end] == '\r' && !IsLineEnd('\r')) {
            ++end;
            if (end < text.size() && text[end] != '\n') {
                // A return that ends nothing is part of the field.
                field = {front, end - front, false};
            }
        }
        const bool isLineOver = end >= text.size() || IsLineEnd(text[end]);
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

void RecordCutter::CutLine(std::string_view text, std::size_t end, Record& record) const
{
    std::size_t stop = end;
    if (stop > record.begin && text[stop - 1] == '\r') {
        --stop;
    }
    std::size_t at = record.begin;
    std::uint32_t character = 0;
    for (const std::uint32_t fieldEnd : m_dialect.ends) {
        std::size_t to = at;
        while (to < stop && character < fieldEnd) {
            ++to;
            while (m_dialect.isUtf8 && to < stop &&
                   (static_cast<unsigned char>(text[to]) & 0xC0U) == 0x80U) {
                ++to;
            }
            ++character;
        }
        std::string_view cell = TrimRight(text.substr(at, to - at));
        std::size_t begin = at;
        while (!cell.empty() && IsBlank(cell.front())) {
            cell.remove_prefix(1);
            ++begin;
        }
        record.fields.push_back({begin, cell.size(), false});
        at = to;
        character = fieldEnd;
    }
    std::string_view cell = text.substr(at, stop - at);
    if (m_dialect.separation == ESeparation::Widths) {
        cell = TrimRight(cell);
        while (!cell.empty() && IsBlank(cell.front())) {
            cell.remove_prefix(1);
            ++at;
        }
    }
    record.fields.push_back({at, cell.size(), false});
}

bool RecordCutter::CutFields(std::string_view text, std::size_t from, bool isWhole, Record& record)
{
    record.fields.clear();
    record.begin = from;
    record.lines = 1;
    record.openers = 0;
    record.strays = 0;
    record.unclosed = 0;
    bool isComplete = false;
    if (m_dialect.separation == ESeparation::Character ||
        m_dialect.separation == ESeparation::Blanks) {
        isComplete = CutSeparated(text, isWhole, record);
    } else {
        const std::size_t end = FindLineEnd(text, from);
        CutLine(text, end, record);
        isComplete = EndLine(text, end, isWhole, record);
    }
    record.isBlank = record.openers == 0 && record.fields.size() <= 1 &&
                     (record.fields.empty() || IsAllBlank(record.fields[0].In(text)));
    if (m_dialect.separation == ESeparation::Widths) {
        record.isBlank = std::all_of(record.fields.begin(),
                                     record.fields.end(),
                                     [](const Field& field) { return field.size == 0; });
    }
    return isComplete;
}

bool RecordCutter::Cut(
    std::string_view text, std::size_t from, bool isWhole, std::size_t expected, Record& record)
{
    m_textUntil = 0;
    if (!CutFields(text, from, isWhole, record)) {
        return false;
    }
    if (expected == 0 || record.lines == 1 || record.fields.size() == expected) {
        return true;
    }
    // Rule: an opener that swallows line ends is text when that gives the row its count.
    Record other;
    for (const Field& field : record.fields) {
        if (field.isQuoted && HasLineBreak(field.In(text))) {
            m_textUntil = field.begin;
            if (CutFields(text, from, isWhole, other) && other.fields.size() == expected) {
                m_textUntil = 0;
                record = std::move(other);
            }
            m_textUntil = 0;
            break;
        }
    }
    return true;
}

} // namespace Orvane::Import::Scan
