// A .prj file, names, letters, ranges, and the areas of projected systems.
#include "CoordinateSystem.h"

#include "CoordinateColumns.h"
#include "CoordinatePairs.h"
#include "Systems.h"
#include "values/FoldedCell.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import {

namespace {

using Names::EAxis;

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
    file = beside.filename().string();
    return IdentifySystem(text);
}

/// The longest piece of the rows' texts in which places are looked for.
constexpr std::size_t kMostTexts = std::size_t{1} << 20U;

} // namespace

void DecideSystem(const std::vector<CoordinateColumn>& columns, bool isPlaced, Plan& plan)
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
        system.evidence.push_back(
            {file.empty() ? "no file .prj, and no degrees"
                          : "the file " + file + " names no system of EPSG, and no degrees",
             0,
             {}});
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

void RankSystemsOf(const CoordinateSearch& search, Plan& plan)
{
    const PlanCoordinates& found = plan.coordinates.value;
    if (!found.x || plan.coordinateSystem.value != "undefined Cartesian") {
        return;
    }
    const std::vector<double> x = ValuesByRow(search.rows, plan.columns[*found.x]);
    const std::vector<double> y = ValuesByRow(search.rows, plan.columns[*found.y]);
    std::vector<CoordinateColumn> columns;
    TakeColumns(search, plan, false, columns);
    std::vector<double> longitudes;
    std::vector<double> latitudes;
    for (const CoordinatePair& pair : FindNamedPairs(columns)) {
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

} // namespace Orvane::Import
