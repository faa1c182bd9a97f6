// The file that an import replaces only when all of it is there.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace Orvane::Import {

/// Where an export goes: written in a hidden folder of its own beside the final place, moved there
/// when it is complete.
///
/// Order of calls: construct (checks, changes nothing), Begin, write GetWorkFile(), Commit. Without
/// Commit the destructor removes everything that was written and the final place stays as it was.
/// A folder that a program which was killed has left goes with the next Begin beside it: a hidden
/// folder is locked as long as its program runs.
///
/// All operations throw ImportFailure; their `underneath` is a BException("Could not write <...>.",
/// "OutputTarget", <reason>).
class OutputFile
{
public:
    /// @param out the final file; links are followed, also to a file that is not there yet
    /// @param input the file that is read; empty for none
    /// @throws ImportFailure `output-is-input` when both are the same file; `output-write` when the
    ///     old file must not be written; `output-folder`,
    ///     `output-not-a-file`, `output-in-use` when another program has the file open as a
    ///     database
    OutputFile(const std::string& out, const std::string& input);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Makes the hidden folder, unless there is one already, and removes those that nobody uses any
    /// more.
    void Begin();

    /// Whether there is a file in the place. @throws ImportFailure `output-write` when the system
    /// cannot tell
    [[nodiscard]] bool IsThere() const;

    /// Copies the file that is in the place into the hidden folder, to be added to there; after
    /// Begin. Commit fails then when the file in the place has changed in between.
    /// @param step called every MiB; throws to stop
    /// @throws ImportFailure `output-write`
    void CopyOld(const std::function<void()>& step);

    /// The file to write: the final name in the hidden folder. Absolute.
    [[nodiscard]] std::filesystem::path GetWorkFile() const
    {
        return m_workFolder / m_file.filename();
    }

    /// The final place. Absolute; no link.
    [[nodiscard]] const std::filesystem::path& GetFile() const noexcept { return m_file; }

    [[nodiscard]] const std::filesystem::path& GetWorkFolder() const noexcept
    {
        return m_workFolder;
    }

    /// Has Commit remove a file beside the output, one that only an earlier output had, unless a
    /// new one of its name stands in the hidden folder. @param file in the output's folder
    void RemoveWithCommit(const std::filesystem::path& file) { m_stale.push_back(file); }

    /// Has the disk write what is in the hidden folder so far, so that Commit waits for little
    /// more.
    /// @param step called every 16 MiB or so; throws to stop
    /// @throws ImportFailure `output-write`
    void Flush(const std::function<void()>& step) const;

    /// Puts all files of the hidden folder on the disk, and looks whether Commit can move them.
    /// @throws ImportFailure as Commit
    void Prepare() const;

    /// Prepares, and moves all files of the hidden folder to the final place, the main file last;
    /// side files that only an earlier main file had are removed. When one of them cannot be moved,
    /// those before it go back. A file that replaces another gets its
    /// permissions. The hidden folder is gone then. @throws ImportFailure `output-not-a-file`,
    /// `output-write`; `output-in-use`, see CopyOld
    void Commit();

private:
    /// All files of the hidden folder, the main file last.
    [[nodiscard]] std::vector<std::filesystem::path> ListFiles() const;
    void RequireKnown(const std::filesystem::file_status& status,
                      const std::error_code& error) const;
    void FollowLinks();
    void RequireUnused() const;
    void RemoveWorkFolder() noexcept;
    [[noreturn]] void Fail(const char* code, const std::string& reason) const;

    std::string m_shownPath;
    std::filesystem::path m_file; ///< the final file, absolute
    std::filesystem::path m_workFolder;
    std::vector<std::filesystem::path> m_stale;
    /// What the copied file was: device, number, size and time of its last change. Or nothing.
    std::optional<std::array<std::int64_t, 5>> m_copied;
    int m_lock = -1; ///< the hidden folder, open and locked
};

} // namespace Orvane::Import
