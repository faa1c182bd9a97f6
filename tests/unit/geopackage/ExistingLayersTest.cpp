// Layers that are added to GeoPackages of this library and of GDAL, appended to and replaced.
#include "ExistingLayers.h"

#include "GeoPackageWriter.h"
#include "support/TestFiles.h"

#include <gdal_priv.h>
#include <gtest/gtest.h>
#include <ogr_spatialref.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using Orvane::BFeatureAppender;
using Orvane::BFeatureCollection;
using Orvane::EPointKind;
using Orvane::EVariantType;
using Orvane::GeoPackage::EExisting;
using Orvane::GeoPackage::Field;
using Orvane::GeoPackage::GeoPackageWriter;
using Orvane::GeoPackage::LayerCounts;
using Orvane::GeoPackage::LayerDefinition;
using Orvane::GeoPackage::LayerExists;
using Orvane::GeoPackage::LayerMismatch;
using TestSupport::TemporaryFolder;

struct DatasetCloser
{
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};

using Dataset = std::unique_ptr<GDALDataset, DatasetCloser>;

Dataset Open(const std::filesystem::path& file, unsigned flags = GDAL_OF_READONLY)
{
    RegisterOGRGeoPackage();
    Dataset dataset(GDALDataset::Open(file.c_str(), GDAL_OF_VECTOR | flags));
    EXPECT_NE(dataset, nullptr);
    return dataset;
}

