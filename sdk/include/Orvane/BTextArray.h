// Texts of one column: all bytes in one array, in the narrowest encoding that fits them all.
#pragma once

#include <Orvane/BPageArray.h>
#include <Orvane/BString.h>
#include <Orvane/Export.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace Orvane {

/// How the texts of one column of one page are stored.
enum class ETextEncoding : std::uint8_t {
    Ascii,  ///< one byte per character, all below 0x80: valid as Latin-1 and as UTF-8
    Latin1, ///< one byte per character, the code unit's number
    Utf8,   ///< valid UTF-8
    Utf16   ///< two bytes per code unit, the machine's byte order: texts with lone surrogates
};

/// Texts of one column of one page: all bytes in one array, and where each text ends.
struct BTextArray
{
    BPageArray<char> bytes;
    BPageArray<std::uint32_t> ends; ///< byte offset after the end of text i
    ETextEncoding encoding = ETextEncoding::Ascii;

    [[nodiscard]] std::size_t GetCount() const noexcept { return ends.GetSize(); }

    [[nodiscard]] std::string_view GetBytes(std::size_t index) const noexcept
    {
        const std::uint32_t begin = index == 0 ? 0 : ends[index - 1];
        return {bytes.Data() + begin, ends[index] - begin};
    }

    /// Bytes of memory that the texts hold, what is reserved included.
    [[nodiscard]] std::size_t GetByteSize() const noexcept
    {
        return bytes.GetByteSize() + ends.GetByteSize();
    }

    /// Cuts the list to `count` texts when it is longer; the capacity stays. Drops the bytes of a
    /// text whose end was not appended yet.
    void Truncate(std::size_t count) noexcept
    {
        ends.Truncate(count);
        bytes.Truncate(ends.IsEmpty() ? 0 : ends[ends.GetSize() - 1]);
    }

    /// Gives unused capacity back, as far as the allocator can.
    void ShrinkToFit() noexcept
    {
        bytes.ShrinkToFit();
        ends.ShrinkToFit();
    }
};

/// A text of any encoding as a BString.
ORVANE_SDK_EXPORT BString TextToString(std::string_view bytes, ETextEncoding encoding);

/// A text of any encoding as UTF-8, appended to `out`; a lone surrogate becomes U+FFFD.
ORVANE_SDK_EXPORT void
AppendTextAsUtf8(std::string_view bytes, ETextEncoding encoding, std::string& out);

/// Appends a text to a column and changes the column's encoding when the text does not fit it: an
/// Ascii column changes to the encoding of the first text that is not ASCII, Latin-1 and UTF-8
/// together become UTF-8, and a lone surrogate makes the column UTF-16. UTF-16 texts without lone
/// surrogates are stored as UTF-8 in columns that are not UTF-16. Changing the encoding converts
/// all texts of the column.
/// @param bytes a text of that encoding; that it is valid there is not checked. UTF-16 texts are
///     given as their bytes.
/// @throws BIndexOutOfBoundsException("BFeaturePage::AppendText", "A page holds at most 4294967295
///     bytes of text in one column."), std::bad_alloc; the texts are as before then.
ORVANE_SDK_EXPORT void
AppendText(BTextArray& texts, std::string_view bytes, ETextEncoding encoding);

/// Appends texts of another array, as AppendText does one by one, but all at once where the
/// encodings allow it.
/// @param first index of the first text, @param count how many
/// @throws as AppendText; texts before the one that fails may stay.
ORVANE_SDK_EXPORT void
AppendTexts(BTextArray& texts, const BTextArray& from, std::size_t first, std::size_t count);

/// Whether all bytes are below 0x80; eight bytes per step.
[[nodiscard]] inline bool IsAscii(std::string_view bytes) noexcept
{
    constexpr std::uint64_t kHighBits = 0x8080808080808080U;
    const char* position = bytes.data();
    std::size_t left = bytes.size();
    std::uint64_t all = 0;
    std::uint64_t word = 0;
    for (; left >= sizeof word; left -= sizeof word, position += sizeof word) {
        std::memcpy(&word, position, sizeof word);
        all |= word;
    }
    for (; left > 0; --left, ++position) {
        all |= static_cast<unsigned char>(*position);
    }
    return (all & kHighBits) == 0;
}

/// The fast path of AppendText, made to be inlined: appends when the text fits the column's
/// encoding and the reserved capacity. @return false when nothing was done and AppendText is
/// needed.
[[nodiscard]] inline bool
TryAppendText(BTextArray& texts, std::string_view bytes, ETextEncoding encoding) noexcept
{
    const bool fits = encoding == texts.encoding ||
                      (encoding != ETextEncoding::Utf16 && texts.encoding != ETextEncoding::Utf16 &&
                       (encoding == ETextEncoding::Ascii || IsAscii(bytes)));
    const std::size_t oldSize = texts.bytes.GetSize();
    if (!fits || texts.bytes.GetCapacity() - oldSize < bytes.size() ||
        texts.ends.GetSize() == texts.ends.GetCapacity()) {
        return false;
    }
    if (!bytes.empty()) {
        texts.bytes.AppendReserved(bytes.data(), bytes.size());
    }
    texts.ends.AppendReserved(static_cast<std::uint32_t>(oldSize + bytes.size()));
    return true;
}

} // namespace Orvane
