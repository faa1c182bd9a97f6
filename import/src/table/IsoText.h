// Dates and times in the spelling of ISO 8601.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Orvane::Import::Table {

/// The longest text that WriteIso writes: `2018-01-28T13:03:22.123456789+01:00`.
inline constexpr std::size_t kMostIsoBytes = 48;

using IsoBuffer = std::array<char, kMostIsoBytes>;

/// What a cell must be.
enum class EIsoKind : std::uint8_t { Date, Time, DateTime };

/// Writes a date, a time of day, or both joined by `T`: `2018-01-28`, `13:03:22[.836]`, and for
/// both also an offset, `Z` or `+01:00`. Seconds that the cell lacks are 00; digits after the
/// decimal sign stay as they are; 12-hour times become 24-hour ones.
/// @param cell in any form that Values::ReadTime reads
/// @param forms bits of Values::DateForm: what a date may be read as; without meaning for a Time.
///     Of several that fit, day first goes before month first.
/// @param buffer no NUL is written. @return bytes written; 0 when the cell is no such value
[[nodiscard]] std::size_t
WriteIso(std::string_view cell, EIsoKind kind, std::uint32_t forms, IsoBuffer& buffer) noexcept;

} // namespace Orvane::Import::Table
