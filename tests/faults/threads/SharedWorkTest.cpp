// Work that lasts as long as a scope, by the threads of a pool.
#include "threads/SharedWork.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using AsciiReader::BackgroundWork;
using AsciiReader::ForEachShared;
using AsciiReader::TaskPool;

/// By the number of helpers.
class SharedWorkOf : public testing::TestWithParam<std::size_t>
{};

INSTANTIATE_TEST_SUITE_P(, SharedWorkOf, testing::Values(0, 1, 3));

TEST_P(SharedWorkOf, IsDoneOnceForEachNumber)
{
    TaskPool pool(GetParam());
    for (const std::size_t count : {0U, 1U, 2U, 1000U}) {
        std::vector<int> calls(count);
        std::size_t steps = 0;
        ForEachShared(
            pool,
            count,
            [&](std::size_t number, const auto& step) {
                ++calls[number];
                step();
            },
            [&] { ++steps; });
        EXPECT_EQ(std::accumulate(calls.begin(), calls.end(), std::size_t{0}), count);
        EXPECT_EQ(calls, std::vector<int>(count, 1));
        EXPECT_LE(steps, 2 * count);
    }
}

TEST_P(SharedWorkOf, CallsStepsOnTheOwnersThreadAlone)
{
    TaskPool pool(GetParam());
    const std::thread::id owner = std::this_thread::get_id();
    ForEachShared(
        pool,
        500,
        [](std::size_t, const auto& step) { step(); },
        [&] { EXPECT_EQ(std::this_thread::get_id(), owner); });
}

TEST_P(SharedWorkOf, ThrowsWhatAWorkThrowsAndEndsTheOthers)
{
    TaskPool pool(GetParam());
    for (const std::size_t wanted : {0U, 7U, 499U}) {
        try {
            ForEachShared(
                pool,
                500,
                [&](std::size_t number, const auto& /*step*/) {
                    if (number == wanted) {
                        throw std::runtime_error(std::to_string(number));
                    }
                },
                [] {});
            FAIL();
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(error.what(), std::to_string(wanted));
        }
    }
}

TEST_P(SharedWorkOf, EndsLongWorkOfHelpersWhenTheStepThrows)
{
    TaskPool pool(GetParam());
    std::atomic<bool> isCancelled = false;
    EXPECT_THROW(ForEachShared(
                     pool,
                     GetParam() + 1,
                     [&](std::size_t, const auto& step) {
                         // Without an end of its own.
                         for (;;) {
                             step();
                         }
                     },
                     [&] {
                         isCancelled = true;
                         throw std::runtime_error("cancelled");
                     }),
                 std::runtime_error);
    EXPECT_TRUE(isCancelled);
}

TEST_P(SharedWorkOf, GoesOnInTheBackgroundUntilItIsFinished)
{
    TaskPool pool(GetParam());
    int turns = 0;
    BackgroundWork work(pool, [&] { ++turns; });
    work.Finish();
    EXPECT_EQ(turns, 0) << "nothing was started";
    for (int turn = 1; turn <= 100; ++turn) {
        work.Start();
        EXPECT_TRUE(work.IsStarted());
        work.Finish();
        EXPECT_EQ(turns, turn);
        EXPECT_FALSE(work.IsStarted());
        EXPECT_FALSE(work.IsDone());
    }
}

TEST_P(SharedWorkOf, IsOverWhenItsScopeIsLeft)
{
    TaskPool pool(GetParam());
    int turns = 0;
    {
        BackgroundWork work(pool, [&] {
            ++turns;
            throw std::runtime_error("dropped");
        });
        work.Start();
    }
    EXPECT_EQ(turns, 1);
    BackgroundWork throwing(pool, [] { throw std::runtime_error("kept"); });
    throwing.Start();
    EXPECT_THROW(throwing.Finish(), std::runtime_error);
}

} // namespace
