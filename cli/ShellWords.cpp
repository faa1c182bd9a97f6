// Quotes words for a shell.
#include "ShellWords.h"

#include "TerminalText.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace OrvaneHost {

namespace {

bool IsPlain(char byte) noexcept
{
    constexpr std::string_view kPlain = "_-./:,=+@%";
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= '0' && byte <= '9') || kPlain.find(byte) != std::string_view::npos;
}

/// `$'...'`: every byte past ASCII and every control character is an escape.
std::string QuoteBytes(std::string_view word)
{
    std::string quoted = "$'";
    for (const char byte : word) {
        const auto code = static_cast<unsigned char>(byte);
        if (code < 0x20 || code >= 0x7F) {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\x%02X", unsigned{code});
            quoted += escape.data();
        } else {
            quoted += byte == '\'' || byte == '\\' ? "\\" : "";
            quoted += byte;
        }
    }
    return quoted + "'";
}

} // namespace

std::string QuoteForShell(std::string_view word)
{
    if (!word.empty() && std::all_of(word.begin(), word.end(), IsPlain)) {
        return std::string(word);
    }
    // What a terminal must not show is exactly what Escape changes.
    if (TerminalText::Escape(word) != word) {
        return QuoteBytes(word);
    }
    std::string quoted = "'";
    for (const char byte : word) {
        quoted += byte == '\'' ? std::string("'\\''") : std::string(1, byte);
    }
    return quoted + "'";
}

std::string MakeCommand(const std::vector<std::string>& words)
{
    std::string command = "orvane";
    for (const std::string& word : words) {
        command += " " + QuoteForShell(word);
    }
    return command;
}

} // namespace OrvaneHost
