// Pairs of columns are scored; what is left after names and values is a question.
#include "Coordinates.h"

#include "AxisEvidence.h"
#include "Given.h"
#include "Names.h"
#include "Systems.h"
#include "Types.h"
#include "values/FoldedCell.h"

#include <Orvane/Import/Failure.h>

#include <ogr_spatialref.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <optional>
#include <set>
#include <utility>

namespace Orvane::Import {

namespace {

using Names::EAxis;
using Values::ECell;

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

struct Column
{
    EAxis axis = EAxis::None;
    std::string rest;
    bool isNumber = false;
    bool isAngle = false;
    SampleValues sample;
};

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

/// Whether most cells of the sample have a value, so that a few odd ones do not hide a coordinate.
/// Rule: under names of degrees one cell in four may be odd.
bool IsMostlyValues(const SampleValues& sample, EAxis axis)
{
    const bool isNamed = axis == EAxis::Latitude || axis == EAxis::Longitude;
    return !sample.values.empty() && (isNamed ? sample.values.size() * 4 >= sample.filled * 3
                                              : sample.values.size() * 10 >= sample.filled * 9);
}

/// @param withUnnamed the values of all columns of numbers and angles, not only of those with the
///     name of an axis
void TakeColumns(const CoordinateSearch& search,
                 const Plan& plan,
                 bool withUnnamed,
                 std::vector<Column>& columns)
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
        Column& column = columns[index];
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

struct Pair
{
    std::size_t x = 0;
    std::size_t y = 0;
    double score = 0;
    bool isDegrees = false;
    bool isByName = false;
    bool isPacked = false;
};

bool CanPackedBe(const SampleValues& sample, double limit)
{
    std::set<double> wholes;
    for (const double value : sample.values) {
        if (!Values::CanBePacked(value) || std::abs(Values::UnpackDegrees(value)) > limit) {
            return false;
        }
        wholes.insert(std::floor(value));
    }
    return !sample.values.empty();
}

/// Whether the values of a pair are degrees, and packed ones.
/// @param isNamed whether the names, or letters beside the columns, say that they are degrees
void ReadForm(bool isNamed, const Column& first, const Column& second, Pair& pair)
{
    const SampleValues& x = first.sample;
    const SampleValues& y = second.sample;
    // Rule: under names of degrees values are degrees, also where one in ten is out of range, where
    // one number stands for none, or where latitudes are past 90: that is pointed out.
    const bool isNearly = isNamed && y.IsNearlyWithin(360) && x.IsNearlyWithin(360);
    pair.isDegrees =
        isNearly || (y.IsWithin(90) && x.IsWithin(360) && x.decimals * 2 > x.values.size());
    // Rule: packed degrees go far past 360, where no longitude is.
    pair.isPacked = isNamed && !pair.isDegrees && std::max(y.most, -y.least) > 360 &&
                    CanPackedBe(y, 90) && CanPackedBe(x, 180);
}

std::vector<Pair> FindNamedPairs(const std::vector<Column>& columns)
{
    std::vector<Pair> pairs;
    for (std::size_t y = 0; y < columns.size(); ++y) {
        const Column& second = columns[y];
        if (second.axis != EAxis::Latitude && second.axis != EAxis::Y) {
            continue;
        }
        for (std::size_t x = 0; x < columns.size(); ++x) {
            const Column& first = columns[x];
            const EAxis partner = second.axis == EAxis::Y ? EAxis::X : EAxis::Longitude;
            if (first.axis != partner || first.rest != second.rest ||
                !IsMostlyValues(first.sample, first.axis) ||
                !IsMostlyValues(second.sample, second.axis)) {
                continue;
            }
            Pair pair{x, y, 1, false, true, false};
            const bool isNamed = second.axis == EAxis::Latitude;
            ReadForm(isNamed, first, second, pair);
            // Names of degrees over values that are none: swapped columns, or no coordinates.
            pair.score += isNamed && !pair.isDegrees && !pair.isPacked ? -0.5 : 0;
            pair.score += pair.isDegrees && isNamed ? 0.5 : 0;
            // The plain name before the one with an addition.
            pair.score -= std::min(0.3, 0.02 * static_cast<double>(first.rest.size()));
            pair.score += first.rest.find("cent") != std::string::npos ? 0.25 : 0;
            pair.score -= x + 1 == y || y + 1 == x ? 0 : 0.02;
            pair.score -= first.sample.values.empty() ? 1 : 0;
            pairs.push_back(pair);
        }
    }
    std::stable_sort(
        pairs.begin(), pairs.end(), [](const Pair& a, const Pair& b) { return a.score > b.score; });
    return pairs;
}

/// Neighbours with many decimals whose values can be degrees.
std::vector<Pair> FindPairsByValue(const std::vector<Column>& columns)
{
    std::vector<Pair> pairs;
    const auto isFine = [](const Column& column) {
        return (column.isNumber || column.isAngle) && column.sample.values.size() >= 3 &&
               column.sample.decimals * 2 > column.sample.values.size() &&
               column.sample.most > column.sample.least && column.sample.IsWithin(180);
    };
    for (std::size_t index = 0; index + 1 < columns.size(); ++index) {
        const Column& first = columns[index];
        const Column& second = columns[index + 1];
        if (!isFine(first) || !isFine(second) || first.sample.empty != second.sample.empty) {
            continue;
        }
        const bool canFirstBeY = first.sample.IsWithin(90);
        const bool canSecondBeY = second.sample.IsWithin(90);
        if (canFirstBeY) {
            pairs.push_back({index + 1, index, 0.5, true, false, false});
        }
        if (canSecondBeY) {
            pairs.push_back({index, index + 1, 0.5, true, false, false});
        }
        ++index;
    }
    return pairs;
}

std::string QuoteName(const PlanColumn& column)
{
    return column.name.empty() ? std::to_string(column.index) : "'" + column.name + "'";
}

std::string DescribePair(const Plan& plan, std::size_t x, std::size_t y)
{
    return "X " + QuoteName(plan.columns[x]) + ", Y " + QuoteName(plan.columns[y]);
}

constexpr std::string_view kNorthSouth = "NSns";
constexpr std::string_view kEastWest = "EWOewo";

/// Whether all cells of a column are such letters.
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

/// Columns of N or S and of E or W, each beside one of degrees, as receivers write them: the
/// letters tell the axes, whatever the names.
std::vector<Pair>
FindPairsByLetters(const CoordinateSearch& search, const Plan& plan, std::vector<Column>& columns)
{
    const auto findLetters = [&](std::string_view letters) {
        for (std::size_t index = 0; index < columns.size(); ++index) {
            if (AreLetters(search.facts[index], letters)) {
                return index;
            }
        }
        return columns.size();
    };
    const std::size_t northSouth = findLetters(kNorthSouth);
    const std::size_t eastWest = findLetters(kEastWest);
    if (northSouth == columns.size() || eastWest == columns.size()) {
        return {};
    }
    std::vector<Pair> pairs;
    // The degrees are before the letters or after them.
    for (const std::size_t step : {std::size_t{0} - 1, std::size_t{1}}) {
        Pair pair{eastWest + step, northSouth + step, 0.9, false, false, false};
        if (pair.x >= columns.size() || pair.y >= columns.size()) {
            continue;
        }
        for (const std::size_t index : {pair.x, pair.y}) {
            // Packed degrees with leading zeros are texts by their type.
            columns[index].sample = TakeValues(search.rows, plan.columns[index]);
            pair.score -= plan.columns[index].type.value == EPlanType::Integer32 ? 0.1 : 0;
        }
        const SampleValues& x = columns[pair.x].sample;
        const SampleValues& y = columns[pair.y].sample;
        pair.isDegrees = x.IsWithin(180) && y.IsWithin(90);
        pair.isPacked = !pair.isDegrees && CanPackedBe(y, 90) && CanPackedBe(x, 180);
        if (IsMostlyValues(x, EAxis::None) && IsMostlyValues(y, EAxis::None) &&
            (pair.isDegrees || pair.isPacked)) {
            pairs.push_back(pair);
        }
    }
    if (pairs.size() == 2 && (pairs[0].score != pairs[1].score || pairs[0].isPacked)) {
        // Rule: columns of decimals before those of whole numbers; the sentences of receivers,
        // which are packed, have the letter after the number.
        pairs.erase(pairs[1].score > pairs[0].score ? pairs.begin() : pairs.begin() + 1);
    }
    return pairs;
}

/// Columns of letters N and S, E and W beside the coordinates.
void FindHemispheres(const CoordinateSearch& search, Plan& plan)
{
    const PlanCoordinates& found = plan.coordinates.value;
    for (const std::size_t at : {*found.x, *found.y}) {
        const bool isX = at == *found.x;
        for (const std::size_t index : {at + 1, at - 1}) {
            if (index < plan.columns.size() && plan.columns[index].role == EPlanRole::Attribute &&
                AreLetters(search.facts[index], isX ? kEastWest : kNorthSouth)) {
                plan.columns[index].role = isX ? EPlanRole::XHemisphere : EPlanRole::YHemisphere;
                break;
            }
        }
    }
}

/// What the letter O of longitudes stands for: East (Ost) where W occurs too, West (Oeste) where E
/// does; otherwise the language of the columns' names tells.
void FindLetterO(const CoordinateSearch& search, const std::vector<Column>& columns, Plan& plan)
{
    PlanCoordinates& found = plan.coordinates.value;
    std::set<char> letters = columns[*found.x].sample.kinds;
    for (const PlanColumn& column : plan.columns) {
        if (column.role == EPlanRole::XHemisphere) {
            for (const Scan::WordFacts& word : search.facts[column.index].wordFacts) {
                const char letter = Values::Trim(word.text).front();
                letters.insert(static_cast<char>(letter >= 'a' ? letter - 'a' + 'A' : letter));
            }
        }
    }
    if (!letters.contains('O')) {
        return;
    }
    const auto hasName = [&](std::initializer_list<std::string_view> words) {
        return std::any_of(plan.columns.begin(), plan.columns.end(), [&](const auto& column) {
            return Names::HasAny(Names::Cut(column.name), words);
        });
    };
    const bool isGerman = hasName({"breite",
                                   "geobreite",
                                   "breitengrad",
                                   "laenge",
                                   "l\xC3\xA4nge",
                                   "geolaenge",
                                   "laengengrad",
                                   "l\xC3\xA4ngengrad",
                                   "hoehe",
                                   "h\xC3\xB6he",
                                   "ort",
                                   "datum"});
    const bool isRomance = hasName({"latitud",
                                    "longitud",
                                    "latitudine",
                                    "longitudine",
                                    "fecha",
                                    "nombre",
                                    "nom",
                                    "nome",
                                    "altitud",
                                    "lieu"});
    const char* reason = "the language of the names";
    if (letters.contains('W') != letters.contains('E')) {
        found.letterO = letters.contains('W') ? 'E' : 'W';
        reason = letters.contains('W') ? "W stands for West" : "E stands for East";
    } else if (!letters.contains('W') && isGerman != isRomance) {
        found.letterO = isGerman ? 'E' : 'W';
    }
    if (found.letterO != 0) {
        plan.coordinates.evidence.push_back({std::string("the letter O is ") +
                                                 (found.letterO == 'E' ? "East: " : "West: ") +
                                                 reason,
                                             columns[*found.x].sample.letters,
                                             {}});
        return;
    }
    plan.findings.push_back({"letter-o",
                             true,
                             "The letter O of longitudes is East in German and West in Romance "
                             "languages: rows with it have no point.",
                             std::max<std::uint64_t>(columns[*found.x].sample.letters, 1),
                             {}});
}

/// Columns of minutes and seconds with the name of a coordinate and a word more.
void FindMinutes(const std::vector<Column>& columns, Plan& plan)
{
    for (std::size_t index = 0; index < columns.size(); ++index) {
        const Column& column = columns[index];
        const bool isX = column.axis == EAxis::Longitude;
        if ((!isX && column.axis != EAxis::Latitude) ||
            plan.columns[index].role != EPlanRole::Attribute || !column.isNumber) {
            continue;
        }
        const Names::Tokens tokens = Names::Cut(plan.columns[index].name);
        const bool isMinutes = Names::HasAny(tokens, {"min", "mins", "minute", "minutes"});
        const bool isSeconds = Names::HasAny(tokens, {"sec", "secs", "second", "seconds"});
        if ((isMinutes || isSeconds) && column.sample.least >= 0 && column.sample.most < 60) {
            plan.columns[index].role = isMinutes
                                           ? (isX ? EPlanRole::XMinutes : EPlanRole::YMinutes)
                                           : (isX ? EPlanRole::XSeconds : EPlanRole::YSeconds);
            plan.coordinates.value.notation = EPlanNotation::Sexagesimal;
        }
    }
}

void FindHeight(const std::vector<Column>& columns, Plan& plan)
{
    PlanCoordinates& found = plan.coordinates.value;
    std::size_t best = columns.size();
    std::size_t bestDistance = columns.size() * 2 + 2;
    for (std::size_t index = 0; index < columns.size(); ++index) {
        if (columns[index].axis != EAxis::Z || !columns[index].isNumber ||
            plan.columns[index].role != EPlanRole::Attribute) {
            continue;
        }
        const std::size_t distance = index > *found.x ? index - *found.x : *found.x - index;
        // The nearest of several.
        const std::size_t rank = distance;
        if (rank < bestDistance) {
            bestDistance = rank;
            best = index;
        }
    }
    if (best < columns.size()) {
        found.z = best;
        plan.columns[best].role = EPlanRole::Z;
    }
}

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

/// Points out what the ranges of the coordinates, and points at 0/0, say. Rows are looked at once
/// more where there is something to count.
void CheckRanges(const CoordinateSearch& search, const std::vector<Column>& columns, Plan& plan)
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
    const auto hasZeros = [&](const Scan::RowWatch::Axis& axis) {
        return search.facts[axis.column].RangeIn(axis.notation).zeros > 0;
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
    const Column& first = columns[*found.x];
    const Column& second = columns[*found.y];
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

/// One value per sample row, NaN for a cell that is none.
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

/// Whether a column's name says that its cells are zones of a projection.
bool IsZoneName(const std::string& name)
{
    return Names::HasAny(Names::Cut(name), {"zone", "utmzone", "utm", "zona", "fuseau"}) &&
           !Names::HasAny(Names::Cut(name), {"time", "x", "y", "easting", "northing"});
}

/// Points out that coordinates in metres may be of several zones: a column of zones says so, or X
/// has two groups far apart over the same Y.
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
            facts.wordFacts.size() >= 2 || (facts.hasManyWords && column.longest <= 4);
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

/// The system that a .prj file beside the data names; empty without one.
std::string ReadProjectionFile(const std::string& path, std::string& file)
{
    std::filesystem::path beside(path);
    beside.replace_extension(".prj");
    std::error_code error;
    if (!std::filesystem::is_regular_file(beside, error) ||
        std::filesystem::file_size(beside, error) > 65536) {
        return {};
    }
    std::ifstream stream(beside, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream),
                           std::istreambuf_iterator<char>()};
    OGRSpatialReference system;
    if (system.importFromWkt(text.c_str()) != OGRERR_NONE) {
        return {};
    }
    system.AutoIdentifyEPSG();
    file = beside.filename().string();
    const char* authority = system.GetAuthorityName(nullptr);
    const char* code = system.GetAuthorityCode(nullptr);
    if (authority == nullptr || code == nullptr) {
        return {};
    }
    return std::string(authority) + ":" + code;
}

/// @param isPlaced whether the rows themselves say where the degrees lie
void DecideSystem(const std::vector<Column>& columns, bool isPlaced, Plan& plan)
{
    PlanDecision<std::string>& system = plan.coordinateSystem;
    const PlanCoordinates& found = plan.coordinates.value;
    if (!found.x) {
        return;
    }
    std::string file;
    const std::string stated = ReadProjectionFile(plan.path, file);
    if (!stated.empty()) {
        system.value = stated;
        system.evidence.push_back({"the file " + file, 1, {}});
        return;
    }
    if (found.notation == EPlanNotation::Cartesian) {
        system.value = "undefined Cartesian";
        system.decider = EDecider::Default;
        system.confidence = EConfidence::Strong;
        system.evidence.push_back({"no file .prj, and no degrees", 0, {}});
        return;
    }
    const SampleValues& x = columns[*found.x].sample;
    const bool isNamed = columns[*found.y].axis == EAxis::Latitude;
    const bool hasLetters =
        x.letters > 0 ||
        std::any_of(plan.columns.begin(), plan.columns.end(), [](const PlanColumn& column) {
            return column.role == EPlanRole::XHemisphere;
        });
    const bool isPast = x.most > 90 || x.least < -90;
    if (isNamed || hasLetters || isPast || isPlaced) {
        system.value = "EPSG:4326";
        system.confidence = EConfidence::Strong;
        system.evidence.push_back({isNamed      ? "names of latitude and longitude"
                                   : hasLetters ? "letters of hemispheres"
                                   : isPast     ? "X goes past 90 while Y does not"
                                                : "the rows tell the order of degrees",
                                   1,
                                   {}});
        return;
    }
    system.value = "undefined geographic";
    system.decider = EDecider::Default;
    system.confidence = EConfidence::Tie;
}

void Settle(const CoordinateSearch& search,
            const std::vector<Column>& columns,
            const Pair& pair,
            Plan& plan)
{
    PlanCoordinates& found = plan.coordinates.value;
    found.x = pair.x;
    found.y = pair.y;
    for (const std::size_t index : {pair.x, pair.y}) {
        PlanColumn& column = plan.columns[index];
        if (column.type.value == EPlanType::Time) {
            column.type.rivals.insert(column.type.rivals.begin(), {"time", 1, "its name"});
            column.type.value = EPlanType::Angle;
            column.spelling = "degrees minutes seconds";
        }
    }
    const bool isAngle = plan.columns[pair.x].type.value == EPlanType::Angle ||
                         plan.columns[pair.y].type.value == EPlanType::Angle ||
                         columns[pair.x].sample.letters > 0;
    found.notation = pair.isPacked    ? EPlanNotation::Packed
                     : isAngle        ? EPlanNotation::Sexagesimal
                     : pair.isDegrees ? EPlanNotation::Decimal
                                      : EPlanNotation::Cartesian;
    plan.columns[pair.x].role = EPlanRole::X;
    plan.columns[pair.y].role = EPlanRole::Y;
    FindHemispheres(search, plan);
    FindLetterO(search, columns, plan);
    FindMinutes(columns, plan);
    FindHeight(columns, plan);
    CheckRanges(search, columns, plan);
    FindZones(search, plan);
}

void AskForCoordinates(Plan& plan)
{
    plan.coordinates.decider = EDecider::Default;
    plan.questions.push_back({"coordinates", "No columns of coordinates were found.", {}});
}

/// Asks which of the first two pairs it is.
void AskWhichPair(const std::vector<Pair>& pairs, Plan& plan)
{
    plan.coordinates.confidence = EConfidence::Tie;
    plan.questions.push_back(
        {"coordinates",
         "Several pairs of columns can be the coordinates.",
         {{pairs[0].x, pairs[0].y, {}, {}}, {pairs[1].x, pairs[1].y, {}, {}}}});
}

/// Of two pairs of the same columns the one that places in the rows, or their order, speak for.
std::optional<Pair>
ChooseOrder(const CoordinateSearch& search, const std::vector<Pair>& pairs, Plan& plan)
{
    if (pairs.size() != 2 || pairs[0].x != pairs[1].y || pairs[0].y != pairs[1].x) {
        return std::nullopt;
    }
    const Pair& pair = pairs[0];
    const std::optional<AxisEvidence> found =
        FindAxisEvidence({pair.x,
                          pair.y,
                          ValuesByRow(search.rows, plan.columns[pair.x]),
                          ValuesByRow(search.rows, plan.columns[pair.y])},
                         search.rows,
                         plan.columns,
                         search.hasNames);
    if (!found) {
        return std::nullopt;
    }
    plan.coordinates.evidence.push_back({found->what, found->count, {}});
    const Pair& other = pairs[found->isFirstX ? 1 : 0];
    plan.coordinates.rivals.push_back(
        {DescribePair(plan, other.x, other.y), 0, found->what + " contradict it"});
    return pairs[found->isFirstX ? 0 : 1];
}

/// Whether names say the two ends of the same thing: `start_lon` and `end_lon`.
bool AreEnds(const std::string& first, const std::string& second)
{
    static constexpr std::pair<std::string_view, std::string_view> kEnds[] = {
        {"start", "end"},
        {"begin", "end"},
        {"start", "stop"},
        {"from", "to"},
        {"origin", "destination"},
        {"orig", "dest"},
        {"source", "target"},
        {"src", "dst"},
        {"pickup", "dropoff"},
        {"departure", "arrival"},
        {"first", "last"},
        {"min", "max"},
    };
    const Names::Tokens a = Names::Cut(first);
    const Names::Tokens b = Names::Cut(second);
    return std::any_of(std::begin(kEnds), std::end(kEnds), [&](const auto& ends) {
        return (Names::HasAny(a, {ends.first}) && Names::HasAny(b, {ends.second})) ||
               (Names::HasAny(a, {ends.second}) && Names::HasAny(b, {ends.first}));
    });
}

/// A pair of other columns that is as good as the first one: of the same names, or of names that
/// say the other end.
std::vector<Pair>::const_iterator
FindTie(const std::vector<Column>& columns, const Plan& plan, const std::vector<Pair>& pairs)
{
    const Pair& best = pairs.front();
    return std::find_if(pairs.begin() + 1, pairs.end(), [&](const Pair& pair) {
        const bool isApart =
            pair.x != best.x && pair.y != best.y && pair.x != best.y && pair.y != best.x;
        const bool areEnds = columns[pair.y].axis == columns[best.y].axis &&
                             pair.isDegrees == best.isDegrees &&
                             AreEnds(plan.columns[pair.x].name, plan.columns[best.x].name);
        return isApart && (pair.score == best.score || areEnds);
    });
}

[[noreturn]] void FailAsEqual(const Plan& plan)
{
    FailureFields fields;
    fields.kind = EFailureKind::Request;
    fields.code = "columns-equal";
    fields.what = "X, Y and Z must be different columns.";
    fields.file = plan.path;
    throw ImportFailure(std::move(fields));
}

/// Leaves the pairs that have the one column that is given.
void KeepGiven(const PlanRequest& request, const Plan& plan, std::vector<Pair>& pairs)
{
    const auto keep = [&](const std::string& given, const char* axis, std::size_t Pair::*column) {
        if (given.empty()) {
            return;
        }
        const std::size_t wanted = FindGivenColumn(plan, given, axis);
        pairs.erase(std::remove_if(pairs.begin(),
                                   pairs.end(),
                                   [&](const Pair& pair) { return pair.*column != wanted; }),
                    pairs.end());
    };
    keep(request.x, "X", &Pair::x);
    keep(request.y, "Y", &Pair::y);
}

/// The longest piece of the rows' texts in which places are looked for.
constexpr std::size_t kMostTexts = std::size_t{1} << 20U;

/// Puts the systems that the points can be of beside the one that is undefined.
void RankSystemsOf(const CoordinateSearch& search, Plan& plan)
{
    const PlanCoordinates& found = plan.coordinates.value;
    if (!found.x || plan.coordinateSystem.value != "undefined Cartesian") {
        return;
    }
    const std::vector<double> x = ValuesByRow(search.rows, plan.columns[*found.x]);
    const std::vector<double> y = ValuesByRow(search.rows, plan.columns[*found.y]);
    std::vector<Column> columns;
    TakeColumns(search, plan, false, columns);
    std::vector<double> longitudes;
    std::vector<double> latitudes;
    for (const Pair& pair : FindNamedPairs(columns)) {
        if (pair.isDegrees && columns[pair.y].axis == EAxis::Latitude) {
            longitudes = ValuesByRow(search.rows, plan.columns[pair.x]);
            latitudes = ValuesByRow(search.rows, plan.columns[pair.y]);
            break;
        }
    }
    SystemSearch systems;
    for (std::size_t row = 0; row < x.size(); ++row) {
        if (!std::isfinite(x[row]) || !std::isfinite(y[row])) {
            continue;
        }
        systems.x.push_back(x[row]);
        systems.y.push_back(y[row]);
        if (!longitudes.empty()) {
            systems.longitudes.push_back(longitudes[row]);
            systems.latitudes.push_back(latitudes[row]);
        }
    }
    const auto addText = [&](std::string_view text) {
        for (const char unit : text) {
            systems.texts.push_back(Values::ToLower(unit));
        }
        systems.texts.push_back('\n');
    };
    addText(std::filesystem::path(plan.path).filename().string());
    for (const PlanLines& lines : plan.shape.lines) {
        addText(lines.text);
    }
    for (const Scan::SampleRow& row : search.rows) {
        for (const PlanColumn& column : plan.columns) {
            if (column.type.value == EPlanType::Text && systems.texts.size() < kMostTexts) {
                addText(row.Cell(column.index));
            }
        }
    }
    plan.coordinateSystem.rivals = RankSystems(systems);
}

/// Height and coordinate system as the caller gives them.
void UseGivenRest(const PlanRequest& request, Plan& plan)
{
    PlanCoordinates& found = plan.coordinates.value;
    if (!request.z.empty()) {
        const std::size_t z = FindGivenColumn(plan, request.z, "Z");
        if (z == found.x || z == found.y) {
            FailAsEqual(plan);
        }
        if (found.z) {
            plan.columns[*found.z].role = EPlanRole::Attribute;
        }
        if (found.x) {
            found.z = z;
            plan.columns[z].role = EPlanRole::Z;
        }
    }
    if (!request.crs.empty()) {
        plan.coordinateSystem = {};
        plan.coordinateSystem.value = request.crs;
        plan.coordinateSystem.decider = EDecider::Given;
    }
}

bool UseGiven(const CoordinateSearch& search,
              std::vector<Column>& columns,
              const PlanRequest& request,
              Plan& plan)
{
    if (request.x.empty() || request.y.empty()) {
        return false;
    }
    Pair pair;
    pair.x = FindGivenColumn(plan, request.x, "X");
    pair.y = FindGivenColumn(plan, request.y, "Y");
    if (pair.x == pair.y) {
        FailAsEqual(plan);
    }
    Column& first = columns[pair.x];
    Column& second = columns[pair.y];
    // Packed degrees with leading zeros are texts by their type.
    first.sample = TakeValues(search.rows, plan.columns[pair.x]);
    second.sample = TakeValues(search.rows, plan.columns[pair.y]);
    const bool isNamed = second.axis == EAxis::Latitude && first.axis == EAxis::Longitude;
    const bool hasLetters =
        std::any_of(search.facts.begin(), search.facts.end(), [](const Scan::ColumnFacts& facts) {
            return AreLetters(facts, kNorthSouth);
        });
    ReadForm(isNamed || hasLetters, first, second, pair);
    if (second.sample.IsWithin(90) && first.sample.IsWithin(360)) {
        pair.isDegrees = true;
        pair.isPacked = false;
    }
    plan.coordinates.decider = EDecider::Given;
    Settle(search, columns, pair, plan);
    return true;
}

} // namespace

namespace {

void Decide(const CoordinateSearch& search, const PlanRequest& request, Plan& plan)
{
    std::vector<Column> columns;
    // Without names, and for columns that are given, all columns of numbers count.
    const bool areNamesEnough = search.hasNames && request.x.empty() && request.y.empty();
    TakeColumns(search, plan, !areNamesEnough, columns);
    if (UseGiven(search, columns, request, plan)) {
        DecideSystem(columns, false, plan);
        return;
    }
    std::vector<Pair> pairs = search.hasNames ? FindNamedPairs(columns) : std::vector<Pair>{};
    KeepGiven(request, plan, pairs);
    if (!pairs.empty()) {
        const Pair best = pairs.front();
        plan.coordinates.confidence = EConfidence::Strong;
        plan.coordinates.evidence.push_back({"names " + QuoteName(plan.columns[best.x]) + " and " +
                                                 QuoteName(plan.columns[best.y]) +
                                                 (best.isDegrees ? ", values within degrees" : ""),
                                             columns[best.x].sample.values.size(),
                                             {}});
        for (std::size_t index = 1; index < pairs.size(); ++index) {
            plan.coordinates.rivals.push_back({DescribePair(plan, pairs[index].x, pairs[index].y),
                                               0,
                                               "a less plain pair of names"});
        }
        const auto tie = FindTie(columns, plan, pairs);
        const bool isTie = tie != pairs.end();
        Settle(search, columns, best, plan);
        if (isTie) {
            AskWhichPair({best, *tie}, plan);
        }
        DecideSystem(columns, false, plan);
        return;
    }
    TakeColumns(search, plan, true, columns);
    pairs = FindPairsByLetters(search, plan, columns);
    KeepGiven(request, plan, pairs);
    if (!pairs.empty()) {
        const Pair& best = pairs.front();
        plan.coordinates.confidence = EConfidence::Strong;
        plan.coordinates.evidence.push_back({"letters of hemispheres in columns of their own",
                                             columns[best.x].sample.values.size(),
                                             {}});
        Settle(search, columns, best, plan);
        if (pairs.size() > 1) {
            AskWhichPair(pairs, plan);
        }
        DecideSystem(columns, false, plan);
        return;
    }
    pairs = FindPairsByValue(columns);
    KeepGiven(request, plan, pairs);
    if (pairs.empty()) {
        AskForCoordinates(plan);
        return;
    }
    const std::optional<Pair> ordered = ChooseOrder(search, pairs, plan);
    if (ordered) {
        pairs = {*ordered};
    }
    const Pair& best = pairs.front();
    plan.coordinates.evidence.push_back({"neighbours with many decimals, values within degrees",
                                         columns[best.x].sample.values.size(),
                                         {}});
    plan.coordinates.confidence = EConfidence::Strong;
    if (pairs.size() > 1) {
        plan.coordinates.confidence = EConfidence::Tie;
        std::vector<PlanAnswer> answers;
        answers.reserve(pairs.size());
        for (const Pair& pair : pairs) {
            answers.push_back({pair.x, pair.y, {}, {}});
        }
        plan.questions.push_back(
            {"axes", "Two columns can be degrees, and either can be the longitude.", answers});
        return;
    }
    Settle(search, columns, best, plan);
    DecideSystem(columns, ordered.has_value(), plan);
}

} // namespace

void DecideCoordinates(const CoordinateSearch& search, const PlanRequest& request, Plan& plan)
{
    Decide(search, request, plan);
    UseGivenRest(request, plan);
    if (request.ranksSystems) {
        RankSystemsOf(search, plan);
    }
}

} // namespace Orvane::Import
