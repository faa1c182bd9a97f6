// Words with a meaning: nulls, truth values, units.
#pragma once

#include <cstdint>
#include <string_view>

namespace Orvane::Import::Values {

/// Truth words, as bits: a column's words are those that occur in it.
enum BooleanWord : std::uint8_t {
    WordTrue = 1,
    WordFalse = 2,
    WordYes = 4,
    WordNo = 8,
    LetterT = 16,
    LetterF = 32,
    LetterY = 64,
    LetterN = 128,
};

/// The bit of a truth word in any case, blanks at its ends aside; 0 for all other cells. `0` and
/// `1` are numbers.
[[nodiscard]] std::uint8_t ReadBooleanWord(std::string_view cell) noexcept;

/// Whether words that occur make a boolean column: `true`/`false` and `yes`/`no` alone or both;
/// letters only where both of a pair occur; no mixture of pairs.
[[nodiscard]] bool MakeBoolean(std::uint8_t words) noexcept;

/// Whether a cell says that there is no value: `NA`, `N/A`, `null`, `\N`, `nan`, `-`, `--` and the
/// like, in any case.
[[nodiscard]] bool IsNullWord(std::string_view cell) noexcept;

/// Whether a cell is a unit as it stands under a name: `m`, `[m]`, `(°E)`, `km/h`.
[[nodiscard]] bool IsUnit(std::string_view cell) noexcept;

/// Whether a cell is a number with its unit: `13 ft`, `2.5m`.
[[nodiscard]] bool IsNumberWithUnit(std::string_view cell) noexcept;

/// Whether a cell heads a row that sums up others: `Total`, `Grand total:`, `Mittelwert`.
[[nodiscard]] bool IsTotalWord(std::string_view cell) noexcept;

/// Whether a cell is a line of two or more dashes or equal signs.
[[nodiscard]] bool IsRule(std::string_view cell) noexcept;

} // namespace Orvane::Import::Values
