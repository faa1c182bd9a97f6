// The place of a row.
#pragma once

namespace Orvane::Import {

/// Where a row is, if it is anywhere: X and Y are finite numbers then.
struct RowPoint
{
    bool exists = false;
    bool hasZ = false;
    double x = 0;
    double y = 0;
    double z = 0; ///< 0 without Z; may be no finite number
};

} // namespace Orvane::Import
