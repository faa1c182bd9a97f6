// What the cells of a column look like, so that a row of another count can be read by them.
#pragma once

#include "../values/Cell.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Orvane::Import::Scan {

/// What CellForm must know of a cell.
struct CellKind
{
    Values::ECell cell = Values::ECell::Empty;
    std::uint8_t readings = Values::kAllReadings; ///< none for a letter beside a whole number
};

[[nodiscard]] CellKind KindOf(std::string_view cell);

/// What the cells of a column have in common in the table's first rows.
struct CellForm
{
    std::uint32_t cells = 0; ///< that were looked at
    std::uint32_t empties = 0;
    std::uint32_t readings = Values::kAllReadings; ///< bits of Values::Reading that all allow
    std::uint32_t inAll = 0xFFFF;                  ///< classes of characters that every cell has
    std::uint32_t inSome = 0;                      ///< classes of characters that occur
    std::uint32_t longest = 0;                     ///< bytes

    void Add(std::string_view cell, const CellKind& kind);

    /// Whether a cell looks like the others. All cells do where too few were looked at.
    [[nodiscard]] bool Fits(std::string_view cell) const;

    /// Whether the column tells cells apart: it has a type, or characters that every cell has.
    [[nodiscard]] bool IsTelling() const;
};

} // namespace Orvane::Import::Scan
