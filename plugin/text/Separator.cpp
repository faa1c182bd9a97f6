// Cuts lines into fields by literal, by pattern or by widths, and removes quotes.
#include "text/Separator.h"

#include "text/ValueRules.h"

#include <Orvane/BUnicode.h>

#include <algorithm>
#include <cstring>
#include <optional>

namespace AsciiReader {

namespace {

/// What follows the separator in every pattern that splits outside quotes.
constexpr std::u16string_view kOutsideQuotes = uR"RE((?=(?:[^"]*"[^"]*")*(?![^"]*")))RE";

constexpr std::u16string_view kPatternSyntax = u"\\^$.[|()?*+{";

std::u16string_view ViewOf(const QString& text)
{
    return {reinterpret_cast<const char16_t*>(text.utf16()), static_cast<std::size_t>(text.size())};
}

bool IsWordUnit(char16_t unit)
{
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') ||
           (unit >= u'0' && unit <= u'9') || unit == u'_';
}

/// The literal text that a split pattern looks for, when it is one.
std::optional<std::u16string> ReadLiteral(const QRegularExpression& pattern)
{
    const QString text = pattern.pattern();
    std::u16string_view head = ViewOf(text);
    if (pattern.patternOptions() != QRegularExpression::NoPatternOption ||
        head.size() < kOutsideQuotes.size() ||
        head.substr(head.size() - kOutsideQuotes.size()) != kOutsideQuotes) {
        return std::nullopt;
    }
    head.remove_suffix(kOutsideQuotes.size());
    std::u16string literal;
    for (std::size_t at = 0; at < head.size(); ++at) {
        char16_t unit = head[at];
        if (unit == u'\\') {
            if (++at == head.size()) {
                return std::nullopt;
            }
            unit = head[at];
            if (unit == u'0') {
                unit = u'\0'; // how QRegularExpression::escape writes a NUL
            } else if (IsWordUnit(unit)) {
                return std::nullopt;
            }
        } else if (kPatternSyntax.find(unit) != std::u16string_view::npos) {
            return std::nullopt;
        }
        literal.push_back(unit);
    }
    return literal;
}

bool IsWellFormed(std::u16string_view text)
{
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (Orvane::BUnicode::IsHighSurrogate(text[at]) && at + 1 < text.size() &&
            Orvane::BUnicode::IsLowSurrogate(text[at + 1])) {
            ++at;
        } else if (Orvane::BUnicode::IsSurrogate(text[at])) {
            return false;
        }
    }
    return true;
}

/// Bytes of the last UTF-16 unit of a text; `isHalf` tells that they hold two units.
std::size_t SizeOfLastUnit(std::string_view text, ETextUnit unit, bool& isHalf)
{
    if (unit == ETextUnit::Latin1) {
        return 1;
    }
    std::size_t size = 1;
    while (size < text.size() &&
           Orvane::BUnicode::IsContinuation(static_cast<unsigned char>(text[text.size() - size]))) {
        ++size;
    }
    isHalf = size == 4;
    return size;
}

std::size_t SizeOfLastUnit(std::u16string_view /*text*/, ETextUnit /*unit*/, bool& /*isHalf*/)
{
    return 1;
}

/// Rule: a part that begins with a quote loses its last unit too, whatever that unit is.
/// @param isHalf set when that unit is the second half of a character, of which the first is left
template <typename Unit>
std::basic_string_view<Unit>
DropOuter(std::basic_string_view<Unit> part, ETextUnit textUnit, bool& isHalf)
{
    if (part.empty() || part.front() != Unit('"')) {
        return part;
    }
    part.remove_prefix(1);
    if (!part.empty()) {
        bool isHalfLeft = false;
        const std::size_t dropped = SizeOfLastUnit(part, textUnit, isHalfLeft);
        part.remove_suffix(isHalfLeft ? dropped - 1 : dropped);
        isHalf = isHalf || isHalfLeft;
    }
    return part;
}

