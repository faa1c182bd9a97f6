// What the component benchmarks share: their size, their data, and a check that ends the program.
#pragma once

#include "Datasets.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace OrvaneBench {

/// Rows of the data: ORVANE_BENCH_ROWS of the environment, else 100,000. The smoke tests take few.
inline std::size_t RowCount()
{
    constexpr std::size_t kDefaultRows = 100'000;
    const char* rows = std::getenv("ORVANE_BENCH_ROWS");
    return rows == nullptr ? kDefaultRows : std::strtoul(rows, nullptr, 10);
}

/// Ends the program when a result is not what it has to be: a wrong answer is never timed.
inline void Require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "wrong result: %s\n", what);
        std::exit(EXIT_FAILURE);
    }
}

/// The text of a data set of RowCount() rows.
inline std::string MakeText(EDataset dataset)
{
    DatasetRequest request;
    request.dataset = dataset;
    request.rows = RowCount();
    return GenerateText(request);
}

/// The lines of a data set that has no line breaks in its cells, column names left out. The views
/// are into `text`.
inline std::vector<std::string_view> CutRows(std::string_view text)
{
    std::vector<std::string_view> rows;
    std::size_t begin = text.find('\n') + 1;
    while (begin < text.size()) {
        const std::size_t end = text.find('\n', begin);
        rows.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return rows;
}

/// Reports bytes and rows a second.
inline void SetRates(benchmark::State& state, std::size_t bytes, std::size_t rows)
{
    const auto iterations = static_cast<std::int64_t>(state.iterations());
    state.SetBytesProcessed(iterations * static_cast<std::int64_t>(bytes));
    state.SetItemsProcessed(iterations * static_cast<std::int64_t>(rows));
}

} // namespace OrvaneBench
