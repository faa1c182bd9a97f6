// What besides the values tells which of two columns of degrees is the longitude.
#pragma once

#include "scan/RowSample.h"

#include <Orvane/Import/Plan.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::Import {

/// Which of two columns is the longitude, and why.
struct AxisEvidence
{
    bool isFirstX = false;
    std::string what;        ///< for PlanEvidence
    std::uint64_t count = 0; ///< rows that say so
};

/// Two columns whose values can be degrees in either order, row by row; NaN where a row has none.
struct AxisColumns
{
    std::size_t first = 0;
    std::size_t second = 0;
    std::vector<double> firstValues;
    std::vector<double> secondValues;
};

/// Looks for places that the rows name, and for the order of receivers.
///
/// - A column of time zones ("Europe/London"), of country codes ("GB"), or of words that are the
///   city of a time zone ("Amsterdam"): the order under which the points lie where the system's
///   table of time zones (tzdata's zone.tab) has these places, if at least 3 rows name one, 80 of
///   100 of them are near under that order and at most 20 under the other. Near is 3 degrees for a
///   city, 15 for a zone and for the nearest zone of a country.
/// - In a file without names, columns of a date and a time directly before the two (year, month,
///   day, hour, minute, second; or date, time): receivers write the latitude first, in the order of
///   NMEA 0183.
///
/// Without that table, or without any of this, there is no evidence.
[[nodiscard]] std::optional<AxisEvidence> FindAxisEvidence(const AxisColumns& axes,
                                                           const std::vector<Scan::SampleRow>& rows,
                                                           const std::vector<PlanColumn>& columns,
                                                           bool hasNames);

} // namespace Orvane::Import
