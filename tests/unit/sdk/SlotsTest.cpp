// Tests of the order of the virtual operations, on which separately built modules rely.
#include <Orvane/BDataManager.h>
#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BDataReader.h>
#include <Orvane/BProgress.h>
#include <Orvane/BVectorDataReader.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>

namespace {

using Orvane::BDataManager;
using Orvane::BDataManagerProxy;
using Orvane::BDataReader;
using Orvane::BParamList;
using Orvane::BProgress;
using Orvane::BString;
using Orvane::BVectorDataReader;

/// The slot of a virtual operation, the destructor being slot 0.
///
/// Where the Itanium rules hold, a pointer to a virtual member is its offset in the virtual table,
/// plus 1 except on machines that keep that mark apart; the destructor has two entries there.
template <typename Member>
std::ptrdiff_t SlotOf(Member member)
{
    std::ptrdiff_t offset = 0;
    static_assert(sizeof member >= sizeof offset);
    std::memcpy(&offset, &member, sizeof offset);
    constexpr std::ptrdiff_t kEntryBytes = sizeof(void*);
    return offset / kEntryBytes - 1;
}

/// Makes the protected operations accessible.
class Reader : public BVectorDataReader
{
public:
    using BDataReader::DoClose;
    using BDataReader::DoOpen;
    using BDataReader::DoRead;
    using BVectorDataReader::ReportProgress;
};

struct SlotCase
{
    const char* name;
    std::ptrdiff_t found;
    std::ptrdiff_t expected;
};

void PrintTo(const SlotCase& row, std::ostream* out)
{
    *out << row.name;
}

using Asks = bool (BDataManagerProxy::*)(const BString&);
using AsksWithOptions = bool (BDataManagerProxy::*)(const BString&, const BParamList&);

const SlotCase kSlots[] = {
    {"ManagerOpen", SlotOf(&BDataManager::Open), 1},
    {"ManagerClose", SlotOf(&BDataManager::Close), 2},
    {"ManagerSupportsQuery", SlotOf(&BDataManager::SupportsQuery), 3},
    {"ManagerGetFilePreview", SlotOf(&BDataManager::GetFilePreview), 4},
    {"ManagerIsOpen", SlotOf(&BDataManager::IsOpen), 5},
    {"ManagerGetMBR", SlotOf(&BDataManager::GetMBR), 6},
    {"ManagerGetMBB", SlotOf(&BDataManager::GetMBB), 7},
    {"ManagerUsingDiskCache", SlotOf(&BDataManager::UsingDiskCache), 8},
    {"ManagerGetDiskCacheBaseName", SlotOf(&BDataManager::GetDiskCacheBaseName), 9},
    {"ManagerGetDiskCachePageSize", SlotOf(&BDataManager::GetDiskCachePageSize), 10},
    {"ManagerReportProgress", SlotOf(&Reader::ReportProgress), 11},
    {"ReaderRead", SlotOf(&BDataReader::Read), 12},
    {"ReaderDoOpen", SlotOf(&Reader::DoOpen), 13},
    {"ReaderDoClose", SlotOf(&Reader::DoClose), 14},
    {"ReaderDoRead", SlotOf(&Reader::DoRead), 15},
    {"VectorReaderOpen", SlotOf(&BVectorDataReader::Open), 1},
    {"VectorReaderClose", SlotOf(&BVectorDataReader::Close), 2},
    {"VectorReaderRead", SlotOf(&BVectorDataReader::Read), 12},
    {"ProxyCanReadWithOptions", SlotOf(AsksWithOptions{&BDataManagerProxy::CanRead}), 1},
    {"ProxyCanRead", SlotOf(Asks{&BDataManagerProxy::CanRead}), 2},
    {"ProxyCanWriteWithOptions", SlotOf(AsksWithOptions{&BDataManagerProxy::CanWrite}), 3},
    {"ProxyCanWrite", SlotOf(Asks{&BDataManagerProxy::CanWrite}), 4},
    {"ProxyCreateReader", SlotOf(&BDataManagerProxy::CreateReader), 5},
    {"ProxyCreateWriter", SlotOf(&BDataManagerProxy::CreateWriter), 6},
    {"ProxyDestroyObject", SlotOf(&BDataManagerProxy::DestroyObject), 7},
    {"ProxyMakeTempInputFileName", SlotOf(&BDataManagerProxy::MakeTempInputFileName), 8},
    {"ProgressShouldReport", SlotOf(&BProgress::ShouldReport), 1},
    {"ProgressReport", SlotOf(&BProgress::Report), 2},
};

class Slots : public testing::TestWithParam<SlotCase>
{};

TEST_P(Slots, StandInTheOrderOfTheInterface)
{
    EXPECT_EQ(GetParam().found, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(, Slots, testing::ValuesIn(kSlots), [](const auto& row) {
    return row.param.name;
});

} // namespace
