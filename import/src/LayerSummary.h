// What a layer holds, counted for people.
#pragma once

#include <Orvane/BGeometry.h>
#include <Orvane/BVariant.h>
#include <Orvane/BVectorLayer.h>

#include <cstddef>
#include <string>
#include <vector>

namespace OrvaneHost {

/// A field as rows have it.
struct LayerField
{
    Orvane::BString name;
    Orvane::EVariantType type;
};

/// Counts over the rows of a layer.
struct LayerCounts
{
    std::size_t rows = 0;
    std::size_t points = 0;       ///< rows with a point
    std::size_t withHeight = 0;   ///< points whose Z was set
    std::size_t withoutPlace = 0; ///< points whose X or Y is no finite number
    /// Attributes that rows have behind those of the schema. A layer need not agree with its
    /// schema: a layer without one has all of its columns here.
    std::vector<LayerField> fieldsBeyondSchema;

    [[nodiscard]] std::size_t GetWithoutGeometry() const noexcept { return rows - points; }
};

/// Counts page by page, one page held at a time; costs a pass over the coordinates.
[[nodiscard]] LayerCounts CountLayer(const Orvane::BVectorLayer& layer);

/// "integer", "double", "text" and so on; "type N" for numbers without a name.
[[nodiscard]] std::string NameOfType(Orvane::EVariantType type);

/// Lines of the schema, one column each: number from 1, name, type, precision when there is one.
[[nodiscard]] std::string DescribeSchema(const Orvane::BAttributeDefs& schema);

/// "X -10.5 to 20, Y 3 to 4, Z 0 to 9", or "none".
[[nodiscard]] std::string DescribeExtent(const Orvane::BMBB& box);

/// The shortest exact digits of a number.
[[nodiscard]] std::string FormatNumber(double value);

/// A value as text for people, escaped.
[[nodiscard]] std::string FormatValue(const Orvane::BVariant& value);

} // namespace OrvaneHost
