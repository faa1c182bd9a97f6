// The point that the cells of a row give.
#pragma once

#include "TableParts.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace Orvane::Import::Table {

/// Degrees past these are no place.
inline constexpr double kMostX = 360;
inline constexpr double kMostY = 90;

/// Makes points by the plan's coordinates: plain numbers, angles with their letters, degrees,
/// minutes and seconds in columns of their own, packed degrees and minutes. No allocation.
class PointRule
{
public:
    enum class EPlace : std::uint8_t {
        Point,
        None,       ///< X or Y is empty, or no coordinate
        OutOfRange, ///< both are numbers, and no place in degrees
    };

    /// One coordinate and the columns that belong to it.
    struct Axis
    {
        std::size_t column = 0;
        std::optional<std::size_t> hemisphere;
        std::optional<std::size_t> minutes;
        std::optional<std::size_t> seconds;
        Values::Notation notation = Values::NotationPlain;
        bool isX = true;
    };

    /// @param rules of a plan that has X and Y
    explicit PointRule(const TableRules& rules);

    /// Whether X and Y are the values of their columns, which are numbers.
    [[nodiscard]] bool IsPlain() const noexcept { return m_isPlain; }

    [[nodiscard]] const Axis& X() const noexcept { return m_x; }

    [[nodiscard]] const Axis& Y() const noexcept { return m_y; }

    /// Whether the numbers are a place.
    [[nodiscard]] EPlace Check(double x, double y) const noexcept;

    /// Makes the point of a row.
    /// @param cellOf gives the cell of a column, as UTF-8; valid until it is called again
    template <typename CellOf>
    [[nodiscard]] EPlace Read(const CellOf& cellOf, double& x, double& y) const
    {
        if (!ReadAxis(m_x, cellOf, x) || !ReadAxis(m_y, cellOf, y)) {
            return EPlace::None;
        }
        return Check(x, y);
    }

private:
    template <typename CellOf>
    [[nodiscard]] bool ReadAxis(const Axis& axis, const CellOf& cellOf, double& value) const
    {
        bool isNegative = false;
        if (!ReadDegrees(axis, cellOf(axis.column), value, isNegative)) {
            return false;
        }
        double parts = 0;
        if ((axis.minutes && !AddPart(cellOf(*axis.minutes), 60, parts)) ||
            (axis.seconds && !AddPart(cellOf(*axis.seconds), 3600, parts))) {
            return false;
        }
        value += isNegative ? -parts : parts;
        return !axis.hemisphere ||
               ApplyHemisphere(axis, cellOf(*axis.hemisphere), isNegative, value);
    }

    [[nodiscard]] bool ReadDegrees(const Axis& axis,
                                   std::string_view cell,
                                   double& value,
                                   bool& isNegative) const noexcept;
    [[nodiscard]] static bool AddPart(std::string_view cell, double unit, double& parts) noexcept;
    [[nodiscard]] bool ApplyHemisphere(const Axis& axis,
                                       std::string_view cell,
                                       bool isNegative,
                                       double& value) const noexcept;
    /// 1 or -1; 0 for a letter of the other axis, or one whose meaning is not known.
    [[nodiscard]] int SignOf(const Axis& axis, char letter) const noexcept;

    EPlanNotation m_notation;
    char m_letterO;
    bool m_isPlain = false;
    Axis m_x;
    Axis m_y;
};

} // namespace Orvane::Import::Table
