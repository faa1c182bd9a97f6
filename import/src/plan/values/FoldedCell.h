// A cell with its typographic signs folded to one spelling each.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace Orvane::Import::Values {

/// What the signs of a cell are folded to. Blanks of different kinds stay different, because a
/// number groups its digits with one kind only.
inline constexpr char kDegreeSign = '\x01';
inline constexpr char kNoBreakBlank = '\x02';
inline constexpr char kThinBlank = '\x03';
inline constexpr char kNarrowBlank = '\x04';
/// A character without a meaning in numbers, times and angles.
inline constexpr char kOtherSign = '\x7F';

[[nodiscard]] constexpr bool IsBlank(char unit) noexcept
{
    return unit == ' ' || unit == '\t' || (unit >= kNoBreakBlank && unit <= kNarrowBlank);
}

[[nodiscard]] constexpr bool IsDigit(char unit) noexcept
{
    return unit >= '0' && unit <= '9';
}

[[nodiscard]] constexpr bool IsLetter(char unit) noexcept
{
    return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z');
}

[[nodiscard]] constexpr char ToLower(char unit) noexcept
{
    return unit >= 'A' && unit <= 'Z' ? static_cast<char>(unit - 'A' + 'a') : unit;
}

/// The folded text of a cell: without blanks at its ends, minus signs as `-`, primes and
/// apostrophes as `'`, double primes and quotes as `"`, degree signs as kDegreeSign.
///
/// Signs are accepted in UTF-8 and, where the bytes are no UTF-8, as the single bytes of
/// windows-1252, so that one grammar serves a file before its encoding is decided. No allocation.
class FoldedCell
{
public:
    /// No number, time or angle is longer, in folded characters.
    static constexpr std::size_t kCapacity = 64;

    explicit FoldedCell(std::string_view bytes) noexcept;

    /// Empty for a cell of blanks, and for one that is too long.
    [[nodiscard]] std::string_view Text() const noexcept { return {m_text.data(), m_size}; }

    [[nodiscard]] bool IsTooLong() const noexcept { return m_isTooLong; }

private:
    std::array<char, kCapacity> m_text;
    std::size_t m_size = 0;
    bool m_isTooLong = false;
};

/// The bytes without blanks and tabs at their ends; no-break blanks count as blanks.
[[nodiscard]] std::string_view Trim(std::string_view bytes) noexcept;

} // namespace Orvane::Import::Values
