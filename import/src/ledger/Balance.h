// Whether the counts of an import agree.
#pragma once

#include <Orvane/Import/Ledger.h>
#include <Orvane/Import/Plan.h>
#include <Orvane/Import/Target.h>

#include <cstdint>

namespace Orvane::Import {

struct TableCounts;

/// Enters what the scan and pass 2 have counted; the counts of the output stay 0.
[[nodiscard]] Ledger MakeLedger(const Plan& plan, const TableCounts& counts);

/// Counts of the layer and of the output, each made by code of its own.
struct OutputCounts
{
    std::uint64_t layerRows = 0;
    std::uint64_t layerPoints = 0;
    std::uint64_t rowsWritten = 0; ///< counted in the closed output
    std::uint64_t pointsWritten = 0;
    std::uint64_t rejected =
        0; ///< records of the file of bad rows; those of the ledger without one
};

/// Enters the counts of the output and everything that does not agree, or was lost while writing.
void CloseLedger(const OutputCounts& counts, const WriteReport& written, Ledger& ledger);

} // namespace Orvane::Import
