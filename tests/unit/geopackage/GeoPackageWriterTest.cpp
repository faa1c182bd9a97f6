// GeoPackages as GDAL reads, queries and edits them, and what is left when writing fails.
#include "GeoPackageWriter.h"

#include "CoordinateSystem.h"
#include "SpatialReferences.h"
#include "SqliteDatabase.h"
#include "WriteFailure.h"
#include "support/TestFiles.h"

#include <Orvane/BPointGeo.h>

#include <gdal_priv.h>
#include <gtest/gtest.h>
#include <ogr_spatialref.h>
#include <ogrsf_frmts.h>

#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace {

using Orvane::BColumnInfo;
using Orvane::BFeatureAppender;
using Orvane::BFeatureCollection;
using Orvane::BPointGeo;
using Orvane::BSharedPtr;
using Orvane::BString;
using Orvane::BVariant;
using Orvane::EPointKind;
using Orvane::ETextEncoding;
using Orvane::EVariantType;
using Orvane::GeoPackage::GeoPackageWriter;
using Orvane::GeoPackage::LayerCounts;
using Orvane::GeoPackage::LayerDefinition;
using TestSupport::TemporaryFolder;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

LayerDefinition Define(std::vector<Orvane::GeoPackage::Field> fields, const char* name = "points")
{
    LayerDefinition layer;
    layer.name = name;
    layer.fields = std::move(fields);
    layer.spatialReference = Orvane::GeoPackage::UndefinedSpatialReference();
    return layer;
}

