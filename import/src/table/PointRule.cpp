// Cells to degrees.
#include "PointRule.h"

#include "../plan/values/Angles.h"
#include "../plan/values/FoldedCell.h"

#include <algorithm>
#include <cmath>

namespace Orvane::Import::Table {

namespace {

bool IsNumber(EPlanType type)
{
    return type == EPlanType::Integer32 || type == EPlanType::Integer64 ||
           type == EPlanType::Double;
}

bool HasHelpers(const PointRule::Axis& axis)
{
    return axis.hemisphere || axis.minutes || axis.seconds;
}

} // namespace

PointRule::PointRule(const TableRules& rules)
    : m_notation(rules.plan.coordinates.value.notation)
    , m_letterO(rules.plan.coordinates.value.letterO)
{
    const Plan& plan = rules.plan;
    m_x.column = *plan.coordinates.value.x;
    m_y.column = *plan.coordinates.value.y;
    m_y.isX = false;
    for (const PlanColumn& column : plan.columns) {
        switch (column.role) {
        case EPlanRole::XHemisphere:
            m_x.hemisphere = column.index;
            break;
        case EPlanRole::YHemisphere:
            m_y.hemisphere = column.index;
            break;
        case EPlanRole::XMinutes:
            m_x.minutes = column.index;
            break;
        case EPlanRole::YMinutes:
            m_y.minutes = column.index;
            break;
        case EPlanRole::XSeconds:
            m_x.seconds = column.index;
            break;
        case EPlanRole::YSeconds:
            m_y.seconds = column.index;
            break;
        default:
            break;
        }
    }
    m_x.notation = NotationOf(plan.columns[m_x.column]);
    m_y.notation = NotationOf(plan.columns[m_y.column]);
    m_isPlain = (m_notation == EPlanNotation::Decimal || m_notation == EPlanNotation::Cartesian) &&
                !HasHelpers(m_x) && !HasHelpers(m_y) &&
                IsNumber(rules.columns[m_x.column].Type()) &&
                IsNumber(rules.columns[m_y.column].Type());
}

PointRule::EPlace PointRule::Check(double x, double y) const noexcept
{
    if (!std::isfinite(x) || !std::isfinite(y)) {
        return EPlace::None;
    }
    const bool isInRange =
        m_notation == EPlanNotation::Cartesian || (std::abs(x) <= kMostX && std::abs(y) <= kMostY);
    return isInRange ? EPlace::Point : EPlace::OutOfRange;
}

int PointRule::SignOf(const Axis& axis, char letter) const noexcept
{
    char meaning = letter >= 'a' ? static_cast<char>(letter - 'a' + 'A') : letter;
    if (meaning == 'O') {
        meaning = m_letterO;
    }
    if (axis.isX) {
        return meaning == 'E' ? 1 : (meaning == 'W' ? -1 : 0);
    }
    return meaning == 'N' ? 1 : (meaning == 'S' ? -1 : 0);
}

bool PointRule::ReadDegrees(const Axis& axis,
                            std::string_view cell,
                            double& value,
                            bool& isNegative) const noexcept
{
    const Values::FoldedCell folded(cell);
    const std::string_view text = folded.Text();
    if (text.empty()) {
        return false;
    }
    isNegative = text.front() == '-';
    const Values::NumberReading number = Values::ReadFoldedNumber(text);
    if ((number.notations & axis.notation) != 0) {
        value = Values::ToDouble(cell, axis.notation);
        const bool hasSeconds = m_notation == EPlanNotation::PackedSeconds;
        if (m_notation == EPlanNotation::Packed || hasSeconds) {
            const auto packing = hasSeconds ? Values::EPacking::Seconds : Values::EPacking::Minutes;
            if (!Values::CanBePacked(value, packing)) {
                return false;
            }
            value = Values::UnpackDegrees(value, packing);
        }
        return true;
    }
    if (m_notation == EPlanNotation::Cartesian) {
        return false;
    }
    const Values::AngleReading angle = Values::ReadFoldedAngle(text);
    if (!angle.isAngle || angle.isContradiction) {
        return false;
    }
    value = angle.degrees;
    if (angle.letter != 0) {
        const int sign = SignOf(axis, angle.letter);
        isNegative = sign < 0;
        value = isNegative ? -std::abs(value) : std::abs(value);
        return sign != 0;
    }
    return true;
}

bool PointRule::AddPart(std::string_view cell, double unit, double& parts) noexcept
{
    const Values::NumberReading number = Values::ReadNumber(cell);
    const Values::Notation notation = (number.notations & Values::NotationPlain) != 0
                                          ? Values::NotationPlain
                                          : Values::NotationComma;
    if ((number.notations & notation) == 0) {
        return false;
    }
    const double value = Values::ToDouble(cell, notation);
    if (!(value >= 0 && value < 60)) {
        return false;
    }
    parts += value / unit;
    return true;
}

bool PointRule::ApplyHemisphere(const Axis& axis,
                                std::string_view cell,
                                bool isNegative,
                                double& value) const noexcept
{
    const std::string_view text = Values::Trim(cell);
    // Rule: a sign and a letter together contradict each other, and give no point.
    if (text.size() != 1 || isNegative) {
        return false;
    }
    const int sign = SignOf(axis, text.front());
    value = sign < 0 ? -value : value;
    return sign != 0;
}

} // namespace Orvane::Import::Table
