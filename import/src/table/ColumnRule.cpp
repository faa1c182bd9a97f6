// The usual spelling first, then the rules of Values, then nulls.
#include "ColumnRule.h"

#include "../plan/values/FoldedCell.h"
#include "../plan/values/Times.h"
#include "../plan/values/Words.h"

#include <Orvane/BNumbers.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

namespace Orvane::Import::Table {

namespace {

constexpr std::uint32_t kDayFirst =
    Values::DateDayMonthYearSlash | Values::DateDayMonthYearDash | Values::DateDayMonthYearPoint;
constexpr std::uint32_t kMonthFirst =
    Values::DateMonthDayYearSlash | Values::DateMonthDayYearDash | Values::DateMonthDayYearPoint;

/// The forms of dates that a plan's spelling stands for.
std::uint32_t DateFormsOf(const PlanColumn& column)
{
    const std::string& spelling = column.spelling;
    if (spelling == "day first") {
        return kDayFirst;
    }
    if (spelling == "month first") {
        return kMonthFirst;
    }
    if (spelling == "month by name") {
        return Values::DateDayNameYear | Values::DateNameDayYear;
    }
    if (spelling == "year first") {
        return Values::DateYearMonthDaySlash | Values::DateYearMonthDayPoint;
    }
    if (spelling == "YYYYMMDD") {
        return Values::DateCompact;
    }
    return Values::DateYearMonthDay | Values::DateCompact;
}

/// Blanks of every kind that numbers may have around them.
bool IsAllBlank(std::string_view cell) noexcept
{
    const Values::FoldedCell folded(cell);
    return folded.Text().empty() && !folded.IsTooLong();
}

/// A plain number in its parts.
struct ShortNumber
{
    std::int64_t mantissa = 0; ///< the digits as a number, the point left out
    unsigned decimals = 0;
    bool isNumber = false;
    bool isNegative = false;
    bool hasPoint = false;
};

/// Reads the most usual numbers: digits, at most one point, a minus, no zero before another digit;
/// so few digits that they and the power of ten are exact doubles.
ShortNumber ReadShortNumber(std::string_view cell) noexcept
{
    constexpr std::size_t kMostBytes = 16;
    constexpr unsigned kMostDigits = 15;
    ShortNumber number;
    if (cell.size() > kMostBytes) {
        return number;
    }
    number.isNegative = !cell.empty() && cell.front() == '-';
    cell.remove_prefix(number.isNegative ? 1U : 0U);
    if (cell.size() > 1 && cell[0] == '0' && Values::IsDigit(cell[1])) {
        return number;
    }
    unsigned digits = 0;
    for (const char unit : cell) {
        if (unit == '.' && !number.hasPoint) {
            number.hasPoint = true;
            continue;
        }
        if (!Values::IsDigit(unit)) {
            return number;
        }
        number.mantissa = number.mantissa * 10 + (unit - '0');
        number.decimals += number.hasPoint ? 1U : 0U;
        ++digits;
    }
    number.isNumber = digits > 0 && digits <= kMostDigits;
    return number;
}

/// Both parts are exact, so that the one division rounds correctly.
double ToDouble(const ShortNumber& number) noexcept
{
    static constexpr double kPowersOfTen[] = {
        1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    const double size = static_cast<double>(number.mantissa) / kPowersOfTen[number.decimals];
    return number.isNegative ? -size : size;
}

} // namespace

std::vector<std::string> NullTextsOf(const Plan& plan, const TableRequest& request)
{
    std::vector<std::string> texts = plan.nullTexts;
    texts.insert(texts.end(), request.nullTexts.begin(), request.nullTexts.end());
    for (std::string& text : texts) {
        text = std::string(Values::Trim(text));
    }
    return texts;
}

ColumnRule::ColumnRule(const PlanColumn& column,
                       const std::vector<std::string>& nullTexts,
                       bool isAllText)
    : m_type(isAllText ? EPlanType::Text : column.type.value)
    , m_isGiven(column.type.decider == EDecider::Given)
    , m_hasNullTexts(!isAllText && !nullTexts.empty())
    , m_notation(NotationOf(column))
    , m_dateForms(DateFormsOf(column))
    , m_nullTexts(&nullTexts)
{
    const bool isNumber = m_type == EPlanType::Integer32 || m_type == EPlanType::Double;
    m_isPlainNumber = isNumber && m_notation == Values::NotationPlain && !m_hasNullTexts;
    m_isoKind = m_type == EPlanType::Date   ? EIsoKind::Date
                : m_type == EPlanType::Time ? EIsoKind::Time
                                            : EIsoKind::DateTime;
}

bool ColumnRule::IsNullText(std::string_view cell) const noexcept
{
    if (!m_hasNullTexts) {
        return false;
    }
    const std::string_view text = Values::Trim(cell);
    return std::any_of(m_nullTexts->begin(), m_nullTexts->end(), [&](const std::string& other) {
        return text == other;
    });
}

ECellState ColumnRule::ReadNull(std::string_view cell) const noexcept
{
    if (IsAllBlank(cell)) {
        return ECellState::Empty;
    }
    return Values::IsNullWord(cell) ? ECellState::NullWord : ECellState::Misfit;
}

ECellState ColumnRule::ReadInt64(std::string_view cell, std::int64_t& value) const noexcept
{
    if (cell.empty()) {
        return ECellState::Empty;
    }
    if (IsNullText(cell)) {
        return ECellState::NullWord;
    }
    const ShortNumber number = ReadShortNumber(cell);
    if (number.isNumber && !number.hasPoint) {
        value = number.isNegative ? -number.mantissa : number.mantissa;
        return ECellState::Value;
    }
    const Values::NumberReading reading = Values::ReadNumber(cell);
    if ((reading.notations & m_notation) == 0) {
        return ReadNull(cell);
    }
    std::array<char, Values::FoldedCell::kCapacity> plain{};
    const std::size_t size = Values::WritePlain(cell, m_notation, plain.data());
    const std::from_chars_result result = std::from_chars(plain.data(), plain.data() + size, value);
    const bool isWhole = result.ec == std::errc() && result.ptr == plain.data() + size;
    return isWhole && (m_isGiven || !reading.hasLeadingZero) ? ECellState::Value
                                                             : ECellState::Misfit;
}

ECellState ColumnRule::ReadInt32(std::string_view cell, std::int32_t& value) const noexcept
{
    std::int64_t wide = 0;
    const ECellState state = ReadInt64(cell, wide);
    value = static_cast<std::int32_t>(wide);
    return state == ECellState::Value && value != wide ? ECellState::Misfit : state;
}

ECellState ColumnRule::ReadDouble(std::string_view cell, double& value) const noexcept
{
    if (cell.empty()) {
        return ECellState::Empty;
    }
    if (IsNullText(cell)) {
        return ECellState::NullWord;
    }
    const ShortNumber number = ReadShortNumber(cell);
    // Without a point digits are the same number in every notation.
    if (number.isNumber && (!number.hasPoint || m_notation == Values::NotationPlain)) {
        value = ToDouble(number);
        return ECellState::Value;
    }
    const Values::NumberReading reading = Values::ReadNumber(cell);
    if ((reading.notations & m_notation) == 0) {
        return ReadNull(cell);
    }
    value = Values::ToDouble(cell, m_notation);
    if (m_isGiven) {
        return std::isfinite(value) ? ECellState::Value : ECellState::Misfit;
    }
    // Rule: a whole number that no double holds is no value of a column of doubles.
    const bool isChanged = reading.isInteger && std::abs(value) >= 0x1p53 && [&] {
        std::array<char, Values::FoldedCell::kCapacity> plain{};
        const std::size_t size = Values::WritePlain(cell, m_notation, plain.data());
        std::int64_t whole = 0;
        const std::from_chars_result result =
            std::from_chars(plain.data(), plain.data() + size, whole);
        return result.ec == std::errc()
                   ? static_cast<double>(whole) >= 0x1p63 ||
                         static_cast<std::int64_t>(static_cast<double>(whole)) != whole
                   : !reading.isExact;
    }();
    return isChanged || reading.hasLeadingZero || !std::isfinite(value) ? ECellState::Misfit
                                                                        : ECellState::Value;
}

ECellState ColumnRule::ReadBoolean(std::string_view cell, bool& value) const noexcept
{
    if (cell.empty()) {
        return ECellState::Empty;
    }
    if (IsNullText(cell)) {
        return ECellState::NullWord;
    }
    if (const int plain = ReadPlainWord(cell); plain >= 0) {
        value = plain == 1;
        return ECellState::Value;
    }
    const unsigned word = Values::ReadBooleanWord(cell);
    if (word != 0) {
        constexpr unsigned kTrueWords =
            Values::WordTrue | Values::WordYes | Values::LetterT | Values::LetterY;
        value = (word & kTrueWords) != 0;
        return ECellState::Value;
    }
    const std::string_view text = Values::Trim(cell);
    // Rule: 0 and 1 are numbers, and truth values only where the caller says so.
    if (m_isGiven && (text == "0" || text == "1")) {
        value = text == "1";
        return ECellState::Value;
    }
    return ReadNull(cell);
}

ECellState ColumnRule::ReadTime(std::string_view cell,
                                IsoBuffer& buffer,
                                std::string_view& text) const noexcept
{
    if (cell.empty()) {
        return ECellState::Empty;
    }
    if (IsNullText(cell)) {
        return ECellState::NullWord;
    }
    const std::size_t size = WriteIso(cell, m_isoKind, m_dateForms, buffer);
    if (size == 0) {
        return ReadNull(cell);
    }
    text = {buffer.data(), size};
    return ECellState::Value;
}

ECellState ColumnRule::ReadText(std::string_view cell) const noexcept
{
    if (cell.empty()) {
        return ECellState::Empty;
    }
    if (IsNullText(cell)) {
        return ECellState::NullWord;
    }
    // Rule: a word is null only among numbers and dates, and blanks are a text among texts.
    if (m_type == EPlanType::Angle) {
        const ECellState state = ReadNull(cell);
        return state == ECellState::Misfit ? ECellState::Value : state;
    }
    return ECellState::Value;
}

ECellState ColumnRule::Read(std::string_view cell) const noexcept
{
    switch (m_type) {
    case EPlanType::Integer32: {
        std::int32_t value = 0;
        return ReadInt32(cell, value);
    }
    case EPlanType::Integer64: {
        std::int64_t value = 0;
        return ReadInt64(cell, value);
    }
    case EPlanType::Double: {
        double value = 0;
        return ReadDouble(cell, value);
    }
    case EPlanType::Boolean: {
        bool value = false;
        return ReadBoolean(cell, value);
    }
    case EPlanType::Date:
    case EPlanType::Time:
    case EPlanType::DateTime: {
        IsoBuffer buffer{};
        std::string_view text;
        return ReadTime(cell, buffer, text);
    }
    case EPlanType::Text:
    case EPlanType::Angle:
        break;
    }
    return ReadText(cell);
}

} // namespace Orvane::Import::Table
