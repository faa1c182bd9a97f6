// The program `orvane_bench_gdal`: reads the files with GDAL's CSV driver, as point features that
// are dropped or kept in a Memory layer, and prints what that took as one line of JSON.
#include "Measure.h"

#include <gdal.h>
#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <numeric>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

using OrvaneBench::CpuSeconds;
using OrvaneBench::MeasureMemory;
using OrvaneBench::Memory;
using OrvaneBench::PeakBytes;

struct Arguments
{
    bool keepsLayer = false;
    std::string x;
    std::string y;
    std::string z;
    std::vector<std::string> files;
};

/// What the features add up to.
struct Totals
{
    std::int64_t rows = 0;
    double x = 0;
    double y = 0;
    double z = 0;

    void Add(const OGRFeature& feature)
    {
        ++rows;
        const OGRGeometry* geometry = feature.GetGeometryRef();
        if (geometry == nullptr || wkbFlatten(geometry->getGeometryType()) != wkbPoint) {
            return;
        }
        const OGRPoint* point = geometry->toPoint();
        x += point->getX();
        y += point->getY();
        z += point->getZ();
    }
};

GDALDatasetUniquePtr OpenFile(const Arguments& arguments, const std::string& file)
{
    // The coordinates are kept in the points alone, as in a layer of our own reader.
    CPLStringList options;
    options.SetNameValue("AUTODETECT_TYPE", "YES");
    options.SetNameValue("KEEP_GEOM_COLUMNS", "NO");
    options.SetNameValue("X_POSSIBLE_NAMES", arguments.x.c_str());
    options.SetNameValue("Y_POSSIBLE_NAMES", arguments.y.c_str());
    if (!arguments.z.empty()) {
        options.SetNameValue("Z_POSSIBLE_NAMES", arguments.z.c_str());
    }
    const char* const drivers[] = {"CSV", nullptr};
    GDALDatasetUniquePtr dataset(
        GDALDataset::Open(file.c_str(), GDAL_OF_VECTOR, drivers, options.List()));
    if (!dataset || dataset->GetLayerCount() != 1) {
        throw std::runtime_error("GDAL cannot read " + file + ".");
    }
    return dataset;
}

void VisitAll(OGRLayer& layer, Totals& totals)
{
    for (const OGRFeatureUniquePtr& feature : layer) {
        totals.Add(*feature);
    }
}

/// Copies the features of the file into a new Memory layer.
GDALDatasetUniquePtr ReadIntoMemory(const Arguments& arguments, const std::string& file)
{
    const GDALDatasetUniquePtr source = OpenFile(arguments, file);
    OGRLayer& from = *source->GetLayer(0);
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("Memory");
    GDALDatasetUniquePtr kept(driver->Create("", 0, 0, 0, GDT_Unknown, nullptr));
    OGRLayer* layer = kept->CreateLayer("kept", nullptr, from.GetGeomType(), nullptr);
    const OGRFeatureDefn& definition = *from.GetLayerDefn();
    for (int index = 0; index < definition.GetFieldCount(); ++index) {
        OGRFieldDefn field(definition.GetFieldDefn(index));
        if (layer->CreateField(&field) != OGRERR_NONE) {
            throw std::runtime_error("GDAL cannot make a field of the Memory layer.");
        }
    }
    std::vector<int> sameFields(static_cast<std::size_t>(definition.GetFieldCount()));
    std::iota(sameFields.begin(), sameFields.end(), 0);
    for (const OGRFeatureUniquePtr& read : from) {
        OGRFeature feature(layer->GetLayerDefn());
        feature.SetFieldsFrom(read.get(), sameFields.data(), TRUE);
        feature.SetGeometryDirectly(read->StealGeometry());
        if (layer->CreateFeature(&feature) != OGRERR_NONE) {
            throw std::runtime_error("GDAL cannot add a feature to the Memory layer.");
        }
    }
    return kept;
}

void Run(const Arguments& arguments)
{
    GDALAllRegister();
    Totals totals;
    GDALDatasetUniquePtr kept;
    const Memory before = MeasureMemory();
    const auto wallBefore = std::chrono::steady_clock::now();
    const double cpuBefore = CpuSeconds();
    for (const std::string& file : arguments.files) {
        if (arguments.keepsLayer) {
            kept = ReadIntoMemory(arguments, file);
        } else {
            VisitAll(*OpenFile(arguments, file)->GetLayer(0), totals);
        }
    }
    const double cpu = CpuSeconds() - cpuBefore;
    const double wall =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - wallBefore).count();
    const Memory after = MeasureMemory();
    const std::int64_t peak = PeakBytes();
    if (arguments.keepsLayer && arguments.files.size() == 1) {
        VisitAll(*kept->GetLayer(0), totals);
    } else if (arguments.keepsLayer) {
        for (const std::string& file : arguments.files) {
            VisitAll(*ReadIntoMemory(arguments, file)->GetLayer(0), totals);
        }
    }
    std::printf("{\"rows\": %lld, \"sum_x\": %.17g, \"sum_y\": %.17g, ",
                static_cast<long long>(totals.rows),
                totals.x,
                totals.y);
    if (!arguments.z.empty()) {
        std::printf("\"sum_z\": %.17g, ", totals.z);
    }
    std::printf(
        "\"cpu_s\": %.6f, \"wall_s\": %.6f, \"resident_after_bytes\": %lld, \"kept_bytes\": %lld, "
        "\"peak_bytes\": %lld}\n",
        cpu,
        wall,
        static_cast<long long>(after.resident),
        static_cast<long long>(after.own - before.own),
        static_cast<long long>(peak));
}

Arguments Parse(const std::vector<std::string_view>& words)
{
    Arguments arguments;
    for (std::size_t index = 0; index < words.size(); ++index) {
        const auto takeNext = [&] {
            if (index + 1 == words.size()) {
                throw std::invalid_argument(std::string(words[index]) + " needs a value.");
            }
            return std::string(words[++index]);
        };
        if (words[index] == "--keep") {
            arguments.keepsLayer = true;
        } else if (words[index] == "--x") {
            arguments.x = takeNext();
        } else if (words[index] == "--y") {
            arguments.y = takeNext();
        } else if (words[index] == "--z") {
            arguments.z = takeNext();
        } else {
            arguments.files.emplace_back(words[index]);
        }
    }
    if (arguments.files.empty()) {
        throw std::invalid_argument(
            "usage: orvane_bench_gdal --version | [--keep] --x NAME --y NAME [--z NAME] FILE...");
    }
    return arguments;
}

} // namespace

int main(int argumentCount, char** argumentTexts)
{
    try {
        if (argumentCount == 2 && std::string_view(argumentTexts[1]) == "--version") {
            std::printf("%s\n", GDALVersionInfo("RELEASE_NAME"));
            return 0;
        }
        Run(Parse({argumentTexts + 1, argumentTexts + argumentCount}));
        return 0;
    } catch (const std::invalid_argument& error) {
        std::cerr << error.what() << '\n';
        return 2;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
