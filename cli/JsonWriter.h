// Writes JSON tokens to a TextOutput as they come.
#pragma once

#include "TextOutput.h"

#include <Orvane/BFeaturePage.h>
#include <Orvane/BString.h>
#include <Orvane/BVariant.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace OrvaneHost {

/// A JSON text with DEL and the C1 controls as `\uXXXX`, so that no terminal reads data as a
/// command.
[[nodiscard]] std::string EscapeControls(std::string_view json);

/// Writes values one by one; punctuation is the caller's, by Raw. Nothing is kept in memory.
///
/// Texts are UTF-8; quotes, backslashes and all control characters (DEL and C1 too, so that no
/// terminal reads data as a command) are escaped, lone surrogates stand as `\uXXXX`. Numbers have
/// their shortest exact digits; what JSON has no number for stands as a bare NaN, Infinity or
/// -Infinity. All operations throw what TextOutput throws.
class JsonWriter
{
public:
    explicit JsonWriter(TextOutput& output)
        : m_output(output)
    {}

    void Raw(std::string_view text) { m_output.Write(text); }

    void Raw(char byte) { m_output.Write(byte); }

    void Text(std::string_view bytes, Orvane::ETextEncoding encoding);
    void Text(const Orvane::BString& text);
    /// A text in valid UTF-8; bytes that are none become U+FFFD.
    void Text(std::string_view utf8);
    void Number(std::int64_t value);
    void Number(double value);
    void Number(float value);

    void Boolean(bool value) { Raw(value ? "true" : "false"); }

    /// The value by its type; None is null, lists are arrays.
    void Value(const Orvane::BVariant& value);

private:
    void Bytes(std::string_view utf8);
    void Units(std::u16string_view units);
    void Character(char32_t code);
    void UnitEscape(char16_t unit);

    TextOutput& m_output;
};

} // namespace OrvaneHost
