// The type of a column, by all of its cells.
#pragma once

#include "scan/ColumnProfile.h"

#include <Orvane/Import/Plan.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Orvane::Import {

/// What the columns of a file say together about its decimal sign.
struct DecimalSigns
{
    bool hasPoints = false; ///< a column whose numbers need the point
    bool hasCommas = false; ///< a column whose numbers need the comma
};

[[nodiscard]] DecimalSigns FindDecimalSigns(const std::vector<Scan::ColumnFacts>& columns);

/// Completes a column whose index and name are set: type, spelling, counts, nulls, range. The
/// type is the narrowest that all cells but empty ones and null words fit; one odd cell makes text
/// and is shown.
void DecideType(const Scan::ColumnFacts& facts, const DecimalSigns& signs, PlanColumn& column);

/// The notation that the numbers of a column are written in, by its spelling.
[[nodiscard]] Values::Notation NotationOf(const PlanColumn& column);

/// The ways in which cells that leave it open can spell a type: "day first" and "month first", or
/// "decimal comma" and "thousands ,"; empty where they tell.
[[nodiscard]] std::vector<std::string>
ListSpellings(const Scan::ColumnFacts& facts, const DecimalSigns& signs, EPlanType type);

/// How the cells are spelled that fit a type which the column as a whole does not have: by the
/// first reading of those that are left.
[[nodiscard]] std::string
FindSpelling(const Scan::ColumnFacts& facts, const DecimalSigns& signs, EPlanType type);

} // namespace Orvane::Import
