// Clocks and memory of the process, for programs that measure one run each.
#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <string>
#include <unistd.h>

namespace OrvaneBench {

struct Times
{
    double cpu = 0;
    double wall = 0;
};

inline double CpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// Performs the work and adds what it took.
template <typename Work>
void Measure(Times& times, const Work& work)
{
    const auto wall = std::chrono::steady_clock::now();
    const double cpu = CpuSeconds();
    work();
    times.cpu += CpuSeconds() - cpu;
    times.wall += std::chrono::duration<double>(std::chrono::steady_clock::now() - wall).count();
}

/// Memory of the process now.
struct Memory
{
    std::int64_t resident = 0;
    std::int64_t own = 0; ///< resident without mapped files, so without the code that ran meanwhile
};

inline Memory MeasureMemory()
{
    std::ifstream file("/proc/self/statm");
    std::int64_t size = 0;
    std::int64_t resident = 0;
    std::int64_t shared = 0;
    file >> size >> resident >> shared;
    const std::int64_t page = sysconf(_SC_PAGESIZE);
    return {resident * page, (resident - shared) * page};
}

/// The most that the process ever had resident. Not from getrusage, which counts what the process
/// that started this one had before.
inline std::int64_t PeakBytes()
{
    std::ifstream file("/proc/self/status");
    std::string word;
    std::int64_t kibibytes = 0;
    while (file >> word) {
        if (word == "VmHWM:") {
            file >> kibibytes;
            break;
        }
    }
    return kibibytes * std::int64_t{1024};
}

} // namespace OrvaneBench
