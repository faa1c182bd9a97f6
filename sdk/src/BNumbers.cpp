// Text to number conversions in the C locale, and shortest number texts.
#include <Orvane/BNumbers.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale.h> // NOLINT(modernize-deprecated-headers): newlocale is POSIX's, not C++'s
#include <string>
#include <system_error>

#if defined(__APPLE__)
#include <xlocale.h>
#endif

namespace Orvane::BNumbers {

namespace {

constexpr std::size_t kStackBytes = 256;
constexpr std::size_t kFormatBytes = 32;

double StrtodInCLocale(const char* text, char** end)
{
#if defined(_WIN32)
    static const _locale_t cLocale = _create_locale(LC_ALL, "C");
    return _strtod_l(text, end, cLocale);
#else
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(text, end, cLocale);
#endif
}

constexpr bool IsDigit(char unit) noexcept
{
    return unit >= '0' && unit <= '9';
}

constexpr bool IsWhiteSpace(char unit) noexcept
{
    return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

/// Whether a number can hold the unit anywhere: digits, signs, the point, and what hexadecimal
/// numbers, "infinity" and "nan(...)" are written with.
constexpr bool CanBePartOfNumber(char unit) noexcept
{
    return IsDigit(unit) || (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') ||
           unit == '+' || unit == '-' || unit == '.' || unit == '_' || unit == '(' || unit == ')';
}

/// The unit as ASCII, NUL for every other unit: both end a number.
constexpr char AsAscii(char unit) noexcept
{
    return unit;
}

constexpr char AsAscii(char16_t unit) noexcept
{
    return unit <= 0x7F ? static_cast<char>(unit) : '\0';
}

/// Reads a plain decimal. False when the text is anything else, or the result is out of range.
bool ReadPlainDecimal(const char* begin, const char* end, double& value, const char*& stop)
{
    const char* first = begin != end && *begin == '-' ? begin + 1 : begin;
    if (first != end && *first == '.') {
        ++first;
    }
    if (first == end || !IsDigit(*first)) {
        return false;
    }
    const auto [pointer, error] = std::from_chars(begin, end, value);
    if (error != std::errc()) {
        return false;
    }
    // In C a point or an x here may belong to the number: the slow path decides.
    if (pointer != end && (*pointer == '.' || *pointer == 'x' || *pointer == 'X')) {
        return false;
    }
    stop = pointer;
    return true;
}

/// Converts a text of units that can be part of a number, which ends with a NUL.
double ConvertCopy(const char* text, std::size_t length, std::size_t& consumed)
{
    double value = 0;
    const char* stop = nullptr;
    if (!ReadPlainDecimal(text, text + length, value, stop)) {
        char* end = nullptr;
        value = StrtodInCLocale(text, &end);
        stop = end;
    }
    consumed = static_cast<std::size_t>(stop - text);
    return value;
}

template <typename Unit>
double Convert(std::basic_string_view<Unit> text, std::size_t* consumed)
{
    std::size_t begin = 0;
    while (begin < text.size() && IsWhiteSpace(AsAscii(text[begin]))) {
        ++begin;
    }
    std::size_t end = begin;
    while (end < text.size() && CanBePartOfNumber(AsAscii(text[end]))) {
        ++end;
    }
    const std::size_t length = end - begin;

    std::array<char, kStackBytes> shortCopy;
    std::string longCopy;
    char* copy = shortCopy.data();
    if (length >= shortCopy.size()) {
        longCopy.resize(length);
        copy = longCopy.data();
    }
    for (std::size_t position = 0; position < length; ++position) {
        copy[position] = AsAscii(text[begin + position]);
    }
    copy[length] = '\0';

    std::size_t used = 0;
    const double value = ConvertCopy(copy, length, used);
    if (consumed != nullptr) {
        *consumed = used == 0 ? 0 : begin + used;
    }
    return value;
}

template <typename Unit>
std::int64_t ConvertInteger(std::basic_string_view<Unit> text) noexcept
{
    std::size_t position = 0;
    while (position < text.size() && IsWhiteSpace(AsAscii(text[position]))) {
        ++position;
    }
    bool isNegative = false;
    if (position < text.size() && (text[position] == Unit('-') || text[position] == Unit('+'))) {
        isNegative = text[position] == Unit('-');
        ++position;
    }
    constexpr auto kHighest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const std::uint64_t limit = isNegative ? kHighest + 1 : kHighest;
    std::uint64_t magnitude = 0;
    for (; position < text.size() && IsDigit(AsAscii(text[position])); ++position) {
        const auto digit = static_cast<std::uint64_t>(AsAscii(text[position]) - '0');
        if (magnitude > (limit - digit) / 10) {
            magnitude = limit;
            break;
        }
        magnitude = magnitude * 10 + digit;
    }
    return static_cast<std::int64_t>(isNegative ? 0 - magnitude : magnitude);
}

std::int32_t CutToInt32(std::int64_t value) noexcept
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

template <typename Real>
std::size_t FormatReal(Real value, char* buffer)
{
    if (std::isnan(value)) {
        // The sign of a NaN has no meaning.
        std::copy_n("nan", 3, buffer);
        return 3;
    }
    const auto result = std::to_chars(buffer, buffer + kFormatBytes, value);
    return static_cast<std::size_t>(result.ptr - buffer);
}

} // namespace

std::int32_t Atoi(std::string_view text)
{
    return CutToInt32(ConvertInteger(text));
}

std::int32_t Atoi(std::u16string_view text)
{
    return CutToInt32(ConvertInteger(text));
}

std::int64_t Strtoll(std::string_view text)
{
    return ConvertInteger(text);
}

double Strtod(std::string_view text, std::size_t* consumed)
{
    return Convert(text, consumed);
}

double Wcstod(std::u16string_view text, std::size_t* consumed)
{
    return Convert(text, consumed);
}

double Atof(std::string_view text)
{
    return Convert(text, nullptr);
}

double Atof(std::u16string_view text)
{
    return Convert(text, nullptr);
}

std::size_t FormatShortest(double value, char* buffer)
{
    return FormatReal(value, buffer);
}

std::size_t FormatShortest(float value, char* buffer)
{
    return FormatReal(value, buffer);
}

} // namespace Orvane::BNumbers
