// Reads what the kernel tells about memory and its limits.
#include "FreeMemory.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <string>
#include <string_view>
#include <sys/resource.h>

namespace Orvane::Import {

namespace fs = std::filesystem;

namespace {

using Bytes = std::optional<std::uint64_t>;

/// The number at the start of the text, blanks before it skipped.
Bytes ParseNumber(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    std::uint64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() ? Bytes(value) : std::nullopt;
}

/// The number after `key` at the start of one of the file's lines; the first line's for "".
Bytes ReadNumber(const fs::path& file, std::string_view key = {})
{
    std::ifstream stream(file);
    std::string line;
    while (std::getline(stream, line)) {
        if (line.compare(0, key.size(), key) == 0) {
            return ParseNumber(std::string_view(line).substr(key.size()));
        }
    }
    return std::nullopt;
}

Bytes ReadKilobytes(const fs::path& file, std::string_view key)
{
    constexpr std::uint64_t kKilobyte = 1024;
    const Bytes number = ReadNumber(file, key);
    return number ? Bytes(*number * kKilobyte) : std::nullopt;
}

std::uint64_t Rest(std::uint64_t limit, std::uint64_t used)
{
    return limit > used ? limit - used : 0;
}

/// The files of one version of the control groups.
struct GroupFiles
{
    const char* limit;
    const char* used;
    const char* droppable; ///< key in memory.stat
};

constexpr GroupFiles kVersion2 = {"memory.max", "memory.current", "inactive_file "};
constexpr GroupFiles kVersion1 = {
    "memory.limit_in_bytes", "memory.usage_in_bytes", "total_inactive_file "};

/// What the group and all groups around it leave of `free`. A path that is not there, as inside of
/// a container, is looked for further up.
void ApplyGroups(const fs::path& mount,
                 std::string_view path,
                 const GroupFiles& files,
                 std::uint64_t& free)
{
    while (true) {
        path = path.substr(0, path.find_last_not_of('/') + 1);
        const fs::path folder = mount / (path.empty() ? path : path.substr(1));
        const Bytes limit = ReadNumber(folder / files.limit);
        const Bytes used = ReadNumber(folder / files.used);
        if (limit && used) {
            const Bytes droppable = ReadNumber(folder / "memory.stat", files.droppable);
            free = std::min(free, Rest(*limit, Rest(*used, droppable.value_or(0))));
        }
        if (path.empty()) {
            return;
        }
        path = path.substr(0, path.rfind('/'));
    }
}

/// Goes through lines of the form "number:controllers:/path".
void ApplyAllGroups(const fs::path& root, std::uint64_t& free)
{
    std::ifstream stream(root / "proc/self/cgroup");
    const fs::path mount = root / "sys/fs/cgroup";
    std::string line;
    while (std::getline(stream, line)) {
        const std::size_t first = line.find(':');
        const std::size_t second = first == std::string::npos ? first : line.find(':', first + 1);
        if (second == std::string::npos || line.compare(second + 1, 1, "/") != 0) {
            continue;
        }
        const std::string_view path = std::string_view(line).substr(second + 1);
        const std::string controllers = "," + line.substr(first + 1, second - first - 1) + ",";
        if (controllers == ",,") {
            ApplyGroups(mount, path, kVersion2, free);
        } else if (controllers.find(",memory,") != std::string::npos) {
            ApplyGroups(mount / "memory", path, kVersion1, free);
        }
    }
}

std::uint64_t GetLimit(decltype(RLIMIT_AS) resource)
{
    rlimit limit = {};
    const bool isLimited = getrlimit(resource, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
    return isLimited ? limit.rlim_cur : ProcessLimits::kNone;
}

} // namespace

ProcessLimits ProcessLimits::Get()
{
    return {GetLimit(RLIMIT_AS), GetLimit(RLIMIT_DATA)};
}

std::optional<std::uint64_t> MeasureFreeMemory(const fs::path& root, const ProcessLimits& limits)
{
    const Bytes available = ReadKilobytes(root / "proc/meminfo", "MemAvailable:");
    if (!available) {
        return std::nullopt;
    }
    std::uint64_t free = *available;
    ApplyAllGroups(root, free);
    const fs::path status = root / "proc/self/status";
    const std::uint64_t mapped = ReadKilobytes(status, "VmSize:").value_or(0);
    const std::uint64_t data = ReadKilobytes(status, "VmData:").value_or(0);
    return std::min({free, Rest(limits.addressSpace, mapped), Rest(limits.data, data)});
}

} // namespace Orvane::Import
