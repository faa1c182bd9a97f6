// Lines that are quoted as a whole, without their quotes.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

/// Whether nearly all lines of a text begin and end with `"`, with no single quote inside, so that
/// each is a quoted field of its own.
/// @param isWhole the last line is not cut
[[nodiscard]] bool AreLinesQuoted(std::string_view text, bool isWhole);

/// Removes the quotes around lines, and one of two inside, while a text is read.
///
/// Line ends stay, so that lines keep their numbers. A line without a quote at its front stays as
/// it is.
class LineUnquoter
{
public:
    /// Fills a buffer with the text that follows. @return bytes, less than `capacity` only at the
    /// end
    /// @param read gives the text with its quotes: (buffer, capacity), less only at the end
    std::size_t Read(char* buffer,
                     std::size_t capacity,
                     const std::function<std::size_t(char*, std::size_t)>& read);

    /// To be called when the text begins anew.
    void Restart();

private:
    bool Next(const std::function<std::size_t(char*, std::size_t)>& read);

    std::vector<char> m_piece;
    std::size_t m_size = 0;
    std::size_t m_at = 0;
    bool m_isAtEnd = false;
    bool m_isAtFront = true; ///< of a line
    bool m_isQuoted = false; ///< in a line that began with a quote
};

} // namespace Orvane::Import::Scan
