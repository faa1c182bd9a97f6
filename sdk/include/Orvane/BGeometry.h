// Geometries and their bounding rectangles and boxes.
#pragma once

#include <Orvane/BSharedPtr.h>
#include <Orvane/Export.h>

#include <limits>

namespace Orvane {

/// A bounding rectangle in the units of the coordinate system. A new one is empty (all NaN).
/// NaN coordinates never widen it.
struct ORVANE_SDK_EXPORT BMBR
{
    double minX = std::numeric_limits<double>::quiet_NaN();
    double minY = std::numeric_limits<double>::quiet_NaN();
    double maxX = std::numeric_limits<double>::quiet_NaN();
    double maxY = std::numeric_limits<double>::quiet_NaN();

    /// True while no position with a number in X and in Y has been included.
    [[nodiscard]] bool IsEmpty() const noexcept;
    /// Widens the rectangle by a position; one with a NaN in X or Y changes nothing.
    void Include(double x, double y) noexcept;
    /// Widens the rectangle by another; an empty one changes nothing.
    void Include(const BMBR& other) noexcept;
};

/// A bounding box: the rectangle and the range of Z. The Z range is NaN when no Z was included.
struct ORVANE_SDK_EXPORT BMBB : BMBR
{
    double minZ = std::numeric_limits<double>::quiet_NaN();
    double maxZ = std::numeric_limits<double>::quiet_NaN();

    using BMBR::Include;
    /// Widens the box; a NaN z widens the rectangle only, a NaN in X or Y changes nothing.
    void Include(double x, double y, double z) noexcept;
    /// Widens the box by another; an empty one changes nothing, whatever its Z range.
    void Include(const BMBB& other) noexcept;
};

/// The base of all geometries. Owned through BSharedPtr; used by one thread at a time.
class ORVANE_SDK_EXPORT BGeometry
{
public:
    BGeometry() = default;
    BGeometry(const BGeometry&) = default;
    BGeometry& operator=(const BGeometry&) = default;
    virtual ~BGeometry();
    /// The smallest box around the geometry.
    [[nodiscard]] virtual BMBB GetMBB() const = 0;
    /// A copy of the geometry with its own state.
    [[nodiscard]] virtual BSharedPtr<BGeometry> Clone() const = 0;
};

} // namespace Orvane
