// Benchmark of Separator: one logical line to fields.
#include "BenchSupport.h"
#include "text/Separator.h"
#include "text/SplitPatterns.h"
#include "text/TextView.h"

#include <utility>

namespace {

using AsciiReader::ETextUnit;
using AsciiReader::SplitRow;
using AsciiReader::TextView;
using OrvaneBench::EDataset;
using OrvaneBench::Require;

void BenchSplit(benchmark::State& state, EDataset dataset, std::size_t columns)
{
    const std::string text = OrvaneBench::MakeText(dataset);
    const std::vector<std::string_view> lines = OrvaneBench::CutRows(text);
    const AsciiReader::Separator separator(AsciiReader::SplitPatterns::CommaSplit(), {});
    SplitRow row;
    for (const std::string_view line : lines) {
        separator.Split(TextView(line, ETextUnit::Utf8), row);
        Require(row.GetCount() == columns, "the number of fields");
        for (const std::string_view field : row.Bytes().fields) {
            Require(field.empty() || field.front() != '"', "fields lose their quotes");
        }
    }
    for (auto _ : state) {
        for (const std::string_view line : lines) {
            separator.Split(TextView(line, ETextUnit::Utf8), row);
            benchmark::DoNotOptimize(row.GetCount());
        }
    }
    OrvaneBench::SetRates(state, text.size(), lines.size());
}

BENCHMARK_CAPTURE(BenchSplit, A, EDataset::A, 7);
BENCHMARK_CAPTURE(BenchSplit, quoted, EDataset::Quoted, 7);
BENCHMARK_CAPTURE(BenchSplit, B, EDataset::B, 9);
BENCHMARK_CAPTURE(BenchSplit, C, EDataset::C, 60);

/// One line of 2^n separators: the time a separator must not depend on n.
void BenchLongLine(benchmark::State& state)
{
    const auto count = static_cast<std::size_t>(state.range(0));
    const std::string line = "1" + std::string(count, ',');
    const AsciiReader::Separator separator(AsciiReader::SplitPatterns::CommaSplit(), {});
    SplitRow row;
    separator.Split(TextView(line, ETextUnit::Latin1), row);
    Require(row.GetCount() == count + 1, "the number of fields of a long line");
    for (auto _ : state) {
        separator.Split(TextView(line, ETextUnit::Latin1), row);
        benchmark::DoNotOptimize(row.GetCount());
    }
    OrvaneBench::SetRates(state, line.size(), count);
}

BENCHMARK(BenchLongLine)->RangeMultiplier(16)->Range(1 << 8, 1 << 20);

} // namespace

BENCHMARK_MAIN();
