// What the tables of a file say about its layers, and how they change with a layer.
#include "ExistingLayers.h"

#include "GeoPackageTables.h"
#include "WriteFailure.h"

#include <Orvane/BVariant.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>
#include <utility>

namespace Orvane::GeoPackage {

namespace {

std::string ToUpper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char byte) {
        return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
    });
    return text;
}

bool IsSameName(const std::string& a, const std::string& b)
{
    return ToUpper(a) == ToUpper(b);
}

/// Types of columns that a field's values go into unchanged.
std::vector<std::string_view> FittingTypes(EVariantType type)
{
    switch (type) {
    case EVariantType::Int32:
        return {"MEDIUMINT", "INT", "INTEGER", "REAL", "DOUBLE"};
    case EVariantType::Int64:
        return {"INTEGER", "INT"};
    case EVariantType::Double:
        return {"REAL", "DOUBLE"};
    case EVariantType::Float:
        return {"FLOAT", "REAL", "DOUBLE"};
    case EVariantType::Boolean:
        return {"BOOLEAN"};
    case EVariantType::Date:
        return {"DATE"};
    case EVariantType::DateTime:
        return {"DATETIME"};
    default:
        return {"TEXT"};
    }
}

/// The most characters of a column "TEXT(n)"; 0 for any number.
std::size_t MostCharacters(const std::string& type)
{
    constexpr std::string_view kBegin = "TEXT(";
    return type.starts_with(kBegin) ? std::strtoul(type.c_str() + kBegin.size(), nullptr, 10) : 0;
}

bool Fits(const std::string& columnType, EVariantType type)
{
    const std::vector<std::string_view> fitting = FittingTypes(type);
    const std::string_view plain =
        MostCharacters(columnType) > 0 ? std::string_view("TEXT") : std::string_view(columnType);
    return std::find(fitting.begin(), fitting.end(), plain) != fitting.end();
}

std::string DescribeSystem(SqliteDatabase& database, std::int32_t id)
{
    SqliteStatement find(database,
                         "SELECT organization || ':' || organization_coordsys_id FROM "
                         "gpkg_spatial_ref_sys WHERE srs_id = ?1");
    find.BindInteger(1, id);
    std::string text = "no known system";
    while (find.Next()) {
        text = id > 0 ? find.GetText(0) : text;
    }
    return text;
}

bool HasTable(SqliteDatabase& database, const std::string& name)
{
    SqliteStatement find(database,
                         "SELECT count(*) FROM sqlite_master WHERE lower(name) = lower(?1)");
    find.BindText(1, name);
    return find.RunForInteger() != 0;
}

std::string IndexOf(const ExistingLayer& layer)
{
    return "rtree_" + layer.name + "_" + layer.geometryName;
}

void FindGeometry(SqliteDatabase& database, ExistingLayer& layer)
{
    SqliteStatement geometry(database,
                             "SELECT column_name, geometry_type_name, z, srs_id FROM "
                             "gpkg_geometry_columns WHERE lower(table_name) = lower(?1)");
    geometry.BindText(1, layer.name);
    while (geometry.Next()) {
        layer.geometryName = geometry.GetText(0);
        layer.geometryType = ToUpper(geometry.GetText(1));
        layer.heights = geometry.GetInteger(2);
        layer.spatialReferenceId = static_cast<std::int32_t>(geometry.GetInteger(3));
    }
    layer.hasIndex = !layer.geometryName.empty() && HasTable(database, IndexOf(layer));
}

void FindColumns(SqliteDatabase& database, ExistingLayer& layer)
{
    SqliteStatement columns(
        database, "SELECT name, type, pk, \"notnull\", dflt_value FROM pragma_table_info(?1)");
    columns.BindText(1, layer.name);
    while (columns.Next()) {
        ExistingLayer::Column column;
        column.name = columns.GetText(0);
        column.type = ToUpper(columns.GetText(1));
        column.isRowNumber = columns.GetInteger(2) != 0;
        column.needsValue = columns.GetInteger(3) != 0 && columns.IsNull(4);
        if (column.isRowNumber) {
            layer.rowNumberName = column.name;
        }
        layer.columns.push_back(std::move(column));
    }
}

