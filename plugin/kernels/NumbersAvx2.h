// Columns to numbers by four and by two with AVX2 and BMI.
//
// Most columns are plain: a few digits, and the point at one place in all of them. So rows are
// converted by four as if the next ones were like the last, with all that the place decides in
// constants; four that are not, one by one.
#pragma once

#include "kernels/DigitsSse41.h"
#include "kernels/Fields.h"
#include "kernels/Kernels.h"
#include "kernels/Numbers.h"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

namespace AsciiReader::Kernels {

namespace {

/// Four fields of a column.
struct FourFields
{
    FieldSpan spans[4];
    std::uint32_t kept[4]; ///< bytes after the sign
    std::uint32_t signs;   ///< bit r: field r has a minus
};

/// The sizes that fields may have: bit n for n bytes after the sign; [1] for fields with a minus.
struct SizesAllowed
{
    std::uint64_t bySign[2];
};

constexpr SizesAllowed MakeSizesAllowed(unsigned least, unsigned most, bool isEmptyAllowed)
{
    const std::uint64_t plain = (std::uint64_t{2} << most) - (std::uint64_t{1} << least);
    return {{plain | (isEmptyAllowed ? 1U : 0U), plain}};
}

/// Reads the fields at `ends` and in the three rows after it.
/// @return false when the size of one of the four is not allowed
template <bool kHasQuotes>
[[gnu::always_inline]] inline bool LoadFour(const FieldRun& fields,
                                            const std::uint32_t* ends,
                                            const SizesAllowed& sizes,
                                            FourFields& four)
{
    std::uint64_t isAllowed = 1;
    std::uint32_t anySize = 0;
    four.signs = 0;
    const auto take = [&](unsigned row) __attribute__((always_inline))
    {
        const FieldSpan span = SpanOf<kHasQuotes>(fields, ends + row * fields.stride);
        const std::uint32_t size = span.end - span.begin;
        const std::uint32_t sign = fields.text[span.begin] == '-' ? 1 : 0;
        four.spans[row] = span;
        four.kept[row] = size - sign;
        four.signs += sign << row;
        anySize |= size;
        isAllowed &= sizes.bySign[sign] >> (four.kept[row] & 63U);
    };
    // Not a loop, so that the spans stay in registers.
    take(0);
    take(1);
    take(2);
    take(3);
    return ((isAllowed & 1U) != 0) & (anySize < 32);
}

/// All bits of element r are `bits` where bit r of the row's number is set.
template <typename Element>
struct SignRows
{
    alignas(4 * sizeof(Element)) Element rows[16][4] = {};

    constexpr explicit SignRows(Element bits)
    {
        for (unsigned row = 0; row < 16; ++row) {
            for (unsigned at = 0; at < 4; ++at) {
                rows[row][at] = (row >> at & 1U) != 0 ? bits : 0;
            }
        }
    }
};

inline constexpr SignRows<std::uint64_t> kDoubleSigns(std::uint64_t{1} << 63U);
inline constexpr SignRows<std::uint32_t> kInt32Signs(0xFFFFFFFFU);

inline __m256i LoadTwo(const void* low, const void* high)
{
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(low))),
        _mm_loadu_si128(static_cast<const __m128i*>(high)),
        1);
}

inline __m256i
LoadFourWords(const char* first, const char* second, const char* third, const char* fourth)
{
    const auto join = [](const char* low, const char* high) {
        return _mm_insert_epi64(_mm_cvtsi64_si128(static_cast<long long>(LoadWord(low))),
                                static_cast<long long>(LoadWord(high)),
                                1);
    };
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(join(first, second)), join(third, fourth), 1);
}

/// What the place of the point among the sixteen bytes that end with a field decides. The digits
/// are joined to pairs, fours, eights and a whole by products with the powers of ten that the
/// digits to the right make; the point is a digit that counts for nothing.
struct PlaceRow
{
    unsigned char bases[16]; ///< the byte that stands for 0
    unsigned char most[16];  ///< the largest difference to it
    signed char pairWeights[16];
    short fourWeights[8];
    short eightWeights[8];
    std::uint64_t wholeWeight;
    double power;          ///< what the whole is divided by
    SizesAllowed sizes[2]; ///< for which the whole is exact; [1] where an empty field is 0
};

