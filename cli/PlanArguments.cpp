// Reads the arguments of plans.
#include "PlanArguments.h"

#include "DidYouMean.h"
#include "TerminalText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace OrvaneHost {

namespace {

using Orvane::Import::BadRowRequest;
using Orvane::Import::EPlanType;
using Orvane::Import::PlanRequest;

/// Options of the bare reader, which reads without a plan.
constexpr std::string_view kReaderOptions = "--option --options";
constexpr std::string_view kReaderOptionsAndPlan = "--option --options --plan";

/// What would have no effect where every cell stays the text that it is.
constexpr std::string_view kTypesAndNulls = "--type --null";
constexpr std::string_view kAllButTexts = "--option --options --plan --type --null";

constexpr std::pair<std::string_view, EPlanType> kTypes[] = {
    {"text", EPlanType::Text},
    {"integer", EPlanType::Integer32},
    {"long", EPlanType::Integer64},
    {"double", EPlanType::Double},
    {"boolean", EPlanType::Boolean},
    {"date", EPlanType::Date},
    {"time", EPlanType::Time},
    {"datetime", EPlanType::DateTime},
    {"angle", EPlanType::Angle},
};

ArgumentRule MakeValue(std::string_view name,
                       std::string_view valueName,
                       std::string_view meaning,
                       bool isRepeatable = false)
{
    return {.kind = EArgumentKind::Value,
            .name = name,
            .valueName = valueName,
            .meaning = meaning,
            .isRepeatable = isRepeatable};
}

std::string Shown(std::string_view text)
{
    constexpr std::size_t kMostCharacters = 200;
    return "'" + TerminalText::EscapeAndCut(text, kMostCharacters) + "'";
}

[[noreturn]] void ThrowValue(std::string_view name, std::string_view value, const std::string& form)
{
    throw ArgumentError("The value of " + std::string(name) + " must be " + form + ", not " +
                        Shown(value) + ".");
}

std::optional<std::uint64_t> ParseCount(std::string_view text)
{
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber ? std::optional<std::uint64_t>(number) : std::nullopt;
}

/// "5%" as 0.05.
std::optional<double> ParseShare(std::string_view text)
{
    if (!text.ends_with('%')) {
        return std::nullopt;
    }
    text.remove_suffix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isShare = error == std::errc() && end == text.data() + text.size() &&
                         std::isfinite(number) && number >= 0 && number <= 100;
    return isShare ? std::optional<double>(number / 100) : std::nullopt;
}

bool ParseYes(std::string_view name, std::string_view value)
{
    if (value != "yes" && value != "no") {
        ThrowValue(name, value, "yes or no");
    }
    return value == "yes";
}

/// A spelling of a type, as an argument has it, and as a plan has it.
struct Spelling
{
    std::string_view word;
    std::string_view spelling;
    EPlanType type;
};

constexpr Spelling kSpellings[] = {
    {"day-first", "day first", EPlanType::Date},
    {"month-first", "month first", EPlanType::Date},
    {"decimal-comma", "decimal comma", EPlanType::Double},
    {"thousands-comma", "thousands ,", EPlanType::Double},
};

/// "day-first" of "date:day-first". @param type the one it is a spelling of
std::string ParseSpelling(const std::string& text, std::string_view word, EPlanType type)
{
    const EPlanType kind = type == EPlanType::DateTime ? EPlanType::Date : type;
    for (const Spelling& known : kSpellings) {
        if (known.word == word && known.type == kind) {
            return std::string(known.spelling);
        }
    }
    ThrowValue("--type",
               text,
               "COLUMN=TYPE, date:day-first, date:month-first, double:decimal-comma or "
               "double:thousands-comma among the types");
}

/// "height=double": what stands after the last "=" is the type, and after a colon its spelling.
Orvane::Import::PlanColumnType ParseType(const std::string& text)
{
    const std::size_t at = text.rfind('=');
    if (at == std::string::npos || at == 0) {
        ThrowValue("--type", text, "COLUMN=TYPE, for example height=double");
    }
    const std::string_view value = std::string_view(text).substr(at + 1);
    const std::size_t colon = value.find(':');
    const std::string_view type = value.substr(0, colon);
    const auto* const found = std::find_if(std::begin(kTypes),
                                           std::end(kTypes),
                                           [&](const auto& known) { return known.first == type; });
    if (found == std::end(kTypes)) {
        std::vector<std::string_view> names;
        std::string all;
        for (const auto& known : kTypes) {
            names.push_back(known.first);
            all += (all.empty() ? "" : ", ") + std::string(known.first);
        }
        throw ArgumentError("There is no type " + Shown(type) + " of columns" +
                            DidYouMean(type, names, "; there are " + all + "."));
    }
    return {text.substr(0, at),
            found->second,
            colon == std::string_view::npos
                ? std::string()
                : ParseSpelling(text, value.substr(colon + 1), found->second)};
}

char ParseQuote(const std::string& text)
{
    if (text == "none") {
        return '\0';
    }
    const auto byte = static_cast<unsigned char>(text.front());
    if (text.size() != 1 || byte <= ' ' || byte > '~') {
        ThrowValue("--quote", text, "one character, or none");
    }
    return text.front();
}

void CheckSeparator(const std::string& text)
{
    constexpr std::string_view kWords[] = {"\\t", "tab", "blanks", "none"};
    const bool isWord = std::find(std::begin(kWords), std::end(kWords), text) != std::end(kWords);
    const bool isCharacter = text.size() == 1 && text != "\n" && text != "\r";
    if (!isWord && !isCharacter && !text.starts_with("widths:")) {
        ThrowValue("--separator", text, "one character, tab, blanks, none or widths:5,14");
    }
}

} // namespace

