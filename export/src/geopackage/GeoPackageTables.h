// The tables of the GeoPackage standard, version 1.3, and what stands in them.
#pragma once

#include "GeoPackageLayer.h"
#include "SqliteDatabase.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Orvane::GeoPackage {

/// Says in the file's header that it is a GeoPackage 1.3, and sets up the connection for writing a
/// new file at once: large pages, a small cache, and no journal, since a file that is not finished
/// is thrown away. Before anything else is written.
void PrepareNewFile(SqliteDatabase& database);

/// Makes the tables that every GeoPackage has, with the three systems that must be in it.
void CreateCoreTables(SqliteDatabase& database);

/// Bytes of the file's pages that a connection keeps in memory.
constexpr std::uint64_t kUsualCache = std::uint64_t{4} << 20;
void SetCache(SqliteDatabase& database, std::uint64_t bytes);

/// Sets up the connection for a copy of a file that is there: as for a new one, but for the pages,
/// whose size stays. Makes the tables that a layer needs and that the file may lack.
void PrepareExistingFile(SqliteDatabase& database);

/// Adds the coordinate system of a layer unless the file has it.
/// @return its number in the file: that of `reference`, or another one when that stands for another
///     system there
std::int32_t AddSpatialReference(SqliteDatabase& database, const SpatialReference& reference);

/// The type of a field's column.
[[nodiscard]] const char* TypeName(EVariantType type);

/// Makes the layer's own table, without rows.
void CreateLayerTable(SqliteDatabase& database, const LayerDefinition& layer);

/// "INSERT INTO table(columns)" for the geometry, if there is one, and all fields, the row number
/// left to SQLite.
[[nodiscard]] std::string MakeInsert(const LayerDefinition& layer);

/// The name of the layer's spatial index.
[[nodiscard]] std::string GetIndexName(const LayerDefinition& layer);

/// Registers the layer with its extent and its number of rows, now that all rows are written, and
/// makes the triggers that keep the spatial index and the number of rows right from now on.
void RegisterLayer(SqliteDatabase& database,
                   const LayerDefinition& layer,
                   const LayerCounts& counts);

} // namespace Orvane::GeoPackage
