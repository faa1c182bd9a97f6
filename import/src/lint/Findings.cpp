// Findings as they are counted and completed.
#include "Findings.h"

#include <Orvane/Import/DisplayText.h>

#include <algorithm>
#include <set>
#include <utility>

namespace Orvane::Import {

namespace {

constexpr std::size_t kMostText = 80;
/// The bytes of the mark of UTF-8.
constexpr std::uint64_t kMark = 3;

/// Makes what is no UTF-8 U+FFFD: a plan keeps texts of its file as they are.
void MakeUtf8(std::string& text)
{
    if (DisplayText::IsUtf8(text)) {
        return;
    }
    constexpr std::size_t kLongest = 4;
    std::string valid;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t size = std::min(kLongest, text.size() - at);
        while (size > 0 && !DisplayText::IsUtf8(std::string_view(text).substr(at, size))) {
            --size;
        }
        valid += size > 0 ? text.substr(at, size) : "\xEF\xBF\xBD";
        at += std::max<std::size_t>(size, 1);
    }
    text = valid;
}

} // namespace

std::string CutText(std::string_view text)
{
    std::size_t size = std::min(text.size(), kMostText);
    while (size > 0 && size < text.size() &&
           (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80U) {
        --size;
    }
    return std::string(text.substr(0, size));
}

std::string Quoted(std::string_view text)
{
    return "'" + CutText(text) + "'";
}

std::string Called(const PlanColumn& column)
{
    return column.name.empty() ? "column " + std::to_string(column.index + 1)
                               : "column " + Quoted(column.name);
}

/// "datetime:day-first": a type as the argument of `orvane import` has it.
std::string WordOf(const PlanColumnType& type)
{
    std::string word(type.type == EPlanType::Integer64  ? "long"
                     : type.type == EPlanType::DateTime ? "datetime"
                                                        : NameOf(type.type));
    if (!type.spelling.empty()) {
        word += ':';
        for (const char byte : type.spelling) {
            word += byte == ',' ? std::string("comma") : std::string(1, byte == ' ' ? '-' : byte);
        }
    }
    return word;
}

Words OptionsOf(const PlanRequest& request)
{
    Words words;
    const auto add = [&](const char* option, const std::string& value) {
        if (!value.empty()) {
            words.insert(words.end(), {option, value});
        }
    };
    add("--separator", request.separator.value_or(""));
    if (request.quote) {
        add("--quote", *request.quote == 0 ? "none" : std::string(1, *request.quote));
    }
    if (request.hasNames) {
        add("--names", *request.hasNames ? "yes" : "no");
    }
    if (request.skipLines) {
        add("--skip-lines", std::to_string(*request.skipLines));
    }
    add("--encoding", request.encoding);
    add("--x", request.x);
    add("--y", request.y);
    add("--z", request.z);
    add("--name", request.nameColumn);
    add("--crs", request.crs);
    for (const std::string& text : request.nullTexts) {
        add("--null", text);
    }
    for (const PlanColumnType& type : request.types) {
        add("--type", type.column + "=" + WordOf(type));
    }
    if (request.isAllText) {
        words.emplace_back("--all-text");
    }
    if (request.hasNoPoints) {
        words.emplace_back("--no-points");
    }
    return words;
}

Words OptionsOf(const PlanAnswer& answer)
{
    Words words;
    const auto add = [&](const char* option, const std::string& value) {
        words.insert(words.end(), {option, value});
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

Words Join(Words words, const Words& more)
{
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

bool IsFoundByWalk(std::string_view code)
{
    static const std::set<std::string_view> kCodes = {"short-row",
                                                      "long-row",
                                                      "trailing-separator",
                                                      "comment-line",
                                                      "repeated-names",
                                                      "stray-quote",
                                                      "unclosed-quote",
                                                      "line-too-long",
                                                      "nul",
                                                      "nul-block",
                                                      "invalid-utf-8",
                                                      "mixed-line-ends",
                                                      "cut-row",
                                                      "sentinel",
                                                      "zero-coordinates",
                                                      "latitude-out-of-range",
                                                      "longitude-out-of-range",
                                                      "out-of-range",
                                                      "zero-point",
                                                      "footer",
                                                      "further-table",
                                                      "invalid-character",
                                                      "misfit-row",
                                                      "repaired-quote",
                                                      "repaired-separator",
                                                      "repaired-shift",
                                                      "repaired-line-end",
                                                      "loose-separator"};
    return kCodes.contains(code);
}

Findings::Findings(const Plan& plan, const LintRequest& request, const Receiver& receive)
    : m_plan(plan)
    , m_request(request)
    , m_receive(receive)
{
    // A name that begins with a dash would be an option.
    m_command = Join({"import", plan.path.starts_with('-') ? "./" + plan.path : plan.path},
                     OptionsOf(request.plan));
    m_fix = m_command;
    for (const PlanQuestion& question : plan.questions) {
        m_fix = Join(m_fix,
                     question.answers.empty() ? Words{"--no-points"}
                                              : OptionsOf(question.answers.front()));
    }
    for (std::size_t index = 0; index < kLintRules; ++index) {
        m_tallies[index].code = GetLintRules()[index].code;
    }
}

void Findings::Count(ELintSeverity severity)
{
    ++m_severities.at(static_cast<std::size_t>(severity));
}

LintFinding Findings::Begin(ELint lint, ELintSeverity severity) const
{
    const LintRule& rule = RuleOf(lint);
    LintFinding finding;
    finding.code = rule.code;
    finding.severity = severity;
    finding.message = rule.summary;
    finding.bareReader = rule.bareReader;
    return finding;
}

void Findings::Hand(LintFinding& finding) const
{
    finding.isByteOfFile = m_plan.bytes.positions == "file";
    if (finding.line > 0 && finding.isByteOfFile && m_plan.bytes.hasMark) {
        // The places of a plan and of its records count from the mark's end.
        finding.byte += kMark;
    }
    if (finding.fixes.empty()) {
        finding.fixes = {m_fix};
    }
    for (std::string* text : {&finding.text, &finding.message, &finding.columnName}) {
        MakeUtf8(*text);
    }
    m_receive(finding);
}

void Findings::AddOther(LintFinding finding)
{
    Count(finding.severity);
    LintCount& count = m_others[finding.code];
    count.code = finding.code;
    ++count.count;
    if (m_request.mostPerCode == 0 || count.shown < m_request.mostPerCode) {
        ++count.shown;
        Hand(finding);
    }
}

void Findings::Report(LintReport& report) const
{
    std::copy_if(m_tallies.begin(),
                 m_tallies.end(),
                 std::back_inserter(report.counts),
                 [](const LintCount& count) { return count.count > 0; });
    for (const auto& [code, count] : m_others) {
        report.counts.push_back(count);
    }
    report.notes = m_severities[static_cast<std::size_t>(ELintSeverity::Note)];
    report.warnings = m_severities[static_cast<std::size_t>(ELintSeverity::Warning)];
    report.errors = m_severities[static_cast<std::size_t>(ELintSeverity::Error)];
}

void Findings::Put(const Place& place, LintFinding& finding)
{
    finding.line = place.line;
    finding.character = place.character;
    finding.byte = place.byte;
}

void Findings::PutLines(const PlanLines& lines, LintFinding& finding)
{
    Put({lines.firstLine, 1, lines.byte}, finding);
    finding.text = lines.text;
    if (lines.lineCount > 1) {
        finding.message += " " + std::to_string(lines.lineCount) + " lines from here on.";
    }
}

void Findings::PutColumn(const PlanColumn& column, LintFinding& finding)
{
    finding.column = column.index + 1;
    finding.columnName = column.name;
}

} // namespace Orvane::Import
