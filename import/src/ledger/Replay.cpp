// Counts the file of a saved plan anew, and looks whether it begins as the planned one.
#include "Replay.h"

#include "plan/PlanDialect.h"
#include "plan/scan/TextSource.h"
#include "table/Table.h"

#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Failure.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Orvane::Import {

namespace {

[[noreturn]] void FailToFit(const std::string& file, std::uint64_t line, std::string cause)
{
    FailureFields fields;
    fields.kind = EFailureKind::Content;
    fields.code = "plan-unfit";
    fields.what = "The file does not fit the plan.";
    fields.file = file;
    fields.line = line;
    fields.cause = std::move(cause);
    fields.advice = "Make a plan of this file.";
    throw ImportFailure(std::move(fields));
}

std::string Shown(std::string_view text)
{
    return "'" + DisplayText::EscapeAndCut(text, 60) + "'";
}

/// Enters the counts of the bytes and lines of the plan's file.
void CountLines(Plan& plan)
{
    constexpr std::size_t kPiece = std::size_t{256} << 10U;
    const std::unique_ptr<Scan::TextSource> source = OpenText(plan);
    PlanBytes& bytes = plan.bytes;
    std::vector<char> piece(kPiece);
    std::uint64_t feeds = 0;
    std::uint64_t returns = 0;
    std::uint64_t pairs = 0;
    char before = '\0';
    std::size_t size = 0;
    while ((size = source->Read(piece.data(), piece.size())) > 0) {
        for (std::size_t at = 0; at < size; ++at) {
            const char byte = piece[at];
            feeds += byte == '\n' ? 1U : 0U;
            returns += byte == '\r' ? 1U : 0U;
            pairs += byte == '\n' && before == '\r' ? 1U : 0U;
            before = byte;
        }
    }
    bytes.size = source->Facts().size;
    bytes.feeds = feeds - pairs;
    bytes.returns = returns - pairs;
    bytes.returnsAndFeeds = pairs;
    bytes.endsWithLineEnd = before == '\n' || before == '\r';
    const bool hasLastLine = before != '\0' && !bytes.endsWithLineEnd;
    bytes.lines = feeds + returns - pairs + (hasLastLine ? 1 : 0);
}

void CheckHead(const Plan& plan)
{
    // What comes first: a file that ends before its names has no head to look at.
    for (const PlanLines& lines : plan.shape.lines) {
        if (lines.kind == EPlanLines::Names && lines.firstLine > plan.bytes.lines) {
            FailToFit(plan.path,
                      lines.firstLine,
                      "The plan has " + Shown(lines.text) + " in this line, and the file has " +
                          std::to_string(plan.bytes.lines) +
                          (plan.bytes.lines == 1 ? " line." : " lines."));
        }
    }
    TableRequest request;
    request.makesPoints = false;
    TableWalk walk(plan, request);
    TableRecord record;
    while (walk.Next(record) && record.kind == ERecord::Head) {
        const auto planned = std::find_if(
            plan.shape.lines.begin(), plan.shape.lines.end(), [&](const PlanLines& lines) {
                return lines.kind == EPlanLines::Names && lines.firstLine == record.line;
            });
        if (planned != plan.shape.lines.end() && !record.raw.starts_with(planned->text)) {
            FailToFit(plan.path,
                      record.line,
                      "The plan has " + Shown(planned->text) + " in this line, and the file has " +
                          Shown(record.raw.substr(0, record.raw.find_first_of("\r\n"))) + ".");
        }
    }
}

} // namespace

Plan FollowPlan(Plan plan, const std::string& file)
{
    const std::uint64_t lines = plan.bytes.lines;
    const std::uint64_t size = plan.bytes.size;
    plan.path = file;
    CountLines(plan);
    if (plan.bytes.lines != lines || plan.bytes.size != size) {
        plan.shape.lastRowLine = std::numeric_limits<std::uint64_t>::max();
        plan.bytes.nuls = 0;
    }
    CheckHead(plan);
    return plan;
}

} // namespace Orvane::Import
