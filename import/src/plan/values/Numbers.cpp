// One walk cuts a cell into runs of digits and signs; each notation is a rule on these.
#include "Numbers.h"

#include "FoldedCell.h"

#include <Orvane/BNumbers.h>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace Orvane::Import::Values {

namespace {

constexpr std::size_t kMostRuns = 16;

/// The parts of `sign digits (separator digits)* exponent`.
struct Parts
{
    std::array<std::uint8_t, kMostRuns> lengths{}; ///< of the runs of digits
    std::array<char, kMostRuns> separators{};      ///< separators[i] follows run i
    std::size_t runs = 0;
    std::size_t first = 0; ///< where the digits begin
    bool hasExponent = false;
    bool isNumber = false;
};

bool IsGroupSign(char unit) noexcept
{
    return unit == ',' || unit == '.' || unit == '\'' || unit == ' ' ||
           (unit >= kNoBreakBlank && unit <= kNarrowBlank);
}

bool SkipExponent(std::string_view text, std::size_t& at) noexcept
{
    std::size_t next = at + 1;
    if (next < text.size() && (text[next] == '+' || text[next] == '-')) {
        ++next;
    }
    const std::size_t digits = next;
    while (next < text.size() && IsDigit(text[next])) {
        ++next;
    }
    // Longer exponents would overflow; nobody writes them.
    if (next == digits || next - digits > 3) {
        return false;
    }
    at = next;
    return true;
}

Parts Cut(std::string_view text) noexcept
{
    Parts parts;
    std::size_t at = 0;
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) {
        ++at;
    }
    parts.first = at;
    std::size_t digits = 0;
    for (;;) {
        const std::size_t begin = at;
        while (at < text.size() && IsDigit(text[at])) {
            ++at;
        }
        digits += at - begin;
        parts.lengths[parts.runs++] = static_cast<std::uint8_t>(at - begin);
        if (at == text.size() || !IsGroupSign(text[at]) || parts.runs == kMostRuns) {
            break;
        }
        parts.separators[parts.runs - 1] = text[at++];
    }
    if (digits == 0) {
        return parts;
    }
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        parts.hasExponent = SkipExponent(text, at);
    }
    parts.isNumber = at == text.size();
    return parts;
}

struct Rule
{
    Notation notation;
    char group;   ///< 0: none; ' ' stands for any one kind of blank
    char decimal; ///< '.' or ','
};

constexpr Rule kRules[] = {
    {NotationPlain, 0, '.'},
    {NotationComma, 0, ','},
    {NotationCommaGroups, ',', '.'},
    {NotationPointGroups, '.', ','},
    {NotationApostrophePoint, '\'', '.'},
    {NotationApostropheComma, '\'', ','},
    {NotationBlankPoint, ' ', '.'},
    {NotationBlankComma, ' ', ','},
};

bool IsGroupOf(const Rule& rule, char unit) noexcept
{
    return rule.group != 0 && (rule.group == ' ' ? IsBlank(unit) : unit == rule.group);
}

/// Whether the parts fit the rule. @param decimals digits after the decimal sign
bool Fits(const Parts& parts,
          const Rule& rule,
          std::size_t& decimals,
          bool& hasDecimalSign) noexcept
{
    std::size_t groups = parts.runs; // runs before the decimal sign
    hasDecimalSign = parts.runs > 1 && parts.separators[parts.runs - 2] == rule.decimal;
    decimals = 0;
    if (hasDecimalSign) {
        --groups;
        decimals = parts.lengths[groups];
        // `12,` is a list that ends early; `12.` is a number.
        if (decimals == 0 && (rule.decimal == ',' || parts.lengths[groups - 1] == 0)) {
            return false;
        }
    }
    if (groups == 1) {
        return parts.lengths[0] > 0 || hasDecimalSign;
    }
    if (parts.hasExponent || parts.lengths[0] == 0 || parts.lengths[0] > 3) {
        return false;
    }
    for (std::size_t i = 1; i < groups; ++i) {
        if (parts.lengths[i] != 3 || !IsGroupOf(rule, parts.separators[i - 1]) ||
            parts.separators[i - 1] != parts.separators[0]) {
            return false;
        }
    }
    return true;
}

/// Digits without zeros at either end, and the power of ten of the last one.
struct Significand
{
    std::array<char, FoldedCell::kCapacity> digits{};
    std::size_t size = 0;
    int exponent = 0;

    friend bool operator==(const Significand& a, const Significand& b) noexcept
    {
        return a.size == b.size && (a.size == 0 || a.exponent == b.exponent) &&
               std::equal(a.digits.begin(),
                          a.digits.begin() + static_cast<std::ptrdiff_t>(a.size),
                          b.digits.begin());
    }
};

/// @param plain as WritePlain makes it
Significand TakeSignificand(std::string_view plain) noexcept
{
    Significand result;
    bool isFraction = false;
    std::size_t at = 0;
    for (; at < plain.size() && plain[at] != 'e' && plain[at] != 'E'; ++at) {
        if (plain[at] == '.') {
            isFraction = true;
        } else if (IsDigit(plain[at])) {
            if (result.size > 0 || plain[at] != '0') {
                result.digits[result.size++] = plain[at];
            }
            result.exponent -= isFraction ? 1 : 0;
        }
    }
    if (at < plain.size()) {
        int power = 0;
        bool isNegative = false;
        for (++at; at < plain.size(); ++at) {
            isNegative = isNegative || plain[at] == '-';
            power = IsDigit(plain[at]) ? power * 10 + (plain[at] - '0') : power;
        }
        result.exponent += isNegative ? -power : power;
    }
    while (result.size > 0 && result.digits[result.size - 1] == '0') {
        --result.size;
        ++result.exponent;
    }
    return result;
}

