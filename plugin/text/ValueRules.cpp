// The rules on the text of one field; plain decimals are converted here, all else by BNumbers.
#include "text/ValueRules.h"

#include <Orvane/BNumbers.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <string>

namespace AsciiReader::ValueRules {

namespace {

/// Powers of ten that a double holds exactly.
constexpr std::array<double, 23> kPowersOfTen = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                 1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

constexpr std::uint64_t kExactMantissa = std::uint64_t{1} << 53;

template <typename Unit>
constexpr bool IsDigit(Unit unit) noexcept
{
    return unit >= Unit('0') && unit <= Unit('9');
}

template <typename Unit>
bool Contains(Text<Unit> text, char unit) noexcept
{
    return text.find(static_cast<Unit>(unit)) != Text<Unit>::npos;
}

/// Converts `-?digits[.digits]` of at most 18 digits whose mantissa is below 2^53. Mantissa and
/// power of ten are exact doubles then, so that the one division rounds correctly.
template <typename Unit>
bool ConvertPlainDecimal(Text<Unit> text, double& value) noexcept
{
    const Unit* at = text.data();
    const Unit* const end = at + text.size();
    const bool isNegative = at != end && *at == Unit('-');
    at += isNegative ? 1 : 0;
    std::uint64_t mantissa = 0;
    std::size_t fractionDigits = 0;
    const Unit* digits = at;
    while (at != end && IsDigit(*at)) {
        mantissa = mantissa * 10 + static_cast<std::uint64_t>(*at++ - Unit('0'));
    }
    auto digitCount = static_cast<std::size_t>(at - digits);
    if (at != end && *at == Unit('.')) {
        digits = ++at;
        while (at != end && IsDigit(*at)) {
            mantissa = mantissa * 10 + static_cast<std::uint64_t>(*at++ - Unit('0'));
        }
        fractionDigits = static_cast<std::size_t>(at - digits);
        digitCount += fractionDigits;
    }
    // More than 18 digits may have overflowed the mantissa, whose value is not used then.
    if (at != end || digitCount == 0 || digitCount > 18 || mantissa >= kExactMantissa) {
        return false;
    }
    const double magnitude = static_cast<double>(mantissa) / kPowersOfTen[fractionDigits];
    value = isNegative ? -magnitude : magnitude;
    return true;
}

/// A copy of a field as one run of bytes, without commas where they do not count.
class PlainCopy
{
public:
    /// A unit above U+007F becomes a byte that no number contains.
    template <typename Unit>
    PlainCopy(Text<Unit> text, bool dropCommas)
    {
        char* to = m_small.data();
        if (text.size() > m_small.size()) {
            m_large.resize(text.size());
            to = m_large.data();
        }
        m_begin = to;
        for (const Unit unit : text) {
            if (dropCommas && unit == Unit(',')) {
                continue;
            }
            const bool isAscii = static_cast<std::make_unsigned_t<Unit>>(unit) < 0x80;
            *to++ = isAscii ? static_cast<char>(unit) : '\x80';
        }
        m_size = static_cast<std::size_t>(to - m_begin);
    }

    [[nodiscard]] std::string_view View() const noexcept { return {m_begin, m_size}; }

private:
    std::array<char, 64> m_small;
    std::string m_large;
    const char* m_begin = nullptr;
    std::size_t m_size = 0;
};

/// Whether the whole text is `[-+]?[0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?`.
bool IsNumber(std::string_view text) noexcept
{
    const char* at = text.data();
    const char* const end = at + text.size();
    const auto skipDigits = [&at, end] {
        const char* const from = at;
        while (at != end && IsDigit(*at)) {
            ++at;
        }
        return at != from;
    };
    const auto skipSign = [&at, end] {
        if (at != end && (*at == '-' || *at == '+')) {
            ++at;
        }
    };
    skipSign();
    bool hasDigits = skipDigits();
    if (at != end && *at == '.') {
        ++at;
        hasDigits = skipDigits();
    }
    if (!hasDigits) {
        return false;
    }
    if (at != end && (*at == 'e' || *at == 'E')) {
        ++at;
        skipSign();
        if (!skipDigits()) {
            return false;
        }
    }
    return at == end;
}

/// Compares ASCII case-insensitively; `word` is in lower case. No letter outside ASCII has one of
/// the words' letters as its lower case.
template <typename Unit>
bool EqualsWord(Text<Unit> text, std::string_view word) noexcept
{
    return text.size() == word.size() &&
           std::equal(text.begin(), text.end(), word.begin(), [](Unit unit, char letter) {
               const bool isUpper = unit >= Unit('A') && unit <= Unit('Z');
               return (isUpper ? unit + ('a' - 'A') : unit) == Unit(letter);
           });
}

constexpr std::array<std::string_view, 5> kTrueWords = {"1", "y", "t", "yes", "true"};
constexpr std::array<std::string_view, 5> kFalseWords = {"0", "n", "f", "no", "false"};

template <typename Unit>
bool IsOneOf(Text<Unit> text, const std::array<std::string_view, 5>& words) noexcept
{
    // The longest word has five letters; most fields are longer.
    return text.size() <= 5 && std::any_of(words.begin(), words.end(), [text](auto word) {
               return EqualsWord(text, word);
           });
}

} // namespace

template <typename Unit>
std::size_t CountQuotes(Text<Unit> text) noexcept
{
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), Unit('"')));
}

