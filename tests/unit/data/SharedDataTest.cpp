// Rows, points and failures of real files, from a folder of test data outside of this project.
#include "reader/BAsciiReader.h"
#include "support/DataFolder.h"
#include "support/TestFiles.h"

#include <Orvane/BFeature.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

using AsciiReader::BAsciiReader;
using Orvane::BString;
using TestSupport::CatchFailure;
using TestSupport::DataFolder;
using TestSupport::Describe;
using TestSupport::Failure;
using TestSupport::HasDataFolder;
using TestSupport::LeaksByRule;
using TestSupport::Options;
using TestSupport::Texts;

template <typename Case>
std::vector<Case> CasesWhenThereIsData(std::vector<Case> cases)
{
    if (!HasDataFolder()) {
        cases.clear();
    }
    return cases;
}

TEST(SharedData, IsThereOrSaysThatItIsNot)
{
    if (HasDataFolder()) {
        std::printf("test data: %s\n", DataFolder().c_str());
    } else {
        std::printf("no test data at %s: its files are not read; ORVANE_TEST_DATA names another "
                    "folder\n",
                    DataFolder().c_str());
    }
    EXPECT_EQ(std::getenv("ORVANE_TEST_DATA") != nullptr && !HasDataFolder(), false)
        << "ORVANE_TEST_DATA names no folder";
}

BString PathOf(const char* file)
{
    return BString((DataFolder() / file).string());
}

