// Reads dates and times of ISO 8601.
#include "DateText.h"

#include <array>
#include <cstddef>

namespace Orvane {

namespace {

constexpr bool IsDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}

/// Reads a text from its begin; once something does not fit, nothing fits any more.
class TextParts
{
public:
    explicit TextParts(std::string_view text)
        : m_text(text)
    {}

    [[nodiscard]] bool IsAtEnd() const { return m_isGood && m_text.empty(); }

    [[nodiscard]] bool IsGood() const { return m_isGood; }

    [[nodiscard]] char Peek() const { return m_text.empty() ? '\0' : m_text.front(); }

    void Skip() { m_text.remove_prefix(1); }

    void Require(char byte)
    {
        if (Peek() != byte) {
            m_isGood = false;
            return;
        }
        Skip();
    }

    /// A number of exactly `digits` digits from `least` to `most`.
    int Number(int digits, int least, int most)
    {
        int value = 0;
        for (int index = 0; index < digits; ++index) {
            if (!IsDigit(Peek())) {
                m_isGood = false;
                return least;
            }
            value = value * 10 + (Peek() - '0');
            Skip();
        }
        m_isGood = m_isGood && value >= least && value <= most;
        return value;
    }

private:
    std::string_view m_text;
    bool m_isGood = true;
};

int DaysOf(int year, int month)
{
    constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool isLeap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return kDays[static_cast<std::size_t>(month - 1)] + (month == 2 && isLeap ? 1 : 0);
}

void ReadDate(TextParts& text, DateParts& parts)
{
    parts.year = text.Number(4, 0, 9999);
    text.Require('-');
    parts.month = text.Number(2, 1, 12);
    text.Require('-');
    parts.day = text.Number(2, 1, text.IsGood() ? DaysOf(parts.year, parts.month) : 31);
}

void ReadFraction(TextParts& text, DateParts& parts)
{
    constexpr int kDigits = 9;
    text.Skip();
    for (; IsDigit(text.Peek()); text.Skip()) {
        if (parts.fractionDigits < kDigits) {
            parts.nanoseconds = parts.nanoseconds * 10 + (text.Peek() - '0');
        }
        ++parts.fractionDigits;
    }
    for (int digits = parts.fractionDigits; digits < kDigits; ++digits) {
        parts.nanoseconds *= 10;
    }
    if (parts.fractionDigits == 0) {
        text.Require('0');
    }
}

void ReadTime(TextParts& text, DateParts& parts)
{
    parts.hour = text.Number(2, 0, 23);
    text.Require(':');
    parts.minute = text.Number(2, 0, 59);
    if (text.Peek() != ':') {
        return;
    }
    text.Skip();
    parts.second = text.Number(2, 0, 60);
    if (text.Peek() == '.') {
        ReadFraction(text, parts);
    }
}

void ReadZone(TextParts& text, DateParts& parts)
{
    const char sign = text.Peek();
    if (sign == 'Z') {
        text.Skip();
        parts.offset = 0;
    } else if (sign == '+' || sign == '-') {
        text.Skip();
        const int hours = text.Number(2, 0, 14);
        text.Require(':');
        const int minutes = 60 * hours + text.Number(2, 0, 59);
        parts.offset = sign == '-' ? -minutes : minutes;
    }
}

} // namespace

std::optional<DateParts> ParseDateText(EVariantType type, std::string_view text)
{
    TextParts rest(text);
    DateParts parts;
    if (type != EVariantType::Time) {
        ReadDate(rest, parts);
    }
    if (type == EVariantType::DateTime) {
        rest.Require(rest.Peek() == ' ' ? ' ' : 'T');
    }
    if (type != EVariantType::Date) {
        ReadTime(rest, parts);
    }
    if (type == EVariantType::DateTime) {
        ReadZone(rest, parts);
    }
    return rest.IsAtEnd() ? std::optional(parts) : std::nullopt;
}

void SpellDateTime(std::string_view text,
                   const DateParts& parts,
                   std::size_t leastFractionDigits,
                   std::string& out)
{
    constexpr std::size_t kDateLength = 10;
    constexpr std::size_t kMinutesEnd = 16;
    constexpr std::size_t kSecondsEnd = 19;
    const bool hasSeconds = text.size() >= kSecondsEnd && text[kMinutesEnd] == ':';
    const auto digits = static_cast<std::size_t>(parts.fractionDigits);
    const std::size_t zone =
        !hasSeconds ? kMinutesEnd : kSecondsEnd + (digits > 0 ? 1 + digits : 0);
    out.assign(text.substr(0, kDateLength));
    out += 'T';
    out += text.substr(kDateLength + 1, kMinutesEnd - kDateLength - 1);
    out += hasSeconds ? text.substr(kMinutesEnd, zone - kMinutesEnd) : ":00";
    if (digits < leastFractionDigits) {
        out += digits == 0 ? "." : "";
        out.append(leastFractionDigits - digits, '0');
    }
    out += text.substr(zone);
}

} // namespace Orvane