template <typename Unit>
std::int32_t DetectType(Text<Unit> text)
{
    if (!text.empty() && text.size() <= 9 && std::all_of(text.begin(), text.end(), IsDigit<Unit>)) {
        return kInt32;
    }
    // No number begins with a unit outside this range; most texts do.
    if (text.empty() || text.front() < Unit('+') || text.front() > Unit('9')) {
        return kString;
    }
    const PlainCopy copy(text, true);
    if (!IsNumber(copy.View())) {
        return kString;
    }
    std::size_t consumed = 0;
    const double value = Orvane::BNumbers::Strtod(copy.View(), &consumed);
    if (std::isinf(value) || consumed != copy.View().size()) {
        return kString;
    }
    if (Contains(text, '.')) {
        return kDouble;
    }
    if (value >= -2147483648.0 && value <= 2147483647.0) {
        return kInt32;
    }
    // Rule: the upper end is one more than the largest 64-bit integer.
    if (value >= -9223372036854775808.0 && value <= 9223372036854775808.0) {
        return kInt64;
    }
    return kString;
}

template <typename Unit>
std::int32_t CountDigits(Text<Unit> text) noexcept
{
    auto count = static_cast<std::int32_t>(text.size());
    count -= Contains(text, '-') || Contains(text, '+') ? 1 : 0;
    count -= Contains(text, '.') ? 1 : 0;
    return count;
}

template <typename Unit>
bool IsBooleanWord(Text<Unit> text) noexcept
{
    return IsOneOf(text, kTrueWords) || IsOneOf(text, kFalseWords);
}

template <typename Unit>
bool IsTrueWord(Text<Unit> text) noexcept
{
    return IsOneOf(text, kTrueWords);
}

template <typename Unit>
std::int32_t ToInt32(Text<Unit> text)
{
    const bool isNegative = !text.empty() && text.front() == Unit('-');
    const Text<Unit> digits = text.substr(isNegative ? 1 : 0);
    if (!digits.empty() && digits.size() <= 9 &&
        std::all_of(digits.begin(), digits.end(), IsDigit<Unit>)) {
        std::int32_t value = 0;
        for (const Unit digit : digits) {
            value = value * 10 + static_cast<std::int32_t>(digit - Unit('0'));
        }
        return isNegative ? -value : value;
    }
    return Orvane::BNumbers::Atoi(PlainCopy(text, true).View());
}

template <typename Unit>
double ToDouble(Text<Unit> text)
{
    double value = 0;
    if (ConvertPlainDecimal(text, value)) {
        return value;
    }
    return Orvane::BNumbers::Strtod(PlainCopy(text, true).View());
}

template <typename Unit>
bool ToCoordinate(Text<Unit> text, double& value)
{
    if (ConvertPlainDecimal(text, value)) {
        return true;
    }
    std::size_t consumed = 0;
    value = Orvane::BNumbers::Strtod(PlainCopy(text, false).View(), &consumed);
    return !text.empty() && consumed == text.size() && !std::isinf(value);
}

#define ASCIIREADER_INSTANTIATE(Unit)                                                              \
    template std::size_t CountQuotes<Unit>(Text<Unit>) noexcept;                                   \
    template std::int32_t DetectType<Unit>(Text<Unit>);                                            \
    template std::int32_t CountDigits<Unit>(Text<Unit>) noexcept;                                  \
    template bool IsBooleanWord<Unit>(Text<Unit>) noexcept;                                        \
    template bool IsTrueWord<Unit>(Text<Unit>) noexcept;                                           \
    template std::int32_t ToInt32<Unit>(Text<Unit>);                                               \
    template double ToDouble<Unit>(Text<Unit>);                                                    \
    template bool ToCoordinate<Unit>(Text<Unit>, double&)

ASCIIREADER_INSTANTIATE(char);
ASCIIREADER_INSTANTIATE(char16_t);

#undef ASCIIREADER_INSTANTIATE

} // namespace AsciiReader::ValueRules
