// The kernels for processors with AVX2, BMI, BMI2 and PCLMUL.
#include "kernels/Kernels.h"

#if defined(__x86_64__)

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

/// Bit i of the result is the parity of the bits up to i: a carry-less product with all ones.
std::uint64_t PrefixXor(std::uint64_t mask)
{
    return static_cast<std::uint64_t>(
        _mm_cvtsi128_si64(_mm_clmulepi64_si128(_mm_set_epi64x(0, static_cast<long long>(mask)),
                                               _mm_set1_epi8(static_cast<char>(0xFF)),
                                               0)));
}

std::uint32_t LowestBit(std::uint64_t mask)
{
    return static_cast<std::uint32_t>(_tzcnt_u64(mask));
}

#include "kernels/ConvertSse41.inc"
#include "kernels/EightPositions.inc"
#include "kernels/Index.inc"
#include "kernels/KernelBody.inc"
#include "kernels/Utf8Sse41.inc"

// In terms of those before.
#include "kernels/ConvertAvx2.inc"

} // namespace

const Set kAvx2 = {IndexText,
                   ToDoubles,
                   ToInt32s,
                   ToDoublesOfColumns,
                   ToBooleans,
                   AppendTexts,
                   ScanTypes,
                   SurveyText,
                   IsUtf8,
                   "avx2"};

} // namespace AsciiReader::Kernels

#endif
