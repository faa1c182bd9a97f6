// When a layer goes to disk, and where.
#include <Orvane/Constants.h>
#include <Orvane/Import/Failure.h>

#include <gtest/gtest.h>

#include <DiskCacheEstimate.h>
#include <cstdlib>
#include <optional>
#include <string>
#include <support/TestFiles.h>

namespace {

using Orvane::BAttributeDef;
using Orvane::BAttributeDefs;
using Orvane::EVariantType;
using Orvane::Import::ChoosePlace;
using Orvane::Import::EPagePlace;
using Orvane::Import::EstimateLayerBytes;
using Orvane::Import::FileMeasure;
using Orvane::Import::FindCacheFolder;
using TestSupport::CaseName;
using TestSupport::Options;
using TestSupport::TemporaryFolder;

struct PlaceCase
{
    const char* name;
    std::uint64_t layerBytes;
    std::uint64_t freeMemory;
    std::uint64_t freeDisk;
    EPagePlace expected;
};

void PrintTo(const PlaceCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class ChoosesThePlace : public testing::TestWithParam<PlaceCase>
{};

constexpr PlaceCase kPlaceCases[] = {
    {"MemoryForAnEmptyLayer", 0, 0, 0, EPagePlace::Memory},
    {"MemoryForHalfOfWhatIsFree", 500, 1000, 1000, EPagePlace::Memory},
    {"DiskForMoreThanHalf", 501, 1000, 1000, EPagePlace::Disk},
    {"DiskForMoreThanAll", 5000, 1000, 5000, EPagePlace::Disk},
    {"DiskWhenNothingIsFree", 1, 0, 1, EPagePlace::Disk},
    {"MemoryWhenTheDiskIsTooSmall", 501, 1000, 500, EPagePlace::MemoryNoDisk},
};

INSTANTIATE_TEST_SUITE_P(, ChoosesThePlace, testing::ValuesIn(kPlaceCases), CaseName());

TEST_P(ChoosesThePlace, ByMemoryAndDisk)
{
    const PlaceCase& row = GetParam();
    EXPECT_EQ(ChoosePlace(row.layerBytes, row.freeMemory, row.freeDisk), row.expected);
}

TEST(DiskCacheWorthEstimating, IsAFileOfMoreThanAThirtySecondOfFreeMemory)
{
    EXPECT_FALSE(Orvane::Import::IsWorthEstimating(1000, 32000));
    EXPECT_TRUE(Orvane::Import::IsWorthEstimating(1001, 32000));
    EXPECT_FALSE(Orvane::Import::IsWorthEstimating(0, 0));
}

BAttributeDefs Schema(std::initializer_list<EVariantType> types)
{
    BAttributeDefs defs;
    for (const EVariantType type : types) {
        BAttributeDef def;
        def.SetType(type);
        defs.Add(def);
    }
    return defs;
}

/// 10,000 rows of 20 bytes, estimated from 100 of them.
constexpr FileMeasure kRows = {200000, 2000, 100};

TEST(DiskCacheEstimate, CountsThePointOfEachRow)
{
    EXPECT_EQ(EstimateLayerBytes(kRows, {}, Options()), 160000U);
    EXPECT_EQ(EstimateLayerBytes(kRows, {}, Options().XYZ(0, 1, 2)), 240000U);
}

TEST(DiskCacheEstimate, CountsTheWidthsOfColumns)
{
    const auto estimate = [](EVariantType type) {
        return EstimateLayerBytes(kRows, Schema({type, type}), Options());
    };
    EXPECT_EQ(estimate(EVariantType::Double), 10000U * (16 + 16));
    EXPECT_EQ(estimate(EVariantType::Int64), 10000U * (16 + 16));
    EXPECT_EQ(estimate(EVariantType::Int32), 10000U * (16 + 16));
    EXPECT_EQ(estimate(EVariantType::Float), 10000U * (16 + 16));
    EXPECT_EQ(estimate(EVariantType::Boolean), 10000U * (16 + 2));
}

TEST(DiskCacheEstimate, CountsTheLineOnceForAllTexts)
{
    EXPECT_EQ(
        EstimateLayerBytes(kRows, Schema({EVariantType::String, EVariantType::Text}), Options()),
        10000U * (16 + 8 + 20));
}

TEST(DiskCacheEstimate, CountsNamesAsTexts)
{
    EXPECT_EQ(EstimateLayerBytes(kRows, {}, Options().Set(Orvane::NAME_COLUMN, 1)),
              10000U * (16 + 4 + 20));
}

TEST(DiskCacheEstimate, EndsAtMaxRecords)
{
    const auto estimate = [](std::int32_t limit) {
        return EstimateLayerBytes(kRows, {}, Options().Set(Orvane::MAX_RECORDS, limit));
    };
    EXPECT_EQ(estimate(10), 160U);
    EXPECT_EQ(estimate(20000), 160000U);
    EXPECT_EQ(estimate(0), 160000U);
    EXPECT_EQ(estimate(-1), 160000U);
}

struct MeasureCase
{
    const char* name;
    std::string_view text;
    std::uint64_t lines;
};

void PrintTo(const MeasureCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class FileMeasureOf : public testing::TestWithParam<MeasureCase>
{};

constexpr MeasureCase kMeasureCases[] = {
    {"CountsLineFeeds", "1,2\n3,4\n5,6\n", 3},
    {"CountsCarriageReturnsWithLineFeedsOnce", "1,2\r\n3,4\r\n", 2},
    {"CountsLoneCarriageReturns", "1,2\r3,4\r5,6\r", 3},
    {"CountsAFileWithoutLineEndingAsOneLine", "1,2", 1},
};

INSTANTIATE_TEST_SUITE_P(, FileMeasureOf, testing::ValuesIn(kMeasureCases), CaseName());

TEST_P(FileMeasureOf, AWholeFile)
{
    const TemporaryFolder folder;
    const std::string file = folder.File("rows.csv", GetParam().text).ToUtf8();
    const std::optional<FileMeasure> measure = FileMeasure::Of(file);
    ASSERT_TRUE(measure.has_value());
    EXPECT_EQ(measure->fileBytes, GetParam().text.size());
    EXPECT_EQ(measure->sampleBytes, GetParam().text.size());
    EXPECT_EQ(measure->sampleLines, GetParam().lines);
}

TEST(FileMeasure, LooksAtTheFirstMebibyteOfALargeFile)
{
    const TemporaryFolder folder;
    std::string text;
    while (text.size() < 3000000) {
        text += "1,2\n";
    }
    const std::optional<FileMeasure> measure =
        FileMeasure::Of(folder.File("rows.csv", text).ToUtf8());
    ASSERT_TRUE(measure.has_value());
    EXPECT_EQ(measure->fileBytes, 3000000U);
    EXPECT_EQ(measure->sampleBytes, 1048576U);
    EXPECT_EQ(measure->sampleLines, 262144U);
}

TEST(FileMeasure, KnowsNothingOfEmptyAndMissingFilesAndFolders)
{
    const TemporaryFolder folder;
    EXPECT_FALSE(FileMeasure::Of(folder.File("empty.csv", "").ToUtf8()).has_value());
    EXPECT_FALSE(FileMeasure::Of(folder.Name("missing.csv").ToUtf8()).has_value());
    EXPECT_FALSE(FileMeasure::Of(folder.Path().native()).has_value());
}

/// Sets TMPDIR for a test.
class TmpDir
{
public:
    explicit TmpDir(const char* value)
    {
        const char* old = std::getenv("TMPDIR");
        m_old = old == nullptr ? std::nullopt : std::optional<std::string>(old);
        Set(value);
    }

    ~TmpDir() { Set(m_old ? m_old->c_str() : nullptr); }

    TmpDir(const TmpDir&) = delete;
    TmpDir& operator=(const TmpDir&) = delete;

private:
    static void Set(const char* value)
    {
        if (value == nullptr) {
            unsetenv("TMPDIR");
        } else {
            setenv("TMPDIR", value, 1);
        }
    }

    std::optional<std::string> m_old;
};

TEST(DiskCacheFolder, IsTheGivenOneMadeAbsolute)
{
    const TemporaryFolder folder;
    EXPECT_EQ(FindCacheFolder(folder.Path().native()), folder.Path().native());
    EXPECT_EQ(FindCacheFolder("."), (std::filesystem::current_path() / ".").native());
}

TEST(DiskCacheFolder, IsTmpdirWhenNoneIsGiven)
{
    const TemporaryFolder folder;
    const TmpDir environment(folder.Path().c_str());
    EXPECT_EQ(FindCacheFolder({}), folder.Path().native());
}

TEST(DiskCacheFolder, IsATemporaryFolderOfTheSystemWithoutTmpdir)
{
    for (const char* value : {static_cast<const char*>(nullptr), ""}) {
        const TmpDir environment(value);
        const std::string folder = FindCacheFolder({});
        EXPECT_TRUE(folder == "/tmp" || folder == "/var/tmp") << folder;
    }
}

/// @return the reason
std::string ExpectRefused(const std::string& given, const std::string& shown)
{
    try {
        static_cast<void>(FindCacheFolder(given));
    } catch (const Orvane::Import::ImportFailure& failure) {
        const Orvane::Import::FailureFields& fields = failure.GetFields();
        EXPECT_EQ(fields.code, "cache-folder");
        EXPECT_EQ(fields.what, "The disk cache cannot be kept in <" + shown + ">.");
        EXPECT_EQ(fields.underneath.className, "BException");
        EXPECT_EQ(fields.underneath.message.ToUtf8(),
                  "Could not keep the disk cache in <" + shown + ">.");
        EXPECT_EQ(fields.underneath.location, Orvane::BString("DiskCache"));
        EXPECT_EQ(fields.underneath.details.ToUtf8(), fields.cause);
        return fields.cause;
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

TEST(DiskCacheFolder, MustBeAFolderThatIsThere)
{
    const TemporaryFolder folder;
    const std::string file = folder.File("file", "text").ToUtf8();
    const std::string missing = folder.Name("missing").ToUtf8();
    EXPECT_EQ(ExpectRefused(missing, missing), "The folder does not exist.");
    EXPECT_EQ(ExpectRefused(file, file), "It is no folder.");
    EXPECT_EQ(ExpectRefused("a\xFF", "a\\xFF"), "The name is not valid UTF-8.");
    const TmpDir environment(missing.c_str());
    EXPECT_EQ(ExpectRefused({}, missing), "The folder does not exist.");
}

TEST(DiskCacheFolder, MustAcceptFiles)
{
    // Nobody can make files there, not even root; the reason is the system's.
    EXPECT_NE(ExpectRefused("/proc/self/fd", "/proc/self/fd"), "");
}

TEST(DiskCacheFolder, IsLeftEmpty)
{
    const TemporaryFolder folder;
    static_cast<void>(FindCacheFolder(folder.Path().native()));
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

} // namespace