/// Row n is for n digits after the point; row 0 for none and no point.
struct PlaceRows
{
    PlaceRow rows[16];
};

constexpr PlaceRows MakePlaceRows()
{
    PlaceRows places{};
    for (unsigned fraction = 0; fraction < 16; ++fraction) {
        PlaceRow& place = places.rows[fraction];
        const unsigned point = fraction == 0 ? 16 : 15 - fraction;
        for (unsigned at = 0; at < 16; ++at) {
            place.bases[at] = at == point ? '.' : '0';
            place.most[at] = at == point ? 0 : 9;
            const unsigned right = at % 2 == 0 && at + 1 != point ? 1 : 0;
            place.pairWeights[at] = static_cast<signed char>(kPowersOfTen[right]);
        }
        for (unsigned pair = 0; pair < 8; ++pair) {
            const unsigned right = pair % 2 != 0 ? 0 : (point / 2 == pair + 1 ? 1 : 2);
            place.fourWeights[pair] = static_cast<short>(kPowersOfTen[right]);
        }
        for (unsigned four = 0; four < 4; ++four) {
            const unsigned right = four % 2 != 0 ? 0 : (point / 4 == four + 1 ? 3 : 4);
            place.eightWeights[four] = static_cast<short>(kPowersOfTen[right]);
            place.eightWeights[four + 4] = place.eightWeights[four];
        }
        place.wholeWeight = static_cast<std::uint64_t>(kPowersOfTen[point / 8 == 1 ? 7 : 8]);
        place.power = kPowersOfTen[fraction];
        for (unsigned isEmptyAllowed = 0; isEmptyAllowed < 2; ++isEmptyAllowed) {
            place.sizes[isEmptyAllowed] =
                MakeSizesAllowed(fraction + 1, fraction == 0 ? 15 : 16, isEmptyAllowed != 0);
        }
    }
    return places;
}

inline constexpr PlaceRows kPlaceRows = MakePlaceRows();

inline __m256i SpreadBytes(const void* bytes)
{
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i*>(bytes)));
}

/// Converts decimals with the point at one place.
class DecimalsByFour
{
public:
    explicit DecimalsByFour(const PlaceRow& place)
        : m_bases(SpreadBytes(place.bases))
        , m_most(SpreadBytes(place.most))
        , m_pairWeights(SpreadBytes(place.pairWeights))
        , m_fourWeights(SpreadBytes(place.fourWeights))
        , m_eightWeights(SpreadBytes(place.eightWeights))
        , m_wholeWeight(_mm256_set1_epi64x(static_cast<long long>(place.wholeWeight)))
        , m_power(_mm256_set1_pd(place.power))
    {}

    /// Keeps the compiler from rebuilding the constants in every pass of a loop.
    [[gnu::always_inline]] void HoldInRegisters()
    {
        asm("" : "+x"(m_bases), "+x"(m_most), "+x"(m_pairWeights), "+x"(m_fourWeights));
        asm("" : "+x"(m_eightWeights), "+x"(m_wholeWeight), "+x"(m_power));
    }

    /// @return false when one of the four is no number of that kind; `out` is not written then
    [[gnu::always_inline]] bool Convert(const char* text, const FourFields& four, double* out) const
    {
        // Packing restores the order.
        const __m256i firstAndThird = LoadDigits(text, four, 0, 2);
        const __m256i secondAndFourth = LoadDigits(text, four, 1, 3);
        const __m256i excess = _mm256_or_si256(_mm256_subs_epu8(firstAndThird, m_most),
                                               _mm256_subs_epu8(secondAndFourth, m_most));
        if (_mm256_testz_si256(excess, excess) == 0) {
            return false;
        }
        const __m256i packed =
            _mm256_packus_epi32(JoinToFours(firstAndThird), JoinToFours(secondAndFourth));
        const __m256i eights = _mm256_madd_epi16(packed, m_eightWeights);
        // Below 10^15, so below 2^52: exact, and a double once the exponent of 2^52 is set.
        const __m256i whole = _mm256_add_epi64(_mm256_mul_epu32(eights, m_wholeWeight),
                                               _mm256_srli_epi64(eights, 32));
        const __m256d twoTo52 = _mm256_set1_pd(4503599627370496.0);
        const __m256d value = _mm256_div_pd(
            _mm256_sub_pd(_mm256_or_pd(_mm256_castsi256_pd(whole), twoTo52), twoTo52), m_power);
        const __m256d signs =
            _mm256_load_pd(reinterpret_cast<const double*>(kDoubleSigns.rows[four.signs]));
        _mm256_storeu_pd(out, _mm256_or_pd(value, signs));
        return true;
    }

private:
    [[gnu::always_inline]] __m256i
    LoadDigits(const char* text, const FourFields& four, std::size_t low, std::size_t high) const
    {
        const __m256i raw =
            LoadTwo(text + four.spans[low].end - 16, text + four.spans[high].end - 16);
        const __m256i keep = LoadTwo(kKeepLast + four.kept[low], kKeepLast + four.kept[high]);
        return _mm256_and_si256(_mm256_sub_epi8(raw, m_bases), keep);
    }

