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
#include "kernels/KernelBody.inc"
#include "kernels/Utf8Sse41.inc"

/// What the place of the point among sixteen bytes decides; the last row is for none.
struct PointRow
{
    alignas(32) unsigned char shuffle[16]; ///< as kPointShuffles
    double power;                          ///< what the digits are divided by
};

struct PointRows
{
    PointRow rows[17];
};

constexpr PointRows MakePointRows()
{
    PointRows points{};
    for (unsigned point = 0; point <= 16; ++point) {
        for (unsigned at = 0; at < 16; ++at) {
            points.rows[point].shuffle[at] = kPointShuffles.rows[point][at];
        }
        points.rows[point].power = point < 16 ? kPowersOfTen[15 - point] : 1;
    }
    return points;
}

constexpr PointRows kPointRows = MakePointRows();

__m256i LoadTwo(const void* low, const void* high)
{
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(low))),
        _mm_loadu_si128(static_cast<const __m128i*>(high)),
        1);
}

/// The constants of ConvertTwo.
struct Constants
{
    __m256i point = _mm256_set1_epi8('.');
    __m256i zero = _mm256_set1_epi8('0');
    __m256i nine = _mm256_set1_epi8(9);
    __m256i tenAndOne = _mm256_set1_epi16(0x010A);
    __m256i hundredAndOne = _mm256_set1_epi32(0x00010064);
    __m256i tenThousandAndOne = _mm256_set1_epi32(0x00012710);
    __m256d partUnits = _mm256_setr_pd(1e8, 1, 1e8, 1);
    __m128d mantissaEnd = _mm_set1_pd(static_cast<double>(kExactMantissa));

    /// Keeps the compiler from making them anew in the loop.
    [[gnu::always_inline]] void HoldInRegisters()
    {
        asm("" : "+x"(point), "+x"(zero), "+x"(nine), "+x"(tenAndOne));
        asm("" : "+x"(hundredAndOne), "+x"(tenThousandAndOne), "+x"(partUnits), "+x"(mantissaEnd));
    }
};

/// Converts two fields at once: what ConvertDigits and MakeDouble do, in the halves of a register.
/// Inlined by order, so that its constants stay in registers over the loop.
/// @return false when one of them is no plain number
template <bool kEmptyIsZero>
[[gnu::always_inline]] inline bool ConvertTwo(
    const Constants& constants, const char* text, FieldSpan first, FieldSpan second, double* out)
{
    const std::uint32_t firstSize = first.end - first.begin;
    const std::uint32_t secondSize = second.end - second.begin;
    if ((firstSize > 16) | (secondSize > 16)) {
        return false;
    }
    const std::uint32_t firstSign = text[first.begin] == '-' ? 1 : 0;
    const std::uint32_t secondSign = text[second.begin] == '-' ? 1 : 0;
    const std::uint32_t firstKept = firstSize - firstSign;
    const std::uint32_t secondKept = secondSize - secondSign;
    const __m256i raw = LoadTwo(text + first.end - 16, text + second.end - 16);
    const __m256i keep = LoadTwo(kKeepLast + firstKept, kKeepLast + secondKept);
    const __m256i isPoint = _mm256_and_si256(_mm256_cmpeq_epi8(raw, constants.point), keep);
    const auto points = static_cast<std::uint32_t>(_mm256_movemask_epi8(isPoint));
    const std::uint32_t firstPoint = _tzcnt_u32(points | 0x10000U);
    const std::uint32_t secondPoint = _tzcnt_u32(points >> 16U | 0x10000U);
    const PointRow& firstRow = kPointRows.rows[firstPoint];
    const PointRow& secondRow = kPointRows.rows[secondPoint];
    const __m256i digits =
        _mm256_shuffle_epi8(_mm256_and_si256(_mm256_sub_epi8(raw, constants.zero), keep),
                            LoadTwo(firstRow.shuffle, secondRow.shuffle));
    // A second point, like any other byte, is no digit; sign and point alone are no number.
    const __m256i excess = _mm256_subs_epu8(digits, constants.nine);
    const std::uint32_t firstHasPoint = 1 - (firstPoint >> 4U);
    const std::uint32_t secondHasPoint = 1 - (secondPoint >> 4U);
    const std::uint32_t firstLeast = kEmptyIsZero ? firstSign | firstHasPoint : 1;
    const std::uint32_t secondLeast = kEmptyIsZero ? secondSign | secondHasPoint : 1;
    const std::uint32_t missing =
        (firstKept - firstHasPoint - firstLeast) | (secondKept - secondHasPoint - secondLeast);
    if ((_mm256_testz_si256(excess, excess) == 0) | (missing >> 31U != 0)) {
        return false;
    }
    const __m256i pairs = _mm256_maddubs_epi16(digits, constants.tenAndOne);
    const __m256i fours = _mm256_madd_epi16(pairs, constants.hundredAndOne);
    const __m256i packed = _mm256_packus_epi32(fours, fours);
    const __m256i eights = _mm256_madd_epi16(packed, constants.tenThousandAndOne);
    // Upper and lower eight digits of both, as doubles; the sum is exact below 2^53.
    const __m256d parts = _mm256_mul_pd(
        _mm256_cvtepi32_pd(_mm256_castsi256_si128(_mm256_permute4x64_epi64(eights, 0x08))),
        constants.partUnits);
    const __m128d mantissas =
        _mm_hadd_pd(_mm256_castpd256_pd128(parts), _mm256_extractf128_pd(parts, 1));
    const __m128d powers = _mm_loadh_pd(_mm_load_sd(&firstRow.power), &secondRow.power);
    const __m128d signs =
        _mm_castsi128_pd(_mm_slli_epi64(_mm_set_epi64x(secondSign, firstSign), 63));
    _mm_storeu_pd(out, _mm_or_pd(_mm_div_pd(mantissas, powers), signs));
    const __m128d exact = _mm_cmplt_pd(mantissas, constants.mantissaEnd);
    return _mm_movemask_pd(exact) == 3;
}

