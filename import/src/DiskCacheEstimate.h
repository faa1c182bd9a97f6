// How large a layer gets, and where its pages go.
#pragma once

#include <Orvane/BAttributeDefs.h>
#include <Orvane/BKeyValuePairs.h>

#include <cstdint>
#include <optional>
#include <string>

namespace Orvane::Import {

/// Rows of a page of a disk-cached layer: small enough to stay in the processor's caches until it
/// is written.
inline constexpr std::uint32_t kDiskCachePageSize = 16384;

/// Where cache files are made.
///
/// Without a given folder that is TMPDIR, else /tmp; /var/tmp when /tmp itself is kept in memory.
/// @return the folder, absolute
/// @throws ImportFailure `cache-folder`, the reason in `cause`: "The folder does not exist.", "It
/// is
///     no folder.", the system's text when no file can be made in it, "The name is not valid
///     UTF-8."
[[nodiscard]] std::string FindCacheFolder(const std::string& given);

/// What is known of a file before it is read.
struct FileMeasure
{
    std::uint64_t fileBytes = 0;
    std::uint64_t sampleBytes = 0; ///< of the file's beginning, which was looked at
    std::uint64_t sampleLines = 1; ///< lines in it, at least 1

    /// Looks at the first MiB. @return nothing for what is no regular file or cannot be read
    [[nodiscard]] static std::optional<FileMeasure> Of(const std::string& path);
};

/// Whether a file is so large that its layer should be estimated at all: larger than a
/// thirty-second of the free memory.
[[nodiscard]] bool IsWorthEstimating(std::uint64_t fileBytes, std::uint64_t freeMemory);

/// Bytes of memory that a file's layer will need, rather too many than too few.
///
/// Rows: file size over the mean line of the sample, at most MAX_RECORDS. A row needs 16 bytes for
/// its point, 8 more with Z_COLUMN, and the width of its columns: 8 bytes for a number, 1 for a
/// boolean, 4 for a text or a name. Texts and names together need no more than the line.
[[nodiscard]] std::uint64_t
EstimateLayerBytes(const FileMeasure& file, const BAttributeDefs& schema, const BParamList& params);

/// Where a layer goes.
enum class EPagePlace {
    Memory,       ///< it needs no more than half of the free memory
    Disk,         ///< it needs more, and the disk has room for it
    MemoryNoDisk, ///< it needs more, and the disk has no room for it
};

[[nodiscard]] EPagePlace
ChoosePlace(std::uint64_t layerBytes, std::uint64_t freeMemory, std::uint64_t freeDisk) noexcept;

} // namespace Orvane::Import
