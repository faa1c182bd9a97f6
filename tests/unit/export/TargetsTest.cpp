// Layers as targets have them: values, nulls, dates, places, and counts of what was written.
#include <Orvane/BFeatureAppender.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/LayerCounts.h>
#include <Orvane/Import/Targets.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <support/TestFiles.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using namespace Orvane;
using Import::CountLayer;
using Import::ImportFailure;
using Import::LayerCounts;
using Import::OpenTarget;
using Import::Target;
using Import::TargetCounts;
using Import::TargetRequest;
using Import::WriteReport;
using TestSupport::TemporaryFolder;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string Content(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

/// What a program prints.
std::string OutputOf(const std::string& command)
{
    FILE* const pipe = popen(command.c_str(), "r");
    std::string output;
    std::array<char, 4096> buffer{};
    for (std::size_t count = 0; (count = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
        output.append(buffer.data(), count);
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

struct Written
{
    WriteReport report;
    TargetCounts counted;
    std::string content;
};

Written Write(const BVectorLayer& layer, TargetRequest request)
{
    Written written;
    const std::unique_ptr<Target> target = OpenTarget(request);
    written.report = target->Write(layer, CountLayer(layer), {});
    target->Commit();
    written.counted = target->CountWritten({});
    written.content = Content(request.out);
    EXPECT_EQ(written.counted.rows, written.report.rows);
    EXPECT_EQ(written.counted.points, written.report.points);
    return written;
}

TargetRequest RequestFor(const TemporaryFolder& folder, const std::string& name)
{
    TargetRequest request;
    request.out = folder.Name(name.c_str()).ToUtf8();
    return request;
}

const std::vector<BColumnInfo> kColumns = {{"n", EVariantType::Int32},
                                           {"big", EVariantType::Int64},
                                           {"v", EVariantType::Double},
                                           {"f", EVariantType::Float},
                                           {"b", EVariantType::Boolean},
                                           {"t", EVariantType::String},
                                           {"d", EVariantType::Date},
                                           {"m", EVariantType::Time},
                                           {"dm", EVariantType::DateTime}};

/// A row of values, one of nulls without a point, one of one value, one of empty values.
void Fill(BVectorLayer& layer)
{
    layer.SetName("rows");
    BFeatureAppender rows(layer.GetFeatures(), kColumns);
    rows.AddInt32(-7);
    rows.AddInt64(std::int64_t{1} << 40);
    rows.AddDouble(0.1);
    rows.AddFloat(0.25F);
    rows.AddBoolean(true);
    rows.AddText("caf\xE9", ETextEncoding::Latin1);
    rows.AddText("2018-01-28", ETextEncoding::Ascii);
    rows.AddText("13:03:22", ETextEncoding::Ascii);
    rows.AddText("2018-01-28T13:03:22", ETextEncoding::Ascii);
    rows.EndRow(EPointKind::XY, 1.5, -2.25, 0, 1);
    for (std::size_t index = 0; index < kColumns.size(); ++index) {
        rows.AddNull();
    }
    rows.EndRow(EPointKind::None, 0, 0, 0, 2);
    rows.AddInt32(9);
    rows.EndRow(EPointKind::XY, 3, 4, 0, 3);
    rows.AddInt32(0);
    rows.AddInt64(0);
    rows.AddDouble(5);
    rows.AddFloat(-0.0F);
    rows.AddBoolean(false);
    rows.AddText("", ETextEncoding::Ascii);
    rows.AddNull();
    rows.AddNull();
    rows.AddNull();
    rows.EndRow(EPointKind::XY, 179.9, 1e-7, 0, 4);
}

TEST(CsvTarget, TellsNullsFromEmptyTextsAndQuotesNothingElse)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    Fill(layer);
    const Written written = Write(layer, RequestFor(folder, "rows.csv"));
    EXPECT_EQ(written.content,
              "n,big,v,f,b,t,d,m,dm,X,Y\n"
              "-7,1099511627776,0.1,0.25,true,caf\u00E9,2018-01-28,13:03:22,2018-01-28T13:03:22,"
              "1.5,-2.25\n"
              ",,,,,,,,,,\n"
              "9,,,,,,,,,3,4\n"
              "0,0,5.0,-0.0,false,\"\",,,,179.9,1e-07\n");
    EXPECT_EQ(written.report.points, 3U);
    EXPECT_TRUE(written.report.losses.empty());
    EXPECT_TRUE(written.report.notes.empty());
}

TEST(CsvTarget, LeavesPlacesOutOfALayerWithoutGeometryAndNamesOutWhenTold)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    Fill(layer);
    TargetRequest request = RequestFor(folder, "rows.csv");
    request.hasGeometry = false;
    request.hasNames = false;
    const Written written = Write(layer, request);
    EXPECT_EQ(written.content.substr(0, 30), "-7,1099511627776,0.1,0.25,true");
    EXPECT_NE(written.content.find("\n0,0,5.0,-0.0,false,\"\",,,\n"), std::string::npos);
    EXPECT_EQ(written.report.rows, 4U);
    EXPECT_EQ(written.report.points, 0U);
}

/// A layer of one column of texts; a null for each null pointer.
void FillTexts(BVectorLayer& layer, const std::vector<const char*>& texts)
{
    BFeatureAppender rows(layer.GetFeatures(), {{"t", EVariantType::String}});
    std::uint32_t number = 0;
    for (const char* text : texts) {
        if (text == nullptr) {
            rows.AddNull();
        } else {
            rows.AddText(text, ETextEncoding::Utf8);
        }
        rows.EndRow(EPointKind::None, 0, 0, 0, ++number);
    }
}

TEST(CsvTarget, QuotesACellThatHoldsASeparatorAQuoteOrALineEnd)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    FillTexts(layer,
              {"plain",
               " blanks ",
               "a,b",
               "12345678,",
               "say \"yes\"",
               "\"",
               "two\nlines",
               "12345678\r",
               "",
               "caf\u00E9; 'x'\t#"});
    EXPECT_EQ(Write(layer, RequestFor(folder, "texts.csv")).content,
              "t,X,Y\n"
              "plain,,\n"
              " blanks ,,\n"
              "\"a,b\",,\n"
              "\"12345678,\",,\n"
              "\"say \"\"yes\"\"\",,\n"
              "\"\"\"\",,\n"
              "\"two\nlines\",,\n"
              "\"12345678\r\",,\n"
              ",,\n"
              "caf\u00E9; 'x'\t#,,\n");
}

TEST(CsvTarget, WritesNoEmptyLineInAFileOfOneColumn)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    FillTexts(layer, {"a", nullptr, "", "b"});
    TargetRequest request = RequestFor(folder, "one.csv");
    request.hasGeometry = false;
    const Written written = Write(layer, request);
    EXPECT_EQ(written.content, "t\na\n\"\"\n\"\"\nb\n");
    EXPECT_EQ(written.report.rows, 4U);
}

