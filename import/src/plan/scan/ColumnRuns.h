// Runs of rows, added to the profiles of all their columns.
#pragma once

#include "ColumnProfile.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Orvane::Import::Scan {

/// Adds runs of rows to profiles: eight columns at once as far as their cells have shapes that the
/// profiles know, the others column by column. The facts are those that ColumnProfile::AddRun
/// collects. Memory is 17 bytes per row of the largest run, and some KiB.
class ColumnRuns
{
public:
    /// @param run of the first column; its stride is the number of columns, of which the last ends
    ///     the line
    /// @param order the profile of each column; empty: as the columns stand
    void Add(const CellRun& run,
             std::vector<ColumnProfile>& profiles,
             const std::vector<std::size_t>& order);

private:
    struct Column
    {
        ColumnProfile* profile;
        CellRun run;
    };

    void CountShapes(std::size_t first, std::size_t count);
    void AddOneByOne();

    std::vector<Column> m_columns;
    std::vector<Column> m_left;         ///< those that are to be added one after the other
    std::vector<std::uint8_t> m_places; ///< of each row a bit for each cell of another shape
    std::vector<OtherCells> m_others;   ///< of rows with such cells
};

} // namespace Orvane::Import::Scan
