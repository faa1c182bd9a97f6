// Finds the coordinate columns of a file by their names.
#pragma once

#include <Orvane/BString.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace OrvaneHost {

/// The coordinate columns, counted from 0.
struct CoordinateColumns
{
    std::optional<std::size_t> x;
    std::optional<std::size_t> y;
};

/// Completes a pair of coordinate columns by name.
///
/// Names are compared without case, blanks and punctuation: lon/lat, longitude/latitude, x/y,
/// easting/northing and the like. A column is taken only when it is the one candidate: exactly one
/// column has a name of X kind, exactly one a name of Y kind, and both names are of the same
/// family. When one of the two is given, the other needs one candidate only.
/// @param names of all columns
/// @param given what is known already; stays as it is
/// @return `given`, completed as far as that is certain
[[nodiscard]] CoordinateColumns GuessCoordinateColumns(const std::vector<Orvane::BString>& names,
                                                       const CoordinateColumns& given);

/// The column that a user means by a name or an index from 0: the one column of exactly that name,
/// else the one of that name with another case, else the index.
/// @throws UsageError when there is none, or more than one
[[nodiscard]] std::size_t FindColumn(const std::vector<Orvane::BString>& names,
                                     const std::string& nameOrIndex,
                                     const char* argument);

} // namespace OrvaneHost