/// The first column of a query's first row.
std::string Ask(const std::filesystem::path& file, const std::string& sql)
{
    sqlite3* handle = nullptr;
    EXPECT_EQ(sqlite3_open_v2(file.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(handle, sql.c_str(), -1, &statement, nullptr), SQLITE_OK)
        << sqlite3_errmsg(handle);
    std::string answer = "no row";
    if (sqlite3_step(statement) == SQLITE_ROW) {
        const unsigned char* const text = sqlite3_column_text(statement, 0);
        answer = text == nullptr ? "null" : reinterpret_cast<const char*>(text);
    }
    sqlite3_finalize(statement);
    sqlite3_close(handle);
    return answer;
}

void RunSql(const std::filesystem::path& file, const std::string& sql)
{
    sqlite3* handle = nullptr;
    EXPECT_EQ(sqlite3_open(file.c_str(), &handle), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(handle);
    sqlite3_close(handle);
}

LayerDefinition Define(std::vector<Field> fields, const char* name = "points")
{
    LayerDefinition layer;
    layer.name = name;
    layer.fields = std::move(fields);
    layer.spatialReference = Orvane::GeoPackage::UndefinedSpatialReference();
    return layer;
}

const std::vector<Field> kNumberField = {{"number", EVariantType::Int32}};

/// A file that is there is added to, as if it were a copy.
GeoPackageWriter::Options MakeOptions(const std::filesystem::path& file)
{
    GeoPackageWriter::Options options;
    options.isCopy = std::filesystem::exists(file);
    return options;
}

/// Rows of one number each, counted from `first`, at random places.
void AddRows(BFeatureCollection& features, int first, int count)
{
    BFeatureAppender appender(features, {{"number", EVariantType::Int32}});
    std::mt19937_64 dice(static_cast<std::uint64_t>(first) + 5);
    std::uniform_real_distribution<double> any(-90, 90);
    for (int row = 0; row < count; ++row) {
        appender.AddInt32(first + row);
        const double x = any(dice);
        appender.EndRow(row % 10 == 9 ? EPointKind::None : EPointKind::XY,
                        x,
                        any(dice),
                        0,
                        static_cast<std::uint32_t>(row) + 1);
    }
}

LayerCounts Write(const std::filesystem::path& file,
                  const LayerDefinition& layer,
                  int first,
                  int count,
                  EExisting existing = EExisting::Refuse)
{
    BFeatureCollection features;
    AddRows(features, first, count);
    GeoPackageWriter writer(file, MakeOptions(file));
    writer.BeginLayer(layer, existing);
    for (std::size_t index = 0; index < features.GetPageCount(); ++index) {
        writer.WritePage(*features.LoadPage(index), &features, features.GetFirstRow(index));
    }
    LayerCounts counts = writer.EndLayer();
    writer.Finish();
    return counts;
}

/// The file is whole, and the index finds what looking at each point finds.
void ExpectSound(const std::filesystem::path& file, const char* name = "points")
{
    EXPECT_EQ(Ask(file, "PRAGMA integrity_check"), "ok");
    EXPECT_EQ(Ask(file, "PRAGMA foreign_key_check"), "no row");
    const Dataset dataset = Open(file);
    OGRLayer* const layer = dataset->GetLayerByName(name);
    ASSERT_NE(layer, nullptr);
    EXPECT_EQ(Ask(file,
                  "SELECT rtreecheck('rtree_" + std::string(name) + "_" +
                      layer->GetGeometryColumn() + "')"),
              "ok");
    EXPECT_EQ(Ask(file,
                  "SELECT (SELECT feature_count FROM gpkg_ogr_contents WHERE table_name = '" +
                      std::string(name) + "') = (SELECT count(*) FROM " + name + ")"),
              "1");

    struct Place
    {
        GIntBig number;
        double x;
        double y;
    };

    std::vector<Place> places;
    OGREnvelope extent;
    for (const auto& feature : *layer) {
        if (const OGRGeometry* const geometry = feature->GetGeometryRef()) {
            const OGRPoint& point = *geometry->toPoint();
            places.push_back({feature->GetFID(), point.getX(), point.getY()});
            extent.Merge(point.getX(), point.getY());
        }
    }
    OGREnvelope said;
    EXPECT_EQ(layer->GetExtent(&said, FALSE), OGRERR_NONE);
    // GDAL tells the box of the index, whose numbers are floats; a point that went may be in it.
    EXPECT_LE(said.MinX, extent.MinX + 1e-4);
    EXPECT_GE(said.MaxY, extent.MaxY - 1e-4);
    std::mt19937_64 dice(3);
    std::uniform_real_distribution<double> any(-90, 90);
    for (int query = 0; query < 20; ++query) {
        const double x = any(dice);
        const double y = any(dice);
        const double size = query % 2 == 0 ? 5 : 40;
        std::multiset<GIntBig> expected;
        for (const Place& place : places) {
            if (place.x >= x && place.x <= x + size && place.y >= y && place.y <= y + size) {
                expected.insert(place.number);
            }
        }
        layer->SetSpatialFilterRect(x, y, x + size, y + size);
        std::multiset<GIntBig> found;
        for (const auto& feature : *layer) {
            found.insert(feature->GetFID());
        }
        EXPECT_EQ(found, expected);
    }
}

/// A layer "points" with the field "number", as GDAL makes it.
void WriteByGdal(const std::filesystem::path& file,
                 int count,
                 OGRwkbGeometryType type = wkbPoint,
                 const char* column = "geom")
{
    RegisterOGRGeoPackage();
    GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName("GPKG");
    const Dataset dataset(driver->Create(file.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    const std::string option = std::string("GEOMETRY_NAME=") + column;
    const char* options[] = {option.c_str(), nullptr};
    OGRLayer* const layer =
        dataset->CreateLayer("points", nullptr, type, const_cast<char**>(options));
    OGRFieldDefn field("number", OFTInteger);
    ASSERT_EQ(layer->CreateField(&field), OGRERR_NONE);
    std::mt19937_64 dice(77);
    std::uniform_real_distribution<double> any(-90, 90);
    ASSERT_EQ(layer->StartTransaction(), OGRERR_NONE);
    for (int row = 0; row < count; ++row) {
        OGRFeature feature(layer->GetLayerDefn());
        feature.SetField(0, row);
        const double x = any(dice);
        OGRPoint point(x, any(dice));
        ASSERT_EQ(feature.SetGeometry(&point), OGRERR_NONE);
        ASSERT_EQ(layer->CreateFeature(&feature), OGRERR_NONE);
    }
    ASSERT_EQ(layer->CommitTransaction(), OGRERR_NONE);
}

/// The layer can be worked on with GDAL as before: a point is added, one moved, one deleted.
void EditByGdal(const std::filesystem::path& file)
{
    const Dataset dataset = Open(file, GDAL_OF_UPDATE);
    OGRLayer* const layer = dataset->GetLayerByName("points");
    OGRFeature added(layer->GetLayerDefn());
    OGRPoint point(1.25, 2.25);
    ASSERT_EQ(added.SetGeometry(&point), OGRERR_NONE);
    ASSERT_EQ(layer->CreateFeature(&added), OGRERR_NONE);
    const std::unique_ptr<OGRFeature> moved(layer->GetFeature(added.GetFID() - 2));
    ASSERT_EQ(moved->SetGeometry(&point), OGRERR_NONE);
    ASSERT_EQ(layer->SetFeature(moved.get()), OGRERR_NONE);
    ASSERT_EQ(layer->DeleteFeature(2), OGRERR_NONE);
}

TEST(GeoPackageWriter, AddsALayerToAFileAndLeavesTheOthers)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "several.gpkg";
    Write(file, Define(kNumberField, "first"), 0, 50);
    const std::string before = Ask(file, "SELECT group_concat(quote(geom) || number) FROM first");
    Write(file, Define(kNumberField, "points"), 100, 70);
    EXPECT_EQ(Ask(file, "SELECT group_concat(quote(geom) || number) FROM first"), before);
    EXPECT_EQ(Ask(file, "SELECT count(*) FROM points"), "70");
    ExpectSound(file);
    ExpectSound(file, "first");
}

TEST(GeoPackageWriter, RefusesALayerOrTableThatIsThere)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "there.gpkg";
    Write(file, Define(kNumberField), 0, 5);
    EXPECT_THROW(Write(file, Define(kNumberField, "POINTS"), 0, 5), LayerExists);
    // Whatever failed has gone; the caller had given a copy.
    EXPECT_FALSE(std::filesystem::exists(file));
    Write(file, Define(kNumberField), 0, 5);
    RunSql(file, "CREATE TABLE own(a)");
    EXPECT_THROW(Write(file, Define(kNumberField, "own"), 0, 5, EExisting::Replace), LayerExists);
}

TEST(GeoPackageWriter, ReplacesALayerAndAllThatIsSaidOfIt)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "replaced.gpkg";
    Write(file, Define(kNumberField, "other"), 0, 20);
    LayerDefinition old = Define({{"number", EVariantType::Int32}, {"gone", EVariantType::String}});
    old.geometryName = "place";
    Write(file, old, 0, 3000, EExisting::Append);
    RunSql(file,
           "CREATE TABLE log(a); CREATE TRIGGER own AFTER DELETE ON points BEGIN INSERT INTO log "
           "VALUES(1); END");
    Write(file, Define(kNumberField, "Points"), 7, 40, EExisting::Replace);
    EXPECT_EQ(Ask(file, "SELECT group_concat(name) FROM pragma_table_info('Points')"),
              "fid,geom,number");
    EXPECT_EQ(Ask(file, "SELECT count(*) || min(number) FROM Points"), "407");
    EXPECT_EQ(Ask(file, "SELECT count(*) FROM log"), "0");
    EXPECT_EQ(Ask(file, "SELECT count(*) FROM sqlite_master WHERE name LIKE 'rtree_points_place%'"),
              "0");
    for (const char* table :
         {"gpkg_contents", "gpkg_geometry_columns", "gpkg_extensions", "gpkg_ogr_contents"}) {
        EXPECT_EQ(Ask(file,
                      std::string("SELECT count(*) FROM ") + table +
                          " WHERE lower(table_name) = 'points'"),
                  "1")
            << table;
    }
    ExpectSound(file, "Points");
    ExpectSound(file, "other");
}

struct Appended
{
    const char* name;
    int before;
    int after;
};

void PrintTo(const Appended& appended, std::ostream* stream)
{
    *stream << appended.name;
}

constexpr Appended kAppended[] = {{"NothingToNothing", 0, 0},
                                  {"AFewToNothing", 0, 30},
                                  {"NothingToAFew", 30, 0},
                                  {"AFewToMany", 5000, 100},
                                  {"AFewToVeryMany", 60000, 100},
                                  {"ManyToAFew", 100, 5000},
                                  {"ManyToMany", 4000, 4000}};

class AppendsRows : public testing::TestWithParam<Appended>
{};

INSTANTIATE_TEST_SUITE_P(, AppendsRows, testing::ValuesIn(kAppended), [](const auto& instance) {
    return instance.param.name;
});

TEST_P(AppendsRows, ToALayerOfThisLibrary)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "own.gpkg";
    const Appended& sizes = GetParam();
    const LayerCounts old = Write(file, Define(kNumberField), 0, sizes.before);
    const LayerCounts counts =
        Write(file, Define(kNumberField), sizes.before, sizes.after, EExisting::Append);
    EXPECT_EQ(counts.rows, static_cast<std::uint64_t>(sizes.after));
    if (old.extent && counts.extent) {
        const std::string box = "SELECT printf('%!.17g', min_x) FROM gpkg_contents";
        EXPECT_EQ(std::stod(Ask(file, box)), std::min(old.extent->minX, counts.extent->minX));
    }
    EXPECT_EQ(Ask(file, "SELECT count(*) FROM points WHERE number = fid - 1"),
              std::to_string(sizes.before + sizes.after));
    if (sizes.before + sizes.after > 0) {
        ExpectSound(file);
    }
    if (sizes.before + sizes.after > 2) {
        EditByGdal(file);
        ExpectSound(file);
    }
}