/// Removes quotes and escapes of one part. A part that must change is appended to `unquoted`, which
/// has room for it. Pairs of quotes become one, then backslashes before quotes are dropped.
template <typename Unit>
std::basic_string_view<Unit> UnquotePart(std::basic_string_view<Unit> part,
                                         ETextUnit textUnit,
                                         std::basic_string<Unit>& unquoted,
                                         bool& isHalf)
{
    constexpr Unit kQuote = Unit('"');
    constexpr Unit kBackslash = Unit('\\');
    part = DropOuter(part, textUnit, isHalf);
    std::size_t quoteAt = part.find(kQuote);
    if (quoteAt == std::basic_string_view<Unit>::npos) {
        return part;
    }
    const std::size_t begin = unquoted.size();
    std::size_t from = 0;
    while (quoteAt != std::basic_string_view<Unit>::npos) {
        unquoted.append(part, from, quoteAt + 1 - from);
        from = quoteAt + 1;
        if (from < part.size() && part[from] == kQuote) {
            ++from;
        }
        // Quotes in a row need no search for each.
        while (from < part.size() && part[from] == kQuote) {
            unquoted.push_back(kQuote);
            const bool isPair = from + 1 < part.size() && part[from + 1] == kQuote;
            from += isPair ? 2U : 1U;
        }
        quoteAt = part.find(kQuote, from);
    }
    unquoted.append(part, from);
    // The second pass reads what the first one made: `\""` ends as one quote.
    if (unquoted.find(kBackslash, begin) == std::basic_string<Unit>::npos) {
        return std::basic_string_view<Unit>(unquoted).substr(begin);
    }
    Unit* const data = unquoted.data();
    const std::size_t end = unquoted.size();
    std::size_t to = begin;
    for (std::size_t at = begin; at < end; ++at) {
        if (data[at] == kBackslash && at + 1 < end && data[at + 1] == kQuote) {
            ++at;
        }
        data[to++] = data[at];
    }
    unquoted.resize(to);
    return std::basic_string_view<Unit>(unquoted).substr(begin);
}

/// Collects the parts of one line; knows whether any was not empty.
template <typename Unit>
class RowBuilder
{
public:
    RowBuilder(FieldList<Unit>& out, std::size_t lineSize, ETextUnit textUnit)
        : m_out(out)
        , m_textUnit(textUnit)
    {
        out.fields.clear();
        out.unquoted.clear();
        // Views into it must stay where they are while it grows.
        out.unquoted.reserve(lineSize);
    }

    void Append(std::basic_string_view<Unit> part)
    {
        if (part.empty() && !m_anyContent) {
            ++m_leadingEmpty;
        } else {
            Add(part, true);
        }
    }

    void AppendPlain(std::basic_string_view<Unit> part)
    {
        if (part.empty() && !m_anyContent) {
            ++m_leadingEmpty;
        } else {
            Add(part, false);
        }
    }

    /// Rule: a line whose parts are all empty has no fields.
    /// @return false when half of a character was left over
    bool Finish()
    {
        m_out.fields.resize(m_anyContent ? m_out.fields.size() : 0);
        return !m_hasHalf;
    }

private:
    void Add(std::basic_string_view<Unit> part, bool mayHaveQuotes)
    {
        // Empty parts at the start are only counted until a part has content, so that a line of
        // nothing but separators needs no memory.
        if (!m_anyContent) {
            m_anyContent = true;
            m_out.fields.resize(m_leadingEmpty);
        }
        m_out.fields.push_back(
            mayHaveQuotes ? UnquotePart(part, m_textUnit, m_out.unquoted, m_hasHalf) : part);
    }

    FieldList<Unit>& m_out;
    ETextUnit m_textUnit;
    bool m_hasHalf = false;
    std::size_t m_leadingEmpty = 0;
    bool m_anyContent = false;
};

} // namespace

std::string_view DropOuterQuotes(std::string_view part, ETextUnit unit)
{
    bool isHalf = false;
    return DropOuter(part, unit, isHalf);
}

bool Unquote(std::string_view part, ETextUnit unit, std::string& scratch, std::string_view& result)
{
    scratch.clear();
    scratch.reserve(part.size());
    bool isHalf = false;
    result = UnquotePart(part, unit, scratch, isHalf);
    return !isHalf;
}

