// Looks for bytes that need care in a text format, eight at a time.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace Orvane::Import {

/// Whether a text has one of `kBytes`, or, with `hasControls`, a byte below 0x20.
template <bool hasControls, char... kBytes>
[[nodiscard]] bool HasAnyOf(std::string_view text) noexcept
{
    constexpr std::uint64_t kOnes = 0x0101010101010101U;
    constexpr std::uint64_t kHighBits = 0x8080808080808080U;
    const auto isFound = [](std::uint64_t word) {
        const auto hasZero = [](std::uint64_t value) { return (value - kOnes) & ~value; };
        std::uint64_t found = (hasZero(word ^ (kOnes * static_cast<unsigned char>(kBytes))) | ...);
        if constexpr (hasControls) {
            found |= (word - kOnes * 0x20U) & ~word;
        }
        return (found & kHighBits) != 0;
    };
    const char* position = text.data();
    std::size_t left = text.size();
    std::uint64_t word = 0;
    for (; left >= sizeof word; left -= sizeof word, position += sizeof word) {
        std::memcpy(&word, position, sizeof word);
        if (isFound(word)) {
            return true;
        }
    }
    word = kOnes * static_cast<unsigned char>(' ');
    if (left > 0) {
        std::memcpy(&word, position, left);
    }
    return isFound(word);
}

} // namespace Orvane::Import