TEST_P(AppendsRows, ToALayerOfGdal)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "gdal.gpkg";
    const Appended& sizes = GetParam();
    WriteByGdal(file, sizes.before, wkbPoint, "the_place");
    Write(file, Define(kNumberField), sizes.before, sizes.after, EExisting::Append);
    EXPECT_EQ(Ask(file, "SELECT count(*) FROM points WHERE number = fid - 1"),
              std::to_string(sizes.before + sizes.after));
    if (sizes.before + sizes.after > 2) {
        ExpectSound(file);
        EditByGdal(file);
        ExpectSound(file);
    }
}

TEST(GeoPackageWriter, AppendsToALayerOfAnyGeometries)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "any.gpkg";
    WriteByGdal(file, 20, wkbUnknown);
    Write(file, Define(kNumberField), 20, 3000, EExisting::Append);
    ExpectSound(file);
}

TEST(GeoPackageWriter, NumbersAppendedRowsOnFromTheLargestNumberThereWas)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "numbers.gpkg";
    WriteByGdal(file, 10);
    {
        const Dataset dataset = Open(file, GDAL_OF_UPDATE);
        ASSERT_EQ(dataset->GetLayer(0)->DeleteFeature(10), OGRERR_NONE);
    }
    Write(file, Define(kNumberField), 50, 2, EExisting::Append);
    EXPECT_EQ(Ask(file, "SELECT group_concat(fid) FROM points WHERE number >= 50"), "11,12");
    RunSql(file, "UPDATE sqlite_sequence SET seq = 4000000000000");
    Write(file, Define(kNumberField), 60, 3000, EExisting::Append);
    EXPECT_EQ(Ask(file, "SELECT max(fid) FROM points"), "4000000003000");
    ExpectSound(file);
}

