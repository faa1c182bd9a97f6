// Pages that are made on a thread of their own.
#include "PagePipe.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Orvane::BFeaturePage;
using Orvane::Import::PagePipe;
using Orvane::Import::SourcePage;

std::shared_ptr<const BFeaturePage> MakePage(std::size_t rows)
{
    auto page = std::make_shared<BFeaturePage>();
    page->rowCount = rows;
    return page;
}

const auto kNothing = [] {};

TEST(PagePipe, GivesPagesInOrder)
{
    constexpr std::size_t kPages = 100;
    PagePipe pipe(
        [](const PagePipe::Push& push) {
            for (std::size_t index = 0; index < kPages; ++index) {
                ASSERT_TRUE(push(MakePage(index + 1), index * 10));
            }
        },
        kNothing,
        kNothing);
    std::size_t count = 0;
    for (SourcePage page; pipe.Next(page); ++count) {
        EXPECT_EQ(page.page->GetRowCount(), count + 1);
        EXPECT_EQ(page.firstRow, count * 10);
        EXPECT_EQ(page.features, nullptr);
    }
    EXPECT_EQ(count, kPages);
    SourcePage page;
    EXPECT_FALSE(pipe.Next(page));
}

TEST(PagePipe, MakesOnlySoManyPagesAhead)
{
    std::atomic<std::size_t> made{0};
    PagePipe pipe(
        [&](const PagePipe::Push& push) {
            for (int index = 0; index < 50; ++index) {
                ++made;
                ASSERT_TRUE(push(MakePage(1), 0));
            }
        },
        kNothing,
        kNothing);
    std::size_t taken = 0;
    for (SourcePage page; pipe.Next(page);) {
        ++taken;
        // Those that wait, the one that is being made, and the one at hand.
        EXPECT_LE(made.load(), taken + PagePipe::kMostWaiting + 1);
    }
    EXPECT_EQ(taken, 50U);
}

TEST(PagePipe, AFailureOfTheMakerComesAfterItsPages)
{
    PagePipe pipe(
        [](const PagePipe::Push& push) {
            push(MakePage(1), 0);
            throw std::runtime_error("spoiled");
        },
        kNothing,
        kNothing);
    SourcePage page;
    EXPECT_TRUE(pipe.Next(page));
    try {
        static_cast<void>(pipe.Next(page));
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "spoiled");
    }
    EXPECT_FALSE(pipe.Next(page));
}

TEST(PagePipe, StopsTheMakerWhenItGoes)
{
    std::atomic<bool> isStopped{false};
    std::atomic<bool> isRefused{false};
    {
        PagePipe pipe(
            [&](const PagePipe::Push& push) {
                while (push(MakePage(1), 0)) {
                }
                isRefused = true;
            },
            [&] { isStopped = true; },
            kNothing);
        SourcePage page;
        EXPECT_TRUE(pipe.Next(page));
    }
    EXPECT_TRUE(isStopped);
    EXPECT_TRUE(isRefused);
}

TEST(PagePipe, AsksItsCallerWhileThereIsNoPage)
{
    std::atomic<bool> isAsked{false};
    PagePipe pipe(
        [&](const PagePipe::Push& push) {
            while (!isAsked) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            push(MakePage(1), 0);
        },
        kNothing,
        [&] { isAsked = true; });
    pipe.WaitForFirst();
    SourcePage page;
    EXPECT_TRUE(pipe.Next(page));
    EXPECT_FALSE(pipe.Next(page));
    EXPECT_TRUE(isAsked);
}

TEST(PagePipe, WhatItsCallerThrowsLeavesTheWaiting)
{
    std::atomic<bool> isStopped{false};
    PagePipe pipe(
        [&](const PagePipe::Push&) {
            while (!isStopped) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        },
        [&] { isStopped = true; },
        [] { throw std::runtime_error("enough"); });
    SourcePage page;
    EXPECT_THROW(static_cast<void>(pipe.Next(page)), std::runtime_error);
}

} // namespace
