// Blocks of bytes in registers of sixteen.
#pragma once

#include <cstddef>
#include <cstdint>
#include <emmintrin.h>

namespace AsciiReader::Kernels {

namespace {

struct Block64
{
    __m128i parts[4];

    static Block64 Load(const char* text)
    {
        Block64 block;
        for (std::size_t part = 0; part < 4; ++part) {
            block.parts[part] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + part * 16));
        }
        return block;
    }

    static std::uint64_t Join(const unsigned (&masks)[4])
    {
        return masks[0] | std::uint64_t{masks[1]} << 16U | std::uint64_t{masks[2]} << 32U |
               std::uint64_t{masks[3]} << 48U;
    }

    [[nodiscard]] std::uint64_t Equal(char byte) const
    {
        const __m128i wanted = _mm_set1_epi8(byte);
        unsigned masks[4];
        for (std::size_t part = 0; part < 4; ++part) {
            masks[part] =
                static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(parts[part], wanted)));
        }
        return Join(masks);
    }

    [[nodiscard]] std::uint64_t Digits() const
    {
        const __m128i nine = _mm_set1_epi8(9);
        unsigned masks[4];
        for (std::size_t part = 0; part < 4; ++part) {
            const __m128i value = _mm_sub_epi8(parts[part], _mm_set1_epi8('0'));
            masks[part] = static_cast<unsigned>(
                _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_min_epu8(value, nine), value)));
        }
        return Join(masks);
    }

    [[nodiscard]] std::uint64_t Unprinted() const
    {
        const __m128i blank = _mm_set1_epi8(' ');
        unsigned masks[4];
        for (std::size_t part = 0; part < 4; ++part) {
            masks[part] =
                static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpgt_epi8(blank, parts[part])));
        }
        return Join(masks);
    }

    [[nodiscard]] std::uint64_t HighBits() const
    {
        unsigned masks[4];
        for (std::size_t part = 0; part < 4; ++part) {
            masks[part] = static_cast<unsigned>(_mm_movemask_epi8(parts[part]));
        }
        return Join(masks);
    }
};

struct Block32
{
    __m128i low;
    __m128i high;

    static Block32 Load(const char* text)
    {
        return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(text)),
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + 16))};
    }

    void Store(char* to) const
    {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), low);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + 16), high);
    }

    static std::uint32_t Join(__m128i lowBytes, __m128i highBytes)
    {
        return static_cast<std::uint32_t>(_mm_movemask_epi8(lowBytes)) |
               static_cast<std::uint32_t>(_mm_movemask_epi8(highBytes)) << 16U;
    }

    [[nodiscard]] std::uint32_t Equal(char byte) const
    {
        const __m128i wanted = _mm_set1_epi8(byte);
        return Join(_mm_cmpeq_epi8(low, wanted), _mm_cmpeq_epi8(high, wanted));
    }

    [[nodiscard]] std::uint32_t HighBits() const { return Join(low, high); }
};

} // namespace

} // namespace AsciiReader::Kernels
