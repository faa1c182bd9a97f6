// A few threads that help another one with its work, for as long as that lasts.
#include "threads/TaskPool.h"

#include <csignal>
#include <system_error>
#include <utility>

namespace AsciiReader {

namespace {

/// Blocks all signals on this thread; threads that it makes meanwhile inherit that.
class SignalBlock
{
public:
    SignalBlock() noexcept
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }

    ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;

private:
    sigset_t m_before{};
};

} // namespace

TaskPool::TaskPool(std::size_t helpers)
{
    m_helpers.reserve(helpers);
    const SignalBlock block;
    try {
        while (m_helpers.size() < helpers) {
            m_helpers.emplace_back(&TaskPool::Help, this);
        }
    } catch (const std::system_error&) {
        // Rule: a system that grants no more threads makes the work slower, not impossible.
    } catch (...) {
        StopHelpers();
        throw;
    }
}

TaskPool::~TaskPool()
{
    StopHelpers();
}

void TaskPool::StopHelpers() noexcept
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isEnding = true;
    }
    m_hasTask.notify_all();
    for (std::thread& helper : m_helpers) {
        helper.join();
    }
}

void TaskPool::Start(Task& task)
{
    task.m_isDone.store(false, std::memory_order_relaxed);
    task.m_next = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        (m_first == nullptr ? m_first : m_last->m_next) = &task;
        m_last = &task;
    }
    m_hasTask.notify_one();
}

void TaskPool::Finish(Task& task)
{
    if (!task.IsDone()) {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!task.IsDone()) {
            if (m_first != nullptr) {
                PerformUnlocked(RemoveFirst(), lock);
            } else {
                m_ownerWaits = true;
                m_hasDone.wait(lock);
                m_ownerWaits = false;
            }
        }
    }
    if (task.m_failure != nullptr) {
        std::rethrow_exception(std::exchange(task.m_failure, nullptr));
    }
}

void TaskPool::Help()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_isEnding) {
        if (m_first != nullptr) {
            PerformUnlocked(RemoveFirst(), lock);
        } else {
            m_hasTask.wait(lock);
        }
    }
}

Task& TaskPool::RemoveFirst() noexcept
{
    Task& task = *m_first;
    m_first = task.m_next;
    return task;
}

/// Performs a task while the lock is given up.
void TaskPool::PerformUnlocked(Task& task, std::unique_lock<std::mutex>& lock) noexcept
{
    lock.unlock();
    try {
        task.Perform();
    } catch (...) {
        task.m_failure = std::current_exception();
    }
    lock.lock();
    task.m_isDone.store(true, std::memory_order_release);
    if (m_ownerWaits) {
        m_hasDone.notify_one();
    }
}

} // namespace AsciiReader
