// Values of the sample rows, column by column.
#include "CoordinateColumns.h"

#include "Names.h"
#include "Types.h"
#include "values/FoldedCell.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import {

namespace {

using Names::EAxis;
using Values::ECell;

} // namespace

SampleValues TakeValues(const SampleRows& rows, const PlanColumn& column)
{
    SampleValues sample;
    const Values::Notation notation = NotationOf(column);
    for (const Scan::SampleRow& row : rows) {
        const std::string_view cell = row.Cell(column.index);
        const Values::CellReading reading = Values::ReadCell(cell);
        if (reading.cell == ECell::Empty || reading.cell == ECell::NullWord) {
            ++sample.empty;
            continue;
        }
        ++sample.filled;
        if ((reading.number.notations & notation) != 0) {
            sample.values.push_back(Values::ToDouble(cell, notation));
            const std::size_t sign = cell.find_first_of(".,");
            sample.decimals +=
                sign != std::string_view::npos && Values::Trim(cell).size() > sign + 3 ? 1U : 0U;
        } else if (reading.angle.isAngle && !reading.angle.isContradiction) {
            sample.values.push_back(reading.angle.degrees);
            if (reading.angle.letter != 0) {
                ++sample.letters;
                sample.kinds.insert(reading.angle.letter);
            }
            ++sample.decimals;
        }
    }
    if (!sample.values.empty()) {
        const auto [least, most] = std::minmax_element(sample.values.begin(), sample.values.end());
        sample.least = *least;
        sample.most = *most;
    }
    return sample;
}

bool IsMostlyValues(const SampleValues& sample, EAxis axis)
{
    const bool isNamed = axis == EAxis::Latitude || axis == EAxis::Longitude;
    return !sample.values.empty() && (isNamed ? sample.values.size() * 4 >= sample.filled * 3
                                              : sample.values.size() * 10 >= sample.filled * 9);
}

void TakeColumns(const CoordinateSearch& search,
                 const Plan& plan,
                 bool withUnnamed,
                 std::vector<CoordinateColumn>& columns)
{
    columns.resize(plan.columns.size());
    // More columns than these are no coordinates, but data.
    constexpr std::size_t kMostColumns = 4096;
    const bool canBeDirections =
        std::none_of(plan.columns.begin(), plan.columns.end(), [](const PlanColumn& column) {
            return Names::HasAny(Names::Cut(column.name),
                                 {"w", "s", "west", "south", "ouest", "sud", "oeste", "sur"});
        });
    for (std::size_t index = 0; index < std::min(columns.size(), kMostColumns); ++index) {
        const PlanColumn& planned = plan.columns[index];
        CoordinateColumn& column = columns[index];
        column.axis = Names::FindAxis(planned.name, column.rest);
        if (column.axis == EAxis::None && canBeDirections) {
            column.axis = Names::FindDirection(planned.name, column.rest);
        }
        column.isNumber = planned.type.value == EPlanType::Double ||
                          planned.type.value == EPlanType::Integer32 ||
                          planned.type.value == EPlanType::Integer64;
        // Degrees with colons look like times of day.
        column.isAngle = planned.type.value == EPlanType::Angle ||
                         (planned.type.value == EPlanType::Time && column.axis != EAxis::None);
        const bool isCandidate =
            column.axis != EAxis::None || (withUnnamed && (column.isNumber || column.isAngle));
        if (isCandidate && column.sample.filled + column.sample.empty == 0) {
            column.sample = TakeValues(search.rows, planned);
        }
    }
}

std::string QuoteName(const PlanColumn& column)
{
    return column.name.empty() ? std::to_string(column.index) : "'" + column.name + "'";
}

bool AreLetters(const Scan::ColumnFacts& facts, std::string_view letters)
{
    return !facts.hasManyWords && !facts.wordFacts.empty() &&
           std::all_of(facts.wordFacts.begin(),
                       facts.wordFacts.end(),
                       [&](const Scan::WordFacts& word) {
                           const std::string_view text = Values::Trim(word.text);
                           return text.size() == 1 &&
                                  letters.find(text[0]) != std::string_view::npos;
                       }) &&
           facts.Count(ECell::Text) + facts.Count(ECell::Boolean) == facts.CountValues();
}

std::vector<double> ValuesByRow(const SampleRows& rows, const PlanColumn& column)
{
    const Values::Notation notation = NotationOf(column);
    std::vector<double> values;
    values.reserve(rows.size());
    for (const Scan::SampleRow& row : rows) {
        double value = std::numeric_limits<double>::quiet_NaN();
        const std::string_view cell = row.Cell(column.index);
        const Values::CellReading reading = Values::ReadCell(cell);
        if ((reading.number.notations & notation) != 0) {
            value = Values::ToDouble(cell, notation);
        } else if (reading.angle.isAngle) {
            value = reading.angle.degrees;
        }
        values.push_back(value);
    }
    return values;
}

} // namespace Orvane::Import
