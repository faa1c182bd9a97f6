// Marks of a text's bytes, as kernels write them.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Orvane::Import::Scan {

/// Words that hold so many bits for each byte of a text, with one that BitsFrom reads past them.
[[nodiscard]] constexpr std::size_t CountMarkWords(std::size_t size, std::size_t bits) noexcept
{
    return (size / 64 + 1) * bits + 1;
}

/// The bits from one on, at least 57 of them.
[[nodiscard]] inline std::uint64_t BitsFrom(const std::uint64_t* words, std::size_t at) noexcept
{
    if constexpr (std::endian::native == std::endian::little) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, reinterpret_cast<const char*>(words) + at / 8, sizeof bits);
        return bits >> (at % 8);
    } else {
        const std::size_t shift = at % 64;
        return (words[at / 64] >> shift) | (words[at / 64 + 1] << 1U << (63 - shift));
    }
}

} // namespace Orvane::Import::Scan
