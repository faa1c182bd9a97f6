// A few threads that help another one with its work, for as long as that lasts.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace AsciiReader {

/// A piece of work for a pool. Owned by whoever starts it. States: idle, started, done; idle again
/// once it was finished. It must not be changed or destroyed from Start until it is done or the
/// pool has ended.
class Task
{
public:
    Task() = default;
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    virtual ~Task() = default;

    /// Whether the work is over; what it wrote may be read then. For the thread that has started
    /// it.
    [[nodiscard]] bool IsDone() const noexcept { return m_isDone.load(std::memory_order_acquire); }

protected:
    /// The work, on any thread of the pool. What it throws is thrown by Finish.
    virtual void Perform() = 0;

private:
    friend class TaskPool;

    std::atomic<bool> m_isDone = false;
    Task* m_next = nullptr; ///< that waits, started after this one
    std::exception_ptr m_failure;
};

/// Performs tasks, the first that was started first, on threads of its own (the helpers) and on the
/// thread that waits for one.
///
///     TaskPool pool(threads - 1);
///     for (Task& task : tasks) {
///         pool.Start(task);
///     }
///     for (Task& task : tasks) {
///         pool.Finish(task);
///     }
///
/// One thread, the owner, makes the pool, starts and finishes tasks, and destroys the pool. Helpers
/// let the owner's other threads handle all signals.
class TaskPool
{
public:
    /// Makes that many helpers, or as many as the system grants; with none the owner does the work.
    /// @throws std::bad_alloc
    explicit TaskPool(std::size_t helpers);
    /// Drops the tasks that wait, and returns when the others are over.
    ~TaskPool();
    TaskPool(const TaskPool&) = delete;
    TaskPool& operator=(const TaskPool&) = delete;

    [[nodiscard]] std::size_t GetHelperCount() const noexcept { return m_helpers.size(); }

    /// Adds an idle task to those that wait.
    void Start(Task& task);
    /// The same for a task that would keep the owner from starting more: helpers perform it, before
    /// all others that wait, and the owner only when it finishes that very task.
    void StartLong(Task& task);
    /// Returns when a started task is done, and performs tasks meanwhile.
    /// @throws what the task has thrown; the task is idle then, too.
    void Finish(Task& task);

private:
    /// Tasks that wait, linked by themselves.
    struct Queue
    {
        Task* first = nullptr;
        Task* last = nullptr;

        void Add(Task& task) noexcept;
        /// Null when there is none.
        Task* RemoveFirst() noexcept;
        /// @return whether it was there
        bool Remove(Task& task) noexcept;
    };

    void StartIn(Queue& queue, Task& task);
    void StopHelpers() noexcept;
    void Help();
    void PerformUnlocked(Task& task, std::unique_lock<std::mutex>& lock) noexcept;

    std::mutex m_mutex;
    std::condition_variable m_hasTask; ///< or the pool ends
    std::condition_variable m_hasDone;
    Queue m_tasks;
    Queue m_longTasks;
    bool m_isEnding = false;
    bool m_ownerWaits = false;
    std::vector<std::thread> m_helpers;
};

} // namespace AsciiReader
