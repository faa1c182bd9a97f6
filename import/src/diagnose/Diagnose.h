// Finds out where in its file a failure of the reader has its cause.
#pragma once

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/Import/Failure.h>

#include <cstddef>
#include <cstdint>
#include <lines/LineSource.h>

namespace Orvane::Import {

/// What is known of a read that has failed.
struct FailedRead
{
    const BParamList& options;          ///< those of the reader
    std::uint64_t attributeColumns = 0; ///< columns of the schema; 0: not known
    std::size_t blockSize = AsciiReader::LineSource::kBlockSize; ///< of the reader
};

/// Completes the fields of a failure by a look at its file: `fields.file` and, for failures of the
/// content, the lines of the file, read once more by the reader's own rules for lines and fields.
/// Nothing is claimed that the file does not show: fields that cannot be told stay as they are.
///
/// Costs nothing for failures of other kinds; else time linear in the file and memory for one
/// block. @throws std::bad_alloc
void Diagnose(const FailedRead& read, FailureFields& fields);

} // namespace Orvane::Import
