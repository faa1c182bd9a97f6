// Columns to numbers field by field.
#pragma once

#include "kernels/Fields.h"
#include "kernels/Kernels.h"
#include "kernels/Numbers.h"

#include <cstddef>
#include <cstdint>

namespace AsciiReader::Kernels {

namespace {

template <bool kHasQuotes>
inline std::size_t ToDoublesRun(const FieldRun& fields, double* out, std::uint32_t* odd)
{
    std::size_t oddCount = 0;
    const bool emptyIsZero = fields.emptyIsZero;
    const std::uint32_t* ends = fields.ends;
    for (std::size_t row = 0; row < fields.rows; ++row, ends += fields.stride) {
        const FieldSpan span = SpanOf<kHasQuotes>(fields, ends);
        Digits digits;
        if (!ConvertDigits(fields.text, span.begin, span.end, emptyIsZero, digits) ||
            !MakeDouble(digits, out[row])) {
            odd[oddCount++] = static_cast<std::uint32_t>(row);
        }
    }
    return oddCount;
}

inline std::size_t ToDoubles(const FieldRun& fields, double* out, std::uint32_t* odd)
{
    return fields.hasQuotes ? ToDoublesRun<true>(fields, out, odd)
                            : ToDoublesRun<false>(fields, out, odd);
}

template <bool kHasQuotes, bool kEmptyIsZero>
inline std::size_t ToInt32sRun(const FieldRun& fields, std::int32_t* out, std::uint32_t* odd)
{
    std::size_t oddCount = 0;
    const std::uint32_t* ends = fields.ends;
    for (std::size_t row = 0; row < fields.rows; ++row, ends += fields.stride) {
        const FieldSpan span = SpanOf<kHasQuotes>(fields, ends);
        if (!ConvertInt32<kEmptyIsZero>(fields.text, span, out[row])) {
            odd[oddCount++] = static_cast<std::uint32_t>(row);
        }
    }
    return oddCount;
}

inline std::size_t ToInt32s(const FieldRun& fields, std::int32_t* out, std::uint32_t* odd)
{
    if (fields.emptyIsZero) {
        return fields.hasQuotes ? ToInt32sRun<true, true>(fields, out, odd)
                                : ToInt32sRun<false, true>(fields, out, odd);
    }
    return fields.hasQuotes ? ToInt32sRun<true, false>(fields, out, odd)
                            : ToInt32sRun<false, false>(fields, out, odd);
}

inline std::size_t
ToDoublesOfColumns(const FieldRun& fields, DoubleColumn* columns, std::size_t count, OddField* odd)
{
    std::size_t oddCount = 0;
    FieldRun row = fields;
    row.rows = 1;
    for (std::size_t at = 0; at < fields.rows; ++at) {
        for (std::size_t column = 0; column < count; ++column) {
            row.ends = fields.ends + at * fields.stride + column;
            std::uint32_t unused = 0;
            if (ToDoubles(row, columns[column].out + at, &unused) != 0) {
                odd[oddCount++] = {static_cast<std::uint32_t>(column),
                                   static_cast<std::uint32_t>(at)};
            }
        }
    }
    return oddCount;
}

} // namespace

} // namespace AsciiReader::Kernels
