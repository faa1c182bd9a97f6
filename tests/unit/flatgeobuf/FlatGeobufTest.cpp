// FlatGeobuf files as GDAL reads and queries them, and what is left when writing fails.
#include "CountFeatures.h"
#include "FlatGeobufWriter.h"
#include "WriteFailure.h"

#include <Orvane/BFeatureAppender.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/LayerCounts.h>
#include <Orvane/Import/Targets.h>

#include <gdal_priv.h>
#include <gtest/gtest.h>
#include <ogr_spatialref.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <support/TestFiles.h>
#include <sys/resource.h>
#include <vector>

namespace {

using namespace Orvane;
using FlatGeobuf::CountFeatures;
using FlatGeobuf::FlatGeobufWriter;
using Import::Callbacks;
using Import::CountLayer;
using Import::ImportFailure;
using Import::OpenTarget;
using Import::Target;
using Import::TargetRequest;
using Import::WriteReport;
using TestSupport::TemporaryFolder;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct DatasetCloser
{
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};

using Dataset = std::unique_ptr<GDALDataset, DatasetCloser>;

Dataset Open(const std::filesystem::path& file)
{
    RegisterOGRFlatGeobuf();
    const char* const options[] = {"VERIFY_BUFFERS=YES", nullptr};
    Dataset dataset(GDALDataset::Open(
        file.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY, nullptr, options, nullptr));
    EXPECT_NE(dataset, nullptr);
    EXPECT_EQ(dataset->GetLayerCount(), 1);
    return dataset;
}

std::string Show(double value)
{
    std::ostringstream text;
    text.precision(17);
    text << value;
    return text.str();
}

/// A feature in one line: "(x y z) name=value ...", "(-)" without geometry, nothing for a null.
std::string Describe(OGRFeature& feature)
{
    std::string line = "(";
    if (const OGRGeometry* const geometry = feature.GetGeometryRef()) {
        const OGRPoint& point = *geometry->toPoint();
        line += Show(point.getX()) + ' ' + Show(point.getY());
        line += point.Is3D() != 0 ? ' ' + Show(point.getZ()) : "";
    } else {
        line += '-';
    }
    line += ')';
    for (int index = 0; index < feature.GetFieldCount(); ++index) {
        if (feature.IsFieldSetAndNotNull(index)) {
            line += std::string(" ") + feature.GetFieldDefnRef(index)->GetNameRef() + '=';
            line += feature.GetFieldDefnRef(index)->GetType() == OFTReal
                        ? Show(feature.GetFieldAsDouble(index))
                        : feature.GetFieldAsString(index);
        }
    }
    return line;
}

std::vector<std::string> Describe(OGRLayer& layer)
{
    std::vector<std::string> lines;
    for (const auto& feature : layer) {
        lines.push_back(Describe(*feature));
    }
    return lines;
}

std::vector<std::string> Sorted(std::vector<std::string> lines)
{
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::string Content(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

TargetRequest RequestFor(const TemporaryFolder& folder, const char* crs = "")
{
    TargetRequest request;
    request.out = (folder.Path() / "rows.fgb").native();
    request.crs = crs;
    return request;
}

WriteReport
Write(const BVectorLayer& layer, const TargetRequest& request, const Callbacks& callbacks = {})
{
    const std::unique_ptr<Target> target = OpenTarget(request);
    WriteReport report = target->Write(layer, CountLayer(layer), callbacks);
    target->Commit();
    const Import::TargetCounts counted = target->CountWritten({});
    EXPECT_EQ(counted.rows, report.rows);
    EXPECT_EQ(counted.points, report.points);
    EXPECT_EQ(report.rowsLeftOut, 0U);
    return report;
}

TEST(FlatGeobuf, WritesEveryStorageAsItsOwnType)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    layer.SetName("values");
    {
        BFeatureAppender rows(layer.GetFeatures(),
                              {{"a", EVariantType::Int32},
                               {"b", EVariantType::Int64},
                               {"c", EVariantType::Double},
                               {"d", EVariantType::Float},
                               {"e", EVariantType::Boolean},
                               {"f", EVariantType::String},
                               {"g", EVariantType::Date},
                               {"h", EVariantType::Time},
                               {"i", EVariantType::DateTime}});
        const auto add =
            [&](std::int32_t a, std::int64_t b, double c, float d, bool e, std::string_view f) {
                rows.AddInt32(a);
                rows.AddInt64(b);
                rows.AddDouble(c);
                rows.AddFloat(d);
                rows.AddBoolean(e);
                rows.AddText(f, ETextEncoding::Latin1);
                rows.AddText("2018-01-28", ETextEncoding::Ascii);
                rows.AddText("13:03", ETextEncoding::Ascii);
                rows.AddText("2018-01-28T13:03:22.5Z", ETextEncoding::Ascii);
            };
        add(-1, std::int64_t{1} << 40U, 0.1, 0.25F, true, "caf\xE9");
        rows.EndRow(EPointKind::XYZ, 1, 1, 3.5, 1);
        add(std::numeric_limits<std::int32_t>::min(),
            std::numeric_limits<std::int64_t>::min(),
            kInfinity,
            -std::numeric_limits<float>::infinity(),
            false,
            "");
        rows.EndRow(EPointKind::XY, 1, 1, 0, 2);
        add(0, 0, kNaN, std::numeric_limits<float>::quiet_NaN(), false, {"a\0b\0", 4});
        rows.EndRow(EPointKind::XYZ, kNaN, 1, 0, 3);
        rows.AddInt32(9);
        rows.EndRow(EPointKind::None, 0, 0, 0, 4);
    }
    const TargetRequest request = RequestFor(folder);
    const WriteReport report = Write(layer, request);
    EXPECT_EQ(report.rows, 4U);
    EXPECT_EQ(report.points, 2U);
    ASSERT_EQ(report.losses.size(), 2U);
    EXPECT_EQ(report.losses[0].code, "nul");
    EXPECT_EQ(report.losses[0].count, 2U);
    EXPECT_EQ(report.losses[1].code, "no-place");
    const Dataset dataset = Open(request.out);
    OGRLayer& read = *dataset->GetLayer(0);
    EXPECT_STREQ(read.GetName(), "values");
    EXPECT_EQ(Describe(read),
              (std::vector<std::string>{
                  "(1 1 3.5) a=-1 b=1099511627776 c=0.10000000000000001 d=0.25 e=1 f=caf\u00E9 "
                  "g=2018-01-28 h=13:03 i=2018/01/28 13:03:22.500+00",
                  "(1 1 nan) a=-2147483648 b=-9223372036854775808 c=inf d=-inf e=0 f= g=2018-01-28 "
                  "h=13:03 i=2018/01/28 13:03:22.500+00",
                  "(-) a=0 b=0 c=nan d=nan e=0 f=a\uFFFDb\uFFFD g=2018-01-28 h=13:03 "
                  "i=2018/01/28 13:03:22.500+00",
                  "(-) a=9"}));
    OGRFeatureDefn& defn = *read.GetLayerDefn();
    const std::vector<std::pair<OGRFieldType, OGRFieldSubType>> expected = {
        {OFTInteger, OFSTNone},
        {OFTInteger64, OFSTNone},
        {OFTReal, OFSTNone},
        {OFTReal, OFSTFloat32},
        {OFTInteger, OFSTBoolean},
        {OFTString, OFSTNone},
        {OFTString, OFSTNone},
        {OFTString, OFSTNone},
        {OFTDateTime, OFSTNone}};
    ASSERT_EQ(defn.GetFieldCount(), 9);
    for (int index = 0; index < 9; ++index) {
        const auto& [type, subType] = expected[static_cast<std::size_t>(index)];
        EXPECT_EQ(defn.GetFieldDefn(index)->GetType(), type) << index;
        EXPECT_EQ(defn.GetFieldDefn(index)->GetSubType(), subType) << index;
    }
    EXPECT_EQ(read.GetGeomType(), wkbPoint25D);
    EXPECT_EQ(read.GetFeatureCount(), 4);
    EXPECT_EQ(read.GetSpatialRef(), nullptr);
}

struct DateCase
{
    const char* name;
    const char* text;
    const char* written; ///< null for none
    std::size_t losses;
};

void PrintTo(const DateCase& row, std::ostream* out)
{
    *out << row.name;
}

constexpr DateCase kDates[] = {
    {"Seconds", "2018-01-28T13:03:22", "2018-01-28T13:03:22", 0},
    {"MinutesAlone", "2018-01-28 13:03Z", "2018-01-28T13:03:00Z", 0},
    {"NineDigitsAfterTheSeconds",
     "2018-01-28T13:03:22.123456789",
     "2018-01-28T13:03:22.123456789",
     0},
    {"AZone", "2018-01-28 13:03:22.8+02:00", "2018-01-28T13:03:22.8+02:00", 0},
    {"AZoneOfOddMinutes", "1930-01-28T13:03:22+00:20", "1930-01-28T13:03:22+00:20", 0},
    {"ALeapSecond", "2016-12-31T23:59:60Z", "2016-12-31T23:59:60Z", 0},
    {"NoDate", "yesterday", nullptr, 1},
    {"ADayThatNoCalendarHas", "2018-02-29T00:00:00", nullptr, 1},
    {"TheEmptyTextIsNullAndNotCounted", "", nullptr, 0},
};

class FlatGeobufDateTime : public testing::TestWithParam<DateCase>
{};

INSTANTIATE_TEST_SUITE_P(, FlatGeobufDateTime, testing::ValuesIn(kDates), TestSupport::CaseName());

TEST_P(FlatGeobufDateTime, IsWrittenWithAllItsDigits)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    {
        BFeatureAppender rows(layer.GetFeatures(), {{"when", EVariantType::DateTime}});
        rows.AddText(GetParam().text, ETextEncoding::Ascii);
        rows.EndRow(EPointKind::XY, 1, 2, 0, 1);
    }
    const TargetRequest request = RequestFor(folder);
    const WriteReport report = Write(layer, request);
    EXPECT_EQ(report.losses.size(), GetParam().losses);
    const Dataset dataset = Open(request.out);
    const std::vector<std::string> lines = Describe(*dataset->GetLayer(0));
    ASSERT_EQ(lines.size(), 1U);
    if (GetParam().written == nullptr) {
        EXPECT_EQ(lines[0], "(1 2)");
        return;
    }
    EXPECT_NE(lines[0].find(" when="), std::string::npos) << lines[0];
    EXPECT_NE(Content(request.out).find(GetParam().written), std::string::npos);
}

/// A layer of random columns, values and places, and its rows as Describe has them.
class RandomLayer
{
public:
    explicit RandomLayer(unsigned seed)
        : m_dice(seed)
    {
        constexpr EVariantType kTypes[] = {EVariantType::Int32,
                                           EVariantType::Int64,
                                           EVariantType::Double,
                                           EVariantType::Float,
                                           EVariantType::Boolean,
                                           EVariantType::String};
        std::vector<BColumnInfo> columns;
        for (std::size_t count = Draw(8); count > 0; --count) {
            const std::string name = "c" + std::to_string(columns.size());
            columns.push_back({BString::FromUtf8(name), kTypes[Draw(std::size(kTypes))]});
        }
        const bool hasHeights = Draw(2) == 0;
        const std::size_t withoutPoint = Draw(3) == 0 ? 3 : 1000;
        const std::size_t rowCount = Draw(2) == 0 ? Draw(40) : Draw(6000);
        BFeatureAppender rows(layer.GetFeatures(), columns);
        for (std::size_t row = 0; row < rowCount; ++row) {
            std::string values;
            for (std::size_t index = 0; index < columns.size(); ++index) {
                if (Draw(5) == 0) {
                    rows.AddNull();
                } else {
                    values += " c" + std::to_string(index) + '=';
                    values += AddValue(rows, columns[index].type);
                }
            }
            Point point;
            std::uniform_real_distribution<double> any(-180, 180);
            point.x = Draw(4) == 0 ? static_cast<double>(Draw(10)) : any(m_dice);
            point.y = Draw(4) == 0 ? static_cast<double>(Draw(10)) : any(m_dice);
            const double z = any(m_dice);
            point.exists = Draw(withoutPoint) != 1;
            const EPointKind kind = !point.exists ? EPointKind::None
                                    : hasHeights  ? EPointKind::XYZ
                                                  : EPointKind::XY;
            rows.EndRow(kind, point.x, point.y, z, static_cast<std::uint32_t>(row));
            point.line = point.exists ? '(' + Show(point.x) + ' ' + Show(point.y) +
                                            (hasHeights ? ' ' + Show(z) : "") + ')'
                                      : "(-)";
            point.line += values;
            points.push_back(point);
        }
    }