TEST(GeoPackageWriter, AppendsToFilesWithoutTheTablesOfGdal)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "bare.gpkg";
    LayerDefinition table = Define(kNumberField, "numbers");
    table.hasGeometry = false;
    Write(file, table, 0, 4);
    RunSql(file,
           "DROP TRIGGER trigger_insert_feature_count_numbers; DROP TRIGGER "
           "trigger_delete_feature_count_numbers; DROP TABLE gpkg_ogr_contents; DROP TABLE "
           "gpkg_extensions; DROP TABLE gpkg_geometry_columns");
    Write(file, table, 4, 4, EExisting::Append);
    EXPECT_EQ(Ask(file, "SELECT group_concat(number) FROM numbers"), "0,1,2,3,4,5,6,7");
    Write(file, Define(kNumberField), 0, 30);
    ExpectSound(file);
}

TEST(GeoPackageWriter, UsesTheSystemThatTheFileHasForALayer)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "systems.gpkg";
    Write(file, Define(kNumberField, "first"), 0, 5);
    // The number 2056 stands for another system in this file.
    RunSql(
        file,
        "INSERT INTO gpkg_spatial_ref_sys VALUES('own', 2056, 'MINE', 7, 'undefined', NULL); "
        "INSERT INTO gpkg_spatial_ref_sys VALUES('Swiss', 777, 'epsg', 21781, 'undefined', NULL)");
    const auto add = [&](int code, const char* name) {
        LayerDefinition layer = Define(kNumberField, name);
        layer.spatialReference = {name, code, "EPSG", code, "undefined", {}, {}};
        Write(file, layer, 0, 5);
        return Ask(file,
                   std::string("SELECT srs_id FROM gpkg_contents WHERE table_name = '") + name +
                       "'");
    };
    EXPECT_EQ(add(21781, "a"), "777");
    EXPECT_EQ(add(2056, "b"), "100000");
    EXPECT_EQ(add(2056, "c"), "100000");
    EXPECT_EQ(Ask(file, "SELECT srs_name FROM gpkg_spatial_ref_sys WHERE srs_id = 2056"), "own");
    EXPECT_EQ(Ask(file, "SELECT hex(substr(geom, 5, 4)) FROM c LIMIT 1"), "A0860100");
}

