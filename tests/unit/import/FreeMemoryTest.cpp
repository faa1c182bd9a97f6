// Free memory, read from folders that look like the system's.
#include <gtest/gtest.h>

#include <FreeMemory.h>
#include <fstream>
#include <string>
#include <support/TestFiles.h>

namespace {

using Orvane::Import::MeasureFreeMemory;
using Orvane::Import::ProcessLimits;

constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20;

/// A system with 1000 MiB available, and a process that has mapped 100 MiB, 40 of them data.
class FreeMemory : public testing::Test
{
protected:
    FreeMemory()
    {
        Write("proc/meminfo",
              "MemTotal:  4096000 kB\nMemAvailable:   1024000 kB\nSwapFree: 7 kB\n");
        Write("proc/self/status", "Name:\torvane\nVmSize:\t  102400 kB\nVmData:\t   40960 kB\n");
    }

    void Write(const std::string& name, const std::string& text) const
    {
        const std::filesystem::path file = m_folder.Path() / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }

    /// A control group with its limit, use and pages that can be dropped, in MiB.
    void WriteGroup2(const std::string& folder, unsigned limit, unsigned used, unsigned file) const
    {
        const auto bytes = [](unsigned count) { return std::to_string(count * kMebibyte) + "\n"; };
        Write(folder + "/memory.max", bytes(limit));
        Write(folder + "/memory.current", bytes(used));
        Write(folder + "/memory.stat", "anon 5\ninactive_file " + bytes(file) + "active_file 9\n");
    }

    void WriteGroup1(const std::string& folder, unsigned limit, unsigned used, unsigned file) const
    {
        const auto bytes = [](unsigned count) { return std::to_string(count * kMebibyte) + "\n"; };
        Write(folder + "/memory.limit_in_bytes", bytes(limit));
        Write(folder + "/memory.usage_in_bytes", bytes(used));
        Write(folder + "/memory.stat",
              "inactive_file 1\ntotal_inactive_file " + bytes(file) + "total_cache 9\n");
    }

    /// MiB; -1 for nothing.
    [[nodiscard]] std::int64_t Measure(const ProcessLimits& limits = {}) const
    {
        const auto free = MeasureFreeMemory(m_folder.Path(), limits);
        return free ? static_cast<std::int64_t>(*free / kMebibyte) : -1;
    }

    TestSupport::TemporaryFolder m_folder;
};

TEST_F(FreeMemory, IsWhatTheSystemHasAvailable)
{
    EXPECT_EQ(Measure(), 1000);
}

TEST_F(FreeMemory, IsUnknownWhenTheSystemDoesNotSay)
{
    Write("proc/meminfo", "MemTotal:  4096000 kB\n");
    EXPECT_EQ(Measure(), -1);
    std::filesystem::remove(m_folder.Path() / "proc/meminfo");
    EXPECT_EQ(Measure(), -1);
}

TEST_F(FreeMemory, IsWhatTheAddressSpaceLimitLeaves)
{
    EXPECT_EQ(Measure({300 * kMebibyte, ProcessLimits::kNone}), 200);
    EXPECT_EQ(Measure({50 * kMebibyte, ProcessLimits::kNone}), 0);
    EXPECT_EQ(Measure({5000 * kMebibyte, ProcessLimits::kNone}), 1000);
}

TEST_F(FreeMemory, IsWhatTheDataLimitLeaves)
{
    EXPECT_EQ(Measure({ProcessLimits::kNone, 100 * kMebibyte}), 60);
    EXPECT_EQ(Measure({105 * kMebibyte, 100 * kMebibyte}), 5);
}

TEST_F(FreeMemory, IsWhatAGroupOfVersion2LeavesWithoutFilePages)
{
    Write("proc/self/cgroup", "0::/user/app\n");
    WriteGroup2("sys/fs/cgroup/user/app", 500, 200, 50);
    EXPECT_EQ(Measure(), 350);
}

TEST_F(FreeMemory, IsLimitedByTheGroupsAboveIt)
{
    Write("proc/self/cgroup", "0::/user/app\n");
    Write("sys/fs/cgroup/user/app/memory.max", "max\n");
    Write("sys/fs/cgroup/user/app/memory.current", "4096\n");
    WriteGroup2("sys/fs/cgroup/user", 400, 300, 0);
    EXPECT_EQ(Measure(), 100);
}

TEST_F(FreeMemory, FindsTheGroupOfAContainerAtTheTop)
{
    Write("proc/self/cgroup", "0::/outside/only\n");
    WriteGroup2("sys/fs/cgroup", 400, 100, 0);
    EXPECT_EQ(Measure(), 300);
}

TEST_F(FreeMemory, IsWhatAGroupOfVersion1Leaves)
{
    Write("proc/self/cgroup", "8:cpu,cpuacct:/a\n4:hugetlb,memory:/a/b\n1:name=systemd:/\n0::/\n");
    WriteGroup1("sys/fs/cgroup/memory/a/b", 900, 500, 100);
    EXPECT_EQ(Measure(), 500);
    WriteGroup1("sys/fs/cgroup/memory/a", 600, 500, 100);
    EXPECT_EQ(Measure(), 200);
    WriteGroup1("sys/fs/cgroup/memory", 100, 500, 100);
    EXPECT_EQ(Measure(), 0);
}

TEST_F(FreeMemory, IgnoresGroupsThatSayNothing)
{
    Write("proc/self/cgroup", "no group\n0:\n0::\n7:memory:relative\n4:memory:/gone\n0::/gone\n");
    Write("sys/fs/cgroup/gone/memory.max", "a word\n");
    EXPECT_EQ(Measure(), 1000);
}

TEST(FreeMemoryOfThisProcess, IsKnownAndNotNothing)
{
    const auto free = MeasureFreeMemory("/", ProcessLimits::Get());
    ASSERT_TRUE(free.has_value());
    EXPECT_GT(*free, 0U);
}

} // namespace
