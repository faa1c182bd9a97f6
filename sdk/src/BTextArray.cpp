// Keeps the texts of a column in the narrowest encoding that fits them.
#include <Orvane/BException.h>
#include <Orvane/BTextArray.h>
#include <Orvane/BUnicode.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace Orvane {

namespace {

constexpr std::size_t kMaxTextBytes = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t kFirstTextBytes = 512;

std::u16string ReadUnits(std::string_view bytes)
{
    std::u16string units(bytes.size() / sizeof(char16_t), u'\0');
    if (!units.empty()) {
        std::memcpy(units.data(), bytes.data(), units.size() * sizeof(char16_t));
    }
    return units;
}

std::string_view BytesOf(std::u16string_view units)
{
    return {reinterpret_cast<const char*>(units.data()), units.size() * sizeof(char16_t)};
}

/// Appends as UTF-8. @return false when a lone surrogate was replaced.
bool AppendUnits(std::u16string_view units, std::string& out)
{
    bool isWellFormed = true;
    for (std::size_t position = 0; position < units.size();) {
        const char32_t code = BUnicode::DecodeUtf16(units, position);
        const bool isLone = BUnicode::IsSurrogate(code);
        BUnicode::AppendUtf8(isLone ? BUnicode::kReplacement : code, out);
        isWellFormed = isWellFormed && !isLone;
    }
    return isWellFormed;
}

std::u16string ToUnits(std::string_view bytes, ETextEncoding encoding)
{
    switch (encoding) {
    case ETextEncoding::Ascii:
    case ETextEncoding::Latin1: {
        std::u16string units(bytes.size(), u'\0');
        std::transform(bytes.begin(), bytes.end(), units.begin(), [](char byte) {
            return static_cast<char16_t>(static_cast<unsigned char>(byte));
        });
        return units;
    }
    case ETextEncoding::Utf8:
        return std::u16string(BString::FromUtf8(bytes).View());
    case ETextEncoding::Utf16:
        break;
    }
    return ReadUnits(bytes);
}

void AppendRaw(BTextArray& texts, std::string_view bytes)
{
    const std::size_t oldSize = texts.bytes.GetSize();
    if (bytes.size() > kMaxTextBytes - oldSize) {
        throw BIndexOutOfBoundsException(
            "BFeaturePage::AppendText",
            "A page holds at most 4294967295 bytes of text in one column.");
    }
    const std::size_t needed = oldSize + bytes.size();
    if (needed > texts.bytes.GetCapacity()) {
        const std::size_t wanted =
            std::max({needed, 2 * texts.bytes.GetCapacity(), kFirstTextBytes});
        texts.bytes.Reserve(std::min(wanted, kMaxTextBytes));
    }
    texts.ends.ReserveMore(1);
    if (!bytes.empty()) {
        texts.bytes.AppendReserved(bytes.data(), bytes.size());
    }
    texts.ends.AppendReserved(static_cast<std::uint32_t>(needed));
}

/// Appends a text in the column's own encoding; it must be expressible there.
void AppendConverted(BTextArray& texts, std::string_view bytes, ETextEncoding encoding)
{
    if (texts.encoding == ETextEncoding::Utf16) {
        const std::u16string units = ToUnits(bytes, encoding);
        AppendRaw(texts, BytesOf(units));
    } else if (texts.encoding == ETextEncoding::Utf8) {
        std::string utf8;
        AppendTextAsUtf8(bytes, encoding, utf8);
        AppendRaw(texts, utf8);
    } else {
        AppendRaw(texts, bytes);
    }
}

void ConvertColumn(BTextArray& texts, ETextEncoding encoding)
{
    if (texts.encoding == ETextEncoding::Ascii && encoding != ETextEncoding::Utf16) {
        texts.encoding = encoding;
        return;
    }
    BTextArray converted;
    converted.encoding = encoding;
    converted.bytes.Reserve(std::min(
        kMaxTextBytes, texts.bytes.GetSize() * (encoding == ETextEncoding::Utf16 ? 2 : 1)));
    converted.ends.Reserve(std::max(texts.ends.GetCapacity(), texts.ends.GetSize()));
    for (std::size_t i = 0; i < texts.GetCount(); ++i) {
        AppendConverted(converted, texts.GetBytes(i), texts.encoding);
    }
    texts = std::move(converted);
}

} // namespace