std::string BytesOf(const char* file)
{
    std::ifstream stream(DataFolder() / file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// A row without geometry is a row whose coordinates are empty or not plain numbers.
struct ReadCase
{
    const char* name;
    const char* file;
    Options options;
    std::size_t rows;
    std::size_t points;
    std::size_t columns;
    /// First and last point as "(x y z)"; "(-)" without one.
    const char* first;
    const char* last;
};

void PrintTo(const ReadCase& readCase, std::ostream* stream)
{
    *stream << readCase.file;
}

class SharedDataRead : public testing::TestWithParam<ReadCase>
{};

std::string PointText(const Orvane::BFeature& feature)
{
    const std::string text = Describe(feature);
    const std::size_t begin = text.find('(');
    return text.substr(begin, text.find(')') + 1 - begin);
}

TEST_P(SharedDataRead, GivesRowsAndPoints)
{
    const ReadCase& param = GetParam();
    const BString path = PathOf(param.file);
    BAsciiReader reader(path, param.options);
    reader.Open(path, param.options);
    reader.Read();
    EXPECT_EQ(reader.GetFailureFlag(), 0);
    Orvane::BVectorLayer& layer = *reader.GetLayers().GetAt(0);
    EXPECT_EQ(layer.GetSchema().GetCount(), param.columns);
    ASSERT_EQ(layer.GetFeatures().GetCount(), param.rows);
    std::size_t points = 0;
    for (std::size_t row = 0; row < param.rows; ++row) {
        points += layer.GetFeatures().GetAt(row)->GetPoint() != nullptr ? 1U : 0U;
    }
    EXPECT_EQ(points, param.points);
    EXPECT_EQ(PointText(*layer.GetFeatures().GetAt(0)), param.first);
    EXPECT_EQ(PointText(*layer.GetFeatures().GetAt(param.rows - 1)), param.last);
    reader.Close();
}

Options Plain()
{
    return Options();
}

Options XY(std::int32_t xIndex, std::int32_t yIndex)
{
    return Options().XY(xIndex, yIndex);
}

Options XYZ(std::int32_t xIndex, std::int32_t yIndex, std::int32_t zIndex)
{
    return Options().XYZ(xIndex, yIndex, zIndex);
}

Options Codec(Options options, const char* name)
{
    return options.Set("CODEC", BString(name));
}

Options Cut(Options options, const char* separator)
{
    return options.Set(Orvane::ASCII_SEPARATOR, BString(separator));
}

Options CommentLines(Options options)
{
    return options.Set(Orvane::ASCII_HEADER_IDENTIFIER, Texts{"#"});
}

Options Formats(Options options, const char* format)
{
    return options.Set(Orvane::X_COORDINATE_FORMAT, BString(format))
        .Set(Orvane::Y_COORDINATE_FORMAT, BString(format));
}

std::vector<ReadCase> ReadCases()
{
    return {
        {"Earthquakes",
         "earthquakes.txt",
         XYZ(2, 1, 3).Names(),
         1197,
         1197,
         19,
         "(-93.715 15.0678 69.65)",
         "(-126.71 43.4329 10)"},
        {"AirportsWithoutHeader",
         "airports_noheader.txt",
         XYZ(4, 5, 6),
         9967,
         9967,
         4,
         "(-70.015221 12.501389 60)",
         "(30.242308 -16.910136 4078)"},
        // Thirteen rows have no height, and an empty coordinate drops the point.
        {"VolcanoesLatin1",
         "volcanoes_latin1.csv",
         XYZ(5, 4, 6).Names(),
         1571,
         1558,
         7,
         "(131.6 34.5 571)",
         "(-108 34.8 2550)"},
        // The line of column names is the first comment line; the other comment lines and the
        // line with the names are rows without geometry.
        {"ArgoProfilesWithCommentLines",
         "argo_profiles.txt",
         CommentLines(Cut(XY(3, 2).Names(), ",")),
         2710,
         2701,
         6,
         "(-)",
         "(94.766 3.388)"},
        {"InmetStationsWithDecimalCommas",
         "inmet_stations.csv",
         Cut(XYZ(4, 3, 5).Names(), ";"),
         566,
         0,
         5,
         "(-)",
         "(-)"},
        {"AisNorwayBySemicolon",
         "ais_norway.csv",
         Cut(XY(4, 5).Names(), ";"),
         665,
         665,
         9,
         "(9.7713 59.0097)",
         "(9.7713 59.0096)"},
        {"SacramentoSalesWithCr",
         "sacramento_sales_cr.csv",
         XY(11, 10).Names(),
         985,
         985,
         10,
         "(-121.434879 38.631913)",
         "(-121.075915 38.655245)"},
        {"PlanningWithQuotedLineBreaks",
         "planning_multiline.csv",
         XY(9, 10).Names(),
         2146,
         2126,
         17,
         "(401016 426009)",
         "(409881 419013)"},
        {"ServiceRequests",
         "service_requests_311.csv",
         XY(39, 38).Names(),
         1000,
         893,
         39,
         "(-73.84642755940943 40.690092327843345)",
         "(-73.91956983751439 40.69324083405023)"},
        {"BusStopsQuoted",
         "bus_stops_quoted.csv",
         XY(9, 8).Names(),
         659,
         659,
         10,
         "(-84.33493413 46.51103779)",
         "(-84.34317556 46.5318361)"},
        {"Addresses",
         "addresses_ward5.csv",
         XY(7, 8).Names(),
         5726,
         5726,
         7,
         "(700312.2100000009 5157261.76)",
         "(700348.9700000007 5155992.76)"},
        {"StreetLightsCp949",
         "street_lights_cp949.csv",
         Codec(XY(2, 1).Names(), "CP949"),
         19316,
         19316,
         1,
         "(127.107417 37.495254)",
         "(126.801866 37.593994)"},
        // Twelve wells have no height.
        {"WellsWithHeight",
         "wells_colorado.csv",
         XYZ(35, 34, 12).Names(),
         183,
         171,
         37,
         "(-106.452888 40.598573 8159)",
         "(-106.224541 40.817962 8063)"},
        {"Wells",
         "wells_colorado.csv",
         XY(35, 34).Names(),
         183,
         183,
         38,
         "(-106.452888 40.598573)",
         "(-106.224541 40.817962)"},
        {"GlacierBoreholes",
         "glacier_boreholes.csv",
         Codec(XYZ(6, 5, 8).Names(), "UTF-8"),
         835,
         835,
         19,
         "(7.8750134 45.9303289 4450)",
         "(9.8209919 46.4150297 3304)"},
        {"SoundingsWithNaNDepths",
         "soundings_garmin.txt",
         XYZ(7, 6, 9),
         947,
         947,
         7,
         "(-73.50876 -37.04596 nan)",
         "(-73.50931 -37.04621 2.6)"},
        {"WorldCities",
         "world_cities.csv",
         Codec(XY(6, 5).Names(), "UTF-8"),
         20000,
         20000,
         5,
         "(80.5666667 7.3666667)",
         "(113.086389 24.030833)"},
        {"PostalCodes",
         "postal_codes_th.tsv",
         XY(10, 9),
         903,
         903,
         10,
         "(100.5 13.7333)",
         "(101.6897 6.1106)"},
        {"LidarShotsBySingleBlanks",
         "lvis_lidar_spaces.txt",
         CommentLines(XYZ(6, 8, 11).Set(Orvane::USE_SPACE, true)),
         1000,
         998,
         21,
         "(-)",
         "(301.320543 78.320069 1959.176)"},
        {"LidarReturns",
         "lidar_autzen.txt",
         XYZ(0, 1, 2).Names(),
         103,
         103,
         18,
         "(194506.86 259235.01 426.54)",
         "(194496.42 259230.39 426.05)"},
        {"TaxiTrackByBlanks",
         "taxi_track.ssv",
         XY(1, 0),
         18317,
         18317,
         2,
         "(-122.42354 37.77939)",
         "(-122.39603 37.78609)"},
        {"GpsLoggerWithTrailingSeparators",
         "gps_logger_mtk.csv",
         XY(7, 5).Names(),
         817,
         817,
         13,
         "(12.016372 57.719581)",
         "(11.971354 57.707409)"},
        {"GpsLoggerWithHemisphereLetters",
         "gps_logger_v900.csv",
         XYZ(5, 4, 6).Names(),
         742,
         0,
         6,
         "(-)",
         "(-)"},
        {"GpsLoggerWithHemisphereLettersByFormat",
         "gps_logger_v900.csv",
         Formats(XYZ(5, 4, 6).Names(), "D"),
         742,
         742,
         6,
         "(-125.7648551 49.0733336 38)",
         "(-125.7646658 49.0733998 24)"},
        {"DegreeSpellings",
         "dms_variants.csv",
         Codec(XY(1, 0).Names(), "UTF-8"),
         19,
         1,
         1,
         "(-)",
         "(-5.678 -1.234)"},
        {"DegreeSpellingsByFormat",
         "dms_variants.csv",
         Formats(Codec(XY(1, 0).Names(), "UTF-8"), "DMS"),
         19,
         19,
         1,
         "(-5.678 -1.234)",
         "(-5.678 -1.234)"},
        {"TapirOccurrences",
         "tapir_occurrences_wide.txt",
         Codec(XY(79, 78).Names(), "UTF-8"),
         61,
         18,
         225,
         "(-)",
         "(-)"},
        {"PortsWithByteOrderMark",
         "ports_bom.csv",
         Codec(XY(2, 3).Names(), "UTF-8"),
         8016,
         8016,
         2,
         "(179.4265929 -17.35351583)",
         "(-179.992054 -16.789667)"},
        {"DepthsOfOneColumn", "depths_one_column.txt", Plain(), 7926, 0, 1, "(-)", "(-)"},
        {"CapitalsWithRaggedRows",
         "capitals_ragged.csv",
         Codec(XY(0, 1), "UTF-8"),
         55,
         55,
         2,
         "(4.89222222222222 52.3730555555556)",
         "(15.9833333333333 45.8166666666667)"},
        {"HealthUtf16",
         "health_utf16le.csv",
         Codec(Plain().Names(), "UTF-16LE"),
         327,
         0,
         19,
         "(-)",
         "(-)"},
        {"StadiumsWithQuotedLineBreaks",
         "stadiums_thousands.csv",
         Codec(Plain().Names(), "UTF-8"),
         325,
         0,
         8,
         "(-)",
         "(-)"},
        {"BusStopsUtf16",
         "derived/bus_stops_utf16le.csv",
         Codec(XY(9, 8).Names(), "UTF-16"),
         659,
         659,
         10,
         "(-84.33493413 46.51103779)",
         "(-84.34317556 46.5318361)"},
        {"VolcanoesUtf8ByTab",
         "derived/volcanoes_utf8_bom_tab.txt",
         Codec(XYZ(5, 4, 6).Names(), "UTF-8"),
         1571,
         1558,
         7,
         "(131.6 34.5 571)",
         "(-108 34.8 2550)"},
    };
}

INSTANTIATE_TEST_SUITE_P(,
                         SharedDataRead,
                         testing::ValuesIn(CasesWhenThereIsData(ReadCases())),
                         TestSupport::CaseName());
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SharedDataRead);

// --- suites of small files, with the options of a plain .csv file --------------------------------

struct SuiteCase
{
    const char* name;
    const char* file;
    std::size_t rows;
    std::size_t columns;
};

void PrintTo(const SuiteCase& suiteCase, std::ostream* stream)
{
    *stream << suiteCase.file;
}

class SharedSuiteRead : public testing::TestWithParam<SuiteCase>
{};

TEST_P(SharedSuiteRead, GivesRowsAndColumns)
{
    const BString path = PathOf(GetParam().file);
    BAsciiReader reader(path, Options());
    reader.Open(path, Options());
    reader.Read();
    EXPECT_EQ(reader.GetLayers().GetAt(0)->GetFeatures().GetCount(), GetParam().rows);
    EXPECT_EQ(reader.GetLayers().GetAt(0)->GetSchema().GetCount(), GetParam().columns);
    reader.Close();
}

std::vector<SuiteCase> SuiteCases()
{
    return {
        {"SpectrumCommaInQuotes", "suites/csv-spectrum/csvs/comma_in_quotes.csv", 2, 5},
        {"SpectrumEmpty", "suites/csv-spectrum/csvs/empty.csv", 3, 3},
        {"SpectrumEmptyCrlf", "suites/csv-spectrum/csvs/empty_crlf.csv", 3, 3},
        {"SpectrumEscapedQuotes", "suites/csv-spectrum/csvs/escaped_quotes.csv", 3, 2},
        {"SpectrumJson", "suites/csv-spectrum/csvs/json.csv", 2, 2},
        {"SpectrumLocationCoordinates", "suites/csv-spectrum/csvs/location_coordinates.csv", 2, 4},
        {"SpectrumNewlines", "suites/csv-spectrum/csvs/newlines.csv", 4, 3},
        {"SpectrumNewlinesCrlf", "suites/csv-spectrum/csvs/newlines_crlf.csv", 4, 3},
        {"SpectrumQuotesAndNewlines", "suites/csv-spectrum/csvs/quotes_and_newlines.csv", 3, 2},
        {"SpectrumSimple", "suites/csv-spectrum/csvs/simple.csv", 2, 3},
        {"SpectrumSimpleCrlf", "suites/csv-spectrum/csvs/simple_crlf.csv", 2, 3},
        {"SpectrumUtf8", "suites/csv-spectrum/csvs/utf8.csv", 3, 3},
        {"RfcBadHeaderLessFields", "suites/csv-test-data/csv/bad-header-less-fields.csv", 2, 3},
        {"RfcBadHeaderWrongHeader", "suites/csv-test-data/csv/bad-header-wrong-header.csv", 1, 3},
        {"RfcBadUnescapedQuote", "suites/csv-test-data/csv/bad-unescaped-quote.csv", 2, 3},
        {"RfcEmptyField", "suites/csv-test-data/csv/empty-field.csv", 2, 3},
        {"RfcEmptyOneColumn", "suites/csv-test-data/csv/empty-one-column.csv", 1, 1},
        {"RfcHeaderNoRows", "suites/csv-test-data/csv/header-no-rows.csv", 1, 3},
        {"RfcHeaderSimple", "suites/csv-test-data/csv/header-simple.csv", 2, 3},
        {"RfcLeadingSpace", "suites/csv-test-data/csv/leading-space.csv", 2, 3},
        {"RfcOneColumn", "suites/csv-test-data/csv/one-column.csv", 2, 1},
        {"RfcQuotesEmpty", "suites/csv-test-data/csv/quotes-empty.csv", 2, 3},
        {"RfcQuotesWithComma", "suites/csv-test-data/csv/quotes-with-comma.csv", 2, 3},
        {"RfcQuotesWithEscapedQuote",
         "suites/csv-test-data/csv/quotes-with-escaped-quote.csv",
         2,
         3},
        {"RfcQuotesWithSpace", "suites/csv-test-data/csv/quotes-with-space.csv", 2, 3},
        {"RfcSimpleCrlf", "suites/csv-test-data/csv/simple-crlf.csv", 2, 3},
        {"RfcSimpleLf", "suites/csv-test-data/csv/simple-lf.csv", 2, 3},
        {"RfcTrailingNewlineOneField",
         "suites/csv-test-data/csv/trailing-newline-one-field.csv",
         2,
         1},
        {"RfcTrailingNewline", "suites/csv-test-data/csv/trailing-newline.csv", 2, 3},
        {"RfcTrailingSpace", "suites/csv-test-data/csv/trailing-space.csv", 2, 3},
        {"RfcUtf8", "suites/csv-test-data/csv/utf8.csv", 2, 3},
        {"QuotingDoubleQuotesInMiddleOfFieldBis",
         "suites/gdal-csv/double_quotes_in_middle_of_field_bis.csv",
         2,
         3},
        {"QuotingHeaderWithLineBreak", "suites/gdal-csv/header_with_line_break.csv", 4, 7},
        {"QuotingInfNan", "suites/gdal-csv/inf_nan.csv", 5, 2},
        {"QuotingOnlyStrings", "suites/gdal-csv/only_strings.csv", 4, 3},
        {"QuotingSingleColumn", "suites/gdal-csv/single_column.csv", 2, 1},
        {"QuotingTestquoteheader1", "suites/gdal-csv/testquoteheader1.csv", 2, 3},
        {"QuotingTesttypeautodetect", "suites/gdal-csv/testtypeautodetect.csv", 10, 20},
        {"QuotingTesttypeautodetectboolean",
         "suites/gdal-csv/testtypeautodetectboolean.csv",
         3,
         13},
        {"PollutedFileDoubleTrailingNewline",
         "suites/pollock/csv/file_double_trailing_newline.csv",
         84,
         9},
        {"PollutedFileFieldDelimiter0x20",
         "suites/pollock/csv/file_field_delimiter_0x20.csv",
         84,
         1},
        {"PollutedFileFieldDelimiter0x2C0x20",
         "suites/pollock/csv/file_field_delimiter_0x2C_0x20.csv",
         84,
         9},
        {"PollutedFileFieldDelimiter0x3B",
         "suites/pollock/csv/file_field_delimiter_0x3B.csv",
         84,
         1},
        {"PollutedFileFieldDelimiter0x9", "suites/pollock/csv/file_field_delimiter_0x9.csv", 84, 1},
        {"PollutedFileHeaderMultirow2", "suites/pollock/csv/file_header_multirow_2.csv", 85, 9},
        {"PollutedFileHeaderMultirow3", "suites/pollock/csv/file_header_multirow_3.csv", 86, 9},
        {"PollutedFileHeaderOnly", "suites/pollock/csv/file_header_only.csv", 1, 9},
        {"PollutedFileMultitableLess", "suites/pollock/csv/file_multitable_less.csv", 167, 9},
        {"PollutedFileMultitableSame", "suites/pollock/csv/file_multitable_same.csv", 167, 9},
        {"PollutedFileNoHeader", "suites/pollock/csv/file_no_header.csv", 83, 9},
        {"PollutedFileNoTrailingNewline", "suites/pollock/csv/file_no_trailing_newline.csv", 84, 9},
        {"PollutedFileOneDataRow", "suites/pollock/csv/file_one_data_row.csv", 2, 9},
        {"PollutedFilePreamble", "suites/pollock/csv/file_preamble.csv", 85, 9},
        {"PollutedFileRecordDelimiter0xA",
         "suites/pollock/csv/file_record_delimiter_0xA.csv",
         84,
         9},
        {"PollutedFileRecordDelimiter0xD",
         "suites/pollock/csv/file_record_delimiter_0xD.csv",
         84,
         9},
        {"PollutedRowFieldDelimiter100x20",
         "suites/pollock/csv/row_field_delimiter_10_0x20.csv",
         84,
         9},
        {"PollutedRowLessSepRow10Col3", "suites/pollock/csv/row_less_sep_row10_col3.csv", 84, 9},
        {"PollutedSource", "suites/pollock/csv/source.csv", 84, 9},
    };
}

INSTANTIATE_TEST_SUITE_P(,
                         SharedSuiteRead,
                         testing::ValuesIn(CasesWhenThereIsData(SuiteCases())),
                         TestSupport::CaseName());
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SharedSuiteRead);

