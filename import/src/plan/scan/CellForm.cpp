// Classes of characters, and where a cell has others.
#include "CellForm.h"

#include "../values/FoldedCell.h"

#include <algorithm>

namespace Orvane::Import::Scan {

namespace {

constexpr std::uint32_t kFewestCells = 4;

/// What a cell is made of, as bits.
enum Class : std::uint32_t {
    ClassDigit = 1,
    ClassLetter = 2,
    ClassBlank = 4,
    ClassPoint = 8,
    ClassHyphen = 16,
    ClassSlash = 32,
    ClassColon = 64,
    ClassMoney = 128,
    ClassOther = 256,
    BeginsWithDigit = 512,
    BeginsWithLetter = 1024,
    BeginsWithOther = 2048,
};

std::uint32_t ClassOf(char unit) noexcept
{
    if (Values::IsDigit(unit)) {
        return ClassDigit;
    }
    if (Values::IsLetter(unit) || static_cast<signed char>(unit) < 0) {
        return ClassLetter;
    }
    switch (unit) {
    case ' ':
        return ClassBlank;
    case '.':
        return ClassPoint;
    case '-':
        return ClassHyphen;
    case '/':
        return ClassSlash;
    case ':':
        return ClassColon;
    case '$':
        return ClassMoney;
    default:
        return ClassOther;
    }
}

std::uint32_t ClassesOf(std::string_view cell) noexcept
{
    std::uint32_t classes = 0;
    for (const char unit : cell) {
        classes |= ClassOf(unit);
    }
    if (!cell.empty()) {
        const std::uint32_t first = ClassOf(cell.front());
        classes |= first == ClassDigit    ? BeginsWithDigit
                   : first == ClassLetter ? BeginsWithLetter
                                          : BeginsWithOther;
    }
    return classes;
}

} // namespace

CellKind KindOf(std::string_view cell)
{
    const Values::CellReading reading = Values::ReadCell(cell);
    // A letter beside a whole number is more often a code than an angle.
    const bool isCode = reading.cell == Values::ECell::Angle && !reading.angle.hasMarks &&
                        reading.angle.parts == 1 && !reading.angle.isDecimal;
    return {reading.cell, isCode ? std::uint8_t{0} : reading.readings};
}

void CellForm::Add(std::string_view cell, const CellKind& kind)
{
    ++cells;
    cell = Values::Trim(cell);
    if (cell.empty()) {
        ++empties;
        return;
    }
    if (kind.cell == Values::ECell::NullWord) {
        return;
    }
    readings &= kind.readings;
    const std::uint32_t classes = ClassesOf(cell);
    inAll &= classes;
    inSome |= classes;
    longest = std::max(longest, static_cast<std::uint32_t>(cell.size()));
}

bool CellForm::Fits(std::string_view cell) const
{
    cell = Values::Trim(cell);
    if (cells < kFewestCells) {
        return true;
    }
    if (cell.empty()) {
        return empties > 0;
    }
    if (empties == cells) {
        return false;
    }
    const Values::CellReading reading = Values::ReadCell(cell);
    if (reading.cell == Values::ECell::NullWord) {
        return true;
    }
    if (readings != 0) {
        return (readings & reading.readings) != 0;
    }
    const std::uint32_t classes = ClassesOf(cell);
    return (inAll & ~classes) == 0 && (classes & ~inSome) == 0 &&
           cell.size() <= std::size_t{longest} * 2 + 8;
}

bool CellForm::IsTelling() const
{
    constexpr std::uint32_t kMarks =
        ClassDigit | ClassPoint | ClassHyphen | ClassSlash | ClassColon | ClassMoney | ClassOther;
    return cells >= kFewestCells && empties < cells && (readings != 0 || (inAll & kMarks) != 0);
}

} // namespace Orvane::Import::Scan
