// One class per format.
#include "LintWriters.h"

#include "JsonWriter.h"
#include "ShellWords.h"
#include "TerminalText.h"

#include <map>
#include <string_view>
#include <vector>

namespace OrvaneHost {

namespace {

using Orvane::Import::GetLintRules;
using Orvane::Import::ImportFailure;
using Orvane::Import::LintCount;
using Orvane::Import::LintFinding;
using Orvane::Import::LintReport;
using Orvane::Import::LintRule;
using Orvane::Import::NameOf;

std::string Count(std::uint64_t count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

/// For people: a line per finding, as compilers write them, and the cure where it is a new one.
class TextLintWriter : public LintWriter
{
public:
    TextLintWriter(const std::string& file, TextOutput& output)
        : m_file(TerminalText::Escape(file))
        , m_output(output)
    {}

    void Add(const LintFinding& finding) override
    {
        std::string place = m_file;
        if (finding.line > 0) {
            place += ":" + std::to_string(finding.line);
            if (finding.character > 0) {
                place += ":" + std::to_string(finding.character);
            }
        }
        m_output.Write(place + ": " + std::string(NameOf(finding.severity)) + ": " +
                       TerminalText::Escape(finding.message) + " The bare reader " +
                       TerminalText::Escape(finding.bareReader) + ". [" + finding.code + "]\n");
        if (m_fixes[finding.code] != finding.fixes) {
            m_fixes[finding.code] = finding.fixes;
            for (const std::vector<std::string>& fix : finding.fixes) {
                m_output.Write("    " + MakeCommand(fix) + "\n");
            }
        }
    }

    void End(const LintReport& report) override
    {
        if (report.counts.empty()) {
            m_output.Write(m_file + ": nothing found\n");
            return;
        }
        m_output.Write(m_file + ": " + Count(report.errors, "error", "errors") + ", " +
                       Count(report.warnings, "warning", "warnings") + ", " +
                       Count(report.notes, "note", "notes") + "\n");
        for (const LintCount& count : report.counts) {
            if (count.shown < count.count) {
                m_output.Write("    " + std::to_string(count.count - count.shown) + " more of " +
                               count.code + "; --all shows them\n");
            }
        }
    }

    void Fail(const ImportFailure& /*failure*/) override {}

private:
    std::string m_file;
    TextOutput& m_output;
    std::map<std::string, std::vector<std::vector<std::string>>> m_fixes; ///< the last, by code
};

/// What the two JSON formats share.
class JsonLintWriter : public LintWriter
{
public:
    explicit JsonLintWriter(TextOutput& output)
        : m_json(output)
    {}

protected:
    void Key(std::string_view key)
    {
        m_json.Text(key);
        m_json.Raw(':');
    }

    void TextField(std::string_view key, std::string_view value)
    {
        Key(key);
        m_json.Text(value);
    }

    void NumberField(std::string_view key, std::uint64_t value)
    {
        Key(key);
        m_json.Number(static_cast<std::int64_t>(value));
    }

    void Fixes(const LintFinding& finding)
    {
        m_json.Raw("\"fixes\":[");
        for (std::size_t index = 0; index < finding.fixes.size(); ++index) {
            m_json.Raw(index == 0 ? "" : ",");
            m_json.Text(std::string_view(MakeCommand(finding.fixes[index])));
        }
        m_json.Raw(']');
    }

    void Counts(const LintReport& report)
    {
        m_json.Raw("\"counts\":[");
        for (std::size_t index = 0; index < report.counts.size(); ++index) {
            const LintCount& count = report.counts[index];
            m_json.Raw(index == 0 ? "{" : ",{");
            TextField("code", count.code);
            m_json.Raw(',');
            NumberField("count", count.count);
            m_json.Raw(',');
            NumberField("shown", count.shown);
            m_json.Raw('}');
        }
        m_json.Raw("],");
        NumberField("errors", report.errors);
        m_json.Raw(',');
        NumberField("warnings", report.warnings);
        m_json.Raw(',');
        NumberField("notes", report.notes);
    }

    JsonWriter m_json; // NOLINT(cppcoreguidelines-non-private-member-variables-in-classes)
};

/// One object.
class PlainJsonLintWriter : public JsonLintWriter
{
public:
    PlainJsonLintWriter(std::string file, TextOutput& output)
        : JsonLintWriter(output)
        , m_file(std::move(file))
    {}

    void Add(const LintFinding& finding) override
    {
        Begin();
        m_json.Raw(m_isFirst ? "{" : ",{");
        m_isFirst = false;
        TextField("code", finding.code);
        m_json.Raw(',');
        TextField("severity", NameOf(finding.severity));
        m_json.Raw(',');
        const bool hasPlace = finding.line > 0;
        NumberOrNull("line", hasPlace, finding.line);
        NumberOrNull("character", finding.character > 0, finding.character);
        NumberOrNull("byte", hasPlace, finding.byte);
        NumberOrNull("column", finding.column > 0, finding.column);
        TextField("columnName", finding.columnName);
        m_json.Raw(',');
        TextField("text", finding.text);
        m_json.Raw(',');
        TextField("message", finding.message);
        m_json.Raw(',');
        TextField("bareReader", finding.bareReader);
        m_json.Raw(',');
        Fixes(finding);
        m_json.Raw('}');
    }

    void End(const LintReport& report) override
    {
        Begin();
        m_json.Raw("],");
        Counts(report);
        m_json.Raw(',');
        TextField("positions", report.plan.bytes.positions);
        m_json.Raw(",\"complete\":true}\n");
    }

    void Fail(const ImportFailure& failure) override
    {
        Begin();
        m_json.Raw("],");
        TextField("failure", failure.what());
        m_json.Raw(",\"complete\":false}\n");
    }

private:
    void Begin()
    {
        if (!m_hasBegun) {
            m_hasBegun = true;
            m_json.Raw('{');
            TextField("file", m_file);
            m_json.Raw(",\"findings\":[");
        }
    }

    void NumberOrNull(std::string_view key, bool isKnown, std::uint64_t value)
    {
        if (isKnown) {
            NumberField(key, value);
        } else {
            Key(key);
            m_json.Raw("null");
        }
        m_json.Raw(',');
    }

    std::string m_file;
    bool m_hasBegun = false;
    bool m_isFirst = true;
};

/// A path as the path of a URI: what is not plain is escaped by its bytes.
std::string MakeUri(std::string_view path)
{
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    constexpr std::string_view kPlain = "-._~/";
    std::string uri;
    for (const char byte : path) {
        const auto code = static_cast<unsigned char>(byte);
        const bool isPlain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                             (byte >= '0' && byte <= '9') ||
                             kPlain.find(byte) != std::string_view::npos;
        if (isPlain) {
            uri += byte;
        } else {
            uri += {'%', kDigits[code >> 4U], kDigits[code & 0xFU]};
        }
    }
    return path.starts_with('/') ? "file://" + uri : uri;
}

/// A log of SARIF 2.1.0 with one run.
class SarifLintWriter : public JsonLintWriter
{
public:
    SarifLintWriter(const std::string& file, TextOutput& output)
        : JsonLintWriter(output)
        , m_uri(MakeUri(file))
    {
        for (const LintRule& rule : GetLintRules()) {
            m_indices.emplace(rule.code, m_indices.size());
        }
    }

    void Add(const LintFinding& finding) override
    {
        Begin();
        m_json.Raw(m_isFirst ? "{" : ",{");
        m_isFirst = false;
        TextField("ruleId", finding.code);
        if (const auto index = m_indices.find(finding.code); index != m_indices.end()) {
            m_json.Raw(',');
            NumberField("ruleIndex", index->second);
        }
        m_json.Raw(',');
        TextField("level", NameOf(finding.severity));
        m_json.Raw(",\"message\":{");
        TextField("text", finding.message + " The bare reader " + finding.bareReader + ".");
        m_json.Raw("},\"locations\":[{\"physicalLocation\":{\"artifactLocation\":{");
        TextField("uri", m_uri);
        m_json.Raw('}');
        Region(finding);
        m_json.Raw("}}],\"properties\":{");
        TextField("bareReader", finding.bareReader);
        m_json.Raw(',');
        if (finding.column > 0) {
            NumberField("column", finding.column);
            m_json.Raw(',');
            TextField("columnName", finding.columnName);
            m_json.Raw(',');
        }
        Fixes(finding);
        m_json.Raw("}}");
    }

    void End(const LintReport& report) override
    {
        Begin();
        m_json.Raw("],\"invocations\":[{\"executionSuccessful\":true}],\"properties\":{");
        Counts(report);
        m_json.Raw("}}]}\n");
    }

    void Fail(const ImportFailure& failure) override
    {
        Begin();
        m_json.Raw("],\"invocations\":[{\"executionSuccessful\":false,"
                   "\"toolExecutionNotifications\":[{\"level\":\"error\",\"message\":{");
        TextField("text", failure.what());
        m_json.Raw("}}]}]}]}\n");
    }

private:
    void Begin()
    {
        if (m_hasBegun) {
            return;
        }
        m_hasBegun = true;
        // Editors find the rules of the format by this address; nothing is fetched.
        m_json.Raw("{\"$schema\":\"https://json.schemastore.org/sarif-2.1.0.json\",");
        m_json.Raw("\"version\":\"2.1.0\",\"runs\":[{\"tool\":{\"driver\":{\"name\":\"orvane\",");
        TextField("semanticVersion", ORVANE_VERSION);
        m_json.Raw(",\"rules\":[");
        bool isFirst = true;
        for (const LintRule& rule : GetLintRules()) {
            m_json.Raw(isFirst ? "{" : ",{");
            isFirst = false;
            TextField("id", rule.code);
            m_json.Raw(",\"shortDescription\":{");
            TextField("text", rule.summary);
            m_json.Raw("},\"fullDescription\":{");
            TextField("text",
                      std::string(rule.summary) + " The bare reader " +
                          std::string(rule.bareReader) + ".");
            m_json.Raw("},\"defaultConfiguration\":{");
            TextField("level", NameOf(rule.severity));
            m_json.Raw("}}");
        }
        m_json.Raw("]}},\"columnKind\":\"unicodeCodePoints\",\"results\":[");
    }

    void Region(const LintFinding& finding)
    {
        if (finding.line == 0) {
            return;
        }
        m_json.Raw(",\"region\":{");
        NumberField("startLine", finding.line);
        if (finding.character > 0) {
            m_json.Raw(',');
            NumberField("startColumn", finding.character);
        }
        if (finding.isByteOfFile) {
            m_json.Raw(',');
            NumberField("byteOffset", finding.byte);
        }
        m_json.Raw(",\"snippet\":{");
        TextField("text", finding.text);
        m_json.Raw("}}");
    }

    std::string m_uri;
    std::map<std::string_view, std::size_t> m_indices;
    bool m_hasBegun = false;
    bool m_isFirst = true;
};

} // namespace

std::unique_ptr<LintWriter>
MakeLintWriter(ELintFormat format, const std::string& file, TextOutput& output)
{
    if (format == ELintFormat::Json) {
        return std::make_unique<PlainJsonLintWriter>(file, output);
    }
    if (format == ELintFormat::Sarif) {
        return std::make_unique<SarifLintWriter>(file, output);
    }
    return std::make_unique<TextLintWriter>(file, output);
}

} // namespace OrvaneHost
