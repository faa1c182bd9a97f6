// The slots of the virtual tables, which host and plug-ins agree on.
#include "proxy/BAsciiProxy.h"
#include "reader/BAsciiReader.h"
#include "support/TestFiles.h"

#include <Orvane/BDataManager.h>
#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BProgress.h>
#include <Orvane/BVectorDataReader.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using AsciiReader::BAsciiProxy;
using AsciiReader::BAsciiReader;
using Orvane::BDataManager;
using Orvane::BDataManagerProxy;
using Orvane::BDataReader;
using Orvane::BParamList;
using Orvane::BProgress;
using Orvane::BString;
using Orvane::BVectorDataReader;

// In the Itanium C++ ABI slot 0, the destructor, has two entries of the table; each other slot
// has one. A pointer to a virtual member function is its entry's byte offset plus one.

template <typename Member>
std::size_t SlotOf(Member member)
{
    struct
    {
        std::uintptr_t offset;
        std::ptrdiff_t adjustment;
    } parts{};

    static_assert(sizeof parts == sizeof member);
    std::memcpy(&parts, &member, sizeof parts);
    EXPECT_EQ(parts.adjustment, 0);
    EXPECT_EQ(parts.offset % sizeof(void*), 1U) << "not a virtual function";
    return (parts.offset - 1) / sizeof(void*) - 1;
}

/// What an object's table holds for the slots from 1 to `last`; position 0 stands for slot 1.
template <typename T>
std::vector<void*> Functions(const T& object, std::size_t last)
{
    void* const* table = nullptr;
    std::memcpy(&table, static_cast<const void*>(&object), sizeof table);
    return {table + 2, table + 2 + last};
}

/// Slots from 1 on in which two tables differ.
std::vector<std::size_t> DifferentSlots(const std::vector<void*>& a, const std::vector<void*>& b)
{
    std::vector<std::size_t> slots;
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
        if (a[i] != b[i]) {
            slots.push_back(i + 1);
        }
    }
    return slots;
}

using Slots = std::vector<std::size_t>;

// --- progress ----------------------------------------------------------------------------------

TEST(BProgressSlots, AreAsTabled)
{
    EXPECT_EQ(SlotOf(&BProgress::ShouldReport), 1U);
    EXPECT_EQ(SlotOf(&BProgress::Report), 2U);
}

// --- proxy -------------------------------------------------------------------------------------

constexpr std::size_t kLastProxySlot = 8;

TEST(BDataManagerProxySlots, AreAsTabled)
{
    using CanWithParams = bool (BDataManagerProxy::*)(const BString&, const BParamList&);
    using Can = bool (BDataManagerProxy::*)(const BString&);
    EXPECT_EQ(SlotOf(static_cast<CanWithParams>(&BDataManagerProxy::CanRead)), 1U);
    EXPECT_EQ(SlotOf(static_cast<Can>(&BDataManagerProxy::CanRead)), 2U);
    EXPECT_EQ(SlotOf(static_cast<CanWithParams>(&BDataManagerProxy::CanWrite)), 3U);
    EXPECT_EQ(SlotOf(static_cast<Can>(&BDataManagerProxy::CanWrite)), 4U);
    EXPECT_EQ(SlotOf(&BDataManagerProxy::CreateReader), 5U);
    EXPECT_EQ(SlotOf(&BDataManagerProxy::CreateWriter), 6U);
    EXPECT_EQ(SlotOf(&BDataManagerProxy::DestroyObject), 7U);
    EXPECT_EQ(SlotOf(&BDataManagerProxy::MakeTempInputFileName), kLastProxySlot);
}

TEST(BAsciiProxySlots, AreItsOwnForReadingAndInheritedForTheRest)
{
    const BDataManagerProxy base;
    const BAsciiProxy proxy;
    EXPECT_EQ(DifferentSlots(Functions(base, kLastProxySlot), Functions(proxy, kLastProxySlot)),
              (Slots{1, 2, 5}));
}