// --- failures ------------------------------------------------------------------------------------

struct FailureCase
{
    const char* name;
    const char* file;
    Options options;
    bool isInReading; ///< the file opens, but Read fails
    std::size_t rows; ///< read before the failure
    const char* className;
    const char* message; ///< where it ends in "<", the file's path and "> for reading." follow
    const char* location;
};

void PrintTo(const FailureCase& failureCase, std::ostream* stream)
{
    *stream << failureCase.file;
}

class SharedDataFailure : public testing::TestWithParam<FailureCase>
{};

TEST_P(SharedDataFailure, HasItsExactTexts)
{
    const LeaksByRule leaks;
    const FailureCase& param = GetParam();
    const BString path = PathOf(param.file);
    BAsciiReader reader(path, param.options);
    Failure failure;
    if (param.isInReading) {
        reader.Open(path, param.options);
        failure = CatchFailure([&] { reader.Read(); });
        EXPECT_EQ(reader.GetLayers().GetAt(0)->GetFeatures().GetCount(), param.rows);
    } else {
        failure = CatchFailure([&] { reader.Open(path, param.options); });
        EXPECT_FALSE(reader.IsOpen());
    }
    std::string message = param.message;
    if (message.back() == '<') {
        message += DataFolder().lexically_normal().string() + "/" + param.file + "> for reading.";
    }
    EXPECT_EQ(failure.className, param.className);
    EXPECT_EQ(failure.message, BString(message));
    EXPECT_EQ(failure.location, BString(param.location));
    EXPECT_EQ(failure.what, message);
    const std::string details = failure.details.ToLatin1();
    if (message.rfind("Failed to parse", 0) == 0) {
        // The text shown is that of the file.
        const std::string before = "The following line may be formatted wrong.\n\t<";
        ASSERT_EQ(details.substr(0, before.size()), before);
        ASSERT_EQ(details.substr(details.size() - 2), ">.");
        const std::string row = details.substr(before.size(), details.size() - 2 - before.size());
        EXPECT_FALSE(row.empty());
        EXPECT_NE(BytesOf(param.file).find(row), std::string::npos) << row;
    } else if (failure.className == "BException") {
        EXPECT_EQ(details, "");
    } else {
        EXPECT_EQ(details, message);
    }
    reader.Close();
}

