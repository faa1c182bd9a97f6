// What a layer of a FlatGeobuf file is called and made of.
#pragma once

#include "PackedIndex.h"

#include <Orvane/BVariant.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::FlatGeobuf {

/// A coordinate system as the header names it. Texts are UTF-8 without NUL; empty where there is
/// none.
struct CoordinateSystem
{
    std::string organization;
    std::int32_t code = 0; ///< 0: none, or no number
    std::string codeText;  ///< a code that is no number
    std::string name;
    std::string wkt;
};

/// An attribute column.
struct Field
{
    std::string name; ///< UTF-8 without NUL
    /// Int32, Int64, Double, Float, Boolean and DateTime have types of their own in the file, all
    /// others are text.
    EVariantType type = EVariantType::String;
};

/// The format's limits: numbers of columns have 16 bits; GDAL reads headers of 10 MiB at most.
inline constexpr std::size_t kMostFields = 65536;
inline constexpr std::size_t kMostHeaderBytes = std::size_t{10} << 20U;

/// A layer to write: points, or attributes alone.
struct LayerDefinition
{
    std::string name;          ///< UTF-8 without NUL
    std::vector<Field> fields; ///< at most kMostFields
    bool hasGeometry = true;   ///< false: no feature has a point, and there is no index
    bool hasHeights = false;   ///< points have Z; those without one have NaN
    std::optional<CoordinateSystem> coordinateSystem;
};

/// The file's begin: magic bytes and header.
///
/// Its size depends on the definition and on whether there is a box, and on nothing else.
/// @param featureCount 0 is "not known" for readers; they look at the features then
/// @param box around all points; empty for none
/// @throws WriteFailure when it is longer than kMostHeaderBytes
[[nodiscard]] std::string
MakeHeader(const LayerDefinition& layer, std::uint64_t featureCount, bool hasIndex, const Box& box);

} // namespace Orvane::FlatGeobuf
