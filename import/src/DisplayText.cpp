// Escaping and cutting of texts that are shown to people.
#include <Orvane/BUnicode.h>
#include <Orvane/Import/DisplayText.h>

#include <cstdint>

namespace Orvane::Import::DisplayText {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

bool BeginsCharacter(char byte) noexcept
{
    return !Orvane::BUnicode::IsContinuation(static_cast<unsigned char>(byte));
}

bool TurnsDirection(char32_t code) noexcept
{
    return code == 0x061C || code == 0x200E || code == 0x200F ||
           (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

void AppendByteEscape(std::string& out, unsigned char byte)
{
    out += "\\x";
    out += kHexDigits[byte >> 4U];
    out += kHexDigits[byte & 0x0FU];
}

void AppendUnitEscape(std::string& out, char32_t code)
{
    out += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) {
        out +=
            kHexDigits[(static_cast<std::uint32_t>(code) >> static_cast<unsigned>(shift)) & 0xFU];
    }
}

} // namespace

std::string Escape(std::string_view utf8)
{
    std::string out;
    out.reserve(utf8.size());
    while (!utf8.empty()) {
        const Orvane::BUnicode::Character character = Orvane::BUnicode::DecodeUtf8(utf8);
        if (!character.isValid) {
            AppendByteEscape(out, static_cast<unsigned char>(utf8[0]));
            utf8.remove_prefix(1);
            continue;
        }
        const char32_t code = character.code;
        if (code < 0x20 || code == 0x7F) {
            AppendByteEscape(out, static_cast<unsigned char>(code));
        } else if ((code >= 0x80 && code < 0xA0) || code == 0x2028 || code == 0x2029 ||
                   TurnsDirection(code)) {
            AppendUnitEscape(out, code);
        } else {
            out += utf8.substr(0, character.size);
        }
        utf8.remove_prefix(character.size);
    }
    return out;
}

std::string Escape(const Orvane::BString& text)
{
    return Escape(text.ToUtf8());
}

std::size_t CountCharacters(std::string_view utf8) noexcept
{
    std::size_t count = 0;
    for (const char byte : utf8) {
        count += BeginsCharacter(byte) ? 1U : 0U;
    }
    return count;
}

std::string Cut(const std::string& escaped, std::size_t columns)
{
    if (columns == 0 || CountCharacters(escaped) <= columns) {
        return escaped;
    }
    std::size_t kept = 0;
    std::size_t end = 0;
    while (end < escaped.size()) {
        const bool beginsCharacter = BeginsCharacter(escaped[end]);
        if (beginsCharacter && kept == columns - 1) {
            break;
        }
        kept += beginsCharacter ? 1 : 0;
        ++end;
    }
    return escaped.substr(0, end) + "\u2026";
}

std::string EscapeAndCut(std::string_view utf8, std::size_t columns)
{
    // One character more than is shown, so that it is seen that something was cut.
    constexpr std::size_t kLongestCharacter = 4;
    return Cut(Escape(utf8.substr(0, kLongestCharacter * (columns + 1))), columns);
}

std::string EscapeAndCut(const Orvane::BString& text, std::size_t columns)
{
    constexpr std::size_t kLongestCharacter = 2;
    return Cut(Escape(text.Left(kLongestCharacter * (columns + 1))), columns);
}

std::string Pad(const std::string& escaped, std::size_t columns)
{
    const std::size_t count = CountCharacters(escaped);
    return count < columns ? escaped + std::string(columns - count, ' ') : escaped;
}

bool IsUtf8(std::string_view bytes) noexcept
{
    while (!bytes.empty()) {
        const Orvane::BUnicode::Character character = Orvane::BUnicode::DecodeUtf8(bytes);
        if (!character.isValid) {
            return false;
        }
        bytes.remove_prefix(character.size);
    }
    return true;
}

} // namespace Orvane::Import::DisplayText
