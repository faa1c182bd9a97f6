// A walk is the parts of a table, one record each.
#include "Table.h"
#include "TableParts.h"

#include <utility>

namespace Orvane::Import {

class TableWalk::State
{
public:
    State(const Plan& givenPlan, const TableRequest& request)
        : plan(givenPlan)
        , rules(plan, request)
        , parts(rules, false)
    {}

    Plan plan;
    Table::TableRules rules;
    Table::TableParts parts;
};

TableWalk::TableWalk(const Plan& plan, const TableRequest& request)
    : m_state(std::make_unique<State>(plan, request))
{}

TableWalk::~TableWalk() = default;

bool TableWalk::Next(TableRecord& record)
{
    return m_state->parts.Next(record) != Table::TableParts::EPart::End;
}

const TableLines& TableWalk::Lines() const noexcept
{
    return std::as_const(m_state->parts).Lines();
}

std::uint64_t TableWalk::BytesDone() const noexcept
{
    return m_state->parts.BytesDone();
}

std::size_t TableWalk::FindMisfit(const TableRecord& row) const noexcept
{
    return m_state->rules.FindMisfit(row);
}

BadRowSink::~BadRowSink() = default;

} // namespace Orvane::Import
