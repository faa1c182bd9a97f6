// Numbers in the spelling of text formats.
#pragma once

#include "OutputBuffer.h"

#include <Orvane/BNumbers.h>

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace Orvane::Import {

/// Room for the longest number.
inline constexpr std::size_t kNumberBytes = 40;

inline void WriteInteger(OutputBuffer& out, std::int64_t value)
{
    char* const place = out.Reserve(kNumberBytes);
    out.Advance(std::to_chars(place, place + kNumberBytes, value).ptr);
}

/// The shortest digits that read back as the same number.
template <typename Real>
void WriteReal(OutputBuffer& out, Real value)
{
    char* const place = out.Reserve(kNumberBytes);
    out.Advance(place + BNumbers::FormatShortest(value, place));
}

/// The same with a point in whole numbers, so that a column of them reads back as one of decimals.
template <typename Real>
void WriteDecimal(OutputBuffer& out, Real value)
{
    char* const place = out.Reserve(kNumberBytes);
    char* end = place + BNumbers::FormatShortest(value, place);
    if (std::all_of(
            place, end, [](char byte) { return (byte >= '0' && byte <= '9') || byte == '-'; })) {
        *end++ = '.';
        *end++ = '0';
    }
    out.Advance(end);
}

} // namespace Orvane::Import
