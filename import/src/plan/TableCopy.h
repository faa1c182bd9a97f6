// A table that stands in its file twice.
#pragma once

#include "scan/FileScan.h"
#include "scan/TextSource.h"

#include <memory>

namespace Orvane::Import {

/// Whether the rows after the names that stand again are those of the table once more, in the same
/// order: nine of ten are, of either. Nothing but these names tells where a copy begins.
///
/// A log that was started anew has other rows: it is told from a copy after a few of them.
/// @param first and `second`: the file, each opened for itself
/// @param names where the names stand again, as the scan has found it
/// @param rows how many rows the scan has found in all
[[nodiscard]] bool IsCopyAfter(std::unique_ptr<Scan::TextSource> first,
                               std::unique_ptr<Scan::TextSource> second,
                               const Scan::ScanRequest& scan,
                               const Scan::Position& names,
                               std::uint64_t rows);

} // namespace Orvane::Import
