// The index of separators and line ends.
#pragma once

#include "kernels/Bits.h"
#include "kernels/Blocks.h"
#include "kernels/Kernels.h"
#include "kernels/Positions.h"

#include <cstddef>
#include <cstdint>

namespace AsciiReader::Kernels {

namespace {

template <bool kHasQuotes, bool kIsCrLf>
inline std::size_t IndexRun(const char* text,
                            std::size_t from,
                            std::size_t to,
                            const Structure& structure,
                            IndexState& state,
                            std::uint32_t* positions)
{
    std::size_t count = 0;
    std::size_t lineEnds = 0;
    std::uint64_t inQuotes = state.inQuotes;
    std::uint64_t afterCr = state.afterCr;
    for (std::size_t at = from; at < to; at += 64) {
        const Block64 block = Block64::Load(text + at);
        std::uint64_t ends = block.Equal(structure.lineEnd);
        if constexpr (kIsCrLf) {
            const std::uint64_t returns = block.Equal('\r');
            ends &= (returns << 1U) | afterCr;
            afterCr = returns >> 63U;
        }
        const std::uint64_t mask = ends | block.Equal(structure.separator);
        std::uint64_t inside = ~std::uint64_t{0};
        if (to - at < 64) {
            inside = (std::uint64_t{1} << (to - at)) - 1;
        }
        if constexpr (kHasQuotes) {
            const std::uint64_t quoted = PrefixXor(block.Equal('"')) ^ inQuotes;
            inQuotes = static_cast<std::uint64_t>(static_cast<std::int64_t>(quoted) >> 63U);
            inside &= ~quoted;
        }
        lineEnds += static_cast<std::size_t>(__builtin_popcountll(ends & inside));
        count += WritePositions(mask & inside, static_cast<std::uint32_t>(at), positions + count);
    }
    state.inQuotes = inQuotes;
    state.afterCr = afterCr;
    state.lineEnds += lineEnds;
    return count;
}

inline std::size_t IndexText(const char* text,
                             std::size_t from,
                             std::size_t to,
                             const Structure& structure,
                             IndexState& state,
                             std::uint32_t* positions)
{
    if (structure.hasQuotes) {
        return structure.isCrLf
                   ? IndexRun<true, true>(text, from, to, structure, state, positions)
                   : IndexRun<true, false>(text, from, to, structure, state, positions);
    }
    return structure.isCrLf ? IndexRun<false, true>(text, from, to, structure, state, positions)
                            : IndexRun<false, false>(text, from, to, structure, state, positions);
}

} // namespace

} // namespace AsciiReader::Kernels