std::u16string_view Unquote(std::u16string_view part, std::u16string& scratch)
{
    scratch.clear();
    scratch.reserve(part.size());
    bool isHalf = false;
    return UnquotePart(part, ETextUnit::Utf16, scratch, isHalf);
}

Separator::Separator(const QRegularExpression& pattern, std::vector<std::int32_t> columnWidths)
    : m_pattern(pattern)
    , m_widths(std::move(columnWidths))
{
    const std::optional<std::u16string> literal = ReadLiteral(pattern);
    const bool isValid = literal.has_value() || pattern.isValid();
    if (!isValid) {
        m_kind = m_widths.empty() ? Kind::NoFields : Kind::Widths;
    } else if (!m_widths.empty()) {
        // Rule: a valid pattern together with column widths yields no fields.
        m_kind = Kind::NoFields;
    } else if (!literal) {
        m_kind = Kind::Pattern;
    } else if (literal->empty()) {
        m_kind = Kind::Empty;
    } else {
        m_kind = Kind::Literal;
        m_literal = *literal;
        const Orvane::BString text(m_literal);
        if (std::all_of(
                m_literal.begin(), m_literal.end(), [](char16_t unit) { return unit < 0x100; })) {
            m_literalLatin1 = text.ToLatin1();
        }
        if (IsWellFormed(m_literal)) {
            m_literalUtf8 = text.ToUtf8();
        }
    }
}

char Separator::GetSingleByte() const noexcept
{
    const bool isSingleByte =
        m_kind == Kind::Literal && m_literal.size() == 1 && m_literal.front() < 0x80;
    return isSingleByte ? static_cast<char>(m_literal.front()) : '\0';
}

void Separator::Split(const TextView& line, SplitRow& row) const
{
    if (m_kind == Kind::NoFields) {
        row.SetEmpty();
        return;
    }
    if (m_kind == Kind::Literal && line.GetUnit() != ETextUnit::Utf16) {
        const bool isLatin1 = line.GetUnit() == ETextUnit::Latin1;
        const std::string& literal = isLatin1 ? m_literalLatin1 : m_literalUtf8;
        row.m_unit = line.GetUnit();
        if (SplitLiteral<char>(line.Bytes(), line.GetUnit(), literal, row.m_bytes)) {
            return;
        }
    }
    row.m_unit = ETextUnit::Utf16;
    std::u16string_view wide;
    if (line.GetUnit() == ETextUnit::Utf16) {
        wide = line.Wide();
    } else {
        Widen(line, row.m_line);
        wide = row.m_line;
    }
    switch (m_kind) {
    case Kind::NoFields:
        break;
    case Kind::Literal:
        SplitLiteral<char16_t>(wide, ETextUnit::Utf16, m_literal, row.m_wide);
        break;
    case Kind::Empty:
        SplitEmpty(wide, row.m_wide);
        break;
    case Kind::Pattern:
        SplitPattern(wide, row.m_wide);
        break;
    case Kind::Widths:
        SplitWidths(wide, row.m_wide);
        break;
    }
}

template <typename Unit>
bool Separator::SplitLiteral(std::basic_string_view<Unit> line,
                             ETextUnit textUnit,
                             std::basic_string_view<Unit> separator,
                             FieldList<Unit>& out) const
{
    constexpr Unit kQuote = Unit('"');
    constexpr std::size_t kNone = std::basic_string_view<Unit>::npos;
    RowBuilder<Unit> row(out, line.size(), textUnit);
    std::size_t begin = 0;
    std::size_t quoteAt = line.find(kQuote);
    const bool hasQuotes = quoteAt != kNone;
    const bool isLineUnbalanced = hasQuotes && ValueRules::CountQuotes<Unit>(line) % 2 != 0;
    const auto take = [&](std::size_t at) {
        const std::basic_string_view<Unit> part = line.substr(begin, at - begin);
        hasQuotes ? row.Append(part) : row.AppendPlain(part);
    };
    bool isLeftUnbalanced = false;
    // Quotes to the right of a separator are even exactly when those up to its end have the line's
    // parity.
    if (separator.size() == 1 && separator.front() != kQuote) {
        const Unit unit = separator.front();
        for (std::size_t at = 0; at < line.size(); ++at) {
            if (line[at] == unit) {
                if (isLeftUnbalanced == isLineUnbalanced) {
                    take(at);
                    begin = at + 1;
                }
            } else if (line[at] == kQuote) {
                isLeftUnbalanced = !isLeftUnbalanced;
            }
        }
    } else if (!separator
                    .empty()) { // an empty one stands for a text that this encoding cannot hold
        std::size_t at = line.find(separator);
        while (at != kNone) {
            const std::size_t after = at + separator.size();
            // `after` only grows, so that each quote is counted once.
            while (quoteAt < after) {
                isLeftUnbalanced = !isLeftUnbalanced;
                quoteAt = line.find(kQuote, quoteAt + 1);
            }
            const bool splits = isLeftUnbalanced == isLineUnbalanced;
            if (splits) {
                take(at);
                begin = after;
            }
            at = line.find(separator, splits ? after : at + 1);
        }
    }
    take(line.size());
    return row.Finish();
}

