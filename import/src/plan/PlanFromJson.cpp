// Plans from their JSON.
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Plan.h>

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <type_traits>
#include <utility>

namespace Orvane::Import {

namespace {

using Json = nlohmann::ordered_json;

[[noreturn]] void Fail(std::string cause, const std::string& key, std::uint64_t line)
{
    FailureFields fields;
    fields.kind = EFailureKind::Input;
    fields.code = "not-a-plan";
    fields.what = "This is no plan.";
    fields.cause = std::move(cause);
    fields.advice = "A plan is the JSON that a scan of a file gave.";
    fields.subject = key;
    fields.line = line;
    throw ImportFailure(std::move(fields));
}

/// An object of the plan and where it stands, for messages.
class Node
{
public:
    Node(const Json& json, std::string path)
        : m_json(json)
        , m_path(std::move(path))
    {
        if (!json.is_object()) {
            FailHere("an object");
        }
    }

    [[nodiscard]] bool Has(const char* key) const { return m_json.contains(key); }

    [[nodiscard]] const Json& Value(const char* key) const
    {
        const auto found = m_json.find(key);
        if (found == m_json.end()) {
            Fail("The key " + PathOf(key) + " is missing.", PathOf(key), 0);
        }
        return *found;
    }

    [[nodiscard]] Node Object(const char* key) const { return {Value(key), PathOf(key)}; }

    void Get(const char* key, std::string& value) const
    {
        if (!Value(key).is_string()) {
            FailAt(key, "a text");
        }
        value = Value(key).get<std::string>();
    }

    void Get(const char* key, bool& value) const
    {
        if (!Value(key).is_boolean()) {
            FailAt(key, "true or false");
        }
        value = Value(key).get<bool>();
    }

    /// A key that plans of earlier versions lack.
    void GetIfThere(const char* key, bool& value) const
    {
        if (Has(key)) {
            Get(key, value);
        }
    }

    void Get(const char* key, double& value) const
    {
        // A value that is not finite is null in JSON.
        if (!Value(key).is_number() && !Value(key).is_null()) {
            FailAt(key, "a number");
        }
        value = Value(key).is_null() ? std::numeric_limits<double>::quiet_NaN()
                                     : Value(key).get<double>();
    }

    template <typename Integer, std::enable_if_t<std::is_unsigned_v<Integer>, int> = 0>
    void Get(const char* key, Integer& value) const
    {
        value = ToUnsigned<Integer>(Value(key), PathOf(key));
    }

    void Get(const char* key, char& value) const
    {
        std::string text;
        Get(key, text);
        if (text.size() > 1) {
            FailAt(key, "one character or none");
        }
        value = text.empty() ? '\0' : text[0];
    }

    void Get(const char* key, std::optional<std::size_t>& value) const
    {
        value.reset();
        if (Has(key) && !Value(key).is_null()) {
            value = ToUnsigned<std::size_t>(Value(key), PathOf(key));
        }
    }

    void Get(const char* key, std::vector<std::string>& values) const
    {
        values = ToTexts(Value(key), PathOf(key));
    }

    template <typename Integer, std::enable_if_t<std::is_unsigned_v<Integer>, int> = 0>
    void Get(const char* key, std::vector<Integer>& values) const
    {
        values.clear();
        ForEachValue(key, [&](const Json& item, const std::string& path) {
            values.push_back(ToUnsigned<Integer>(item, path));
        });
    }

    /// @param count how many values the enumeration has
    template <typename Enumeration>
    void GetName(const char* key, std::size_t count, Enumeration& value) const
    {
        std::string text;
        Get(key, text);
        for (std::size_t index = 0; index < count; ++index) {
            if (NameOf(static_cast<Enumeration>(index)) == text) {
                value = static_cast<Enumeration>(index);
                return;
            }
        }
        FailAt(key, "a word of a plan");
    }

    template <typename Visit>
    void ForEachValue(const char* key, const Visit& visit) const
    {
        const Json& list = Value(key);
        if (!list.is_array()) {
            FailAt(key, "a list");
        }
        std::size_t index = 0;
        for (const Json& item : list) {
            visit(item, PathOf(key) + "[" + std::to_string(index++) + "]");
        }
    }

