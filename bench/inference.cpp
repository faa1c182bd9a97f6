// Benchmark of AsciiSchema: rows to column types.
#include "BenchSupport.h"
#include "schema/AsciiSchema.h"
#include "text/SplitPatterns.h"

#include <Orvane/Constants.h>

namespace {

using Orvane::EVariantType;
using OrvaneBench::EDataset;
using OrvaneBench::Require;

Orvane::BAttributeDefs Infer(const std::vector<Orvane::BString>& lines)
{
    Orvane::BParamList options;
    options.Add(Orvane::AUTO_SCHEMA, 1);
    options.Add("SCHEMA_SAMPLE_SIZE", static_cast<std::int32_t>(lines.size()));
    options.Add(Orvane::FIRST_LINE_COLUMN_NAMES, true);
    return AsciiReader::AsciiSchema::Schema(
        lines, options, AsciiReader::SplitPatterns::CommaSplit());
}

void BenchInference(benchmark::State& state,
                    EDataset dataset,
                    const std::vector<EVariantType>& expected)
{
    const std::string text = OrvaneBench::MakeText(dataset);
    std::vector<Orvane::BString> lines = {
        Orvane::BString::FromUtf8(text.substr(0, text.find('\n')))};
    for (const std::string_view row : OrvaneBench::CutRows(text)) {
        lines.push_back(Orvane::BString::FromUtf8(row));
    }
    const Orvane::BAttributeDefs schema = Infer(lines);
    Require(schema.GetCount() >= expected.size(), "the number of columns");
    for (std::size_t index = 0; index < expected.size(); ++index) {
        Require(schema.GetAt(index).GetType() == expected[index], "the type of a column");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(Infer(lines).GetCount());
    }
    OrvaneBench::SetRates(state, text.size(), lines.size());
}

BENCHMARK_CAPTURE(BenchInference,
                  A,
                  EDataset::A,
                  {EVariantType::Int32,
                   EVariantType::Double,
                   EVariantType::Double,
                   EVariantType::Double,
                   EVariantType::Double,
                   EVariantType::Int32,
                   EVariantType::Boolean});
BENCHMARK_CAPTURE(BenchInference, B, EDataset::B, {EVariantType::Int32, EVariantType::String});

} // namespace

BENCHMARK_MAIN();
