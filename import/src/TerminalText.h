// Makes texts from data safe to show on a terminal and in one-line messages.
#pragma once

#include <Orvane/BString.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace OrvaneHost::TerminalText {

/// The text with everything escaped that a terminal could take for a command or that would break a
/// line: C0 controls and DEL as `\xNN`, C1 controls, line and paragraph separators and the marks
/// that turn the writing direction as `\uNNNN`, bytes that are no UTF-8 as `\xNN`. All other
/// characters stay as they are; the result is valid UTF-8.
[[nodiscard]] std::string Escape(std::string_view utf8);
[[nodiscard]] std::string Escape(const Orvane::BString& text);

[[nodiscard]] inline std::string Escape(const std::string& utf8)
{
    return Escape(std::string_view(utf8));
}

[[nodiscard]] inline std::string Escape(const char* utf8)
{
    return Escape(std::string_view(utf8));
}

/// An escaped text cut to `columns` characters, the last one "…" when something was cut.
[[nodiscard]] std::string Cut(const std::string& escaped, std::size_t columns);

/// Cut(Escape(text), columns), at the cost of what is shown.
[[nodiscard]] std::string EscapeAndCut(std::string_view utf8, std::size_t columns);
[[nodiscard]] std::string EscapeAndCut(const Orvane::BString& text, std::size_t columns);

/// The text followed by blanks up to `columns` characters.
[[nodiscard]] std::string Pad(const std::string& escaped, std::size_t columns);

/// Characters of a valid UTF-8 text.
[[nodiscard]] std::size_t CountCharacters(std::string_view utf8) noexcept;

/// Whether the bytes are valid UTF-8 (no surrogates, no overlong forms).
[[nodiscard]] bool IsUtf8(std::string_view bytes) noexcept;

} // namespace OrvaneHost::TerminalText
