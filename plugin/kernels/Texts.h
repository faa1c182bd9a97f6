// The texts of a column, copied.
#pragma once

#include "kernels/Blocks.h"
#include "kernels/Fields.h"
#include "kernels/Kernels.h"

#include <cstddef>
#include <cstdint>

namespace AsciiReader::Kernels {

namespace {

template <bool kHasQuotes>
inline std::size_t AppendTextsRun(const FieldRun& fields, std::size_t row, TextTarget& target)
{
    const std::uint32_t* ends = fields.ends + row * fields.stride;
    std::size_t used = target.size;
    const std::uint32_t takenHigh = target.takesHighBytes ? 0 : ~std::uint32_t{0};
    for (; row < fields.rows; ++row, ends += fields.stride) {
        const FieldSpan span = SpanOf<kHasQuotes>(fields, ends);
        const std::size_t size = span.end - span.begin;
        if (size > target.longest || target.capacity - used < size + sizeof(Block32)) {
            break;
        }
        const char* from = fields.text + span.begin;
        char* to = target.bytes + used;
        std::uint32_t stops = 0;
        std::size_t left = size;
        for (;; left -= sizeof(Block32), from += sizeof(Block32), to += sizeof(Block32)) {
            const Block32 block = Block32::Load(from);
            block.Store(to);
            std::uint32_t mask = block.HighBits() & takenHigh;
            if constexpr (kHasQuotes) {
                mask |= block.Equal('"');
            }
            if (left <= sizeof(Block32)) {
                stops |= static_cast<std::uint32_t>(mask & ((std::uint64_t{1} << left) - 1));
                break;
            }
            stops |= mask;
        }
        if (stops != 0) {
            break;
        }
        used += size;
        target.ends[row] = static_cast<std::uint32_t>(used);
    }
    target.size = used;
    return row;
}

inline std::size_t AppendTexts(const FieldRun& fields, std::size_t row, TextTarget& target)
{
    return fields.hasQuotes ? AppendTextsRun<true>(fields, row, target)
                            : AppendTextsRun<false>(fields, row, target);
}

} // namespace

} // namespace AsciiReader::Kernels
