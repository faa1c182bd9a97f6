// Dates, times of day and both together, and which orders of day and month a spelling fits.
#pragma once

#include <cstdint>
#include <string_view>

namespace Orvane::Import::Values {

/// The forms of dates, as bits: a column's forms are those that all its cells fit.
enum DateForm : std::uint32_t {
    DateYearMonthDay = 1,      ///< `2018-01-28` (ISO 8601)
    DateYearMonthDaySlash = 2, ///< `2018/01/28`
    DateYearMonthDayPoint = 4, ///< `2018.01.28`
    DateDayMonthYearSlash = 8, ///< `28/01/2018`
    DateMonthDayYearSlash = 16,
    DateDayMonthYearDash = 32, ///< `28-01-2018`
    DateMonthDayYearDash = 64,
    DateDayMonthYearPoint = 128, ///< `28.01.2018`
    DateMonthDayYearPoint = 256,
    DateDayNameYear = 512,  ///< `28 Jan 2018`, `28-Jan-2018`
    DateNameDayYear = 1024, ///< `Jan 28, 2018`
    DateCompact = 2048,     ///< `20180128`, which is a whole number without a name that says more
    DateShortYear = 4096,   ///< a year of two digits: never certain
};

inline constexpr std::uint32_t kAllDateForms = 0x1FFF;

/// What a cell is as a date or a time. With hasDate but no forms left it would be none of both.
struct TimeReading
{
    std::uint32_t dateForms = 0; ///< bits of DateForm; 0: no date
    bool hasTime = false;        ///< `13:03`, `13:03:22.836`, with `am` or `pm`
    bool hasOffset = false;      ///< `Z`, `+01:00`
    std::uint8_t decimals = 0;   ///< of the seconds

    [[nodiscard]] bool IsDate() const noexcept { return dateForms != 0 && !hasTime; }

    [[nodiscard]] bool IsTime() const noexcept { return dateForms == 0 && hasTime; }

    [[nodiscard]] bool IsDateTime() const noexcept { return dateForms != 0 && hasTime; }

    [[nodiscard]] bool IsAny() const noexcept { return dateForms != 0 || hasTime; }
};

/// Reads a cell as date, time, or date and time (joined by `T` or a blank). Days that a month does
/// not have and hours past 23 are no dates and times; names of months are the English ones, of
/// three letters or whole. No locale, no allocation.
[[nodiscard]] TimeReading ReadTime(std::string_view cell) noexcept;

/// The same on a text that is folded already (FoldedCell).
[[nodiscard]] TimeReading ReadFoldedTime(std::string_view folded) noexcept;

} // namespace Orvane::Import::Values
