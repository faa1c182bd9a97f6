// Counts of the bytes that tell what a text is made of.
#pragma once

#include "kernels/Blocks.h"
#include "kernels/Kernels.h"

#include <cstddef>
#include <cstdint>

namespace AsciiReader::Kernels {

namespace {

inline void CountBytes(const char* text, std::size_t size, ByteCounts& counts)
{
    const auto count = [](std::uint64_t mask) {
        return static_cast<std::uint64_t>(__builtin_popcountll(mask));
    };
    std::size_t at = 0;
    for (; at + 64 <= size; at += 64) {
        const Block64 block = Block64::Load(text + at);
        counts.feeds += count(block.Equal('\n'));
        counts.tabs += count(block.Equal('\t'));
        counts.quotes += count(block.Equal('"'));
        counts.unprinted += count(block.Unprinted());
    }
    for (; at < size; ++at) {
        counts.feeds += text[at] == '\n' ? 1U : 0U;
        counts.tabs += text[at] == '\t' ? 1U : 0U;
        counts.quotes += text[at] == '"' ? 1U : 0U;
        counts.unprinted += static_cast<signed char>(text[at]) < ' ' ? 1U : 0U;
    }
}

} // namespace

} // namespace AsciiReader::Kernels
