// Columns by name or index, and their types.
#include "Given.h"

#include <Orvane/BString.h>
#include <Orvane/Import/Columns.h>
#include <Orvane/Import/Failure.h>

#include <utility>

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
        if (found == EPlanType::Text && given.type != EPlanType::Text) {
            column.spelling = FindSpelling(facts[column.index], signs, given.type);
        }
    }
}

} // namespace Orvane::Import
