// Findings of any bytes: all of them against the first ones of each kind, their places against the
// file, their counts against what was handed over.
#include "Fuzz.h"
#include "FuzzInput.h"
#include "TextMaker.h"

#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Lint.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Fuzz {

using namespace Orvane::Import;

namespace {

constexpr std::uint64_t kFew = 2;

/// What a call of Lint gives.
struct Answer
{
    std::vector<LintFinding> findings;
    LintReport report;
};

Answer Ask(const std::string& path, const PlanRequest& plan, std::uint64_t mostPerCode)
{
    Answer answer;
    LintRequest request;
    request.plan = plan;
    request.mostPerCode = mostPerCode;
    answer.report = Lint(
        path, request, [&](const LintFinding& finding) { answer.findings.push_back(finding); });
    return answer;
}

void CheckFinding(const LintFinding& finding, const Plan& plan)
{
    const std::string name = finding.code + " in line " + std::to_string(finding.line);
    for (const std::string* text : {&finding.text, &finding.message, &finding.bareReader}) {
        if (!DisplayText::IsUtf8(*text)) {
            Fail(name + " has a text that is no UTF-8: " + Escaped(*text));
        }
    }
    if (finding.message.empty() || finding.bareReader.empty() || finding.fixes.empty()) {
        Fail(name + " lacks its message, what the bare reader does, or a command.");
    }
    if (finding.line > plan.bytes.lines + 1) {
        Fail(name + " stands past the last line, " + std::to_string(plan.bytes.lines) + ".");
    }
    if (finding.isByteOfFile && finding.byte > plan.bytes.size) {
        Fail(name + " stands at byte " + std::to_string(finding.byte) + " of " +
             std::to_string(plan.bytes.size) + ".");
    }
}

/// The counts of a report as a text.
std::string DescribeCounts(const LintReport& report)
{
    std::string text = std::to_string(report.errors) + " " + std::to_string(report.warnings) + " " +
                       std::to_string(report.notes);
    for (const LintCount& count : report.counts) {
        text += " " + count.code + "=" + std::to_string(count.count);
    }
    return text;
}

void CheckCounts(const Answer& answer, std::uint64_t mostPerCode)
{
    std::map<std::string, std::uint64_t> handed;
    for (const LintFinding& finding : answer.findings) {
        ++handed[finding.code];
    }
    std::uint64_t all = 0;
    for (const LintCount& count : answer.report.counts) {
        all += count.count;
        const bool isLimited = mostPerCode != 0 && count.count > mostPerCode;
        const std::uint64_t expected = isLimited ? mostPerCode : count.count;
        ExpectSame("shown of " + count.code, std::to_string(expected), std::to_string(count.shown));
        ExpectSame("handed over of " + count.code,
                   std::to_string(count.shown),
                   std::to_string(handed[count.code]));
    }
    const LintReport& report = answer.report;
    ExpectSame("findings by severity",
               std::to_string(all),
               std::to_string(report.errors + report.warnings + report.notes));
}

PlanRequest ReadRequest(FuzzInput& input)
{
    PlanRequest request;
    const std::size_t names = input.Below(4);
    if (names < 2) {
        request.hasNames = names == 1;
    }
    const std::size_t separator = input.Below(8);
    if (separator < 3) {
        request.separator = std::string(1, ",;|"[separator]);
    }
    const std::size_t encoding = input.Below(8);
    request.encoding = encoding == 1 ? "WINDOWS-1252" : encoding == 2 ? "SHIFT_JIS" : "";
    request.hasNoPoints = input.Bit();
    return request;
}

} // namespace

void RunInput(std::string_view bytes)
{
    FuzzInput input(bytes);
    const PlanRequest request = ReadRequest(input);
    const std::string_view rest = input.Rest();
    const std::string path =
        ScratchFile(QStringLiteral("lint.csv"),
                    QByteArray(rest.data(), static_cast<qsizetype>(rest.size())))
            .toStdString();
    try {
        const Answer all = Ask(path, request, 0);
        const Answer few = Ask(path, request, kFew);
        for (const LintFinding& finding : all.findings) {
            CheckFinding(finding, all.report.plan);
        }
        CheckCounts(all, 0);
        CheckCounts(few, kFew);
        ExpectSame("counts of both", DescribeCounts(all.report), DescribeCounts(few.report));
    } catch (const ImportFailure&) {
        // A file that cannot be read is refused.
    }
}

std::string MakeInput(Dice& dice)
{
    FuzzOutput output;
    output.Byte(dice.Byte()).Byte(dice.Byte()).Byte(dice.Byte()).Byte(dice.Byte());
    const auto separator = dice.Pick<std::string>({",", ";", "|", "\t", " "});
    const auto columns = static_cast<std::size_t>(dice.Between(1, 6));
    const auto rows = static_cast<std::size_t>(dice.Between(1, 60));
    std::string text = dice.Chance(10) ? "\xEF\xBB\xBF" : "";
    for (std::size_t column = 0; column < columns; ++column) {
        text += column == 0 ? "" : separator;
        text += dice.Pick<std::string>({"id", "lat", "lon", "name", "depth", "x", "y", ""});
    }
    text += "\n";
    for (std::size_t row = 0; row < rows; ++row) {
        text += dice.Chance(95) ? MakeLine(dice, columns, separator) +
                                      dice.Pick<std::string>({"\n", "\n", "\n", "\r\n", "\r"})
                                : MakeLines(dice, 2, separator);
    }
    if (dice.Chance(50)) {
        Break(dice, text);
    }
    output.Rest(text);
    return output.Take();
}

} // namespace Fuzz