LayerCounts Write(const std::filesystem::path& file,
                  const LayerDefinition& layer,
                  const BFeatureCollection& features,
                  const GeoPackageWriter::Options& options = {})
{
    GeoPackageWriter writer(file, options);
    writer.BeginLayer(layer);
    for (std::size_t index = 0; index < features.GetPageCount(); ++index) {
        writer.WritePage(*features.LoadPage(index), &features, features.GetFirstRow(index));
    }
    LayerCounts counts = writer.EndLayer();
    writer.Finish();
    return counts;
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

void ExpectSound(const std::filesystem::path& file, const std::string& index = "rtree_points_geom")
{
    EXPECT_EQ(Ask(file, "PRAGMA integrity_check"), "ok");
    EXPECT_EQ(Ask(file, "PRAGMA foreign_key_check"), "no row");
    EXPECT_EQ(Ask(file, "SELECT rtreecheck('" + index + "')"), "ok");
}

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

/// A feature in one line: "number (x y z) name=value ...", "(-)" without geometry, "null" for null.
std::string Describe(OGRFeature& feature)
{
    std::ostringstream line;
    line.precision(17);
    line << feature.GetFID() << " (";
    if (const OGRGeometry* const geometry = feature.GetGeometryRef()) {
        const OGRPoint& point = *geometry->toPoint();
        line << point.getX() << ' ' << point.getY();
        if (point.Is3D() != 0) {
            line << ' ' << point.getZ();
        }
    } else {
        line << '-';
    }
    line << ')';
    for (int index = 0; index < feature.GetFieldCount(); ++index) {
        line << ' ' << feature.GetFieldDefnRef(index)->GetNameRef() << '=';
        if (!feature.IsFieldSetAndNotNull(index)) {
            line << "null";
        } else if (feature.GetFieldDefnRef(index)->GetType() == OFTReal) {
            line << feature.GetFieldAsDouble(index);
        } else {
            line << feature.GetFieldAsString(index);
        }
    }
    return line.str();
}

std::vector<std::string> Describe(const std::filesystem::path& file)
{
    const Dataset dataset = Open(file);
    EXPECT_EQ(dataset->GetLayerCount(), 1);
    std::vector<std::string> lines;
    for (const auto& feature : *dataset->GetLayer(0)) {
        lines.push_back(Describe(*feature));
    }
    return lines;
}

/// Rows of one number each at random places. @param without every so many rows is one without one
void AddRandomRows(BFeatureCollection& features,
                   std::uint32_t count,
                   double range = 100,
                   std::uint32_t without = 10)
{
    BFeatureAppender appender(features, {{"number", EVariantType::Int32}});
    std::mt19937_64 dice(11);
    std::uniform_real_distribution<double> any(-range, range);
    for (std::uint32_t row = 0; row < count; ++row) {
        appender.AddInt32(static_cast<std::int32_t>(row));
        const double x = any(dice);
        appender.EndRow(row % without == without - 1 ? EPointKind::None : EPointKind::XY,
                        x,
                        any(dice),
                        0,
                        row + 1);
    }
}

const std::vector<Orvane::GeoPackage::Field> kNumberField = {{"number", EVariantType::Int32}};

TEST(GeoPackageWriter, WritesEveryStorageAsItsOwnType)
{
    const TemporaryFolder folder;
    BFeatureCollection features;
    {
        BFeatureAppender appender(features,
                                  {{"a", EVariantType::Int32},
                                   {"b", EVariantType::Int64},
                                   {"c", EVariantType::Double},
                                   {"d", EVariantType::Float},
                                   {"e", EVariantType::Boolean},
                                   {"f", EVariantType::String},
                                   {"g", EVariantType::String}});
        const auto add = [&](std::int32_t a,
                             std::int64_t b,
                             double c,
                             float d,
                             bool e,
                             std::string_view f,
                             const char* g) {
            appender.AddInt32(a);
            appender.AddInt64(b);
            appender.AddDouble(c);
            appender.AddFloat(d);
            appender.AddBoolean(e);
            appender.AddText(f, ETextEncoding::Latin1);
            appender.AddText(g, ETextEncoding::Utf8);
        };
        add(-1, std::int64_t{1} << 40U, 0.1, 0.25F, true, "caf\xE9", "\u0141\u00F3d\u017A");
        appender.EndRow(EPointKind::XY, 1.5, -2.5, 0, 1);
        add(std::numeric_limits<std::int32_t>::min(),
            std::numeric_limits<std::int64_t>::min(),
            kInfinity,
            -std::numeric_limits<float>::infinity(),
            false,
            "",
            "");
        appender.EndRow(EPointKind::None, 0, 0, 0, 2);
        add(0, 0, kNaN, std::numeric_limits<float>::quiet_NaN(), false, {"a\0b\0", 4}, "x");
        appender.EndRow(EPointKind::XY, kNaN, 1, 0, 3);
        appender.AddInt32(9);
        appender.EndRow(EPointKind::XY, -179.9, 1e-300, 0, 4);
    }
    const LayerCounts counts = Write(folder.Path() / "types.gpkg",
                                     Define({{"a", EVariantType::Int32},
                                             {"b", EVariantType::Int64},
                                             {"c", EVariantType::Double},
                                             {"d", EVariantType::Float},
                                             {"e", EVariantType::Boolean},
                                             {"f", EVariantType::String},
                                             {"g", EVariantType{77}}}),
                                     features);
    EXPECT_EQ(counts.rows, 4U);
    EXPECT_EQ(counts.points, 2U);
    EXPECT_EQ(counts.withoutPlace, 1U);
    EXPECT_EQ(counts.notNumbers, 2U);
    EXPECT_EQ(counts.nulCharacters, 2U);
    const std::filesystem::path file = folder.Path() / "types.gpkg";
    EXPECT_EQ(Describe(file),
              (std::vector<std::string>{
                  "1 (1.5 -2.5) a=-1 b=1099511627776 c=0.10000000000000001 d=0.25 e=1 "
                  "f=caf\u00E9 g=\u0141\u00F3d\u017A",
                  "2 (-) a=-2147483648 b=-9223372036854775808 c=inf d=-inf e=0 f= g=",
                  "3 (-) a=0 b=0 c=null d=null e=0 f=a\uFFFDb\uFFFD g=x",
                  "4 (-179.90000000000001 1e-300) a=9 b=null c=null d=null e=null "
                  "f=null g=null"}));
    ExpectSound(file);
    const Dataset dataset = Open(file);
    OGRFeatureDefn& defn = *dataset->GetLayer(0)->GetLayerDefn();
    const std::vector<std::pair<OGRFieldType, OGRFieldSubType>> expected = {
        {OFTInteger, OFSTNone},
        {OFTInteger64, OFSTNone},
        {OFTReal, OFSTNone},
        {OFTReal, OFSTFloat32},
        {OFTInteger, OFSTBoolean},
        {OFTString, OFSTNone},
        {OFTString, OFSTNone}};
    ASSERT_EQ(defn.GetFieldCount(), 7);
    for (int index = 0; index < 7; ++index) {
        const auto& [type, subType] = expected[static_cast<std::size_t>(index)];
        EXPECT_EQ(defn.GetFieldDefn(index)->GetType(), type) << index;
        EXPECT_EQ(defn.GetFieldDefn(index)->GetSubType(), subType) << index;
    }
    EXPECT_EQ(defn.GetGeomType(), wkbPoint);
    OGREnvelope extent;
    EXPECT_EQ(dataset->GetLayer(0)->GetExtent(&extent, FALSE), OGRERR_NONE);
    EXPECT_EQ(extent.MinX, -179.9);
    EXPECT_EQ(extent.MaxX, 1.5);
    EXPECT_EQ(extent.MinY, -2.5);
    EXPECT_EQ(extent.MaxY, 1e-300);
}

TEST(GeoPackageWriter, GivesEveryPointOfALayerWithHeightsAHeight)
{
    const TemporaryFolder folder;
    BFeatureCollection features;
    {
        BFeatureAppender appender(features, std::vector<BColumnInfo>());
        appender.EndRow(EPointKind::XYZ, 1, 2, 3.5, 1);
        appender.EndRow(EPointKind::XY, 4, 5, 0, 2);
        appender.EndRow(EPointKind::None, 0, 0, 0, 3);
    }
    LayerDefinition layer = Define({});
    layer.hasHeights = true;
    const std::filesystem::path file = folder.Path() / "heights.gpkg";
    EXPECT_EQ(Write(file, layer, features).points, 2U);
    EXPECT_EQ(Describe(file), (std::vector<std::string>{"1 (1 2 3.5)", "2 (4 5 nan)", "3 (-)"}));
    EXPECT_EQ(wkbFlatten(Open(file)->GetLayer(0)->GetGeomType()), wkbPoint);
    EXPECT_TRUE(OGR_GT_HasZ(Open(file)->GetLayer(0)->GetGeomType()));
    EXPECT_EQ(Ask(file, "SELECT z FROM gpkg_geometry_columns"), "1");
    ExpectSound(file);
}

struct ConversionCase
{
    const char* name;
    EVariantType field;
    const char* text;
    const char* expected;
    std::uint64_t notOfType;
};

void PrintTo(const ConversionCase& row, std::ostream* out)
{
    *out << row.name;
}

constexpr ConversionCase kConversions[] = {
    {"AWholeNumberWithCommas", EVariantType::Int64, "12,345,678,901", "12345678901", 0},
    {"AWholeNumberWithAnExponent", EVariantType::Int64, "1e10", "10000000000", 0},
    {"AWholeNumberWithAPlus", EVariantType::Int64, "+7", "7", 0},
    {"AFractionIsNoWholeNumber", EVariantType::Int64, "1.5", "null", 1},
    {"AWordIsNoWholeNumber", EVariantType::Int64, "seven", "null", 1},
    {"MoreThanSixtyFourBits", EVariantType::Int64, "9223372036854775808", "null", 1},
    {"TheEmptyTextIsNullAndNotCounted", EVariantType::Int64, "", "null", 0},
    {"ATextInANumberFieldIsItsBeginning", EVariantType::Int32, "12abc", "12", 0},
    {"ATextInAFieldOfDoubles", EVariantType::Double, "2.5 m", "2.5", 0},
    {"ATextInABooleanField", EVariantType::Boolean, "3", "1", 0},
    {"ADay", EVariantType::Date, "2018-02-28", "2018/02/28", 0},
    {"ADayThatNoCalendarHas", EVariantType::Date, "2018-02-29", "null", 1},
    {"ALeapDay", EVariantType::Date, "2000-02-29", "2000/02/29", 0},
    {"ADayWithMoreAfterIt", EVariantType::Date, "2018-01-28 ", "null", 1},
    {"NoDay", EVariantType::Date, "", "null", 0},
    {"ATimeStaysAText", EVariantType::Time, "13:03:22.836", "13:03:22.836", 0},
    {"AnHourThatNoClockHas", EVariantType::Time, "24:03:22", "null", 1},
    {"ADayAndATime", EVariantType::DateTime, "2018-01-28T13:03:22", "2018/01/28 13:03:22", 0},
    {"ADayAndATimeWithAZone",
     EVariantType::DateTime,
     "2018-01-28T13:03:22.836+02:00",
     "2018/01/28 13:03:22.836+02",
     0},
    {"ADayAndATimeOfUtc",
     EVariantType::DateTime,
     "2018-01-28T13:03:22Z",
     "2018/01/28 13:03:22+00",
     0},
    {"MinutesAlone", EVariantType::DateTime, "2018-01-28 13:03Z", "2018/01/28 13:03:00+00", 0},
    {"ADayWithoutItsTime", EVariantType::DateTime, "2018-01-28", "null", 1},
};

class GeoPackageConversion : public testing::TestWithParam<ConversionCase>
{};

TEST_P(GeoPackageConversion, IsTheSameForPagesAndForObjects)
{
    const ConversionCase& row = GetParam();
    const TemporaryFolder folder;
    BFeatureCollection features;
    {
        BFeatureAppender appender(features, {{"value", EVariantType::String}});
        for (std::uint32_t number = 1; number <= 2; ++number) {
            appender.AddText(row.text, ETextEncoding::Ascii);
            appender.EndRow(EPointKind::XY, 1, 2, 0, number);
        }
    }
    features.GetAt(1)->SetName("changed");
    ASSERT_EQ(features.GetObjectRowCount(), 1U);
    const std::filesystem::path file = folder.Path() / "conversion.gpkg";
    const LayerCounts counts = Write(file, Define({{"value", row.field}}), features);
    EXPECT_EQ(Describe(file),
              (std::vector<std::string>{std::string("1 (1 2) value=") + row.expected,
                                        std::string("2 (1 2) value=") + row.expected}));
    EXPECT_EQ(counts.notOfTypeByField, (std::vector<std::uint64_t>{2 * row.notOfType}));
}

INSTANTIATE_TEST_SUITE_P(,
                         GeoPackageConversion,
                         testing::ValuesIn(kConversions),
                         TestSupport::CaseName());

TEST(GeoPackageWriter, WritesNullsOfEveryType)
{
    const TemporaryFolder folder;
    const std::vector<BColumnInfo> columns = {{"a", EVariantType::Int32},
                                              {"b", EVariantType::Int64},
                                              {"c", EVariantType::Double},
                                              {"d", EVariantType::Float},
                                              {"e", EVariantType::Boolean},
                                              {"f", EVariantType::String},
                                              {"g", EVariantType::Date}};
    BFeatureCollection features;
    {
        BFeatureAppender appender(features, columns);
        for (std::size_t index = 0; index < columns.size(); ++index) {
            appender.AddNull();
        }
        appender.EndRow(EPointKind::XY, 1, 2, 0, 1);
        appender.AddInt32(0);
        appender.AddInt64(0);
        appender.AddDouble(0);
        appender.AddFloat(0);
        appender.AddBoolean(false);
        appender.AddText("", ETextEncoding::Ascii);
        appender.AddText("2018-01-28", ETextEncoding::Ascii);
        appender.EndRow(EPointKind::XY, 1, 2, 0, 2);
    }
    std::vector<Orvane::GeoPackage::Field> fields;
    for (const BColumnInfo& column : columns) {
        fields.push_back({column.name.ToUtf8(), column.type});
    }
    const std::filesystem::path file = folder.Path() / "nulls.gpkg";
    const LayerCounts counts = Write(file, Define(fields), features);
    EXPECT_EQ(Describe(file),
              (std::vector<std::string>{"1 (1 2) a=null b=null c=null d=null e=null f=null g=null",
                                        "2 (1 2) a=0 b=0 c=0 d=0 e=0 f= g=2018/01/28"}));
    EXPECT_EQ(counts.notNumbers, 0U);
    EXPECT_EQ(counts.notOfTypeByField, std::vector<std::uint64_t>(columns.size()));
    EXPECT_EQ(Ask(file, "SELECT avg(a) FROM points"), "0.0");
    EXPECT_EQ(Open(file)->GetLayer(0)->GetLayerDefn()->GetFieldDefn(6)->GetType(), OFTDate);
}

TEST(GeoPackageWriter, SpellsDaysAndTimesTogetherWithMilliseconds)
{
    const TemporaryFolder folder;
    for (const auto& [text, expected] :
         {std::pair("2018-01-28T13:03:22", "2018-01-28T13:03:22.000"),
          std::pair("2018-01-28 13:03:22.5Z", "2018-01-28T13:03:22.500Z"),
          std::pair("2018-01-28T13:03:22.123456+02:00", "2018-01-28T13:03:22.123456+02:00"),
          std::pair("2018-01-28T13:03-01:30", "2018-01-28T13:03:00.000-01:30")}) {
        BFeatureCollection features;
        BFeatureAppender appender(features, {{"when", EVariantType::DateTime}});
        appender.AddText(text, ETextEncoding::Ascii);
        appender.EndRow(EPointKind::XY, 1, 2, 0, 1);
        const std::filesystem::path file = folder.Path() / "times.gpkg";
        std::filesystem::remove(file);
        Write(file, Define({{"when", EVariantType::DateTime}}), features);
        EXPECT_EQ(Ask(file, "SELECT \"when\" FROM points"), expected);
    }
}

TEST(GeoPackageWriter, WritesAttributesWithoutGeometryAsATableThatCanBeEdited)
{
    const TemporaryFolder folder;
    BFeatureCollection features;
    AddRandomRows(features, 3);
    LayerDefinition layer = Define(kNumberField);
    layer.hasGeometry = false;
    const std::filesystem::path file = folder.Path() / "attributes.gpkg";
    const LayerCounts counts = Write(file, layer, features);
    EXPECT_EQ(counts.rows, 3U);
    EXPECT_EQ(counts.points, 0U);
    EXPECT_EQ(counts.withoutPlace, 0U);
    EXPECT_EQ(Describe(file),
              (std::vector<std::string>{"1 (-) number=0", "2 (-) number=1", "3 (-) number=2"}));
    EXPECT_EQ(Ask(file, "SELECT data_type FROM gpkg_contents"), "attributes");
    EXPECT_EQ(Ask(file, "SELECT min_x FROM gpkg_contents"), "null");
    EXPECT_EQ(Ask(file, "SELECT count(*) FROM gpkg_geometry_columns"), "0");
    EXPECT_EQ(Ask(file, "SELECT count(*) FROM gpkg_extensions"), "0");
    EXPECT_EQ(Ask(file, "SELECT count(*) FROM sqlite_master WHERE name LIKE 'rtree%'"), "0");
    EXPECT_EQ(Ask(file, "PRAGMA integrity_check"), "ok");
    EXPECT_EQ(Ask(file, "PRAGMA foreign_key_check"), "no row");
    {
        const Dataset dataset = Open(file, GDAL_OF_UPDATE);
        OGRLayer& rows = *dataset->GetLayer(0);
        EXPECT_EQ(rows.GetGeomType(), wkbNone);
        OGRFeature feature(rows.GetLayerDefn());
        feature.SetField("number", 7);
        EXPECT_EQ(rows.CreateFeature(&feature), OGRERR_NONE);
        EXPECT_EQ(rows.DeleteFeature(1), OGRERR_NONE);
    }
    EXPECT_EQ(Ask(file, "SELECT feature_count FROM gpkg_ogr_contents"), "3");
    EXPECT_EQ(Ask(file, "SELECT sum(number) FROM points"), "10");
}

TEST(GeoPackageWriter, WritesObjectsBesideThePages)
{
    const TemporaryFolder folder;
    BFeatureCollection features;
    AddRandomRows(features, 3);
    features.GetAt(0)->SetGeometry(nullptr);
    features.GetAt(1)->SetGeometry(BSharedPtr<Orvane::BGeometry>(new BPointGeo(7, 8)));
    features.GetAt(2)->SetAttributeValue(0, BVariant(BString::FromUtf8("12")));
    ASSERT_EQ(features.GetObjectRowCount(), 3U);
    const std::filesystem::path file = folder.Path() / "objects.gpkg";
    EXPECT_EQ(Write(file, Define(kNumberField), features).points, 2U);
    const std::vector<std::string> lines = Describe(file);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0], "1 (-) number=0");
    EXPECT_EQ(lines[1], "2 (7 8) number=1");
    EXPECT_TRUE(lines[2].ends_with(" number=12")) << lines[2];
    ExpectSound(file);
}

