// JSON text and number forms.
#include "JsonWriter.h"

#include "TerminalText.h"

#include <Orvane/BNumbers.h>
#include <Orvane/BUnicode.h>

#include <charconv>
#include <cmath>
#include <cstring>

namespace OrvaneHost {

namespace {

/// ASCII characters that stand in a JSON text as they are.
constexpr bool IsPlain(unsigned char byte) noexcept
{
    return byte >= 0x20 && byte < 0x7F && byte != '"' && byte != '\\';
}

} // namespace

void JsonWriter::UnitEscape(char16_t unit)
{
    constexpr char kDigits[] = "0123456789abcdef";
    const auto code = static_cast<unsigned>(unit);
    const char escape[] = {'\\',
                           'u',
                           kDigits[(code >> 12U) & 0xFU],
                           kDigits[(code >> 8U) & 0xFU],
                           kDigits[(code >> 4U) & 0xFU],
                           kDigits[code & 0xFU]};
    Raw(std::string_view(escape, sizeof escape));
}

void JsonWriter::Character(char32_t code)
{
    if (code < 0x80) {
        const auto byte = static_cast<unsigned char>(code);
        if (IsPlain(byte)) {
            Raw(static_cast<char>(byte));
            return;
        }
        switch (byte) {
        case '"':
            Raw("\\\"");
            break;
        case '\\':
            Raw("\\\\");
            break;
        case '\n':
            Raw("\\n");
            break;
        case '\r':
            Raw("\\r");
            break;
        case '\t':
            Raw("\\t");
            break;
        default:
            UnitEscape(static_cast<char16_t>(byte));
        }
        return;
    }
    if (code < 0xA0 || Orvane::BUnicode::IsSurrogate(code)) {
        UnitEscape(static_cast<char16_t>(code));
        return;
    }
    char bytes[Orvane::BUnicode::kMaxUtf8Bytes] = {};
    Raw(std::string_view(bytes, Orvane::BUnicode::EncodeUtf8(code, bytes)));
}

void JsonWriter::Bytes(std::string_view utf8)
{
    std::size_t plainBegin = 0;
    const auto passOn = [&](std::size_t end) {
        if (end > plainBegin) {
            Raw(utf8.substr(plainBegin, end - plainBegin));
        }
    };
    for (std::size_t index = 0; index < utf8.size(); ++index) {
        const auto byte = static_cast<unsigned char>(utf8[index]);
        if (IsPlain(byte)) {
            continue;
        }
        if (byte < 0x80) {
            passOn(index);
            Character(byte);
            plainBegin = index + 1;
        } else if (byte == 0xC2 && index + 1 < utf8.size() &&
                   static_cast<unsigned char>(utf8[index + 1]) < 0xA0) {
            passOn(index);
            ++index;
            Character(static_cast<unsigned char>(utf8[index]));
            plainBegin = index + 1;
        }
    }
    passOn(utf8.size());
}

void JsonWriter::Units(std::u16string_view units)
{
    for (std::size_t position = 0; position < units.size();) {
        Character(Orvane::BUnicode::DecodeUtf16(units, position));
    }
}

void JsonWriter::Text(std::string_view bytes, Orvane::ETextEncoding encoding)
{
    Raw('"');
    switch (encoding) {
    case Orvane::ETextEncoding::Ascii:
    case Orvane::ETextEncoding::Utf8:
        Bytes(bytes);
        break;
    case Orvane::ETextEncoding::Latin1:
        for (const char byte : bytes) {
            Character(static_cast<unsigned char>(byte));
        }
        break;
    case Orvane::ETextEncoding::Utf16: {
        const Orvane::BString text = Orvane::TextToString(bytes, encoding);
        Units(text.View());
        break;
    }
    }
    Raw('"');
}

void JsonWriter::Text(const Orvane::BString& text)
{
    Raw('"');
    Units(text.View());
    Raw('"');
}

void JsonWriter::Text(std::string_view utf8)
{
    if (TerminalText::IsUtf8(utf8)) {
        Text(utf8, Orvane::ETextEncoding::Utf8);
    } else {
        Text(Orvane::BString::FromUtf8(utf8));
    }
}

void JsonWriter::Number(std::int64_t value)
{
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    Raw(std::string_view(buffer, static_cast<std::size_t>(result.ptr - buffer)));
}

namespace {

template <typename Real>
void WriteReal(JsonWriter& writer, Real value)
{
    if (std::isnan(value)) {
        writer.Raw("NaN");
    } else if (std::isinf(value)) {
        writer.Raw(value < 0 ? "-Infinity" : "Infinity");
    } else {
        char buffer[40];
        const std::size_t length = Orvane::BNumbers::FormatShortest(value, buffer);
        writer.Raw(std::string_view(buffer, length));
    }
}

} // namespace

void JsonWriter::Number(double value)
{
    WriteReal(*this, value);
}

void JsonWriter::Number(float value)
{
    WriteReal(*this, value);
}

void JsonWriter::Value(const Orvane::BVariant& value)
{
    using Orvane::EVariantType;
    switch (value.GetType()) {
    case EVariantType::None:
        Raw("null");
        break;
    case EVariantType::Int32:
    case EVariantType::Int64:
        Number(value.GetInt64());
        break;
    case EVariantType::Double:
        Number(value.GetDouble());
        break;
    case EVariantType::Float:
        Number(value.GetFloat());
        break;
    case EVariantType::Boolean:
        Boolean(value.GetBoolean());
        break;
    case EVariantType::String:
    case EVariantType::Text:
    case EVariantType::Date:
    case EVariantType::Time:
    case EVariantType::DateTime:
        Text(value.GetString());
        break;
    case EVariantType::Strings: {
        Raw('[');
        bool isFirst = true;
        for (const Orvane::BString& text : value.GetStrings()) {
            Raw(isFirst ? "" : ",");
            isFirst = false;
            Text(text);
        }
        Raw(']');
        break;
    }
    case EVariantType::Integers: {
        Raw('[');
        bool isFirst = true;
        for (const std::int32_t number : value.GetIntegers()) {
            Raw(isFirst ? "" : ",");
            isFirst = false;
            Number(std::int64_t{number});
        }
        Raw(']');
        break;
    }
    }
}

std::string EscapeControls(std::string_view json)
{
    constexpr char kDelete = '\x7F';
    constexpr auto kLead = static_cast<char>(0xC2);
    const auto isC1 = [](char byte) {
        return static_cast<unsigned char>(byte) >= 0x80U &&
               static_cast<unsigned char>(byte) < 0xA0U;
    };
    std::string text;
    text.reserve(json.size());
    for (std::size_t at = 0; at < json.size(); ++at) {
        if (json[at] == kDelete) {
            text += "\\u007f";
        } else if (json[at] == kLead && at + 1 < json.size() && isC1(json[at + 1])) {
            constexpr std::string_view kDigits = "0123456789abcdef";
            const auto byte = static_cast<unsigned char>(json[++at]);
            text += "\\u00";
            text += kDigits[byte >> 4U];
            text += kDigits[byte & 15U];
        } else {
            text += json[at];
        }
    }
    return text;
}

} // namespace OrvaneHost
