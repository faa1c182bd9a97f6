// Layers that a GeoPackage has already: found, compared, appended to, removed.
#pragma once

#include "GeoPackageLayer.h"
#include "PackedTree.h"
#include "PointSorter.h"
#include "SqliteDatabase.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Orvane::GeoPackage {

/// There is a layer, or another table, of the name already. what() is one sentence.
class LayerExists : public std::runtime_error
{
public:
    explicit LayerExists(const std::string& name);
};

/// The rows do not fit the layer that they are to be appended to. what() is one sentence that names
/// the column.
class LayerMismatch : public std::runtime_error
{
public:
    explicit LayerMismatch(const std::string& reason)
        : std::runtime_error(reason)
    {}
};

/// A table that is registered as a layer.
struct ExistingLayer
{
    struct Column
    {
        std::string name;
        std::string type; ///< upper case, as it was declared
        bool isRowNumber = false;
        bool needsValue = false; ///< not null, and without a default
    };

    std::string name; ///< as the file spells it
    std::string dataType;
    std::vector<Column> columns;
    std::string rowNumberName;
    std::string geometryName; ///< empty: it has no geometry
    std::string geometryType; ///< upper case
    std::int64_t heights = 0; ///< 0 none, 1 all, 2 any
    std::int32_t spatialReferenceId = 0;
    bool hasIndex = false;
    std::uint64_t lastRow = 0; ///< the largest number that a row has or had
};

/// The layer of that name, ASCII case ignored; nothing when there is no table of the name.
/// @throws LayerExists for a table or view that is no layer of rows
[[nodiscard]] std::optional<ExistingLayer> FindLayer(SqliteDatabase& database,
                                                     const std::string& name);

/// The definition by which rows are appended: that of the rows, with the names, the system and the
/// heights of the layer.
/// @throws LayerMismatch
[[nodiscard]] LayerDefinition
FitLayer(SqliteDatabase& database, const ExistingLayer& layer, const LayerDefinition& rows);

/// Removes the table, its index, and what the file says of both. Styles stay.
void RemoveLayer(SqliteDatabase& database,
                 const ExistingLayer& layer,
                 const SqliteDatabase::Step& step);

/// The triggers of a layer that keep its index and its number of rows: gone while rows are appended
/// in one go.
class SuspendedTriggers
{
public:
    SuspendedTriggers(SqliteDatabase& database, const ExistingLayer& layer);

    /// Makes them again, as they were.
    void Restore();

private:
    SqliteDatabase& m_database;
    std::vector<std::string> m_statements;
};

/// Brings the points of appended rows into the index of the layer: into its nodes, or, when they
/// are many for it and all of its geometries are points, by packing it anew with all of them.
/// @param points those of the appended rows, not sorted
void ExtendIndex(SqliteDatabase& database,
                 const ExistingLayer& layer,
                 PointSorter& points,
                 const PackedTree::Limits& limits,
                 const PackedTree::Progress& progress);

/// Says in the file what the layer holds now. @param counts of the appended rows
/// @throws LayerMismatch when a text is longer than its column allows
void UpdateLayer(SqliteDatabase& database, const ExistingLayer& layer, const LayerCounts& counts);

} // namespace Orvane::GeoPackage