TEST(CsvTarget, WritesNumbersThatAreNotFiniteAsWords)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    {
        BFeatureAppender rows(layer.GetFeatures(), {{"v", EVariantType::Double}});
        for (const double value : {kNaN, kInfinity, -kInfinity, 1e300, 1e22, 123456789012.0}) {
            rows.AddDouble(value);
            rows.EndRow(EPointKind::XYZ, 1, 2, value, 1);
        }
    }
    EXPECT_EQ(Write(layer, RequestFor(folder, "v.csv")).content,
              "v,X,Y,Z\nnan,1,2,nan\ninf,1,2,inf\n-inf,1,2,-inf\n1e+300,1,2,1e+300\n"
              "1e+22,1,2,1e+22\n123456789012.0,1,2,123456789012\n");
}

TEST(GeoJsonTarget, WritesACollectionWithTheBoxAroundItsPoints)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    Fill(layer);
    const Written written = Write(layer, RequestFor(folder, "rows.geojson"));
    EXPECT_EQ(
        written.content,
        "{\n\"type\":\"FeatureCollection\",\n\"name\":\"rows\",\n\"features\":[\n"
        "{\"type\":\"Feature\",\"properties\":{\"n\":-7,\"big\":1099511627776,\"v\":0.1,\"f\":0.25,"
        "\"b\":true,\"t\":\"caf\u00E9\",\"d\":\"2018-01-28\",\"m\":\"13:03:22\","
        "\"dm\":\"2018-01-28T13:03:22\"},"
        "\"geometry\":{\"type\":\"Point\",\"coordinates\":[1.5,-2.25]}},\n"
        "{\"type\":\"Feature\",\"properties\":{\"n\":null,\"big\":null,\"v\":null,\"f\":null,"
        "\"b\":null,\"t\":null,\"d\":null,\"m\":null,\"dm\":null},\"geometry\":null},\n"
        "{\"type\":\"Feature\",\"properties\":{\"n\":9,\"big\":null,\"v\":null,\"f\":null,"
        "\"b\":null,\"t\":null,\"d\":null,\"m\":null,\"dm\":null},"
        "\"geometry\":{\"type\":\"Point\",\"coordinates\":[3,4]}},\n"
        "{\"type\":\"Feature\",\"properties\":{\"n\":0,\"big\":0,\"v\":5.0,\"f\":-0.0,"
        "\"b\":false,\"t\":\"\",\"d\":null,\"m\":null,\"dm\":null},"
        "\"geometry\":{\"type\":\"Point\",\"coordinates\":[179.9,1e-07]}}\n"
        "],\n\"bbox\":[1.5,-2.25,179.9,4]\n}\n");
    EXPECT_EQ(written.report.points, 3U);
    EXPECT_TRUE(written.report.losses.empty());
}

