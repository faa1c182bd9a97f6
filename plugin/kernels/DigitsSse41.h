// Sixteen digits at once, for sets that have SSSE3 and SSE4.1.
#pragma once

#include "kernels/Kernels.h"

#include <cstdint>
#include <smmintrin.h>

namespace AsciiReader::Kernels {

namespace {

/// Row p shifts the bytes before position p up by one, over it: removes the point of a number.
/// Row 16 is for numbers without one.
struct PointShuffles
{
    alignas(16) unsigned char rows[17][16];
};

constexpr PointShuffles MakePointShuffles()
{
    PointShuffles shuffles{};
    for (unsigned point = 0; point <= 16; ++point) {
        for (unsigned at = 0; at < 16; ++at) {
            unsigned from = at;
            if (point < 16 && at <= point) {
                from = at == 0 ? 0x80U : at - 1;
            }
            shuffles.rows[point][at] = static_cast<unsigned char>(from);
        }
    }
    return shuffles;
}

inline constexpr PointShuffles kPointShuffles = MakePointShuffles();

alignas(16) inline constexpr unsigned char kKeepLast[32] = {
    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,
    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

inline bool ConvertDigits(
    const char* text, std::uint32_t begin, std::uint32_t end, bool emptyIsZero, Digits& digits)
{
    const std::uint32_t size = end - begin;
    // The sixteen bytes that end with the field are loaded; they must lie in the text.
    if (size > 16 || end < 16) {
        return false;
    }
    // No jumps on signs and empty fields, which come in no order.
    const std::uint32_t isNegative = text[begin] == '-' ? 1 : 0;
    const std::uint32_t kept = size - isNegative;
    const __m128i raw = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + end - 16));
    const __m128i keep = _mm_loadu_si128(reinterpret_cast<const __m128i*>(kKeepLast + kept));
    __m128i values = _mm_and_si128(_mm_sub_epi8(raw, _mm_set1_epi8('0')), keep);
    const auto points = static_cast<unsigned>(
        _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(raw, _mm_set1_epi8('.')), keep)));
    digits.fraction = 0;
    std::uint32_t count = kept;
    if (points != 0) {
        const auto point = static_cast<unsigned>(__builtin_ctz(points));
        digits.fraction = 15 - point;
        --count;
        values = _mm_shuffle_epi8(
            values, _mm_load_si128(reinterpret_cast<const __m128i*>(kPointShuffles.rows[point])));
    }
    // A second point, like any other byte, is no digit.
    const __m128i excess = _mm_subs_epu8(values, _mm_set1_epi8(9));
    // Sign and point alone are no number.
    const std::uint32_t isEmptyZero = (emptyIsZero ? 1U : 0U) & (size == 0 ? 1U : 0U);
    if (_mm_testz_si128(excess, excess) == 0 || (count | isEmptyZero) == 0) {
        return false;
    }
    const __m128i pairs = _mm_maddubs_epi16(
        values, _mm_setr_epi8(10, 1, 10, 1, 10, 1, 10, 1, 10, 1, 10, 1, 10, 1, 10, 1));
    const __m128i fours = _mm_madd_epi16(pairs, _mm_setr_epi16(100, 1, 100, 1, 100, 1, 100, 1));
    const __m128i packed = _mm_packus_epi32(fours, fours);
    const __m128i eights =
        _mm_madd_epi16(packed, _mm_setr_epi16(10000, 1, 10000, 1, 10000, 1, 10000, 1));
    const auto both = static_cast<std::uint64_t>(_mm_cvtsi128_si64(eights));
    digits.mantissa = (both & 0xFFFFFFFFU) * 100000000U + (both >> 32U);
    digits.count = count;
    digits.sign = isNegative;
    return true;
}

} // namespace

} // namespace AsciiReader::Kernels
