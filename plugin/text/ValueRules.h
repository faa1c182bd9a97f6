// The rules on the text of one field, for texts of 8-bit and of 16-bit units.
#pragma once

#include <Orvane/BString.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Each function accepts a field as a view of `char` (ISO-8859-1 or UTF-8: they differ only above
/// 0x7F, where no rule looks) or of `char16_t`, and gives the same answer for the same characters.
/// Nothing here throws but std::bad_alloc for fields of extraordinary length.
namespace AsciiReader::ValueRules {

template <typename Unit>
using Text = std::basic_string_view<Unit>;

/// Value classes of DetectType: the type codes of EVariantType.
constexpr std::int32_t kInt32 = 5;
constexpr std::int32_t kInt64 = 7;
constexpr std::int32_t kDouble = 9;
constexpr std::int32_t kString = 11;

/// Number of double quotes.
template <typename Unit>
std::size_t CountQuotes(Text<Unit> text) noexcept;

/// The value class: commas dropped, the whole must be a decimal number with optional sign,
/// fraction and exponent, and finite; a "." makes it a double, else the range decides.
template <typename Unit>
std::int32_t DetectType(Text<Unit> text);

/// Units less one for a sign, less one for a decimal point, wherever they stand.
template <typename Unit>
std::int32_t CountDigits(Text<Unit> text) noexcept;

template <typename Unit>
bool IsBooleanWord(Text<Unit> text) noexcept;

template <typename Unit>
bool IsTrueWord(Text<Unit> text) noexcept;

/// Commas dropped, then `atoi`.
template <typename Unit>
std::int32_t ToInt32(Text<Unit> text);

/// Commas dropped, then `strtod`.
template <typename Unit>
double ToDouble(Text<Unit> text);

/// A coordinate without a format. @return false when the text is empty, is not a number to its
/// last unit, or is infinite.
template <typename Unit>
bool ToCoordinate(Text<Unit> text, double& value);

} // namespace AsciiReader::ValueRules
