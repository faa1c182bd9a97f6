// The shape of a table, found in a text's first records: separator, quotes, where rows begin.
#pragma once

#include "Records.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

/// A dialect that was tried, and how well it explains the text.
struct Candidate
{
    Dialect dialect;
    std::size_t fields = 1;       ///< of most records
    std::size_t first = 0;        ///< fields of the first record
    std::size_t fewest = 0;       ///< fields of a record
    double support = 0;           ///< share of the records that have so many
    double steady = 0;            ///< share of the records in runs of three or more of one count
    bool hasShortRows = false;    ///< many records have fewer fields, one here and one there
    bool isNamed = false;         ///< all records are one table of four columns or more, with names
    bool isFirstOfTables = false; ///< other tables with more records are after it
    bool isEvenUnderText = false; ///< three odd records or more, and after them rows of one count
    bool isUnderText = false;     ///< lines of any count stand before the rows, which end the text
    double typed = 0;             ///< share of cells with a form, 0 to 1
    double score = 0;
    std::size_t strays = 0;  ///< quotes inside fields
    std::size_t openers = 0; ///< quotes that opened and closed a field
    std::size_t doubles = 0; ///< runs of an even number of `"` in cells that `'` encloses
    std::size_t singles = 0; ///< other runs
};

/// What a line before the rows is.
enum class ELineKind : std::uint8_t {
    Preamble,
    Comment, ///< begins with `#`, `%`, `//` or `!`
    Blank,
    Statement, ///< `sep=;`
    Names,
    Units,
    Rule, ///< dashes under names
};

struct HeadLine
{
    ELineKind kind = ELineKind::Preamble;
    std::uint64_t line = 1; ///< physical line from 1
    std::uint64_t lines = 1;
    std::size_t byte = 0;
};

/// Why row 1 is names, or is not.
enum class ENames : std::uint8_t {
    None,
    Found,
    Unsure, ///< all columns are text and nothing tells names from a row
};

/// The table as its head shows it.
struct TableHead
{
    std::size_t columns = 1;
    std::vector<HeadLine> lines; ///< all before the first row
    ENames names = ENames::None;
    std::vector<std::string> columnNames; ///< of `columns` texts when there are names
    /// The cells of each line of names as they stand, trimmed, and of the lines of units and rules
    /// under them; none of a comment line.
    std::vector<std::vector<std::string>> namesCells;
    /// What the columns' cells look like in the rows of the head.
    std::vector<CellForm> forms;
    /// Marks of comments that no row of the head begins with.
    std::vector<std::string> commentMarks;
    std::size_t namesFields = 0; ///< fields of the names line
    std::size_t namesVotes = 0;  ///< columns in which row 1 is a text over other values
    std::size_t dataVotes = 0;   ///< columns in which row 1 is a value like the others
    std::string namesReason;
    /// The names of the columns after openAfter, up to openTo, may be those of the columns before.
    std::size_t openAfter = 0;
    std::size_t openTo = 0;
    std::size_t firstRow = 0;       ///< byte
    std::uint64_t firstRowLine = 1; ///< physical line from 1
};

/// What is known or given before the text is looked at.
struct ShapeRequest
{
    ELineEnds lineEnds = ELineEnds::Feeds;
    bool joinsFeeds = false; ///< see Dialect
    bool isUtf8 = true;
    bool isWhole = true; ///< the text is the whole file
    bool hasGivenDialect = false;
    Dialect given;
    std::uint64_t skippedLines = 0; ///< given: lines before the table
    bool hasSkippedLines = false;
    bool keepsAllText = false; ///< given: no cell is lost, whatever is held to be names
    int names = -1;            ///< given: 0 no names, 1 names; -1 not given
};

/// Dialects in the order of their scores, the best first; never empty. Cost: a few passes over the
/// first 64 KiB.
[[nodiscard]] std::vector<Candidate> FindDialects(std::string_view text,
                                                  const ShapeRequest& request);

/// Where the table of a dialect begins and what stands before it.
[[nodiscard]] TableHead
FindTable(std::string_view text, const Candidate& candidate, const ShapeRequest& request);

/// The columns of a text of fixed widths: where each field but the last ends, in characters; empty
/// when there are none. @param skipped lines at the begin that are not looked at
[[nodiscard]] std::vector<std::uint32_t> FindWidths(std::string_view text,
                                                    const ShapeRequest& request);

} // namespace Orvane::Import::Scan
