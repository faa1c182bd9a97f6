// Reads values out of a page of columns, and keeps its texts in the narrowest encoding that fits.
#include <Orvane/BException.h>
#include <Orvane/BFeaturePage.h>

#include <algorithm>
#include <cassert>
#include <limits>

namespace Orvane {

namespace {

constexpr std::size_t kMaxTextBytes = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t kFirstTextBytes = 512;

constexpr char16_t kFirstHighSurrogate = 0xD800;
constexpr char16_t kFirstLowSurrogate = 0xDC00;
constexpr char16_t kLastLowSurrogate = 0xDFFF;
constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char16_t unit)
{
    return unit >= kFirstHighSurrogate && unit < kFirstLowSurrogate;
}

bool IsLowSurrogate(char16_t unit)
{
    return unit >= kFirstLowSurrogate && unit <= kLastLowSurrogate;
}

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

void AppendCharacter(char32_t character, std::string& out)
{
    const auto byte = [&out](char32_t value) { out.push_back(static_cast<char>(value)); };
    if (character < 0x80) {
        byte(character);
    } else if (character < 0x800) {
        byte(0xC0 | (character >> 6));
        byte(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        byte(0xE0 | (character >> 12));
        byte(0x80 | ((character >> 6) & 0x3F));
        byte(0x80 | (character & 0x3F));
    } else {
        byte(0xF0 | (character >> 18));
        byte(0x80 | ((character >> 12) & 0x3F));
        byte(0x80 | ((character >> 6) & 0x3F));
        byte(0x80 | (character & 0x3F));
    }
}

/// Appends as UTF-8. @return false when a lone surrogate was replaced.
bool AppendUnits(std::u16string_view units, std::string& out)
{
    bool isWellFormed = true;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char16_t unit = units[i];
        if (IsHighSurrogate(unit) && i + 1 < units.size() && IsLowSurrogate(units[i + 1])) {
            const char32_t high = static_cast<char32_t>(unit - kFirstHighSurrogate) << 10;
            AppendCharacter(0x10000 + high + (units[i + 1] - kFirstLowSurrogate), out);
            ++i;
        } else if (IsHighSurrogate(unit) || IsLowSurrogate(unit)) {
            AppendCharacter(kReplacement, out);
            isWellFormed = false;
        } else {
            AppendCharacter(unit, out);
        }
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

std::size_t ByteSizeOf(const BTextArray& texts) noexcept
{
    return texts.bytes.GetCapacity() + texts.ends.GetCapacity() * sizeof(std::uint32_t);
}

template <typename T>
std::size_t ByteSizeOf(const BPageArray<T>& array) noexcept
{
    return array.GetCapacity() * sizeof(T);
}

void ShrinkTexts(BTextArray& texts) noexcept
{
    texts.bytes.ShrinkToFit();
    texts.ends.ShrinkToFit();
}

} // namespace

EColumnStorage StorageOf(EVariantType type) noexcept
{
    switch (type) {
    case EVariantType::Int32:
        return EColumnStorage::Int32;
    case EVariantType::Int64:
        return EColumnStorage::Int64;
    case EVariantType::Double:
        return EColumnStorage::Double;
    case EVariantType::Float:
        return EColumnStorage::Float;
    case EVariantType::Boolean:
        return EColumnStorage::Boolean;
    case EVariantType::None:
    case EVariantType::String:
    case EVariantType::Text:
    case EVariantType::Strings:
    case EVariantType::Integers:
        break;
    }
    return EColumnStorage::Text;
}

BString BFeaturePage::GetName(std::size_t rowInPage) const
{
    return hasNameTexts ? TextToString(nameTexts.GetBytes(rowInPage), nameTexts.encoding)
                        : BString::FromInteger(GetNameNumber(rowInPage));
}

std::uint32_t BFeaturePage::GetNameNumber(std::size_t rowInPage) const noexcept
{
    auto run = nameRuns.end();
    if (nameRuns.size() > 1 && nameRuns.back().rowInPage > rowInPage) {
        run = std::upper_bound(
            nameRuns.begin(), run, rowInPage, [](std::size_t row, const BNameRun& candidate) {
                return row < candidate.rowInPage;
            });
    }
    assert(run != nameRuns.begin());
    --run;
    return run->firstNumber + static_cast<std::uint32_t>(rowInPage - run->rowInPage);
}

std::size_t BFeaturePage::GetByteSize() const noexcept
{
    std::size_t size = sizeof *this + data.capacity() * sizeof(BColumnData) + ByteSizeOf(x) +
                       ByteSizeOf(y) + ByteSizeOf(z) + ByteSizeOf(pointKinds) +
                       ByteSizeOf(attributeCounts) + nameRuns.capacity() * sizeof(BNameRun) +
                       ByteSizeOf(nameTexts);
    for (const BColumnData& column : data) {
        size += ByteSizeOf(column.int32s) + ByteSizeOf(column.int64s) + ByteSizeOf(column.doubles) +
                ByteSizeOf(column.floats) + ByteSizeOf(column.booleans) + ByteSizeOf(column.texts);
    }
    return size;
}

void BFeaturePage::ShrinkToFit() noexcept
{
    for (BColumnData& column : data) {
        column.int32s.ShrinkToFit();
        column.int64s.ShrinkToFit();
        column.doubles.ShrinkToFit();
        column.floats.ShrinkToFit();
        column.booleans.ShrinkToFit();
        ShrinkTexts(column.texts);
    }
    x.ShrinkToFit();
    y.ShrinkToFit();
    z.ShrinkToFit();
    pointKinds.ShrinkToFit();
    attributeCounts.ShrinkToFit();
    ShrinkTexts(nameTexts);
}

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
            AppendCharacter(static_cast<unsigned char>(byte), out);
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

} // namespace Orvane
