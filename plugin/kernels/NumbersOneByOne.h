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
inline std::size_t ToDoublesRun(const FieldRun& fields, double* out, std::uint32_t* fallbacks)
{
    std::size_t fallbackCount = 0;
    const bool emptyIsZero = fields.emptyIsZero;
    const std::uint32_t* ends = fields.ends;
    for (std::size_t row = 0; row < fields.rows; ++row, ends += fields.stride) {
        const FieldSpan span = SpanOf<kHasQuotes>(fields, ends);
        Digits digits;
        if (!ConvertDigits(fields.text, span.begin, span.end, emptyIsZero, digits) ||
            !MakeDouble(digits, out[row])) {
            fallbacks[fallbackCount++] = static_cast<std::uint32_t>(row);
        }
    }
    return fallbackCount;
}

inline std::size_t ToDoubles(const FieldRun& fields, double* out, std::uint32_t* fallbacks)
{
    return fields.hasQuotes ? ToDoublesRun<true>(fields, out, fallbacks)
                            : ToDoublesRun<false>(fields, out, fallbacks);
}

template <bool kHasQuotes, bool kEmptyIsZero>
inline std::size_t ToInt32sRun(const FieldRun& fields, std::int32_t* out, std::uint32_t* fallbacks)
{
    std::size_t fallbackCount = 0;
    const std::uint32_t* ends = fields.ends;
    for (std::size_t row = 0; row < fields.rows; ++row, ends += fields.stride) {
        const FieldSpan span = SpanOf<kHasQuotes>(fields, ends);
        if (!ConvertInt32<kEmptyIsZero>(fields.text, span, out[row])) {
            fallbacks[fallbackCount++] = static_cast<std::uint32_t>(row);
        }
    }
    return fallbackCount;
}

inline std::size_t ToInt32s(const FieldRun& fields, std::int32_t* out, std::uint32_t* fallbacks)
{
    if (fields.emptyIsZero) {
        return fields.hasQuotes ? ToInt32sRun<true, true>(fields, out, fallbacks)
                                : ToInt32sRun<false, true>(fields, out, fallbacks);
    }
    return fields.hasQuotes ? ToInt32sRun<true, false>(fields, out, fallbacks)
                            : ToInt32sRun<false, false>(fields, out, fallbacks);
}

inline std::size_t ToDoublesOfColumns(const FieldRun& fields,
                                      DoubleColumn* columns,
                                      std::size_t count,
                                      FallbackField* fallbacks)
{
    std::size_t fallbackCount = 0;
    FieldRun row = fields;
    row.rows = 1;
    for (std::size_t at = 0; at < fields.rows; ++at) {
        for (std::size_t column = 0; column < count; ++column) {
            row.ends = fields.ends + at * fields.stride + column;
            std::uint32_t unused = 0;
            if (ToDoubles(row, columns[column].out + at, &unused) != 0) {
                fallbacks[fallbackCount++] = {static_cast<std::uint32_t>(column),
                                              static_cast<std::uint32_t>(at)};
            }
        }
    }
    return fallbackCount;
}

} // namespace

} // namespace AsciiReader::Kernels
