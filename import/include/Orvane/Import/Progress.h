// How a caller follows an import and stops it.
#pragma once

#include <Orvane/Import/Api.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace Orvane::Import {

/// What an import is doing.
enum class EPhase {
    Preparing, ///< the whole file is looked at, its columns are chosen; nothing is on the disk
    Reading,   ///< rows are read into the layer
    Counting,  ///< rows of the layer are counted; nothing is on the disk
    Writing,   ///< rows are written beside the output, which is as it was
    Indexing,  ///< the output's spatial index is made, of the points; only of some formats
    Written    ///< the output is in its place and is read back; last, cannot be cancelled
};

/// How far an import is.
struct ProgressState
{
    EPhase phase = EPhase::Preparing;
    std::uint64_t rowsDone = 0;  ///< of this phase; while reading, lines of the file
    std::uint64_t rowsTotal = 0; ///< 0: not known
    std::uint64_t bytesDone =
        0; ///< of the file, by this phase; with two threads while writing, too
    std::uint64_t bytesTotal = 0; ///< size of the file; 0 where no bytes of it are read
    /// Share of the whole import that is done, from 0 to 1, never less than before; 0 where only
    /// one step was called. The shares of the phases are those of a usual file, not of this one.
    double fraction = 0;
};

/// Something that the caller of an import should know and that is no failure.
struct Note
{
    /// Stable, one per cause: `module-load` (a plug-in that was not needed cannot be loaded),
    /// `disk-cache` (the layer's pages go to a file), `disk-cache-full`
    /// (they would, but there is no room), `field-name`, `layer-name` (changed to fit the format),
    /// `not-an-integer`, `not-a-date`, `fraction`, `digits`, `null-as-zero`, `not-finite`, `nul`,
    /// `no-place` (values and rows that the file cannot hold), `reader-rules` (a file is read by
    /// the rules of its reader alone, without a plan), `crs-assumed` (the format holds degrees of
    /// WGS 84, and the file names no system), `format` (words of the format's writer).
    std::string code;
    std::string text; ///< plain English, UTF-8, not escaped; one sentence without its full stop
};

/// Asks an import to stop, from any thread or from a signal handler.
///
/// The owner keeps it alive as long as an import has it. Heeded between two rows.
class CancelFlag
{
public:
    void Request() noexcept { m_isRequested.store(true, std::memory_order_relaxed); }

    void Reset() noexcept { m_isRequested.store(false, std::memory_order_relaxed); }

    [[nodiscard]] bool IsRequested() const noexcept
    {
        return m_isRequested.load(std::memory_order_relaxed);
    }

private:
    std::atomic<bool> m_isRequested{false};
    static_assert(std::atomic<bool>::is_always_lock_free);
};

/// What an import calls and asks. Every part may be left out.
///
/// The functions are called on the thread that called the library, never at the same time, and
/// never after the call has returned; a window program hands the values to its own thread. They may
/// throw: the import stops and cleans up as after a failure, and the exception leaves unchanged.
struct Callbacks
{
    /// Called when a phase begins, and then at most once per `interval`. @return false to cancel.
    std::function<bool(const ProgressState&)> progress;
    /// Called once for each note, as soon as it is known. The report has all of them, too.
    std::function<void(const Note&)> note;
    /// Asked between rows; null: never. Not owned.
    const CancelFlag* cancel = nullptr;
    /// Least time between two calls of `progress` in one phase.
    std::chrono::milliseconds interval{100};
};

} // namespace Orvane::Import
