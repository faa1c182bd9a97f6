// A line of progress on a terminal.
#pragma once

#include <Orvane/Import/Progress.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace OrvaneHost {

/// A line of progress on standard error, redrawn in place, when that is a terminal; else nothing.
class ProgressLine
{
public:
    ProgressLine();
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// Draws "Writing 43 %, 2 s left: 900000 of 2000000 rows, 1300000 rows/s, 62 of 131 MB"; what
    /// is not known is left out, what the terminal's width does not hold is cut. The share and the
    /// time left are those of the whole command where the state says them, else of the phase.
    void Show(const Orvane::Import::ProgressState& state);

    void Clear();

private:
    using Clock = std::chrono::steady_clock;

    bool m_isShown;
    bool m_isDrawn = false;
    Orvane::Import::EPhase m_phase = Orvane::Import::EPhase::Preparing;
    Clock::time_point m_begin;      ///< of the command
    Clock::time_point m_phaseBegin; ///< rates count from here
};

} // namespace OrvaneHost
