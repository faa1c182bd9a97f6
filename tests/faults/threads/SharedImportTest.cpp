// Whole imports whose reading, writing and counting several threads share.
#include <Orvane/Import/ImportFile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <support/TestFiles.h>

namespace {

using Orvane::Import::Callbacks;
using Orvane::Import::CancelFlag;
using Orvane::Import::EPhase;
using Orvane::Import::ImportFailure;
using Orvane::Import::ImportFile;
using Orvane::Import::ImportReport;
using Orvane::Import::ImportRequest;
using Orvane::Import::ProgressState;
using TestSupport::TemporaryFolder;

/// More than two pages.
constexpr int kRows = 40000;

/// Rows of all types; some without a point, some with texts of several lines.
std::string MakeRows(int count)
{
    std::string text = "id,lon,lat,name,count\n";
    for (int row = 0; row < count; ++row) {
        const std::string number = std::to_string(row);
        const bool hasPoint = row % 50 != 7;
        text += number + ",";
        text += hasPoint ? std::to_string(row * 7 % 360 - 180) + ".25" : "";
        text += ",";
        text += hasPoint ? std::to_string(row * 11 % 170 - 85) + ".5" : "";
        text +=
            row % 100 == 3 ? ",\"two\nlines, " + number + "\"," : ",Z\u00FCrich " + number + ",";
        text += row % 9 == 0 ? "\n" : number + "\n";
    }
    return text;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// Whether a text ends with a time as "2026-11-22T14:05:06.789Z".
bool EndsWithTime(std::string_view text)
{
    constexpr std::string_view kForm = "0000-00-00T00:00:00.000Z";
    return text.size() >= kForm.size() &&
           std::equal(kForm.begin(), kForm.end(), text.end() - kForm.size(), [](char form, char c) {
               return form == '0' ? c >= '0' && c <= '9' : c == form;
           });
}

/// A file without the time of its making.
std::string Content(const std::string& path)
{
    constexpr std::size_t kTimeBytes = 24;
    std::string content = ReadFile(path);
    for (std::size_t at = content.find('Z'); at != std::string::npos;
         at = content.find('Z', at + 1)) {
        if (EndsWithTime(std::string_view(content).substr(0, at + 1))) {
            content.replace(at + 1 - kTimeBytes, kTimeBytes, kTimeBytes, '-');
        }
    }
    return content;
}

class SharedImport : public testing::TestWithParam<const char*>
{};

INSTANTIATE_TEST_SUITE_P(,
                         SharedImport,
                         testing::Values("gpkg", "fgb", "csv", "geojson", "geojsonl"),
                         [](const auto& row) { return std::string(row.param); });

TEST_P(SharedImport, WritesTheSameFileWithAnyNumberOfThreads)
{
    const TemporaryFolder folder;
    ImportRequest request;
    request.file = folder.File("rows.csv", MakeRows(kRows)).ToUtf8();
    std::string expected;
    for (const unsigned threads : {1U, 2U, 4U}) {
        const std::string name = std::to_string(threads) + "/out." + GetParam();
        std::filesystem::create_directory(folder.Path() / std::to_string(threads));
        request.out = (folder.Path() / name).native();
        request.threads = threads;
        const ImportReport report = ImportFile(request);
        EXPECT_EQ(report.read.rows, std::uint64_t{kRows});
        EXPECT_EQ(report.read.points, std::uint64_t{kRows - kRows / 50});
        ASSERT_TRUE(report.ledger.has_value());
        EXPECT_TRUE(report.ledger->imbalances.empty());
        const std::string content = Content(request.out);
        ASSERT_GT(content.size(), std::size_t{kRows});
        if (threads == 1) {
            expected = content;
        }
        EXPECT_TRUE(content == expected) << threads;
    }
}

TEST_P(SharedImport, StopsInAnyPhaseAndLeavesNothing)
{
    const TemporaryFolder folder;
    ImportRequest request;
    request.file = folder.File("rows.csv", MakeRows(kRows)).ToUtf8();
    request.out = folder.Name((std::string("out.") + GetParam()).c_str()).ToUtf8();
    request.threads = 3;
    for (const EPhase wanted : {EPhase::Reading, EPhase::Writing, EPhase::Indexing}) {
        CancelFlag flag;
        bool isReached = false;
        Callbacks callbacks;
        callbacks.cancel = &flag;
        callbacks.interval = std::chrono::milliseconds(0);
        callbacks.progress = [&](const ProgressState& state) {
            isReached = isReached || state.phase == wanted;
            if (isReached) {
                flag.Request();
            }
            return true;
        };
        try {
            static_cast<void>(ImportFile(request, callbacks));
            EXPECT_FALSE(isReached);
            std::filesystem::remove(request.out);
        } catch (const ImportFailure& failure) {
            EXPECT_TRUE(failure.Is("cancelled"));
        }
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()),
                                std::filesystem::directory_iterator()),
                  1)
            << "the input alone";
    }
}

} // namespace