struct Mismatch
{
    const char* name;
    std::function<void(LayerDefinition&)> change; ///< of rows with the field "number"
    const char* sql;                              ///< on the file
    const char* reason;
};

void PrintTo(const Mismatch& mismatch, std::ostream* stream)
{
    *stream << mismatch.name;
}

const Mismatch kMismatches[] = {
    {"AMissingColumn",
     [](LayerDefinition& rows) {
         rows.fields.push_back({"more", EVariantType::Int32});
     },
     "",
     "It has no column 'more' for values."},
    {"ANarrowerColumn",
     [](LayerDefinition& rows) { rows.fields[0].type = EVariantType::Int64; },
     "",
     "Its column 'number' is of type MEDIUMINT, the file's is INTEGER."},
    {"AColumnOfAnotherType",
     [](LayerDefinition& rows) { rows.fields[0].type = EVariantType::String; },
     "",
     "Its column 'number' is of type MEDIUMINT, the file's is TEXT."},
    {"AColumnThatIsTheRowNumber",
     [](LayerDefinition& rows) { rows.fields[0].name = "FID"; },
     "",
     "It has no column 'FID' for values."},
    {"AColumnThatNeedsValues",
     [](LayerDefinition&) {},
     "ALTER TABLE points RENAME TO old; CREATE TABLE points(fid INTEGER PRIMARY KEY, geom POINT, "
     "number MEDIUMINT, must TEXT NOT NULL)",
     "Its column 'must' needs values, and the file has none for it."},
    {"Heights",
     [](LayerDefinition& rows) { rows.hasHeights = true; },
     "",
     "Its geometries in column 'geom' have no heights, those of the rows have some."},
    {"ACoordinateSystem",
     [](LayerDefinition& rows) {
         rows.spatialReference = {"x", 2056, "EPSG", 2056, "undefined", {}, {}};
     },
     "",
     "Its geometries in column 'geom' are in no known system, those of the rows in EPSG:2056."},
    {"Lines",
     [](LayerDefinition&) {},
     "UPDATE gpkg_geometry_columns SET geometry_type_name = 'LINESTRING'",
     "Its geometries in column 'geom' are of type LINESTRING, those of the rows are points."},
};

