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

void TaskPool::Queue::Add(Task& task) noexcept
{
    task.m_next = nullptr;
    (first == nullptr ? first : last->m_next) = &task;
    last = &task;
}

Task* TaskPool::Queue::RemoveFirst() noexcept
{
    Task* const task = first;
    if (task != nullptr) {
        first = task->m_next;
    }
    return task;
}

bool TaskPool::Queue::Remove(Task& task) noexcept
{
    Task* before = nullptr;
    Task* at = first;
    while (at != nullptr && at != &task) {
        before = at;
        at = at->m_next;
    }
    if (at == nullptr) {
        return false;
    }
    (before == nullptr ? first : before->m_next) = task.m_next;
    if (last == &task) {
        last = before;
    }
    return true;
}

void TaskPool::Start(Task& task)
{
    StartIn(m_tasks, task);
}

void TaskPool::StartLong(Task& task)
{
    StartIn(m_longTasks, task);
}

void TaskPool::StartIn(Queue& queue, Task& task)
{
    task.m_isDone.store(false, std::memory_order_relaxed);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        queue.Add(task);
    }
    m_hasTask.notify_one();
}

void TaskPool::Finish(Task& task)
{
    if (!task.IsDone()) {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!task.IsDone()) {
            if (m_longTasks.Remove(task)) {
                PerformUnlocked(task, lock);
            } else if (Task* const other = m_tasks.RemoveFirst()) {
                PerformUnlocked(*other, lock);
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
        Task* task = m_longTasks.RemoveFirst();
        if (task == nullptr) {
            task = m_tasks.RemoveFirst();
        }
        if (task != nullptr) {
            PerformUnlocked(*task, lock);
        } else {
            m_hasTask.wait(lock);
        }
    }
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
