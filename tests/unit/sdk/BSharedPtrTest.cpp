// Tests of the shared handle.
#include <Orvane/BSharedPtr.h>

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace {

using Orvane::BSharedPtr;
using Orvane::MakeShared;

struct Base
{
    explicit Base(int& deletions)
        : m_deletions(deletions)
    {}

    Base(const Base&) = delete;
    Base& operator=(const Base&) = delete;

    virtual ~Base() { ++m_deletions; }

    int number = 1;

private:
    int& m_deletions;
};

struct Derived : Base
{
    using Base::Base;
};

TEST(BSharedPtr, IsNullWhenNew)
{
    const BSharedPtr<int> handle;
    EXPECT_FALSE(handle);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(handle.Get(), nullptr);
    EXPECT_EQ(handle.GetUseCount(), 0);
    EXPECT_EQ(BSharedPtr<int>(nullptr), nullptr);
}

TEST(BSharedPtr, DeletesTheObjectWithItsLastCopy)
{
    int deletions = 0;
    {
        BSharedPtr<Base> first(new Base(deletions));
        EXPECT_EQ(first.GetUseCount(), 1);
        EXPECT_TRUE(first.IsOwner());
        BSharedPtr<Base> second = first;
        EXPECT_EQ(first.GetUseCount(), 2);
        EXPECT_EQ(first, second);
        first.Reset();
        EXPECT_EQ(first, nullptr);
        EXPECT_EQ(deletions, 0);
        EXPECT_EQ(second->number, 1);
    }
    EXPECT_EQ(deletions, 1);
}

TEST(BSharedPtr, BecomesAHandleOfTheBase)
{
    int deletions = 0;
    {
        const BSharedPtr<Derived> derived = MakeShared<Derived>(deletions);
        const BSharedPtr<Base> base = derived;
        EXPECT_EQ(base.Get(), derived.Get());
        EXPECT_EQ(derived.GetUseCount(), 2);
        EXPECT_TRUE(base.IsOwner());
        BSharedPtr<Derived> moved = derived;
        const BSharedPtr<Base> target = std::move(moved);
        EXPECT_EQ(derived.GetUseCount(), 3);
    }
    EXPECT_EQ(deletions, 1);
}

TEST(BSharedPtr, NeverDeletesABorrowedObject)
{
    int deletions = 0;
    {
        Derived object(deletions);
        {
            const BSharedPtr<Derived> borrowed = BSharedPtr<Derived>::Borrow(&object);
            const BSharedPtr<Base> copy = borrowed;
            EXPECT_FALSE(borrowed.IsOwner());
            EXPECT_FALSE(copy.IsOwner());
            EXPECT_EQ(copy.Get(), &object);
        }
        EXPECT_EQ(deletions, 0);
    }
    EXPECT_EQ(deletions, 1);
}

TEST(BSharedPtr, SharesItsCountWithTheStandardPointer)
{
    const auto standard = std::make_shared<int>(5);
    const BSharedPtr<int> handle = standard;
    EXPECT_EQ(standard.use_count(), 2);
    EXPECT_EQ(handle.Share(), standard);
    EXPECT_EQ(*handle, 5);
}

} // namespace