/// Out of line, so that the loop keeps its registers.
[[gnu::noinline]] bool ConvertOne(const char* text, FieldSpan span, bool emptyIsZero, double& value)
{
    Digits digits;
    return ConvertDigits(text, span.begin, span.end, emptyIsZero, digits) &&
           MakeDouble(digits, value);
}

template <bool kHasQuotes, bool kEmptyIsZero>
std::size_t ToDoublesByTwo(const FieldRun& fields, double* out, std::uint32_t* odd)
{
    std::size_t oddCount = 0;
    const char* const text = fields.text;
    const std::size_t stride = fields.stride;
    const std::uint32_t* ends = fields.ends;
    std::size_t row = 0;
    const auto convertOne = [&](FieldSpan span) {
        if (!ConvertOne(text, span, kEmptyIsZero, out[row])) {
            odd[oddCount++] = static_cast<std::uint32_t>(row);
        }
        ++row;
    };
    // The first rows of a text may have fewer than sixteen bytes in front of their ends.
    for (; row < fields.rows && *ends < 32; ends += stride) {
        convertOne(SpanOf<kHasQuotes>(fields, ends));
    }
    Constants constants;
    constants.HoldInRegisters();
    for (; row + 1 < fields.rows; ends += 2 * stride) {
        const FieldSpan first = SpanOf<kHasQuotes>(fields, ends);
        const FieldSpan second = SpanOf<kHasQuotes>(fields, ends + stride);
        if (ConvertTwo<kEmptyIsZero>(constants, text, first, second, out + row)) {
            row += 2;
        } else {
            convertOne(first);
            convertOne(second);
        }
    }
    if (row < fields.rows) {
        convertOne(SpanOf<kHasQuotes>(fields, ends));
    }
    return oddCount;
}

std::size_t ToDoubles(const FieldRun& fields, double* out, std::uint32_t* odd)
{
    if (fields.emptyIsZero) {
        return fields.hasQuotes ? ToDoublesByTwo<true, true>(fields, out, odd)
                                : ToDoublesByTwo<false, true>(fields, out, odd);
    }
    return fields.hasQuotes ? ToDoublesByTwo<true, false>(fields, out, odd)
                            : ToDoublesByTwo<false, false>(fields, out, odd);
}

} // namespace

const Set kAvx2 = {
    IndexText, ToDoubles, ToInt32s, ToBooleans, AppendTexts, ScanTypes, SurveyText, IsUtf8, "avx2"};

} // namespace AsciiReader::Kernels

#endif
