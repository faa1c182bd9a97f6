// Degrees, minutes and seconds in the spellings that people and instruments write.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Orvane::Import::Values {

/// What a cell is as an angle.
struct AngleReading
{
    bool isAngle = false;
    double degrees = 0;        ///< with the sign of `-`, `S` and `W`; not for `O` (see letter)
    char letter = 0;           ///< N, S, E, W or O; 0 without one. `O` is East in German, West in
                               ///< Romance languages: the caller decides
    std::uint8_t parts = 0;    ///< 1 degrees, 2 with minutes, 3 with seconds
    bool hasMarks = false;     ///< signs or unit letters, which only angles have
    bool isDecimal = false;    ///< the last part has decimals
    bool isBesideTime = false; ///< parts joined by `:`, as a time of day is written too
    /// A sign and a letter at once (`-47 S`), or a letter for a value past its range: no point.
    bool isContradiction = false;
};

/// Reads a cell as an angle. Parts after the first are below 60, and only the last may have
/// decimals, with point or comma. A plain number is an angle of one part without marks.
/// No locale, no allocation.
[[nodiscard]] AngleReading ReadAngle(std::string_view cell) noexcept;

/// The same on a text that is folded already (FoldedCell).
[[nodiscard]] AngleReading ReadFoldedAngle(std::string_view folded) noexcept;

/// What one number holds besides degrees.
enum class EPacking : std::uint8_t {
    Minutes, ///< `4533.35` is 45° 33.35'
    Seconds, ///< `453321.5` is 45° 33' 21.5"
};

/// Whether a number can be packed degrees of up to 180: minutes and seconds are below 60.
[[nodiscard]] bool CanBePacked(double value, EPacking packing) noexcept;

/// The degrees of such a number.
[[nodiscard]] double UnpackDegrees(double value, EPacking packing) noexcept;

/// The spelling of an angle in degrees that ReadAngle reads back: signed decimal degrees, the
/// shortest that give the same double. @param buffer at least 32 bytes. @return bytes written
std::size_t WriteDegrees(double degrees, char* buffer) noexcept;

} // namespace Orvane::Import::Values
