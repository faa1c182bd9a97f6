// Points in the coordinate system that a format asks for.
#pragma once

#include <cstddef>
#include <memory>

class OGRCoordinateTransformation;
class OGRSpatialReference;

namespace Orvane::Import {

/// Whether it is longitude and latitude of WGS 84.
[[nodiscard]] bool IsWgs84(const OGRSpatialReference& system);

/// Points of any system as longitude and latitude of WGS 84. One thread.
class PointTransform
{
public:
    /// @param from X before Y
    /// @throws std::runtime_error when there is no way from that system
    explicit PointTransform(const OGRSpatialReference& from);
    ~PointTransform();
    PointTransform(const PointTransform&) = delete;
    PointTransform& operator=(const PointTransform&) = delete;

    /// Changes the coordinates in place; NaN where a point has no place in the other system.
    /// @param z null for points without heights
    void Run(std::size_t count, double* x, double* y, double* z) const;

private:
    struct Deleter
    {
        void operator()(OGRCoordinateTransformation* transformation) const;
    };

    std::unique_ptr<OGRCoordinateTransformation, Deleter> m_transformation;
};

} // namespace Orvane::Import
