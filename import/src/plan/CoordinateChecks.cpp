// Ranges, points at 0/0, zones.
#include "CoordinateChecks.h"

#include "CoordinateColumns.h"
#include "Names.h"
#include "Types.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace Orvane::Import {

namespace {

using Names::EAxis;

void AddFinding(Plan& plan, const char* code, std::string text, const Scan::Occurrences& found)
{
    if (found.count == 0) {
        return;
    }
    std::vector<PlanPlace> places;
    for (const Scan::Example& example : found.first) {
        places.push_back({example.position.line, example.position.byte, example.text});
    }
    plan.findings.push_back({code, false, std::move(text), found.count, std::move(places)});
}

/// How far an axis of degrees goes.
constexpr double kMostLatitude = 90;

constexpr double kMostLongitude = 360;

/// Whether a column has different texts in the sample of the rows.
bool HasTwoTexts(const CoordinateSearch& search, std::size_t column)
{
    return std::adjacent_find(search.rows.begin(),
                              search.rows.end(),
                              [&](const Scan::SampleRow& one, const Scan::SampleRow& next) {
                                  return one.Cell(column) != next.Cell(column);
                              }) != search.rows.end();
}

/// Whether a column's name says that its cells are zones of a projection.
bool IsZoneName(const std::string& name)
{
    return Names::HasAny(Names::Cut(name), {"zone", "utmzone", "utm", "zona", "fuseau"}) &&
           !Names::HasAny(Names::Cut(name), {"time", "x", "y", "easting", "northing"});
}

} // namespace

void CheckRanges(const CoordinateSearch& search,
                 const std::vector<CoordinateColumn>& columns,
                 Plan& plan)
{
    const PlanCoordinates& found = plan.coordinates.value;
    const PlanColumn& x = plan.columns[*found.x];
    const PlanColumn& y = plan.columns[*found.y];
    const bool isDecimal = found.notation == EPlanNotation::Decimal;
    const auto axisOf = [&](const PlanColumn& column, double most) {
        Scan::RowWatch::Axis axis;
        axis.column = column.index;
        axis.notation = NotationOf(column);
        axis.most = isDecimal ? most : std::numeric_limits<double>::infinity();
        return axis;
    };
    Scan::RowWatch watch{axisOf(x, kMostLongitude), axisOf(y, kMostLatitude), {}};
    const auto isPast = [&](const PlanColumn& column, double most) {
        return isDecimal && column.hasRange && (column.least < -most || column.most > most);
    };
    // Degrees of 0 with minutes in a column of their own are no point at 0/0.
    const bool hasMinutes =
        std::any_of(plan.columns.begin(), plan.columns.end(), [](const PlanColumn& column) {
            return column.role == EPlanRole::XMinutes || column.role == EPlanRole::YMinutes;
        });
    const auto hasZeros = [&](const Scan::RowWatch::Axis& axis) {
        return !hasMinutes && search.facts[axis.column].RangeIn(axis.notation).zeros > 0;
    };
    if (isPast(x, kMostLongitude) || isPast(y, kMostLatitude) ||
        (hasZeros(watch.x) && hasZeros(watch.y))) {
        search.look(watch);
    }
    AddFinding(plan, "latitude-out-of-range", "Y goes past 90 degrees.", watch.y.outside);
    AddFinding(plan, "longitude-out-of-range", "X goes past 360 degrees.", watch.x.outside);
    AddFinding(plan, "zero-coordinates", "Points at 0/0.", watch.zeros);
    if (isDecimal && x.hasRange && x.most > 180 && x.most <= kMostLongitude) {
        plan.findings.push_back(
            {"longitude-past-180", false, "X counts degrees up to 360.", 1, {}});
    }
    const CoordinateColumn& first = columns[*found.x];
    const CoordinateColumn& second = columns[*found.y];
    // Rule: a few latitudes past 90 are mistakes; one in five and more look like longitudes.
    const std::size_t values = second.sample.values.size();
    const std::size_t past = values - second.sample.CountWithin(kMostLatitude);
    if (past > 0 && past * 5 >= values && first.sample.IsWithin(kMostLatitude) &&
        second.sample.IsWithin(180) && second.axis == EAxis::Latitude) {
        plan.findings.push_back(
            {"axes-swapped",
             false,
             "Latitudes past 90 over longitudes within 90: X and Y look swapped.",
             std::max<std::uint64_t>(watch.y.outside.count, 1),
             {}});
    }
}

