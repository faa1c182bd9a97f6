// Page by page, apart from the rows that are written: another thread may do it.
#include "LayerPoints.h"

#include <Orvane/BPointGeo.h>

#include <algorithm>

namespace Orvane::GeoPackage {

std::optional<RowPoint> PointOf(const BFeature& object)
{
    constexpr double kNoHeight = std::numeric_limits<double>::quiet_NaN();
    const BPointGeo* const point = object.GetPoint();
    if (point == nullptr) {
        return std::nullopt;
    }
    return RowPoint{point->GetX(), point->GetY(), point->HasZ() ? point->GetZ() : kNoHeight};
}

void LayerPoints::AddPage(const BFeaturePage& page,
                          const BFeatureCollection* features,
                          std::size_t firstRow)
{
    Extent extent = m_counts.extent.value_or(Extent{std::numeric_limits<double>::infinity(),
                                                    std::numeric_limits<double>::infinity(),
                                                    -std::numeric_limits<double>::infinity(),
                                                    -std::numeric_limits<double>::infinity()});
    for (std::size_t row = 0; row < page.GetRowCount(); ++row) {
        ++m_lastRow;
        const BFeature* const object =
            features == nullptr ? nullptr : features->GetObjectRow(firstRow + row);
        const std::optional<RowPoint> point =
            object == nullptr ? PointOf(page, row) : PointOf(*object);
        if (!point) {
            continue;
        }
        if (!point->HasPlace()) {
            ++m_counts.withoutPlace;
            continue;
        }
        ++m_counts.points;
        m_sorter.Add(m_lastRow, point->x, point->y);
        extent.minX = std::min(extent.minX, point->x);
        extent.minY = std::min(extent.minY, point->y);
        extent.maxX = std::max(extent.maxX, point->x);
        extent.maxY = std::max(extent.maxY, point->y);
    }
    if (m_counts.points > 0) {
        m_counts.extent = extent;
    }
}

} // namespace Orvane::GeoPackage
