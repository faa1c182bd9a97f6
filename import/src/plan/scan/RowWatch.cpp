// Only numbers in the axis's notation count.
#include "RowWatch.h"

#include <cmath>
#include <limits>
#include <string>

namespace Orvane::Import::Scan {

void RowWatch::Add(std::string_view xCell, std::string_view yCell, const Position& position)
{
    const auto look = [&](std::string_view cell, Axis& axis) {
        if ((Values::ReadNumber(cell).notations & axis.notation) == 0) {
            return std::numeric_limits<double>::quiet_NaN();
        }
        const double value = Values::ToDouble(cell, axis.notation);
        if (std::abs(value) > axis.most) {
            axis.outside.Add(position, cell);
        }
        return value;
    };
    const double xValue = look(xCell, x);
    const double yValue = look(yCell, y);
    if (xValue == 0 && yValue == 0) {
        zeros.Add(position, std::string(xCell) + " " + std::string(yCell));
    }
}

} // namespace Orvane::Import::Scan
