// The points of a layer's pages: where they are, and their share of the spatial index.
#pragma once

#include "GeoPackageLayer.h"
#include "PointSorter.h"

#include <Orvane/BFeatureCollection.h>
#include <Orvane/BFeaturePage.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

namespace Orvane::GeoPackage {

/// A point as a row has it; Z is NaN without one.
struct RowPoint
{
    double x;
    double y;
    double z;

    /// Rule: a point whose X or Y is no finite number has no place and goes without geometry.
    [[nodiscard]] bool HasPlace() const noexcept { return std::isfinite(x) && std::isfinite(y); }
};

/// The point of an object, nothing when it has none.
[[nodiscard]] std::optional<RowPoint> PointOf(const BFeature& object);

/// The point of a row that a page holds, nothing when it has none.
[[nodiscard]] inline std::optional<RowPoint> PointOf(const BFeaturePage& page, std::size_t row)
{
    constexpr double kNoHeight = std::numeric_limits<double>::quiet_NaN();
    const EPointKind kind = page.GetPointKind(row);
    if (kind == EPointKind::None) {
        return std::nullopt;
    }
    return RowPoint{page.x[row], page.y[row], kind == EPointKind::XYZ ? page.z[row] : kNoHeight};
}

/// Counts the points of pages and puts them into a sorter. Used by one thread at a time.
class LayerPoints
{
public:
    struct Counts
    {
        std::uint64_t points = 0;       ///< that have a place
        std::uint64_t withoutPlace = 0; ///< the others
        std::optional<Extent> extent;
    };

    /// @param sorter gets the points with the numbers of their rows
    /// @param lastRow the number before that of the first row, 0 in a new table
    LayerPoints(PointSorter& sorter, std::uint64_t lastRow)
        : m_sorter(sorter)
        , m_lastRow(lastRow)
    {}

    /// Goes on with the rows of a page.
    /// @param features the collection of the page when rows of it stand as objects, or null
    /// @param firstRow the page's first row in that collection
    /// @throws as PointSorter::Add
    void
    AddPage(const BFeaturePage& page, const BFeatureCollection* features, std::size_t firstRow);

    [[nodiscard]] const Counts& GetCounts() const noexcept { return m_counts; }

private:
    PointSorter& m_sorter;
    std::uint64_t m_lastRow;
    Counts m_counts;
};

} // namespace Orvane::GeoPackage