std::vector<ArgumentRule> MakePlanArguments(bool withFollow)
{
    std::vector<ArgumentRule> rules = {
        MakeValue("--encoding", "NAME", "The encoding of the text, for example windows-1252"),
        MakeValue("--separator",
                  "CHARACTER",
                  "What separates fields: one character, tab, blanks (runs of them), none (one "
                  "column), or widths:5,14"),
        MakeValue("--quote", "CHARACTER|none", "What quotes fields; none: quotes are text"),
        MakeValue("--skip-lines", "NUMBER", "Lines before the table, or before its names"),
        MakeValue("--names", "yes|no", "Whether the first line of the table holds column names"),
        MakeValue("--null",
                  "WORD",
                  "A text that stands for no value, in every column; may be given more than once",
                  true),
        MakeValue("--type",
                  "COLUMN=TYPE",
                  "The type of a column: text, integer, long, double, boolean, date, time or "
                  "datetime; where cells leave it open, date:day-first or date:month-first, "
                  "double:decimal-comma or double:thousands-comma; may be given more than once",
                  true),
        MakeValue("--name", "NAME|INDEX", "Column of the names of points"),
        {.kind = EArgumentKind::Flag,
         .name = "--no-points",
         .meaning = "Write the columns alone: a table without points"},
        {.kind = EArgumentKind::Flag,
         .name = "--all-text",
         .meaning = "Keep every cell as the text that it is, without points"}};
    for (ArgumentRule& rule : rules) {
        rule.excludes = withFollow ? kReaderOptionsAndPlan : std::string_view();
    }
    rules.back().excludes = withFollow ? kAllButTexts : kTypesAndNulls;
    return rules;
}

std::vector<ArgumentRule> MakeImportArguments()
{
    std::vector<ArgumentRule> rules = {
        MakeValue("--plan",
                  "FILE.json",
                  "Follow a plan that 'orvane plan --json' has written, as it stands"),
        MakeValue("--on-bad",
                  "ACTION",
                  "What becomes of rows that do not fit the table: quarantine (they are written to "
                  "OUT.rejected.csv), skip, or stop. Without it quarantine, as long as they are 1 "
                  "of 100 rows at most"),
        MakeValue("--max-bad",
                  "NUMBER|PERCENT%",
                  "How many rows may be bad, as a number or as a share of all rows"),
        MakeValue("--layer",
                  "NAME",
                  "Of a GeoPackage: the layer, beside those that are there. Of a database: the "
                  "table, or schema.table. Without it the name of FILE"),
        {.kind = EArgumentKind::Flag,
         .name = "--append",
         .meaning = "Add the rows to a layer of a GeoPackage, or to a table, that is there"},
        {.kind = EArgumentKind::Flag,
         .name = "--overwrite-layer",
         .meaning =
             "Replace a layer of a GeoPackage, or a table, that is there, and leave the others"}};
    for (ArgumentRule& rule : rules) {
        rule.excludes = kReaderOptions;
    }
    return rules;
}