void FindLastRow(SqliteDatabase& database, ExistingLayer& layer)
{
    SqliteStatement last(database,
                         "SELECT max(" + QuoteName(layer.rowNumberName) + ") FROM " +
                             QuoteName(layer.name));
    std::int64_t number = last.RunForInteger();
    if (HasTable(database, "sqlite_sequence")) {
        SqliteStatement sequence(database, "SELECT seq FROM sqlite_sequence WHERE name = ?1");
        sequence.BindText(1, layer.name);
        number = std::max(number, sequence.RunForInteger());
    }
    // Row numbers below 1 are none that an appended row would get.
    layer.lastRow = static_cast<std::uint64_t>(std::max<std::int64_t>(number, 0));
}

void RequireGeometry(SqliteDatabase& database,
                     const ExistingLayer& layer,
                     const LayerDefinition& rows)
{
    if (!rows.hasGeometry) {
        return;
    }
    if (layer.geometryName.empty()) {
        throw LayerMismatch("It has no geometries, and the rows have points.");
    }
    if (layer.geometryType != "POINT" && layer.geometryType != "GEOMETRY") {
        throw LayerMismatch("Its geometries in column '" + layer.geometryName + "' are of type " +
                            layer.geometryType + ", those of the rows are points.");
    }
    if (layer.heights != 2 && (layer.heights == 1) != rows.hasHeights) {
        throw LayerMismatch("Its geometries in column '" + layer.geometryName + "' have " +
                            (layer.heights == 1 ? "heights, those of the rows none."
                                                : "no heights, those of the rows have some."));
    }
    const bool areBothUnknown = layer.spatialReferenceId <= 0 && rows.spatialReference.id <= 0;
    if (layer.spatialReferenceId != rows.spatialReference.id && !areBothUnknown) {
        throw LayerMismatch("Its geometries in column '" + layer.geometryName + "' are in " +
                            DescribeSystem(database, layer.spatialReferenceId) +
                            ", those of the rows in " +
                            DescribeSystem(database, rows.spatialReference.id) + ".");
    }
}

/// A point in the form of the standard. @return false when the bytes are none
bool ReadPoint(std::string_view bytes, double& x, double& y)
{
    constexpr std::size_t kHeaderBytes = 8;
    constexpr std::array<std::size_t, 5> kBoxBytes = {0, 32, 48, 48, 64};
    constexpr std::size_t kTypeBytes = 5;
    if (bytes.size() < kHeaderBytes || bytes[0] != 'G' || bytes[1] != 'P') {
        return false;
    }
    const auto flags = static_cast<unsigned char>(bytes[3]);
    const std::size_t box = (flags >> 1U) & 7U;
    const bool isExtended = (flags & 0x20U) != 0;
    if (box >= kBoxBytes.size() || isExtended ||
        bytes.size() < kHeaderBytes + kBoxBytes[box] + kTypeBytes + 2 * sizeof(double)) {
        return false;
    }
    const char* const point = bytes.data() + kHeaderBytes + kBoxBytes[box];
    const bool isSwapped = (*point == 1) != (std::endian::native == std::endian::little);
    std::uint32_t type = 0;
    std::memcpy(&type, point + 1, sizeof type);
    type = isSwapped ? __builtin_bswap32(type) : type;
    // Points, also with Z, M or both, in the words of the standard and in older ones.
    constexpr std::uint32_t kOlderFlags = 0xE0000000U;
    if ((type & ~kOlderFlags) % 1000 != 1) {
        return false;
    }
    const auto read = [&](std::size_t number) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, point + kTypeBytes + number * sizeof bits, sizeof bits);
        return std::bit_cast<double>(isSwapped ? __builtin_bswap64(bits) : bits);
    };
    x = read(0);
    y = read(1);
    return true;
}

