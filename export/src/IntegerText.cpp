// Reads whole numbers exactly, whatever the process's locale.
#include "IntegerText.h"

#include <Orvane/BNumbers.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <string>
#include <system_error>

namespace Orvane {

std::optional<std::int64_t> ParseInt64(std::string_view text)
{
    std::string digits;
    digits.reserve(text.size());
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits), [](char byte) {
        return byte != ',';
    });
    const char* begin = digits.data();
    const char* const end = begin + digits.size();
    if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') {
        ++begin;
    }
    std::int64_t value = 0;
    const auto result = std::from_chars(begin, end, value);
    if (result.ec == std::errc() && result.ptr == end) {
        return value;
    }
    const bool hasExponent = digits.find_first_of("eE") != std::string::npos;
    const bool isDecimal = digits.find_first_not_of("+-0123456789.eE") == std::string::npos;
    if (!hasExponent || !isDecimal) {
        return std::nullopt;
    }
    std::size_t consumed = 0;
    const double number = BNumbers::Strtod(digits, &consumed);
    constexpr double kLimit = 9223372036854775808.0;
    if (consumed != digits.size() || number != std::floor(number) || number < -kLimit ||
        number >= kLimit) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(number);
}

} // namespace Orvane
