// Characters in UTF-8 and UTF-16: the one table of lead bytes, the one encoder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// What encoding and decoding is made of, shared by everything that handles bytes of text: the
/// SDK's strings and pages, plug-ins that check what they read, programs that print. It is public
/// since plug-ins and programs need it without a BString in between. Nothing here allocates but
/// AppendUtf8; all of it may be used from any thread.
namespace Orvane::BUnicode {

/// Stands for whatever is no character.
inline constexpr char32_t kReplacement = 0xFFFD;

/// A half of a pair, the first one.
[[nodiscard]] constexpr bool IsHighSurrogate(char32_t code) noexcept
{
    return code >= 0xD800 && code <= 0xDBFF;
}

/// A half of a pair, the second one.
[[nodiscard]] constexpr bool IsLowSurrogate(char32_t code) noexcept
{
    return code >= 0xDC00 && code <= 0xDFFF;
}

[[nodiscard]] constexpr bool IsSurrogate(char32_t code) noexcept
{
    return code >= 0xD800 && code <= 0xDFFF;
}

/// What a lead byte of UTF-8 asks for.
struct Utf8Lead
{
    std::uint8_t size;       ///< bytes of the character, 1 to 4; 0 for a byte that begins none
    std::uint8_t codeBits;   ///< mask of the lead byte's own bits of the code
    std::uint8_t secondLow;  ///< lowest second byte; further bytes are 0x80 to 0xBF
    std::uint8_t secondHigh; ///< highest second byte
};

/// The table of lead bytes: shortest forms, no surrogates, nothing above U+10FFFF.
[[nodiscard]] constexpr Utf8Lead LeadOf(unsigned char byte) noexcept
{
    if (byte < 0x80) {
        return {1, 0x7F, 0, 0};
    }
    if (byte < 0xC2 || byte > 0xF4) {
        return {0, 0, 0, 0};
    }
    if (byte < 0xE0) {
        return {2, 0x1F, 0x80, 0xBF};
    }
    if (byte < 0xF0) {
        return {3,
                0x0F,
                static_cast<std::uint8_t>(byte == 0xE0 ? 0xA0 : 0x80),
                static_cast<std::uint8_t>(byte == 0xED ? 0x9F : 0xBF)};
    }
    return {4,
            0x07,
            static_cast<std::uint8_t>(byte == 0xF0 ? 0x90 : 0x80),
            static_cast<std::uint8_t>(byte == 0xF4 ? 0x8F : 0xBF)};
}

/// Whether the byte goes on with a character that an earlier one began.
[[nodiscard]] constexpr bool IsContinuation(unsigned char byte) noexcept
{
    return (byte & 0xC0U) == 0x80U;
}

/// One decoded character.
struct Character
{
    char32_t code;    ///< kReplacement when the bytes are no character
    std::size_t size; ///< bytes, at least 1; of broken ones their longest valid beginning
    bool isValid;
};

/// The character that the bytes, at least one, begin with.
[[nodiscard]] constexpr Character DecodeUtf8(std::string_view bytes) noexcept
{
    const auto byteAt = [bytes](std::size_t index) {
        return static_cast<unsigned char>(bytes[index]);
    };
    const Utf8Lead lead = LeadOf(byteAt(0));
    if (lead.size == 0) {
        return {kReplacement, 1, false};
    }
    char32_t code = static_cast<char32_t>(byteAt(0)) & lead.codeBits;
    for (std::size_t index = 1; index < lead.size; ++index) {
        const unsigned low = index == 1 ? lead.secondLow : 0x80U;
        const unsigned high = index == 1 ? lead.secondHigh : 0xBFU;
        if (index == bytes.size() || byteAt(index) < low || byteAt(index) > high) {
            return {kReplacement, index, false};
        }
        code = (code << 6) | (byteAt(index) & 0x3FU);
    }
    return {code, lead.size, true};
}

/// The character at `position`, an index into the units, which moves past it. A lone surrogate
/// gives its own number.
[[nodiscard]] constexpr char32_t DecodeUtf16(std::u16string_view units,
                                             std::size_t& position) noexcept
{
    const char16_t first = units[position++];
    if (IsHighSurrogate(first) && position < units.size() && IsLowSurrogate(units[position])) {
        return (char32_t{first} << 10) + units[position++] - 0x35FDC00U;
    }
    return first;
}

/// Bytes of the longest character.
inline constexpr std::size_t kMaxUtf8Bytes = 4;

/// Writes a character as UTF-8.
/// @param code at most U+10FFFF; a lone surrogate is written in the form that three bytes give it,
///     which is not valid UTF-8
/// @param out room for kMaxUtf8Bytes @return bytes written, 1 to 4
constexpr std::size_t EncodeUtf8(char32_t code, char* out) noexcept
{
    const auto tail = [code](unsigned shift) {
        return static_cast<char>(0x80U | ((code >> shift) & 0x3FU));
    };
    if (code < 0x80) {
        out[0] = static_cast<char>(code);
        return 1;
    }
    if (code < 0x800) {
        out[0] = static_cast<char>(0xC0U | (code >> 6));
        out[1] = tail(0);
        return 2;
    }
    if (code < 0x10000) {
        out[0] = static_cast<char>(0xE0U | (code >> 12));
        out[1] = tail(6);
        out[2] = tail(0);
        return 3;
    }
    out[0] = static_cast<char>(0xF0U | (code >> 18));
    out[1] = tail(12);
    out[2] = tail(6);
    out[3] = tail(0);
    return 4;
}

/// Appends a character as UTF-8; see EncodeUtf8. @throws std::bad_alloc
inline void AppendUtf8(char32_t code, std::string& out)
{
    char bytes[kMaxUtf8Bytes] = {};
    out.append(bytes, EncodeUtf8(code, bytes));
}

} // namespace Orvane::BUnicode