    struct Point
    {
        bool exists = false;
        double x = 0;
        double y = 0;
        std::string line;
    };

    std::size_t Draw(std::size_t count) { return static_cast<std::size_t>(m_dice() % count); }

    BVectorLayer layer;
    std::vector<Point> points;

private:
    std::string AddValue(BFeatureAppender& rows, EVariantType type)
    {
        switch (type) {
        case EVariantType::Int32: {
            const auto value = static_cast<std::int32_t>(m_dice());
            rows.AddInt32(value);
            return std::to_string(value);
        }
        case EVariantType::Int64: {
            const auto value = static_cast<std::int64_t>(m_dice());
            rows.AddInt64(value);
            return std::to_string(value);
        }
        case EVariantType::Double: {
            const double value = static_cast<double>(m_dice()) / 3;
            rows.AddDouble(value);
            return Show(value);
        }
        case EVariantType::Float: {
            const float value = static_cast<float>(m_dice()) / 3;
            rows.AddFloat(value);
            return Show(static_cast<double>(value));
        }
        case EVariantType::Boolean: {
            const bool value = Draw(2) == 0;
            rows.AddBoolean(value);
            return value ? "1" : "0";
        }
        default: {
            std::string text(Draw(30), static_cast<char>('a' + Draw(26)));
            text += Draw(2) == 0 ? "\u00E9\U0001F600" : "";
            rows.AddText(text, ETextEncoding::Utf8);
            return text;
        }
        }
    }

