// Fields to numbers, for the instruction set that the compiler is told to use.
#pragma once

#include "kernels/Fields.h"
#include "kernels/Kernels.h"

#if defined(__SSE4_1__)
#include "kernels/DigitsSse41.h"
#else
#include "kernels/DigitsPlain.h"
#endif

#include <cstdint>

namespace AsciiReader::Kernels {

namespace {

inline constexpr std::uint64_t kExactMantissa = std::uint64_t{1} << 53U;

inline constexpr double kPowersOfTen[] = {
    1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16};

/// @return whether the number is exact: both parts are, so that the one division rounds correctly.
inline bool MakeDouble(const Digits& digits, double& value)
{
    const double magnitude = static_cast<double>(static_cast<std::int64_t>(digits.mantissa)) /
                             kPowersOfTen[digits.fraction];
    std::uint64_t bits = 0;
    __builtin_memcpy(&bits, &magnitude, sizeof bits);
    bits |= std::uint64_t{digits.sign} << 63U;
    __builtin_memcpy(&value, &bits, sizeof bits);
    return digits.mantissa < kExactMantissa;
}

/// Eight digits as a number, the first one in the lowest byte; every byte is 0 to 9.
inline std::uint32_t JoinEight(std::uint64_t digits)
{
    // To pairs in every other byte, then all four by two products that add up in the upper half.
    digits = digits * 10 + (digits >> 8U);
    const std::uint64_t firstAndThird = digits & 0x000000FF000000FFU;
    const std::uint64_t secondAndFourth = (digits >> 16U) & 0x000000FF000000FFU;
    constexpr std::uint64_t kMillionAndHundred = std::uint64_t{1000000} << 32U | 100U;
    constexpr std::uint64_t kTenThousandAndOne = std::uint64_t{10000} << 32U | 1U;
    return static_cast<std::uint32_t>(
        (firstAndThird * kMillionAndHundred + secondAndFourth * kTenThousandAndOne) >> 32U);
}

/// Converts `-?digits` of at most eight bytes; eight bytes before the end must be readable.
/// @return false for everything else
template <bool kEmptyIsZero>
inline bool ConvertShort(const char* text, FieldSpan span, std::int32_t& value)
{
    const std::uint32_t size = span.end - span.begin;
    if (__BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__ || size > 8) {
        return false;
    }
    const std::uint32_t sign = text[span.begin] == '-' ? 1 : 0;
    const std::uint32_t kept = size - sign;
    // Bytes before the digits become zeros; in two shifts, since one may be of all bits.
    const std::uint32_t half = 32 - 4 * kept;
    const std::uint64_t keep = ~std::uint64_t{0} << half << half;
    const std::uint64_t digits = (LoadWord(text + span.end - 8) ^ 0x3030303030303030U) & keep;
    const std::uint64_t excess = ((digits + 0x7676767676767676U) | digits) & 0x8080808080808080U;
    const std::uint32_t magnitude = JoinEight(digits);
    value = static_cast<std::int32_t>((magnitude ^ (0U - sign)) + sign);
    const std::uint32_t least = kEmptyIsZero ? sign : 1;
    return (excess == 0) & (kept >= least);
}

/// @return false for what is no plain whole number of an int32's range
template <bool kEmptyIsZero>
inline bool ConvertInt32(const char* text, FieldSpan span, std::int32_t& value)
{
    // The first rows of a text may have fewer than eight bytes before their ends.
    if (span.end >= 8 && ConvertShort<kEmptyIsZero>(text, span, value)) {
        return true;
    }
    Digits digits;
    if (!ConvertDigits(text, span.begin, span.end, kEmptyIsZero, digits) || digits.fraction != 0 ||
        digits.mantissa > 0x7FFFFFFFU) {
        return false;
    }
    const auto magnitude = static_cast<std::uint32_t>(digits.mantissa);
    value = static_cast<std::int32_t>((magnitude ^ (0U - digits.sign)) + digits.sign);
    return true;
}

} // namespace

} // namespace AsciiReader::Kernels
