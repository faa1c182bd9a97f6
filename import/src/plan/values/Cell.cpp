// Applies the rules in the order of their narrowness.
#include "Cell.h"

#include "FoldedCell.h"

#include <algorithm>

namespace Orvane::Import::Values {

namespace {

/// Whether a cell could be a date, a time or an angle: these have a digit and are short.
bool HasDigit(std::string_view folded) noexcept
{
    return std::any_of(folded.begin(), folded.end(), IsDigit);
}

ECell ClassOfNumber(const NumberReading& number) noexcept
{
    if (number.hasLeadingZero || !number.isExact) {
        return ECell::Code;
    }
    if ((number.notations & NotationPlain) == 0) {
        return ECell::Spelled;
    }
    return number.isInteger ? ECell::Integer : ECell::Decimal;
}

std::uint8_t If(bool condition, Reading reading) noexcept
{
    return condition ? static_cast<std::uint8_t>(reading) : std::uint8_t{0};
}

void ReadWithDigits(std::string_view folded, CellReading& result) noexcept
{
    result.number = ReadFoldedNumber(folded);
    result.time = ReadFoldedTime(folded);
    result.angle = ReadFoldedAngle(folded);
    const bool isNumber = result.number.notations != 0;
    if (isNumber) {
        result.cell = ClassOfNumber(result.number);
    } else if (result.time.IsDateTime()) {
        result.cell = ECell::DateTime;
    } else if (result.time.IsDate()) {
        result.cell = ECell::Date;
    } else if (result.time.IsTime()) {
        result.cell = ECell::Time;
    } else if (result.angle.isAngle) {
        result.cell = ECell::Angle;
    }
    result.readings = static_cast<std::uint8_t>(
        If(isNumber && result.cell != ECell::Code, ReadingNumber) |
        If(result.time.IsDate(), ReadingDate) | If(result.time.IsTime(), ReadingTime) |
        If(result.time.IsDateTime(), ReadingDateTime) | If(result.angle.isAngle, ReadingAngle));
}

} // namespace

CellReading ReadCell(std::string_view cell) noexcept
{
    CellReading result;
    const FoldedCell folded(cell);
    const std::string_view text = folded.Text();
    if (text.empty() && !folded.IsTooLong()) {
        return result;
    }
    result.cell = ECell::Text;
    result.readings = 0;
    if (HasDigit(text)) {
        ReadWithDigits(text, result);
        return result;
    }
    if (IsNullWord(cell)) {
        result.cell = ECell::NullWord;
        result.readings = kAllReadings;
        return result;
    }
    result.words = ReadBooleanWord(cell);
    if (result.words != 0) {
        result.cell = ECell::Boolean;
        result.readings = ReadingBoolean;
    }
    return result;
}

const char* NameOf(ECell cell) noexcept
{
    switch (cell) {
    case ECell::Empty:
        return "empty";
    case ECell::NullWord:
        return "null word";
    case ECell::Integer:
        return "integer";
    case ECell::Decimal:
        return "decimal";
    case ECell::Spelled:
        return "number with comma or groups";
    case ECell::Code:
        return "code of digits";
    case ECell::Boolean:
        return "boolean word";
    case ECell::Date:
        return "date";
    case ECell::Time:
        return "time";
    case ECell::DateTime:
        return "date and time";
    case ECell::Angle:
        return "angle";
    case ECell::Text:
        return "text";
    }
    return "";
}

} // namespace Orvane::Import::Values
