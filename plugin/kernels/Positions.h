// Bits of a mask as positions, for the instruction set that the compiler is told to use.
#pragma once

#include "kernels/Bits.h"

#if defined(__AVX512VBMI2__)
#include <immintrin.h>
#endif

#include <cstddef>
#include <cstdint>

namespace AsciiReader::Kernels {

namespace {

#if defined(__AVX512VBMI2__)

struct Steps
{
    alignas(64) unsigned char bytes[64];
};

constexpr Steps MakeSteps()
{
    Steps steps{};
    for (unsigned char at = 0; at < 64; ++at) {
        steps.bytes[at] = at;
    }
    return steps;
}

inline constexpr Steps kSteps = MakeSteps();

/// Writes base + i for every bit i that is set, in order, and up to kPadding entries more.
/// @return how many are set
inline std::size_t WritePositions(std::uint64_t mask, std::uint32_t base, std::uint32_t* positions)
{
    const auto count = static_cast<std::size_t>(_mm_popcnt_u64(mask));
    const __m512i steps = _mm512_maskz_compress_epi8(mask, _mm512_load_si512(kSteps.bytes));
    const __m512i bases = _mm512_set1_epi32(static_cast<int>(base));
    const auto write = [positions, bases](std::size_t at, __m128i sixteen) {
        _mm512_storeu_si512(positions + at, _mm512_add_epi32(_mm512_cvtepu8_epi32(sixteen), bases));
    };
    write(0, _mm512_castsi512_si128(steps));
    if (count > 16) {
        write(16, _mm512_extracti32x4_epi32(steps, 1));
        if (count > 32) {
            write(32, _mm512_extracti32x4_epi32(steps, 2));
            write(48, _mm512_extracti32x4_epi32(steps, 3));
        }
    }
    return count;
}

#else

/// The same.
inline std::size_t WritePositions(std::uint64_t mask, std::uint32_t base, std::uint32_t* positions)
{
    const auto count = static_cast<std::size_t>(__builtin_popcountll(mask));
    // Eight at a time without a test each: what is written too much is overwritten later.
    for (std::size_t at = 0; at < count; at += 8) {
        for (std::size_t step = 0; step < 8; ++step) {
            positions[at + step] = base + LowestBit(mask);
            mask &= mask - 1;
        }
    }
    return count;
}

#endif

} // namespace

} // namespace AsciiReader::Kernels