TEST(GeoJsonTarget, WritesSequencesWithAndWithoutARecordSeparator)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    FillTexts(layer, {"a", nullptr});
    const std::string a = "{\"type\":\"Feature\",\"properties\":{\"t\":\"a\"},\"geometry\":null}\n";
    const std::string b = "{\"type\":\"Feature\",\"properties\":{\"t\":null},\"geometry\":null}\n";
    EXPECT_EQ(Write(layer, RequestFor(folder, "t.geojsonl")).content, a + b);
    EXPECT_EQ(Write(layer, RequestFor(folder, "t.geojsons")).content, "\x1E" + a + "\x1E" + b);
}

TEST(GeoJsonTarget, IsAWholeTextWithoutRowsAndWithoutColumns)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    EXPECT_EQ(Write(layer, RequestFor(folder, "none.geojson")).content,
              "{\n\"type\":\"FeatureCollection\",\n\"name\":\"layer\",\n\"features\":[\n]\n}\n");
    BFeatureAppender rows(layer.GetFeatures(), {});
    rows.EndRow(EPointKind::XYZ, 1, 2, 3, 1);
    EXPECT_EQ(Write(layer, RequestFor(folder, "one.geojson")).content,
              "{\n\"type\":\"FeatureCollection\",\n\"name\":\"layer\",\n\"features\":[\n"
              "{\"type\":\"Feature\",\"properties\":{},"
              "\"geometry\":{\"type\":\"Point\",\"coordinates\":[1,2,3]}}\n"
              "],\n\"bbox\":[1,2,3,1,2,3]\n}\n");
}

TEST(GeoJsonTarget, HasNoPlacesOfALayerWithoutGeometry)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    Fill(layer);
    TargetRequest request = RequestFor(folder, "rows.geojson");
    request.crs = "EPSG:25832";
    request.hasGeometry = false;
    const Written written = Write(layer, request);
    EXPECT_EQ(written.content.find("Point"), std::string::npos);
    EXPECT_EQ(written.content.find("bbox"), std::string::npos);
    EXPECT_EQ(written.content.find("crs"), std::string::npos);
    EXPECT_EQ(written.report.points, 0U);
}

