// Counts the rows and points of a file that was written, from the file alone.
#pragma once

#include "Formats.h"

#include <Orvane/Import/Target.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::Import {

/// What tells rows with a point from rows without in a file that names no geometry.
struct WrittenShape
{
    std::size_t fieldCount = 0; ///< attributes; in CSV the columns X and Y come after them
    bool hasGeometry = true;
    bool hasNames = true;
    std::string furtherTable{}; ///< of a GeoPackage: not counted; empty for none
    std::string onlyTable{};    ///< of a GeoPackage: the one to count, if it is there; empty: all
};

/// Reads the whole file and counts: GeoPackages by SQL over their tables, CSV by its records,
/// GeoJSON and its sequences by their tokens, FlatGeobuf from feature to feature, with a look at
/// its index, other formats by GDAL. Shares no code with the writers, so that a row that one of
/// them has lost, doubled or cut in two shows.
/// @param threads may share the work, the calling one included; tables of GeoPackages are shared
/// @param follow called now and then with the rows that were counted
/// @throws std::runtime_error, reason as what(), when the file cannot be read or is not whole
[[nodiscard]] TargetCounts CountFile(const std::filesystem::path& file,
                                     const ExportFormat& format,
                                     const WrittenShape& shape,
                                     std::size_t threads,
                                     const std::function<void(std::uint64_t rows)>& follow);

/// The names of all tables and views of a GeoPackage; nothing when the file is none.
/// @throws std::runtime_error, reason as what(), when it cannot be read
[[nodiscard]] std::optional<std::vector<std::string>> ListTables(const std::filesystem::path& file);

} // namespace Orvane::Import
