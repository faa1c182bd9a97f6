// What a layer holds, counted.
#pragma once

#include <Orvane/BVariant.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Import/Api.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Orvane::Import {

/// A field as rows have it.
struct LayerField
{
    BString name;
    EVariantType type;
};

/// Counts over the rows of a layer.
struct LayerCounts
{
    std::size_t rows = 0;
    std::size_t points = 0;       ///< rows with a point
    std::size_t withHeight = 0;   ///< points whose Z was set
    std::size_t withoutPlace = 0; ///< points whose X or Y is no finite number
    /// Attributes that rows have after those of the schema. A layer need not agree with its
    /// schema: a layer without one has all of its columns here.
    std::vector<LayerField> fieldsBeyondSchema;
    /// Rows without a value, by attribute: those of the schema, then those after them. A row with
    /// fewer attributes has no value for the rest.
    std::vector<std::uint64_t> nulls;
    /// Attributes whose dates with times are known to state no offset from UTC, by attribute. Those
    /// past its end may have some.
    std::vector<bool> withoutOffsets;

    /// Whether an attribute's dates with times may state an offset from UTC.
    [[nodiscard]] bool MayHaveOffsets(std::size_t index) const
    {
        return index >= withoutOffsets.size() || !withoutOffsets[index];
    }

    [[nodiscard]] std::size_t GetWithoutGeometry() const noexcept { return rows - points; }
};

/// Counts page by page, one page held at a time; costs a pass over the coordinates.
/// @throws ImportFailure `cache-file` when a page of a disk-cached layer cannot be read
[[nodiscard]] ORVANE_IMPORT_EXPORT LayerCounts CountLayer(const BVectorLayer& layer);

} // namespace Orvane::Import