TEST(GeoJsonTarget, CountsNumbersThatAreNotFiniteAndPointsWithoutAPlace)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    {
        BFeatureAppender rows(layer.GetFeatures(),
                              {{"v", EVariantType::Double}, {"f", EVariantType::Float}});
        rows.AddDouble(kNaN);
        rows.AddFloat(std::numeric_limits<float>::infinity());
        rows.EndRow(EPointKind::XY, kNaN, 1, 0, 1);
        rows.AddNull();
        rows.AddNull();
        rows.EndRow(EPointKind::XYZ, 1, 1, kNaN, 2);
    }
    const Written written = Write(layer, RequestFor(folder, "v.geojsonl"));
    EXPECT_EQ(written.content,
              "{\"type\":\"Feature\",\"properties\":{\"v\":null,\"f\":null},\"geometry\":null}\n"
              "{\"type\":\"Feature\",\"properties\":{\"v\":null,\"f\":null},"
              "\"geometry\":{\"type\":\"Point\",\"coordinates\":[1,1]}}\n");
    // A null of the layer is no loss.
    ASSERT_EQ(written.report.losses.size(), 2U);
    EXPECT_EQ(written.report.losses[0].code, "not-finite");
    EXPECT_EQ(written.report.losses[0].count, 2U);
    EXPECT_EQ(written.report.losses[1].code, "no-place");
    EXPECT_EQ(written.report.losses[1].count, 1U);
}

TEST(GeoJsonTarget, EscapesWhatJsonCannotHold)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    constexpr std::u16string_view kLone = u"lone \xD800 and \xDC00.";
    {
        BFeatureAppender rows(layer.GetFeatures(), {{"t \"\\\n", EVariantType::String}});
        const auto add = [&rows](std::string_view text, ETextEncoding encoding) {
            rows.AddText(text, encoding);
            rows.EndRow(EPointKind::None, 0, 0, 0, 1);
        };
        add("quote \" backslash \\ slash /", ETextEncoding::Ascii);
        add("1234567\n\r\t\b\x01\x1F\x7F", ETextEncoding::Ascii);
        add({"nul \0.", 6}, ETextEncoding::Ascii);
        add("\u00E9\u20AC\U0001F600\u2028", ETextEncoding::Utf8);
        add({reinterpret_cast<const char*>(kLone.data()), kLone.size() * 2}, ETextEncoding::Utf16);
    }
    const Written written = Write(layer, RequestFor(folder, "t.geojsonl"));
    const std::string begin = "{\"type\":\"Feature\",\"properties\":{\"t \\\"\\\\\\n\":\"";
    const std::string end = "\"},\"geometry\":null}\n";
    EXPECT_EQ(written.content,
              begin + R"(quote \" backslash \\ slash /)" + end + begin +
                  R"(1234567\n\r\t\u0008\u0001\u001f)" + "\x7F" + end + begin + "nul \uFFFD." +
                  end + begin + "\u00E9\u20AC\U0001F600\u2028" + end + begin +
                  "lone \uFFFD and \uFFFD." + end);
    ASSERT_EQ(written.report.losses.size(), 1U);
    EXPECT_EQ(written.report.losses[0].code, "nul");
}

TEST(GeoJsonTarget, NamesAnotherSystemAndSequencesAreInWgs84)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    {
        BFeatureAppender rows(layer.GetFeatures(), {});
        rows.EndRow(EPointKind::XY, 500000, 0, 0, 1);
        rows.EndRow(EPointKind::None, 0, 0, 0, 2);
        rows.EndRow(EPointKind::XYZ, 500000, 0, 12, 3);
    }
    const auto object = MakeShared<BFeature>();
    object->SetGeometry(MakeShared<BPointGeo>(500000, 0));
    layer.GetFeatures().Add(object);
    EXPECT_EQ(layer.GetFeatures().GetObjectRowCount(), 1U);
    TargetRequest request = RequestFor(folder, "utm.geojson");
    request.crs = "EPSG:25832";
    const std::string collection = Write(layer, request).content;
    EXPECT_NE(collection.find(
                  R"("crs":{"type":"name","properties":{"name":"urn:ogc:def:crs:EPSG::25832"}})"),
              std::string::npos);
    EXPECT_NE(collection.find("[500000,0]"), std::string::npos);
    request.out = folder.Name("utm.geojsonl").ToUtf8();
    const Written sequence = Write(layer, request);
    const auto countOf = [&](const char* text) {
        std::size_t count = 0;
        for (std::size_t at = 0; (at = sequence.content.find(text, at)) != std::string::npos;
             ++at) {
            ++count;
        }
        return count;
    };
    EXPECT_EQ(countOf("\"coordinates\":[9,0]"), 2U) << sequence.content;
    EXPECT_EQ(countOf("\"coordinates\":[9,0,12]"), 1U) << sequence.content;
    EXPECT_EQ(sequence.report.points, 3U);
    request.crs = "EPSG:4326";
    EXPECT_NE(Write(layer, request).content.find("[500000,0]"), std::string::npos);
}

