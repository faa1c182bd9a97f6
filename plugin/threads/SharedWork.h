// Ways to have a pool do work from the begin of a scope to its end.
#pragma once

#include "threads/TaskPool.h"

#include <atomic>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <utility>

namespace AsciiReader {

/// Work that a pool performs beside its owner, again and again; over at the latest when this object
/// goes.
///
///     BackgroundWork next(pool, [&] { Fill(batch); });
///     next.Start();
///     Use(otherBatch);
///     next.Finish();
class BackgroundWork
{
public:
    /// @param pool must outlive this object
    BackgroundWork(TaskPool& pool, std::function<void()> work)
        : m_pool(pool)
        , m_task(std::move(work))
    {}

    /// Waits for work that is not finished; what that throws is dropped.
    ~BackgroundWork()
    {
        if (m_isStarted) {
            try {
                m_pool.Finish(m_task);
            } catch (...) {
                // Rule: whoever leaves without finishing does so for a failure of its own.
            }
        }
    }

    BackgroundWork(const BackgroundWork&) = delete;
    BackgroundWork& operator=(const BackgroundWork&) = delete;

    /// Not while it is started already.
    void Start()
    {
        m_isStarted = true;
        m_pool.Start(m_task);
    }

    /// Waits until the work is over; performs it, when nobody has. Nothing unless it was started.
    /// @throws what the work throws
    void Finish()
    {
        if (std::exchange(m_isStarted, false)) {
            m_pool.Finish(m_task);
        }
    }

    [[nodiscard]] bool IsStarted() const noexcept { return m_isStarted; }

    /// Whether Finish would not have to wait.
    [[nodiscard]] bool IsDone() const noexcept { return m_isStarted && m_task.IsDone(); }

private:
    class WorkTask : public Task
    {
    public:
        explicit WorkTask(std::function<void()> work)
            : m_work(std::move(work))
        {}

    protected:
        void Perform() override { m_work(); }

    private:
        std::function<void()> m_work;
    };

    TaskPool& m_pool;
    WorkTask m_task;
    bool m_isStarted = false;
};

/// Calls `work` with each number below `count` once, in any order, on all threads of the pool and
/// on this one, which must be its owner.
///
/// A `work` is called as work(number, step); it calls that step now and then when it is long. On
/// this thread that is the given one; on the others it throws when the whole has failed meanwhile.
/// @param step called on this thread between two numbers, too; may throw to stop
/// @throws what `step` throws, or what a `work` throws: then numbers may be left out
template <typename Work, typename Step>
void ForEachShared(TaskPool& pool, std::size_t count, const Work& work, const Step& step)
{
    struct Stopped
    {};

    std::atomic<std::size_t> next = 0;
    std::atomic<bool> isStopped = false;
    const std::function<void()> stepHere = step;
    const std::function<void()> stepOfHelper = [&] {
        if (isStopped.load(std::memory_order_relaxed)) {
            throw Stopped();
        }
    };
    const auto stop = [&] {
        next = count;
        isStopped = true;
    };
    const auto help = [&] {
        try {
            for (std::size_t number = next++; number < count; number = next++) {
                work(number, stepOfHelper);
            }
        } catch (const Stopped&) {
            // Another thread has failed, and tells.
        } catch (...) {
            stop();
            throw;
        }
    };
    // At its end the helpers are done with all that stands before.
    std::deque<BackgroundWork> helpers;
    for (std::size_t helper = 0; helper < pool.GetHelperCount() && helper + 1 < count; ++helper) {
        helpers.emplace_back(pool, help).Start();
    }
    try {
        for (std::size_t number = next++; number < count; number = next++) {
            work(number, stepHere);
            step();
        }
        for (BackgroundWork& helper : helpers) {
            helper.Finish();
        }
    } catch (...) {
        stop();
        throw;
    }
}

} // namespace AsciiReader