TEST(GeoPackageWriter, QuotesNamesOfAnyCharacters)
{
    const TemporaryFolder folder;
    BFeatureCollection features;
    AddRandomRows(features, 100);
    LayerDefinition layer =
        Define({{"it's \"quoted\"; [x] `y` %w @t", EVariantType::Int32}}, "\u5C71 'a\"b' \u00E9@r");
    layer.rowNumberName = "row \"number\"";
    layer.geometryName = "the 'place'";
    const std::filesystem::path file = folder.Path() / "names.gpkg";
    Write(file, layer, features);
    {
        const Dataset dataset = Open(file, GDAL_OF_UPDATE);
        OGRLayer& made = *dataset->GetLayer(0);
        EXPECT_EQ(made.GetName(), layer.name);
        EXPECT_EQ(made.GetFIDColumn(), layer.rowNumberName);
        EXPECT_EQ(made.GetGeometryColumn(), layer.geometryName);
        EXPECT_EQ(made.GetLayerDefn()->GetFieldDefn(0)->GetNameRef(), layer.fields[0].name);
        OGRFeature feature(made.GetLayerDefn());
        OGRPoint place(1, 2);
        feature.SetGeometry(&place);
        EXPECT_EQ(made.CreateFeature(&feature), OGRERR_NONE);
        EXPECT_EQ(made.DeleteFeature(1), OGRERR_NONE);
        made.SetSpatialFilterRect(0.5, 1.5, 1.5, 2.5);
        EXPECT_GE(made.GetFeatureCount(), 1);
    }
    EXPECT_EQ(Ask(file, "SELECT feature_count FROM gpkg_ogr_contents"), "100");
    EXPECT_EQ(Ask(file, "PRAGMA integrity_check"), "ok");
}