    [[gnu::always_inline]] __m256i JoinToFours(__m256i digits) const
    {
        return _mm256_madd_epi16(_mm256_maddubs_epi16(digits, m_pairWeights), m_fourWeights);
    }

    __m256i m_bases;
    __m256i m_most;
    __m256i m_pairWeights;
    __m256i m_fourWeights;
    __m256i m_eightWeights;
    __m256i m_wholeWeight;
    __m256d m_power;
};

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

inline constexpr PointRows kPointRows = MakePointRows();

/// The constants of ConvertTwo.
struct PairConstants
{
    __m256i point = _mm256_set1_epi8('.');
    __m256i zero = _mm256_set1_epi8('0');
    __m256i nine = _mm256_set1_epi8(9);
    __m256i tenAndOne = _mm256_set1_epi16(0x010A);
    __m256i hundredAndOne = _mm256_set1_epi32(0x00010064);
    __m256i tenThousandAndOne = _mm256_set1_epi32(0x00012710);
    __m256d partUnits = _mm256_setr_pd(1e8, 1, 1e8, 1);
    __m128d mantissaEnd = _mm_set1_pd(static_cast<double>(kExactMantissa));

    /// Keeps the compiler from rebuilding them in every pass of the loop.
    [[gnu::always_inline]] void HoldInRegisters()
    {
        asm("" : "+x"(point), "+x"(zero), "+x"(nine), "+x"(tenAndOne));
        asm("" : "+x"(hundredAndOne), "+x"(tenThousandAndOne), "+x"(partUnits), "+x"(mantissaEnd));
    }
};

/// Converts two fields at once: what ConvertDigits and MakeDouble do, in the halves of a register.
/// Always inlined, so that its constants stay in registers over the loop.
/// @return false when one of them is no plain number
template <bool kEmptyIsZero>
[[gnu::always_inline]] inline bool ConvertTwo(const PairConstants& constants,
                                              const char* text,
                                              FieldSpan first,
                                              FieldSpan second,
                                              double* out)
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

/// Out of line, so that the loops keep their registers.
/// @param fraction becomes the digits after the point of a number that is not empty
template <bool kEmptyIsZero>
[[gnu::noinline]] bool
ConvertOne(const char* text, FieldSpan span, double& value, std::uint32_t& fraction)
{
    Digits digits;
    if (!ConvertDigits(text, span.begin, span.end, kEmptyIsZero, digits)) {
        return false;
    }
    fraction = digits.count > 0 ? digits.fraction : fraction;
    return MakeDouble(digits, value);
}

/// The rows of a column, from the first to the last.
template <bool kHasQuotes, typename Value>
class ColumnRows
{
public:
    ColumnRows(const FieldRun& fields, Value* out, std::uint32_t* fallbacks)
        : m_fields(fields)
        , m_ends(fields.ends)
        , m_out(out)
        , m_fallbacks(fallbacks)
    {}

    [[nodiscard]] std::size_t GetLeft() const { return m_fields.rows - m_row; }

    [[nodiscard]] std::size_t GetFallbackCount() const { return m_fallbackCount; }

    [[nodiscard]] const char* GetText() const { return m_fields.text; }

    /// The next row but `ahead`.
    [[nodiscard]] FieldSpan SpanAt(std::size_t ahead) const
    {
        return SpanOf<kHasQuotes>(m_fields, m_ends + ahead * m_fields.stride);
    }

