// Shapes of short cells: their bytes with all digits alike, in vectors of sixteen bytes.
#pragma once

#include "../values/FoldedCell.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Orvane::Import::Scan {

/// Longer cells have no shape.
inline constexpr std::size_t kShort = 16;
inline constexpr std::array<std::uint8_t, 32> kKeepFirst = {
    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

struct Halves
{
    std::uint64_t low;
    std::uint64_t high;
};

/// A cell's bytes and its shape. Digits are `0` in the shape; a zero at the front with a digit
/// after it is `1`, because it makes a code of a number.
struct Shaped
{
    Halves bytes;
    Halves shape;
};

#if defined(__SSE2__)
inline Halves ToHalves(__m128i vector) noexcept
{
    return {static_cast<std::uint64_t>(_mm_cvtsi128_si64(vector)),
            static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(vector, vector)))};
}

inline Shaped ShapeOf(const char* text, std::size_t length) noexcept
{
    const __m128i keep =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(kKeepFirst.data() + kShort - length));
    const __m128i bytes =
        _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text)), keep);
    const __m128i zero = _mm_set1_epi8('0');
    const __m128i offset = _mm_sub_epi8(bytes, zero);
    const __m128i isDigit = _mm_cmpeq_epi8(_mm_min_epu8(offset, _mm_set1_epi8(9)), offset);
    __m128i shape = _mm_or_si128(_mm_andnot_si128(isDigit, bytes), _mm_and_si128(isDigit, zero));
    const __m128i isFirst = _mm_andnot_si128(_mm_slli_si128(isDigit, 1), isDigit);
    const __m128i leads = _mm_and_si128(isFirst, _mm_srli_si128(isDigit, 1));
    const __m128i isLeadingZero = _mm_and_si128(leads, _mm_cmpeq_epi8(bytes, zero));
    // Where a number begins: at the front, or after its sign.
    shape = _mm_xor_si128(shape, _mm_and_si128(isLeadingZero, _mm_set_epi32(0, 0, 0, 0x0101)));
    return {ToHalves(bytes), ToHalves(shape)};
}
#else
inline Shaped ShapeOf(const char* text, std::size_t length) noexcept
{
    std::array<char, kShort> bytes{};
    std::memcpy(bytes.data(), text, length);
    std::array<char, kShort> shape = bytes;
    for (std::size_t i = 0; i < length; ++i) {
        shape[i] = Values::IsDigit(bytes[i]) ? '0' : bytes[i];
    }
    for (std::size_t i = 0; i < 2; ++i) {
        if (bytes[i] == '0' && Values::IsDigit(bytes[i + 1]) &&
            (i == 0 || !Values::IsDigit(bytes[i - 1]))) {
            shape[i] = '1';
        }
    }
    Shaped result{};
    std::memcpy(&result.bytes, bytes.data(), kShort);
    std::memcpy(&result.shape, shape.data(), kShort);
    return result;
}
#endif

inline std::uint64_t ToBigEndian(std::uint64_t half) noexcept
{
    if constexpr (std::endian::native == std::endian::little) {
        return __builtin_bswap64(half);
    }
    return half;
}

inline std::size_t HashOf(const Halves& shape, std::size_t length) noexcept
{
    return static_cast<std::size_t>((shape.low ^ (shape.high * 31) ^ length) *
                                    0x9E3779B97F4A7C15ULL);
}

/// The bytes of a key's high half that a cell of each length fills.
inline constexpr std::array<std::uint64_t, kShort + 1> kFilled = [] {
    std::array<std::uint64_t, kShort + 1> filled{};
    for (std::size_t length = 1; length <= kShort; ++length) {
        filled[length] = length >= 8 ? ~std::uint64_t{0} : ~(~std::uint64_t{0} >> (8 * length));
    }
    return filled;
}();

inline std::uint64_t HighHalf(const char* text) noexcept
{
    std::uint64_t half = 0;
    std::memcpy(&half, text, sizeof half);
    return ToBigEndian(half);
}

/// A cell of a run, and whether quotes around it were dropped.
struct RunCell
{
    std::uint32_t begin;
    std::uint32_t length;
    bool isQuoted;
};

/// @param end where the cell ends
inline RunCell
CutCell(const char* text, const std::uint32_t* end, bool hasQuotes, bool hasReturns) noexcept
{
    // The position before the first byte wraps.
    RunCell cell{end[-1] + 1, 0, false};
    cell.length = *end - cell.begin;
    if (hasReturns && cell.length > 0 && text[cell.begin + cell.length - 1] == '\r') {
        --cell.length;
    }
    if (hasQuotes && cell.length >= 2 && text[cell.begin] == '"') {
        cell = {cell.begin + 1, cell.length - 2, true};
    }
    return cell;
}

/// The marks of a cell of each length.
inline constexpr std::array<std::uint64_t, kShort + 1> kInside = [] {
    std::array<std::uint64_t, kShort + 1> inside{};
    for (std::size_t length = 1; length <= kShort; ++length) {
        inside[length] = ~std::uint64_t{0} >> (64 - 2 * length);
    }
    return inside;
}();

inline constexpr std::uint64_t kNoDigitMarks = 0x5555555555555555;
inline constexpr std::uint64_t kOddMarks = kNoDigitMarks << 1U;

/// Spreads signatures over as many places as a column has slots at most.
inline std::size_t PlaceOf(std::uint64_t signature) noexcept
{
    return static_cast<std::size_t>(signature * 0x9E3779B97F4A7C15ULL >> 58U);
}

} // namespace Orvane::Import::Scan
