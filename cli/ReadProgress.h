// Follows the reader, shows a progress line on a terminal, and passes a cancel on.
#pragma once

#include <Orvane/BProgress.h>

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

    [[nodiscard]] bool IsShown() const noexcept { return m_isShown; }

    /// Draws "<verb> <done>[ of <total>] rows, <rate> rows/s" at most ten times a second.
    /// @param total 0 when it is not known
    void Show(const char* verb, std::uint64_t done, std::uint64_t total);
    /// Takes the line away; the next Show measures anew.
    void Clear();

private:
    using Clock = std::chrono::steady_clock;
    bool m_isShown;
    bool m_isDrawn = false;
    Clock::time_point m_begin;
    Clock::time_point m_lastDrawn;
};

/// The progress object of the reader.
class ReadProgress : public Orvane::BProgress
{
public:
    /// @param line where to show the rows; null for nowhere
    explicit ReadProgress(ProgressLine* line)
        : m_line(line)
    {}

    ~ReadProgress() override = default;

    bool ShouldReport(unsigned done, unsigned total) override;
    bool Report(unsigned done, unsigned total) override;

    /// The count of the last report.
    [[nodiscard]] unsigned GetLastCount() const noexcept { return m_lastCount; }

private:
    ProgressLine* m_line;
    unsigned m_lastCount = 0;
};

} // namespace OrvaneHost