std::vector<FailureCase> FailureCases()
{
    const char* const quote = "File contains an unmatched quote.";
    const char* const location = "AsciiFile::GetSafeLine";
    const char* const invalid = "BFileContentNotValidException";
    return {
        // One quote in the whole file.
        {"GeoNamesWithOneQuote",
         "geonames_gb.txt",
         Codec(XYZ(5, 4, 16), "UTF-8"),
         false,
         0,
         invalid,
         quote,
         location},
        {"StationsOfFixedWidths",
         "dwd_stations_fixed.txt",
         XYZ(5, 4, 3).Set(Orvane::FIELD_LENGTH,
                          std::vector<std::int32_t>{5, 9, 9, 15, 12, 10, 42, 98}),
         false,
         0,
         "BIndexOutOfBoundsException",
         "Line 0 of the data.  Expected at least 3 fields (x, y, z), but only 0 present.",
         "AsciiUtils::RemoveXYZ"},
        {"UnknownExtension",
         "suites/qgis-delimitedtext/test.pipe",
         Plain(),
         false,
         0,
         "BException",
         "BAsciiReader::Read",
         "Separator could not be determined automatically."},
        {"BackslashesBeforeSeparators",
         "suites/qgis-delimitedtext/test.pipe",
         Cut(Plain().Names(), "|"),
         true,
         1,
         "BException",
         "Failed to parse feature # 1.",
         "AsciiFile::BuildLayer"},
        {"ExtraFields",
         "suites/qgis-delimitedtext/test.csv",
         Plain().Names(),
         true,
         4,
         "BException",
         "Failed to parse feature # 4.",
         "AsciiFile::BuildLayer"},
        {"RfcAllEmpty",
         "suites/csv-test-data/csv/all-empty.csv",
         Plain(),
         false,
         0,
         invalid,
         "There was no readable data in the file.",
         "AsciiSchema::Schema"},
        {"RfcBadHeaderMoreFields",
         "suites/csv-test-data/csv/bad-header-more-fields.csv",
         Plain(),
         true,
         1,
         "BException",
         "Failed to parse feature # 1.",
         "AsciiFile::BuildLayer"},
        {"RfcBadHeaderNoHeader",
         "suites/csv-test-data/csv/bad-header-no-header.csv",
         Plain(),
         false,
         0,
         "BException",
         "Could not open a stream for <",
         "AsciiFile::Open"},
        {"RfcBadMissingQuote",
         "suites/csv-test-data/csv/bad-missing-quote.csv",
         Plain(),
         true,
         1,
         invalid,
         quote,
         location},
        {"RfcBadQuotesWithUnescapedQuote",
         "suites/csv-test-data/csv/bad-quotes-with-unescaped-quote.csv",
         Plain(),
         true,
         1,
         invalid,
         quote,
         location},
        {"RfcQuotesWithNewline",
         "suites/csv-test-data/csv/quotes-with-newline.csv",
         Plain(),
         false,
         0,
         invalid,
         quote,
         location},
        {"QuotingDoubleQuotesInMiddleOfField",
         "suites/gdal-csv/double_quotes_in_middle_of_field.csv",
         Plain(),
         false,
         0,
         invalid,
         quote,
         location},
        {"QuotingUnbalancedDoubleQuotes",
         "suites/gdal-csv/unbalanced_double_quotes.csv",
         Plain(),
         false,
         0,
         invalid,
         quote,
         location},
        {"PollutedFileEscapeChar0x00",
         "suites/pollock/csv/file_escape_char_0x00.csv",
         Plain(),
         true,
         10,
         "BException",
         "Failed to parse feature # 10.",
         "AsciiFile::BuildLayer"},
        {"PollutedFileEscapeChar0x5C",
         "suites/pollock/csv/file_escape_char_0x5C.csv",
         Plain(),
         true,
         10,
         "BException",
         "Failed to parse feature # 10.",
         "AsciiFile::BuildLayer"},
        {"PollutedFileMultitableMore",
         "suites/pollock/csv/file_multitable_more.csv",
         Plain(),
         true,
         84,
         "BException",
         "Failed to parse feature # 84.",
         "AsciiFile::BuildLayer"},
        {"PollutedFileNoPayload",
         "suites/pollock/csv/file_no_payload.csv",
         Plain(),
         false,
         0,
         "BException",
         "Could not open a stream for <",
         "AsciiFile::Open"},
        {"PollutedFileQuotationChar0x27",
         "suites/pollock/csv/file_quotation_char_0x27.csv",
         Plain(),
         true,
         2,
         "BException",
         "Failed to parse feature # 2.",
         "AsciiFile::BuildLayer"},
        {"PollutedRowExtraQuote10Col0",
         "suites/pollock/csv/row_extra_quote10_col0.csv",
         Plain(),
         false,
         0,
         invalid,
         quote,
         location},
        {"PollutedRowExtraQuote10Col5",
         "suites/pollock/csv/row_extra_quote10_col5.csv",
         Plain(),
         false,
         0,
         invalid,
         quote,
         location},
        {"PollutedRowMoreSepRow10Col3",
         "suites/pollock/csv/row_more_sep_row10_col3.csv",
         Plain(),
         true,
         10,
         "BException",
         "Failed to parse feature # 10.",
         "AsciiFile::BuildLayer"},
        {"PollutedRowMoreSepRow83Col8",
         "suites/pollock/csv/row_more_sep_row83_col8.csv",
         Plain(),
         true,
         83,
         "BException",
         "Failed to parse feature # 83.",
         "AsciiFile::BuildLayer"},
    };
}