TEST(TextTargets, WriteObjectsBesideThePagesAndTextsInNumberFields)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    BAttributeDefs schema;
    for (const EVariantType type : {EVariantType::Int64, EVariantType::Double}) {
        BAttributeDef def;
        def.SetName(type == EVariantType::Int64 ? "i" : "r");
        def.SetType(type);
        schema.Add(def);
    }
    layer.SetSchema(schema);
    {
        BFeatureAppender rows(layer.GetFeatures(),
                              {{"i", EVariantType::String}, {"r", EVariantType::String}});
        for (const char* text : {"1,234", "x", ""}) {
            rows.AddText(text, ETextEncoding::Ascii);
            rows.AddText("2.5 m", ETextEncoding::Ascii);
            rows.EndRow(EPointKind::XY, 1, 2, 0, 1);
        }
    }
    layer.GetFeatures().GetAt(0)->SetAttributeValue(1, BVariant());
    const Written csv = Write(layer, RequestFor(folder, "o.csv"));
    EXPECT_EQ(csv.content, "i,r,X,Y\n1234,,1,2\n,2.5,1,2\n,2.5,1,2\n");
    ASSERT_EQ(csv.report.losses.size(), 1U);
    EXPECT_EQ(csv.report.losses[0].code, "not-an-integer");
    EXPECT_EQ(csv.report.losses[0].count, 1U);
    EXPECT_EQ(csv.report.losses[0].field, "i");
    EXPECT_NE(Write(layer, RequestFor(folder, "o.geojson")).content.find(R"("i":1234,"r":null)"),
              std::string::npos);
}

TEST(TextTargets, WriteTextsLongerThanTheirBuffer)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    const std::string longText(3000000, 'x');
    const std::string longQuoted(3000000, '"');
    FillTexts(layer, {longText.c_str(), longQuoted.c_str(), "end"});
    EXPECT_EQ(Write(layer, RequestFor(folder, "long.csv")).content,
              "t,X,Y\n" + longText + ",,\n\"" + longQuoted + longQuoted + "\",,\nend,,\n");
    const std::string json = Write(layer, RequestFor(folder, "long.geojsonl")).content;
    const std::string begin = "{\"type\":\"Feature\",\"properties\":{\"t\":\"";
    const std::string end = "\"},\"geometry\":null}\n";
    std::string escaped;
    for (std::size_t index = 0; index < longQuoted.size(); ++index) {
        escaped += "\\\"";
    }
    EXPECT_TRUE(json == begin + longText + end + begin + escaped + end + begin + "end" + end);
}

class TargetsOfAllFormats : public testing::TestWithParam<const char*>
{};

INSTANTIATE_TEST_SUITE_P(
    ,
    TargetsOfAllFormats,
    testing::Values("gpkg", "fgb", "geojson", "geojsonl", "geojsons", "shp", "csv"),
    [](const auto& extension) { return std::string(extension.param); });

