// Tasks that a few threads perform.
#include "threads/TaskPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace {

using AsciiReader::Task;
using AsciiReader::TaskPool;

class Call : public Task
{
public:
    explicit Call(std::function<void()> action)
        : m_action(std::move(action))
    {}

protected:
    void Perform() override { m_action(); }

private:
    std::function<void()> m_action;
};

class TaskPoolOf : public testing::TestWithParam<std::size_t>
{};

TEST_P(TaskPoolOf, PerformsEachTaskOnce)
{
    TaskPool pool(GetParam());
    EXPECT_EQ(pool.GetHelperCount(), GetParam());
    constexpr std::size_t kTasks = 200;
    std::vector<int> counts(kTasks);
    std::vector<std::unique_ptr<Call>> tasks;
    for (int& count : counts) {
        tasks.push_back(std::make_unique<Call>([&count] { ++count; }));
    }
    for (int turn = 1; turn <= 3; ++turn) {
        for (const auto& task : tasks) {
            pool.Start(*task);
        }
        for (const auto& task : tasks) {
            pool.Finish(*task);
            EXPECT_TRUE(task->IsDone());
        }
        EXPECT_EQ(counts, std::vector<int>(kTasks, turn));
    }
}

TEST_P(TaskPoolOf, ThrowsWhatATaskThrowsWhenItIsFinished)
{
    TaskPool pool(GetParam());
    Call fails([] { throw std::runtime_error("no"); });
    Call works([] {});
    for (int turn = 0; turn < 3; ++turn) {
        pool.Start(fails);
        pool.Start(works);
        EXPECT_NO_THROW(pool.Finish(works));
        EXPECT_THROW(pool.Finish(fails), std::runtime_error);
    }
}

TEST_P(TaskPoolOf, WaitsAtItsEndForTasksThatWereBegun)
{
    std::atomic<int> begun = 0;
    std::atomic<int> ended = 0;
    std::vector<std::unique_ptr<Call>> tasks;
    for (int count = 0; count < 50; ++count) {
        tasks.push_back(std::make_unique<Call>([&] {
            ++begun;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            ++ended;
        }));
    }
    {
        TaskPool pool(GetParam());
        for (const auto& task : tasks) {
            pool.Start(*task);
        }
    }
    EXPECT_EQ(begun, ended);
    EXPECT_LT(ended, 50) << "what waits is dropped";
}

INSTANTIATE_TEST_SUITE_P(,
                         TaskPoolOf,
                         testing::Values(0U, 1U, 7U),
                         testing::PrintToStringParamName());

TEST(TaskPoolWithoutHelpers, PerformsTasksInTheOrderOfTheirStart)
{
    TaskPool pool(0);
    std::vector<int> order;
    Call first([&order] { order.push_back(1); });
    Call second([&order] { order.push_back(2); });
    pool.Start(first);
    pool.Start(second);
    pool.Finish(second);
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    EXPECT_TRUE(first.IsDone());
}

TEST(TaskPoolWithoutHelpers, PerformsALongTaskWhenItIsFinished)
{
    TaskPool pool(0);
    std::vector<int> order;
    Call first([&order] { order.push_back(1); });
    Call second([&order] { order.push_back(2); });
    Call third([&order] { order.push_back(3); });
    Call task([&order] { order.push_back(4); });
    for (Call* const call : {&first, &second, &third}) {
        pool.StartLong(*call);
    }
    pool.Start(task);
    pool.Finish(task);
    EXPECT_EQ(order, (std::vector<int>{4}));
    pool.Finish(second);
    pool.Finish(third);
    pool.StartLong(second);
    pool.Finish(second);
    pool.Finish(first);
    EXPECT_EQ(order, (std::vector<int>{4, 2, 3, 2, 1}));
}

TEST(TaskPoolHelpers, PerformLongTasksBeforeOthers)
{
    TaskPool pool(1);
    std::atomic<bool> isGo = false;
    std::vector<int> order;
    Call gate([&isGo] {
        while (!isGo) {
            std::this_thread::yield();
        }
    });
    Call task([&order] { order.push_back(1); });
    Call longTask([&order] { order.push_back(2); });
    pool.StartLong(gate);
    pool.Start(task);
    pool.StartLong(longTask);
    isGo = true;
    while (!task.IsDone()) {
        std::this_thread::yield();
    }
    EXPECT_EQ(order, (std::vector<int>{2, 1}));
}

TEST(TaskPoolHelpers, LeaveSignalsToTheOwner)
{
    sigset_t before;
    pthread_sigmask(SIG_SETMASK, nullptr, &before);
    TaskPool pool(1);
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, nullptr, &after);
    EXPECT_EQ(sigismember(&before, SIGINT), sigismember(&after, SIGINT));
    std::atomic<int> isBlocked = -1;
    const std::thread::id owner = std::this_thread::get_id();
    Call asks([&] {
        sigset_t mask;
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        isBlocked = sigismember(&mask, SIGINT);
        EXPECT_NE(std::this_thread::get_id(), owner);
    });
    pool.Start(asks);
    while (!asks.IsDone()) {
        std::this_thread::yield();
    }
    pool.Finish(asks);
    EXPECT_EQ(isBlocked, 1);
}

} // namespace
