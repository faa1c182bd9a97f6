// The index for processors with AVX-512 VBMI2, which writes sixteen positions at once.
#include "kernels/Kernels.h"

#if defined(__x86_64__)

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
};

/// As in KernelsAvx2.cpp.
std::uint64_t PrefixXor(std::uint64_t mask)
{
    return static_cast<std::uint64_t>(
        _mm_cvtsi128_si64(_mm_clmulepi64_si128(_mm_set_epi64x(0, static_cast<long long>(mask)),
                                               _mm_set1_epi8(static_cast<char>(0xFF)),
                                               0)));
}

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

constexpr Steps kSteps = MakeSteps();

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

#include "kernels/Index.inc"

} // namespace

std::size_t IndexWithAvx512(const char* text,
                            std::size_t from,
                            std::size_t to,
                            const Structure& structure,
                            IndexState& state,
                            std::uint32_t* positions)
{
    return IndexText(text, from, to, structure, state, positions);
}

} // namespace AsciiReader::Kernels

#endif
