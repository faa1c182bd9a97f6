// Conversions of text views.
#include "text/TextView.h"

#include <QString>
#include <QStringConverter>

#include <algorithm>

namespace AsciiReader {

Orvane::BString TextView::ToString() const
{
    return Visit([this](auto text) { return MakeString(text, m_unit); });
}

Orvane::BString MakeString(std::string_view text, ETextUnit unit)
{
    return unit == ETextUnit::Utf8 ? Orvane::BString::FromUtf8(text)
                                   : Orvane::BString::FromLatin1(text);
}

Orvane::BString MakeString(std::u16string_view text, ETextUnit /*unit*/)
{
    return {text};
}

std::size_t CountUtf16Units(std::string_view text, ETextUnit unit) noexcept
{
    if (unit == ETextUnit::Latin1) {
        return text.size();
    }
    // Every byte but a continuation byte begins a character; four-byte characters are two units.
    std::size_t count = 0;
    for (const char unitByte : text) {
        const auto byte = static_cast<unsigned char>(unitByte);
        count += ((byte & 0xC0U) != 0x80U ? 1U : 0U) + (byte >= 0xF0U ? 1U : 0U);
    }
    return count;
}

std::size_t CountUtf16Units(std::u16string_view text, ETextUnit /*unit*/) noexcept
{
    return text.size();
}

void Widen(const TextView& text, std::u16string& out)
{
    switch (text.GetUnit()) {
    case ETextUnit::Latin1: {
        const std::string_view bytes = text.Bytes();
        out.resize(bytes.size());
        std::transform(bytes.begin(), bytes.end(), out.begin(), [](char byte) {
            return static_cast<char16_t>(static_cast<unsigned char>(byte));
        });
        break;
    }
    case ETextUnit::Utf8: {
        const std::string_view bytes = text.Bytes();
        out.resize(bytes.size());
        // Stateless: the text is valid, and a byte order mark inside a file is a character.
        QStringDecoder decoder(QStringDecoder::Utf8,
                               QStringDecoder::Flag::Stateless |
                                   QStringDecoder::Flag::ConvertInitialBom);
        const auto* const end = decoder.appendToBuffer(
            reinterpret_cast<QChar*>(out.data()),
            QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
        out.resize(static_cast<std::size_t>(reinterpret_cast<const char16_t*>(end) - out.data()));
        break;
    }
    case ETextUnit::Utf16:
        out.assign(text.Wide());
        break;
    }
}

} // namespace AsciiReader