std::size_t
WritePlainParts(std::string_view text, const Parts& parts, const Rule& rule, char* buffer) noexcept
{
    std::size_t size = 0;
    if (text[0] == '-') {
        buffer[size++] = '-';
    }
    bool isInFront = true;
    for (std::size_t at = parts.first; at < text.size(); ++at) {
        const char unit = text[at];
        if (unit == 'e' || unit == 'E') {
            isInFront = false;
        }
        if (isInFront && IsGroupOf(rule, unit)) {
            continue;
        }
        buffer[size++] = isInFront && unit == rule.decimal ? '.' : unit;
    }
    return size;
}

/// Whether the value that would be stored gives the digits of the text back.
bool IsExact(std::string_view text, const Parts& parts, const Rule& rule, bool isInteger) noexcept
{
    std::array<char, FoldedCell::kCapacity> plain{};
    const std::string_view spelling(plain.data(), WritePlainParts(text, parts, rule, plain.data()));
    const Significand written = TakeSignificand(spelling);
    if (isInteger) {
        const std::int64_t value = Orvane::BNumbers::Strtoll(spelling);
        std::array<char, 24> back{};
        std::size_t size = 0;
        std::uint64_t rest =
            value < 0 ? ~static_cast<std::uint64_t>(value) + 1 : static_cast<std::uint64_t>(value);
        do {
            back[back.size() - ++size] = static_cast<char>('0' + rest % 10);
            rest /= 10;
        } while (rest > 0);
        if (TakeSignificand({back.data() + back.size() - size, size}) == written) {
            return true;
        }
    }
    if (written.size > 17) {
        return false;
    }
    std::array<char, 32> shortest{};
    const std::size_t size =
        Orvane::BNumbers::FormatShortest(Orvane::BNumbers::Strtod(spelling), shortest.data());
    return TakeSignificand({shortest.data(), size}) == written;
}

const Rule& RuleOf(std::uint16_t notations) noexcept
{
    return *std::find_if(std::begin(kRules), std::end(kRules) - 1, [&](const Rule& rule) {
        return (notations & rule.notation) != 0;
    });
}

} // namespace

NumberReading ReadFoldedNumber(std::string_view folded) noexcept
{
    NumberReading reading;
    if (folded.empty() || (!IsDigit(folded.back()) && folded.back() != '.')) {
        return reading;
    }
    const Parts parts = Cut(folded);
    if (!parts.isNumber) {
        return reading;
    }
    reading.hasGroups = true;
    std::size_t fewestDecimals = FoldedCell::kCapacity;
    std::size_t mostDecimals = 0;
    bool isAlwaysInteger = true;
    for (const Rule& rule : kRules) {
        std::size_t decimals = 0;
        bool hasDecimalSign = false;
        if (!Fits(parts, rule, decimals, hasDecimalSign)) {
            continue;
        }
        reading.notations = static_cast<std::uint16_t>(reading.notations | rule.notation);
        reading.hasGroups = reading.hasGroups && parts.runs > (hasDecimalSign ? 2U : 1U);
        isAlwaysInteger = isAlwaysInteger && !hasDecimalSign;
        fewestDecimals = std::min(fewestDecimals, decimals);
        mostDecimals = std::max(mostDecimals, decimals);
    }
    if (reading.notations == 0) {
        reading.hasGroups = false;
        return reading;
    }
    reading.isInteger = isAlwaysInteger && !parts.hasExponent;
    reading.decimals = static_cast<std::uint8_t>(fewestDecimals == mostDecimals ? mostDecimals : 0);
    std::size_t digits = 0;
    for (std::size_t i = 0; i < parts.runs; ++i) {
        digits += parts.lengths[i];
    }
    reading.integerDigits = static_cast<std::uint8_t>(digits - mostDecimals);
    reading.hasLeadingZero =
        parts.lengths[0] > 1 && folded[parts.first] == '0' && IsDigit(folded[parts.first + 1]);
    const Rule& rule = RuleOf(reading.notations);
    if (digits > 15 || parts.hasExponent) {
        reading.isExact = IsExact(folded, parts, rule, reading.isInteger);
    }
    if (reading.isInteger && digits <= 10) {
        std::array<char, FoldedCell::kCapacity> plain{};
        const std::int64_t value = Orvane::BNumbers::Strtoll(
            {plain.data(), WritePlainParts(folded, parts, rule, plain.data())});
        reading.isInt32 = value >= INT32_MIN && value <= INT32_MAX;
    }
    return reading;
}

NumberReading ReadNumber(std::string_view cell) noexcept
{
    return ReadFoldedNumber(FoldedCell(cell).Text());
}

std::size_t WritePlain(std::string_view cell, Notation notation, char* buffer) noexcept
{
    const FoldedCell folded(cell);
    const std::string_view text = folded.Text();
    return text.empty() ? 0 : WritePlainParts(text, Cut(text), RuleOf(notation), buffer);
}

double ToDouble(std::string_view cell, Notation notation) noexcept
{
    std::array<char, FoldedCell::kCapacity> plain{};
    return Orvane::BNumbers::Strtod({plain.data(), WritePlain(cell, notation, plain.data())});
}

} // namespace Orvane::Import::Values
