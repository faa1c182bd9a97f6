// Columns by name or index, and their types.
#include "Given.h"

#include <Orvane/BString.h>
#include <Orvane/Import/Columns.h>
#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Failure.h>

#include <string>
#include <utility>
#include <vector>

namespace Orvane::Import {

std::size_t FindGivenColumn(const Plan& plan, const std::string& given, const char* subject)
{
    std::vector<BString> names;
    names.reserve(plan.columns.size());
    for (const PlanColumn& column : plan.columns) {
        // As a question shows columns without names.
        const std::string name =
            column.name.empty() ? "C" + std::to_string(column.index + 1) : column.name;
        names.push_back(BString::FromUtf8(name));
    }
    try {
        return FindColumn(names, given, subject);
    } catch (const ImportFailure& failure) {
        FailureFields fields = failure.GetFields();
        fields.file = plan.path;
        fields.hasColumnNames = plan.shape.hasNames.value;
        throw ImportFailure(std::move(fields));
    }
}

namespace {

/// How a given type is spelled. @throws ImportFailure `type-doubt`
std::string SpellingOf(const PlanColumnType& given,
                       const Scan::ColumnFacts& facts,
                       const DecimalSigns& signs,
                       const Plan& plan)
{
    if (!given.spelling.empty()) {
        return given.spelling;
    }
    // Rule: what the cells leave open is asked, also where their type is given.
    std::vector<std::string> ways = ListSpellings(facts, signs, given.type);
    if (ways.size() > 1) {
        FailureFields fields;
        fields.kind = EFailureKind::Request;
        fields.code = "type-doubt";
        fields.what = "The cells of the column '" + DisplayText::Escape(given.column) +
                      "' can be read in two ways: " + ways[0] + ", or " + ways[1] + ".";
        fields.file = plan.path;
        fields.subject = NameOf(given.type);
        fields.value = given.column;
        fields.nearest = std::move(ways);
        throw ImportFailure(std::move(fields));
    }
    return FindSpelling(facts, signs, given.type);
}

} // namespace

void UseGivenTypes(const std::vector<Scan::ColumnFacts>& facts,
                   const PlanRequest& request,
                   Plan& plan)
{
    const auto setType = [](PlanColumn& column, EPlanType type) {
        if (column.type.value != type) {
            column.type.rivals.insert(column.type.rivals.begin(),
                                      {std::string(NameOf(column.type.value)), 1, "not as given"});
        }
        column.type.value = type;
        column.type.decider = EDecider::Given;
        column.type.confidence = EConfidence::Certain;
        if (type == EPlanType::Text || type == EPlanType::Boolean) {
            column.spelling.clear();
        }
    };
    if (request.isAllText) {
        for (PlanColumn& column : plan.columns) {
            setType(column, EPlanType::Text);
            column.values += column.nullWords;
            column.nullWords = 0;
            column.nullSpellings.clear();
        }
    }
    const DecimalSigns signs = FindDecimalSigns(facts);
    for (const PlanColumnType& given : request.types) {
        PlanColumn& column = plan.columns[FindGivenColumn(plan, given.column, "type")];
        const EPlanType found = column.type.value;
        setType(column, given.type);
        const bool isSpelled = !given.spelling.empty() || found == EPlanType::Text;
        if (isSpelled && given.type != EPlanType::Text) {
            column.spelling = SpellingOf(given, facts[column.index], signs, plan);
        }
    }
}

} // namespace Orvane::Import
