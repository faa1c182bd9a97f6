// Benchmark of RowPlan: split rows to the rows of a layer.
#include "BenchSupport.h"
#include "layer/RowPlan.h"
#include "text/Separator.h"
#include "text/SplitPatterns.h"
#include "text/TextView.h"

#include <Orvane/BAttributeDefs.h>
#include <Orvane/BFeatureCollection.h>
#include <Orvane/Constants.h>

#include <cmath>

namespace {

using Orvane::EVariantType;
using OrvaneBench::EDataset;
using OrvaneBench::Require;

/// Schemas without the coordinate columns, which are fields 1 and 2 of A and 2 and 3 of B.
struct Plan
{
    std::int32_t xColumn;
    std::vector<EVariantType> types;
};

Plan PlanOf(EDataset dataset)
{
    using Type = EVariantType;
    if (dataset == EDataset::B) {
        return {2,
                {Type::Int32,
                 Type::String,
                 Type::Int32,
                 Type::Double,
                 Type::String,
                 Type::String,
                 Type::Double}};
    }
    return {1, {Type::Int32, Type::Double, Type::Double, Type::Int32, Type::Boolean}};
}

void BenchConversion(benchmark::State& state, EDataset dataset)
{
    const std::string text = OrvaneBench::MakeText(dataset);
    const std::vector<std::string_view> lines = OrvaneBench::CutRows(text);
    const AsciiReader::Separator separator(AsciiReader::SplitPatterns::CommaSplit(), {});

    const Plan columns = PlanOf(dataset);
    Orvane::BAttributeDefs schema;
    for (const EVariantType type : columns.types) {
        Orvane::BAttributeDef definition;
        definition.SetName(
            "c" + Orvane::BString::FromInteger(static_cast<std::int64_t>(schema.GetCount())));
        definition.SetType(type);
        schema.Add(definition);
    }
    Orvane::BParamList options;
    options.Add(Orvane::X_COLUMN, columns.xColumn);
    options.Add(Orvane::Y_COLUMN, columns.xColumn + 1);
    const AsciiReader::RowPlan plan(schema, options);

    const auto convertAll = [&] {
        Orvane::BFeatureCollection features;
        Orvane::BFeatureAppender appender(features, plan.MakeColumns());
        AsciiReader::SplitRow row;
        std::uint32_t number = 0;
        for (const std::string_view line : lines) {
            separator.Split(AsciiReader::TextView(line, AsciiReader::ETextUnit::Utf8), row);
            plan.AppendRow(row, ++number, appender);
        }
        const Orvane::BMBB box = features.GetMBB();
        Require(features.GetCount() == lines.size(), "the number of rows");
        Require(features.GetAt(0)->GetAttributeValue(0).GetInteger() == 1, "the first value");
        return box;
    };
    const Orvane::BMBB box = convertAll();
    Require(box.minX >= -180 && box.maxX <= 180 && box.minX < box.maxX, "the points");
    for (auto _ : state) {
        benchmark::DoNotOptimize(convertAll());
    }
    OrvaneBench::SetRates(state, text.size(), lines.size());
}

BENCHMARK_CAPTURE(BenchConversion, A, EDataset::A);
BENCHMARK_CAPTURE(BenchConversion, quoted, EDataset::Quoted);
BENCHMARK_CAPTURE(BenchConversion, B, EDataset::B);

} // namespace

BENCHMARK_MAIN();
