// Text of characters that may hold bytes of ASCII, as UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Orvane::Import::Scan {

/// Whether a byte of ASCII may be a part of another character, as in Shift_JIS, Big5, GB18030,
/// ISO-2022-JP and EBCDIC: such a text cannot be cut at the bytes of separators, quotes and line
/// ends. False for UTF-8, for encodings of one byte per character, for EUC and CP949, where only
/// letters follow, and for a name that the system does not know. Cost: about a millisecond.
[[nodiscard]] bool HidesAscii(const std::string& encoding);

/// Decodes a text that comes in pieces, through the system's iconv.
class CharacterDecoder
{
public:
    class Handle;

    /// @param encoding one that the system knows
    explicit CharacterDecoder(const std::string& encoding);
    ~CharacterDecoder();
    CharacterDecoder(const CharacterDecoder&) = delete;
    CharacterDecoder& operator=(const CharacterDecoder&) = delete;

    /// Appends the text as UTF-8, U+FFFD for each byte that is no character. Backslash and tilde
    /// stay, whatever signs of money and lines an encoding has in their places.
    /// @param isLast otherwise bytes of a character that is not complete are left
    /// @param invalid is increased by the bytes that were no characters
    /// @return the bytes that were consumed
    std::size_t
    Append(std::string_view bytes, bool isLast, std::string& out, std::uint64_t& invalid);

    /// The next byte begins a text.
    void Restart();

private:
    std::unique_ptr<Handle> m_handle; ///< never null
    std::string m_backslash;          ///< what becomes a backslash; empty: nothing
    std::string m_tilde;
};

} // namespace Orvane::Import::Scan
