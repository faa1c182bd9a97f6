// SQL of the standard: tables, columns and triggers have the names and types that it asks for.
#include "GeoPackageTables.h"

#include "KnownSystem.h"

#include <string_view>

namespace Orvane::GeoPackage {

namespace {

/// "GPKG" as the number in the header of the file.
constexpr const char* kHeader = "PRAGMA application_id = 1196444487; PRAGMA user_version = 10300;";

constexpr const char* kNewPages = "PRAGMA page_size = 16384;";

constexpr const char* kConnection =
    "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA locking_mode = EXCLUSIVE;"
    "PRAGMA secure_delete = OFF; PRAGMA temp_store = MEMORY;";

constexpr const char* kSpatialReferences = R"(
CREATE TABLE gpkg_spatial_ref_sys (
  srs_name TEXT NOT NULL,
  srs_id INTEGER NOT NULL PRIMARY KEY,
  organization TEXT NOT NULL,
  organization_coordsys_id INTEGER NOT NULL,
  definition TEXT NOT NULL,
  description TEXT)";

/// The column of well-known texts of the second kind, an extension of the standard.
constexpr const char* kSecondDefinition = R"(,
  definition_12_063 TEXT NOT NULL)";

constexpr const char* kContents = R"(
CREATE TABLE gpkg_contents (
  table_name TEXT NOT NULL PRIMARY KEY,
  data_type TEXT NOT NULL,
  identifier TEXT UNIQUE,
  description TEXT DEFAULT '',
  last_change DATETIME NOT NULL DEFAULT (strftime('%Y-%m-%dT%H:%M:%fZ','now')),
  min_x DOUBLE,
  min_y DOUBLE,
  max_x DOUBLE,
  max_y DOUBLE,
  srs_id INTEGER,
  CONSTRAINT fk_gc_r_srs_id FOREIGN KEY (srs_id) REFERENCES gpkg_spatial_ref_sys(srs_id)))";

constexpr const char* kGeometryColumns = R"(
CREATE TABLE gpkg_geometry_columns (
  table_name TEXT NOT NULL,
  column_name TEXT NOT NULL,
  geometry_type_name TEXT NOT NULL,
  srs_id INTEGER NOT NULL,
  z TINYINT NOT NULL,
  m TINYINT NOT NULL,
  CONSTRAINT pk_geom_cols PRIMARY KEY (table_name, column_name),
  CONSTRAINT uk_gc_table_name UNIQUE (table_name),
  CONSTRAINT fk_gc_tn FOREIGN KEY (table_name) REFERENCES gpkg_contents(table_name),
  CONSTRAINT fk_gc_srs FOREIGN KEY (srs_id) REFERENCES gpkg_spatial_ref_sys (srs_id)))";

constexpr const char* kExtensions = R"(
CREATE TABLE gpkg_extensions (
  table_name TEXT,
  column_name TEXT,
  extension_name TEXT NOT NULL,
  definition TEXT NOT NULL,
  scope TEXT NOT NULL,
  CONSTRAINT ge_tce UNIQUE (table_name, column_name, extension_name)))";

/// Not of the standard: where GDAL finds the number of rows without counting them.
constexpr const char* kRowCounts = R"(
CREATE TABLE gpkg_ogr_contents (
  table_name TEXT NOT NULL PRIMARY KEY,
  feature_count INTEGER DEFAULT NULL))";

constexpr const char* kIndexDefinition = "http://www.geopackage.org/spec120/#extension_rtree";
constexpr const char* kWktDefinition = "http://www.geopackage.org/spec120/#extension_crs_wkt";

constexpr const char* kWgs84Second =
    R"wkt(GEODCRS["WGS 84",DATUM["World Geodetic System 1984",ELLIPSOID["WGS 84",6378137,)wkt"
    R"wkt(298.257223563,LENGTHUNIT["metre",1]]],PRIMEM["Greenwich",0,ANGLEUNIT["degree",)wkt"
    R"wkt(0.0174532925199433]],CS[ellipsoidal,2],AXIS["geodetic latitude (Lat)",north,ORDER[1],)wkt"
    R"wkt(ANGLEUNIT["degree",0.0174532925199433]],AXIS["geodetic longitude (Lon)",east,ORDER[2],)wkt"
    R"wkt(ANGLEUNIT["degree",0.0174532925199433]],ID["EPSG",4326]])wkt";

