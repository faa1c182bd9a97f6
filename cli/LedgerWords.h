// What an import has decided and done, in a few lines for people.
#pragma once

#include <Orvane/Import/ImportFile.h>

#include <string>

namespace OrvaneHost {

/// The lines of an import by a plan: what its lines were, how the file was read, what a person
/// should know of its columns, points and bad rows, and what was written. Texts of the file are
/// escaped and cut.
[[nodiscard]] std::string DescribeImport(const Orvane::Import::ImportReport& report);

/// What does not add up, or was lost, as lines without the last line ending; empty for nothing.
[[nodiscard]] std::string DescribeImbalances(const Orvane::Import::ImportReport& report);

/// "0.181 s, 1.2 MB/s (planning 0.001 s, reading 0.013 s, writing 0.168 s)"
[[nodiscard]] std::string DescribeTimes(const Orvane::Import::ImportReport& report,
                                        const std::string& file);

} // namespace OrvaneHost
