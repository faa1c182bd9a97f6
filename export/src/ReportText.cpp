// Reports as JSON, and plans from files.
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/ImportFile.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

namespace Orvane::Import {

namespace {

/// Keys in the order in which they are set.
using Json = nlohmann::ordered_json;

Json MakeJson(const BMBB& box)
{
    if (box.IsEmpty()) {
        return nullptr;
    }
    Json json = {{"minX", box.minX}, {"minY", box.minY}, {"maxX", box.maxX}, {"maxY", box.maxY}};
    if (!std::isnan(box.minZ)) {
        json["minZ"] = box.minZ;
        json["maxZ"] = box.maxZ;
    }
    return json;
}

Json MakeJson(const LedgerLines& lines)
{
    return {{"names", lines.names},
            {"preamble", lines.preamble},
            {"comments", lines.comments},
            {"blanks", lines.blanks},
            {"repeatedNames", lines.repeatedNames},
            {"points", lines.points},
            {"rowsWithoutPoint", lines.rowsWithoutPoint},
            {"continuations", lines.continuations},
            {"badRows", lines.badRows},
            {"footers", lines.footers},
            {"furtherTables", lines.furtherTables}};
}

Json MakeJson(const Ledger& ledger)
{
    Json reasons = Json::object();
    for (const auto& [reason, count] : ledger.badRowsByReason) {
        reasons[reason] = count;
    }
    Json first = Json::array();
    for (const LedgerBadRow& row : ledger.firstBadRows) {
        first.push_back({{"line", row.line},
                         {"byte", row.byte},
                         {"column", row.column},
                         {"reason", row.reason},
                         {"text", row.text}});
    }
    Json columns = Json::array();
    for (const LedgerColumn& column : ledger.columns) {
        columns.push_back({{"name", column.name},
                           {"type", column.type},
                           {"values", column.values},
                           {"empties", column.empties},
                           {"nullWords", column.nullWords},
                           {"nullSpellings", column.nullSpellings},
                           {"keptAsText", column.keptAsText}});
    }
    return {
        {"linesScanned", ledger.linesScanned},
        {"lines", MakeJson(ledger.lines)},
        {"rows", ledger.rows},
        {"points", ledger.points},
        {"rowsWritten", ledger.rowsWritten},
        {"pointsWritten", ledger.pointsWritten},
        {"shortRows", ledger.shortRows},
        {"trailingRows", ledger.trailingRows},
        {"repairedRows", ledger.repairedRows},
        {"outOfRange", ledger.outOfRange},
        {"lineWithoutPoint", ledger.lineWithoutPoint > 0 ? Json(ledger.lineWithoutPoint) : Json()},
        {"badRows", ledger.badRows},
        {"badRowsByReason", reasons},
        {"firstBadRows", first},
        {"rejectedFile", ledger.rejectedFile},
        {"rejectedTable", ledger.rejectedTable},
        {"columns", columns},
        {"extent", MakeJson(ledger.extent)},
        {"rowsByColumn", ledger.rowsByColumn},
        {"imbalances", ledger.imbalances}};
}

Json MakeIndex(const std::optional<std::size_t>& index)
{
    return index ? Json(*index) : Json(nullptr);
}

struct CloseFile
{
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

[[noreturn]] void FailToLoad(const std::string& path, const std::string& cause)
{
    FailureFields fields;
    fields.kind = EFailureKind::Input;
    fields.code = "not-a-plan";
    fields.what = "The plan cannot be read.";
    fields.file = path;
    fields.cause = cause;
    throw ImportFailure(std::move(fields));
}

} // namespace

std::string ToJson(const ImportReport& report)
{
    Json notes = Json::array();
    for (const Note& note : report.notes) {
        notes.push_back({{"code", note.code}, {"text", note.text}});
    }
    Json losses = Json::array();
    for (const Loss& loss : report.written.losses) {
        losses.push_back({{"code", loss.code}, {"count", loss.count}, {"field", loss.field}});
    }
    const bool isBalanced = !report.ledger || report.ledger->imbalances.empty();
    Json json = {{"ok", isBalanced},
                 {"out", report.out},
                 {"format", report.format},
                 {"layer", report.layerName.ToUtf8()},
                 {"crs", report.crs},
                 {"x", MakeIndex(report.columns.x)},
                 {"y", MakeIndex(report.columns.y)},
                 {"z", MakeIndex(report.columns.z)},
                 {"rows", report.read.rows},
                 {"rowsWritten", report.written.rows},
                 {"pointsWritten", report.written.points},
                 {"seconds",
                  {{"plan", report.planSeconds},
                   {"read", report.readSeconds},
                   {"write", report.writeSeconds}}},
                 {"notes", notes},
                 {"losses", losses}};
    json["ledger"] = report.ledger ? MakeJson(*report.ledger) : Json(nullptr);
    json["plan"] = report.plan ? Json::parse(ToJson(*report.plan)) : Json(nullptr);
    // Texts of the file need not be UTF-8.
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Plan LoadPlan(const std::string& path)
{
    constexpr std::size_t kMostBytes = std::size_t{256} << 20U;
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rbe"));
    if (file == nullptr) {
        FailToLoad(path, std::generic_category().message(errno));
    }
    std::string text;
    std::string piece(std::size_t{64} << 10U, '\0');
    for (;;) {
        const std::size_t size = std::fread(piece.data(), 1, piece.size(), file.get());
        text.append(piece, 0, size);
        if (size < piece.size()) {
            break;
        }
        if (text.size() > kMostBytes) {
            FailToLoad(path, "It is larger than 256 MiB.");
        }
    }
    if (std::ferror(file.get()) != 0) {
        FailToLoad(path, std::generic_category().message(errno));
    }
    try {
        return PlanFromJson(text);
    } catch (const ImportFailure& failure) {
        FailureFields fields = failure.GetFields();
        fields.file = path;
        throw ImportFailure(std::move(fields));
    }
}

} // namespace Orvane::Import
