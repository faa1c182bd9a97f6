// Which quote of a text is the one that is never closed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <text/TextView.h>

namespace Orvane::Import {

/// A place in a text.
struct QuotePlace
{
    std::size_t position = 0;      ///< of the quote, in units of the text
    std::size_t lineBegin = 0;     ///< of the physical line that it stands on
    std::uint64_t fieldNumber = 0; ///< field of its row, counted from 1; 0: not known
    bool isInField = false;        ///< it stands inside of a field that it does not begin
};

/// Finds the quote that is to blame for a text whose quotes do not balance.
///
/// A quote opens well where a field begins, and closes well where a field ends; two in a row inside
/// of quotes stand for one. The first quote that opens inside of a field is to blame, else the
/// opening one before the first that closes inside of a field, else the last that opens.
/// @param text begins outside of quotes
/// @param separator of fields; 0 when fields are not separated by one byte, then a field is taken
///     to begin after any punctuation or blank
[[nodiscard]] QuotePlace FindOpenQuote(const AsciiReader::TextView& text, char separator);

} // namespace Orvane::Import
