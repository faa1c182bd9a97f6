// Blocks of 64 bytes in one register.
#pragma once

#include <cstdint>
#include <immintrin.h>

namespace AsciiReader::Kernels {

namespace {

struct Block64
{
    __m512i bytes;

    static Block64 Load(const char* text) { return {_mm512_loadu_si512(text)}; }

    [[nodiscard]] std::uint64_t Equal(char byte) const
    {
        return _mm512_cmpeq_epi8_mask(bytes, _mm512_set1_epi8(byte));
    }

    [[nodiscard]] std::uint64_t Unprinted() const
    {
        return _mm512_cmplt_epi8_mask(bytes, _mm512_set1_epi8(' '));
    }

    [[nodiscard]] std::uint64_t Digits() const
    {
        return _mm512_cmple_epu8_mask(_mm512_sub_epi8(bytes, _mm512_set1_epi8('0')),
                                      _mm512_set1_epi8(9));
    }
};

} // namespace

} // namespace AsciiReader::Kernels