INSTANTIATE_TEST_SUITE_P(,
                         SharedDataFailure,
                         testing::ValuesIn(CasesWhenThereIsData(FailureCases())),
                         TestSupport::CaseName());
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SharedDataFailure);

// --- single files --------------------------------------------------------------------------------

/// A check of one file, named as a row so that all of them vanish without the folder.
struct FileCheck
{
    const char* name;
    void (*check)();
};

void PrintTo(const FileCheck& fileCheck, std::ostream* stream)
{
    *stream << fileCheck.name;
}

class SharedDataFile : public testing::TestWithParam<FileCheck>
{};

TEST_P(SharedDataFile, IsReadAsStated)
{
    GetParam().check();
}

/// A file that was read as a whole.
class ReadFile
{
public:
    ReadFile(const char* file, const Options& options)
        : m_reader(std::make_unique<BAsciiReader>(PathOf(file), options))
    {
        m_reader->Open(PathOf(file), options);
        m_reader->Read();
    }

    [[nodiscard]] Orvane::BVectorLayer& Layer() const { return *m_reader->GetLayers().GetAt(0); }

    [[nodiscard]] BString Value(std::size_t row, std::size_t attributeIndex) const
    {
        return Layer().GetFeatures().GetAt(row)->GetAttributeValue(attributeIndex).GetString();
    }

private:
    std::unique_ptr<BAsciiReader> m_reader;
};

