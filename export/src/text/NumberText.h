// Numbers in the spelling of text formats.
#pragma once

#include "OutputBuffer.h"

#include <Orvane/BNumbers.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace Orvane::Import {

/// Room for the longest number.
inline constexpr std::size_t kNumberBytes = 40;

/// @return after the last byte
inline char* FormatInteger(char* place, std::int64_t value) noexcept
{
    return std::to_chars(place, place + kNumberBytes, value).ptr;
}

/// The shortest digits that read back as the same number; whole numbers below 10^15 without an
/// exponent, "500000" and not "5e+05". @return after the last byte
template <typename Real>
char* FormatReal(char* place, Real value) noexcept
{
    constexpr Real kMostPlain = 1e15F;
    if (std::abs(value) < kMostPlain && std::trunc(value) == value &&
        !(value == 0 && std::signbit(value))) {
        return FormatInteger(place, static_cast<std::int64_t>(value));
    }
    return place + BNumbers::FormatShortest(value, place);
}

inline void WriteInteger(OutputBuffer& out, std::int64_t value)
{
    out.Advance(FormatInteger(out.Reserve(kNumberBytes), value));
}

/// A number as FormatReal spells it.
inline void WriteReal(OutputBuffer& out, double value)
{
    out.Advance(FormatReal(out.Reserve(kNumberBytes), value));
}

/// The same with a point in whole numbers, so that a column of them reads back as one of decimals.
template <typename Real>
void WriteDecimal(OutputBuffer& out, Real value)
{
    char* const place = out.Reserve(kNumberBytes);
    char* end = FormatReal(place, value);
    const auto isWhole = [](char byte) { return (byte >= '0' && byte <= '9') || byte == '-'; };
    if (std::all_of(place, end, isWhole)) {
        *end++ = '.';
        *end++ = '0';
    }
    out.Advance(end);
}

} // namespace Orvane::Import