TEST_P(TargetsOfAllFormats, HaveNullsWhereTheLayerHasThemAndLoseNoneOfItsRows)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    Fill(layer);
    const std::string extension = GetParam();
    const Written written = Write(layer, RequestFor(folder, "rows." + extension));
    EXPECT_EQ(written.report.rows, 4U);
    EXPECT_EQ(written.report.points, 3U);
    EXPECT_TRUE(written.report.losses.empty()) << "a null is no loss";
    if (extension == "csv") {
        return; // its bytes are compared above
    }
    const std::string list =
        OutputOf("ogrinfo -ro -al -q " + folder.Name(("rows." + extension).c_str()).ToUtf8());
    const auto countOf = [&list](const char* text) {
        std::size_t count = 0;
        for (std::size_t at = 0; (at = list.find(text, at)) != std::string::npos; ++at) {
            ++count;
        }
        return count;
    };
    EXPECT_EQ(countOf("OGRFeature("), written.report.rows);
    EXPECT_EQ(countOf("  POINT "), 3U);
    EXPECT_EQ(countOf(" = 2018/01/28 13:03:22"), extension == "shp" ? 0U : 1U) << list;
    EXPECT_NE(list.find("13:03:22"), std::string::npos);
    // A null of a FlatGeobuf file has no bytes, and nothing is listed for it.
    const std::size_t listedNulls = extension == "fgb" ? 0 : 1;
    EXPECT_EQ(countOf("n (Integer"), 3 + listedNulls) << list;
    EXPECT_EQ(countOf("n (Integer) = (null)") + countOf("n (Integer(10.0)) = (null)"), listedNulls)
        << list;
    EXPECT_EQ(countOf("d (Date) = 2018/01/28\n") + countOf("d (String) = 2018-01-28\n"), 1U)
        << list;
}

TEST_P(TargetsOfAllFormats, HoldAttributesAloneWithoutGeometry)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    Fill(layer);
    const std::string extension = GetParam();
    TargetRequest request = RequestFor(folder, "rows." + extension);
    request.hasGeometry = false;
    const Written written = Write(layer, request);
    EXPECT_EQ(written.report.rows, 4U);
    EXPECT_EQ(written.report.points, 0U);
    EXPECT_TRUE(written.report.losses.empty());
    const std::string list =
        OutputOf("ogrinfo -ro -al -q " + folder.Name(("rows." + extension).c_str()).ToUtf8());
    std::size_t features = 0;
    for (std::size_t at = 0; (at = list.find("OGRFeature(", at)) != std::string::npos; ++at) {
        ++features;
    }
    EXPECT_EQ(features, 4U) << list;
    EXPECT_EQ(list.find("POINT"), std::string::npos) << list;
}

TEST_P(TargetsOfAllFormats, DoNotCountAFileThatWasCut)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    {
        BFeatureAppender rows(layer.GetFeatures(), {{"n", EVariantType::Int32}});
        for (std::uint32_t row = 0; row < 20000; ++row) {
            rows.AddInt32(static_cast<std::int32_t>(row));
            rows.EndRow(EPointKind::XY, row % 180, row % 90, 0, row);
        }
    }
    const TargetRequest request = RequestFor(folder, std::string("rows.") + GetParam());
    const std::unique_ptr<Target> target = OpenTarget(request);
    static_cast<void>(target->Write(layer, CountLayer(layer), {}));
    target->Commit();
    EXPECT_EQ(target->CountWritten({}).rows, 20000U);
    std::filesystem::resize_file(request.out, std::filesystem::file_size(request.out) / 2 + 1);
    try {
        EXPECT_NE(target->CountWritten({}).points, 20000U);
    } catch (const ImportFailure& failure) {
        EXPECT_TRUE(failure.Is("output-write"));
        EXPECT_EQ(failure.GetFields().what, "The output that was written cannot be read back.");
        EXPECT_FALSE(failure.GetFields().cause.empty());
    }
    std::filesystem::remove(request.out);
    EXPECT_THROW(static_cast<void>(target->CountWritten({})), ImportFailure);
}

/// Sends what is written to standard output into a file meanwhile.
class RedirectedOutput
{
public:
    explicit RedirectedOutput(const std::string& file)
        : m_saved(dup(STDOUT_FILENO))
    {
        std::fflush(stdout);
        const int target = open(file.c_str(), O_WRONLY | O_CREAT, 0600);
        EXPECT_NE(target, -1);
        dup2(target, STDOUT_FILENO);
        close(target);
    }