    template <typename Visit>
    void ForEach(const char* key, const Visit& visit) const
    {
        ForEachValue(key,
                     [&](const Json& item, const std::string& path) { visit(Node(item, path)); });
    }

    /// What a plan can do without is read only when it is there.
    template <typename Visit>
    void ForEachIfThere(const char* key, const Visit& visit) const
    {
        if (Has(key)) {
            ForEach(key, visit);
        }
    }

    static std::vector<std::string> ToTexts(const Json& list, const std::string& path)
    {
        std::vector<std::string> texts;
        const bool isTexts =
            list.is_array() && std::all_of(list.begin(), list.end(), [](const Json& item) {
                return item.is_string();
            });
        if (!isTexts) {
            Fail("The key " + path + " must hold a list of texts.", path, 0);
        }
        for (const Json& item : list) {
            texts.push_back(item.get<std::string>());
        }
        return texts;
    }

    [[noreturn]] void FailAt(const char* key, const char* expected) const
    {
        Fail("The key " + PathOf(key) + " must hold " + expected + ".", PathOf(key), 0);
    }

private:
    template <typename Integer>
    static Integer ToUnsigned(const Json& item, const std::string& path)
    {
        // Parsed numbers without a sign are unsigned.
        const bool isInteger = item.is_number_unsigned() ||
                               (item.is_number_integer() && item.get<std::int64_t>() >= 0);
        if (!isInteger || item.get<std::uint64_t>() > std::uint64_t{static_cast<Integer>(-1)}) {
            Fail("The key " + path + " must hold a whole number.", path, 0);
        }
        return static_cast<Integer>(item.get<std::uint64_t>());
    }

    [[nodiscard]] std::string PathOf(const char* key) const
    {
        return m_path.empty() ? key : m_path + "." + key;
    }

    [[noreturn]] void FailHere(const char* expected) const
    {
        Fail((m_path.empty() ? std::string("The plan") : "The key " + m_path) + " must be " +
                 expected + ".",
             m_path,
             0);
    }