    Value* GetOut() const { return m_out + m_row; }

    void Pass(std::size_t rows)
    {
        m_row += rows;
        m_ends += rows * m_fields.stride;
    }

    void GoBack(std::size_t rows)
    {
        m_row -= rows;
        m_ends -= rows * m_fields.stride;
    }

    /// Converts the next rows one by one; those for which `convert` gives false are fallbacks.
    template <typename Convert>
    void ConvertNext(std::size_t rows, const Convert& convert)
    {
        for (; rows > 0; --rows) {
            if (!convert(m_fields.text, SpanAt(0), m_out[m_row])) {
                m_fallbacks[m_fallbackCount++] = static_cast<std::uint32_t>(m_row);
            }
            Pass(1);
        }
    }

    /// Converts the rows that may have fewer than sixteen bytes before their ends.
    template <typename Convert>
    void ConvertFirst(const Convert& convert)
    {
        while (GetLeft() > 0 && *m_ends < 32) {
            ConvertNext(1, convert);
        }
        m_firstByFour = m_row;
    }

    /// Whether there were few runs of alike rows that ended.
    [[nodiscard]] bool IsAlike(std::size_t ended) const
    {
        return GetLeft() > 0 && ended <= kFewMisses + m_row / kRowsOfAMiss;
    }

    /// Converts rows by four while a `Converter` accepts them, then up to four one by one.
    template <typename Converter, typename ConvertOne>
    void
    ConvertAlike(const SizesAllowed& sizes, const PlaceRow& place, const ConvertOne& convertOne)
    {
        ConvertByFour<Converter>(sizes, place);
        if (GetLeft() > 0 && GetLeft() < 4 && m_row >= m_firstByFour + 4) {
            // The last rows are converted together with rows before them, which are done twice.
            const std::size_t again = 4 - GetLeft();
            GoBack(again);
            ConvertByFour<Converter>(sizes, place);
            Pass(GetLeft() == 0 ? 0 : again);
        }
        ConvertNext(GetLeft() < 4 ? GetLeft() : 4, convertOne);
    }

private:
    template <typename Converter>
    [[gnu::noinline]] void ConvertByFour(const SizesAllowed& sizes, const PlaceRow& place)
    {
        Converter converter(place);
        converter.HoldInRegisters();
        const FieldRun fields = m_fields;
        const std::uint32_t* ends = m_ends;
        std::size_t row = m_row;
        for (; row + 4 <= fields.rows; row += 4, ends += 4 * fields.stride) {
            FourFields four;
            if (!LoadFour<kHasQuotes>(fields, ends, sizes, four) ||
                !converter.Convert(fields.text, four, m_out + row)) {
                break;
            }
        }
        m_row = row;
        m_ends = ends;
    }

    const FieldRun m_fields;
    const std::uint32_t* m_ends;
    Value* m_out;
    std::uint32_t* m_fallbacks;
    std::size_t m_row = 0;
    std::size_t m_fallbackCount = 0;
    std::size_t m_firstByFour = 0;

    static constexpr std::size_t kFewMisses = 2;
    static constexpr std::size_t kRowsOfAMiss = 32;
};

template <bool kHasQuotes, bool kEmptyIsZero>
std::size_t ToDoublesRun(const FieldRun& fields, ColumnRows<kHasQuotes, double> rows)
{
    std::uint32_t fraction = fields.decimals != nullptr ? *fields.decimals : 0;
    const auto convertOne = [&fraction](const char* text, FieldSpan span, double& value) {
        return ConvertOne<kEmptyIsZero>(text, span, value, fraction);
    };
    rows.ConvertFirst(convertOne);
    for (std::size_t ended = 0; rows.IsAlike(ended); ++ended) {
        const PlaceRow& place = kPlaceRows.rows[fraction];
        const SizesAllowed& sizes = place.sizes[kEmptyIsZero ? 1 : 0];
        rows.template ConvertAlike<DecimalsByFour>(sizes, place, convertOne);
    }
    if (fields.decimals != nullptr) {
        *fields.decimals = fraction;
    }
    PairConstants constants;
    constants.HoldInRegisters();
    while (rows.GetLeft() >= 2) {
        if (ConvertTwo<kEmptyIsZero>(
                constants, rows.GetText(), rows.SpanAt(0), rows.SpanAt(1), rows.GetOut())) {
            rows.Pass(2);
        } else {
            rows.ConvertNext(2, convertOne);
        }
    }
    rows.ConvertNext(rows.GetLeft(), convertOne);
    return rows.GetFallbackCount();
}