// Rule: widths come with the empty pattern, which is valid, so no line has fields.
void FixedWidthsGiveNoRows()
{
    const ReadFile file(
        "dwd_stations_fixed.txt",
        Plain().Set(Orvane::FIELD_LENGTH, std::vector<std::int32_t>{5, 9, 9, 15, 12, 10, 42, 98}));
    EXPECT_EQ(file.Layer().GetFeatures().GetCount(), 0U);
    EXPECT_EQ(file.Layer().GetSchema().GetCount(), 0U);
}

void DoubledQuotesBecomeOne()
{
    const ReadFile file("suites/csv-spectrum/csvs/escaped_quotes.csv", Plain().Names());
    EXPECT_EQ(file.Value(0, 1), BString("ha \"ha\" ha"));
    EXPECT_EQ(file.Value(1, 1), BString("4"));
}

void JsonInAFieldKeepsItsCommas()
{
    const ReadFile file("suites/csv-spectrum/csvs/json.csv", Plain().Names());
    EXPECT_EQ(file.Value(0, 1), BString("{\"type\": \"Point\", \"coordinates\": [102.0, 0.5]}"));
}

void QuotedLineBreaksStayInTheField()
{
    const ReadFile file("suites/csv-spectrum/csvs/quotes_and_newlines.csv", Plain().Names());
    EXPECT_EQ(file.Value(0, 1), BString("ha \n\"ha\" \nha"));
}

