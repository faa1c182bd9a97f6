// Whether a layer keeps its pages in memory or in a file, and in which folder.
#pragma once

#include "FreeMemory.h"

#include <Orvane/BAttributeDefs.h>
#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BKeyValuePairs.h>

#include <cstdint>
#include <optional>
#include <string>

namespace OrvaneHost {

/// The disk cache as the arguments ask for it.
struct DiskCacheArguments
{
    enum class EMode {
        Never,
        Always,
        Automatic ///< for layers that would take more than half of the free memory
    };

    EMode mode = EMode::Never;
    std::string folder; ///< as given; empty for the folder for temporary files
};

/// Rows of a page of a disk-cached layer: small enough to stay in the processor's caches until it
/// is written.
inline constexpr std::uint32_t kDiskCachePageSize = 16384;

/// Where cache files are made.
///
/// Without a given folder that is TMPDIR, else /tmp; /var/tmp when /tmp itself is kept in memory.
/// @return the folder, absolute
/// @throws Orvane::BException("Could not keep the disk cache in <...>.", "DiskCache", <reason>):
///     "The folder does not exist.", "It is no folder.", the system's text when no file can be made
///     in it, "The name is not valid UTF-8."
[[nodiscard]] std::string FindCacheFolder(const std::string& given);

/// What is known of a file before it is read.
struct FileMeasure
{
    std::uint64_t fileBytes = 0;
    std::uint64_t sampleBytes = 0; ///< of the file's beginning, which was looked at
    std::uint64_t sampleLines = 1; ///< lines in it, at least 1

    /// Looks at the first MiB. @return nothing for what is no regular file or can't be read
    [[nodiscard]] static std::optional<FileMeasure> Of(const std::string& path);
};

/// Whether a file is so large that its layer should be estimated at all: larger than a
/// thirty-second of the free memory.
[[nodiscard]] bool IsWorthEstimating(std::uint64_t fileBytes, std::uint64_t freeMemory);

/// Bytes of memory that a file's layer will take, rather too many than too few.
///
/// Rows: file size over the mean line of the sample, at most MAX_RECORDS. A row takes 16 bytes for
/// its point, 8 more with Z_COLUMN, and the width of its columns: 8 bytes for a number, 1 for a
/// boolean, 4 for a text or a name. Texts and names together take no more than the line.
[[nodiscard]] std::uint64_t EstimateLayerBytes(const FileMeasure& file,
                                               const Orvane::BAttributeDefs& schema,
                                               const Orvane::BParamList& params);

/// Where a layer goes.
enum class EPagePlace {
    Memory,       ///< it takes no more than half of the free memory
    Disk,         ///< it takes more, and the disk has room for it
    MemoryNoDisk, ///< it takes more, and the disk has no room for it
};

[[nodiscard]] EPagePlace
ChoosePlace(std::uint64_t layerBytes, std::uint64_t freeMemory, std::uint64_t freeDisk) noexcept;

/// What was decided for a file.
struct DiskCacheChoice
{
    bool isUsed = false;
    std::string baseName; ///< of the cache file, when it is used
    std::string note;     ///< one line for the user, empty for none
};

/// Decides as the arguments say.
class DiskCache
{
public:
    /// @throws as FindCacheFolder, when the arguments ask for the cache; automatic mode does
    ///     without a folder that can't be used.
    explicit DiskCache(DiskCacheArguments arguments);

    /// Decides for a file. In automatic mode a file that is worth it is opened once more, to see
    /// its schema; one that can't be opened stays in memory and fails where it is read.
    /// @param params the options it will be read with
    [[nodiscard]] DiskCacheChoice Choose(Orvane::BDataManagerProxy& proxy,
                                         const std::string& file,
                                         const Orvane::BParamList& params) const;

private:
    DiskCacheArguments m_arguments;
    std::string m_folder; ///< absolute, when the arguments ask for the cache
};

} // namespace OrvaneHost