    std::mt19937_64 m_dice;
};

class FlatGeobufOfRandomLayers : public testing::TestWithParam<unsigned>
{};

INSTANTIATE_TEST_SUITE_P(, FlatGeobufOfRandomLayers, testing::Range(1U, 41U));

TEST_P(FlatGeobufOfRandomLayers, IsReadAndQueriedByGdalAsTheLayerIs)
{
    const TemporaryFolder folder;
    RandomLayer random(GetParam());
    const TargetRequest request = RequestFor(folder, "EPSG:4326");
    EXPECT_EQ(Write(random.layer, request).rows, random.points.size());
    const Dataset dataset = Open(request.out);
    OGRLayer& layer = *dataset->GetLayer(0);
    std::vector<std::string> expected;
    for (const RandomLayer::Point& point : random.points) {
        expected.push_back(point.line);
    }
    EXPECT_EQ(Sorted(Describe(layer)), Sorted(expected));
    EXPECT_EQ(layer.GetFeatureCount(), static_cast<GIntBig>(random.points.size()));
    for (int number = 0; number < 30; ++number) {
        const double x = static_cast<double>(random.Draw(360)) - 180;
        const double y = static_cast<double>(random.Draw(360)) - 180;
        const auto side = static_cast<double>(random.Draw(100));
        expected.clear();
        for (const RandomLayer::Point& point : random.points) {
            if (point.exists && x <= point.x && point.x <= x + side && y <= point.y &&
                point.y <= y + side) {
                expected.push_back(point.line);
            }
        }
        layer.SetSpatialFilterRect(x, y, x + side, y + side);
        ASSERT_EQ(Sorted(Describe(layer)), Sorted(expected)) << number;
    }
}

class FlatGeobufOfRows : public testing::TestWithParam<std::size_t>
{};

INSTANTIATE_TEST_SUITE_P(,
                         FlatGeobufOfRows,
                         testing::Values(0, 1, 2, 15, 16, 17, 255, 256, 257, 4097));

TEST_P(FlatGeobufOfRows, HasAnIndexOfEveryNumberOfRows)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "rows.fgb";
    const std::size_t count = GetParam();
    FlatGeobuf::LayerDefinition layer;
    FlatGeobufWriter writer(file, layer, {});
    for (std::size_t row = 0; row < count; ++row) {
        writer.AddPoint({static_cast<double>(row % 64), static_cast<double>(row) / 64, 0}, "");
    }
    writer.Finish();
    EXPECT_EQ(CountFeatures(file).features, count);
    EXPECT_EQ(CountFeatures(file).points, count);
    const Dataset dataset = Open(file);
    OGRLayer& read = *dataset->GetLayer(0);
    EXPECT_EQ(read.TestCapability(OLCFastSpatialFilter) != 0, count > 0);
    for (std::size_t row = 0; row < count; ++row) {
        const auto x = static_cast<double>(row % 64);
        const auto y = static_cast<double>(row) / 64;
        read.SetSpatialFilterRect(x, y, x, y);
        ASSERT_EQ(Describe(read).size(), 1U) << row;
    }
    read.SetSpatialFilter(nullptr);
    for (std::size_t row = 0; row < count; ++row) {
        const std::unique_ptr<OGRFeature> feature(read.GetFeature(static_cast<GIntBig>(row)));
        ASSERT_NE(feature, nullptr) << row;
    }
}