TEST(GeoPackageWriter, SaysWhatFileItIs)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "header.gpkg";
    BFeatureCollection features;
    AddRandomRows(features, 5);
    Write(file, Define(kNumberField), features);
    EXPECT_EQ(Ask(file, "PRAGMA application_id"), "1196444487");
    EXPECT_EQ(Ask(file, "PRAGMA user_version"), "10300");
    EXPECT_EQ(Ask(file, "SELECT group_concat(srs_id) FROM gpkg_spatial_ref_sys"), "-1,0,4326");
    EXPECT_EQ(Ask(file,
                  "SELECT last_change GLOB '20[0-9][0-9]-[01][0-9]-[0-3][0-9]T"
                  "[0-2][0-9]:[0-5][0-9]:[0-5][0-9].[0-9][0-9][0-9]Z' FROM gpkg_contents"),
              "1");
}

TEST(GeoPackageWriter, PassesTheValidatorOfGdal)
{
    const TemporaryFolder folder;
    BFeatureCollection features;
    AddRandomRows(features, 3000);
    for (const char* name : {"EPSG:4326", "EPSG:25832", "EPSG:4979"}) {
        LayerDefinition layer = Define(kNumberField);
        layer.hasHeights = true;
        layer.spatialReference = Orvane::GeoPackage::MakeSpatialReference(
            Orvane::Import::FindCoordinateSystem(name).get());
        const std::filesystem::path file =
            folder.Path() / (std::to_string(layer.spatialReference.id) + ".gpkg");
        Write(file, layer, features);
        const std::string command =
            std::string(ORVANE_PYTHON " " ORVANE_GEOPACKAGE_VALIDATOR " '") + file.native() + "'";
        EXPECT_EQ(std::system(command.c_str()), 0) << name;
    }
}

