// What all imports do alike: the output's name, phases, notes and times.
#pragma once

#include "Formats.h"
#include "ProgressMeter.h"

#include <Orvane/Import/ImportFile.h>

#include <chrono>
#include <filesystem>
#include <string>

namespace Orvane::Import {

/// The output that a request names, or means.
[[nodiscard]] inline std::string OutputOf(const ImportRequest& request)
{
    if (!request.out.empty()) {
        return request.out;
    }
    const char* const extension =
        request.format.empty() ? ".gpkg" : FindExportFormat({}, request.format).extension;
    return std::filesystem::path(request.file).replace_extension(extension).native();
}

/// Wall time since its making.
class Stopwatch
{
public:
    [[nodiscard]] double GetSeconds() const
    {
        return std::chrono::duration<double>(Clock::now() - m_begin).count();
    }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point m_begin = Clock::now();
};

/// Tells the caller of an import what it does, and enters notes into its report.
class ImportPhases
{
public:
    /// Both must outlive this object.
    ImportPhases(const Callbacks& callbacks, ImportReport& report)
        : m_callbacks(callbacks)
        , m_report(report)
    {}

    /// @throws ImportFailure `cancelled`
    void Begin(EPhase phase) const
    {
        // Rule: a cancel that comes when the output is in its place comes too late.
        const bool goesOn = !m_callbacks.progress || m_callbacks.progress({phase, 0, 0});
        const bool isCancelled = m_callbacks.cancel != nullptr && m_callbacks.cancel->IsRequested();
        if (phase != EPhase::Written && (!goesOn || isCancelled)) {
            ThrowCancelled();
        }
    }

    void Tell(const Note& note)
    {
        m_report.notes.push_back(note);
        if (m_callbacks.note) {
            m_callbacks.note(note);
        }
    }

private:
    const Callbacks& m_callbacks;
    ImportReport& m_report;
};

} // namespace Orvane::Import
