// What one cell can be: the readings that it allows, and the one class that it is counted in.
#pragma once

#include "Angles.h"
#include "Numbers.h"
#include "Times.h"
#include "Words.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Orvane::Import::Values {

/// The class that a cell is counted in; each cell is of exactly one.
enum class ECell : std::uint8_t {
    Empty,    ///< nothing, or blanks
    NullWord, ///< `NA`, `-`
    Integer,  ///< `-12`
    Decimal,  ///< `1.5`, `1e3`
    Spelled,  ///< a number with a decimal comma or thousands signs: `1,5`, `1'234`
    Code,     ///< digits that a number would change: `007`, twenty digits
    Boolean,  ///< `yes`, `f`
    Date,
    Time,
    DateTime,
    Angle, ///< with marks, letters or several parts
    Text,
};

inline constexpr std::size_t kCellClasses = 12;

/// What a cell allows, as bits: a column's readings are those that all its cells allow.
enum Reading : std::uint8_t {
    ReadingNumber = 1,
    ReadingBoolean = 2,
    ReadingDate = 4,
    ReadingTime = 8,
    ReadingDateTime = 16,
    ReadingAngle = 32,
};

inline constexpr std::uint8_t kAllReadings = 63;

/// A cell, looked at once by every rule.
struct CellReading
{
    ECell cell = ECell::Empty;
    std::uint8_t readings = kAllReadings; ///< bits of Reading; all for empty cells and null words
    std::uint8_t words = 0;               ///< bits of BooleanWord
    NumberReading number;
    TimeReading time;
    AngleReading angle;
};

/// Reads a cell by every rule. No locale, no allocation; cells past 64 characters are text.
[[nodiscard]] CellReading ReadCell(std::string_view cell) noexcept;

/// A class's name as plans show it: "empty", "null word", "integer", "decimal" ...
[[nodiscard]] const char* NameOf(ECell cell) noexcept;

} // namespace Orvane::Import::Values
