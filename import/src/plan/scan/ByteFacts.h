// Counts over all bytes of a text, and whether it is UTF-8.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <kernels/Kernels.h>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

/// What the bytes of a text are, independent of fields and quotes. Pieces are added in order.
class ByteFacts
{
public:
    /// Adds a piece that ends at a line's end, or is the last one, so that no UTF-8 sequence and no
    /// `\r\n` is cut. 16 bytes after it must be readable.
    void Add(std::string_view piece);

    /// The same for a piece whose bytes were counted.
    void Add(std::string_view piece, const AsciiReader::Kernels::ByteCounts& counts);

    std::uint64_t size = 0;
    std::uint64_t lineFeeds = 0;       ///< `\n`, those of `\r\n` among them
    std::uint64_t returns = 0;         ///< `\r`, those of `\r\n` among them
    std::uint64_t returnsAndFeeds = 0; ///< `\r\n`
    std::uint64_t nuls = 0;
    std::uint64_t firstNul = 0;
    std::uint64_t quotes = 0; ///< `"`
    std::uint64_t highBytes = 0;
    std::uint64_t controlZs = 0; ///< 0x1A
    bool endsWithControlZ = false;
    bool endsWithLineEnd = false;
    bool isUtf8 = true;
    std::uint64_t invalidBytes = 0; ///< bytes that are no part of UTF-8
    std::uint64_t firstInvalid = 0; ///< where the first of these stands
    std::uint64_t cutBytes = 0;     ///< of these: the begin of a character that the text's end cuts
    std::vector<std::uint32_t>
        sequences;         ///< distinct characters past ASCII, at most 16, of the sample at least
    std::string highLines; ///< lines with high bytes, 64 KiB at most, for statistics
    std::bitset<256> highSet; ///< which high bytes occur in text that is not UTF-8

    [[nodiscard]] std::uint64_t CountLines() const noexcept
    {
        return lineFeeds + returns - returnsAndFeeds + (size > 0 && !endsWithLineEnd ? 1 : 0);
    }

private:
    void AddRareBytes(std::string_view piece);
    void AddHighBytes(std::string_view piece);
};

} // namespace Orvane::Import::Scan