inline std::size_t ToDoubles(const FieldRun& fields, double* out, std::uint32_t* fallbacks)
{
    if (fields.emptyIsZero) {
        return fields.hasQuotes ? ToDoublesRun<true, true>(fields, {fields, out, fallbacks})
                                : ToDoublesRun<false, true>(fields, {fields, out, fallbacks});
    }
    return fields.hasQuotes ? ToDoublesRun<true, false>(fields, {fields, out, fallbacks})
                            : ToDoublesRun<false, false>(fields, {fields, out, fallbacks});
}

/// Four rows after four rows of adjacent columns.
template <bool kHasQuotes, bool kEmptyIsZero>
class TileRows
{
public:
    TileRows(const FieldRun& fields,
             DoubleColumn* columns,
             std::size_t count,
             FallbackField* fallbacks)
        : m_fields(fields)
        , m_columns(columns)
        , m_count(count)
        , m_fallbacks(fallbacks)
    {}

    std::size_t Convert()
    {
        for (std::size_t column = 0; column < m_count; ++column) {
            m_columns[column].misses = 0;
        }
        const std::size_t rows = m_fields.rows;
        // The first rows of a text may have fewer than sixteen bytes before their ends.
        std::size_t row = 0;
        for (; row < rows && m_fields.ends[row * m_fields.stride] < 32; ++row) {
            ConvertOneRow(row);
        }
        const std::size_t firstByFour = row;
        for (; row + 4 <= rows; row += 4) {
            ConvertFourRows(row);
        }
        if (row < rows && rows >= firstByFour + 4) {
            // The last rows are converted together with rows before them, which are done twice.
            ConvertFourRows(rows - 4);
        } else {
            for (; row < rows; ++row) {
                ConvertOneRow(row);
            }
        }
        return m_fallbackCount;
    }

private:
    /// A column whose points are at many places is converted one by one.
    static constexpr std::uint32_t kMostMisses = 4;

    void ConvertFourRows(std::size_t row)
    {
        const FieldRun fields = m_fields;
        const std::uint32_t* ends = fields.ends + row * fields.stride;
        for (std::size_t at = 0; at < m_count; ++at, ++ends) {
            DoubleColumn& column = m_columns[at];
            const PlaceRow& place = kPlaceRows.rows[column.decimals];
            // Its next cache line: hardware does not follow so many columns.
            __builtin_prefetch(column.out + row + 8, 1);
            FourFields four;
            if (column.misses <= kMostMisses &&
                LoadFour<kHasQuotes>(fields, ends, place.sizes[kEmptyIsZero ? 1 : 0], four) &&
                DecimalsByFour(place).Convert(fields.text, four, column.out + row)) {
                continue;
            }
            ++column.misses;
            for (std::size_t step = 0; step < 4; ++step) {
                ConvertField(at, row + step);
            }
        }
    }

    void ConvertOneRow(std::size_t row)
    {
        for (std::size_t at = 0; at < m_count; ++at) {
            ConvertField(at, row);
        }
    }

    void ConvertField(std::size_t at, std::size_t row)
    {
        DoubleColumn& column = m_columns[at];
        const std::uint32_t* const ends = m_fields.ends + row * m_fields.stride + at;
        const FieldSpan span = SpanOf<kHasQuotes>(m_fields, ends);
        if (!ConvertOne<kEmptyIsZero>(m_fields.text, span, column.out[row], column.decimals)) {
            m_fallbacks[m_fallbackCount++] = {static_cast<std::uint32_t>(at),
                                              static_cast<std::uint32_t>(row)};
        }
    }

    const FieldRun m_fields;
    DoubleColumn* m_columns;
    std::size_t m_count;
    FallbackField* m_fallbacks;
    std::size_t m_fallbackCount = 0;
};

