// The program `orvane_bench_import`: reads files through the module as a host does, and says what
// that took. Each run is one sample; compare runs that alternate with those of another reader.
#include "Measure.h"

#include <Orvane/BException.h>
#include <Orvane/BFeaturePage.h>
#include <Orvane/BPluginModule.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/BRowWalk.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Constants.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace {

using OrvaneBench::Measure;
using OrvaneBench::MeasureMemory;
using OrvaneBench::Memory;
using OrvaneBench::PeakBytes;
using OrvaneBench::Times;

/// What the rows add up to, so that two readers can be held against each other.
struct Totals
{
    std::size_t rows = 0;
    std::size_t points = 0;
    double x = 0;
    double y = 0;
    double z = 0;
    double numbers = 0;
    std::size_t letters = 0;
};

void Visit(Orvane::BVectorLayer& layer, Totals& totals)
{
    Orvane::BFeatureCollection& features = layer.GetFeatures();
    for (std::size_t row = 0; row < features.GetCount(); ++row) {
        const Orvane::BSharedPtr<Orvane::BFeature> feature = features.GetAt(row);
        totals.letters += feature->GetName().GetLength();
        if (const Orvane::BPointGeo* point = feature->GetPoint()) {
            ++totals.points;
            totals.x += point->GetX();
            totals.y += point->GetY();
            totals.z += point->HasZ() ? point->GetZ() : 0;
        }
        for (std::size_t index = 0; index < feature->GetAttributeCount(); ++index) {
            const Orvane::BVariant value = feature->GetAttributeValue(index);
            if (value.GetType() == Orvane::EVariantType::String) {
                totals.letters += value.GetString().GetLength();
            } else {
                totals.numbers += value.GetDouble();
            }
        }
    }
    totals.rows += features.GetCount();
}

/// Bytes that the values of the layer take by themselves: coordinates, numbers and booleans in
/// their own width, texts with 4 bytes each for where they end.
std::size_t CountRawBytes(const Orvane::BTextArray& texts)
{
    return texts.bytes.GetSize() + texts.GetCount() * sizeof(std::uint32_t);
}

template <typename T>
std::size_t CountRawBytes(const Orvane::BPageArray<T>& values)
{
    return values.GetSize() * sizeof(T);
}

std::size_t CountRawBytes(Orvane::BVectorLayer& layer)
{
    const Orvane::BFeatureCollection& features = layer.GetFeatures();
    std::size_t bytes = 0;
    for (Orvane::BRowWalk walk(features); walk.NextPage();) {
        const Orvane::BFeaturePage& page = walk.GetPage();
        bytes += page.GetRowCount() * sizeof(double) * (page.z.IsEmpty() ? 2 : 3);
        bytes += page.HasNameTexts() ? CountRawBytes(page.nameTexts) : 0;
        for (const Orvane::BColumnData& column : page.data) {
            bytes +=
                Orvane::VisitColumn(column, [](const auto& array) { return CountRawBytes(array); });
        }
    }
    return bytes;
}

/// A value as the type that it looks like: integer, true or false, else text.
Orvane::BVariant ParseValue(std::string_view text)
{
    std::int32_t integer = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), integer);
    if (!text.empty() && result.ec == std::errc() && result.ptr == text.data() + text.size()) {
        return Orvane::BVariant(integer);
    }
    if (text == "true" || text == "false") {
        return Orvane::BVariant(text == "true");
    }
    return Orvane::BVariant(Orvane::BString::FromUtf8(text));
}

enum class EMode {
    Import, ///< each file is read, visited, dropped
    Drop, ///< all files are read and dropped in one measurement, then read once more to be visited
    Preview, ///< each file is opened and its first rows are asked for
};

struct Arguments
{
    EMode mode = EMode::Import;
    unsigned threads = 1;
    std::vector<std::string> files;
    Orvane::BParamList options;
};

unsigned ParseThreads(std::string_view text)
{
    unsigned threads = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), threads);
    if (threads == 0 || result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        throw std::invalid_argument("--threads needs a number from 1 on");
    }
    return threads;
}

Arguments Parse(const std::vector<std::string_view>& words)
{
    Arguments arguments;
    for (const std::string_view word : words) {
        const std::size_t equals = word.find('=');
        if (word == "--drop") {
            arguments.mode = EMode::Drop;
        } else if (word == "--preview") {
            arguments.mode = EMode::Preview;
        } else if (constexpr std::string_view kThreads = "--threads="; word.starts_with(kThreads)) {
            arguments.threads = ParseThreads(word.substr(kThreads.size()));
        } else if (equals == std::string_view::npos) {
            arguments.files.emplace_back(word);
        } else {
            arguments.options.Add(Orvane::BString::FromUtf8(word.substr(0, equals)),
                                  ParseValue(word.substr(equals + 1)));
        }
    }
    return arguments;
}

void PrintTimes(const char* name, const Times& times)
{
    std::printf("%s_cpu_s %.6f\n%s_wall_s %.6f\n", name, times.cpu, name, times.wall);
}

void PrintTotals(const Arguments& arguments, const Totals& totals)
{
    std::printf(
        "files %zu\nrows %zu\npoints %zu\n", arguments.files.size(), totals.rows, totals.points);
    std::printf("sum_x %.17g\nsum_y %.17g\nsum_z %.17g\nsum_numbers %.17g\nletters %zu\n",
                totals.x,
                totals.y,
                totals.z,
                totals.numbers,
                totals.letters);
}

