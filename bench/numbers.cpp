// Benchmark of the conversions from text to number and of the type detection, with std::from_chars
// on the same texts as the yardstick.
#include "BenchSupport.h"
#include "text/ValueRules.h"

#include <Orvane/BNumbers.h>

#include <charconv>

namespace {

using OrvaneBench::Require;

/// Fields of one column of the data set A.
std::vector<std::string> MakeFields(std::size_t column)
{
    std::vector<std::string> fields;
    const std::string text = OrvaneBench::MakeText(OrvaneBench::EDataset::A);
    for (const std::string_view row : OrvaneBench::CutRows(text)) {
        std::size_t begin = 0;
        for (std::size_t skipped = 0; skipped < column; ++skipped) {
            begin = row.find(',', begin) + 1;
        }
        fields.emplace_back(row.substr(begin, row.find(',', begin) - begin));
    }
    return fields;
}

double FromChars(std::string_view text)
{
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

double ToCoordinate(std::string_view text)
{
    double value = 0;
    AsciiReader::ValueRules::ToCoordinate(text, value);
    return value;
}

std::size_t SizeOf(const std::vector<std::string>& fields)
{
    std::size_t size = 0;
    for (const std::string& field : fields) {
        size += field.size();
    }
    return size;
}

constexpr std::size_t kIdColumn = 0;
constexpr std::size_t kXColumn = 1;
constexpr std::size_t kFlagColumn = 6;

void BenchDoubles(benchmark::State& state, double (*convert)(std::string_view))
{
    const std::vector<std::string> fields = MakeFields(kXColumn);
    for (const std::string& field : fields) {
        Require(convert(field) == FromChars(field), "doubles are rounded exactly");
    }
    for (auto _ : state) {
        double sum = 0;
        for (const std::string& field : fields) {
            sum += convert(field);
        }
        benchmark::DoNotOptimize(sum);
    }
    OrvaneBench::SetRates(state, SizeOf(fields), fields.size());
}

BENCHMARK_CAPTURE(BenchDoubles, from_chars, &FromChars);
BENCHMARK_CAPTURE(BenchDoubles, Strtod, [](std::string_view text) {
    return Orvane::BNumbers::Strtod(text);
});
BENCHMARK_CAPTURE(BenchDoubles, ToDouble, [](std::string_view text) {
    return AsciiReader::ValueRules::ToDouble(text);
});
BENCHMARK_CAPTURE(BenchDoubles, ToCoordinate, &ToCoordinate);

void BenchIntegers(benchmark::State& state)
{
    const std::vector<std::string> fields = MakeFields(kIdColumn);
    std::int32_t expected = 1;
    for (const std::string& field : fields) {
        Require(AsciiReader::ValueRules::ToInt32<char>(field) == expected++, "whole numbers");
    }
    for (auto _ : state) {
        std::int64_t sum = 0;
        for (const std::string& field : fields) {
            sum += AsciiReader::ValueRules::ToInt32<char>(field);
        }
        benchmark::DoNotOptimize(sum);
    }
    OrvaneBench::SetRates(state, SizeOf(fields), fields.size());
}

BENCHMARK(BenchIntegers);

void BenchDetectType(benchmark::State& state, std::size_t column, std::int32_t expected)
{
    const std::vector<std::string> fields = MakeFields(column);
    for (const std::string& field : fields) {
        Require(AsciiReader::ValueRules::DetectType<char>(field) == expected, "the value class");
    }
    for (auto _ : state) {
        std::int32_t sum = 0;
        for (const std::string& field : fields) {
            sum += AsciiReader::ValueRules::DetectType<char>(field);
        }
        benchmark::DoNotOptimize(sum);
    }
    OrvaneBench::SetRates(state, SizeOf(fields), fields.size());
}

BENCHMARK_CAPTURE(BenchDetectType, integers, kIdColumn, AsciiReader::ValueRules::kInt32);
BENCHMARK_CAPTURE(BenchDetectType, doubles, kXColumn, AsciiReader::ValueRules::kDouble);
BENCHMARK_CAPTURE(BenchDetectType, words, kFlagColumn, AsciiReader::ValueRules::kString);

} // namespace

BENCHMARK_MAIN();
