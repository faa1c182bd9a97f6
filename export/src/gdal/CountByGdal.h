// Counts what a driver of GDAL has written.
#pragma once

#include "Formats.h"

#include <Orvane/Import/Target.h>

#include <cstdint>
#include <filesystem>
#include <functional>

namespace Orvane::Import::Gdal {

/// Feature by feature, since a file's own count is the writer's word.
/// @param follow called now and then with the rows that were counted
/// @throws std::runtime_error, reason as what(), when the file cannot be read
[[nodiscard]] TargetCounts Count(const std::filesystem::path& file,
                                 const ExportFormat& format,
                                 const std::function<void(std::uint64_t rows)>& follow);

} // namespace Orvane::Import::Gdal
