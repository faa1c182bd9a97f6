// The table of formats.
#include "Formats.h"

#include "GdalServices.h"
#include "LayerWriter.h"
#include "flatgeobuf/FlatGeobufLayer.h"

#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Targets.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <utility>

namespace Orvane::Import {

namespace {

/// SQLite's 2000 columns of a table, less those for the row's number and its geometry.
constexpr std::size_t kMostGeoPackageFields = 1998;

constexpr ExportFormat kFormats[] = {
    {.extension = ".gpkg",
     .driver = "GPKG",
     .write = &WriteGeoPackage,
     .mostFields = kMostGeoPackageFields,
     .names = ExportFormat::ENames::UniqueIgnoreCase,
     .namesLayer = true,
     .holdsInfinity = true,
     .holdsDates = true,
     .holdsDateTimes = true},
    {.extension = ".fgb",
     .driver = "FlatGeobuf",
     .write = &WriteFlatGeobuf,
     .mostFields = FlatGeobuf::kMostFields,
     .namesLayer = true,
     .holdsNaN = true,
     .holdsInfinity = true,
     .holdsDateTimes = true},
    {.extension = ".geojson", .driver = "GeoJSON", .write = &WriteGeoJson, .namesLayer = true},
    {.extension = ".json", .driver = "GeoJSON", .write = &WriteGeoJson, .namesLayer = true},
    {.extension = ".geojsonl", .driver = "GeoJSONSeq", .write = &WriteGeoJson},
    {.extension = ".geojsons", .driver = "GeoJSONSeq", .write = &WriteGeoJson},
    {.extension = ".shp",
     .driver = "ESRI Shapefile",
     .write = &WriteByGdal,
     .isByGdal = true,
     .names = ExportFormat::ENames::Dbase,
     .texts = ExportFormat::ETexts::Dbase,
     .holdsDates = true},
    {.extension = ".csv",
     .driver = "CSV",
     .write = &WriteCsv,
     .names = ExportFormat::ENames::UniqueIgnoreCase,
     .holdsNaN = true,
     .holdsInfinity = true},
};

std::string FoldCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char byte) {
        return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    });
    return text;
}

std::string FoldedExtension(const std::string& path)
{
    return FoldCase(std::filesystem::path(path).extension().native());
}

FailureFields MakeFailure(const char* code, std::string what, const std::string& path)
{
    FailureFields fields;
    fields.kind = EFailureKind::Request;
    fields.code = code;
    fields.what = std::move(what);
    fields.value = path;
    return fields;
}

const ExportFormat& FindNamedFormat(const std::string& wanted)
{
    const std::string folded = FoldCase(wanted);
    for (const ExportFormat& format : kFormats) {
        if (folded == format.extension || "." + folded == format.extension ||
            folded == FoldCase(format.driver)) {
            return format;
        }
    }
    if (const ExportFormat* const format = LoadGdal().findFormat(wanted, false)) {
        return *format;
    }
    FailureFields fields = MakeFailure("unknown-format", {}, wanted);
    std::string known;
    for (const ExportFormat& format : kFormats) {
        if (fields.nearest.empty() || fields.nearest.back() != format.driver) {
            known += (known.empty() ? "" : ", ") + std::string(format.driver);
            fields.nearest.emplace_back(format.driver);
        }
    }
    fields.what = "There is no format '" + DisplayText::Escape(wanted) + "'; the formats are " +
                  known + ", and those of GDAL.";
    throw ImportFailure(std::move(fields));
}

} // namespace

bool HoldsHeights(std::string_view driver)
{
    constexpr std::string_view kFlat[] = {
        "GeoRSS", "GPX", "MapInfo File", "MapML", "Selafin", "WAsP"};
    return std::find(std::begin(kFlat), std::end(kFlat), driver) == std::end(kFlat);
}

bool HoldsMissingHeights(std::string_view driver)
{
    return driver != "ESRI Shapefile";
}

const std::vector<TargetFormat>& GetTargetFormats()
{
    static const std::vector<TargetFormat> kList = [] {
        std::vector<TargetFormat> list;
        for (const ExportFormat& format : kFormats) {
            list.push_back({format.extension, format.driver});
        }
        return list;
    }();
    return kList;
}

const ExportFormat& FindExportFormat(const std::string& path, const std::string& wanted)
{
    if (!wanted.empty()) {
        return FindNamedFormat(wanted);
    }
    const std::string extension = FoldedExtension(path);
    const std::string shown = "'" + DisplayText::Escape(path) + "'";
    for (const ExportFormat& format : kFormats) {
        if (extension != format.extension) {
            continue;
        }
        // GDAL writes the parts of a shapefile with small endings whatever the name's.
        if (extension == ".shp" && !path.ends_with(extension)) {
            FailureFields fields = MakeFailure("extension-case",
                                               "The extension of the output " + shown +
                                                   " must be written in small letters: .shp.",
                                               path);
            fields.subject = extension;
            throw ImportFailure(std::move(fields));
        }
        return format;
    }
    if (const ExportFormat* const format = LoadGdal().findFormat(extension, true)) {
        return *format;
    }
    std::string known;
    FailureFields fields = MakeFailure("unknown-format", {}, path);
    for (const ExportFormat& format : kFormats) {
        known += (known.empty() ? "" : ", ") + std::string(format.extension);
        fields.nearest.emplace_back(format.extension);
    }
    fields.what = "No format is known for the output " + shown + "; its extension must be one of " +
                  known + ".";
    throw ImportFailure(std::move(fields));
}

void RequireCreationOptions(const ExportFormat& format, const std::vector<std::string>& options)
{
    if (options.empty()) {
        return;
    }
    if (format.isByGdal) {
        LoadGdal().requireCreationOptions(format, options);
        return;
    }
    const std::string& first = options.front();
    FailureFields fields = MakeFailure("creation-option",
                                       "The format " + std::string(format.driver) +
                                           " has no creation options; it is not written by GDAL.",
                                       first.substr(0, first.find('=')));
    throw ImportFailure(std::move(fields));
}

} // namespace Orvane::Import
