// The rules by which a cell gets a code, cheapest first.
#include "ColumnWatch.h"

#include "plan/values/FoldedCell.h"

#include <algorithm>
#include <text/ValueRules.h>
#include <utility>

namespace Orvane::Import {

namespace {

using Values::ECell;

/// The minus sign of mathematics, U+2212.
constexpr std::string_view kMinusSign = "\xE2\x88\x92";

std::uint64_t CountOf(const PlanColumn& column, ECell cell)
{
    for (const PlanEvidence& evidence : column.type.evidence) {
        if (evidence.what == Values::NameOf(cell)) {
            return evidence.count;
        }
    }
    return 0;
}

/// Whether all of a cell is digits, the first of them no zero, few enough for 32 bits.
bool IsSmallInteger(std::string_view cell) noexcept
{
    return !cell.empty() && cell.size() <= 9 && cell.front() != '0' &&
           std::all_of(cell.begin(), cell.end(), Values::IsDigit);
}

/// `<0.05`, `~5`
bool IsQualified(std::string_view cell) noexcept
{
    const std::string_view text = Values::Trim(cell);
    const std::size_t signs = std::min(text.find_first_not_of("<>=~"), text.size());
    return signs > 0 && signs < text.size() &&
           Values::ReadNumber(text.substr(signs)).notations != 0;
}

} // namespace

std::optional<double> ReadValue(std::string_view cell, const std::string& spelling)
{
    const unsigned notations = Values::ReadNumber(cell).notations;
    constexpr unsigned kCommas = Values::kCommaNotations;
    const bool isComma = spelling.starts_with("decimal comma");
    const unsigned wanted = isComma ? notations & kCommas : notations & ~kCommas;
    const unsigned possible = wanted != 0 ? wanted : notations;
    if (possible == 0) {
        return std::nullopt;
    }
    const unsigned lowest = possible & (~possible + 1U);
    return Values::ToDouble(cell, static_cast<Values::Notation>(lowest));
}

ColumnWatch::ColumnWatch(const PlanColumn& column,
                         BareColumn bare,
                         std::vector<double> sentinels,
                         bool isAscii)
    : m_column(&column)
    , m_bare(std::move(bare))
    , m_sentinels(std::move(sentinels))
{
    const bool hasNulls = column.empties > 0 || column.nullWords > 0;
    if (IsNumberColumn()) {
        const bool isPast01 = column.least < 0 || column.most > 1;
        const bool hasDecimals = column.type.value == EPlanType::Double;
        const bool isLate = m_bare.Converts() && m_bare.Type() != EVariantType::Double &&
                            (hasDecimals || column.type.value == EPlanType::Integer64);
        const bool isPastBoolean = m_bare.Type() == EVariantType::Boolean && isPast01;
        const bool mayHaveSigns = !isAscii && column.least < 0;
        m_isNeeded = hasNulls || isLate || isPastBoolean || mayHaveSigns ||
                     CountOf(column, ECell::Spelled) > 0 || !m_sentinels.empty();
        return;
    }
    if (column.type.value != EPlanType::Text) {
        const bool isBoolean = column.type.value == EPlanType::Boolean;
        m_isNeeded = column.nullWords > 0 || (isBoolean && hasNulls);
        return;
    }
    m_isOddText = std::any_of(
        column.type.rivals.begin(), column.type.rivals.end(), [](const PlanRival& rival) {
            return rival.support > 0 && (rival.value == "number" || rival.value == "date");
        });
    for (const PlanEvidence& evidence : column.type.evidence) {
        for (const PlanPlace& place : evidence.places) {
            m_hasUnits =
                m_hasUnits || Values::IsNumberWithUnit(place.text) || IsQualified(place.text);
        }
    }
    m_isNeeded = (m_bare.Converts() && column.values > 0) || m_isOddText || m_hasUnits;
}

bool ColumnWatch::IsNumberColumn() const noexcept
{
    const EPlanType type = m_column->type.value;
    return type == EPlanType::Integer32 || type == EPlanType::Integer64 ||
           type == EPlanType::Double;
}

bool ColumnWatch::IsNull(std::string_view cell) const
{
    return m_column->nullWords > 0 && Values::IsNullWord(cell);
}

std::optional<ELint> ColumnWatch::Look(std::string_view cell) const
{
    if (Values::Trim(cell).empty()) {
        const bool isGap = IsNumberColumn() || m_column->type.value == EPlanType::Boolean ||
                           (m_column->type.value == EPlanType::Text && m_bare.Converts());
        return isGap ? std::optional(ELint::Gap) : std::nullopt;
    }
    if (m_column->type.value == EPlanType::Text) {
        return LookAtText(cell);
    }
    if (IsNumberColumn()) {
        return LookAtNumber(cell);
    }
    return IsNull(cell) ? std::optional(ELint::NullWord) : std::nullopt;
}

std::optional<ELint> ColumnWatch::LookAtNumber(std::string_view cell) const
{
    const bool isBoolean = m_bare.Type() == EVariantType::Boolean;
    if (m_sentinels.empty() && !isBoolean && IsSmallInteger(cell)) {
        return std::nullopt;
    }
    const Values::CellReading reading = Values::ReadCell(cell);
    if (reading.cell == ECell::NullWord) {
        return ELint::NullWord;
    }
    if (!m_sentinels.empty()) {
        const std::optional<double> value = ReadValue(cell, m_column->spelling);
        if (value &&
            std::find(m_sentinels.begin(), m_sentinels.end(), *value) != m_sentinels.end()) {
            return ELint::Sentinel;
        }
    }
    if (cell.find(kMinusSign) != std::string_view::npos) {
        return ELint::UnicodeMinus;
    }
    if (reading.cell == ECell::Spelled) {
        const bool isComma = m_column->spelling.starts_with("decimal comma") &&
                             cell.find(',') != std::string_view::npos;
        return isComma ? ELint::DecimalComma : ELint::Thousands;
    }
    const bool isWhole = m_bare.Type() == EVariantType::Int32 || isBoolean;
    if (reading.cell == ECell::Decimal && isWhole) {
        const bool hasExponent = cell.find_first_of("eE") != std::string_view::npos;
        return hasExponent ? ELint::Exponent : ELint::LateDecimal;
    }
    if (reading.cell == ECell::Integer && isBoolean &&
        !AsciiReader::ValueRules::IsBooleanWord(cell)) {
        return ELint::BooleanDigits;
    }
    if (reading.cell == ECell::Integer && isWhole && !reading.number.isInt32) {
        return ELint::BigInteger;
    }
    return std::nullopt;
}

std::optional<ELint> ColumnWatch::LookAtText(std::string_view cell) const
{
    if (IsSmallInteger(cell) && m_bare.Type() != EVariantType::Boolean) {
        return std::nullopt;
    }
    const Values::CellReading reading = Values::ReadCell(cell);
    const bool isWhole =
        m_bare.Type() == EVariantType::Int32 || m_bare.Type() == EVariantType::Boolean;
    switch (reading.cell) {
    case ECell::Code:
        if (m_bare.Converts()) {
            return reading.number.hasLeadingZero ? ELint::LeadingZero : ELint::LongNumber;
        }
        break;
    case ECell::Integer:
        if (m_bare.Type() == EVariantType::Boolean) {
            return AsciiReader::ValueRules::IsBooleanWord(cell)
                       ? std::nullopt
                       : std::optional(ELint::BooleanDigits);
        }
        return isWhole && !reading.number.isInt32 ? std::optional(ELint::BigInteger) : std::nullopt;
    case ECell::Decimal:
        return isWhole ? std::optional(ELint::LateDecimal) : std::nullopt;
    case ECell::Spelled:
        return std::nullopt; // A doubt about the whole column.
    default:
        break;
    }
    if (m_hasUnits && Values::IsNumberWithUnit(cell)) {
        return ELint::MixedUnits;
    }
    if (m_hasUnits && IsQualified(cell)) {
        return ELint::QualifiedNumber;
    }
    const bool isBareWord =
        m_bare.Type() == EVariantType::Boolean && AsciiReader::ValueRules::IsBooleanWord(cell);
    if (m_bare.Converts() && !isBareWord) {
        return ELint::LateText;
    }
    const bool isOdd = reading.cell == ECell::Text || reading.cell == ECell::Code ||
                       reading.cell == ECell::NullWord || reading.cell == ECell::Boolean;
    return m_isOddText && isOdd ? std::optional(ELint::OddCell) : std::nullopt;
}

bool ColumnWatch::IsChanged(ELint code, std::string_view cell) const
{
    if (!m_bare.Converts()) {
        return false;
    }
    if (code == ELint::Sentinel) {
        return true;
    }
    const std::optional<double> value =
        IsNumberColumn() ? ReadValue(cell, m_column->spelling) : std::nullopt;
    if (!value) {
        return true;
    }
    switch (m_bare.Type()) {
    case EVariantType::Int32:
        return AsciiReader::ValueRules::ToInt32(cell) != *value;
    case EVariantType::Double:
        return AsciiReader::ValueRules::ToDouble(cell) != *value;
    default:
        return (AsciiReader::ValueRules::IsTrueWord(cell) ? 1 : 0) != *value;
    }
}

std::string ColumnWatch::DescribeBare(std::string_view cell) const
{
    if (!m_bare.Converts()) {
        return "makes the column text";
    }
    return "reads " + m_bare.Convert(cell);
}

} // namespace Orvane::Import
