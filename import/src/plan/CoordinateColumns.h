// Columns as the search for coordinates sees them.
#pragma once

#include "Coordinates.h"
#include "Names.h"

#include <Orvane/Import/Plan.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import {

/// The values of a column in the sample rows.
struct SampleValues
{
    std::vector<double> values; ///< degrees for angles
    std::size_t filled = 0;
    std::size_t empty = 0;
    std::size_t decimals = 0; ///< rows with three decimals or more
    std::size_t letters = 0;  ///< rows with a hemisphere letter
    std::set<char> kinds;     ///< which letters, in capitals
    double least = 0;
    double most = 0;

    [[nodiscard]] std::size_t CountWithin(double limit) const
    {
        return static_cast<std::size_t>(std::count_if(
            values.begin(), values.end(), [&](double value) { return std::abs(value) <= limit; }));
    }

    /// Whether nine of ten values are in range, or one number that stands for none, such as -9999,
    /// and at least half are in range.
    [[nodiscard]] bool IsNearlyWithin(double limit) const
    {
        std::size_t within = 0;
        std::size_t sentinels = 0;
        double sentinel = 0;
        for (const double value : values) {
            if (std::abs(value) <= limit) {
                ++within;
            } else if (sentinels == 0 || value == sentinel) {
                sentinel = value;
                ++sentinels;
            }
        }
        return within * 2 >= values.size() && (within + sentinels) * 10 >= values.size() * 9;
    }

    /// Rule: 99 of 100 values in range make a column of degrees.
    [[nodiscard]] bool IsWithin(double limit) const
    {
        return !values.empty() && CountWithin(limit) * 100 >= values.size() * 99;
    }
};

/// What a column's name and its sample say.
struct CoordinateColumn
{
    Names::EAxis axis = Names::EAxis::None;
    std::string rest; ///< of the name, beside the axis: equal for the columns of a pair
    bool isNumber = false;
    bool isAngle = false;
    SampleValues sample;
};

/// Cells that are no value of the column's notation count as filled, and have no value.
[[nodiscard]] SampleValues TakeValues(const SampleRows& rows, const PlanColumn& column);

/// Whether most cells of the sample have a value, so that a few odd ones do not hide a coordinate.
/// Rule: under names of degrees one cell in four may be odd.
[[nodiscard]] bool IsMostlyValues(const SampleValues& sample, Names::EAxis axis);

/// @param withUnnamed the values of all columns of numbers and angles, not only of those with the
///     name of an axis
void TakeColumns(const CoordinateSearch& search,
                 const Plan& plan,
                 bool withUnnamed,
                 std::vector<CoordinateColumn>& columns);

/// The name in quotes, or the index of a column without one.
[[nodiscard]] std::string QuoteName(const PlanColumn& column);

/// Letters of hemispheres; O is East or West.
constexpr std::string_view kNorthSouth = "NSns";
constexpr std::string_view kEastWest = "EWOewo";

/// Whether all cells of a column are such letters.
[[nodiscard]] bool AreLetters(const Scan::ColumnFacts& facts, std::string_view letters);

/// One value per sample row, NaN for a cell that is none.
[[nodiscard]] std::vector<double> ValuesByRow(const SampleRows& rows, const PlanColumn& column);

} // namespace Orvane::Import
