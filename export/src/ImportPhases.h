// What all imports do alike: the output's name, phases, notes and times.
#pragma once

#include "Formats.h"
#include "ProgressMeter.h"

#include <Orvane/Import/ImportFile.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
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
        , m_ofSteps(callbacks)
    {
        if (callbacks.progress) {
            m_ofSteps.progress = [this](const ProgressState& state) { return Pass(state); };
        }
    }

    ImportPhases(const ImportPhases&) = delete;
    ImportPhases& operator=(const ImportPhases&) = delete;

    /// For the steps of the import: the caller's functions, which are told of the whole of it.
    [[nodiscard]] const Callbacks& GetCallbacks() const noexcept { return m_ofSteps; }

    /// What another thread has read of the file while this one writes.
    void SetBytes(std::uint64_t done, std::uint64_t total) noexcept
    {
        m_bytesDone.store(done, std::memory_order_relaxed);
        m_bytesTotal.store(total, std::memory_order_relaxed);
    }

    /// @throws ImportFailure `cancelled`
    void Begin(EPhase phase)
    {
        ProgressState state;
        state.phase = phase;
        // Rule: a cancel that comes when the output is in its place comes too late.
        const bool goesOn = !m_callbacks.progress || Pass(state);
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
    /// Where in the whole import a phase begins and ends. Measured on files of a few columns that
    /// become GeoPackages; other formats have no index, and some are slower to write.
    struct Span
    {
        double begin;
        double end;
    };

    static constexpr Span SpanOf(EPhase phase)
    {
        switch (phase) {
        case EPhase::Preparing:
            return {0, 0.1};
        case EPhase::Reading:
            return {0.1, 0.2};
        case EPhase::Counting:
            return {0.2, 0.2};
        case EPhase::Writing:
            return {0.2, 0.75};
        case EPhase::Indexing:
            return {0.75, 0.95};
        case EPhase::Written:
            break;
        }
        return {0.95, 1};
    }

    bool Pass(ProgressState state)
    {
        if (state.bytesTotal == 0 && state.phase == EPhase::Writing) {
            state.bytesDone = m_bytesDone.load(std::memory_order_relaxed);
            state.bytesTotal = m_bytesTotal.load(std::memory_order_relaxed);
        }
        const auto share = [](std::uint64_t done, std::uint64_t total) {
            return total == 0
                       ? 0
                       : std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
        };
        const Span span = SpanOf(state.phase);
        const double ofPhase = state.rowsTotal > 0 ? share(state.rowsDone, state.rowsTotal)
                                                   : share(state.bytesDone, state.bytesTotal);
        m_fraction = std::max(m_fraction, span.begin + ofPhase * (span.end - span.begin));
        state.fraction = m_fraction;
        return m_callbacks.progress(state);
    }

    const Callbacks& m_callbacks;
    ImportReport& m_report;
    Callbacks m_ofSteps;
    std::atomic<std::uint64_t> m_bytesDone{0};
    std::atomic<std::uint64_t> m_bytesTotal{0};
    double m_fraction = 0;
};

} // namespace Orvane::Import
