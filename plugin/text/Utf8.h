// Tells whether bytes are valid UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

namespace AsciiReader {

/// How far bytes are valid UTF-8.
struct Utf8Check
{
    std::size_t validSize; ///< bytes of complete, valid characters from the start
    bool isValidSoFar;     ///< what follows them, if anything, is the beginning of a character
};

/// Checks for shortest forms, no surrogates and nothing above U+10FFFF.
Utf8Check CheckUtf8(std::string_view bytes) noexcept;

/// Bytes at the end that begin a character which more bytes may complete; 0 to 3.
std::size_t CountIncompleteTail(std::string_view bytes) noexcept;

} // namespace AsciiReader