/// Properties of one text field.
std::string TextProperties(const std::string& text)
{
    const auto size = static_cast<std::uint32_t>(text.size());
    std::string bytes(2, '\0');
    bytes.append(reinterpret_cast<const char*>(&size), sizeof size);
    return bytes + text;
}

FlatGeobuf::LayerDefinition TextLayer()
{
    FlatGeobuf::LayerDefinition layer;
    layer.name = "texts";
    layer.fields = {{"t", EVariantType::String}};
    return layer;
}

TEST(FlatGeobuf, HoldsTheSameRowsWithAnyMemory)
{
    for (const std::size_t memory :
         {std::size_t{3000}, std::size_t{200000}, std::size_t{1} << 26U}) {
        const TemporaryFolder folder;
        const std::filesystem::path file = folder.Path() / "rows.fgb";
        FlatGeobufWriter::Options options;
        options.memory = memory;
        FlatGeobufWriter writer(file, TextLayer(), options);
        std::vector<std::string> expected;
        std::mt19937_64 dice(3);
        std::uniform_real_distribution<double> any(-100, 100);
        for (int row = 0; row < 5000; ++row) {
            const std::string text =
                std::to_string(row) + std::string(row % 1000 == 7 ? 300000 : 3, 'x');
            if (row % 10 == 9) {
                writer.AddWithoutPoint(TextProperties(text));
                expected.push_back("(-) t=" + text);
            } else {
                const double x = any(dice);
                const double y = any(dice);
                writer.AddPoint({x, y, 0}, TextProperties(text));
                expected.push_back('(' + Show(x) + ' ' + Show(y) + ") t=" + text);
            }
        }
        writer.Finish();
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
        EXPECT_EQ(CountFeatures(file).features, 5000U);
        EXPECT_EQ(CountFeatures(file).points, 4500U);
        const Dataset dataset = Open(file);
        EXPECT_TRUE(Sorted(Describe(*dataset->GetLayer(0))) == Sorted(expected)) << memory;
    }
}