PlanRequest MakePlanRequest(const ParsedArguments& arguments)
{
    PlanRequest request;
    request.encoding = arguments.Get("--encoding");
    if (const auto separator = arguments.Find("--separator")) {
        CheckSeparator(*separator);
        request.separator = *separator;
    }
    if (const auto quote = arguments.Find("--quote")) {
        request.quote = ParseQuote(*quote);
    }
    if (const auto lines = arguments.Find("--skip-lines")) {
        request.skipLines = ParseCount(*lines);
        if (!request.skipLines) {
            ThrowValue("--skip-lines", *lines, "a number of lines");
        }
    }
    if (const auto names = arguments.Find("--names")) {
        request.hasNames = ParseYes("--names", *names);
    }
    request.nullTexts = arguments.GetAll("--null");
    for (const std::string& type : arguments.GetAll("--type")) {
        request.types.push_back(ParseType(type));
    }
    request.x = arguments.Get("--x");
    request.y = arguments.Get("--y");
    request.z = arguments.Get("--z");
    request.nameColumn = arguments.Get("--name");
    request.hasNoPoints = arguments.Has("--no-points");
    request.isAllText = arguments.Has("--all-text");
    request.ranksSystems = arguments.Has("--rank-systems");
    return request;
}

BadRowRequest MakeBadRowRequest(const ParsedArguments& arguments)
{
    constexpr std::pair<std::string_view, BadRowRequest::EAction> kActions[] = {
        {"quarantine", BadRowRequest::EAction::Quarantine},
        {"skip", BadRowRequest::EAction::Skip},
        {"stop", BadRowRequest::EAction::Stop}};
    BadRowRequest request;
    if (const auto action = arguments.Find("--on-bad")) {
        const auto* const found =
            std::find_if(std::begin(kActions), std::end(kActions), [&](const auto& known) {
                return known.first == *action;
            });
        if (found == std::end(kActions)) {
            ThrowValue("--on-bad", *action, "quarantine, skip or stop");
        }
        request.action = found->second;
        request.mostShare = 1;
    }
    if (const auto most = arguments.Find("--max-bad")) {
        request.most = ParseCount(*most);
        request.mostShare = ParseShare(*most);
        if (!request.most && !request.mostShare) {
            ThrowValue("--max-bad", *most, "a number of rows, or a share such as 2%");
        }
    }
    return request;
}

unsigned ParseThreads(const ParsedArguments& arguments)
{
    const std::optional<std::string> text = arguments.Find("--threads");
    if (!text) {
        return 0;
    }
    constexpr std::uint64_t kMostThreads = 1024;
    const std::uint64_t threads = ParseCount(*text).value_or(0);
    if (threads == 0 || threads > kMostThreads) {
        ThrowValue("--threads", *text, "a whole number from 1 to 1024");
    }
    return static_cast<unsigned>(threads);
}

std::vector<std::string> ArgumentsOf(const Orvane::Import::PlanAnswer& answer)
{
    std::vector<std::string> words;
    const auto add = [&words](const char* name, std::string value) {
        words.emplace_back(name);
        words.push_back(std::move(value));
    };
    if (answer.x) {
        add("--x", std::to_string(*answer.x));
    }
    if (answer.y) {
        add("--y", std::to_string(*answer.y));
    }
    if (answer.hasNames) {
        add("--names", *answer.hasNames ? "yes" : "no");
    }
    if (!answer.encoding.empty()) {
        add("--encoding", answer.encoding);
    }
    return words;
}

std::string WordOfSpelling(std::string_view spelling)
{
    const auto* const found =
        std::find_if(std::begin(kSpellings), std::end(kSpellings), [&](const Spelling& known) {
            return known.spelling == spelling;
        });
    return std::string(found == std::end(kSpellings) ? spelling : found->word);
}

} // namespace OrvaneHost
