// The decoded text of one block of a file.
#pragma once

#include "kernels/Kernels.h"
#include "text/TextView.h"

#include <Orvane/BPageArray.h>

#include <cstddef>
#include <string_view>

namespace AsciiReader {

/// What reader, decoder and cutter of a block work on: the carry of the last block (its text after
/// its last line ending), then the text that was read with this block.
struct BlockText
{
    ETextUnit unit = ETextUnit::Latin1;
    Orvane::BPageArray<char> bytes;    ///< the text as Latin1 or Utf8, then the undecoded bytes
    Orvane::BPageArray<char16_t> wide; ///< the text as Utf16
    std::size_t size = 0;              ///< of the text, in units
    std::size_t undecoded = 0;         ///< bytes that begin an incomplete UTF-8 character
    std::size_t freshBegin = 0;        ///< where the text begins that was read with this block
    Kernels::Survey survey;            ///< what the bytes of this block hold

    std::size_t carryBegin = 0;   ///< where the text begins that the next block starts with
    std::size_t carryScanned = 0; ///< units of that text known to hold no line ending
    std::size_t carryQuotes = 0;  ///< quotes in that text, while it is bytes

    [[nodiscard]] TextView MakeView(std::size_t from, std::size_t to) const noexcept
    {
        if (unit == ETextUnit::Utf16) {
            return TextView(std::u16string_view(wide.Data() + from, to - from));
        }
        return {std::string_view(bytes.Data() + from, to - from), unit};
    }

    /// Drops text and carry; the memory is kept.
    void Reset() noexcept { size = undecoded = carryBegin = carryScanned = carryQuotes = 0; }

    /// Drops text and carry and frees the memory.
    void Release()
    {
        Reset();
        bytes.Clear();
        wide.Clear();
    }
};

} // namespace AsciiReader