class RefusesToAppend : public testing::TestWithParam<Mismatch>
{};

INSTANTIATE_TEST_SUITE_P(,
                         RefusesToAppend,
                         testing::ValuesIn(kMismatches),
                         [](const auto& instance) { return instance.param.name; });

TEST_P(RefusesToAppend, NamingTheColumn)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "mismatch.gpkg";
    Write(file, Define(kNumberField), 0, 3);
    RunSql(file, GetParam().sql);
    LayerDefinition rows = Define(kNumberField);
    GetParam().change(rows);
    try {
        Write(file, rows, 3, 3, EExisting::Append);
        ADD_FAILURE() << "appended";
    } catch (const LayerMismatch& mismatch) {
        EXPECT_STREQ(mismatch.what(), GetParam().reason);
    }
}

TEST(GeoPackageWriter, AppendsToWiderColumnsAndLeavesOthersEmpty)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "wider.gpkg";
    Write(file, Define({{"more", EVariantType::String}, {"Number", EVariantType::Double}}), 0, 0);
    Write(file, Define(kNumberField), 40, 3, EExisting::Append);
    EXPECT_EQ(Ask(file, "SELECT group_concat(typeof(Number) || Number || quote(more)) FROM points"),
              "real40.0NULL,real41.0NULL,real42.0NULL");
}

TEST(GeoPackageWriter, RefusesTextsLongerThanTheirColumnAllows)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "texts.gpkg";
    LayerDefinition table = Define({{"t", EVariantType::String}}, "texts");
    table.hasGeometry = false;
    const auto append = [&](const char* text) {
        BFeatureCollection features;
        {
            BFeatureAppender appender(features, {{"t", EVariantType::String}});
            appender.AddText(text, Orvane::ETextEncoding::Utf8);
            appender.EndRow(EPointKind::None, 0, 0, 0, 1);
        }
        GeoPackageWriter writer(file, MakeOptions(file));
        writer.BeginLayer(table, EExisting::Append);
        writer.WritePage(*features.LoadPage(0), nullptr, 0);
        writer.EndLayer();
        writer.Finish();
    };
    append("any");
    RunSql(file,
           "ALTER TABLE texts RENAME TO old; CREATE TABLE texts(fid INTEGER PRIMARY KEY "
           "AUTOINCREMENT NOT NULL, t TEXT(3))");
    append("\u00E9\u00E9\u00E9");
    try {
        append("four");
        ADD_FAILURE() << "appended";
    } catch (const LayerMismatch& mismatch) {
        EXPECT_STREQ(mismatch.what(),
                     "Its column 't' is of type TEXT(3), and the file has a text of 4 characters "
                     "for it.");
    }
}

TEST(GeoPackageWriter, StopsWhileALayerIsRemovedOrItsIndexExtended)
{
    const TemporaryFolder folder;
    for (const EExisting existing : {EExisting::Replace, EExisting::Append}) {
        const std::filesystem::path file = folder.Path() / "stopped.gpkg";
        Write(file, Define(kNumberField), 0, 60000);
        int calls = 0;
        GeoPackageWriter::Options options = MakeOptions(file);
        options.progress = [&](GeoPackageWriter::EPhase phase, std::uint64_t, std::uint64_t) {
            const bool isIt =
                existing == EExisting::Replace || phase == GeoPackageWriter::EPhase::Index;
            calls += isIt ? 1 : 0;
            if (calls == 3) {
                throw std::runtime_error("enough");
            }
        };
        BFeatureCollection features;
        AddRows(features, 60000, 20000);
        const auto write = [&] {
            GeoPackageWriter writer(file, options);
            writer.BeginLayer(Define(kNumberField), existing);
            if (existing == EExisting::Append) {
                writer.WritePage(*features.LoadPage(0), nullptr, 0);
                writer.EndLayer();
            }
        };
        EXPECT_THROW(write(), std::runtime_error);
        EXPECT_EQ(calls, 3);
        EXPECT_FALSE(std::filesystem::exists(file));
    }
}

} // namespace
