// Makes texts from data safe to show: in one-line messages, in logs, on a terminal.
#pragma once

#include <Orvane/BString.h>
#include <Orvane/Import/Api.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace Orvane::Import::DisplayText {

/// Escapes everything that a terminal could read as a command or that would break a line: C0
/// controls and DEL as `\xNN`, C1 controls, line and paragraph separators and the marks that turn
/// the writing direction as `\uNNNN`, bytes that are not valid UTF-8 as `\xNN`. All other
/// characters stay as they are. @return valid UTF-8
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string Escape(std::string_view utf8);
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string Escape(const Orvane::BString& text);

[[nodiscard]] inline std::string Escape(const std::string& utf8)
{
    return Escape(std::string_view(utf8));
}

[[nodiscard]] inline std::string Escape(const char* utf8)
{
    return Escape(std::string_view(utf8));
}

/// An escaped text cut to `columns` characters, the last one "…" when something was cut.
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string Cut(const std::string& escaped, std::size_t columns);

/// Cut(Escape(text), columns), at the cost of what is shown.
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string EscapeAndCut(std::string_view utf8,
                                                            std::size_t columns);
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string EscapeAndCut(const Orvane::BString& text,
                                                            std::size_t columns);

/// The text followed by blanks up to `columns` characters.
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string Pad(const std::string& escaped, std::size_t columns);

/// Characters of a valid UTF-8 text.
[[nodiscard]] ORVANE_IMPORT_EXPORT std::size_t CountCharacters(std::string_view utf8) noexcept;

/// Whether the bytes are valid UTF-8 (no surrogates, no overlong forms).
[[nodiscard]] ORVANE_IMPORT_EXPORT bool IsUtf8(std::string_view bytes) noexcept;

} // namespace Orvane::Import::DisplayText