TEST(FlatGeobuf, KeepsTheOrderOfRowsWithoutPoints)
{
    const TemporaryFolder folder;
    for (const bool hasGeometry : {false, true}) {
        const std::filesystem::path file = folder.Path() / (hasGeometry ? "a.fgb" : "b.fgb");
        FlatGeobuf::LayerDefinition layer = TextLayer();
        layer.hasGeometry = hasGeometry;
        FlatGeobufWriter writer(file, layer, {});
        std::vector<std::string> expected;
        for (int row = 0; row < 40000; ++row) {
            const std::string text = "text of row " + std::to_string(row);
            writer.AddWithoutPoint(TextProperties(text));
            expected.push_back("(-) t=" + text);
        }
        writer.Finish();
        EXPECT_EQ(CountFeatures(file).features, expected.size());
        const Dataset dataset = Open(file);
        EXPECT_EQ(Describe(*dataset->GetLayer(0)), expected);
        EXPECT_EQ(dataset->GetLayer(0)->TestCapability(OLCFastSpatialFilter) != 0, hasGeometry);
        dataset->GetLayer(0)->SetSpatialFilterRect(-1e9, -1e9, 1e9, 1e9);
        EXPECT_TRUE(!hasGeometry || Describe(*dataset->GetLayer(0)).empty());
    }
}

TEST(FlatGeobuf, KeepsPlacesFromEndToEndOfTheNumbers)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "rows.fgb";
    constexpr double kMost = std::numeric_limits<double>::max();
    const double values[] = {0.0, -0.0, 1e-320, -1e-320, 1e30, -1e30, kMost, -kMost, 0.1};
    FlatGeobufWriter writer(file, {}, {});
    std::vector<std::string> expected;
    for (const double x : values) {
        for (const double y : values) {
            writer.AddPoint({x, y, 0}, "");
            expected.push_back('(' + Show(x) + ' ' + Show(y) + ')');
        }
    }
    writer.Finish();
    EXPECT_EQ(CountFeatures(file).points, expected.size());
    const Dataset dataset = Open(file);
    EXPECT_EQ(Sorted(Describe(*dataset->GetLayer(0))), Sorted(expected));
    dataset->GetLayer(0)->SetSpatialFilterRect(1e29, -1, 1e31, 1);
    EXPECT_EQ(Describe(*dataset->GetLayer(0)).size(), 5U);
}

