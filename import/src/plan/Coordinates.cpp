// Pairs of columns are scored; what is left after names and values is a question.
#include "Coordinates.h"

#include "AxisEvidence.h"
#include "CoordinateChecks.h"
#include "CoordinateColumns.h"
#include "CoordinatePairs.h"
#include "CoordinateSystem.h"
#include "Given.h"
#include "Names.h"
#include "PairCells.h"
#include "Systems.h"
#include "values/FoldedCell.h"

#include <Orvane/BNumbers.h>
#include <Orvane/Import/Failure.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Orvane::Import {

namespace {

using Names::EAxis;

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
void FindLetterO(const CoordinateSearch& search,
                 const std::vector<CoordinateColumn>& columns,
                 Plan& plan)
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
void FindMinutes(const std::vector<CoordinateColumn>& columns, Plan& plan)
{
    for (std::size_t index = 0; index < columns.size(); ++index) {
        const CoordinateColumn& column = columns[index];
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

void FindHeight(const std::vector<CoordinateColumn>& columns, Plan& plan)
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

void Settle(const CoordinateSearch& search,
            const std::vector<CoordinateColumn>& columns,
            const CoordinatePair& pair,
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
    const bool hasSeconds = pair.packing == Values::EPacking::Seconds;
    found.notation = pair.isPacked
                         ? hasSeconds ? EPlanNotation::PackedSeconds : EPlanNotation::Packed
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

/// Without names the first two columns of decimals are offered in either order, as surveyors write
/// them: also after a number of the point.
void AskForCoordinates(const CoordinateSearch& search, Plan& plan)
{
    std::vector<PlanAnswer> answers;
    const auto isDouble = [&](std::size_t index) {
        return index < plan.columns.size() && plan.columns[index].type.value == EPlanType::Double;
    };
    const std::size_t first = isDouble(0) ? 0 : 1;
    if (!search.hasNames && isDouble(first) && isDouble(first + 1)) {
        answers.push_back({first, first + 1, {}, {}});
        answers.push_back({first + 1, first, {}, {}});
    }
    plan.coordinates.decider = EDecider::Default;
    const std::string pairs = DescribePairCells(search.rows, plan);
    plan.questions.push_back(
        {"coordinates",
         "No columns of coordinates were found." + (pairs.empty() ? std::string() : " " + pairs),
         answers});
}

std::string ToText(double value)
{
    char buffer[32];
    return {buffer, Orvane::BNumbers::FormatShortest(value, buffer)};
}

/// Asks about numbers under names of degrees that cannot be degrees.
void AskWhetherCartesian(const CoordinateSearch& search, const CoordinatePair& pair, Plan& plan)
{
    const auto describe = [&](std::size_t index) {
        const PlanColumn& column = plan.columns[index];
        const Scan::NumberRange range = search.facts[index].RangeIn(NotationOf(column));
        return QuoteName(column) +
               (range.isKnown ? " (" + ToText(range.least) + " to " + ToText(range.most) + ")"
                              : "");
    };
    plan.coordinates.confidence = EConfidence::Tie;
    plan.questions.push_back({"coordinates",
                              "The columns " + describe(pair.x) + " and " + describe(pair.y) +
                                  " are named as degrees, but their values are none. Given by --x "
                                  "and --y, they are the metres of a map.",
                              {{pair.x, pair.y, {}, {}}}});
}

/// Asks which of the first two pairs it is.
void AskWhichPair(const std::vector<CoordinatePair>& pairs, Plan& plan)
{
    plan.coordinates.confidence = EConfidence::Tie;
    plan.questions.push_back(
        {"coordinates",
         "Several pairs of columns can be the coordinates.",
         {{pairs[0].x, pairs[0].y, {}, {}}, {pairs[1].x, pairs[1].y, {}, {}}}});
}

/// Asks where the names are one less than the columns, and several texts may have the second word
/// that has no name: the names of the coordinates may then belong to the columns before.
void AskWhichNames(const CoordinateSearch& search, const CoordinatePair& best, Plan& plan)
{
    const auto isOpen = [&](std::size_t column) {
        return column > search.openAfter && column <= search.openTo;
    };
    if (!isOpen(best.x) && !isOpen(best.y)) {
        return;
    }
    const std::size_t x = best.x - (isOpen(best.x) ? 1 : 0);
    const std::size_t y = best.y - (isOpen(best.y) ? 1 : 0);
    plan.coordinates.confidence = EConfidence::Tie;
    plan.questions.push_back({"coordinates",
                              "The names line has one cell less than the rows, so that which "
                              "columns are the coordinates cannot be told by their names.",
                              {{best.x, best.y, {}, {}}, {x, y, {}, {}}}});
}

/// Of two pairs of the same columns the one that places in the rows, or their order, speak for.
std::optional<CoordinatePair>
ChooseOrder(const CoordinateSearch& search, const std::vector<CoordinatePair>& pairs, Plan& plan)
{
    if (pairs.size() != 2 || pairs[0].x != pairs[1].y || pairs[0].y != pairs[1].x) {
        return std::nullopt;
    }
    const CoordinatePair& pair = pairs[0];
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
    const CoordinatePair& other = pairs[found->isFirstX ? 1 : 0];
    plan.coordinates.rivals.push_back(
        {DescribePair(plan, other.x, other.y), 0, found->what + " contradict it"});
    return pairs[found->isFirstX ? 0 : 1];
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
void KeepGiven(const PlanRequest& request, const Plan& plan, std::vector<CoordinatePair>& pairs)
{
    const auto keep =
        [&](const std::string& given, const char* axis, std::size_t CoordinatePair::*column) {
            if (given.empty()) {
                return;
            }
            const std::size_t wanted = FindGivenColumn(plan, given, axis);
            pairs.erase(
                std::remove_if(pairs.begin(),
                               pairs.end(),
                               [&](const CoordinatePair& pair) { return pair.*column != wanted; }),
                pairs.end());
        };
    keep(request.x, "X", &CoordinatePair::x);
    keep(request.y, "Y", &CoordinatePair::y);
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
              std::vector<CoordinateColumn>& columns,
              const PlanRequest& request,
              Plan& plan)
{
    if (request.x.empty() || request.y.empty()) {
        return false;
    }
    CoordinatePair pair;
    pair.x = FindGivenColumn(plan, request.x, "X");
    pair.y = FindGivenColumn(plan, request.y, "Y");
    if (pair.x == pair.y) {
        FailAsEqual(plan);
    }
    CoordinateColumn& first = columns[pair.x];
    CoordinateColumn& second = columns[pair.y];
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

void Decide(const CoordinateSearch& search, const PlanRequest& request, Plan& plan)
{
    std::vector<CoordinateColumn> columns;
    // Without names, and for columns that are given, all columns of numbers count.
    const bool areNamesEnough = search.hasNames && request.x.empty() && request.y.empty();
    TakeColumns(search, plan, !areNamesEnough, columns);
    if (UseGiven(search, columns, request, plan)) {
        DecideSystem(columns, false, plan);
        return;
    }
    std::vector<CoordinatePair> pairs =
        search.hasNames ? FindNamedPairs(columns) : std::vector<CoordinatePair>{};
    KeepGiven(request, plan, pairs);
    if (!pairs.empty()) {
        const CoordinatePair best = pairs.front();
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
        } else if (plan.coordinates.value.notation == EPlanNotation::Cartesian &&
                   columns[best.y].axis == EAxis::Latitude) {
            AskWhetherCartesian(search, best, plan);
        } else {
            AskWhichNames(search, best, plan);
        }
        DecideSystem(columns, false, plan);
        return;
    }
    TakeColumns(search, plan, true, columns);
    pairs = FindPairsByLetters(search, plan, columns);
    KeepGiven(request, plan, pairs);
    if (!pairs.empty()) {
        const CoordinatePair& best = pairs.front();
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
        AskForCoordinates(search, plan);
        return;
    }
    const std::optional<CoordinatePair> ordered = ChooseOrder(search, pairs, plan);
    if (ordered) {
        pairs = {*ordered};
    }
    const CoordinatePair& best = pairs.front();
    // Rule: values within degrees under names of something else prove nothing.
    const bool isDoubtful =
        search.hasNames && !ordered && !best.hasLetters && SayOtherwise(plan, best);
    plan.coordinates.evidence.push_back(
        {best.hasLetters ? "letters of hemispheres in the cells"
                         : "neighbours with many decimals, values within degrees",
         columns[best.x].sample.values.size(),
         {}});
    plan.coordinates.confidence = EConfidence::Strong;
    if (pairs.size() > 1 || isDoubtful) {
        plan.coordinates.confidence = EConfidence::Tie;
        std::vector<PlanAnswer> answers;
        answers.reserve(pairs.size());
        for (const CoordinatePair& pair : pairs) {
            answers.push_back({pair.x, pair.y, {}, {}});
        }
        plan.questions.push_back(
            {"axes",
             isDoubtful ? "Two columns can be degrees by their values, but not by their names."
                        : "Two columns can be degrees, and either can be the longitude.",
             answers});
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
