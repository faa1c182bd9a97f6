// Pairs of columns that can be X and Y.
#pragma once

#include "CoordinateColumns.h"
#include "Coordinates.h"

#include <Orvane/Import/Plan.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Orvane::Import {

/// Columns that can be X and Y.
struct CoordinatePair
{
    std::size_t x = 0;
    std::size_t y = 0;
    double score = 0;
    bool isDegrees = false;
    bool isByName = false;
    bool isPacked = false;
    Values::EPacking packing = Values::EPacking::Minutes; ///< where it is
    bool hasLetters = false;                              ///< in every cell, of both axes
};

/// Whether the values of a pair are degrees, and packed ones.
/// @param isNamed whether the names, or letters beside the columns, say that they are degrees
void ReadForm(bool isNamed,
              const CoordinateColumn& first,
              const CoordinateColumn& second,
              CoordinatePair& pair);

/// Pairs whose names are axes, the best first.
[[nodiscard]] std::vector<CoordinatePair>
FindNamedPairs(const std::vector<CoordinateColumn>& columns);

/// Neighbours with many decimals whose values can be degrees.
[[nodiscard]] std::vector<CoordinatePair>
FindPairsByValue(const std::vector<CoordinateColumn>& columns);

/// Whether the names of a pair say something else than coordinates: `ph`, `conductivity`.
[[nodiscard]] bool SayOtherwise(const Plan& plan, const CoordinatePair& pair);

/// "X 'lon', Y 'lat'"
[[nodiscard]] std::string DescribePair(const Plan& plan, std::size_t x, std::size_t y);

/// Columns of N or S and of E or W, each beside one of degrees, as receivers write them: the
/// letters tell the axes, whatever the names.
[[nodiscard]] std::vector<CoordinatePair> FindPairsByLetters(
    const CoordinateSearch& search, const Plan& plan, std::vector<CoordinateColumn>& columns);

/// A pair of other columns that is as good as the first one: of the same names, or of names that
/// say the other end.
[[nodiscard]] std::vector<CoordinatePair>::const_iterator
FindTie(const std::vector<CoordinateColumn>& columns,
        const Plan& plan,
        const std::vector<CoordinatePair>& pairs);

} // namespace Orvane::Import