TEST(FlatGeobuf, NamesItsCoordinateSystem)
{
    for (const char* crs :
         {"EPSG:4326", "EPSG:2056", "EPSG:25832", "OGC:CRS84", "ESRI:54030", "EPSG:7415"}) {
        const TemporaryFolder folder;
        BVectorLayer layer;
        {
            BFeatureAppender rows(layer.GetFeatures(), {{"n", EVariantType::Int32}});
            rows.AddInt32(1);
            rows.EndRow(EPointKind::XY, 1, 2, 0, 1);
        }
        const TargetRequest request = RequestFor(folder, crs);
        static_cast<void>(Write(layer, request));
        const Dataset dataset = Open(request.out);
        const OGRSpatialReference* const found = dataset->GetLayer(0)->GetSpatialRef();
        ASSERT_NE(found, nullptr) << crs;
        OGRSpatialReference expected;
        ASSERT_EQ(expected.SetFromUserInput(crs), OGRERR_NONE);
        // GDAL knows no authority of some systems by itself.
        const auto authority = [](const OGRSpatialReference& system) {
            const char* const name = system.GetAuthorityName(nullptr);
            return name == nullptr ? std::string()
                                   : std::string(name) + ':' + system.GetAuthorityCode(nullptr);
        };
        EXPECT_EQ(authority(*found), authority(expected));
        const char* const options[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", nullptr};
        EXPECT_TRUE(found->IsSame(&expected, options)) << crs;
        EXPECT_STREQ(found->GetName(), expected.GetName());
        EXPECT_EQ(found->GetDataAxisToSRSAxisMapping()[0],
                  expected.EPSGTreatsAsLatLong() != 0 ? 2 : 1)
            << crs;
    }
}

TEST(FlatGeobuf, HoldsAsManyColumnsAsTheFormatCanNumber)
{
    const TemporaryFolder folder;
    for (const std::size_t count : {FlatGeobuf::kMostFields, FlatGeobuf::kMostFields + 1}) {
        BVectorLayer layer;
        std::vector<BColumnInfo> columns;
        for (std::size_t index = 0; index < count; ++index) {
            columns.push_back(
                {BString::FromUtf8("c" + std::to_string(index)), EVariantType::Int32});
        }
        {
            BFeatureAppender rows(layer.GetFeatures(), columns);
            for (std::size_t index = 0; index < count; ++index) {
                rows.AddInt32(static_cast<std::int32_t>(index));
            }
            rows.EndRow(EPointKind::XY, 1, 2, 0, 1);
        }
        const TargetRequest request = RequestFor(folder);
        if (count > FlatGeobuf::kMostFields) {
            try {
                static_cast<void>(Write(layer, request));
                FAIL() << "nothing was thrown";
            } catch (const ImportFailure& failure) {
                EXPECT_TRUE(failure.Is("too-many-columns"));
                EXPECT_EQ(failure.GetFields().cause,
                          "The format holds at most 65536 columns, and there are 65537.");
            }
            continue;
        }
        EXPECT_EQ(Write(layer, request).rows, 1U);
        const Dataset dataset = Open(request.out);
        const std::unique_ptr<OGRFeature> feature(dataset->GetLayer(0)->GetNextFeature());
        ASSERT_NE(feature, nullptr);
        ASSERT_EQ(feature->GetFieldCount(), 65536);
        for (int index = 0; index < 65536; ++index) {
            ASSERT_EQ(feature->GetFieldAsInteger(index), index);
        }
    }
}

std::string FailureOf(const std::function<void()>& work)
{
    try {
        work();
    } catch (const WriteFailure& failure) {
        return failure.what();
    }
    return "nothing was thrown";
}

TEST(FlatGeobuf, RefusesAHeaderThatNobodyReads)
{
    const TemporaryFolder folder;
    FlatGeobuf::LayerDefinition layer;
    for (int index = 0; index < 12; ++index) {
        layer.fields.push_back({std::string(std::size_t{1} << 20U, 'n'), EVariantType::Int32});
    }
    EXPECT_EQ(FailureOf([&] { FlatGeobufWriter(folder.Path() / "a.fgb", layer, {}); }),
              "Making the file: the names of the columns make a header of 12583280 bytes; readers "
              "accept 10485760");
}

TEST(FlatGeobuf, RefusesARowThatIsLongerThanTheFormatHolds)
{
    // The bytes of the row are never looked at.
    const TemporaryFolder folder;
    FlatGeobufWriter writer(folder.Path() / "a.fgb", TextLayer(), {});
    const std::string_view tooLong("", std::size_t{1} << 31U);
    const std::string expected = "Writing rows: a row of 2147483648 bytes is longer than the 2 GiB "
                                 "that the format holds";
    EXPECT_EQ(FailureOf([&] { writer.AddPoint({1, 2, 0}, tooLong); }), expected);
    EXPECT_EQ(FailureOf([&] { writer.AddWithoutPoint(tooLong); }), expected);
}

TEST(FlatGeobuf, LeavesFilesThatAreThereAlone)
{
    const TemporaryFolder folder;
    std::ofstream(folder.Path() / "a.fgb") << "old";
    EXPECT_EQ(FailureOf([&] { FlatGeobufWriter(folder.Path() / "a.fgb", {}, {}); }),
              "Making the file: File exists");
    EXPECT_EQ(Content(folder.Path() / "a.fgb"), "old");
}

/// Lets files of this process grow to so many bytes at most, while it exists.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t most)
    {
        getrlimit(RLIMIT_FSIZE, &m_old);
        rlimit limit = m_old;
        limit.rlim_cur = most;
        setrlimit(RLIMIT_FSIZE, &limit);
        m_oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    }

    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, m_oldHandler);
    }

    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_old{};
    void (*m_oldHandler)(int) = nullptr;
};