TEST(GeoPackageWriter, WritesALayerWithoutRows)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "empty.gpkg";
    const LayerCounts counts = Write(file, Define(kNumberField), BFeatureCollection());
    EXPECT_EQ(counts.rows, 0U);
    EXPECT_FALSE(counts.extent);
    EXPECT_TRUE(Describe(file).empty());
    EXPECT_EQ(Ask(file, "SELECT min_x FROM gpkg_contents"), "null");
    ExpectSound(file);
}

TEST(GeoPackageWriter, WritesAsManyFieldsAsATableHolds)
{
    const TemporaryFolder folder;
    std::vector<Orvane::GeoPackage::Field> fields;
    std::vector<BColumnInfo> columns;
    for (std::size_t number = 0; number < Orvane::GeoPackage::kMostFields; ++number) {
        const std::string name = "c" + std::to_string(number);
        fields.push_back({name, EVariantType::Int32});
        columns.push_back({BString::FromUtf8(name), EVariantType::Int32});
    }
    BFeatureCollection features;
    {
        BFeatureAppender appender(features, columns);
        for (std::size_t number = 0; number < fields.size(); ++number) {
            appender.AddInt32(static_cast<std::int32_t>(number));
        }
        appender.EndRow(EPointKind::XY, 1, 2, 0, 1);
    }
    const std::filesystem::path file = folder.Path() / "wide.gpkg";
    Write(file, Define(fields), features);
    EXPECT_EQ(Ask(file, "SELECT c1997 FROM points"), "1997");
}

