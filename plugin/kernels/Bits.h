// Masks of 64 bits, for the instruction set that the compiler is told to use.
#pragma once

#if defined(__PCLMUL__) || defined(__BMI__) || defined(__BMI2__)
#include <immintrin.h>
#endif

#include <cstdint>

namespace AsciiReader::Kernels {

namespace {

/// Bit i of the result is the parity of the bits up to i.
inline std::uint64_t PrefixXor(std::uint64_t mask)
{
#if defined(__PCLMUL__)
    // A carry-less product with all ones.
    return static_cast<std::uint64_t>(
        _mm_cvtsi128_si64(_mm_clmulepi64_si128(_mm_set_epi64x(0, static_cast<long long>(mask)),
                                               _mm_set1_epi8(static_cast<char>(0xFF)),
                                               0)));
#else
    for (unsigned shift = 1; shift < 64; shift *= 2) {
        mask ^= mask << shift;
    }
    return mask;
#endif
}

/// The lower 32 bits as every second bit, from the lowest on.
inline std::uint64_t Spread(std::uint64_t mask)
{
#if defined(__BMI2__)
    return _pdep_u64(mask, 0x5555555555555555);
#else
    mask &= 0xFFFFFFFF;
    mask = (mask | mask << 16U) & 0x0000FFFF0000FFFF;
    mask = (mask | mask << 8U) & 0x00FF00FF00FF00FF;
    mask = (mask | mask << 4U) & 0x0F0F0F0F0F0F0F0F;
    mask = (mask | mask << 2U) & 0x3333333333333333;
    return (mask | mask << 1U) & 0x5555555555555555;
#endif
}

/// Position of the lowest bit; anything for 0.
inline std::uint32_t LowestBit(std::uint64_t mask)
{
#if defined(__BMI__)
    return static_cast<std::uint32_t>(_tzcnt_u64(mask));
#else
    return static_cast<std::uint32_t>(__builtin_ctzll(mask | std::uint64_t{1} << 63U));
#endif
}

} // namespace

} // namespace AsciiReader::Kernels
