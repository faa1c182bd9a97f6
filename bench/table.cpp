// Benchmark of a planned read: the plan, then rows to typed columns with nulls, column by column
// and one by one.
#include "table/Table.h"

#include "BenchSupport.h"

#include <Orvane/BVectorLayer.h>
#include <Orvane/Import/Plan.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

using OrvaneBench::EDataset;
using OrvaneBench::Require;

/// A data set as a file, which goes with the object.
class DataFile
{
public:
    explicit DataFile(EDataset dataset)
        : m_path(std::filesystem::temp_directory_path() /
                 ("orvane_bench_table_" + std::to_string(::getpid()) + ".csv"))
    {
        const std::string text = OrvaneBench::MakeText(dataset);
        m_size = text.size();
        std::ofstream(m_path, std::ios::binary)
            .write(text.data(), static_cast<std::streamsize>(text.size()));
    }

    ~DataFile()
    {
        std::error_code error;
        std::filesystem::remove(m_path, error);
    }

    DataFile(const DataFile&) = delete;
    DataFile& operator=(const DataFile&) = delete;

    [[nodiscard]] std::string Path() const { return m_path.string(); }

    [[nodiscard]] std::size_t Size() const noexcept { return m_size; }

private:
    std::filesystem::path m_path;
    std::size_t m_size = 0;
};

class NoBadRows : public Orvane::Import::BadRowSink
{
public:
    void Add(const Orvane::Import::TableRecord& /*record*/) override
    {
        Require(false, "a row of a clean file is bad");
    }
};

void BenchPlan(benchmark::State& state, EDataset dataset)
{
    const DataFile file(dataset);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Orvane::Import::MakePlan(file.Path(), {}).shape.rows);
    }
    OrvaneBench::SetRates(state, file.Size(), OrvaneBench::RowCount());
}

void BenchTable(benchmark::State& state, EDataset dataset, bool isOneByOne)
{
    const DataFile file(dataset);
    const Orvane::Import::Plan plan = Orvane::Import::MakePlan(file.Path(), {});
    Orvane::Import::TableRequest request;
    request.isOneByOne = isOneByOne;
    NoBadRows sink;
    for (auto _ : state) {
        Orvane::BVectorLayer layer;
        const Orvane::Import::TableCounts counts =
            Orvane::Import::ReadTable(plan, request, layer, sink, {});
        Require(counts.rows == OrvaneBench::RowCount() && counts.points == counts.rows,
                "the number of rows and points");
    }
    OrvaneBench::SetRates(state, file.Size(), OrvaneBench::RowCount());
}

BENCHMARK_CAPTURE(BenchPlan, A, EDataset::A);
BENCHMARK_CAPTURE(BenchPlan, B, EDataset::B);
BENCHMARK_CAPTURE(BenchTable, A, EDataset::A, false);
BENCHMARK_CAPTURE(BenchTable, AOneByOne, EDataset::A, true);
BENCHMARK_CAPTURE(BenchTable, B, EDataset::B, false);
BENCHMARK_CAPTURE(BenchTable, BOneByOne, EDataset::B, true);
BENCHMARK_CAPTURE(BenchTable, E, EDataset::E, false);

} // namespace

BENCHMARK_MAIN();