/// Adds the points that were in the table before. @return false when a geometry is no point; some
/// may have been added then
bool AddOldPoints(SqliteDatabase& database,
                  const ExistingLayer& layer,
                  PointSorter& points,
                  const PackedTree::Progress& progress)
{
    constexpr std::uint64_t kRowsOfStep = 16384;
    SqliteStatement rows(database,
                         "SELECT " + QuoteName(layer.rowNumberName) + ", " +
                             QuoteName(layer.geometryName) + " FROM " + QuoteName(layer.name) +
                             " WHERE " + QuoteName(layer.rowNumberName) +
                             " <= " + std::to_string(layer.lastRow));
    std::uint64_t done = 0;
    while (rows.Next()) {
        if (++done % kRowsOfStep == 0) {
            progress(0, 0);
        }
        if (rows.IsNull(1)) {
            continue;
        }
        double x = 0;
        double y = 0;
        if (rows.GetInteger(0) < 0 || !ReadPoint(rows.GetBlob(1), x, y)) {
            return false;
        }
        // A point without coordinates is an empty one, and has no place in the index.
        if (std::isfinite(x) && std::isfinite(y)) {
            points.Add(static_cast<std::uint64_t>(rows.GetInteger(0)), x, y);
        }
    }
    return true;
}

/// Row by row, since emptying a table is one long instruction that hears of no wish to stop.
void DeleteRows(SqliteDatabase& database, const std::string& table, std::int64_t firstRow)
{
    database.Execute("DELETE FROM " + QuoteName(table) +
                     " WHERE rowid >= " + std::to_string(firstRow));
}

void DropIndex(SqliteDatabase& database, const std::string& name)
{
    // The root stays: SQLite learns from it how large the nodes are.
    constexpr std::int64_t kFirstAfterRoot = 2;
    constexpr std::int64_t kFirst = std::numeric_limits<std::int64_t>::min() + 1;
    DeleteRows(database, name + "_node", kFirstAfterRoot);
    DeleteRows(database, name + "_rowid", kFirst);
    DeleteRows(database, name + "_parent", kFirst);
    database.Execute("DROP TABLE " + QuoteName(name));
}

} // namespace

LayerExists::LayerExists(const std::string& name)
    : std::runtime_error("There is a layer '" + name + "' already.")
{}

std::optional<ExistingLayer> FindLayer(SqliteDatabase& database, const std::string& name)
{
    if (!HasTable(database, name)) {
        return std::nullopt;
    }
    ExistingLayer layer;
    SqliteStatement contents(database,
                             "SELECT m.name, data_type FROM gpkg_contents JOIN sqlite_master m ON "
                             "lower(m.name) = lower(table_name) WHERE lower(table_name) = "
                             "lower(?1) AND m.type = 'table' AND data_type IN ('features', "
                             "'attributes')");
    contents.BindText(1, name);
    while (contents.Next()) {
        layer.name = contents.GetText(0);
        layer.dataType = contents.GetText(1);
    }
    if (layer.name.empty()) {
        throw LayerExists(name);
    }
    FindColumns(database, layer);
    FindGeometry(database, layer);
    if (!layer.rowNumberName.empty()) {
        FindLastRow(database, layer);
    }
    return layer;
}

LayerDefinition
FitLayer(SqliteDatabase& database, const ExistingLayer& layer, const LayerDefinition& rows)
{
    RequireGeometry(database, layer, rows);
    LayerDefinition fitted = rows;
    fitted.name = layer.name;
    fitted.rowNumberName = layer.rowNumberName;
    fitted.geometryName = layer.geometryName;
    fitted.spatialReference.id = layer.spatialReferenceId;
    if (layer.rowNumberName.empty()) {
        throw LayerMismatch("It has no column of row numbers.");
    }
    std::vector<bool> isFilled(layer.columns.size(), false);
    for (Field& field : fitted.fields) {
        const auto column =
            std::find_if(layer.columns.begin(), layer.columns.end(), [&](const auto& candidate) {
                return IsSameName(candidate.name, field.name);
            });
        if (column == layer.columns.end() || column->isRowNumber ||
            IsSameName(column->name, layer.geometryName)) {
            throw LayerMismatch("It has no column '" + field.name + "' for values.");
        }
        if (!Fits(column->type, field.type)) {
            throw LayerMismatch("Its column '" + column->name + "' is of type " + column->type +
                                ", the file's is " + TypeName(field.type) + ".");
        }
        field.name = column->name;
        isFilled[static_cast<std::size_t>(column - layer.columns.begin())] = true;
    }
    for (std::size_t index = 0; index < layer.columns.size(); ++index) {
        const ExistingLayer::Column& column = layer.columns[index];
        if (column.needsValue && !column.isRowNumber && !isFilled[index]) {
            throw LayerMismatch("Its column '" + column.name +
                                "' needs values, and the file has none for it.");
        }
    }
    return fitted;
}

