// Several threads, each with a reader of its own, on files of their own and on one file.
#include "proxy/BAsciiProxy.h"
#include "support/TestFiles.h"

#include <Orvane/BArrowStream.h>
#include <Orvane/BDataReader.h>
#include <Orvane/Constants.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>

namespace {

using namespace Orvane;
using namespace TestSupport;
using Lines = std::vector<std::string>;

constexpr std::size_t kThreads = 8;

std::string MakeRows(std::size_t count)
{
    std::string rows = "lon,lat,name,count,real,flag\n";
    for (std::size_t row = 0; row < count; ++row) {
        const std::string number = std::to_string(row);
        rows +=
            number + ".5," + number + ",\"n\xC3\xA4me, " + number + "\"," + number + ",0.1,true\n";
    }
    return rows;
}

struct Case
{
    const char* name;
    const char* codec;
    bool usesDiskCache;
    bool looksAtAllRows;
    bool sharesOneFile;
};

void PrintTo(const Case& value, std::ostream* stream)
{
    *stream << value.name;
}

class ParallelReaders : public testing::TestWithParam<Case>
{
protected:
    /// Opens, previews, reads, visits and destroys a reader.
    Lines ReadOnce(BDataManagerProxy& proxy, const BString& path) const
    {
        BParamList params;
        params.Add(X_COLUMN, std::int32_t{0});
        params.Add(Y_COLUMN, std::int32_t{1});
        params.Add(FIRST_LINE_COLUMN_NAMES, true);
        params.Add("CODEC", GetParam().codec);
        params.Add(AUTO_SCHEMA_ALL_ROWS, GetParam().looksAtAllRows);
        BDataReader* const reader = proxy.CreateReader(path, params, nullptr, nullptr);
        if (GetParam().usesDiskCache) {
            reader->SetDiskCache(true, m_folder.Name("cache"), 50);
        }
        reader->Open(path, params);
        reader->Read();
        const BSharedPtr<BVectorLayer> layer = reader->GetLayers().GetAt(0);
        reader->Close();
        proxy.DestroyObject(reader);
        ArrowArrayStream stream = {};
        ExportArrowStream(layer, &stream);
        ArrowSchema schema = {};
        if (stream.get_schema(&stream, &schema) == 0) {
            schema.release(&schema);
        }
        stream.release(&stream);
        return Describe(*layer);
    }

    TemporaryFolder m_folder;
};

TEST_P(ParallelReaders, GiveWhatOneReaderGives)
{
    const std::size_t turns = std::getenv("ORVANE_FAULTS_ALL") != nullptr ? 200 : 10;
    const std::string rows = MakeRows(300);
    std::vector<BString> paths;
    for (std::size_t i = 0; i < kThreads; ++i) {
        const std::string name = GetParam().sharesOneFile ? "a.csv" : std::to_string(i) + ".csv";
        paths.push_back(m_folder.File(name, rows));
    }
    AsciiReader::BAsciiProxy proxy;
    // The first readings of the process run at the same time, too.
    std::vector<std::vector<Lines>> results(kThreads);
    std::vector<std::thread> threads;
    std::atomic<bool> isGo = false;
    for (std::size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            while (!isGo) {
                std::this_thread::yield();
            }
            for (std::size_t turn = 0; turn < turns; ++turn) {
                Lines lines = ReadOnce(proxy, paths[i]);
                if (results[i].empty() || lines != results[i].front()) {
                    results[i].push_back(std::move(lines));
                }
            }
        });
    }
    isGo = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    const Lines expected = ReadOnce(proxy, paths[0]);
    ASSERT_EQ(expected.size(), 300U);
    for (const std::vector<Lines>& result : results) {
        ASSERT_EQ(result.size(), 1U);
        EXPECT_EQ(result.front(), expected);
    }
    EXPECT_EQ(proxy.GetObjectCount(), 0U);
}

constexpr Case kCases[] = {
    {"OnFilesOfTheirOwn", "UTF-8", false, false, false},
    {"OnOneFile", "UTF-8", false, false, true},
    {"InBytesOfLatin1", "ISO-8859-1", false, false, true},
    {"DecodedByTheCodec", "windows-1252", false, false, true},
    {"WithTypesOfAllRows", "UTF-8", false, true, true},
    {"WithLayersOnDisk", "UTF-8", true, false, true},
};

INSTANTIATE_TEST_SUITE_P(, ParallelReaders, testing::ValuesIn(kCases), CaseName());

} // namespace
