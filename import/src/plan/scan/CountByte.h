// Counts one byte of a text, several at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace Orvane::Import::Scan {

/// How often a byte occurs; eight bytes per step.
[[nodiscard]] inline std::size_t CountByte(std::string_view text, char unit) noexcept
{
    constexpr std::uint64_t kOnes = 0x0101010101010101U;
    constexpr std::uint64_t kLow = 0x7F7F7F7F7F7F7F7FU;
    const std::uint64_t wanted = kOnes * static_cast<unsigned char>(unit);
    std::size_t count = 0;
    const char* at = text.data();
    std::size_t left = text.size();
    for (; left >= sizeof wanted; left -= sizeof wanted, at += sizeof wanted) {
        std::uint64_t word = 0;
        std::memcpy(&word, at, sizeof word);
        word ^= wanted;
        // The high bit of each byte that is 0 now; the product adds them up in the highest byte.
        const std::uint64_t zeros = ~(((word & kLow) + kLow) | word | kLow);
        count += static_cast<std::size_t>(((zeros >> 7U) * kOnes) >> 56U);
    }
    for (; left > 0; --left, ++at) {
        count += *at == unit ? 1U : 0U;
    }
    return count;
}

} // namespace Orvane::Import::Scan
