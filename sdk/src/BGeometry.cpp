// Bounding rectangles and boxes, and the geometries' own boxes.
#include <Orvane/BGeometry.h>
#include <Orvane/BPointGeo.h>

#include <cmath>

namespace Orvane {

namespace {

// Written so that a NaN limit becomes the value.
void Widen(double& lowest, double& highest, double value) noexcept
{
    if (!(value >= lowest)) {
        lowest = value;
    }
    if (!(value <= highest)) {
        highest = value;
    }
}

} // namespace

bool BMBR::IsEmpty() const noexcept
{
    return std::isnan(minX) || std::isnan(minY);
}

void BMBR::Include(double x, double y) noexcept
{
    if (std::isnan(x) || std::isnan(y)) {
        return;
    }
    if (IsEmpty()) {
        minX = maxX = x;
        minY = maxY = y;
        return;
    }
    Widen(minX, maxX, x);
    Widen(minY, maxY, y);
}

void BMBR::Include(const BMBR& other) noexcept
{
    Include(other.minX, other.minY);
    Include(other.maxX, other.maxY);
}

void BMBB::Include(double x, double y, double z) noexcept
{
    if (std::isnan(x) || std::isnan(y)) {
        return;
    }
    BMBR::Include(x, y);
    if (!std::isnan(z)) {
        Widen(minZ, maxZ, z);
    }
}

void BMBB::Include(const BMBB& other) noexcept
{
    Include(other.minX, other.minY, other.minZ);
    Include(other.maxX, other.maxY, other.maxZ);
}

BGeometry::~BGeometry() = default;

BPointGeo::~BPointGeo() = default;

BMBB BPointGeo::GetMBB() const
{
    BMBB box;
    box.minX = box.maxX = m_x;
    box.minY = box.maxY = m_y;
    box.minZ = box.maxZ = m_z;
    return box;
}

BSharedPtr<BGeometry> BPointGeo::Clone() const
{
    return MakeShared<BPointGeo>(*this);
}

} // namespace Orvane
