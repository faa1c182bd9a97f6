// Benchmark of BFeatureCollection: appending rows, and the two walks over them.
#include "BenchSupport.h"

#include <Orvane/BFeatureCollection.h>
#include <Orvane/BPointGeo.h>

#include <memory>

namespace {

using Orvane::EPointKind;
using Orvane::EVariantType;
using OrvaneBench::Require;

std::unique_ptr<Orvane::BFeatureCollection> MakeFeatures()
{
    auto features = std::make_unique<Orvane::BFeatureCollection>();
    Orvane::BFeatureAppender appender(*features,
                                      {{"id", EVariantType::Int32},
                                       {"value", EVariantType::Double},
                                       {"flag", EVariantType::Boolean},
                                       {"word", EVariantType::String}});
    const auto count = static_cast<std::uint32_t>(OrvaneBench::RowCount());
    for (std::uint32_t row = 0; row < count; ++row) {
        appender.AddInt32(static_cast<std::int32_t>(row));
        appender.AddDouble(row * 0.5);
        appender.AddBoolean(row % 2 != 0);
        appender.AddText("harbour", Orvane::ETextEncoding::Ascii);
        appender.EndRow(EPointKind::XY, row, -1.0 * row, 0, row + 1);
    }
    return features;
}

/// Half of count * (count - 1): what the rows' numbers add up to.
double ExpectedSum()
{
    const auto count = static_cast<double>(OrvaneBench::RowCount());
    return count * (count - 1) / 2;
}

void BenchAppend(benchmark::State& state)
{
    const std::size_t count = OrvaneBench::RowCount();
    const std::unique_ptr<Orvane::BFeatureCollection> made = MakeFeatures();
    Require(made->GetCount() == count, "the number of rows");
    Require(made->GetObjectRowCount() == 0, "rows are stored by value");
    for (auto _ : state) {
        benchmark::DoNotOptimize(MakeFeatures()->GetCount());
    }
    OrvaneBench::SetRates(state, made->GetByteSize(), count);
}

BENCHMARK(BenchAppend);

struct Walked
{
    double x = 0;
    double values = 0;
    std::size_t letters = 0;
};

Walked WalkFeatures(Orvane::BFeatureCollection& features)
{
    Walked walked;
    for (std::size_t row = 0; row < features.GetCount(); ++row) {
        const Orvane::BSharedPtr<Orvane::BFeature> feature = features.GetAt(row);
        walked.x += feature->GetPoint()->GetX();
        walked.values += feature->GetAttributeValue(1).GetDouble();
        walked.letters += feature->GetAttributeValue(3).GetString().GetLength();
        benchmark::DoNotOptimize(feature->GetName());
    }
    return walked;
}

Walked WalkPages(Orvane::BFeatureCollection& features)
{
    Walked walked;
    for (std::size_t index = 0; index < features.GetPageCount(); ++index) {
        const Orvane::BFeaturePage& page = features.GetPage(index);
        for (std::size_t row = 0; row < page.GetRowCount(); ++row) {
            walked.x += page.x[row];
            walked.values += page.data[1].doubles[row];
            walked.letters += page.data[3].texts.GetBytes(row).size();
        }
    }
    return walked;
}

void BenchWalk(benchmark::State& state, Walked (*walk)(Orvane::BFeatureCollection&))
{
    const std::unique_ptr<Orvane::BFeatureCollection> features = MakeFeatures();
    const Walked walked = walk(*features);
    Require(walked.x == ExpectedSum(), "the sum of x");
    Require(walked.values == ExpectedSum() / 2, "the sum of the values");
    Require(walked.letters == features->GetCount() * 7, "the letters");
    for (auto _ : state) {
        benchmark::DoNotOptimize(walk(*features).x);
    }
    OrvaneBench::SetRates(state, features->GetByteSize(), features->GetCount());
}

BENCHMARK_CAPTURE(BenchWalk, features, &WalkFeatures);
BENCHMARK_CAPTURE(BenchWalk, pages, &WalkPages);

} // namespace

BENCHMARK_MAIN();