void WriteManyRows(const std::filesystem::path& file, FlatGeobufWriter::Options options)
{
    FlatGeobufWriter writer(file, TextLayer(), std::move(options));
    for (int row = 0; row < 60000; ++row) {
        const std::string properties = TextProperties(std::to_string(row));
        if (row % 4 == 3) {
            writer.AddWithoutPoint(properties);
        } else {
            writer.AddPoint({std::fmod(row * 0.61803398875, 1), row * 1.0, 0}, properties);
        }
    }
    writer.Finish();
}

TEST(FlatGeobuf, EndsWithTheSystemsReasonWhenAFileCannotGrow)
{
    const TemporaryFolder whole;
    FlatGeobufWriter::Options options;
    options.memory = 500000;
    WriteManyRows(whole.Path() / "rows.fgb", options);
    const auto size = static_cast<rlim_t>(std::filesystem::file_size(whole.Path() / "rows.fgb"));
    std::size_t inRows = 0;
    std::size_t inIndex = 0;
    for (rlim_t most = 0; most < size; most += size / 24 + 1) {
        const TemporaryFolder folder;
        std::string failure;
        {
            const FileSizeLimit limit(most);
            failure = FailureOf([&] { WriteManyRows(folder.Path() / "rows.fgb", options); });
        }
        const bool isRows = failure == "Writing rows: writing a temporary file for the spatial "
                                       "index: File too large";
        const bool isIndex = failure == "Making the spatial index: File too large" ||
                             failure == "Making the spatial index: writing a temporary file for "
                                        "the spatial index: File too large";
        EXPECT_TRUE(isRows || isIndex) << most << ": " << failure;
        inRows += isRows ? 1U : 0U;
        inIndex += isIndex ? 1U : 0U;
        // What is left has the name that was given; the temporary files had none.
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
    }
    EXPECT_GT(inRows, 2U);
    EXPECT_GT(inIndex, 10U);
}

TEST(FlatGeobuf, PassesTheExceptionsOfItsCallerOn)
{
    // Which call throws; those of the rows come before those of Finish.
    std::size_t calls = 0;
    std::size_t callsOfFinish = 0;
    FlatGeobufWriter::Options options;
    options.memory = 500000;
    options.step = [&] { ++calls; };
    options.progress = [&](std::uint64_t) { ++callsOfFinish; };
    const TemporaryFolder counted;
    WriteManyRows(counted.Path() / "rows.fgb", options);
    EXPECT_GT(calls, 5U);
    EXPECT_GT(callsOfFinish, 10U);
    for (std::size_t last = 1; last <= calls + callsOfFinish; last += 1 + last / 4) {
        const TemporaryFolder folder;
        std::size_t made = 0;
        const auto count = [&] {
            if (++made == last) {
                throw std::runtime_error("enough");
            }
        };
        options.step = count;
        options.progress = [&](std::uint64_t) { count(); };
        EXPECT_THROW(WriteManyRows(folder.Path() / "rows.fgb", options), std::runtime_error);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 1);
    }
}