inline std::size_t ToDoublesOfColumns(const FieldRun& fields,
                                      DoubleColumn* columns,
                                      std::size_t count,
                                      FallbackField* fallbacks)
{
    if (fields.emptyIsZero) {
        return fields.hasQuotes
                   ? TileRows<true, true>(fields, columns, count, fallbacks).Convert()
                   : TileRows<false, true>(fields, columns, count, fallbacks).Convert();
    }
    return fields.hasQuotes ? TileRows<true, false>(fields, columns, count, fallbacks).Convert()
                            : TileRows<false, false>(fields, columns, count, fallbacks).Convert();
}

/// Converts whole numbers of at most eight digits.
class WholesByFour
{
public:
    explicit WholesByFour(const PlaceRow& /*place*/) {}

    [[gnu::always_inline]] void HoldInRegisters()
    {
        asm("" : "+x"(m_zero), "+x"(m_nine), "+x"(m_pairWeights));
        asm("" : "+x"(m_fourWeights), "+x"(m_eightWeights));
    }

    /// @return false when one of the four is something else; `out` is not written then
    [[gnu::always_inline]] bool
    Convert(const char* text, const FourFields& four, std::int32_t* out) const
    {
        const __m256i raw = LoadFourWords(text + four.spans[0].end - 8,
                                          text + four.spans[1].end - 8,
                                          text + four.spans[2].end - 8,
                                          text + four.spans[3].end - 8);
        const char* const keepLast = reinterpret_cast<const char*>(kKeepLast) + 8;
        const __m256i keep = LoadFourWords(keepLast + four.kept[0],
                                           keepLast + four.kept[1],
                                           keepLast + four.kept[2],
                                           keepLast + four.kept[3]);
        const __m256i digits = _mm256_and_si256(_mm256_sub_epi8(raw, m_zero), keep);
        const __m256i excess = _mm256_subs_epu8(digits, m_nine);
        if (_mm256_testz_si256(excess, excess) == 0) {
            return false;
        }
        const __m256i fours =
            _mm256_madd_epi16(_mm256_maddubs_epi16(digits, m_pairWeights), m_fourWeights);
        const __m256i eights = _mm256_madd_epi16(_mm256_packus_epi32(fours, fours), m_eightWeights);
        const __m128i values =
            _mm_unpacklo_epi64(_mm256_castsi256_si128(eights), _mm256_extracti128_si256(eights, 1));
        const __m128i signs =
            _mm_load_si128(reinterpret_cast<const __m128i*>(kInt32Signs.rows[four.signs]));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                         _mm_sub_epi32(_mm_xor_si128(values, signs), signs));
        return true;
    }

private:
    __m256i m_zero = _mm256_set1_epi8('0');
    __m256i m_nine = _mm256_set1_epi8(9);
    __m256i m_pairWeights = _mm256_set1_epi16(0x010A);
    __m256i m_fourWeights = _mm256_set1_epi32(0x00010064);
    __m256i m_eightWeights = _mm256_set1_epi32(0x00012710);
};

template <bool kHasQuotes, bool kEmptyIsZero>
std::size_t ToInt32sRun(ColumnRows<kHasQuotes, std::int32_t> rows)
{
    const auto convertOne = [](const char* text, FieldSpan span, std::int32_t& value) {
        return ConvertInt32<kEmptyIsZero>(text, span, value);
    };
    rows.ConvertFirst(convertOne);
    constexpr SizesAllowed kSizes = MakeSizesAllowed(1, 8, kEmptyIsZero);
    for (std::size_t ended = 0; rows.IsAlike(ended); ++ended) {
        rows.template ConvertAlike<WholesByFour>(kSizes, kPlaceRows.rows[0], convertOne);
    }
    rows.ConvertNext(rows.GetLeft(), convertOne);
    return rows.GetFallbackCount();
}

inline std::size_t ToInt32s(const FieldRun& fields, std::int32_t* out, std::uint32_t* fallbacks)
{
    if (fields.emptyIsZero) {
        return fields.hasQuotes ? ToInt32sRun<true, true>({fields, out, fallbacks})
                                : ToInt32sRun<false, true>({fields, out, fallbacks});
    }
    return fields.hasQuotes ? ToInt32sRun<true, false>({fields, out, fallbacks})
                            : ToInt32sRun<false, false>({fields, out, fallbacks});
}

} // namespace

} // namespace AsciiReader::Kernels
