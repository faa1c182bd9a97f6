// Texts of date and time columns in their parts.
#pragma once

#include <Orvane/BVariant.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Orvane {

/// What a text of a date or time column says. What its type does not have is 0.
struct DateParts
{
    int year = 0;  ///< 0 to 9999
    int month = 0; ///< 1 to 12
    int day = 0;   ///< 1 to 31, as the month has them
    int hour = 0;
    int minute = 0;
    int second = 0;            ///< to 60, a leap second
    int nanoseconds = 0;       ///< digits after the ninth are cut
    int fractionDigits = 0;    ///< how many digits the text has after the seconds
    std::optional<int> offset; ///< minutes before UTC; none for a time without a zone
};

/// Reads a whole text as ISO 8601: "2018-01-28" for Date, "13:03", "13:03:22" or "13:03:22.836" for
/// Time, both with "T" or a blank between them and, optionally, "Z" or "+hh:mm" for DateTime.
/// @param type Date, Time or DateTime
/// @return nothing for any other text, and for days and hours that no calendar or clock has
[[nodiscard]] std::optional<DateParts> ParseDateText(EVariantType type, std::string_view text);

/// Spells a date and time with "T" and with seconds, "2018-01-28T13:03:22" and its zone, if any.
/// @param text of those parts
/// @param leastFractionDigits after the seconds; more where the text has more
/// @param out is replaced
void SpellDateTime(std::string_view text,
                   const DateParts& parts,
                   std::size_t leastFractionDigits,
                   std::string& out);

/// Whether values of the type are texts that ParseDateText reads.
[[nodiscard]] constexpr bool IsDateType(EVariantType type) noexcept
{
    return type == EVariantType::Date || type == EVariantType::Time ||
           type == EVariantType::DateTime;
}

} // namespace Orvane
