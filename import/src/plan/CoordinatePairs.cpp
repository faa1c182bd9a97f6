// Pairs by names, by letters of hemispheres, by values alone.
#include "CoordinatePairs.h"

#include "CoordinateColumns.h"
#include "Names.h"
#include "values/FoldedCell.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Orvane::Import {

namespace {

using Names::EAxis;

bool CanPackedBe(const SampleValues& sample, double limit, Values::EPacking packing)
{
    return !sample.values.empty() &&
           std::all_of(sample.values.begin(), sample.values.end(), [&](double value) {
               return Values::CanBePacked(value, packing) &&
                      std::abs(Values::UnpackDegrees(value, packing)) <= limit;
           });
}

/// Whether latitudes and longitudes can be packed degrees, and which; of numbers that can be both,
/// degrees and minutes.
bool ReadPacking(const SampleValues& x, const SampleValues& y, CoordinatePair& pair)
{
    for (const Values::EPacking packing : {Values::EPacking::Minutes, Values::EPacking::Seconds}) {
        if (CanPackedBe(y, 90, packing) && CanPackedBe(x, 180, packing)) {
            pair.packing = packing;
            return true;
        }
    }
    return false;
}

/// Whether every value of a sample has one of some hemispheres' letters.
bool HasOnlyLetters(const SampleValues& sample, std::string_view letters)
{
    return !sample.values.empty() && sample.letters == sample.values.size() &&
           std::all_of(sample.kinds.begin(), sample.kinds.end(), [&](char letter) {
               return letters.find(letter) != std::string_view::npos;
           });
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

} // namespace

void ReadForm(bool isNamed,
              const CoordinateColumn& first,
              const CoordinateColumn& second,
              CoordinatePair& pair)
{
    const SampleValues& x = first.sample;
    const SampleValues& y = second.sample;
    // Rule: under names of degrees values are degrees, also where one in ten is out of range, where
    // one number stands for none, or where latitudes are past 90: that is pointed out.
    const bool isNearly = isNamed && y.IsNearlyWithin(360) && x.IsNearlyWithin(360);
    pair.isDegrees =
        isNearly || (y.IsWithin(90) && x.IsWithin(360) && x.decimals * 2 > x.values.size());
    // Rule: packed degrees go far past 360, where no longitude is.
    pair.isPacked =
        isNamed && !pair.isDegrees && std::max(y.most, -y.least) > 360 && ReadPacking(x, y, pair);
}

std::vector<CoordinatePair> FindNamedPairs(const std::vector<CoordinateColumn>& columns)
{
    std::vector<CoordinatePair> pairs;
    for (std::size_t y = 0; y < columns.size(); ++y) {
        const CoordinateColumn& second = columns[y];
        if (second.axis != EAxis::Latitude && second.axis != EAxis::Y) {
            continue;
        }
        for (std::size_t x = 0; x < columns.size(); ++x) {
            const CoordinateColumn& first = columns[x];
            const EAxis partner = second.axis == EAxis::Y ? EAxis::X : EAxis::Longitude;
            if (first.axis != partner || first.rest != second.rest ||
                !IsMostlyValues(first.sample, first.axis) ||
                !IsMostlyValues(second.sample, second.axis)) {
                continue;
            }
            CoordinatePair pair{x, y, 1, false, true, false};
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
        pairs.begin(), pairs.end(), [](const CoordinatePair& a, const CoordinatePair& b) {
            return a.score > b.score;
        });
    return pairs;
}

std::vector<CoordinatePair> FindPairsByValue(const std::vector<CoordinateColumn>& columns)
{
    std::vector<CoordinatePair> pairs;
    const auto isFine = [](const CoordinateColumn& column) {
        return (column.isNumber || column.isAngle) && column.sample.values.size() >= 3 &&
               column.sample.decimals * 2 > column.sample.values.size() &&
               column.sample.most > column.sample.least && column.sample.IsWithin(180);
    };
    for (std::size_t index = 0; index + 1 < columns.size(); ++index) {
        const CoordinateColumn& first = columns[index];
        const CoordinateColumn& second = columns[index + 1];
        // Rule: letters in the cells tell the axes beyond doubt.
        const bool isFirstY = HasOnlyLetters(first.sample, kNorthSouth);
        const bool isSecondY = HasOnlyLetters(second.sample, kNorthSouth);
        if (isFirstY != isSecondY &&
            (HasOnlyLetters(first.sample, kEastWest) || HasOnlyLetters(second.sample, kEastWest))) {
            const std::size_t y = isFirstY ? index : index + 1;
            return {{index + index + 1 - y, y, 0.9, true, false, false, {}, true}};
        }
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

std::string DescribePair(const Plan& plan, std::size_t x, std::size_t y)
{
    return "X " + QuoteName(plan.columns[x]) + ", Y " + QuoteName(plan.columns[y]);
}

bool SayOtherwise(const Plan& plan, const CoordinatePair& pair)
{
    // Words that name no axis, and nothing else either: `Column 3`, `GPS position 1`.
    const auto isOpen = [](const std::string& token) {
        static constexpr std::string_view kOpen[] = {
            "col",      "column",     "field",  "var",   "variable", "value", "values",
            "val",      "feld",       "spalte", "attr",  "data",     "coord", "coords",
            "position", "coordinate", "pos",    "geo",   "gps",      "loc",   "coordinates",
            "point",    "location",   "wgs",    "wgs84", "unnamed"};
        return token.size() < 2 ||
               std::find(std::begin(kOpen), std::end(kOpen), token) != std::end(kOpen);
    };
    const auto isOtherwise = [&](std::size_t column) {
        const Names::Tokens tokens = Names::Cut(plan.columns[column].name);
        return std::any_of(tokens.begin(), tokens.end(), [&](const std::string& token) {
            return !isOpen(token.substr(0, token.find_first_of("0123456789")));
        });
    };
    return isOtherwise(pair.x) || isOtherwise(pair.y);
}

std::vector<CoordinatePair> FindPairsByLetters(const CoordinateSearch& search,
                                               const Plan& plan,
                                               std::vector<CoordinateColumn>& columns)
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
    std::vector<CoordinatePair> pairs;
    // The degrees are before the letters or after them.
    for (const std::size_t step : {std::size_t{0} - 1, std::size_t{1}}) {
        CoordinatePair pair{eastWest + step, northSouth + step, 0.9, false, false, false};
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
        pair.isPacked = !pair.isDegrees && ReadPacking(x, y, pair);
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

std::vector<CoordinatePair>::const_iterator FindTie(const std::vector<CoordinateColumn>& columns,
                                                    const Plan& plan,
                                                    const std::vector<CoordinatePair>& pairs)
{
    const CoordinatePair& best = pairs.front();
    return std::find_if(pairs.begin() + 1, pairs.end(), [&](const CoordinatePair& pair) {
        const bool isApart =
            pair.x != best.x && pair.y != best.y && pair.x != best.y && pair.y != best.x;
        const bool areEnds = columns[pair.y].axis == columns[best.y].axis &&
                             pair.isDegrees == best.isDegrees &&
                             AreEnds(plan.columns[pair.x].name, plan.columns[best.x].name);
        return isApart && (pair.score == best.score || areEnds);
    });
}

} // namespace Orvane::Import
