// How much memory the process can still get.
#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>

namespace Orvane::Import {

/// What stands against the memory of a process; the default is no limit at all.
struct ProcessLimits
{
    static constexpr std::uint64_t kNone = std::numeric_limits<std::uint64_t>::max();

    std::uint64_t addressSpace = kNone; ///< bytes of RLIMIT_AS
    std::uint64_t data = kNone;         ///< bytes of RLIMIT_DATA

    /// Those of this process.
    [[nodiscard]] static ProcessLimits Get();
};

/// Bytes that the process can still get: the least of the system's available memory, what the
/// control groups (version 2 and 1) that the process is in leave, file pages that can be dropped
/// not counted as used, and what the limits leave.
/// @param root the folder that holds `proc` and `sys`: "/"
/// @return nothing when the system does not say what is available; 0 at a limit that is reached
[[nodiscard]] std::optional<std::uint64_t> MeasureFreeMemory(const std::filesystem::path& root,
                                                             const ProcessLimits& limits);

} // namespace Orvane::Import