void RemoveLayer(SqliteDatabase& database,
                 const ExistingLayer& layer,
                 const SqliteDatabase::Step& step)
{
    const StepScope scope(database, step);
    std::vector<std::string> triggers;
    SqliteStatement find(database,
                         "SELECT name FROM sqlite_master WHERE type = 'trigger' AND "
                         "lower(tbl_name) = lower(?1)");
    find.BindText(1, layer.name);
    while (find.Next()) {
        triggers.push_back(find.GetText(0));
    }
    for (const std::string& trigger : triggers) {
        database.Execute("DROP TRIGGER " + QuoteName(trigger));
    }
    if (layer.hasIndex) {
        DropIndex(database, IndexOf(layer));
    }
    DeleteRows(database, layer.name, std::numeric_limits<std::int64_t>::min() + 1);
    database.Execute("DROP TABLE " + QuoteName(layer.name));
    for (const char* const table : {"gpkg_geometry_columns",
                                    "gpkg_extensions",
                                    "gpkg_data_columns",
                                    "gpkg_metadata_reference",
                                    "gpkg_ogr_contents",
                                    "gpkg_contents"}) {
        if (HasTable(database, table)) {
            SqliteStatement remove(database,
                                   std::string("DELETE FROM ") + table +
                                       " WHERE lower(table_name) = lower(?1)");
            remove.BindText(1, layer.name);
            remove.Run();
        }
    }
}

SuspendedTriggers::SuspendedTriggers(SqliteDatabase& database, const ExistingLayer& layer)
    : m_database(database)
{
    std::vector<std::string> names;
    SqliteStatement find(database,
                         "SELECT name, sql FROM sqlite_master WHERE type = 'trigger' AND "
                         "lower(tbl_name) = lower(?1) AND (instr(lower(sql), lower(?2)) > 0 OR "
                         "instr(lower(sql), 'gpkg_ogr_contents') > 0)");
    const std::string index = QuoteName(IndexOf(layer));
    find.BindText(1, layer.name);
    find.BindText(2, index);
    while (find.Next()) {
        names.push_back(find.GetText(0));
        m_statements.push_back(find.GetText(1));
    }
    for (const std::string& name : names) {
        database.Execute("DROP TRIGGER " + QuoteName(name));
    }
}

void SuspendedTriggers::Restore()
{
    for (const std::string& statement : m_statements) {
        m_database.Execute(statement);
    }
}

void ExtendIndex(SqliteDatabase& database,
                 const ExistingLayer& layer,
                 PointSorter& points,
                 const PackedTree::Limits& limits,
                 const PackedTree::Progress& progress)
{
    // One row put into the nodes of millions costs as much as packing about four hundred of them.
    constexpr std::uint64_t kOldPerNew = 400;
    // Packing would need room for numbers that no row has.
    constexpr std::uint64_t kNumbersPerRow = 8;
    constexpr std::uint64_t kPointsOfStep = 4096;
    const std::string name = IndexOf(layer);
    const auto isWorthIt = [&] {
        // With so few new rows it is worth it for no number of old ones: they need not be counted.
        if ((points.GetCount() + 1) * (kOldPerNew + 1) < layer.lastRow / kNumbersPerRow) {
            return false;
        }
        SqliteStatement count(database, "SELECT count(*) FROM " + QuoteName(name + "_rowid"));
        const auto old = static_cast<std::uint64_t>(count.RunForInteger());
        return points.GetCount() >= old / kOldPerNew &&
               layer.lastRow <= (points.GetCount() + old) * kNumbersPerRow;
    };
    // Packing reads all old points.
    const bool packs = layer.geometryType == "POINT" && isWorthIt() &&
                       AddOldPoints(database, layer, points, progress);
    const std::uint64_t total = points.GetCount();
    points.Sort([&] { progress(0, total); });
    if (packs) {
        const SqliteDatabase::Step step = [&] { progress(0, total); };
        {
            const StepScope scope(database, step);
            DropIndex(database, name);
        }
        PackedTree(database, name).Fill(points, limits, progress);
        return;
    }
    // A point that comes into a full node moves others, and each has a row of its own in the row
    // map: with less memory each new point would write 40 pages of the file.
    constexpr std::uint64_t kCacheOfMoves = std::uint64_t{64} << 20;
    SetCache(database, kCacheOfMoves);
    SqliteStatement insert(
        database, "INSERT OR REPLACE INTO " + QuoteName(name) + " VALUES(?1, ?2, ?3, ?4, ?5)");
    std::uint64_t done = 0;
    for (auto point = points.Next(); point; point = points.Next()) {
        const PointBox box = point->GetBox();
        insert.BindInteger(1, static_cast<std::int64_t>(point->GetRow()));
        insert.BindReal(2, static_cast<double>(box.minX));
        insert.BindReal(3, static_cast<double>(box.maxX));
        insert.BindReal(4, static_cast<double>(box.minY));
        insert.BindReal(5, static_cast<double>(box.maxY));
        insert.Run();
        if (++done % kPointsOfStep == 0) {
            progress(done, total);
        }
    }
    SetCache(database, kUsualCache);
}

