// A cell is looked at as marks, letters and numbers.
#include "PairCells.h"

#include "CoordinatePairs.h"
#include "values/FoldedCell.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Orvane::Import {

namespace {

enum class EPair : std::uint8_t {
    None,
    Pair,
    Grid, ///< a reference of the military grid
};

/// A cell as the counts of what it is made of.
struct Pieces
{
    std::size_t numbers = 0;
    std::size_t decimals = 0; ///< numbers with a point
    std::size_t letters = 0;  ///< those of hemispheres aside
    std::size_t north = 0;    ///< N or S
    std::size_t east = 0;     ///< E, W or O
    std::size_t others = 0;   ///< signs that are in no pair of plain numbers
};

Pieces CutPieces(std::string_view cell)
{
    constexpr std::string_view kBetween = " ,;/|+-()[]";
    Pieces pieces;
    for (std::size_t at = 0; at < cell.size();) {
        const char unit = cell[at];
        if (Values::IsDigit(unit)) {
            std::size_t end = at;
            std::size_t points = 0;
            while (end < cell.size() && (Values::IsDigit(cell[end]) || cell[end] == '.')) {
                points += cell[end] == '.' ? 1U : 0U;
                ++end;
            }
            ++pieces.numbers;
            pieces.decimals += points == 1 ? 1U : 0U;
            pieces.others += points > 1 ? 1U : 0U;
            at = end;
            continue;
        }
        if (Values::IsLetter(unit)) {
            std::size_t end = at;
            while (end < cell.size() && Values::IsLetter(cell[end])) {
                ++end;
            }
            const char letter = end - at == 1 ? Values::ToLower(unit) : '-';
            pieces.north += letter == 'n' || letter == 's' ? 1U : 0U;
            pieces.east += letter == 'e' || letter == 'w' || letter == 'o' ? 1U : 0U;
            pieces.letters +=
                std::string_view("nsewo").find(letter) == std::string_view::npos ? 1U : 0U;
            at = end;
            continue;
        }
        // A dash right after a number is none before the next one.
        const bool isRange = unit == '-' && at > 0 && Values::IsDigit(cell[at - 1]);
        pieces.others += isRange || kBetween.find(unit) == std::string_view::npos ? 1U : 0U;
        ++at;
    }
    return pieces;
}

/// `POINT` and the like at the front of a cell, with the system that may stand before it.
std::string_view DropWordOfPoints(std::string_view cell)
{
    const std::size_t bracket = cell.find('(');
    const std::string_view front = cell.substr(0, std::min(bracket, cell.size()));
    const bool isPoint =
        bracket != std::string_view::npos && (front.find("POINT") != std::string_view::npos ||
                                              front.find("Point") != std::string_view::npos);
    return isPoint ? cell.substr(bracket) : cell;
}

bool IsGridReference(std::string_view cell)
{
    constexpr std::size_t kZone = 2;
    constexpr std::size_t kLetters = 3;
    std::size_t at = 0;
    while (at < cell.size() && at < kZone && Values::IsDigit(cell[at])) {
        ++at;
    }
    const std::size_t letters = at;
    while (at < cell.size() && (Values::IsLetter(cell[at]) || cell[at] == ' ')) {
        ++at;
    }
    std::size_t count = 0;
    for (const char unit : cell.substr(letters, at - letters)) {
        count += unit == ' ' ? 0U : 1U;
    }
    std::size_t digits = 0;
    for (; at < cell.size() && (Values::IsDigit(cell[at]) || cell[at] == ' '); ++at) {
        digits += cell[at] == ' ' ? 0U : 1U;
    }
    return letters > 0 && count == kLetters && at == cell.size() && digits >= 4 && digits <= 10 &&
           digits % 2 == 0;
}

EPair ReadPair(std::string_view cell)
{
    const std::string_view plain = DropWordOfPoints(cell);
    if (IsGridReference(plain)) {
        return EPair::Grid;
    }
    const Pieces pieces = CutPieces(plain);
    const bool isPoint = plain.size() < cell.size() && pieces.numbers >= 2;
    const bool areNumbers = pieces.numbers == 2 && pieces.decimals == 2 && pieces.others == 0;
    const bool areAngles = pieces.north == 1 && pieces.east == 1 && pieces.numbers >= 2;
    const bool isPair = pieces.letters == 0 && (isPoint || areNumbers || areAngles);
    return isPair ? EPair::Pair : EPair::None;
}

/// The character past ASCII that stands in each line equally often, in a file of one column.
std::string FindForeignSeparator(const SampleRows& rows)
{
    constexpr std::size_t kFewestRows = 3;
    if (rows.size() < kFewestRows) {
        return {};
    }
    const auto count = [](std::string_view text, std::string_view character) {
        std::size_t found = 0;
        for (std::size_t at = text.find(character); at != std::string_view::npos;
             at = text.find(character, at + character.size())) {
            ++found;
        }
        return found;
    };
    const std::string_view line = rows.front().Cell(0);
    for (std::size_t at = 0; at < line.size();) {
        std::size_t end = at + 1;
        while (end < line.size() && (static_cast<unsigned char>(line[end]) & 0xC0U) == 0x80U) {
            ++end;
        }
        std::string character(line.substr(at, end - at));
        at = end;
        const std::size_t times = count(line, character);
        const auto isEven = [&](const Scan::SampleRow& row) {
            return count(row.Cell(0), character) == times;
        };
        if (static_cast<signed char>(character.front()) < 0 &&
            std::all_of(rows.begin(), rows.end(), isEven)) {
            return character;
        }
    }
    return {};
}

} // namespace

std::string DescribePairCells(const SampleRows& rows, const Plan& plan)
{
    if (plan.columns.size() == 1) {
        const std::string separator = FindForeignSeparator(rows);
        if (!separator.empty()) {
            return "The same number of '" + separator +
                   "' is in each line: columns are cut at characters of ASCII only; put a tab in "
                   "its place.";
        }
    }
    for (const PlanColumn& column : plan.columns) {
        if (column.type.value != EPlanType::Text && column.type.value != EPlanType::Angle) {
            continue;
        }
        std::size_t cells = 0;
        std::size_t pairs = 0;
        std::size_t grids = 0;
        std::string example;
        for (const Scan::SampleRow& row : rows) {
            const std::string_view cell = Values::Trim(row.Cell(column.index));
            const EPair pair = cell.empty() ? EPair::None : ReadPair(cell);
            cells += cell.empty() ? 0U : 1U;
            pairs += pair == EPair::Pair ? 1U : 0U;
            grids += pair == EPair::Grid ? 1U : 0U;
            if (pair != EPair::None && example.empty()) {
                example = cell;
            }
        }
        const bool areGrids = grids * 10 >= cells * 9;
        if (cells == 0 || (pairs * 10 < cells * 9 && !areGrids)) {
            continue;
        }
        std::string said = "Column ";
        said += column.name.empty() ? std::to_string(column.index) : QuoteName(column);
        said +=
            areGrids ? " holds references of the military grid ('" : " holds both in one cell ('";
        said += example;
        said += areGrids ? "'), which are not read: degrees or metres in two columns are."
                         : "'): it has to be two columns of the file, one for X and one for Y.";
        return said;
    }
    return {};
}

} // namespace Orvane::Import
