// Joins the questions of a plan to one failure.
#include "Questions.h"

#include "table/Table.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>

namespace Orvane::Import {

namespace {

/// A kind of question, the most basic one first: names cannot be told in a wrong encoding, nor
/// coordinates without names.
struct Kind
{
    std::string_view question;
    const char* failure;
};

constexpr Kind kKinds[] = {
    {"encoding", "encoding-unknown"},
    {"names", "names-unknown"},
    {"coordinates", "columns-unknown"},
    {"axes", "columns-unknown"},
};

std::size_t RankOf(const PlanQuestion& question)
{
    const auto* const found =
        std::find_if(std::begin(kKinds), std::end(kKinds), [&](const Kind& kind) {
            return kind.question == question.code;
        });
    return static_cast<std::size_t>(found - std::begin(kKinds));
}

/// Both answers in one; what `answer` states counts.
PlanAnswer Join(PlanAnswer answer, const PlanAnswer& other)
{
    answer.x = answer.x ? answer.x : other.x;
    answer.y = answer.y ? answer.y : other.y;
    answer.hasNames = answer.hasNames ? answer.hasNames : other.hasNames;
    answer.encoding = answer.encoding.empty() ? other.encoding : answer.encoding;
    return answer;
}

} // namespace

std::vector<ColumnSample> SampleColumns(const Plan& plan)
{
    std::vector<ColumnSample> samples;
    for (const PlanColumn& column : plan.columns) {
        samples.push_back({column.name, {}});
    }
    TableRequest request;
    request.makesPoints = false;
    request.mostRows = 1;
    TableWalk walk(plan, request);
    TableRecord record;
    while (walk.Next(record)) {
        if (record.kind != ERecord::Row) {
            continue;
        }
        for (std::size_t index = 0; index < std::min(samples.size(), record.cells.size());
             ++index) {
            samples[index].firstValue = std::string(record.cells[index].substr(0, 200));
        }
        break;
    }
    return samples;
}

ImportFailure
MakeQuestion(const Plan& plan, std::vector<ColumnSample> columns, std::uint64_t rowsInTheWay)
{
    std::vector<const PlanQuestion*> questions;
    for (const PlanQuestion& question : plan.questions) {
        questions.push_back(&question);
    }
    std::stable_sort(questions.begin(),
                     questions.end(),
                     [](const PlanQuestion* left, const PlanQuestion* right) {
                         return RankOf(*left) < RankOf(*right);
                     });
    const PlanQuestion& first = *questions.front();
    const std::size_t rank = RankOf(first);

    FailureFields fields;
    fields.kind = EFailureKind::Request;
    fields.code = rank < std::size(kKinds) ? kKinds[rank].failure : "columns-unknown";
    fields.what = first.text;
    fields.file = plan.path;
    fields.columns = std::move(columns);
    fields.hasColumnNames = plan.shape.hasNames.value;
    fields.isPlanned = true;
    fields.fieldsFound = rowsInTheWay;
    const bool needsColumns =
        std::any_of(questions.begin(), questions.end(), [](const PlanQuestion* question) {
            return question->code == "coordinates" && question->answers.empty();
        });
    if (needsColumns) {
        fields.missing = {"X", "Y"};
    }
    for (PlanAnswer answer : first.answers) {
        for (std::size_t index = 1; index < questions.size(); ++index) {
            if (!questions[index]->answers.empty()) {
                answer = Join(std::move(answer), questions[index]->answers.front());
            }
        }
        fields.answers.push_back(std::move(answer));
    }
    return ImportFailure(std::move(fields));
}

} // namespace Orvane::Import
