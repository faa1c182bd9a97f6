// The samples of docs/sdk.md, compiled and run. The docs test compares the page with this file.
#include <Orvane/BArrowStream.h>
#include <Orvane/BException.h>
#include <Orvane/BFeatureAppender.h>
#include <Orvane/BPluginModule.h>
#include <Orvane/BRowWalk.h>
#include <Orvane/Constants.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>

namespace {

Orvane::BSharedPtr<Orvane::BVectorLayer> ReadStations(const std::string& moduleFile,
                                                      const Orvane::BString& path)
{
    const Orvane::BPluginModule module(moduleFile);

    Orvane::BParamList options;
    options.Add(Orvane::FIRST_LINE_COLUMN_NAMES, true);
    options.Add(Orvane::X_COLUMN, 1);
    options.Add(Orvane::Y_COLUMN, 2);

    const Orvane::BReaderHandle reader = module.CreateReader(path, options);
    reader->Open(path, options);
    reader->Read();
    reader->Close();
    return reader.GetLayer(0);
}

std::size_t CountPoints(Orvane::BVectorLayer& layer)
{
    std::size_t count = 0;
    Orvane::BFeatureCollection& features = layer.GetFeatures();
    for (std::size_t row = 0; row < features.GetCount(); ++row) {
        const Orvane::BSharedPtr<Orvane::BFeature> feature = features.GetAt(row);
        count += feature->GetPoint() != nullptr ? 1U : 0U;
    }
    return count;
}

double SumColumn(const Orvane::BVectorLayer& layer, std::size_t columnIndex)
{
    double sum = 0;
    Orvane::VisitRows(
        layer.GetFeatures(),
        [&](const Orvane::BFeaturePage& page, std::size_t row) {
            if (columnIndex < page.GetAttributeCount(row)) {
                sum += page.GetValue(row, columnIndex).GetDouble();
            }
        },
        [&](const Orvane::BFeature& object) {
            if (columnIndex < object.GetAttributeCount()) {
                sum += object.GetAttributeValue(columnIndex).GetDouble();
            }
        });
    return sum;
}

void AddStation(Orvane::BVectorLayer& layer, double x, double y, std::string_view asciiName)
{
    Orvane::BFeatureAppender appender(layer.GetFeatures(),
                                      {{"name", Orvane::EVariantType::String}});
    appender.AddText(asciiName, Orvane::ETextEncoding::Ascii);
    appender.EndRow(Orvane::EPointKind::XY, x, y, 0, 1);
}

std::size_t CountNulls(const Orvane::BFeatureCollection& features, std::size_t columnIndex)
{
    std::size_t nulls = 0;
    for (Orvane::BRowWalk walk(features); walk.NextPage();) {
        if (columnIndex < walk.GetPage().data.size()) {
            nulls += walk.GetPage().data[columnIndex].CountNulls(walk.GetRowCount());
        }
    }
    return nulls;
}

std::size_t PassRows(std::size_t rows)
{
    std::size_t passed = 0;
    Orvane::BFeatureCollection features;
    features.SetPageConsumer(
        [&passed](const std::shared_ptr<Orvane::BFeaturePage>& page, std::size_t /*firstRow*/) {
            passed += page->GetRowCount();
        });
    {
        Orvane::BFeatureAppender appender(features, {{"number", Orvane::EVariantType::Int64}});
        for (std::size_t row = 0; row < rows; ++row) {
            appender.AddInt64(static_cast<std::int64_t>(row));
            const auto name = static_cast<std::uint32_t>(row);
            appender.EndRow(Orvane::EPointKind::None, 0, 0, 0, name);
        }
    }
    features.FlushPages(); // the last page, which is not full
    return passed;
}

void ExportLayer(const Orvane::BSharedPtr<Orvane::BVectorLayer>& layer,
                 const std::function<void(ArrowArrayStream&)>& consume)
{
    ArrowArrayStream stream;
    Orvane::ExportArrowStream(layer, &stream);
    consume(stream); // or call get_schema and get_next
    if (stream.release != nullptr) {
        stream.release(&stream);
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 3) {
        std::cerr << "usage: sdk_samples MODULE FILE\n";
        return 2;
    }
    try {
        const Orvane::BSharedPtr<Orvane::BVectorLayer> layer =
            ReadStations(arguments[1], arguments[2]);
        std::cout << CountPoints(*layer) << " points, sum " << SumColumn(*layer, 1) << '\n';
        AddStation(*layer, 1.5, 2.5, "added");
        layer->GetFeatures().GetAt(0)->SetAttributeValue(1, Orvane::BVariant(std::int32_t{100}));
        std::cout << CountPoints(*layer) << " points, sum " << SumColumn(*layer, 1) << '\n';
        const Orvane::BSharedPtr<Orvane::BVectorLayer> own =
            Orvane::MakeShared<Orvane::BVectorLayer>();
        AddStation(*own, 3.5, 4.5, "own");
        std::cout << CountNulls(own->GetFeatures(), 0) << " nulls\n";
        std::cout << PassRows(100000) << " rows passed\n";
        ExportLayer(own, [](ArrowArrayStream& stream) {
            ArrowArray batch;
            const bool isGood = stream.get_next(&stream, &batch) == 0;
            std::cout << (isGood ? batch.length : -1) << " row in the stream\n";
            batch.release(&batch);
        });
    } catch (const Orvane::BException& error) {
        std::cerr << error.GetMessage().ToUtf8() << '\n';
        return 1;
    }
    return 0;
}
