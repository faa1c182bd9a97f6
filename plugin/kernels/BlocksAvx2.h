// Blocks of bytes in registers of 32.
#pragma once

#include <cstdint>
#include <immintrin.h>

namespace AsciiReader::Kernels {

namespace {

struct Block64
{
    __m256i low;
    __m256i high;

    static Block64 Load(const char* text)
    {
        return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(text)),
                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + 32))};
    }

    static std::uint64_t Join(int lowMask, int highMask)
    {
        return static_cast<unsigned>(lowMask) | std::uint64_t{static_cast<unsigned>(highMask)}
                                                    << 32U;
    }

    [[nodiscard]] std::uint64_t Equal(char byte) const
    {
        const __m256i wanted = _mm256_set1_epi8(byte);
        return Join(_mm256_movemask_epi8(_mm256_cmpeq_epi8(low, wanted)),
                    _mm256_movemask_epi8(_mm256_cmpeq_epi8(high, wanted)));
    }

    [[nodiscard]] std::uint64_t Digits() const
    {
        const __m256i zero = _mm256_set1_epi8('0');
        const __m256i nine = _mm256_set1_epi8(9);
        const __m256i lowValue = _mm256_sub_epi8(low, zero);
        const __m256i highValue = _mm256_sub_epi8(high, zero);
        return Join(
            _mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_min_epu8(lowValue, nine), lowValue)),
            _mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_min_epu8(highValue, nine), highValue)));
    }

    [[nodiscard]] std::uint64_t Unprinted() const
    {
        const __m256i blank = _mm256_set1_epi8(' ');
        return Join(_mm256_movemask_epi8(_mm256_cmpgt_epi8(blank, low)),
                    _mm256_movemask_epi8(_mm256_cmpgt_epi8(blank, high)));
    }

    [[nodiscard]] std::uint64_t HighBits() const
    {
        return Join(_mm256_movemask_epi8(low), _mm256_movemask_epi8(high));
    }
};

struct Block32
{
    __m256i bytes;

    static Block32 Load(const char* text)
    {
        return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(text))};
    }

    void Store(char* to) const { _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), bytes); }

    [[nodiscard]] std::uint32_t Equal(char byte) const
    {
        return static_cast<std::uint32_t>(
            _mm256_movemask_epi8(_mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(byte))));
    }

    [[nodiscard]] std::uint32_t HighBits() const
    {
        return static_cast<std::uint32_t>(_mm256_movemask_epi8(bytes));
    }
};

} // namespace

} // namespace AsciiReader::Kernels