BString TextToString(std::string_view bytes, ETextEncoding encoding)
{
    switch (encoding) {
    case ETextEncoding::Ascii:
    case ETextEncoding::Latin1:
        return BString::FromLatin1(bytes);
    case ETextEncoding::Utf8:
        return BString::FromUtf8(bytes);
    case ETextEncoding::Utf16:
        break;
    }
    return {ReadUnits(bytes)};
}

void AppendTextAsUtf8(std::string_view bytes, ETextEncoding encoding, std::string& out)
{
    switch (encoding) {
    case ETextEncoding::Ascii:
    case ETextEncoding::Utf8:
        out.append(bytes);
        return;
    case ETextEncoding::Latin1:
        for (const char byte : bytes) {
            BUnicode::AppendUtf8(static_cast<unsigned char>(byte), out);
        }
        return;
    case ETextEncoding::Utf16:
        break;
    }
    AppendUnits(ReadUnits(bytes), out);
}

void AppendText(BTextArray& texts, std::string_view bytes, ETextEncoding encoding)
{
    if (TryAppendText(texts, bytes, encoding)) {
        return;
    }
    if (encoding == texts.encoding) {
        AppendRaw(texts, bytes);
        return;
    }
    if (encoding == ETextEncoding::Utf16) {
        std::string utf8;
        if (!AppendUnits(ReadUnits(bytes), utf8)) {
            ConvertColumn(texts, ETextEncoding::Utf16);
            AppendRaw(texts, bytes);
            return;
        }
        AppendText(texts, utf8, ETextEncoding::Utf8);
        return;
    }
    const bool isAscii = encoding == ETextEncoding::Ascii || IsAscii(bytes);
    if (isAscii || texts.encoding == ETextEncoding::Utf16) {
        AppendConverted(texts, bytes, isAscii ? ETextEncoding::Ascii : encoding);
        return;
    }
    if (texts.encoding == ETextEncoding::Ascii) {
        ConvertColumn(texts, encoding);
    } else if (texts.encoding == ETextEncoding::Latin1) {
        ConvertColumn(texts, ETextEncoding::Utf8);
    }
    AppendConverted(texts, bytes, encoding);
}

void AppendTexts(BTextArray& texts, const BTextArray& from, std::size_t first, std::size_t count)
{
    if (count == 0) {
        return;
    }
    const std::size_t begin = first == 0 ? 0 : from.ends[first - 1];
    const std::string_view bytes(from.bytes.Data() + begin, from.ends[first + count - 1] - begin);
    const std::size_t oldSize = texts.bytes.GetSize();
    const bool isSame = from.encoding == texts.encoding;
    const bool isUtf16 =
        from.encoding == ETextEncoding::Utf16 || texts.encoding == ETextEncoding::Utf16;
    const bool isAscii =
        !isSame && !isUtf16 && (from.encoding == ETextEncoding::Ascii || IsAscii(bytes));
    const bool isFirst = !isSame && !isUtf16 && texts.encoding == ETextEncoding::Ascii;
    if (!(isSame || isAscii || isFirst) || bytes.size() > kMaxTextBytes - oldSize) {
        for (std::size_t index = first; index < first + count; ++index) {
            AppendText(texts, from.GetBytes(index), from.encoding);
        }
        return;
    }
    texts.bytes.ReserveMore(bytes.size());
    texts.ends.ReserveMore(count);
    if (isFirst && !isAscii) {
        texts.encoding = from.encoding;
    }
    if (!bytes.empty()) {
        texts.bytes.AppendReserved(bytes.data(), bytes.size());
    }
    const std::size_t oldCount = texts.ends.GetSize();
    texts.ends.Resize(oldCount + count);
    // Offsets wrap where the texts move to the front.
    const auto shift = static_cast<std::uint32_t>(oldSize) - static_cast<std::uint32_t>(begin);
    std::transform(from.ends.Data() + first,
                   from.ends.Data() + first + count,
                   texts.ends.Data() + oldCount,
                   [shift](std::uint32_t end) { return end + shift; });
}

} // namespace Orvane