TEST(BAsciiProxySlots, HoldTheOverloadWithOptionsBeforeTheOneWithout)
{
    struct WithParams : BDataManagerProxy
    {
        using BDataManagerProxy::CanRead;

        bool CanRead(const BString&, const BParamList&) override { return true; }
    };

    struct Without : BDataManagerProxy
    {
        using BDataManagerProxy::CanRead;

        bool CanRead(const BString&) override { return true; }
    };

    const BDataManagerProxy base;
    const WithParams withParams;
    const Without without;
    const std::vector<void*> functions = Functions(base, kLastProxySlot);
    EXPECT_EQ(DifferentSlots(functions, Functions(withParams, kLastProxySlot)), (Slots{1}));
    EXPECT_EQ(DifferentSlots(functions, Functions(without, kLastProxySlot)), (Slots{2}));
}

TEST(BAsciiProxySlots, AddNoData)
{
    EXPECT_EQ(sizeof(BAsciiProxy), sizeof(BDataManagerProxy));
}

// --- reader ------------------------------------------------------------------------------------

constexpr std::size_t kLastReaderSlot = 15;

/// Overrides what a reader must define and inherits the rest.
class OpenReader : public BVectorDataReader
{
public:
    OpenReader()
        : BVectorDataReader("a.csv", BParamList())
    {}

    bool SupportsQuery(const BString& query) override
    {
        return BVectorDataReader::SupportsQuery(query);
    }

    BParamList GetFilePreview(const BString& query) override
    {
        return BVectorDataReader::GetFilePreview(query);
    }

    bool IsOpen() override { return false; }

protected:
    void DoOpen(const BString& /*path*/, const BParamList& /*params*/) override {}

    void DoClose() override {}

    void DoRead() override {}
};

/// Names the protected operations through their base.
class Names : public BDataReader
{
public:
    using BDataManager::ReportProgress;
    using BDataReader::DoClose;
    using BDataReader::DoOpen;
    using BDataReader::DoRead;
};

TEST(BDataReaderSlots, AreAsTabled)
{
    EXPECT_EQ(SlotOf(&BDataManager::Open), 1U);
    EXPECT_EQ(SlotOf(&BDataManager::Close), 2U);
    EXPECT_EQ(SlotOf(&BDataManager::SupportsQuery), 3U);
    EXPECT_EQ(SlotOf(&BDataManager::GetFilePreview), 4U);
    EXPECT_EQ(SlotOf(&BDataManager::IsOpen), 5U);
    EXPECT_EQ(SlotOf(&BDataManager::GetMBR), 6U);
    EXPECT_EQ(SlotOf(&BDataManager::GetMBB), 7U);
    EXPECT_EQ(SlotOf(&BDataManager::UsingDiskCache), 8U);
    EXPECT_EQ(SlotOf(&BDataManager::GetDiskCacheBaseName), 9U);
    EXPECT_EQ(SlotOf(&BDataManager::GetDiskCachePageSize), 10U);
    EXPECT_EQ(SlotOf(&Names::ReportProgress), 11U);
    EXPECT_EQ(SlotOf(&BDataReader::Read), 12U);
    EXPECT_EQ(SlotOf(&Names::DoOpen), 13U);
    EXPECT_EQ(SlotOf(&Names::DoClose), 14U);
    EXPECT_EQ(SlotOf(&Names::DoRead), kLastReaderSlot);
}

TEST(BAsciiReaderSlots, AreItsOwnWhereItAnswersAndInheritedForTheRest)
{
    const OpenReader base;
    const BAsciiReader reader("a.csv", BParamList());
    EXPECT_EQ(DifferentSlots(Functions(base, kLastReaderSlot), Functions(reader, kLastReaderSlot)),
              (Slots{3, 4, 5, 13, 14, 15}));
}

} // namespace