void Utf8IsDecodedWhenItIsNamed()
{
    const ReadFile file("suites/csv-spectrum/csvs/utf8.csv", Codec(Plain().Names(), "UTF-8"));
    EXPECT_EQ(file.Value(1, 2), BString(u"\u02a4"));
    const ReadFile latin1("suites/csv-spectrum/csvs/utf8.csv", Plain().Names());
    EXPECT_EQ(latin1.Value(1, 2), BString(u"\u00ca\u00a4"));
}

void KoreanNamesAreDecoded()
{
    const ReadFile file("street_lights_cp949.csv", Codec(XY(2, 1).Names(), "CP949"));
    EXPECT_EQ(file.Layer().GetSchema().GetAt(0).GetName(), BString(u"\uad00\ub9ac\ubc88\ud638"));
    EXPECT_EQ(file.Value(0, 0), BString(u"\uac00\ub77d\uc9c0\ud558\ucc28\ub3c4-01"));
}

void TheByteOrderMarkIsNoPartOfTheFirstName()
{
    const ReadFile file("ports_bom.csv", Codec(XY(2, 3).Names(), "UTF-8"));
    EXPECT_EQ(file.Layer().GetSchema().GetAt(0).GetName(), BString("PORT_NAME"));
}

void TheByteOrderMarkIsThreeLatin1Characters()
{
    const ReadFile file("ports_bom.csv", XY(2, 3).Names());
    EXPECT_EQ(file.Layer().GetSchema().GetAt(0).GetName(), BString(u"\u00ef\u00bb\u00bfPORT_NAME"));
}