    ~RedirectedOutput()
    {
        dup2(m_saved, STDOUT_FILENO);
        close(m_saved);
    }

    RedirectedOutput(const RedirectedOutput&) = delete;
    RedirectedOutput& operator=(const RedirectedOutput&) = delete;

private:
    int m_saved;
};

/// "code count field" of each loss, one per line.
std::string LossesOf(const BVectorLayer& layer, const TargetRequest& request, bool hasNoOffsets)
{
    LayerCounts counts = CountLayer(layer);
    counts.withoutOffsets.assign(hasNoOffsets ? 1 : 0, true);
    std::string losses;
    for (const Import::Loss& loss : OpenTarget(request)->Write(layer, counts, {}).losses) {
        losses += loss.code + " " + std::to_string(loss.count) + " " + loss.field + "\n";
    }
    return losses;
}

TEST(GdalTarget, CountsHeightsAndOffsetsThatItsFormatDoesNotHold)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    layer.SetName("rows");
    BFeatureAppender rows(layer.GetFeatures(), {{"at", EVariantType::DateTime}});
    rows.AddText("2018-01-28T13:03:22Z", ETextEncoding::Ascii);
    rows.EndRow(EPointKind::XYZ, 1.5, 2.5, 7.25, 1);
    rows.AddText("2018-01-28T13:03:22", ETextEncoding::Ascii);
    rows.EndRow(EPointKind::XY, 3.5, 4.5, 0, 2);
    EXPECT_EQ(LossesOf(layer, RequestFor(folder, "rows.mif"), false), "height 1 \n");
    EXPECT_EQ(LossesOf(layer, RequestFor(folder, "rows.mif"), true), "offset 1 at\nheight 1 \n");
    EXPECT_EQ(LossesOf(layer, RequestFor(folder, "rows.shp"), false), "height-as-zero 1 \n");
    EXPECT_EQ(LossesOf(layer, RequestFor(folder, "rows.sqlite"), true), "");
}

TEST(StandardOutputTarget, WritesTheBytesOfAFileAndCountsThemAsTheyLeave)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    Fill(layer);
    for (const auto& [name, format] : {std::pair("rows.csv", "csv"),
                                       std::pair("rows.geojson", "GeoJSON"),
                                       std::pair("rows.geojsonl", "geojsonseq"),
                                       std::pair("rows.geojsons", ".geojsons")}) {
        const Written expected = Write(layer, RequestFor(folder, name));
        const std::string shown = folder.Name("shown").ToUtf8();
        std::filesystem::remove(shown);
        TargetRequest request;
        request.out = "-";
        request.format = format;
        const std::unique_ptr<Target> target = OpenTarget(request);
        WriteReport report;
        {
            const RedirectedOutput redirected(shown);
            report = target->Write(layer, CountLayer(layer), {});
            target->Commit();
        }
        EXPECT_EQ(Content(shown), expected.content) << name;
        EXPECT_EQ(report.rows, 4U);
        EXPECT_EQ(target->CountWritten({}).rows, 4U);
        EXPECT_EQ(target->CountWritten({}).points, 3U);
        EXPECT_EQ(target->GetName(), "-");
    }
}

TEST(StandardOutputTarget, TellsWhyItCannotBeWritten)
{
    BVectorLayer layer;
    Fill(layer);
    TargetRequest request;
    request.out = "-";
    request.format = "CSV";
    const std::unique_ptr<Target> target = OpenTarget(request);
    const RedirectedOutput redirected("/dev/full");
    try {
        static_cast<void>(target->Write(layer, CountLayer(layer), {}));
        FAIL() << "nothing was thrown";
    } catch (const ImportFailure& failure) {
        EXPECT_TRUE(failure.Is("output-write"));
        EXPECT_EQ(failure.GetFields().cause, "Writing the file: No space left on device");
        EXPECT_EQ(failure.GetFields().file, "-");
    }
}

