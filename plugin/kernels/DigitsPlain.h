// The digits of a number, one by one.
#pragma once

#include "kernels/Kernels.h"

#include <cstdint>

namespace AsciiReader::Kernels {

namespace {

inline bool ConvertDigits(
    const char* text, std::uint32_t begin, std::uint32_t end, bool emptyIsZero, Digits& digits)
{
    const char* at = text + begin;
    const char* const stop = text + end;
    if (at == stop) {
        digits = {};
        return emptyIsZero;
    }
    digits.sign = *at == '-' ? 1 : 0;
    at += digits.sign;
    // Sixteen digits are below 2^64 with room to spare; longer fields are left to others.
    if (stop - at > 17 || at == stop) {
        return false;
    }
    std::uint64_t mantissa = 0;
    const char* point = nullptr;
    for (; at != stop; ++at) {
        const auto digit = static_cast<unsigned>(static_cast<unsigned char>(*at)) - '0';
        if (digit <= 9) {
            mantissa = mantissa * 10 + digit;
        } else if (*at == '.' && point == nullptr) {
            point = at;
        } else {
            return false;
        }
    }
    digits.mantissa = mantissa;
    digits.fraction = point == nullptr ? 0 : static_cast<unsigned>(stop - point - 1);
    const auto size = static_cast<unsigned>(stop - (text + begin)) - digits.sign;
    const unsigned digitCount = size - (point == nullptr ? 0U : 1U);
    digits.count = digitCount;
    return digitCount >= 1 && digitCount <= 16;
}

} // namespace

} // namespace AsciiReader::Kernels
