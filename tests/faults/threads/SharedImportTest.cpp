// Whole imports whose reading, writing and counting several threads share.
#include <Orvane/Import/ImportFile.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
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

/// A file without the time of its making.
std::string Content(const std::string& path)
{
    return std::regex_replace(ReadFile(path),
                              std::regex("20[0-9]{2}-[0-9]{2}-[0-9]{2}T[0-9:.]{12}Z"),
                              "2000-01-01T00:00:00.000Z");
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
    request.file = folder.File("rows.csv", MakeRows(60000)).ToUtf8();
    std::string expected;
    for (const unsigned threads : {1U, 2U, 4U}) {
        const std::string name = std::to_string(threads) + "/out." + GetParam();
        std::filesystem::create_directory(folder.Path() / std::to_string(threads));
        request.out = (folder.Path() / name).native();
        request.threads = threads;
        const ImportReport report = ImportFile(request);
        EXPECT_EQ(report.read.rows, 60000U);
        EXPECT_EQ(report.read.points, 58800U);
        ASSERT_TRUE(report.ledger.has_value());
        EXPECT_TRUE(report.ledger->imbalances.empty());
        const std::string content = Content(request.out);
        ASSERT_GT(content.size(), 60000U);
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
    request.file = folder.File("rows.csv", MakeRows(60000)).ToUtf8();
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