void PrintMemory(const Memory& before, const Memory& after, std::int64_t peak)
{
    std::printf("resident_after_bytes %lld\nkept_bytes %lld\npeak_bytes %lld\n",
                static_cast<long long>(after.resident),
                static_cast<long long>(after.own - before.own),
                static_cast<long long>(peak));
}

// The next two are functions of their own for profilers, which find them by their names.

[[gnu::noinline]] Orvane::BReaderHandle OpenReader(const Orvane::BPluginModule& module,
                                                   const Orvane::BString& path,
                                                   const Arguments& arguments)
{
    Orvane::BReaderHandle reader = module.CreateReader(path, arguments.options);
    reader->SetThreadCount(arguments.threads);
    reader->Open(path, arguments.options);
    return reader;
}

[[gnu::noinline]] void ReadRows(Orvane::BDataReader& reader)
{
    reader.Read();
    reader.Close();
}

void Import(const Orvane::BPluginModule& module, const Arguments& arguments)
{
    Times open;
    Times read;
    Times visit;
    Totals totals;
    const Memory before = MeasureMemory();
    Memory after;
    std::int64_t peakOfRead = 0;
    std::size_t rawBytes = 0;
    for (const std::string& file : arguments.files) {
        const Orvane::BString path = Orvane::BString::FromUtf8(file);
        Orvane::BReaderHandle reader;
        Measure(open, [&] { reader = OpenReader(module, path, arguments); });
        Measure(read, [&] { ReadRows(*reader); });
        after = MeasureMemory();
        peakOfRead = PeakBytes();
        Measure(visit, [&] { Visit(*reader->GetLayers().GetAt(0), totals); });
        rawBytes += CountRawBytes(*reader->GetLayers().GetAt(0));
    }
    PrintTotals(arguments, totals);
    PrintTimes("open", open);
    PrintTimes("read", read);
    PrintTimes("visit", visit);
    PrintMemory(before, after, peakOfRead);
    std::printf("raw_bytes %zu\n", rawBytes);
}

/// Reads every file and hands its layer on, then drops it.
template <typename Use>
void ReadAll(const Orvane::BPluginModule& module, const Arguments& arguments, const Use& use)
{
    for (const std::string& file : arguments.files) {
        const Orvane::BString path = Orvane::BString::FromUtf8(file);
        Orvane::BReaderHandle reader = OpenReader(module, path, arguments);
        ReadRows(*reader);
        use(*reader->GetLayers().GetAt(0));
    }
}

void Drop(const Orvane::BPluginModule& module, const Arguments& arguments)
{
    Times read;
    const Memory before = MeasureMemory();
    Measure(read, [&] { ReadAll(module, arguments, [](Orvane::BVectorLayer&) {}); });
    const Memory after = MeasureMemory();
    const std::int64_t peakOfRead = PeakBytes();
    Totals totals;
    ReadAll(module, arguments, [&totals](Orvane::BVectorLayer& layer) { Visit(layer, totals); });
    PrintTotals(arguments, totals);
    PrintTimes("read", read);
    PrintMemory(before, after, peakOfRead);
}

void Preview(const Orvane::BPluginModule& module, const Arguments& arguments)
{
    Times preview;
    std::size_t columns = 0;
    const Memory before = MeasureMemory();
    for (const std::string& file : arguments.files) {
        const Orvane::BString path = Orvane::BString::FromUtf8(file);
        Measure(preview, [&] {
            Orvane::BReaderHandle reader = OpenReader(module, path, arguments);
            const Orvane::BParamList answer = reader->GetFilePreview(Orvane::QUERY_COLUMNS);
            columns += static_cast<std::size_t>(answer.GetInteger(Orvane::NUM_COLUMNS));
            reader->Close();
        });
    }
    std::printf("files %zu\ncolumns %zu\n", arguments.files.size(), columns);
    PrintTimes("preview", preview);
    PrintMemory(before, MeasureMemory(), PeakBytes());
}

void Run(const Orvane::BPluginModule& module, const Arguments& arguments)
{
    switch (arguments.mode) {
    case EMode::Import:
        Import(module, arguments);
        break;
    case EMode::Drop:
        Drop(module, arguments);
        break;
    case EMode::Preview:
        Preview(module, arguments);
        break;
    }
}

} // namespace

int main(int argumentCount, char** argumentTexts)
{
    if (argumentCount < 3) {
        std::cerr
            << "usage: orvane_bench_import MODULE [--drop | --preview] [--threads=N] FILE... "
               "[KEY=VALUE]...\n"
               "\n"
               "  --drop       reads all files in one measurement, each dropped after it is read\n"
               "  --preview    opens the files and asks for their first rows, no more\n"
               "  --threads=N  threads that share a read; 1 without it\n"
               "\n"
               "kept_bytes is what the last file's layer keeps in memory; raw_bytes is what\n"
               "the values of all layers take by themselves.\n";
        return 2;
    }
    try {
        Run(Orvane::BPluginModule(argumentTexts[1]),
            Parse({argumentTexts + 2, argumentTexts + argumentCount}));
        return 0;
    } catch (const Orvane::BException& error) {
        std::cerr << error.GetMessage().ToUtf8() << " (" << error.GetLocation().ToUtf8() << ") "
                  << error.GetDetails().ToUtf8() << '\n';
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
    }
    return 1;
}
