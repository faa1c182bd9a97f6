// What became of every line and every cell of an imported file.
#pragma once

#include <Orvane/BGeometry.h>
#include <Orvane/Import/Api.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Orvane::Import {

/// Physical lines of a file by what they are, as they were read. Each line is in one class only, so
/// that they add up to the lines of the file.
struct LedgerLines
{
    std::uint64_t names = 0;    ///< names of columns, units and rules under them
    std::uint64_t preamble = 0; ///< before the names, and a statement of the separator
    std::uint64_t comments = 0;
    std::uint64_t blanks = 0;
    std::uint64_t repeatedNames = 0;
    std::uint64_t points = 0;           ///< first lines of rows with a point
    std::uint64_t rowsWithoutPoint = 0; ///< first lines of all other rows
    std::uint64_t continuations = 0;    ///< further lines of rows: line breaks inside quotes
    std::uint64_t badRows = 0;          ///< all lines of bad rows
    std::uint64_t footers = 0;
    std::uint64_t furtherTables = 0;

    [[nodiscard]] std::uint64_t Sum() const noexcept
    {
        return names + preamble + comments + blanks + repeatedNames + points + rowsWithoutPoint +
               continuations + badRows + footers + furtherTables;
    }
};

/// A row that is not in the output.
struct LedgerBadRow
{
    std::uint64_t line = 0;   ///< its first line, from 1
    std::uint64_t byte = 0;   ///< where it begins, from 0
    std::uint64_t column = 0; ///< the field at fault, from 1; 0: the whole row
    std::string reason;       ///< "long-row", "short-row", "value" and so on
    std::string text;         ///< as it stands, UTF-8, cut to 200 bytes
};

/// A column of the file.
struct LedgerColumn
{
    std::string name; ///< empty without names
    std::string type; ///< as in the plan; of angles that are no coordinates "text"
    std::uint64_t values = 0;
    std::uint64_t empties = 0;              ///< empty cells, and those that short rows lack
    std::uint64_t nullWords = 0;            ///< words that stand for no value
    std::vector<std::string> nullSpellings; ///< the first of these words
    std::string keptAsText; ///< why it is text, although it looks like more; empty otherwise

    [[nodiscard]] std::uint64_t GetNulls() const noexcept { return empties + nullWords; }
};

/// The account of an import.
///
/// Two counts are made without each other: the plan's scan counts the line ends of the file and
/// looks at no field, and the rows and points of the output are counted in the output itself after
/// it was closed. Between them stand the lines by class and the rows as they were read. What does
/// not agree is in `imbalances`, and so is everything that was lost and that the plan had not
/// announced: an import is what it seems only while that list is empty.
///
///     if (!report.ledger->imbalances.empty()) { ... the output is there, and not to be trusted }
struct Ledger
{
    std::uint64_t linesScanned = 0; ///< of the file, by line ends alone
    LedgerLines lines;
    std::uint64_t rows = 0;             ///< read, without bad ones
    std::uint64_t points = 0;           ///< of these, rows with a point
    std::uint64_t rowsWritten = 0;      ///< counted in the output
    std::uint64_t pointsWritten = 0;    ///< counted in the output
    std::uint64_t shortRows = 0;        ///< rows whose last cells are missing: null
    std::uint64_t trailingRows = 0;     ///< rows with empty cells past the last column, not kept
    std::uint64_t repairedRows = 0;     ///< rows with stray quotes, which are text
    std::uint64_t outOfRange = 0;       ///< rows without a point for numbers that are no degrees
    std::uint64_t lineWithoutPoint = 0; ///< of the first row without one, from 1; 0: none
    std::uint64_t badRows = 0;
    std::map<std::string, std::uint64_t> badRowsByReason;
    std::vector<LedgerBadRow> firstBadRows; ///< at most kMostBadRows
    /// The file beside the output that holds the bad rows; empty when there are none, or they were
    /// skipped. The table of the output that holds them, where its format has tables.
    std::string rejectedFile;
    std::string rejectedTable;
    std::vector<LedgerColumn> columns;   ///< of the file; without those of a trailing separator
    BMBB extent;                         ///< of the points
    std::uint64_t rowsByColumn = 0;      ///< rows that were converted column by column
    std::vector<std::string> imbalances; ///< sentences without their full stop

    static constexpr std::size_t kMostBadRows = 10;
};

} // namespace Orvane::Import