void UpdateLayer(SqliteDatabase& database, const ExistingLayer& layer, const LayerCounts& counts)
{
    SqliteStatement last(database,
                         "SELECT max(" + QuoteName(layer.rowNumberName) + ") FROM " +
                             QuoteName(layer.name));
    if (counts.rows > 0 &&
        static_cast<std::uint64_t>(last.RunForInteger()) != layer.lastRow + counts.rows) {
        throw WriteFailure("the rows of the layer cannot be numbered on from " +
                           std::to_string(layer.lastRow));
    }
    for (const ExistingLayer::Column& column : layer.columns) {
        const std::size_t most = MostCharacters(column.type);
        if (most == 0) {
            continue;
        }
        SqliteStatement longest(
            database,
            "SELECT max(length(" + QuoteName(column.name) + ")) FROM " + QuoteName(layer.name) +
                " WHERE " + QuoteName(layer.rowNumberName) + " > " + std::to_string(layer.lastRow));
        const std::int64_t length = longest.RunForInteger();
        if (static_cast<std::uint64_t>(length) > most) {
            throw LayerMismatch("Its column '" + column.name + "' is of type " + column.type +
                                ", and the file has a text of " + std::to_string(length) +
                                " characters for it.");
        }
    }
    // The box of a layer that has rows and no box is not known, nor is the number of its rows.
    SqliteStatement contents(
        database,
        "UPDATE gpkg_contents SET last_change = strftime('%Y-%m-%dT%H:%M:%fZ','now'), min_x = "
        "CASE WHEN ?6 THEN ?1 ELSE min(min_x, ?1) END, min_y = CASE WHEN ?6 THEN ?2 ELSE "
        "min(min_y, ?2) END, max_x = CASE WHEN ?6 THEN ?3 ELSE max(max_x, ?3) END, max_y = CASE "
        "WHEN ?6 THEN ?4 ELSE max(max_y, ?4) END WHERE lower(table_name) = lower(?5)");
    SqliteStatement touch(database,
                          "UPDATE gpkg_contents SET last_change = "
                          "strftime('%Y-%m-%dT%H:%M:%fZ','now') WHERE lower(table_name) = "
                          "lower(?1)");
    if (counts.extent) {
        contents.BindReal(1, counts.extent->minX);
        contents.BindReal(2, counts.extent->minY);
        contents.BindReal(3, counts.extent->maxX);
        contents.BindReal(4, counts.extent->maxY);
        contents.BindText(5, layer.name);
        contents.BindInteger(6, layer.lastRow == 0 ? 1 : 0);
        contents.Run();
    } else {
        touch.BindText(1, layer.name);
        touch.Run();
    }
    SqliteStatement rows(database,
                         "UPDATE gpkg_ogr_contents SET feature_count = CASE WHEN ?3 THEN ?1 ELSE "
                         "feature_count + ?1 END WHERE lower(table_name) = lower(?2)");
    rows.BindInteger(3, layer.lastRow == 0 ? 1 : 0);
    rows.BindInteger(1, static_cast<std::int64_t>(counts.rows));
    rows.BindText(2, layer.name);
    rows.Run();
}

} // namespace Orvane::GeoPackage
