// Files that GDAL writes through this library, so that no failed write is lost.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace Orvane::Import {

class WriterState;

/// The files of one writer. Some formats' writers do not look at the result of a write, or go on
/// without the file when making it fails; here the first failure is kept, and a file that could not
/// be made is one whose every operation fails.
///
/// Some formats' writers do most of their work when the file is closed, and ask nobody meanwhile
/// whether to go on. They all write and read then, and `step` is called with each such operation.
///
/// GDAL knows the files by names of a file system that this library adds to it once. One thread;
/// other objects may be used on other threads. Outlives GDAL's use of its names.
class CheckedFiles
{
public:
    /// Called with each read and write, also after it has said to stop; must not throw.
    /// @return false: this one and every further one fails, with nothing read or written, which
    /// ends the writer's work soon. That is no failure of a file.
    using Step = std::function<bool()>;

    enum class EUse {
        Writing,
        Reading ///< no file can be made or changed: some formats' readers would leave files of
                ///< their own
    };

    CheckedFiles(EUse use, Step step);
    ~CheckedFiles();
    CheckedFiles(const CheckedFiles&) = delete;
    CheckedFiles& operator=(const CheckedFiles&) = delete;

    /// The name under which GDAL writes the file at an absolute path through this object.
    [[nodiscard]] std::string NameFor(const std::string& absolutePath) const;

    /// The reason of the first operation on a file that failed, empty for none. That there is no
    /// file to be read is no failure.
    [[nodiscard]] std::string GetFailure() const;

    /// Whether the step has said to stop.
    [[nodiscard]] bool IsStopped() const noexcept;

private:
    std::shared_ptr<WriterState> m_writer; ///< never null
    std::string m_prefix; ///< of the names; empty when GDAL does not accept the file system
};

} // namespace Orvane::Import
