// Progress calls and cancelling.
#include "ProgressMeter.h"

#include <Orvane/Import/Failure.h>

#include <utility>

namespace Orvane::Import {

void ThrowCancelled()
{
    FailureFields fields;
    fields.kind = EFailureKind::Cancelled;
    fields.code = "cancelled";
    fields.what = "The import was cancelled.";
    throw ImportFailure(std::move(fields));
}

ProgressMeter::ProgressMeter(const Callbacks& callbacks, EPhase phase, std::uint64_t rowsTotal)
    : m_callbacks(callbacks)
    , m_cancel(callbacks.cancel)
    , m_lastCall(Clock::now())
{
    m_state.phase = phase;
    m_state.rowsTotal = rowsTotal;
    if (m_callbacks.progress && !m_callbacks.progress(m_state)) {
        ThrowCancelled();
    }
}

bool ProgressMeter::Report(std::uint64_t rowsDone, std::uint64_t bytesDone) noexcept
{
    if (IsCancelRequested()) {
        return false;
    }
    if (!m_callbacks.progress) {
        return true;
    }
    const Clock::time_point now = Clock::now();
    if (now - m_lastCall < m_callbacks.interval) {
        return true;
    }
    m_lastCall = now;
    m_state.rowsDone = rowsDone;
    m_state.bytesDone = bytesDone;
    return Call();
}

bool ProgressMeter::BeginPhase(EPhase phase, std::uint64_t rowsTotal) noexcept
{
    m_state.phase = phase;
    m_state.rowsDone = 0;
    m_state.rowsTotal = rowsTotal;
    m_state.bytesDone = 0;
    m_lastCall = Clock::now();
    return !IsCancelRequested() && (!m_callbacks.progress || Call());
}

bool ProgressMeter::Call() noexcept
{
    try {
        return m_callbacks.progress(m_state);
    } catch (...) {
        m_thrown = std::current_exception();
        return false;
    }
}

void ProgressMeter::RethrowIfThrown() const
{
    if (m_thrown != nullptr) {
        std::rethrow_exception(m_thrown);
    }
}

ReadProgress::~ReadProgress() = default;

bool ReadProgress::ShouldReport(unsigned done, unsigned /*total*/)
{
    return m_meter.IsDue(done);
}

bool ReadProgress::Report(unsigned done, unsigned /*total*/)
{
    m_lastCount = done;
    m_isCancelled = !m_meter.Report(done);
    return !m_isCancelled;
}

} // namespace Orvane::Import