void AddExtension(SqliteDatabase& database,
                  std::string_view table,
                  std::string_view column,
                  std::string_view extension,
                  std::string_view definition,
                  std::string_view scope)
{
    SqliteStatement insert(database, "INSERT INTO gpkg_extensions VALUES(?1, ?2, ?3, ?4, ?5)");
    int number = 0;
    for (const std::string_view text : {table, column, extension, definition, scope}) {
        insert.BindText(++number, text);
    }
    insert.Run();
}

/// Makes the table of systems anew with the second kind of texts: a column that is added to a table
/// would need a default value, and the standard wants none.
void AddSecondDefinitions(SqliteDatabase& database)
{
    database.Execute("CREATE TEMP TABLE systems AS SELECT * FROM gpkg_spatial_ref_sys;"
                     "DROP TABLE gpkg_spatial_ref_sys;" +
                     std::string(kSpatialReferences) + kSecondDefinition +
                     ");"
                     "INSERT INTO gpkg_spatial_ref_sys SELECT *, CASE srs_id WHEN 4326 THEN " +
                     QuoteText(kWgs84Second) +
                     " ELSE 'undefined' END FROM systems;"
                     "DROP TABLE systems");
    AddExtension(database,
                 "gpkg_spatial_ref_sys",
                 "definition_12_063",
                 "gpkg_crs_wkt",
                 kWktDefinition,
                 "read-write");
}

/// Puts names into a text: each character that stands for one becomes the name.
class Template
{
public:
    void Set(char mark, std::string text) { m_texts.emplace_back(mark, std::move(text)); }

    [[nodiscard]] std::string Fill(std::string_view pattern) const
    {
        std::string filled;
        for (std::size_t index = 0; index < pattern.size(); ++index) {
            if (pattern[index] != '@') {
                filled += pattern[index];
                continue;
            }
            ++index;
            for (const auto& [mark, text] : m_texts) {
                if (mark == pattern[index]) {
                    filled += text;
                }
            }
        }
        return filled;
    }

private:
    std::vector<std::pair<char, std::string>> m_texts;
};

/// The triggers of the spatial index. @t the table, @g its geometry, @i its row number, @r the
/// index, @v a new entry of the index; trigger names follow.
constexpr struct
{
    const char* nameEnd;
    const char* sql;
} kIndexTriggers[] = {
    {"_insert",
     "AFTER INSERT ON @t WHEN (NEW.@g NOT NULL AND NOT ST_IsEmpty(NEW.@g)) "
     "BEGIN INSERT OR REPLACE INTO @r VALUES (@v); END"},
    {"_update1",
     "AFTER UPDATE OF @g ON @t WHEN OLD.@i = NEW.@i AND "
     "(NEW.@g NOTNULL AND NOT ST_IsEmpty(NEW.@g)) "
     "BEGIN INSERT OR REPLACE INTO @r VALUES (@v); END"},
    {"_update2",
     "AFTER UPDATE OF @g ON @t WHEN OLD.@i = NEW.@i AND "
     "(NEW.@g ISNULL OR ST_IsEmpty(NEW.@g)) "
     "BEGIN DELETE FROM @r WHERE id = OLD.@i; END"},
    {"_update3",
     "AFTER UPDATE ON @t WHEN OLD.@i != NEW.@i AND "
     "(NEW.@g NOTNULL AND NOT ST_IsEmpty(NEW.@g)) "
     "BEGIN DELETE FROM @r WHERE id = OLD.@i; INSERT OR REPLACE INTO @r VALUES (@v); END"},
    {"_update4",
     "AFTER UPDATE ON @t WHEN OLD.@i != NEW.@i AND (NEW.@g ISNULL OR ST_IsEmpty(NEW.@g)) "
     "BEGIN DELETE FROM @r WHERE id IN (OLD.@i, NEW.@i); END"},
    {"_delete",
     "AFTER DELETE ON @t WHEN OLD.@g NOT NULL BEGIN DELETE FROM @r WHERE id = OLD.@i; END"},
};

void CreateIndexTriggers(SqliteDatabase& database, const LayerDefinition& layer)
{
    Template names;
    names.Set('t', QuoteName(layer.name));
    names.Set('g', QuoteName(layer.geometryName));
    names.Set('i', QuoteName(layer.rowNumberName));
    names.Set('r', QuoteName(GetIndexName(layer)));
    names.Set('v',
              names.Fill("NEW.@i, ST_MinX(NEW.@g), ST_MaxX(NEW.@g), ST_MinY(NEW.@g), "
                         "ST_MaxY(NEW.@g)"));
    for (const auto& trigger : kIndexTriggers) {
        database.Execute("CREATE TRIGGER " + QuoteName(GetIndexName(layer) + trigger.nameEnd) +
                         " " + names.Fill(trigger.sql));
    }
}

