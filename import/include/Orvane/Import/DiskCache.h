// Whether a layer keeps its pages in memory or in a file, and in which folder.
#pragma once

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BPluginModule.h>
#include <Orvane/Import/Api.h>
#include <Orvane/Import/Progress.h>

#include <cstdint>
#include <optional>
#include <string>

namespace Orvane::Import {

/// The disk cache as a caller asks for it.
struct DiskCacheRequest
{
    enum class EMode {
        Never,
        Always,
        Automatic ///< for layers that would need more than half of the free memory
    };

    EMode mode = EMode::Never;
    /// UTF-8; empty for the folder for temporary files: TMPDIR, else /tmp, or /var/tmp when /tmp
    /// itself is kept in memory.
    std::string folder;
};

/// What was decided for a file.
struct DiskCacheChoice
{
    bool isUsed = false;
    std::string baseName;     ///< of the cache file, when it is used: for Session::UseDiskCache
    std::optional<Note> note; ///< `disk-cache` or `disk-cache-full`, in automatic mode
};

/// Decides as the caller asks.
///
/// "Free memory" is the least of the system's available memory, what the control groups leave that
/// the process is in, and what its limits RLIMIT_AS and RLIMIT_DATA leave. A layer's size is
/// estimated by the file's size, its first MiB and its columns.
class ORVANE_IMPORT_EXPORT DiskCache
{
public:
    /// @throws ImportFailure `cache-folder` when the caller asks for the cache and its folder
    /// cannot
    ///     hold it; automatic mode does without
    explicit DiskCache(DiskCacheRequest request);

    /// Decides for a file. In automatic mode a file that is worth it is opened once more, to see
    /// its columns; one that cannot be opened stays in memory and fails where it is read.
    /// @param options the options that it will be read with
    [[nodiscard]] DiskCacheChoice
    Choose(const BPluginModule& module, const std::string& file, const BParamList& options) const;

    /// Decides for a layer that needs about `layerBytes` of memory.
    [[nodiscard]] DiskCacheChoice Choose(std::uint64_t layerBytes) const;

private:
    DiskCacheRequest m_request;
    std::string m_folder; ///< absolute, when the caller asks for the cache
};

} // namespace Orvane::Import
