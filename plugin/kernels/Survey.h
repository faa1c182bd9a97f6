// What a run of bytes holds.
#pragma once

#include "kernels/Blocks.h"
#include "kernels/Kernels.h"

#include <cstddef>
#include <cstdint>

namespace AsciiReader::Kernels {

namespace {

inline void SurveyText(const char* text, std::size_t size, Survey& survey)
{
    std::uint64_t returns = 0;
    std::uint64_t high = 0;
    std::size_t quotes = 0;
    std::size_t at = 0;
    for (; at + 64 <= size; at += 64) {
        const Block64 block = Block64::Load(text + at);
        returns |= block.Equal('\r');
        high |= block.HighBits();
        quotes += static_cast<std::size_t>(__builtin_popcountll(block.Equal('"')));
    }
    for (; at < size; ++at) {
        returns |= text[at] == '\r' ? 1U : 0U;
        high |= static_cast<unsigned char>(text[at]) >> 7U;
        quotes += text[at] == '"' ? 1U : 0U;
    }
    survey.returns |= returns;
    survey.highBytes |= high;
    survey.quotes += quotes;
}

} // namespace

} // namespace AsciiReader::Kernels
