// The pass over a whole file: counts, runs of rows, profiles of all columns.
#pragma once

#include "ByteFacts.h"
#include "ColumnProfile.h"
#include "Records.h"
#include "Shape.h"
#include "TextSource.h"

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

/// Something that occurs here and there: how often, and where first.
struct Occurrences
{
    std::uint64_t count = 0;
    std::vector<Example> first; ///< at most kMostPlaces

    static constexpr std::size_t kMostPlaces = 8;

    void Add(const Position& position, std::string_view text);
};

/// What the pass found. Memory is bounded whatever the file holds.
struct ScanFacts
{
    static constexpr std::size_t kMostRuns = 65536;
    static constexpr std::size_t kMostCounts = 1024;

    ByteFacts bytes;
    std::vector<ColumnFacts> columns;
    std::vector<RowRun> runs; ///< the first kMostRuns
    bool hasMoreRuns = false;
    std::map<std::size_t, Occurrences> counts; ///< records by their number of fields
    std::uint64_t rows = 0;          ///< of the table's count, those with surplus empty cells too
    std::uint64_t continuations = 0; ///< physical lines inside quotes
    Occurrences blanks;              ///< blank lines after the names
    Occurrences trailing;            ///< rows with surplus cells that are all empty
    Occurrences shorter;
    Occurrences longer;
    Occurrences comments; ///< lines of another count that begin as a comment
    Occurrences repeatedNames;
    Occurrences strays;      ///< quotes inside fields
    Occurrences unclosed;    ///< openers that nothing closes
    Occurrences loneReturns; ///< records with a `\r` inside
    Occurrences tooLong;     ///< lines past kMostRecord, not looked at
    std::uint64_t openers = 0;
    std::uint64_t lastRowLine = 0;  ///< the last line of the last row; 0 without rows
    std::size_t mostFields = 0;     ///< of a record
    std::uint64_t afterLastRow = 0; ///< records that are not blank after it
    bool endsInsideRow = false;     ///< the last line has no ending, and fewer fields
};

/// How the pass reads.
struct ScanRequest
{
    Dialect dialect;
    TableHead head;
    bool countsShortRows = false; ///< short rows are rows with nulls: their cells are profiled
};

/// Longer records are counted, not cut.
inline constexpr std::size_t kMostRecord = std::size_t{16} << 20U;

/// Reads the text to its end. Cost: about a nanosecond per byte on rows of one count without
/// quotes. @throws ImportFailure as TextSource::Read
[[nodiscard]] ScanFacts ScanFile(TextSource& source, const ScanRequest& request);

} // namespace Orvane::Import::Scan
