// The pass over a whole file: counts, runs of rows, profiles of all columns.
#pragma once

#include "ByteFacts.h"
#include "ColumnProfile.h"
#include "Occurrences.h"
#include "Records.h"
#include "RowSample.h"
#include "RowWatch.h"
#include "Shape.h"
#include "TextSource.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Orvane::Import::Scan {

/// Records in a row that have the same number of fields.
struct RowRun
{
    Position position;
    std::size_t fields = 0; ///< 0: blank lines
    std::uint64_t rows = 0;
};

/// A piece of the text that is no row of the table.
struct Piece
{
    enum class EKind : std::uint8_t {
        RepeatedNames,
        Footer,
        FurtherTable,
    };

    EKind kind = EKind::Footer;
    Position position;
    std::uint64_t lines = 1;
    std::string text; ///< of its first line
};

/// The names again, in another order.
struct NamesOrder
{
    std::uint64_t line = 0;
    std::vector<std::size_t> columns; ///< from here on field i belongs to column columns[i]
};

/// What the pass found. Memory is bounded whatever the file holds.
struct ScanFacts
{
    static constexpr std::size_t kMostRuns = 65536;
    static constexpr std::size_t kMostCounts = 1024;
    static constexpr std::size_t kMostPieces = 1000;

    ByteFacts bytes;
    std::vector<ColumnFacts> columns;
    std::vector<SampleRow> sample; ///< whole rows, evenly spread over the table
    std::vector<RowRun> runs;      ///< the first kMostRuns
    bool hasMoreRuns = false;
    std::map<std::size_t, Occurrences> counts; ///< records by their number of fields
    std::vector<Piece> pieces;                 ///< the first kMostPieces
    std::vector<NamesOrder> orders;
    std::uint64_t rows = 0;          ///< those with surplus or without some cells too
    std::uint64_t continuations = 0; ///< physical lines inside quotes
    Occurrences blanks;              ///< blank lines after the names
    Occurrences trailing;            ///< rows with surplus cells that are all empty
    Occurrences shorter;             ///< rows that lack cells
    Occurrences misfits;             ///< records that lack cells and fit no rows
    Occurrences longer;              ///< records with more cells
    Occurrences comments;            ///< lines of another count that begin as a comment
    Occurrences repeatedNames;
    Occurrences furtherTables;                 ///< where each begins
    Occurrences footers;                       ///< records after the table
    Occurrences strays;                        ///< quotes inside fields
    Occurrences unclosed;                      ///< openers that nothing closes
    Occurrences tooLong;                       ///< lines past kMostRecord, not looked at
    Occurrences damaged;                       ///< records with a block of NULs inside
    Occurrences nulBlocks;                     ///< records and blank lines with a block of NULs
    std::array<Occurrences, kRepairs> repairs; ///< by ERepair; that of None is empty
    std::uint64_t openers = 0;
    std::uint64_t lastRowLine = 0; ///< the last line of the last row; 0 without rows
    Example lastHead;              ///< the first cell of the last whole row, with its place
    std::size_t mostFields = 0;    ///< of a record of the table
    bool endsInsideRow = false;    ///< the last line has no ending, and fewer fields
};

/// How the pass reads.
struct ScanRequest
{
    Dialect dialect;
    TableHead head;
    std::vector<std::string> nullTexts; ///< given: cells with one of these texts are null
    /// The line of names that begin a further table though they are those of this one; 0 for none.
    std::uint64_t copyLine = 0;
    /// Set in a further pass: the rows are shown to it, and no facts of columns are collected.
    RowWatch* watch = nullptr;
};

/// Longer records are counted, not cut.
inline constexpr std::size_t kMostRecord = std::size_t{16} << 20U;

/// Reads the text to its end. Cost: about a nanosecond per byte on rows of one count without
/// quotes. @throws ImportFailure as TextSource::Read
[[nodiscard]] ScanFacts ScanFile(TextSource& source, const ScanRequest& request);

} // namespace Orvane::Import::Scan