void CreateCountTriggers(SqliteDatabase& database, const LayerDefinition& layer)
{
    const auto create = [&](const char* event, const char* name, const char* sign) {
        database.Execute("CREATE TRIGGER " + QuoteName(std::string(name) + layer.name) + " AFTER " +
                         event + " ON " + QuoteName(layer.name) +
                         " BEGIN UPDATE gpkg_ogr_contents SET feature_count = feature_count " +
                         sign + " 1 WHERE lower(table_name) = lower(" + QuoteText(layer.name) +
                         "); END");
    };
    create("INSERT", "trigger_insert_feature_count_", "+");
    create("DELETE", "trigger_delete_feature_count_", "-");
}

void RegisterGeometry(SqliteDatabase& database, const LayerDefinition& layer)
{
    SqliteStatement geometry(
        database, "INSERT INTO gpkg_geometry_columns VALUES(?1, ?2, 'POINT', ?3, ?4, 0)");
    geometry.BindText(1, layer.name);
    geometry.BindText(2, layer.geometryName);
    geometry.BindInteger(3, layer.spatialReference.id);
    geometry.BindInteger(4, layer.hasHeights ? 1 : 0);
    geometry.Run();

    AddExtension(database,
                 layer.name,
                 layer.geometryName,
                 "gpkg_rtree_index",
                 kIndexDefinition,
                 "write-only");
    CreateIndexTriggers(database, layer);
}

} // namespace

const char* TypeName(EVariantType type)
{
    switch (type) {
    case EVariantType::Int32:
        return "MEDIUMINT";
    case EVariantType::Int64:
        return "INTEGER";
    case EVariantType::Double:
        return "REAL";
    case EVariantType::Float:
        return "FLOAT";
    case EVariantType::Boolean:
        return "BOOLEAN";
    case EVariantType::Date:
        return "DATE";
    case EVariantType::DateTime:
        return "DATETIME";
    default:
        return "TEXT";
    }
}

SpatialReference UndefinedSpatialReference()
{
    return {"Undefined geographic SRS",
            0,
            "NONE",
            0,
            "undefined",
            "undefined geographic coordinate reference system",
            {}};
}

SpatialReference UndefinedCartesianReference()
{
    return {"Undefined Cartesian SRS",
            -1,
            "NONE",
            -1,
            "undefined",
            "undefined Cartesian coordinate reference system",
            {}};
}

void PrepareNewFile(SqliteDatabase& database)
{
    database.Execute(kNewPages);
    SetCache(database, kUsualCache);
    database.Execute(kConnection);
    database.Execute(kHeader);
}

void SetCache(SqliteDatabase& database, std::uint64_t bytes)
{
    database.Execute("PRAGMA cache_size = -" + std::to_string(bytes / 1024));
}

void PrepareExistingFile(SqliteDatabase& database)
{
    SetCache(database, kUsualCache);
    database.Execute(kConnection);
    database.Execute("BEGIN");
    const std::pair<const char*, const char*> tables[] = {
        {"gpkg_geometry_columns", kGeometryColumns},
        {"gpkg_extensions", kExtensions},
        {"gpkg_ogr_contents", kRowCounts}};
    for (const auto& [name, sql] : tables) {
        SqliteStatement find(database, "SELECT count(*) FROM sqlite_master WHERE name = ?1");
        find.BindText(1, name);
        if (find.RunForInteger() == 0) {
            database.Execute(sql);
        }
    }
}

void CreateCoreTables(SqliteDatabase& database)
{
    database.Execute(std::string(kSpatialReferences) + ")");
    for (const char* sql : {kContents, kGeometryColumns, kExtensions, kRowCounts}) {
        database.Execute(sql);
    }
    AddSpatialReference(database, UndefinedCartesianReference());
    AddSpatialReference(database, UndefinedSpatialReference());
    AddSpatialReference(database,
                        {"WGS 84 geodetic",
                         4326,
                         "EPSG",
                         4326,
                         kWgs84Wkt,
                         "longitude/latitude coordinates in decimal degrees on the WGS 84 spheroid",
                         {}});
}

