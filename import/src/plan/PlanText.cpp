// Plans as JSON, and the names of their enumerations.
#include <Orvane/Import/Plan.h>

#include <array>
#include <nlohmann/json.hpp>

namespace Orvane::Import {

namespace {

/// Keys in the order in which they are set.
using Json = nlohmann::ordered_json;

Json MakeJson(const PlanPlace& place)
{
    return {{"line", place.line}, {"byte", place.byte}, {"text", place.text}};
}

Json MakeJson(const PlanEvidence& evidence)
{
    Json places = Json::array();
    for (const PlanPlace& place : evidence.places) {
        places.push_back(MakeJson(place));
    }
    return {{"what", evidence.what}, {"count", evidence.count}, {"places", places}};
}

template <typename Value>
Json MakeDecision(const PlanDecision<Value>& decision, Json value)
{
    Json evidence = Json::array();
    for (const PlanEvidence& item : decision.evidence) {
        evidence.push_back(MakeJson(item));
    }
    Json rivals = Json::array();
    for (const PlanRival& rival : decision.rivals) {
        rivals.push_back(
            {{"value", rival.value}, {"support", rival.support}, {"against", rival.against}});
    }
    return {{"value", std::move(value)},
            {"confidence", NameOf(decision.confidence)},
            {"decider", NameOf(decision.decider)},
            {"support", decision.support},
            {"evidence", evidence},
            {"rivals", rivals}};
}

Json MakeIndex(const std::optional<std::size_t>& index)
{
    return index ? Json(*index) : Json(nullptr);
}

Json MakeJson(const PlanSeparator& separator)
{
    return {{"kind", NameOf(separator.kind)},
            {"character",
             separator.kind == EPlanSeparation::Character ? std::string(1, separator.character)
                                                          : std::string()},
            {"skipsBlanks", separator.skipsBlanks},
            {"ends", separator.ends},
            {"looseColumn", MakeIndex(separator.looseColumn)}};
}

Json MakeJson(const PlanQuotes& quotes)
{
    return {{"character", quotes.character == 0 ? std::string() : std::string(1, quotes.character)},
            {"hasBackslashes", quotes.hasBackslashes},
            {"openAfterBlanks", quotes.openAfterBlanks},
            {"hasDoubles", quotes.hasDoubles}};
}

Json MakeJson(const PlanBytes& bytes)
{
    return {{"size", bytes.size},
            {"compression", MakeDecision(bytes.compression, bytes.compression.value)},
            {"encoding", MakeDecision(bytes.encoding, bytes.encoding.value)},
            {"hasMark", bytes.hasMark},
            {"positions", bytes.positions},
            {"areLinesQuoted", bytes.areLinesQuoted},
            {"lineEnd", MakeDecision(bytes.lineEnd, NameOf(bytes.lineEnd.value))},
            {"lines", bytes.lines},
            {"feeds", bytes.feeds},
            {"returnsAndFeeds", bytes.returnsAndFeeds},
            {"returns", bytes.returns},
            {"endsWithLineEnd", bytes.endsWithLineEnd},
            {"nuls", bytes.nuls}};
}

Json MakeJson(const PlanShape& shape)
{
    Json lines = Json::array();
    for (const PlanLines& item : shape.lines) {
        lines.push_back({{"kind", NameOf(item.kind)},
                         {"firstLine", item.firstLine},
                         {"lineCount", item.lineCount},
                         {"byte", item.byte},
                         {"text", item.text}});
    }
    Json orders = Json::array();
    for (const PlanOrder& order : shape.orders) {
        orders.push_back({{"line", order.line}, {"columns", order.columns}});
    }
    return {{"separator", MakeDecision(shape.separator, MakeJson(shape.separator.value))},
            {"quotes", MakeDecision(shape.quotes, MakeJson(shape.quotes.value))},
            {"columnCount", MakeDecision(shape.columnCount, shape.columnCount.value)},
            {"hasNames", MakeDecision(shape.hasNames, shape.hasNames.value)},
            {"namesLines", shape.namesLines},
            {"orders", orders},
            {"commentMarks", shape.commentMarks},
            {"shortRowsAreRows", shape.shortRowsAreRows},
            {"mostFields", shape.mostFields},
            {"lines", lines},
            {"firstRowLine", shape.firstRowLine},
            {"firstRowByte", shape.firstRowByte},
            {"lastRowLine", shape.lastRowLine},
            {"rows", shape.rows},
            {"continuations", shape.continuations},
            {"blankLines", shape.blankLines},
            {"shortRows", shape.shortRows},
            {"longRows", shape.longRows},
            {"misfits", shape.misfits},
            {"repairedRows", shape.repairedRows},
            {"isCutShort", shape.isCutShort}};
}

Json MakeJson(const PlanColumn& column)
{
    Json json = {{"index", column.index},
                 {"name", column.name},
                 {"role", NameOf(column.role)},
                 {"type", MakeDecision(column.type, NameOf(column.type.value))},
                 {"spelling", column.spelling},
                 {"values", column.values},
                 {"empties", column.empties},
                 {"nullWords", column.nullWords},
                 {"nullSpellings", column.nullSpellings},
                 {"longest", column.longest},
                 {"form",
                  {{"cells", column.form.cells},
                   {"empties", column.form.empties},
                   {"readings", column.form.readings},
                   {"inAll", column.form.inAll},
                   {"inSome", column.form.inSome},
                   {"longest", column.form.longest}}}};
    if (column.hasRange) {
        json["least"] = column.least;
        json["most"] = column.most;
    }
    return json;
}

/// What is not part of an answer is left out.
Json MakeJson(const PlanAnswer& answer)
{
    Json json = Json::object();
    if (answer.x) {
        json["x"] = *answer.x;
    }
    if (answer.y) {
        json["y"] = *answer.y;
    }
    if (answer.hasNames) {
        json["hasNames"] = *answer.hasNames;
    }
    if (!answer.encoding.empty()) {
        json["encoding"] = answer.encoding;
    }
    return json;
}

} // namespace

std::string ToJson(const Plan& plan)
{
    Json columns = Json::array();
    for (const PlanColumn& column : plan.columns) {
        columns.push_back(MakeJson(column));
    }
    Json questions = Json::array();
    for (const PlanQuestion& question : plan.questions) {
        Json answers = Json::array();
        for (const PlanAnswer& answer : question.answers) {
            answers.push_back(MakeJson(answer));
        }
        questions.push_back(
            {{"code", question.code}, {"text", question.text}, {"answers", answers}});
    }
    Json findings = Json::array();
    for (const PlanFinding& finding : plan.findings) {
        Json places = Json::array();
        for (const PlanPlace& place : finding.places) {
            places.push_back(MakeJson(place));
        }
        findings.push_back({{"code", finding.code},
                            {"isLoss", finding.isLoss},
                            {"text", finding.text},
                            {"count", finding.count},
                            {"places", places}});
    }
    const PlanCoordinates& found = plan.coordinates.value;
    const Json coordinates = {
        {"x", MakeIndex(found.x)},
        {"y", MakeIndex(found.y)},
        {"z", MakeIndex(found.z)},
        {"notation", NameOf(found.notation)},
        {"letterO", found.letterO == 0 ? std::string() : std::string(1, found.letterO)}};
    const Json json = {
        {"path", plan.path},
        {"bytes", MakeJson(plan.bytes)},
        {"shape", MakeJson(plan.shape)},
        {"columns", columns},
        {"coordinates", MakeDecision(plan.coordinates, coordinates)},
        {"coordinateSystem", MakeDecision(plan.coordinateSystem, plan.coordinateSystem.value)},
        {"nullTexts", plan.nullTexts},
        {"isAllText", plan.isAllText},
        {"hasNoPoints", plan.hasNoPoints},
        {"questions", questions},
        {"findings", findings}};
    // Texts of the file need not be UTF-8 whatever the plan says of it.
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string_view NameOf(EPlanType type)
{
    constexpr std::array<std::string_view, 9> kNames = {"text",
                                                        "integer",
                                                        "long integer",
                                                        "double",
                                                        "boolean",
                                                        "date",
                                                        "time",
                                                        "date and time",
                                                        "angle"};
    return kNames.at(static_cast<std::size_t>(type));
}

std::string_view NameOf(EPlanSeparation kind)
{
    constexpr std::array<std::string_view, 4> kNames = {
        "one column", "character", "blanks", "widths"};
    return kNames.at(static_cast<std::size_t>(kind));
}

std::string_view NameOf(EConfidence confidence)
{
    constexpr std::array<std::string_view, 3> kNames = {"certain", "strong", "tie"};
    return kNames.at(static_cast<std::size_t>(confidence));
}

std::string_view NameOf(EDecider decider)
{
    constexpr std::array<std::string_view, 3> kNames = {"given", "found", "default"};
    return kNames.at(static_cast<std::size_t>(decider));
}

std::string_view NameOf(EPlanLineEnd lineEnd)
{
    constexpr std::array<std::string_view, 4> kNames = {"LF", "CRLF", "CR", "mixed"};
    return kNames.at(static_cast<std::size_t>(lineEnd));
}

std::string_view NameOf(EPlanLines lines)
{
    constexpr std::array<std::string_view, 10> kNames = {"preamble",
                                                         "comment",
                                                         "blank",
                                                         "statement of the separator",
                                                         "names",
                                                         "units",
                                                         "rule",
                                                         "repeated names",
                                                         "footer",
                                                         "further table"};
    return kNames.at(static_cast<std::size_t>(lines));
}

std::string_view NameOf(EPlanRole role)
{
    constexpr std::array<std::string_view, 12> kNames = {"attribute",
                                                         "X",
                                                         "Y",
                                                         "Z",
                                                         "name",
                                                         "hemisphere of X",
                                                         "hemisphere of Y",
                                                         "minutes of X",
                                                         "minutes of Y",
                                                         "seconds of X",
                                                         "seconds of Y",
                                                         "trailing separator"};
    return kNames.at(static_cast<std::size_t>(role));
}

std::string_view NameOf(EPlanNotation notation)
{
    constexpr std::array<std::string_view, 6> kNames = {"none",
                                                        "decimal degrees",
                                                        "degrees, minutes, seconds",
                                                        "packed degrees",
                                                        "Cartesian",
                                                        "packed degrees with seconds"};
    return kNames.at(static_cast<std::size_t>(notation));
}

std::string Describe(const PlanSeparator& separator)
{
    switch (separator.kind) {
    case EPlanSeparation::OneColumn:
        return "one column";
    case EPlanSeparation::Blanks:
        return "runs of blanks";
    case EPlanSeparation::Widths: {
        std::string text = "widths";
        std::uint32_t before = 0;
        for (const std::uint32_t end : separator.ends) {
            text += (before == 0 ? " " : ", ") + std::to_string(end - before);
            before = end;
        }
        return text;
    }
    case EPlanSeparation::Character:
        break;
    }
    std::string text = separator.character == ','    ? "comma"
                       : separator.character == ';'  ? "semicolon"
                       : separator.character == '\t' ? "tab"
                       : separator.character == ' '  ? "blank"
                       : separator.character == '|'  ? "bar"
                                                     : std::string("'") + separator.character + "'";
    return separator.skipsBlanks ? text + " and blank" : text;
}

} // namespace Orvane::Import
