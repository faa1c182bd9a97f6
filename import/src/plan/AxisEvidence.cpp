// Places of the table of time zones, and the order of receivers.
#include "AxisEvidence.h"

#include "values/FoldedCell.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <map>
#include <string_view>
#include <utility>

namespace Orvane::Import {

namespace {

constexpr const char* kZoneTable = "/usr/share/zoneinfo/zone.tab";
constexpr double kNearCity = 3;
constexpr double kNearZone = 15;

struct Place
{
    double latitude = 0;
    double longitude = 0;
};

/// Places by what a cell may say.
struct Places
{
    std::map<std::string, Place, std::less<>> zones;
    std::map<std::string, std::vector<Place>, std::less<>> countries;
    std::map<std::string, std::vector<Place>, std::less<>> cities; ///< in lower case
};

std::string ToLower(std::string_view text)
{
    std::string folded(text);
    std::transform(folded.begin(), folded.end(), folded.begin(), [](char byte) {
        return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    });
    return folded;
}

/// "+513030" or "-0000731": a sign, then degrees, minutes and, with six digits or more, seconds.
double ReadAngle(std::string_view text, std::size_t degreeDigits)
{
    const auto number = [&](std::size_t from, std::size_t count) {
        int value = 0;
        if (from + count <= text.size()) {
            std::from_chars(text.data() + from, text.data() + from + count, value);
        }
        return value;
    };
    const double value = number(1, degreeDigits) + number(1 + degreeDigits, 2) / 60.0 +
                         number(3 + degreeDigits, 2) / 3600.0;
    return text[0] == '-' ? -value : value;
}

/// Lines are "GB<tab>+513030-0000731<tab>Europe/London", with a remark after another tab.
Places ReadPlaces()
{
    Places places;
    std::ifstream file(kZoneTable);
    std::string line;
    while (std::getline(file, line)) {
        const std::size_t angles = line.find('\t');
        const std::size_t zone =
            angles == std::string::npos ? std::string::npos : line.find('\t', angles + 1);
        if (line.empty() || line[0] == '#' || zone == std::string::npos) {
            continue;
        }
        const std::string_view text = std::string_view(line).substr(angles + 1, zone - angles - 1);
        const std::size_t second = text.find_first_of("+-", 1);
        if (second == std::string_view::npos) {
            continue;
        }
        const Place place{ReadAngle(text.substr(0, second), 2), ReadAngle(text.substr(second), 3)};
        const std::string name = line.substr(zone + 1, line.find('\t', zone + 1) - zone - 1);
        places.zones.emplace(name, place);
        places.countries[line.substr(0, angles)].push_back(place);
        std::string city = ToLower(std::string_view(name).substr(name.rfind('/') + 1));
        std::replace(city.begin(), city.end(), '_', ' ');
        places.cities[city].push_back(place);
    }
    return places;
}

/// Whether a point is near one of the places.
bool IsNear(double latitude, double longitude, const std::vector<Place>& places, double limit)
{
    return std::any_of(places.begin(), places.end(), [&](const Place& place) {
        const double across = std::abs(longitude - place.longitude);
        return std::abs(latitude - place.latitude) <= limit &&
               std::min(across, 360 - across) <= limit;
    });
}

/// Rows whose cell names a place, and how many of them are near it under each order.
struct Tally
{
    std::uint64_t named = 0;
    std::uint64_t firstIsX = 0;
    std::uint64_t firstIsY = 0;

    void Add(double first, double second, const std::vector<Place>& places, double limit)
    {
        ++named;
        firstIsX += IsNear(second, first, places, limit) ? 1U : 0U;
        firstIsY += IsNear(first, second, places, limit) ? 1U : 0U;
    }

    [[nodiscard]] std::optional<AxisEvidence> Decide(std::string what) const
    {
        constexpr std::uint64_t kFewest = 3;
        const auto isMost = [&](std::uint64_t count) { return count * 5 >= named * 4; };
        const auto isFew = [&](std::uint64_t count) { return count * 5 <= named; };
        if (named >= kFewest && isMost(firstIsX) && isFew(firstIsY)) {
            return AxisEvidence{true, std::move(what), firstIsX};
        }
        if (named >= kFewest && isMost(firstIsY) && isFew(firstIsX)) {
            return AxisEvidence{false, std::move(what), firstIsY};
        }
        return std::nullopt;
    }
};

std::optional<AxisEvidence> FindPlaces(const AxisColumns& axes,
                                       const std::vector<Scan::SampleRow>& rows,
                                       const std::vector<PlanColumn>& columns)
{
    const Places places = ReadPlaces();
    for (const PlanColumn& column : columns) {
        if (column.type.value != EPlanType::Text || places.zones.empty()) {
            continue;
        }
        Tally zones;
        Tally countries;
        Tally cities;
        std::uint64_t filled = 0;
        for (std::size_t row = 0; row < rows.size(); ++row) {
            const double first = axes.firstValues[row];
            const double second = axes.secondValues[row];
            if (column.index >= rows[row].Size() || std::isnan(first) || std::isnan(second)) {
                continue;
            }
            const std::string_view cell = Values::Trim(rows[row].Cell(column.index));
            filled += cell.empty() ? 0U : 1U;
            if (const auto zone = places.zones.find(cell); zone != places.zones.end()) {
                zones.Add(first, second, {zone->second}, kNearZone);
            }
            if (const auto country = places.countries.find(cell);
                country != places.countries.end()) {
                countries.Add(first, second, country->second, kNearZone);
            }
            if (const auto city = places.cities.find(ToLower(cell)); city != places.cities.end()) {
                cities.Add(first, second, city->second, kNearCity);
            }
        }
        std::optional<AxisEvidence> found = zones.Decide("time zones of the rows");
        // Two letters say much else, too: all cells must be codes.
        if (!found && countries.named == filled) {
            found = countries.Decide("country codes of the rows");
        }
        if (!found) {
            found = cities.Decide("rows that name the city of a time zone");
        }
        if (found) {
            return found;
        }
    }
    return std::nullopt;
}

bool IsWhole(const PlanColumn& column, double least, double most)
{
    return column.type.value == EPlanType::Integer32 && column.hasRange && column.least >= least &&
           column.most <= most;
}

/// Whether the columns directly before one are a date and a time.
bool FollowsTime(const std::vector<PlanColumn>& columns, std::size_t index)
{
    constexpr std::size_t kParts = 6;
    if (index >= 2 && columns[index - 2].type.value == EPlanType::Date &&
        columns[index - 1].type.value == EPlanType::Time) {
        return true;
    }
    if (index < kParts) {
        return false;
    }
    const PlanColumn* const parts = &columns[index - kParts];
    const bool hasSeconds = parts[5].hasRange && parts[5].least >= 0 && parts[5].most < 61;
    return IsWhole(parts[0], 1970, 2100) && IsWhole(parts[1], 1, 12) && IsWhole(parts[2], 1, 31) &&
           IsWhole(parts[3], 0, 23) && IsWhole(parts[4], 0, 59) && hasSeconds;
}

} // namespace

std::optional<AxisEvidence> FindAxisEvidence(const AxisColumns& axes,
                                             const std::vector<Scan::SampleRow>& rows,
                                             const std::vector<PlanColumn>& columns,
                                             bool hasNames)
{
    std::optional<AxisEvidence> found = FindPlaces(axes, rows, columns);
    if (!found && !hasNames && FollowsTime(columns, std::min(axes.first, axes.second))) {
        found = AxisEvidence{axes.first > axes.second,
                             "date and time before them: receivers write the latitude first",
                             rows.size()};
    }
    return found;
}

} // namespace Orvane::Import
