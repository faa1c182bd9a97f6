// Files that GDAL writes through this program, so that no failed write is lost.
#pragma once

#include <string>

namespace OrvaneHost::CheckedFiles {

/// The name under which GDAL writes the file at an absolute path through this program. Some
/// formats' writers do not look at the result of a write, or go on without the file when making it
/// fails; here the first failure is kept, and a file that could not be made is one whose every
/// operation fails.
[[nodiscard]] std::string NameFor(const std::string& absolutePath);

/// Forgets the kept failure.
void Reset();

/// The reason of the first operation on a file that failed since Reset, empty for none. That there
/// is no file to be read is no failure.
[[nodiscard]] std::string GetFailure();

} // namespace OrvaneHost::CheckedFiles
