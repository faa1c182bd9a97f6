// Compares the reader with a slow, literal second one on real files, whole and in part.
#include "LiteralReader.h"
#include "RandomFiles.h"
#include "ReaderTraces.h"
#include "support/DataFolder.h"
#include "support/TestFiles.h"

#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using RandomFiles::EStep;
using ReaderTraces::EReader;
using ReaderTraces::FirstDifference;
using ReaderTraces::Perform;
using TestSupport::Options;

constexpr std::size_t kFullBlock = LiteralReader::Reader::kBlockSize;

/// How the files are read. Options that do not suit a file make both readers fail alike.
struct Case
{
    const char* name;
    Options options;
    std::size_t mostBytes;        ///< of a file; the rest is cut off
    std::uint64_t randomCase = 0; ///< the random case whose options and calls are used
};

void PrintTo(const Case& value, std::ostream* stream)
{
    *stream << value.name;
}

constexpr std::size_t kWhole = std::size_t{1} << 30;
constexpr std::size_t kPart = 6000;

std::vector<Case> MakeCases()
{
    using namespace Orvane;
    const std::vector<std::int32_t> widths = {5, 9, 9, 15, 12, 10, 42, 98};
    std::vector<Case> cases = {
        {"Whole", Options().XY(0, 1).Set(FIRST_LINE_COLUMN_NAMES, true), kWhole},
        {"InUtf8", Options().XY(1, 0).Set("CODEC", BString("UTF-8")), kPart},
        {"InUtf16", Options().XY(1, 0).Set("CODEC", BString("UTF-16LE")), kPart},
        {"ByTypesOfAllRows",
         Options().XY(2, 3).Set(AUTO_SCHEMA_ALL_ROWS, true).Set(FIRST_LINE_COLUMN_NAMES, true),
         kPart},
        {"AtSemicolons",
         Options().XY(4, 3).Set(ASCII_SEPARATOR, BString(";")).Set("SCHEMA_SAMPLE_SIZE", 50),
         kPart},
        {"AtTabs", Options().XY(7, 6).Set(ASCII_SEPARATOR, BString("\t")), kPart},
        {"AtWidths", Options().XY(5, 4).Set(FIELD_LENGTH, widths), kPart},
        {"AfterHeaderLines",
         Options()
             .XY(0, 1)
             .Set(ASCII_HEADER_COUNT, 1)
             .Set(IGNORE_BLANK_ROWS, false)
             .Set(PRESERVE_NUMERIC_STRINGS, true),
         kPart},
    };
    constexpr const char* kRandomNames[] = {
        "AtRandom1", "AtRandom2", "AtRandom3", "AtRandom4", "AtRandom5", "AtRandom6"};
    for (const char* name : kRandomNames) {
        cases.push_back({name, Options(), kPart / 4, cases.size()});
    }
    return cases;
}

/// All files of the test data; empty without the folder.
std::vector<std::filesystem::path> ListFiles()
{
    std::vector<std::filesystem::path> paths;
    if (!TestSupport::HasDataFolder()) {
        return paths;
    }
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(TestSupport::DataFolder())) {
        if (entry.is_regular_file() && entry.path().extension() != ".json" &&
            entry.path().extension() != ".md") {
            paths.push_back(entry.path());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::string ReadBytes(const std::filesystem::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

class RealFiles : public testing::TestWithParam<Case>
{};

TEST_P(RealFiles, AreReadAsTheLiteralReaderReadsThem)
{
    const TestSupport::TemporaryFolder folder;
    std::uint64_t number = 0;
    std::size_t lines = 0;
    for (const std::filesystem::path& source : ListFiles()) {
        ++number;
        RandomFiles::Case input;
        if (GetParam().randomCase != 0) {
            input = RandomFiles::MakeCase(GetParam().randomCase, number);
        } else {
            input.kept = GetParam().options;
            input.opened = input.kept;
            input.steps = {EStep::Preview, EStep::Read};
            input.smallBlockSize = 64;
        }
        std::string bytes = ReadBytes(source);
        bytes.resize(std::min(bytes.size(), GetParam().mostBytes));
        input.fileName = QString::fromStdString("points" + source.extension().string());
        const QString path =
            QString::fromStdString((folder.Path() / input.fileName.toStdString()).string());
        static_cast<void>(folder.File(input.fileName.toStdString(), bytes));
        // The literal reader decodes the file anew for each block.
        constexpr std::size_t kMostBlocks = 64;
        const std::size_t smallBlock = std::max(input.smallBlockSize, bytes.size() / kMostBlocks);
        for (const std::size_t block : {kFullBlock, smallBlock}) {
            if (block == smallBlock && GetParam().mostBytes == kWhole) {
                continue;
            }
            const ReaderTraces::Trace expected = Perform(EReader::Literal, path, input, block);
            lines += expected.size();
            EXPECT_EQ(FirstDifference(expected, Perform(EReader::Engine, path, input, block)), "")
                << source << " in blocks of " << block << "\n"
                << RandomFiles::DescribeCase(input).substr(0, 4000);
        }
    }
    // A file that cannot be opened gives a few lines; a row gives one or more.
    EXPECT_GE(lines, number * 10) << "hardly any row was read";
}

INSTANTIATE_TEST_SUITE_P(, RealFiles, testing::ValuesIn(MakeCases()), TestSupport::CaseName());

} // namespace
