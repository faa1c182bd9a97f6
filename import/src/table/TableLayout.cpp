// Which columns are attributes, and of which types.
#include "PointRule.h"
#include "Table.h"
#include "TableParts.h"

#include <algorithm>
#include <string>

namespace Orvane::Import {

namespace {

EVariantType TypeOf(EPlanType type)
{
    switch (type) {
    case EPlanType::Integer32:
        return EVariantType::Int32;
    case EPlanType::Integer64:
        return EVariantType::Int64;
    case EPlanType::Double:
        return EVariantType::Double;
    case EPlanType::Boolean:
        return EVariantType::Boolean;
    case EPlanType::Date:
        return EVariantType::Date;
    case EPlanType::Time:
        return EVariantType::Time;
    case EPlanType::DateTime:
        return EVariantType::DateTime;
    case EPlanType::Text:
    case EPlanType::Angle:
        break;
    }
    return EVariantType::String;
}

/// Rule: where every cell stays as it is, names do too.
std::string NameOf(const PlanColumn& column, bool staysAsItIs)
{
    return column.name.empty() && !staysAsItIs ? "C" + std::to_string(column.index + 1)
                                               : column.name;
}

/// Whether the points say all that the cells of a coordinate say.
bool IsInPoints(const PlanColumn& column, const Plan& plan, double limit)
{
    const bool isNumber =
        column.type.value == EPlanType::Double || column.type.value == EPlanType::Integer32;
    const bool isPlain = column.spelling.empty() || column.spelling == "decimal comma";
    const bool isInRange = plan.coordinates.value.notation == EPlanNotation::Cartesian ||
                           (column.hasRange && column.least >= -limit && column.most <= limit);
    return isNumber && isPlain && isInRange && column.values > 0 && column.empties == 0 &&
           column.nullWords == 0;
}

} // namespace

std::string_view NameOf(EBadRow why) noexcept
{
    switch (why) {
    case EBadRow::None:
        break;
    case EBadRow::TooLong:
        return "too-long";
    case EBadRow::Encoding:
        return "encoding";
    case EBadRow::NulBlock:
        return "nul-block";
    case EBadRow::OpenQuote:
        return "open-quote";
    case EBadRow::CutShort:
        return "cut-short";
    case EBadRow::LongRow:
        return "long-row";
    case EBadRow::ShortRow:
        return "short-row";
    case EBadRow::Value:
        return "value";
    }
    return "";
}

BColumnInfo Table::MakeExtraColumn(std::size_t extraIndex)
{
    return {BString::FromUtf8("extra_" + std::to_string(extraIndex + 1)), EVariantType::String};
}

TableLayout LayOutTable(const Plan& plan, const TableRequest& request)
{
    const Table::TableRules rules(plan, request);
    const PlanCoordinates& coordinates = plan.coordinates.value;
    TableLayout layout;
    layout.hasPoints = request.makesPoints && !plan.hasNoPoints && !rules.isAllText &&
                       coordinates.x && coordinates.y;
    layout.hasZ = layout.hasPoints && coordinates.z;
    // A point needs both.
    const bool areBothInPoints = layout.hasPoints && Table::PointRule(rules).IsPlain() &&
                                 IsInPoints(plan.columns[*coordinates.x], plan, Table::kMostX) &&
                                 IsInPoints(plan.columns[*coordinates.y], plan, Table::kMostY);
    for (const PlanColumn& column : plan.columns) {
        if (column.role == EPlanRole::TrailingSeparator && !rules.isAllText) {
            continue;
        }
        if (column.role == EPlanRole::Name && layout.nameSource == TableLayout::kNoSource) {
            layout.nameSource = column.index;
        }
        const bool isXOrY = column.index == coordinates.x || column.index == coordinates.y;
        const bool isZ = layout.hasZ && column.index == coordinates.z;
        const bool isHeightInPoints =
            areBothInPoints && isZ && IsInPoints(column, plan, column.most + 1);
        if ((areBothInPoints && isXOrY) || isHeightInPoints) {
            continue;
        }
        layout.columns.push_back(
            {BString::FromUtf8(NameOf(column, rules.isAllText && plan.shape.hasNames.value)),
             TypeOf(rules.columns[column.index].Type())});
        layout.sources.push_back(column.index);
    }
    for (std::size_t extra = rules.columnCount; extra < rules.mostFields; ++extra) {
        layout.columns.push_back(Table::MakeExtraColumn(extra - rules.columnCount));
        layout.sources.push_back(TableLayout::kNoSource);
    }
    return layout;
}

} // namespace Orvane::Import