/// The numbers of the rows in a rectangle, by GDAL's filter and by looking at every point.
void ExpectSameRows(OGRLayer& layer, std::uint64_t seed)
{
    struct Point
    {
        GIntBig row;
        double x;
        double y;
    };

    std::vector<Point> points;
    layer.SetSpatialFilter(nullptr);
    for (const auto& feature : layer) {
        if (const OGRGeometry* const geometry = feature->GetGeometryRef()) {
            points.push_back(
                {feature->GetFID(), geometry->toPoint()->getX(), geometry->toPoint()->getY()});
        }
    }
    std::mt19937_64 dice(seed);
    std::uniform_real_distribution<double> any(-100, 100);
    for (int round = 0; round < 20; ++round) {
        const double x = any(dice);
        const double y = any(dice);
        const double size = std::abs(any(dice)) / 4;
        std::set<GIntBig> expected;
        for (const Point& point : points) {
            if (point.x >= x && point.x <= x + size && point.y >= y && point.y <= y + size) {
                expected.insert(point.row);
            }
        }
        std::set<GIntBig> found;
        layer.SetSpatialFilterRect(x, y, x + size, y + size);
        for (const auto& feature : layer) {
            found.insert(feature->GetFID());
        }
        EXPECT_EQ(found, expected) << round;
    }
    layer.SetSpatialFilter(nullptr);
}

class GeoPackageEditing : public testing::TestWithParam<std::uint32_t>
{};

TEST_P(GeoPackageEditing, ByGdalKeepsTheIndexRight)
{
    const std::uint32_t count = GetParam();
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "edited.gpkg";
    BFeatureCollection features;
    AddRandomRows(features, count);
    Write(file, Define(kNumberField), features);
    ExpectSound(file);
    std::mt19937_64 dice(count);
    std::uniform_real_distribution<double> any(-100, 100);
    GIntBig left = count;
    {
        const Dataset dataset = Open(file, GDAL_OF_UPDATE);
        OGRLayer& layer = *dataset->GetLayer(0);
        ExpectSameRows(layer, 1);
        ASSERT_EQ(dataset->StartTransaction(), OGRERR_NONE);
        for (int edit = 0; edit < 600; ++edit) {
            OGRPoint place(any(dice), any(dice));
            const auto row = static_cast<GIntBig>(dice() % count) + 1;
            if (edit % 3 == 0) {
                OGRFeature feature(layer.GetLayerDefn());
                feature.SetGeometry(&place);
                ASSERT_EQ(layer.CreateFeature(&feature), OGRERR_NONE);
                ++left;
            } else if (edit % 3 == 1) {
                const std::unique_ptr<OGRFeature> feature(layer.GetFeature(row));
                if (feature != nullptr) {
                    feature->SetGeometry(edit % 6 == 1 ? &place : nullptr);
                    ASSERT_EQ(layer.SetFeature(feature.get()), OGRERR_NONE);
                }
            } else if (layer.DeleteFeature(row) == OGRERR_NONE) {
                --left;
            }
        }
        ASSERT_EQ(dataset->CommitTransaction(), OGRERR_NONE);
        ExpectSameRows(layer, 2);
        EXPECT_EQ(layer.GetFeatureCount(), left);
    }
    ExpectSound(file);
    EXPECT_EQ(Ask(file, "SELECT feature_count FROM gpkg_ogr_contents"), std::to_string(left));
}

TEST_P(GeoPackageEditing, DeletingEveryRowEmptiesTheIndex)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "emptied.gpkg";
    BFeatureCollection features;
    AddRandomRows(features, GetParam());
    Write(file, Define(kNumberField), features);
    {
        const Dataset dataset = Open(file, GDAL_OF_UPDATE);
        dataset->ExecuteSQL("DELETE FROM points", nullptr, nullptr);
    }
    ExpectSound(file);
    EXPECT_EQ(Ask(file, "SELECT count(*) FROM rtree_points_geom"), "0");
    EXPECT_EQ(Ask(file, "SELECT count(*) FROM rtree_points_geom_node"), "1");
}

// Trees of one to four levels: 51 entries are in a node.
INSTANTIATE_TEST_SUITE_P(, GeoPackageEditing, testing::Values(1, 40, 3000, 20000, 160000));

TEST(GeoPackageWriter, BoxesHoldTheirPointsAtTheEndsOfTheFloats)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "ends.gpkg";
    const double kValues[] = {0.0, -1e-60, 1e-60, 0.1, -0.1, 1e39, -1e39, 1e300, -1e300, 3.5e38};
    BFeatureCollection features;
    {
        BFeatureAppender appender(features, std::vector<BColumnInfo>());
        for (const double x : kValues) {
            for (const double y : kValues) {
                appender.EndRow(EPointKind::XY, x, y, 0, 1);
            }
        }
    }
    Write(file, Define({}), features);
    ExpectSound(file);
    const Dataset dataset = Open(file);
    OGRLayer& layer = *dataset->GetLayer(0);
    for (const double x : kValues) {
        for (const double y : kValues) {
            // The filter gives all rows whose boxes it touches.
            layer.SetSpatialFilterRect(x, y, x, y);
            bool isFound = false;
            for (const auto& feature : layer) {
                const OGRPoint& point = *feature->GetGeometryRef()->toPoint();
                isFound = isFound || (point.getX() == x && point.getY() == y);
            }
            EXPECT_TRUE(isFound) << x << ' ' << y;
        }
    }
}