/// A field may have the name that SQLite gives the number of a row.
TEST(GeoPackageTarget, CountsRowsWhateverAFieldCalledRowidHolds)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    BFeatureAppender rows(layer.GetFeatures(), {{"rowid", EVariantType::Int32}});
    // More than are counted at once.
    constexpr std::uint32_t kRows = 150'000;
    for (std::uint32_t number = 1; number <= kRows; ++number) {
        if (number % 3 == 0) {
            rows.AddNull();
        } else {
            rows.AddInt32(7);
        }
        rows.EndRow(number % 2 == 0 ? EPointKind::XY : EPointKind::None, 1, 2, 0, number);
    }
    const Written written = Write(layer, RequestFor(folder, "rows.gpkg"));
    EXPECT_EQ(written.counted.rows, kRows);
    EXPECT_EQ(written.counted.points, kRows / 2);
}

TEST(TargetFormat, IsWhatIsAskedForWhateverTheExtension)
{
    const TemporaryFolder folder;
    BVectorLayer layer;
    FillTexts(layer, {"a"});
    TargetRequest request = RequestFor(folder, "rows.txt");
    request.format = "GEOJSONSEQ";
    EXPECT_EQ(Write(layer, request).content,
              "{\"type\":\"Feature\",\"properties\":{\"t\":\"a\"},\"geometry\":null}\n");
}

struct RefusedFormat
{
    const char* name;
    const char* out;
    const char* format;
    const char* what;
};

void PrintTo(const RefusedFormat& row, std::ostream* out)
{
    *out << row.name;
}

class TargetFormatRefuses : public testing::TestWithParam<RefusedFormat>
{};

INSTANTIATE_TEST_SUITE_P(
    ,
    TargetFormatRefuses,
    testing::Values(
        RefusedFormat{"StandardOutputWithoutAFormat",
                      "-",
                      "",
                      "Standard output needs the name of a text format: CSV, GeoJSON or "
                      "GeoJSONSeq."},
        RefusedFormat{"ADatabaseOnStandardOutput",
                      "-",
                      "GPKG",
                      "Standard output needs the name of a text format: CSV, GeoJSON or "
                      "GeoJSONSeq."},
        RefusedFormat{"AFormatThatThereIsNot",
                      "a.csv",
                      "KLM",
                      "There is no format 'KLM'; the formats are GPKG, FlatGeobuf, GeoJSON, "
                      "GeoJSONSeq, ESRI Shapefile, CSV, and those of GDAL."}),
    TestSupport::CaseName());

TEST_P(TargetFormatRefuses, ByItsWords)
{
    TargetRequest request;
    request.out = GetParam().out;
    request.format = GetParam().format;
    try {
        static_cast<void>(OpenTarget(request));
        FAIL() << "nothing was thrown";
    } catch (const ImportFailure& failure) {
        EXPECT_TRUE(failure.Is("unknown-format"));
        EXPECT_EQ(failure.GetFields().what, GetParam().what);
        EXPECT_FALSE(failure.GetFields().nearest.empty());
    }
}

TEST(CountLayer, CountsNullsByColumn)
{
    BVectorLayer layer;
    Fill(layer);
    const LayerCounts counts = CountLayer(layer);
    EXPECT_EQ(counts.nulls, (std::vector<std::uint64_t>{1, 2, 2, 2, 2, 2, 3, 3, 3}));
    ASSERT_EQ(counts.fieldsBeyondSchema.size(), kColumns.size());
    for (std::size_t index = 0; index < kColumns.size(); ++index) {
        EXPECT_EQ(counts.fieldsBeyondSchema[index].type, kColumns[index].type) << index;
    }
    // A row that stands as an object counts by its own values.
    layer.GetFeatures().GetAt(0)->SetAttributeValue(0, BVariant());
    layer.GetFeatures().GetAt(1)->SetAttributeValue(1, BVariant(std::int64_t{1}));
    EXPECT_EQ(CountLayer(layer).nulls, (std::vector<std::uint64_t>{2, 1, 2, 2, 2, 2, 3, 3, 3}));
}

} // namespace
