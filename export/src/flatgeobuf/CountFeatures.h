// Counts what a FlatGeobuf file holds.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>

namespace Orvane::FlatGeobuf {

/// Features of a file.
struct FeatureCounts
{
    std::uint64_t features = 0;
    std::uint64_t points = 0; ///< of these, features with a geometry
};

/// Reads a whole file of points and counts its features one by one. Each is verified by the
/// flatbuffers library; a file with an index must have a leaf for each, with its place and its
/// point. Shares nothing with the writer but the names of the tables' fields. Memory: one feature.
/// @param follow called now and then with the features that were counted; may be empty
/// @throws std::runtime_error, reason as what(), when the file cannot be read or is not whole
[[nodiscard]] FeatureCounts
CountFeatures(const std::filesystem::path& path,
              const std::function<void(std::uint64_t features)>& follow = {});

} // namespace Orvane::FlatGeobuf