/// All of a file except the time of its making.
std::string Dump(const std::filesystem::path& file)
{
    std::string dump;
    for (const char* sql : {"SELECT group_concat(nodeno || hex(data)) FROM rtree_points_geom_node",
                            "SELECT group_concat(rowid || ' ' || nodeno) FROM "
                            "rtree_points_geom_rowid",
                            "SELECT group_concat(nodeno || ' ' || parentnode) FROM "
                            "rtree_points_geom_parent",
                            "SELECT group_concat(fid || hex(geom) || number) FROM points"}) {
        dump += Ask(file, sql) + "\n";
    }
    return dump;
}

struct IndexCase
{
    const char* name;
    std::size_t memory;
    std::size_t threads;
    std::uint32_t without; ///< as of AddRandomRows
};

void PrintTo(const IndexCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class GeoPackageIndex : public testing::TestWithParam<IndexCase>
{};

constexpr std::uint32_t kNever = 1U << 31U;
constexpr std::size_t kMuch = std::size_t{1} << 26U;

INSTANTIATE_TEST_SUITE_P(,
                         GeoPackageIndex,
                         testing::Values(IndexCase{"OneThread", kMuch, 1, kNever},
                                         IndexCase{"OneThreadAndGaps", kMuch, 1, 10},
                                         IndexCase{"LittleMemory", 2000, 1, kNever},
                                         IndexCase{"LittleMemoryAndGaps", 100000, 1, 10},
                                         IndexCase{"TwoThreads", kMuch, 2, kNever},
                                         IndexCase{"ThreeThreadsAndGaps", kMuch, 3, 10},
                                         IndexCase{"TwoThreadsOfLittleMemory", 2000, 2, 10},
                                         IndexCase{
                                             "ThreeThreadsOfLittleMemory", 100000, 3, kNever}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(GeoPackageIndex, IsTheSameWithAnyMemoryAndAnyNumberOfThreads)
{
    const TemporaryFolder folder;
    const IndexCase& row = GetParam();
    BFeatureCollection features(1000);
    AddRandomRows(features, 90000, 100, row.without);
    const std::filesystem::path plain = folder.Path() / "plain.gpkg";
    const LayerCounts expected = Write(plain, Define(kNumberField), features);
    const std::filesystem::path file = folder.Path() / "case.gpkg";
    GeoPackageWriter::Options options;
    options.indexMemory = row.memory;
    options.threads = row.threads;
    const LayerCounts counts = Write(file, Define(kNumberField), features, options);
    EXPECT_EQ(counts.points, expected.points);
    EXPECT_EQ(counts.points, row.without == kNever ? 90000U : 81000U);
    EXPECT_EQ(counts.extent->minX, expected.extent->minX);
    EXPECT_EQ(counts.extent->maxY, expected.extent->maxY);
    EXPECT_TRUE(Dump(file) == Dump(plain));
    ExpectSound(file);
    EXPECT_EQ(Ask(file,
                  "SELECT count(*) FROM points JOIN rtree_points_geom ON fid = id AND "
                  "geom IS NOT NULL"),
              std::to_string(counts.points));
}

TEST(GeoPackageWriter, LeavesNothingWhenItIsCancelledAtAnyCall)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "cancelled.gpkg";
    BFeatureCollection features(5000);
    AddRandomRows(features, 40000);

    struct Cancelled : std::runtime_error
    {
        Cancelled()
            : std::runtime_error("cancelled")
        {}
    };

    for (const auto& [memory, threads] : {std::pair(kMuch, std::size_t{1}),
                                          std::pair(std::size_t{10000}, std::size_t{1}),
                                          std::pair(kMuch, std::size_t{3})}) {
        GeoPackageWriter::Options options;
        options.indexMemory = memory;
        options.threads = threads;
        std::size_t calls = 0;
        bool hasIndexCall = false;
        options.progress = [&](GeoPackageWriter::EPhase phase, std::uint64_t, std::uint64_t) {
            ++calls;
            hasIndexCall = hasIndexCall || phase == GeoPackageWriter::EPhase::Index;
        };
        Write(file, Define(kNumberField), features, options);
        EXPECT_TRUE(hasIndexCall);
        ASSERT_GT(calls, 15U);
        std::filesystem::remove(file);
        for (std::size_t wanted = 1; wanted <= calls; ++wanted) {
            std::size_t call = 0;
            options.progress = [&](GeoPackageWriter::EPhase, std::uint64_t, std::uint64_t) {
                if (++call == wanted) {
                    throw Cancelled();
                }
            };
            EXPECT_THROW(Write(file, Define(kNumberField), features, options), Cancelled) << wanted;
            ASSERT_TRUE(std::filesystem::is_empty(folder.Path())) << wanted;
        }
    }
}

/// The words of the WriteFailure that the work ends with.
template <typename Work>
std::string FailureOf(const Work& work)
{
    try {
        work();
    } catch (const Orvane::WriteFailure& failure) {
        return failure.what();
    }
    return "no failure";
}

/// While it lives, no file of this process grows beyond a size.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
        : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }

    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*m_handler)(int);
    rlimit m_before{};
};