    const Json& m_json;
    std::string m_path;
};

std::vector<PlanPlace> ReadPlaces(const Node& node)
{
    std::vector<PlanPlace> places;
    node.ForEachIfThere("places", [&](const Node& item) {
        PlanPlace& place = places.emplace_back();
        item.Get("line", place.line);
        item.Get("byte", place.byte);
        item.Get("text", place.text);
    });
    return places;
}

/// @param readValue reads the decision's value. @return the decision's node
template <typename Value, typename ReadValue>
void ReadDecision(const Node& parent,
                  const char* key,
                  PlanDecision<Value>& decision,
                  const ReadValue& readValue)
{
    const Node node = parent.Object(key);
    readValue(node, decision.value);
    node.GetName("confidence", 3, decision.confidence);
    node.GetName("decider", 3, decision.decider);
    node.Get("support", decision.support);
    node.ForEachIfThere("evidence", [&](const Node& item) {
        PlanEvidence& evidence = decision.evidence.emplace_back();
        item.Get("what", evidence.what);
        item.Get("count", evidence.count);
        evidence.places = ReadPlaces(item);
    });
    node.ForEachIfThere("rivals", [&](const Node& item) {
        PlanRival& rival = decision.rivals.emplace_back();
        item.Get("value", rival.value);
        item.Get("support", rival.support);
        item.Get("against", rival.against);
    });
}

template <typename Value>
void ReadPlainDecision(const Node& parent, const char* key, PlanDecision<Value>& decision)
{
    ReadDecision(
        parent, key, decision, [](const Node& node, Value& value) { node.Get("value", value); });
}

void ReadBytes(const Node& node, PlanBytes& bytes)
{
    node.Get("size", bytes.size);
    ReadPlainDecision(node, "compression", bytes.compression);
    ReadPlainDecision(node, "encoding", bytes.encoding);
    node.Get("hasMark", bytes.hasMark);
    node.Get("positions", bytes.positions);
    node.GetIfThere("areLinesQuoted", bytes.areLinesQuoted);
    ReadDecision(node, "lineEnd", bytes.lineEnd, [](const Node& decision, EPlanLineEnd& value) {
        decision.GetName("value", 4, value);
    });
    node.Get("lines", bytes.lines);
    node.Get("feeds", bytes.feeds);
    node.Get("returnsAndFeeds", bytes.returnsAndFeeds);
    node.Get("returns", bytes.returns);
    node.Get("endsWithLineEnd", bytes.endsWithLineEnd);
    node.Get("nuls", bytes.nuls);
}

void ReadSeparator(const Node& node, PlanSeparator& separator)
{
    node.GetName("kind", 4, separator.kind);
    node.Get("character", separator.character);
    node.Get("skipsBlanks", separator.skipsBlanks);
    node.Get("ends", separator.ends);
    node.Get("looseColumn", separator.looseColumn);
    const bool isCharacter = separator.kind == EPlanSeparation::Character;
    if (isCharacter && (separator.character == 0 || separator.character == '\n')) {
        node.FailAt("character", "one character");
    }
    if (!std::is_sorted(separator.ends.begin(), separator.ends.end())) {
        node.FailAt("ends", "rising numbers");
    }
}

void ReadShape(const Node& node, PlanShape& shape)
{
    ReadDecision(node, "separator", shape.separator, [](const Node& item, PlanSeparator& value) {
        ReadSeparator(item.Object("value"), value);
    });
    ReadDecision(node, "quotes", shape.quotes, [](const Node& item, PlanQuotes& value) {
        const Node quotes = item.Object("value");
        quotes.Get("character", value.character);
        quotes.Get("hasBackslashes", value.hasBackslashes);
        quotes.GetIfThere("openAfterBlanks", value.openAfterBlanks);
        quotes.GetIfThere("hasDoubles", value.hasDoubles);
    });
    ReadPlainDecision(node, "columnCount", shape.columnCount);
    ReadPlainDecision(node, "hasNames", shape.hasNames);
    node.ForEachValue("namesLines", [&](const Json& item, const std::string& path) {
        shape.namesLines.push_back(Node::ToTexts(item, path));
    });
    node.ForEach("orders", [&](const Node& item) {
        PlanOrder& order = shape.orders.emplace_back();
        item.Get("line", order.line);
        item.Get("columns", order.columns);
        std::vector<std::size_t> sorted = order.columns;
        std::sort(sorted.begin(), sorted.end());
        for (std::size_t index = 0; index < sorted.size(); ++index) {
            if (sorted[index] != index) {
                item.FailAt("columns", "every column once");
            }
        }
    });
    node.Get("commentMarks", shape.commentMarks);
    node.Get("shortRowsAreRows", shape.shortRowsAreRows);
    node.Get("mostFields", shape.mostFields);
    node.ForEach("lines", [&](const Node& item) {
        PlanLines& lines = shape.lines.emplace_back();
        item.GetName("kind", 10, lines.kind);
        item.Get("firstLine", lines.firstLine);
        item.Get("lineCount", lines.lineCount);
        item.Get("byte", lines.byte);
        item.Get("text", lines.text);
    });
    node.Get("firstRowLine", shape.firstRowLine);
    node.Get("firstRowByte", shape.firstRowByte);
    node.Get("lastRowLine", shape.lastRowLine);
    node.Get("rows", shape.rows);
    node.Get("continuations", shape.continuations);
    node.Get("blankLines", shape.blankLines);
    node.Get("shortRows", shape.shortRows);
    node.Get("longRows", shape.longRows);
    node.Get("misfits", shape.misfits);
    node.Get("repairedRows", shape.repairedRows);
    node.Get("isCutShort", shape.isCutShort);
}

void ReadColumn(const Node& node, PlanColumn& column)
{
    node.Get("index", column.index);
    node.Get("name", column.name);
    node.GetName("role", 12, column.role);
    ReadDecision(node, "type", column.type, [](const Node& item, EPlanType& value) {
        item.GetName("value", 9, value);
    });
    node.Get("spelling", column.spelling);
    node.Get("values", column.values);
    node.Get("empties", column.empties);
    node.Get("nullWords", column.nullWords);
    node.Get("nullSpellings", column.nullSpellings);
    node.Get("longest", column.longest);
    const Node form = node.Object("form");
    form.Get("cells", column.form.cells);
    form.Get("empties", column.form.empties);
    form.Get("readings", column.form.readings);
    form.Get("inAll", column.form.inAll);
    form.Get("inSome", column.form.inSome);
    form.Get("longest", column.form.longest);
    column.hasRange = node.Has("least") && node.Has("most");
    if (column.hasRange) {
        node.Get("least", column.least);
        node.Get("most", column.most);
    }
}

void ReadCoordinates(const Node& node, PlanCoordinates& coordinates)
{
    node.Get("x", coordinates.x);
    node.Get("y", coordinates.y);
    node.Get("z", coordinates.z);
    node.GetName("notation", 5, coordinates.notation);
    node.Get("letterO", coordinates.letterO);
}

PlanAnswer ReadAnswer(const Node& node)
{
    PlanAnswer answer;
    node.Get("x", answer.x);
    node.Get("y", answer.y);
    if (node.Has("hasNames")) {
        bool hasNames = false;
        node.Get("hasNames", hasNames);
        answer.hasNames = hasNames;
    }
    if (node.Has("encoding")) {
        node.Get("encoding", answer.encoding);
    }
    return answer;
}

/// What the parts say of each other.
void CheckWhole(const Node& node, const Plan& plan)
{
    const std::size_t columns = plan.columns.size();
    if (plan.shape.columnCount.value != columns) {
        node.FailAt("columns", "as many columns as shape.columnCount says");
    }
    for (std::size_t index = 0; index < columns; ++index) {
        if (plan.columns[index].index != index) {
            node.FailAt("columns", "the columns in their order");
        }
    }
    const PlanCoordinates& found = plan.coordinates.value;
    for (const std::optional<std::size_t>& index : {found.x, found.y, found.z}) {
        if (index && *index >= columns) {
            node.FailAt("coordinates", "columns of the file");
        }
    }
    if (found.x.has_value() != found.y.has_value()) {
        node.FailAt("coordinates", "both X and Y, or none of them");
    }
    for (const PlanOrder& order : plan.shape.orders) {
        if (order.columns.size() != columns) {
            node.FailAt("shape", "orders of all columns");
        }
    }
}

std::uint64_t LineOf(std::string_view json, std::size_t byte)
{
    const std::string_view before = json.substr(0, std::min(byte, json.size()));
    return 1 + static_cast<std::uint64_t>(std::count(before.begin(), before.end(), '\n'));
}

} // namespace

Plan PlanFromJson(std::string_view json)
{
    Json parsed;
    try {
        parsed = Json::parse(json.begin(), json.end());
    } catch (const Json::parse_error& error) {
        Fail("It is not valid JSON.", {}, LineOf(json, error.byte));
    }
    const Node node(parsed, {});
    Plan plan;
    node.Get("path", plan.path);
    ReadBytes(node.Object("bytes"), plan.bytes);
    ReadShape(node.Object("shape"), plan.shape);
    node.ForEach("columns",
                 [&](const Node& item) { ReadColumn(item, plan.columns.emplace_back()); });
    ReadDecision(
        node, "coordinates", plan.coordinates, [](const Node& item, PlanCoordinates& value) {
            ReadCoordinates(item.Object("value"), value);
        });
    ReadPlainDecision(node, "coordinateSystem", plan.coordinateSystem);
    node.Get("nullTexts", plan.nullTexts);
    node.Get("isAllText", plan.isAllText);
    node.Get("hasNoPoints", plan.hasNoPoints);
    node.ForEach("questions", [&](const Node& item) {
        PlanQuestion& question = plan.questions.emplace_back();
        item.Get("code", question.code);
        item.Get("text", question.text);
        item.ForEach("answers",
                     [&](const Node& answer) { question.answers.push_back(ReadAnswer(answer)); });
    });
    node.ForEach("findings", [&](const Node& item) {
        PlanFinding& finding = plan.findings.emplace_back();
        item.Get("code", finding.code);
        item.Get("isLoss", finding.isLoss);
        item.Get("text", finding.text);
        item.Get("count", finding.count);
        finding.places = ReadPlaces(item);
    });
    CheckWhole(node, plan);
    return plan;
}

} // namespace Orvane::Import
