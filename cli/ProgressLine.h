// A line of progress on a terminal.
#pragma once

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

    /// Draws "<verb> <done>[ of <total>] rows, <rate> rows/s".
    /// @param total 0 when it is not known
    void Show(const char* verb, std::uint64_t done, std::uint64_t total);
    /// Removes the line; the rate of the next Show counts from now.
    void Clear();

private:
    using Clock = std::chrono::steady_clock;
    bool m_isShown;
    bool m_isDrawn = false;
    Clock::time_point m_begin;
};

} // namespace OrvaneHost