void FindZones(const CoordinateSearch& search, Plan& plan)
{
    const PlanCoordinates& found = plan.coordinates.value;
    if (found.notation != EPlanNotation::Cartesian) {
        return;
    }
    for (const PlanColumn& column : plan.columns) {
        const Scan::ColumnFacts& facts = search.facts[column.index];
        const bool isSmall = column.type.value == EPlanType::Integer32 && column.hasRange &&
                             column.least >= 1 && column.most <= 60 && column.least < column.most;
        const bool isWord =
            facts.wordFacts.size() >= 2 || facts.hasManyWords || HasTwoTexts(search, column.index);
        if (IsZoneName(column.name) && column.longest <= 4 &&
            (isSmall || (column.type.value == EPlanType::Text && isWord))) {
            plan.findings.push_back({"several-zones",
                                     false,
                                     "Column " + QuoteName(column) +
                                         " names several zones: X and Y are not of one system.",
                                     1,
                                     {}});
            return;
        }
    }

    struct Point
    {
        double x;
        double y;
        std::size_t row;
    };

    const std::vector<double> xs = ValuesByRow(search.rows, plan.columns[*found.x]);
    const std::vector<double> ys = ValuesByRow(search.rows, plan.columns[*found.y]);
    std::vector<Point> points;
    for (std::size_t row = 0; row < xs.size(); ++row) {
        // Eastings of zones keep to this range.
        if (xs[row] >= 100000 && xs[row] <= 900000 && std::isfinite(ys[row])) {
            points.push_back({xs[row], ys[row], row});
        }
    }
    constexpr std::size_t kFewest = 20;
    if (points.size() < kFewest) {
        return;
    }
    std::sort(
        points.begin(), points.end(), [](const Point& a, const Point& b) { return a.x < b.x; });
    std::size_t split = 1;
    for (std::size_t index = 1; index < points.size(); ++index) {
        if (points[index].x - points[index - 1].x > points[split].x - points[split - 1].x) {
            split = index;
        }
    }
    const auto extentOf = [&](std::size_t from, std::size_t to) {
        const auto [low, high] =
            std::minmax_element(points.begin() + static_cast<std::ptrdiff_t>(from),
                                points.begin() + static_cast<std::ptrdiff_t>(to),
                                [](const Point& a, const Point& b) { return a.y < b.y; });
        return std::pair(low->y, high->y);
    };
    const double gap = points[split].x - points[split - 1].x;
    const double widest =
        std::max(points[split - 1].x - points.front().x, points.back().x - points[split].x);
    const auto [leftLow, leftHigh] = extentOf(0, split);
    const auto [rightLow, rightHigh] = extentOf(split, points.size());
    constexpr double kFar = 200000;
    const bool areBesideEachOther = leftLow <= rightHigh && rightLow <= leftHigh;
    // Rule: zones overlap near their borders, where X of the western one is large and that of the
    // eastern one small.
    const bool isAcross = points[split - 1].x < 500000 && points[split].x > 500000;
    if (std::min(split, points.size() - split) * 20 < points.size() || gap < kFar ||
        gap < 2 * widest || !areBesideEachOther || !isAcross) {
        return;
    }
    const bool isFirstLeft = points.front().row < points[split].row;
    std::size_t first = search.rows.size();
    for (std::size_t index = isFirstLeft ? split : 0; index < (isFirstLeft ? points.size() : split);
         ++index) {
        first = std::min(first, points[index].row);
    }
    plan.findings.push_back(
        {"several-zones",
         false,
         "X jumps by " + std::to_string(std::llround(gap / 1000)) +
             " km over the same Y: the points may be of two zones.",
         1,
         {{search.rows[first].Line(), 0, std::string(search.rows[first].Cell(*found.x))}}});
}

} // namespace Orvane::Import