std::int32_t AddSpatialReference(SqliteDatabase& database, const SpatialReference& reference)
{
    // A system of no organisation is told by its definition.
    SqliteStatement find(database,
                         "SELECT srs_id FROM gpkg_spatial_ref_sys WHERE upper(organization) = "
                         "upper(?1) AND organization_coordsys_id = ?2 AND (?2 <= 0 OR "
                         "upper(?1) != 'NONE' OR definition = ?3) ORDER BY srs_id != ?4 LIMIT 1");
    find.BindText(1, reference.organization);
    find.BindInteger(2, reference.organizationId);
    find.BindText(3, reference.definition);
    find.BindInteger(4, reference.id);
    std::optional<std::int32_t> found;
    while (find.Next()) {
        found = static_cast<std::int32_t>(find.GetInteger(0));
    }
    if (found) {
        return *found;
    }
    SqliteStatement free(database,
                         "SELECT CASE WHEN EXISTS (SELECT 1 FROM gpkg_spatial_ref_sys WHERE "
                         "srs_id = ?1) THEN max(99999, max(srs_id)) + 1 ELSE ?1 END FROM "
                         "gpkg_spatial_ref_sys");
    free.BindInteger(1, reference.id);
    const auto id = static_cast<std::int32_t>(free.RunForInteger());
    SqliteStatement findColumn(database,
                               "SELECT count(*) FROM pragma_table_info('gpkg_spatial_ref_sys') "
                               "WHERE name = 'definition_12_063'");
    bool hasSecond = findColumn.RunForInteger() != 0;
    if (!hasSecond && !reference.definition2015.empty()) {
        AddSecondDefinitions(database);
        hasSecond = true;
    }
    SqliteStatement insert(
        database,
        std::string("INSERT INTO gpkg_spatial_ref_sys(srs_name, srs_id, organization, "
                    "organization_coordsys_id, definition, description") +
            (hasSecond ? ", definition_12_063) VALUES(?1,?2,?3,?4,?5,?6,?7)"
                       : ") VALUES(?1,?2,?3,?4,?5,?6)"));
    insert.BindText(1, reference.name);
    insert.BindInteger(2, id);
    insert.BindText(3, reference.organization);
    insert.BindInteger(4, reference.organizationId);
    insert.BindText(5, reference.definition);
    if (reference.description) {
        insert.BindText(6, *reference.description);
    }
    if (hasSecond) {
        insert.BindText(
            7, reference.definition2015.empty() ? "undefined" : reference.definition2015.c_str());
    }
    insert.Run();
    return id;
}

void CreateLayerTable(SqliteDatabase& database, const LayerDefinition& layer)
{
    std::string sql = "CREATE TABLE " + QuoteName(layer.name) + " ( " +
                      QuoteName(layer.rowNumberName) +
                      " INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL";
    if (layer.hasGeometry) {
        sql += ", " + QuoteName(layer.geometryName) + " POINT";
    }
    for (const Field& field : layer.fields) {
        sql += ", " + QuoteName(field.name) + " " + TypeName(field.type);
    }
    database.Execute(sql + ")");
}

std::string MakeInsert(const LayerDefinition& layer)
{
    std::string columns = layer.hasGeometry ? QuoteName(layer.geometryName) : std::string();
    for (const Field& field : layer.fields) {
        columns += (columns.empty() ? "" : ",") + QuoteName(field.name);
    }
    return "INSERT INTO " + QuoteName(layer.name) + "(" + columns + ")";
}

std::string GetIndexName(const LayerDefinition& layer)
{
    return "rtree_" + layer.name + "_" + layer.geometryName;
}

void RegisterLayer(SqliteDatabase& database,
                   const LayerDefinition& layer,
                   const LayerCounts& counts)
{
    SqliteStatement contents(
        database,
        "INSERT INTO gpkg_contents(table_name, data_type, identifier, min_x, min_y, max_x, max_y, "
        "srs_id) VALUES(?1, ?7, CASE WHEN EXISTS (SELECT 1 FROM gpkg_contents WHERE identifier = "
        "?1) THEN NULL ELSE ?1 END, ?2, ?3, ?4, ?5, ?6)");
    contents.BindText(1, layer.name);
    contents.BindText(7, layer.hasGeometry ? "features" : "attributes");
    if (counts.extent) {
        contents.BindReal(2, counts.extent->minX);
        contents.BindReal(3, counts.extent->minY);
        contents.BindReal(4, counts.extent->maxX);
        contents.BindReal(5, counts.extent->maxY);
    }
    contents.BindInteger(6, layer.spatialReference.id);
    contents.Run();
    if (layer.hasGeometry) {
        RegisterGeometry(database, layer);
    }

    SqliteStatement rowCount(database, "INSERT INTO gpkg_ogr_contents VALUES(?1, ?2)");
    rowCount.BindText(1, layer.name);
    rowCount.BindInteger(2, static_cast<std::int64_t>(counts.rows));
    rowCount.Run();
    CreateCountTriggers(database, layer);
}

} // namespace Orvane::GeoPackage