void TwoCodingsOfOneFileGiveOneLayer()
{
    const ReadFile utf16("derived/bus_stops_utf16le.csv", Codec(XY(9, 8).Names(), "UTF-16"));
    const ReadFile utf8("bus_stops_quoted.csv", Codec(XY(9, 8).Names(), "UTF-8"));
    EXPECT_EQ(Describe(utf16.Layer().GetSchema()), Describe(utf8.Layer().GetSchema()));
    EXPECT_EQ(Describe(utf16.Layer()), Describe(utf8.Layer()));
}

void TwoSeparatorsOfOneFileGiveOneLayer()
{
    const ReadFile tab("derived/volcanoes_utf8_bom_tab.txt", Codec(XYZ(5, 4, 6).Names(), "UTF-8"));
    const ReadFile comma("volcanoes_latin1.csv", XYZ(5, 4, 6).Names());
    EXPECT_EQ(Describe(tab.Layer().GetSchema()), Describe(comma.Layer().GetSchema()));
    EXPECT_EQ(Describe(tab.Layer()), Describe(comma.Layer()));
}

void DegreesOfOneFileAreReadOrDropTheirPoint()
{
    const ReadFile file("suites/qgis-delimitedtext/testdms.csv", Formats(XY(2, 3).Names(), "DMS"));
    Orvane::BFeatureCollection& features = file.Layer().GetFeatures();
    ASSERT_EQ(features.GetCount(), 24U);
    for (const std::size_t row :
         {1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 11U, 12U, 13U, 18U, 19U, 24U}) {
        EXPECT_NE(features.GetAt(row - 1)->GetPoint(), nullptr) << row;
    }
    for (const std::size_t row : {14U, 15U, 20U, 21U, 22U}) {
        EXPECT_EQ(features.GetAt(row - 1)->GetPoint(), nullptr) << row;
    }
    ASSERT_NE(features.GetAt(6)->GetPoint(), nullptr);
    EXPECT_NEAR(features.GetAt(6)->GetPoint()->GetX(), -(1 + 5 / 60.0 + 30.6 / 3600.0), 1e-12);
    EXPECT_NEAR(features.GetAt(6)->GetPoint()->GetY(), -(35 + 51 / 60.0 + 20 / 3600.0), 1e-12);
}

void AnAsciiFileHasTheSameNumbersByAllRows()
{
    const ReadFile sample("lidar_autzen.txt", XYZ(0, 1, 2).Names());
    const ReadFile allRows("lidar_autzen.txt",
                           XYZ(0, 1, 2).Names().Set(Orvane::AUTO_SCHEMA_ALL_ROWS, true));
    EXPECT_EQ(Describe(sample.Layer()), Describe(allRows.Layer()));
}

std::vector<FileCheck> FileChecks()
{
    return {
        {"FixedWidthsGiveNoRows", FixedWidthsGiveNoRows},
        {"DoubledQuotesBecomeOne", DoubledQuotesBecomeOne},
        {"JsonInAFieldKeepsItsCommas", JsonInAFieldKeepsItsCommas},
        {"QuotedLineBreaksStayInTheField", QuotedLineBreaksStayInTheField},
        {"Utf8IsDecodedWhenItIsNamed", Utf8IsDecodedWhenItIsNamed},
        {"KoreanNamesAreDecoded", KoreanNamesAreDecoded},
        {"TheByteOrderMarkIsNoPartOfTheFirstName", TheByteOrderMarkIsNoPartOfTheFirstName},
        {"TheByteOrderMarkIsThreeLatin1Characters", TheByteOrderMarkIsThreeLatin1Characters},
        {"TwoCodingsOfOneFileGiveOneLayer", TwoCodingsOfOneFileGiveOneLayer},
        {"TwoSeparatorsOfOneFileGiveOneLayer", TwoSeparatorsOfOneFileGiveOneLayer},
        {"DegreesOfOneFileAreReadOrDropTheirPoint", DegreesOfOneFileAreReadOrDropTheirPoint},
        {"AnAsciiFileHasTheSameNumbersByAllRows", AnAsciiFileHasTheSameNumbersByAllRows},
    };
}

INSTANTIATE_TEST_SUITE_P(,
                         SharedDataFile,
                         testing::ValuesIn(CasesWhenThereIsData(FileChecks())),
                         TestSupport::CaseName());
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SharedDataFile);

} // namespace
