// Files that GDAL writes through this program, so that no failed write is lost.
#pragma once

#include <string>

namespace OrvaneHost::CheckedFiles {

/// The name under which GDAL writes the file at an absolute path through this program. Some
/// formats' writers do not look at the result of a write; here the first failure is kept.
[[nodiscard]] std::string NameFor(const std::string& absolutePath);

/// Forgets the kept failure.
void Reset();

/// The reason of the first write, flush or close that failed since Reset, empty for none.
[[nodiscard]] std::string GetFailure();

} // namespace OrvaneHost::CheckedFiles
