// One field of a run: where it stands, and its bytes as a word.
#pragma once

#include "kernels/Kernels.h"

#include <cstdint>

namespace AsciiReader::Kernels {

namespace {

/// Where a field begins and ends in the text.
struct FieldSpan
{
    std::uint32_t begin;
    std::uint32_t end;
};

template <bool kHasQuotes>
inline FieldSpan SpanOf(const FieldRun& fields, const std::uint32_t* ends)
{
    FieldSpan span{*(ends - 1) + 1, *ends - fields.trim};
    if (kHasQuotes && span.end - span.begin >= 2 && fields.text[span.begin] == '"') {
        ++span.begin;
        --span.end;
    }
    return span;
}

/// The first eight bytes at `text` as a number, in the order of the machine.
inline std::uint64_t LoadWord(const char* text)
{
    std::uint64_t word = 0;
    __builtin_memcpy(&word, text, sizeof word);
    return word;
}

} // namespace

} // namespace AsciiReader::Kernels