void Separator::SplitEmpty(std::u16string_view line, FieldList<char16_t>& out) const
{
    // The empty literal matches between any two characters that an even number of quotes follows.
    RowBuilder<char16_t> row(out, line.size(), ETextUnit::Utf16);
    bool isRightUnbalanced = ValueRules::CountQuotes<char16_t>(line) % 2 != 0;
    std::size_t begin = 0;
    for (std::size_t at = 0; at <= line.size(); ++at) {
        const bool isInsidePair = at > 0 && at < line.size() &&
                                  Orvane::BUnicode::IsHighSurrogate(line[at - 1]) &&
                                  Orvane::BUnicode::IsLowSurrogate(line[at]);
        if (!isRightUnbalanced && !isInsidePair) {
            row.Append(line.substr(begin, at - begin));
            begin = at;
        }
        if (at < line.size() && line[at] == u'"') {
            isRightUnbalanced = !isRightUnbalanced;
        }
    }
    row.Append(line.substr(begin));
    row.Finish();
}

void Separator::SplitPattern(std::u16string_view line, FieldList<char16_t>& out) const
{
    RowBuilder<char16_t> row(out, line.size(), ETextUnit::Utf16);
    const QString text = QString::fromRawData(reinterpret_cast<const QChar*>(line.data()),
                                              static_cast<qsizetype>(line.size()));
    std::size_t begin = 0;
    QRegularExpressionMatchIterator matches = m_pattern.globalMatch(text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const auto end = static_cast<std::size_t>(match.capturedStart());
        row.Append(line.substr(begin, end - begin));
        begin = static_cast<std::size_t>(match.capturedEnd());
    }
    row.Append(line.substr(begin));
    row.Finish();
}

void Separator::SplitWidths(std::u16string_view line, FieldList<char16_t>& out) const
{
    out.fields.clear();
    std::int64_t position = 0;
    const auto size = static_cast<std::int64_t>(line.size());
    for (const std::int32_t width : m_widths) {
        // Rule: a negative width gives the rest of the line and moves the position back; before
        // the line there are no fields.
        if (position < 0 || position >= size) {
            break;
        }
        out.fields.push_back(
            line.substr(static_cast<std::size_t>(position),
                        width < 0 ? std::u16string_view::npos : static_cast<std::size_t>(width)));
        position += width;
    }
}

void SplitRow::SetWhole(const TextView& line)
{
    m_unit = line.GetUnit();
    if (m_unit == ETextUnit::Utf16) {
        m_wide.fields.assign(1, line.Wide());
    } else {
        m_bytes.fields.assign(1, line.Bytes());
    }
}

void SplitRow::SetFields(const std::vector<Orvane::BString>& fields)
{
    m_unit = ETextUnit::Utf16;
    m_wide.fields.clear();
    m_wide.fields.reserve(fields.size());
    for (const Orvane::BString& field : fields) {
        m_wide.fields.push_back(field.View());
    }
}

void SplitRow::SetEmpty() noexcept
{
    m_bytes.fields.clear();
    m_wide.fields.clear();
}

} // namespace AsciiReader
