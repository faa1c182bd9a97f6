// The kernels for processors with SSSE3, SSE4.1 and POPCNT.
#include "kernels/Kernels.h"

#if defined(__x86_64__)

#include <smmintrin.h>

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

    template <typename Masks>
    static std::uint64_t Join(const Masks& maskOf)
    {
        return maskOf(0) | maskOf(1) << 16U | maskOf(2) << 32U | maskOf(3) << 48U;
    }

    [[nodiscard]] std::uint64_t Equal(char byte) const
    {
        const __m128i wanted = _mm_set1_epi8(byte);
        return Join([this, wanted](std::size_t part) {
            return std::uint64_t{
                static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(parts[part], wanted)))};
        });
    }

    [[nodiscard]] std::uint64_t HighBits() const
    {
        return Join([this](std::size_t part) {
            return std::uint64_t{static_cast<unsigned>(_mm_movemask_epi8(parts[part]))};
        });
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

std::uint64_t PrefixXor(std::uint64_t mask)
{
    for (unsigned shift = 1; shift < 64; shift *= 2) {
        mask ^= mask << shift;
    }
    return mask;
}

std::uint32_t LowestBit(std::uint64_t mask)
{
    return static_cast<std::uint32_t>(__builtin_ctzll(mask | std::uint64_t{1} << 63U));
}

#include "kernels/ConvertSse41.inc"
#include "kernels/KernelBody.inc"
#include "kernels/KernelOneByOne.inc"
#include "kernels/Utf8Sse41.inc"

} // namespace

const Set kSse41 = {IndexText,
                    ToDoubles,
                    ToInt32s,
                    ToBooleans,
                    AppendTexts,
                    ScanTypes,
                    SurveyText,
                    IsUtf8,
                    "sse4.1"};

} // namespace AsciiReader::Kernels

#endif
