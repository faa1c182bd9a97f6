// What a layer of a GeoPackage is called and made of.
#pragma once

#include <Orvane/BVariant.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::GeoPackage {

/// A coordinate system as a row of the file's table of systems. Texts are UTF-8 without NUL.
struct SpatialReference
{
    std::string name;
    std::int32_t id = 0; ///< the number by which layers name it in this file
    std::string organization;
    std::int32_t organizationId = 0;
    std::string definition; ///< well-known text of the first kind; "undefined" when there is none
    std::optional<std::string> description;
    /// Well-known text of the second kind (2015); only of a system that has none of the first kind.
    std::string definition2015;
};

/// The system of layers that have none: "undefined geographic".
[[nodiscard]] SpatialReference UndefinedSpatialReference();

/// The system of layers that have none and whose coordinates are no degrees: "undefined
/// Cartesian".
[[nodiscard]] SpatialReference UndefinedCartesianReference();

/// An attribute column.
struct Field
{
    std::string name; ///< UTF-8 without NUL, not empty
    /// Int32, Int64, Double, Float, Boolean, Date and DateTime have their own types in the file,
    /// all others are text.
    EVariantType type = EVariantType::String;
};

/// A layer to write: one table of points, or of attributes alone.
///
/// The names of the row number, the geometry and the fields must differ from each other, ASCII case
/// ignored.
struct LayerDefinition
{
    std::string name; ///< UTF-8 without NUL, not empty; must not begin with "gpkg" or "sqlite_"
    std::string rowNumberName = "fid";
    std::string geometryName = "geom";
    std::vector<Field> fields; ///< at most kMostFields; at least 1 without geometry
    /// False: a table of data type "attributes", without the geometry column and its index; points
    /// of its rows are left out.
    bool hasGeometry = true;
    bool hasHeights = false; ///< points have Z; those without one have NaN
    SpatialReference spatialReference;
};

/// SQLite's 2000 columns of a table, less those for the row's number and its geometry.
inline constexpr std::size_t kMostFields = 1998;

/// The box around points. Nothing while there are none.
struct Extent
{
    double minX;
    double minY;
    double maxX;
    double maxY;
};

/// What was written, and values that did not go into the file as they are.
struct LayerCounts
{
    std::uint64_t rows = 0;
    std::uint64_t points = 0;        ///< rows with a geometry in the file
    std::uint64_t withoutPlace = 0;  ///< points whose X or Y is no finite number: rows without one
    std::uint64_t notNumbers = 0;    ///< NaN in fields: null in the file
    std::uint64_t nulCharacters = 0; ///< NUL in texts: U+FFFD in the file
    /// By field: texts of a 64-bit, date or time field that are none: null in the file.
    std::vector<std::uint64_t> notOfTypeByField;
    std::optional<Extent> extent;
};

} // namespace Orvane::GeoPackage
