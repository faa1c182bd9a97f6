// Benchmark of LineSource: a file's bytes to logical lines, read from the page cache.
#include "BenchSupport.h"
#include "lines/LineSource.h"

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/Constants.h>

#include <QFile>
#include <QTemporaryFile>

namespace {

using OrvaneBench::EDataset;
using OrvaneBench::Require;

std::size_t CountLines(QFile& file, const AsciiReader::ReadOptions& options, std::size_t& lastSize)
{
    file.seek(0);
    AsciiReader::LineSource lines(options);
    lines.SetDevice(&file);
    AsciiReader::SourceLine line;
    std::size_t count = 0;
    while (lines.Next(line)) {
        if (line.text.IsEmpty() && !lines.HasPending()) {
            break;
        }
        lastSize = line.text.GetSize();
        ++count;
    }
    return count;
}

void BenchLines(benchmark::State& state, EDataset dataset, const char* codec)
{
    const std::string text = OrvaneBench::MakeText(dataset);
    QTemporaryFile file;
    Require(file.open(), "a temporary file");
    file.write(text.data(), static_cast<qint64>(text.size()));
    file.close();
    QFile device(file.fileName());
    Require(device.open(QIODevice::ReadOnly | QIODevice::Unbuffered), "the file opens");

    Orvane::BParamList options;
    options.Add("CODEC", codec);
    options.Add(Orvane::IGNORE_BLANK_ROWS, false);
    const std::size_t expected = OrvaneBench::RowCount() + 1;
    std::size_t lastSize = 0;
    Require(CountLines(device, options, lastSize) == expected, "the number of lines");
    if (dataset != EDataset::E) {
        const std::size_t lastBegin = text.rfind('\n', text.size() - 2) + 1;
        Require(lastSize == text.size() - 1 - lastBegin, "the length of the last line");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(CountLines(device, options, lastSize));
    }
    OrvaneBench::SetRates(state, text.size(), expected);
}

BENCHMARK_CAPTURE(BenchLines, A_latin1, EDataset::A, "ISO-8859-1");
BENCHMARK_CAPTURE(BenchLines, A_utf8, EDataset::A, "UTF-8");
BENCHMARK_CAPTURE(BenchLines, B_utf8, EDataset::B, "UTF-8");
BENCHMARK_CAPTURE(BenchLines, E_utf8, EDataset::E, "UTF-8");
BENCHMARK_CAPTURE(BenchLines, A_decoded, EDataset::A, "windows-1250");

} // namespace

BENCHMARK_MAIN();
