// Numbers as people write them, and which notations a spelling fits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Orvane::Import::Values {

/// The notations of numbers, as bits: a column's notations are those that all its cells fit.
/// A whole number without signs fits all of them.
enum Notation : std::uint16_t {
    NotationPlain = 1,            ///< `1234.5`
    NotationComma = 2,            ///< `1234,5`
    NotationCommaGroups = 4,      ///< `1,234.5`
    NotationPointGroups = 8,      ///< `1.234,5`
    NotationApostrophePoint = 16, ///< `1'234.5`
    NotationApostropheComma = 32, ///< `1'234,5`
    NotationBlankPoint = 64,      ///< `1 234.5`; also with U+00A0, U+2009 or U+202F
    NotationBlankComma = 128,     ///< `1 234,5`
};

inline constexpr std::uint16_t kAllNotations = 0xFF;
inline constexpr std::size_t kNotationCount = 8;
inline constexpr std::uint16_t kCommaNotations =
    NotationComma | NotationPointGroups | NotationApostropheComma | NotationBlankComma;

/// What a cell is as a number.
struct NumberReading
{
    std::uint16_t notations = 0; ///< bits of Notation; 0: no number
    bool isInteger = false;      ///< neither decimal sign nor exponent
    bool hasGroups = false;      ///< thousands signs in every notation that it fits
    bool hasLeadingZero = false; ///< `007`: a code, to be kept as text
    bool isExact = true;         ///< neither an int64 nor the double gives the text back otherwise
    bool isInt32 = false;        ///< a whole number within 32 bits
    std::uint8_t integerDigits = 0;
    std::uint8_t decimals = 0; ///< digits after the decimal sign; 0 where that is not certain
};

/// Reads a cell as a number; blanks at its ends are no obstacle. No locale, no allocation.
/// Digits are grouped exactly: one to three, then threes. An exponent needs a number without
/// groups. "inf", "nan" and hexadecimal numbers are no numbers here.
[[nodiscard]] NumberReading ReadNumber(std::string_view cell) noexcept;

/// The same on a text that is folded already (FoldedCell).
[[nodiscard]] NumberReading ReadFoldedNumber(std::string_view folded) noexcept;

/// The spelling with a point, a `-` and no groups, which the reader's rules and `strtod` accept.
/// @param notation one bit that ReadNumber gave for this cell
/// @param buffer at least FoldedCell::kCapacity bytes. @return bytes written, no NUL
std::size_t WritePlain(std::string_view cell, Notation notation, char* buffer) noexcept;

/// The value in a notation that ReadNumber gave for this cell.
[[nodiscard]] double ToDouble(std::string_view cell, Notation notation) noexcept;

} // namespace Orvane::Import::Values
