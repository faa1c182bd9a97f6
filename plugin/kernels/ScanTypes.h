// The kinds of values of a column.
#pragma once

#include "kernels/BooleanWords.h"
#include "kernels/Fields.h"
#include "kernels/Kernels.h"
#include "kernels/Numbers.h"

#include <cstddef>
#include <cstdint>

namespace AsciiReader::Kernels {

namespace {

/// Whether a number, or a word for true or false, may begin with the byte. Commas in numbers do not
/// count.
inline bool MayBeginValue(char byte)
{
    const auto lower = static_cast<unsigned char>(static_cast<unsigned char>(byte) | 0x20U);
    return (byte >= '+' && byte <= '9') || lower == 'y' || lower == 't' || lower == 'n' ||
           lower == 'f';
}

template <bool kHasQuotes>
inline std::size_t ScanTypesRun(const FieldRun& fields, TypeFacts& facts, std::uint32_t* fallbacks)
{
    const BooleanWords words;
    const char* const text = fields.text;
    std::size_t fallbackCount = 0;
    unsigned mostDigits = facts.mostDigits;
    bool hasWholeNumbers = false;
    bool hasDecimals = false;
    bool hasTexts = false;
    const std::uint32_t* ends = fields.ends;
    for (std::size_t row = 0; row < fields.rows; ++row, ends += fields.stride) {
        const FieldSpan span = SpanOf<kHasQuotes>(fields, ends);
        const std::uint32_t size = span.end - span.begin;
        if (size <= 5 && words.IsBoolean(text, span)) {
            continue;
        }
        Digits digits;
        if (ConvertDigits(text, span.begin, span.end, false, digits)) {
            const bool hasPoint = size - digits.sign != digits.count;
            if (!hasPoint && digits.count <= 9) {
                hasWholeNumbers = true;
                continue;
            }
            if (digits.fraction > 0) {
                hasDecimals = true;
                mostDigits = digits.count > mostDigits ? digits.count : mostDigits;
                continue;
            }
        } else if (size == 0 || !MayBeginValue(text[span.begin])) {
            hasTexts = true;
            continue;
        }
        fallbacks[fallbackCount++] = static_cast<std::uint32_t>(row);
    }
    facts.hasWholeNumbers |= hasWholeNumbers;
    facts.hasDecimals |= hasDecimals;
    facts.hasTexts |= hasTexts;
    facts.mostDigits = mostDigits;
    return fallbackCount;
}

inline std::size_t ScanTypes(const FieldRun& fields, TypeFacts& facts, std::uint32_t* fallbacks)
{
    return fields.hasQuotes ? ScanTypesRun<true>(fields, facts, fallbacks)
                            : ScanTypesRun<false>(fields, facts, fallbacks);
}

} // namespace

} // namespace AsciiReader::Kernels