TEST(FlatGeobuf, TellsHowFarItIsWithItsRowsAndWithItsIndex)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    {
        BFeatureAppender rows(layer.GetFeatures(), {{"n", EVariantType::Int32}});
        for (std::uint32_t row = 0; row < 50000; ++row) {
            rows.AddInt32(static_cast<std::int32_t>(row));
            rows.EndRow(
                row % 5 == 0 ? EPointKind::None : EPointKind::XY, row % 97, row % 89, 0, row);
        }
    }
    std::vector<std::pair<Import::EPhase, std::uint64_t>> states;
    Callbacks callbacks;
    callbacks.interval = std::chrono::milliseconds(0);
    callbacks.progress = [&](const Import::ProgressState& state) {
        EXPECT_EQ(state.rowsTotal, 50000U);
        states.emplace_back(state.phase, state.rowsDone);
        return true;
    };
    static_cast<void>(Write(layer, RequestFor(folder), callbacks));
    EXPECT_TRUE(std::is_sorted(states.begin(), states.end(), [](const auto& a, const auto& b) {
        return a.first == b.first && a.second < b.second;
    }));
    const auto countOf = [&](Import::EPhase phase) {
        return std::count_if(states.begin(), states.end(), [phase](const auto& state) {
            return state.first == phase;
        });
    };
    EXPECT_GE(countOf(Import::EPhase::Writing), 12);
    EXPECT_GE(countOf(Import::EPhase::Indexing), 12);
    EXPECT_EQ(states.back(), std::make_pair(Import::EPhase::Indexing, std::uint64_t{50000}));

    // And stops at any of these calls, with the old file where it was.
    for (std::size_t last = 1; last <= states.size(); last += 3) {
        const TemporaryFolder other;
        const TargetRequest request = RequestFor(other);
        std::ofstream(request.out) << "old";
        std::size_t made = 0;
        callbacks.progress = [&](const Import::ProgressState&) { return ++made < last; };
        try {
            static_cast<void>(Write(layer, request, callbacks));
            ADD_FAILURE() << "nothing was thrown";
        } catch (const ImportFailure& failure) {
            EXPECT_TRUE(failure.Is("cancelled"));
        }
        EXPECT_EQ(Content(request.out), "old");
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(other.Path()), {}), 1);
    }
}

TEST(FlatGeobufCountFeatures, FindsWhatIsDamaged)
{
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "rows.fgb";
    FlatGeobufWriter writer(file, TextLayer(), {});
    constexpr std::size_t kRows = 100;
    for (std::size_t row = 0; row < kRows; ++row) {
        const auto place = static_cast<double>(row);
        writer.AddPoint({place, place, 0}, TextProperties("abcdefghij"));
    }
    writer.AddWithoutPoint(TextProperties("nowhere"));
    writer.Finish();
    const std::string whole = Content(file);
    const auto count = [&]() -> std::string {
        try {
            return std::to_string(CountFeatures(file).features);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    };
    const auto countOf = [&](const std::string& bytes) {
        std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
        return count();
    };
    EXPECT_EQ(countOf(whole), "101");
    EXPECT_EQ(countOf(""), "The file is no FlatGeobuf file.");
    EXPECT_EQ(countOf("x" + whole), "The file is no FlatGeobuf file.");
    EXPECT_EQ(countOf(whole.substr(0, 10)), "The file is cut short.");
    EXPECT_EQ(countOf(whole.substr(0, 30)), "The file is cut short.");
    EXPECT_EQ(countOf(whole.substr(0, whole.size() - 1)), "The file is cut short.");
    // A feature less, with the bytes of the last one gone from its size on.
    std::uint32_t size = 0;
    for (std::size_t end = whole.size(); size + 4 != whole.size() - end || size == 0; end -= 8) {
        std::memcpy(&size, whole.data() + end - 8, sizeof size);
        if (size + 4 == whole.size() - end + 8) {
            EXPECT_EQ(countOf(whole.substr(0, end - 8)),
                      "The header announces 101 features, and there are 100.");
            break;
        }
    }
    EXPECT_EQ(countOf(whole), "101");
    std::size_t found = 0;
    for (std::size_t at = 8; at < whole.size(); ++at) {
        std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
        const auto put = [&](char byte) {
            stream.seekp(static_cast<std::streamoff>(at)).put(byte).flush();
        };
        put(static_cast<char>(~whole[at]));
        const std::string counted = count();
        found += counted == "101" ? 0U : 1U;
        EXPECT_TRUE(counted == "101" || counted.find('.') != std::string::npos) << at << counted;
        put(whole[at]);
    }
    EXPECT_EQ(Content(file), whole);
    // What is not found is what the count does not look at: texts and inner nodes of the index.
    EXPECT_GT(found, whole.size() / 3);
}

} // namespace