TEST(GeoPackageWriter, SaysThatAWriteFailedAndLeavesNothing)
{
    const TemporaryFolder folder;
    BFeatureCollection features;
    AddRandomRows(features, 160000);
    const std::filesystem::path file = folder.Path() / "full.gpkg";
    Write(file, Define(kNumberField), features);
    const rlim_t whole = std::filesystem::file_size(file);
    std::filesystem::remove(file);

    struct
    {
        rlim_t bytes;
        const char* step;
    } const kCases[] = {{0, "Making the file"},
                        {whole / 5, "Writing rows"},
                        {whole / 2, "Making the spatial index"},
                        {whole - 20000, "Ending the file"}};

    for (const auto& row : kCases) {
        const FileSizeLimit limit(row.bytes);
        EXPECT_EQ(FailureOf([&] { Write(file, Define(kNumberField), features); }),
                  std::string(row.step) + ": disk I/O error (File too large)");
        EXPECT_TRUE(std::filesystem::is_empty(folder.Path())) << row.step;
    }
}

TEST(GeoPackageWriter, SaysThatATemporaryFileCouldNotBeWritten)
{
    const TemporaryFolder folder;
    BFeatureCollection features;
    AddRandomRows(features, 60000);
    {
        const FileSizeLimit limit(500000);
        EXPECT_EQ(FailureOf([&] {
                      Write(folder.Path() / "full.gpkg", Define({}), features, {{}, 900000});
                  }),
                  "Writing rows: writing a temporary file for the spatial index: File too large");
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST(GeoPackageWriter, SaysThatThereIsNoFolder)
{
    EXPECT_EQ(FailureOf([] { GeoPackageWriter("/nowhere/at/all.gpkg", {}); }),
              "Making the file: unable to open database file (No such file or directory)");
}

TEST(GeoPackageWriter, DoesNotTouchAFileThatIsThere)
{
    const TemporaryFolder folder;
    const BString name = folder.File("there.gpkg", "mine");
    EXPECT_EQ(FailureOf([&] { GeoPackageWriter(name.ToUtf8(), {}); }),
              "Making the file: the file is there already");
    std::ifstream file(name.ToUtf8());
    std::string content;
    std::getline(file, content);
    EXPECT_EQ(content, "mine");
}

struct SystemCase
{
    const char* name;
    const char* system;
    const char* row; ///< name, number, organization, its number
    const char* definitionBegin;
    bool has2015;
};

void PrintTo(const SystemCase& row, std::ostream* out)
{
    *out << row.name;
}

constexpr SystemCase kSystems[] = {
    {"Wgs84IsTheRowThatIsThere", "EPSG:4326", "WGS 84 geodetic|4326|EPSG|4326", "GEOGCS[", false},
    {"AProjectedOne",
     "EPSG:25832",
     "ETRS89 / UTM zone 32N|25832|EPSG|25832",
     "PROJCS[\"ETRS89 / UTM zone 32N\"",
     false},
    {"OneOfAnotherAuthority",
     "ESRI:102003",
     "USA_Contiguous_Albers_Equal_Area_Conic|102003|ESRI|102003",
     "PROJCS[",
     false},
    {"OneWithoutANumber", "IGNF:LAMB93", "RGF93 Lambert 93|100000|NONE|100000", "PROJCS[", false},
    {"OneThatOnlyTheSecondKindOfTextCanSay",
     "EPSG:4979",
     "WGS 84|4979|EPSG|4979",
     "undefined",
     true},
};

class GeoPackageSpatialReference : public testing::TestWithParam<SystemCase>
{};

TEST_P(GeoPackageSpatialReference, IsARowOfTheFileThatGdalReadsBack)
{
    const SystemCase& row = GetParam();
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "system.gpkg";
    OGRSpatialReference system;
    ASSERT_EQ(system.SetFromUserInput(row.system), OGRERR_NONE);
    LayerDefinition layer = Define(kNumberField);
    layer.spatialReference = Orvane::GeoPackage::MakeSpatialReference(
        Orvane::Import::FindCoordinateSystem(row.system).get());
    BFeatureCollection features;
    AddRandomRows(features, 5);
    Write(file, layer, features);
    ExpectSound(file);
    const std::string ofLayer = " FROM gpkg_spatial_ref_sys JOIN gpkg_contents USING (srs_id)";
    EXPECT_EQ(Ask(file,
                  "SELECT srs_name || '|' || srs_id || '|' || organization || '|' || "
                  "organization_coordsys_id" +
                      ofLayer),
              row.row);
    EXPECT_TRUE(Ask(file, "SELECT definition" + ofLayer).starts_with(row.definitionBegin));
    EXPECT_EQ(
        Ask(file, "SELECT count(*) FROM gpkg_extensions WHERE extension_name = 'gpkg_crs_wkt'"),
        row.has2015 ? "1" : "0");
    const Dataset dataset = Open(file);
    const OGRSpatialReference* const read = dataset->GetLayer(0)->GetSpatialRef();
    ASSERT_NE(read, nullptr);
    const char* const kOptions[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES",
                                    "CRITERION=EQUIVALENT_EXCEPT_AXIS_ORDER_GEOGCRS",
                                    nullptr};
    EXPECT_TRUE(read->IsSame(&system, kOptions));
}

INSTANTIATE_TEST_SUITE_P(,
                         GeoPackageSpatialReference,
                         testing::ValuesIn(kSystems),
                         TestSupport::CaseName());

} // namespace
