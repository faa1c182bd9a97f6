// Cells of known shapes, counted in eight adjacent columns at once. For AVX-512 alone.
#pragma once

#include "kernels/Kernels.h"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

namespace AsciiReader::Kernels {

namespace {

/// Some rows of cells: what tells their shapes, and their first eight bytes as numbers.
struct ShapedRows
{
    static constexpr std::size_t kMost = 32;

    __m512i signature[kMost];
    __m512i first[kMost];
};

// Without optimisation GCC's gathers are macros that convert the mask.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wsign-conversion"

inline void LoadRow(const ShapeRun& run, std::size_t from, std::size_t row, ShapedRows& rows)
{
    const std::uint32_t* const ends = run.ends + (from + row) * run.stride;
    const auto columns = static_cast<__mmask8>(run.columns);
    const __m512i ones = _mm512_set1_epi64(-1);
    // Positions are 32 bits and wrap.
    const __m256i before = _mm256_maskz_loadu_epi32(columns, ends - 1);
    const __m256i after = _mm256_maskz_loadu_epi32(columns, ends);
    const __m256i starts = _mm256_sub_epi32(before, _mm256_set1_epi32(-1));
    const __m512i begin = _mm512_cvtepu32_epi64(starts);
    const __m512i size = _mm512_cvtepu32_epi64(_mm256_sub_epi32(after, starts));
    // Four bytes of text have a byte of marks.
    const __m512i words = _mm512_mask_i64gather_epi64(
        _mm512_setzero_si512(), columns, _mm512_srli_epi64(begin, 2), run.marks, 1);
    const __m512i shift = _mm512_slli_epi64(_mm512_and_si512(begin, _mm512_set1_epi64(3)), 1);
    const __m512i outside = _mm512_sub_epi64(_mm512_set1_epi64(64), _mm512_slli_epi64(size, 1));
    const __m512i marks =
        _mm512_and_si512(_mm512_srlv_epi64(words, shift), _mm512_srlv_epi64(ones, outside));
    const __m512i bytes =
        _mm512_mask_i64gather_epi64(_mm512_setzero_si512(), columns, begin, run.text, 1);
    const __m512i reverse = _mm512_set4_epi32(0x08090A0B, 0x0C0D0E0F, 0x00010203, 0x04050607);
    const __m512i past = _mm512_srlv_epi64(ones, _mm512_slli_epi64(size, 3));
    rows.signature[row] = _mm512_or_si512(marks, _mm512_slli_epi64(size, 32));
    rows.first[row] = _mm512_andnot_si512(past, _mm512_shuffle_epi8(bytes, reverse));
}

#pragma GCC diagnostic pop

/// One shape of each column.
struct ShapeOfColumns
{
    __m512i signature;
    __m512i above;
    __m512i between;
    __m512i most;
    __m512i lastRise;
    __m512i cells;
};

inline ShapeOfColumns LoadShape(const KnownShapes& known, std::size_t shape)
{
    return {_mm512_load_si512(known.signature[shape]),
            _mm512_load_si512(known.above[shape]),
            _mm512_load_si512(known.between[shape]),
            _mm512_load_si512(known.most[shape]),
            _mm512_load_si512(known.lastRise[shape]),
            _mm512_load_si512(known.cells[shape])};
}

inline void StoreShape(const ShapeOfColumns& columns, KnownShapes& known, std::size_t shape)
{
    _mm512_store_si512(known.between[shape], columns.between);
    _mm512_store_si512(known.most[shape], columns.most);
    _mm512_store_si512(known.lastRise[shape], columns.lastRise);
    _mm512_store_si512(known.cells[shape], columns.cells);
}

/// Counts the cells of a row. @return a bit for each that is of the shape
inline unsigned CountRow(__m512i signature, __m512i first, std::size_t row, ShapeOfColumns& columns)
{
    const __mmask8 same = _mm512_cmpeq_epi64_mask(signature, columns.signature);
    const __m512i past = _mm512_sub_epi64(first, columns.above);
    __mmask8 within = _mm512_mask_cmplt_epu64_mask(same, past, columns.between);
    const __mmask8 rises = _mm512_mask_cmpgt_epu64_mask(same, first, columns.most);
    if (rises != 0) {
        columns.most = _mm512_mask_mov_epi64(columns.most, rises, first);
        columns.between = _mm512_mask_mov_epi64(columns.between, rises, past);
        columns.lastRise =
            _mm512_mask_set1_epi64(columns.lastRise, rises, static_cast<long long>(row) + 1);
        within = static_cast<__mmask8>(within | rises);
    }
    columns.cells =
        _mm512_mask_add_epi64(columns.cells, within, columns.cells, _mm512_set1_epi64(1));
    return within;
}

inline unsigned CountShapes(const ShapeRun& run, KnownShapes& known, std::uint8_t* others)
{
    unsigned all = 0;
    ShapedRows rows;
    for (std::size_t from = 0; from < run.rows; from += ShapedRows::kMost) {
        const std::size_t left = run.rows - from;
        const std::size_t count = left < ShapedRows::kMost ? left : ShapedRows::kMost;
        for (std::size_t row = 0; row < count; ++row) {
            LoadRow(run, from, row, rows);
            others[from + row] = static_cast<std::uint8_t>(run.columns);
        }
        // Two at a time. One more than there are has no cells.
        for (std::size_t shape = 0; shape < known.count; shape += 2) {
            ShapeOfColumns one = LoadShape(known, shape);
            ShapeOfColumns other = LoadShape(known, shape + 1);
            for (std::size_t row = 0; row < count; ++row) {
                const __m512i signature = rows.signature[row];
                const __m512i first = rows.first[row];
                const unsigned found = CountRow(signature, first, from + row, one) |
                                       CountRow(signature, first, from + row, other);
                others[from + row] = static_cast<std::uint8_t>(others[from + row] & ~found);
            }
            StoreShape(one, known, shape);
            StoreShape(other, known, shape + 1);
        }
        for (std::size_t row = 0; row < count; ++row) {
            all |= others[from + row];
        }
    }
    return all;
}

} // namespace

} // namespace AsciiReader::Kernels
