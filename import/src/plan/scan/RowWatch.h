// A look at some columns of all rows, once it is known what to look for.
#pragma once

#include "../values/Numbers.h"
#include "Occurrences.h"

#include <cstddef>
#include <string_view>

namespace Orvane::Import::Scan {

/// Rows whose X or Y is out of range, and those at 0/0: counted, with the first places.
struct RowWatch
{
    struct Axis
    {
        std::size_t column = 0;
        Values::Notation notation = Values::NotationPlain;
        double most = 0; ///< values past it, or past its negative, are out of range
        Occurrences outside;
    };

    Axis x;
    Axis y;
    Occurrences zeros;

    /// @param xCell, yCell without quotes @param position of the row
    void Add(std::string_view xCell, std::string_view yCell, const Position& position);
};

} // namespace Orvane::Import::Scan
