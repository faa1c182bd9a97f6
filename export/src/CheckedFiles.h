// Files that GDAL writes through this library, so that no failed write is lost.
#pragma once

#include <memory>
#include <string>

namespace Orvane::Import {

class FirstFileError;

/// The files of one writer. Some formats' writers do not look at the result of a write, or go on
/// without the file when making it fails; here the first failure is kept, and a file that could not
/// be made is one whose every operation fails.
///
/// GDAL knows the files by names of a file system that this library adds to it once. One thread;
/// other objects may be used on other threads. Outlives GDAL's use of its names.
class CheckedFiles
{
public:
    CheckedFiles();
    ~CheckedFiles();
    CheckedFiles(const CheckedFiles&) = delete;
    CheckedFiles& operator=(const CheckedFiles&) = delete;

    /// The name under which GDAL writes the file at an absolute path through this object.
    [[nodiscard]] std::string NameFor(const std::string& absolutePath) const;

    /// The reason of the first operation on a file that failed, empty for none. That there is no
    /// file to be read is no failure.
    [[nodiscard]] std::string GetFailure() const;

private:
    std::shared_ptr<FirstFileError> m_firstError; ///< never null
    std::string m_prefix; ///< of the names; empty when GDAL does not accept the file system
};

} // namespace Orvane::Import
