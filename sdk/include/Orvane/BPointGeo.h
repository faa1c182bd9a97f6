// The point geometry.
#pragma once

#include <Orvane/BGeometry.h>

#include <limits>

namespace Orvane {

/// A point. A new point has NaN in all three coordinates; whether Z was set is known apart from
/// its value, so that a point with a NaN height differs from a point without a height.
class ORVANE_SDK_EXPORT BPointGeo : public BGeometry
{
public:
    BPointGeo() = default;

    BPointGeo(double x, double y)
        : m_x(x)
        , m_y(y)
    {}

    BPointGeo(double x, double y, double z)
        : m_x(x)
        , m_y(y)
        , m_z(z)
        , m_hasZ(true)
    {}

    BPointGeo(const BPointGeo&) = default;
    BPointGeo& operator=(const BPointGeo&) = default;
    ~BPointGeo() override;

    [[nodiscard]] double GetX() const noexcept { return m_x; }

    [[nodiscard]] double GetY() const noexcept { return m_y; }

    /// NaN when Z was never set.
    [[nodiscard]] double GetZ() const noexcept { return m_z; }

    [[nodiscard]] bool HasZ() const noexcept { return m_hasZ; }

    void SetX(double x) noexcept { m_x = x; }

    void SetY(double y) noexcept { m_y = y; }

    void SetZ(double z) noexcept
    {
        m_z = z;
        m_hasZ = true;
    }

    /// The box of this one position, NaN where a coordinate is NaN.
    [[nodiscard]] BMBB GetMBB() const override;
    [[nodiscard]] BSharedPtr<BGeometry> Clone() const override;

private:
    double m_x = std::numeric_limits<double>::quiet_NaN();
    double m_y = std::numeric_limits<double>::quiet_NaN();
    double m_z = std::numeric_limits<double>::quiet_NaN();
    bool m_hasZ = false;
};

} // namespace Orvane
