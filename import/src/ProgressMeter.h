// Calls the caller's progress function as often as it wants, and asks for cancelling.
#pragma once

#include <Orvane/BProgress.h>
#include <Orvane/Import/Progress.h>

#include <chrono>
#include <cstdint>
#include <exception>

namespace Orvane::Import {

/// Throws ImportFailure `cancelled`.
[[noreturn]] void ThrowCancelled();

/// One phase of an import, or several of one step.
class ProgressMeter
{
public:
    /// Tells the caller that the phase begins. @throws ImportFailure `cancelled`, and what the
    /// callback throws
    /// @param callbacks must outlive this object
    ProgressMeter(const Callbacks& callbacks, EPhase phase, std::uint64_t rowsTotal);

    /// Goes on to another phase. @return as Report
    [[nodiscard]] bool BeginPhase(EPhase phase, std::uint64_t rowsTotal) noexcept;

    /// Whether Report should be called: costs a comparison for most rows.
    [[nodiscard]] bool IsDue(std::uint64_t rowsDone) const noexcept
    {
        return IsCancelRequested() ||
               (rowsDone % kRowsBetween == 0 && m_callbacks.progress != nullptr);
    }

    /// Calls the caller's function when its interval is over. What that throws is kept, since code
    /// in between may replace exceptions that pass through it.
    /// @return false when cancelled or thrown; RethrowIfThrown then
    [[nodiscard]] bool Report(std::uint64_t rowsDone, std::uint64_t bytesDone = 0) noexcept;

    /// The size of the file whose bytes Report tells; for this phase and those to come.
    void SetBytesTotal(std::uint64_t bytes) noexcept { m_state.bytesTotal = bytes; }

    /// Rethrows what the caller's function has thrown.
    void RethrowIfThrown() const;

    [[nodiscard]] bool IsCancelRequested() const noexcept
    {
        return m_cancel != nullptr && m_cancel->IsRequested();
    }

private:
    [[nodiscard]] bool Call() noexcept;

    using Clock = std::chrono::steady_clock;
    /// The clock is asked now and then only.
    static constexpr std::uint64_t kRowsBetween = 4096;

    const Callbacks& m_callbacks;
    const CancelFlag* m_cancel; ///< of the callbacks: it is asked for each row
    ProgressState m_state;
    Clock::time_point m_lastCall;
    std::exception_ptr m_thrown;
};

/// The progress object of a reader.
class ReadProgress : public BProgress
{
public:
    explicit ReadProgress(ProgressMeter& meter)
        : m_meter(meter)
    {}

    ~ReadProgress() override;

    bool ShouldReport(unsigned done, unsigned total) override;
    bool Report(unsigned done, unsigned total) override;

    /// Lines of the last report.
    [[nodiscard]] unsigned GetLastCount() const noexcept { return m_lastCount; }

    [[nodiscard]] bool IsCancelled() const noexcept
    {
        return m_isCancelled || m_meter.IsCancelRequested();
    }

private:
    ProgressMeter& m_meter;
    unsigned m_lastCount = 0;
    bool m_isCancelled = false;
};

} // namespace Orvane::Import
