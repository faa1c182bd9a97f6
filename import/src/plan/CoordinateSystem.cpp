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
NamedSystem ReadProjectionFile(const std::string& path, std::string& file)
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
    const SampleValues& x = columns[*found.x].sample;
    const bool isNamed = columns[*found.y].axis == EAxis::Latitude;
    const bool hasLetters =
        x.letters > 0 ||
        std::any_of(plan.columns.begin(), plan.columns.end(), [](const PlanColumn& column) {
            return column.role == EPlanRole::XHemisphere;
        });
    const bool isPast = x.most > 90 || x.least < -90;
    const bool areDegrees = isNamed || hasLetters || isPast || isPlaced;
    std::string file;
    const NamedSystem stated = ReadProjectionFile(plan.path, file);
    if (!stated.name.empty() && !stated.isGeographic && !areDegrees &&
        found.notation == EPlanNotation::Decimal) {
        // Small numbers alone are no degrees where the file beside them says metres.
        plan.coordinates.value.notation = EPlanNotation::Cartesian;
    }
    const bool isCartesian = found.notation == EPlanNotation::Cartesian;
    if (!stated.name.empty() && stated.isGeographic != isCartesian) {
        system.value = stated.name;
        system.evidence.push_back({"the file " + file, 1, {}});
        return;
    }
    if (!file.empty()) {
        // Rule: a system is never put on coordinates that it cannot have.
        plan.findings.push_back(
            {"projection-file",
             false,
             stated.name.empty()
                 ? "The file " + file + " names no system of EPSG."
                 : "The file " + file + " names " + stated.name + ", a system of " +
                       (stated.isGeographic ? "degrees, which X and Y are not"
                                            : "metres or feet, and X and Y are degrees") +
                       ": it is not applied.",
             1,
             {}});
    }
    if (isCartesian) {
        system.value = "undefined Cartesian";
        system.decider = EDecider::Default;
        system.confidence = EConfidence::Strong;
        system.evidence.push_back(
            {file.empty() ? "no file .prj, and no degrees" : "no degrees", 0, {}});
        return;
    }
    if (areDegrees) {
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
