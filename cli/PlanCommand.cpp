// `orvane plan`: what a scan of the whole file decides, in a few lines or as JSON.
#include "Commands.h"
#include "Interrupt.h"
#include "JsonWriter.h"
#include "PlanArguments.h"
#include "ProgressLine.h"
#include "TextOutput.h"

#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Plan.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <unistd.h>

namespace OrvaneHost {

namespace {

namespace DisplayText = Orvane::Import::DisplayText;
using Orvane::Import::EDecider;
using Orvane::Import::EPlanRole;
using Orvane::Import::EPlanType;
using Orvane::Import::Plan;
using Orvane::Import::PlanColumn;
using Orvane::Import::PlanDecision;
using Orvane::Import::PlanEvidence;
using Orvane::Import::PlanPlace;

constexpr std::size_t kMostColumns = 200;
constexpr std::size_t kMostPieces = 20;
constexpr std::size_t kTextColumns = 40;

std::string Count(std::uint64_t count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string ShowNumber(double value)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.10g", value);
    std::string shown = text.data();
    // The process's locale may have another decimal sign.
    std::replace(shown.begin(), shown.end(), ',', '.');
    return shown;
}

std::string ShowText(std::string_view text)
{
    return "'" + DisplayText::EscapeAndCut(text, kTextColumns) + "'";
}

template <typename Value>
std::string ShowConfidence(const PlanDecision<Value>& decision)
{
    if (decision.decider == EDecider::Given) {
        return "given";
    }
    if (decision.decider == EDecider::Default) {
        return "default";
    }
    return std::string(NameOf(decision.confidence));
}

void Line(TextOutput& output, const char* label, const std::string& text)
{
    output.Write(DisplayText::Pad(label, 12) + text + "\n");
}

/// Evidence in one piece: "25 rows of 3 fields, 2 rows of other counts".
template <typename Value>
std::string ShowEvidence(const PlanDecision<Value>& decision)
{
    std::string text;
    for (const PlanEvidence& evidence : decision.evidence) {
        text += text.empty() ? "" : ", ";
        text += std::to_string(evidence.count) + " " + DisplayText::Escape(evidence.what);
    }
    return text.empty() ? text : "; " + text;
}

void ShowBytes(const Plan& plan, TextOutput& output)
{
    const auto& bytes = plan.bytes;
    std::string text = Count(bytes.size, "byte", "bytes") + ", " +
                       Count(bytes.lines, "line", "lines") + " (" +
                       std::string(NameOf(bytes.lineEnd.value)) + ")";
    if (bytes.compression.value != "none") {
        text += ", " + bytes.compression.value;
    }
    Line(output, "File:", text);
    Line(output,
         "Encoding:",
         bytes.encoding.value + (bytes.hasMark ? " with a byte order mark" : "") + " (" +
             ShowConfidence(bytes.encoding) + ShowEvidence(bytes.encoding) + ")");
}

void ShowShape(const Plan& plan, TextOutput& output)
{
    const auto& shape = plan.shape;
    Line(output,
         "Separator:",
         Describe(shape.separator.value) + " (" + ShowConfidence(shape.separator) +
             ShowEvidence(shape.separator) + ")");
    if (shape.quotes.value.character != 0) {
        Line(output,
             "Quotes:",
             std::string(1, shape.quotes.value.character) + " (" + ShowConfidence(shape.quotes) +
                 ShowEvidence(shape.quotes) + ")");
    }
    Line(output,
         "Names:",
         std::string(shape.hasNames.value ? "yes" : "no") + " (" + ShowConfidence(shape.hasNames) +
             ": " +
             (shape.hasNames.evidence.empty() ? std::string("no rows")
                                              : shape.hasNames.evidence.front().what) +
             ")");
    std::size_t shown = 0;
    for (const auto& lines : shape.lines) {
        if (++shown > kMostPieces) {
            Line(output, "", "and " + std::to_string(shape.lines.size() - kMostPieces) + " more");
            break;
        }
        const std::string where = lines.lineCount == 1
                                      ? "line " + std::to_string(lines.firstLine)
                                      : "lines " + std::to_string(lines.firstLine) + " to " +
                                            std::to_string(lines.firstLine + lines.lineCount - 1);
        Line(output,
             shown == 1 ? "Not rows:" : "",
             where + ": " + std::string(NameOf(lines.kind)) +
                 (lines.text.empty() ? "" : " " + ShowText(lines.text)));
    }
    std::string rows = Count(shape.rows, "row", "rows") + " from line " +
                       std::to_string(shape.firstRowLine) + " on, " +
                       Count(shape.columnCount.value, "column", "columns");
    if (shape.continuations > 0) {
        rows += ", " + Count(shape.continuations, "line", "lines") + " inside quotes";
    }
    Line(output, "Rows:", rows);
}

std::string ShowColumn(const PlanColumn& column)
{
    std::string text = std::string(NameOf(column.type.value));
    if (column.values == 0) {
        text = "text, empty";
    }
    if (!column.spelling.empty()) {
        text += ", " + column.spelling;
    }
    if (column.role != EPlanRole::Attribute) {
        text += ", " + std::string(NameOf(column.role));
    }
    if (column.hasRange && column.type.value != EPlanType::Text) {
        text += ", " + ShowNumber(column.least) + " to " + ShowNumber(column.most);
    }
    if (column.empties > 0 && column.values > 0) {
        text += ", " + std::to_string(column.empties) + " empty";
    }
    if (column.nullWords > 0) {
        text += ", " + std::to_string(column.nullWords) + " null as";
        for (const std::string& word : column.nullSpellings) {
            text += " " + ShowText(word);
        }
    }
    return text;
}

/// Why a column is text that could have been more, with the first cell that says so.
std::string ShowRival(const PlanColumn& column)
{
    if (column.type.rivals.empty()) {
        return {};
    }
    const auto& rival = column.type.rivals.front();
    std::string text = (rival.value.empty() ? "" : rival.value + "? ") + rival.against;
    if (rival.support == 0) {
        return text;
    }
    for (const PlanEvidence& evidence : column.type.evidence) {
        const bool isOdd = evidence.what == "text" || evidence.what == "code of digits";
        if (isOdd && !evidence.places.empty()) {
            const PlanPlace& place = evidence.places.front();
            return text + ", first " + ShowText(place.text) + " in line " +
                   std::to_string(place.line);
        }
    }
    return text;
}

void ShowColumns(const Plan& plan, TextOutput& output)
{
    std::size_t widest = 0;
    for (const PlanColumn& column : plan.columns) {
        const std::string name = DisplayText::EscapeAndCut(std::string_view(column.name), 24);
        widest = std::max(widest, DisplayText::CountCharacters(name));
    }
    std::size_t shown = 0;
    for (const PlanColumn& column : plan.columns) {
        if (++shown > kMostColumns) {
            Line(output,
                 "",
                 "and " + std::to_string(plan.columns.size() - kMostColumns) +
                     " more; --json has all of them");
            break;
        }
        std::string text = DisplayText::Pad(std::to_string(column.index), 4);
        if (widest > 0) {
            text += DisplayText::Pad(DisplayText::EscapeAndCut(std::string_view(column.name), 24),
                                     widest) +
                    "  ";
        }
        text += ShowColumn(column);
        const std::string rival = ShowRival(column);
        if (!rival.empty()) {
            text += " (" + rival + ")";
        }
        Line(output, shown == 1 ? "Columns:" : "", text);
    }
}

std::string ShowReference(const Plan& plan, std::size_t index)
{
    const PlanColumn& column = plan.columns[index];
    return column.name.empty() ? "column " + std::to_string(index) : ShowText(column.name);
}

void ShowCoordinates(const Plan& plan, TextOutput& output)
{
    const auto& found = plan.coordinates.value;
    if (!found.x) {
        Line(output, "Points:", "no coordinates decided");
        return;
    }
    std::string text =
        "X " + ShowReference(plan, *found.x) + ", Y " + ShowReference(plan, *found.y);
    if (found.z) {
        text += ", Z " + ShowReference(plan, *found.z);
    }
    Line(output,
         "Points:",
         text + ", " + std::string(NameOf(found.notation)) + " (" +
             ShowConfidence(plan.coordinates) + ")");
    if (!plan.coordinateSystem.value.empty()) {
        const auto& system = plan.coordinateSystem;
        Line(output,
             "System:",
             system.value + " (" + ShowConfidence(system) +
                 (system.evidence.empty() ? "" : ": " + system.evidence.front().what) + ")");
        for (const Orvane::Import::PlanRival& likely : system.rivals) {
            Line(output,
                 &likely == system.rivals.data() ? "Likely:" : "",
                 likely.value + " " + DisplayText::Escape(likely.against));
        }
    }
}

void ShowFindings(const Plan& plan, TextOutput& output)
{
    std::size_t shown = 0;
    for (const auto& finding : plan.findings) {
        if (++shown > kMostPieces) {
            Line(output, "", "and " + std::to_string(plan.findings.size() - kMostPieces) + " more");
            break;
        }
        std::string text = finding.code + ": " + std::to_string(finding.count) + ". " +
                           DisplayText::Escape(finding.text);
        if (!finding.places.empty() && finding.places.front().line > 0) {
            text += " First: line " + std::to_string(finding.places.front().line) + ", byte " +
                    std::to_string(finding.places.front().byte) + ".";
        }
        Line(output, shown == 1 ? "Findings:" : "", text);
    }
}

/// The arguments of `orvane import` that give an answer, as one text.
std::string DescribeAnswer(const Orvane::Import::PlanAnswer& answer)
{
    std::string text;
    for (const std::string& word : ArgumentsOf(answer)) {
        text += (text.empty() ? "" : " ") + DisplayText::Escape(word);
    }
    return text;
}

void ShowQuestions(const Plan& plan, TextOutput& output)
{
    for (const auto& question : plan.questions) {
        Line(output, "Question:", question.text);
        for (const Orvane::Import::PlanAnswer& answer : question.answers) {
            Line(output, "", "  " + DescribeAnswer(answer));
        }
        if (question.code == "coordinates" && question.answers.empty() && plan.columns.size() > 1) {
            Line(output, "", "  --x COLUMN --y COLUMN");
        }
        if (question.code == "coordinates" || question.code == "axes") {
            Line(output, "", "  --no-points");
        }
    }
}

} // namespace

void RunPlan(const PlanArguments& arguments)
{
    ProgressLine line;
    Orvane::Import::Callbacks callbacks;
    callbacks.progress = [&line](const Orvane::Import::ProgressState& state) {
        line.Show(state);
        return true;
    };
    const Plan plan = [&] {
        const Interrupt::JsonScope json(arguments.isJson ? STDOUT_FILENO : -1);
        return Orvane::Import::MakePlan(arguments.file, arguments.request, callbacks);
    }();
    line.Clear();
    TextOutput output;
    if (arguments.isJson) {
        output.Write(EscapeControls(ToJson(plan)));
    } else {
        ShowBytes(plan, output);
        ShowShape(plan, output);
        ShowColumns(plan, output);
        ShowCoordinates(plan, output);
        ShowFindings(plan, output);
        ShowQuestions(plan, output);
    }
    output.Flush();
}

} // namespace OrvaneHost
