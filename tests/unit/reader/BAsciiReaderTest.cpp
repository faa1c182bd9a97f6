// The reader protocol: separator set-up, opening, reading, preview and closing.
#include "reader/BAsciiReader.h"

#include "support/TestFiles.h"

#include <Orvane/BFeature.h>
#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using AsciiReader::BAsciiReader;
using Orvane::BParamList;
using Orvane::BString;
using TestSupport::CountOpenDescriptors;
using TestSupport::Describe;
using TestSupport::ExpectBException;
using TestSupport::ExpectSubclass;
using TestSupport::FeatureNames;
using TestSupport::LeaksByRule;
using TestSupport::NotingProgress;
using TestSupport::Options;
using TestSupport::TemporaryFolder;
using TestSupport::Texts;
using Lines = std::vector<std::string>;
using Steps = std::vector<std::pair<unsigned, unsigned>>;

class BAsciiReaderTest : public testing::Test
{
protected:
    /// A reader on a new file, not open yet; kept list and opening list are the same.
    BAsciiReader& Make(std::string_view name, std::string_view bytes, const Options& options)
    {
        m_path = m_folder.File(name, bytes);
        m_params = options;
        m_reader = std::make_unique<BAsciiReader>(m_path, m_params);
        return *m_reader;
    }

    BAsciiReader& Open(std::string_view name, std::string_view bytes, const Options& options)
    {
        Make(name, bytes, options).Open(m_path, m_params);
        return *m_reader;
    }

    /// Number of columns that a file of one line is cut into.
    std::size_t
    ColumnsOf(std::string_view name, std::string_view line, const Options& options = Options())
    {
        BAsciiReader& reader = Open(name, line, options);
        const std::size_t count = reader.GetLayers().GetAt(0)->GetSchema().GetCount();
        reader.Close();
        return count;
    }

    Lines ReadAll(std::string_view name, std::string_view bytes, const Options& options)
    {
        BAsciiReader& reader = Open(name, bytes, options);
        reader.Read();
        return Describe(*reader.GetLayers().GetAt(0));
    }

    void ExpectNoSeparator(std::string_view name, const Options& options = Options())
    {
        const LeaksByRule leaks;
        // Rule: the location text comes first here, and it names the reading.
        ExpectBException([&] { (void)Open(name, "a b\n", options); },
                         "BAsciiReader::Read",
                         "Separator could not be determined automatically.");
        EXPECT_FALSE(m_reader->IsOpen());
        EXPECT_EQ(m_reader->GetLayers().GetCount(), 0U);
        m_reader->Close();
    }

    TemporaryFolder m_folder;
    BString m_path;
    BParamList m_params;
    std::unique_ptr<BAsciiReader> m_reader;
};

// --- separator ---------------------------------------------------------------------------------

// Cut at a comma: 2 fields, at a tab: 3, at a blank: 4.
const char* const kMixedLine = "a b,c d\te\tf g\n";
constexpr std::size_t kByComma = 2;
constexpr std::size_t kByTab = 3;
constexpr std::size_t kByBlank = 4;

struct SeparatorCase
{
    const char* name;
    const char* fileName;
    std::vector<const BString*> keys;
    std::size_t columns;
};

void PrintTo(const SeparatorCase& separatorCase, std::ostream* stream)
{
    *stream << separatorCase.fileName;
}

class BAsciiReaderSeparator : public BAsciiReaderTest,
                              public testing::WithParamInterface<SeparatorCase>
{};

TEST_P(BAsciiReaderSeparator, FollowsExtensionAndKeys)
{
    Options options;
    for (const BString* key : GetParam().keys) {
        options.Set(*key, true);
    }
    EXPECT_EQ(ColumnsOf(GetParam().fileName, kMixedLine, options), GetParam().columns);
}

// Rule: the keys count by their presence, whatever their value.
TEST_P(BAsciiReaderSeparator, FollowsKeysThatAreFalse)
{
    Options options;
    for (const BString* key : GetParam().keys) {
        options.Set(*key, false);
    }
    EXPECT_EQ(ColumnsOf(GetParam().fileName, kMixedLine, options), GetParam().columns);
}

INSTANTIATE_TEST_SUITE_P(
    ,
    BAsciiReaderSeparator,
    testing::Values(
        SeparatorCase{"CsvIsCutAtCommas", "a.csv", {}, kByComma},
        SeparatorCase{"TsvIsCutAtTabs", "a.tsv", {}, kByTab},
        SeparatorCase{"SsvIsCutAtBlanks", "a.ssv", {}, kByBlank},
        SeparatorCase{"AscIsCutAtCommas", "a.asc", {}, kByComma},
        SeparatorCase{"UpperCaseCsv", "A.CSV", {}, kByComma},
        SeparatorCase{"MixedCaseTsv", "a.TsV", {}, kByTab},
        SeparatorCase{"UpperCaseSsv", "A.SSV", {}, kByBlank},
        SeparatorCase{"UpperCaseAsc", "A.ASC", {}, kByComma},
        SeparatorCase{"CsvOutranksTheTabKey", "a.csv", {&Orvane::USE_TAB}, kByComma},
        SeparatorCase{"CsvOutranksTheBlankKey", "a.csv", {&Orvane::USE_SPACE}, kByComma},
        SeparatorCase{"TheCommaKeyOutranksTsv", "a.tsv", {&Orvane::USE_COMMA}, kByComma},
        SeparatorCase{"TheCommaKeyOutranksSsv", "a.ssv", {&Orvane::USE_COMMA}, kByComma},
        SeparatorCase{"TsvOutranksTheBlankKey", "a.tsv", {&Orvane::USE_SPACE}, kByTab},
        SeparatorCase{"TheTabKeyOutranksSsv", "a.ssv", {&Orvane::USE_TAB}, kByTab},
        SeparatorCase{"TheBlankKeyOutranksTxt", "a.txt", {&Orvane::USE_SPACE}, kByBlank},
        SeparatorCase{"TheTabKeyOutranksTxt", "a.txt", {&Orvane::USE_TAB}, kByTab},
        SeparatorCase{"TheTabKeyOutranksAsc", "a.asc", {&Orvane::USE_TAB}, kByTab},
        SeparatorCase{"TheCommaKeyOutranksTheOtherKeys",
                      "a.txt",
                      {&Orvane::USE_SPACE, &Orvane::USE_TAB, &Orvane::USE_COMMA},
                      kByComma},
        SeparatorCase{"TheTabKeyOutranksTheBlankKey",
                      "a.dat",
                      {&Orvane::USE_SPACE, &Orvane::USE_TAB},
                      kByTab},
        SeparatorCase{"TheBlankKeyOpensAnyExtension", "a.dat", {&Orvane::USE_SPACE}, kByBlank},
        SeparatorCase{"TheCommaKeyOpensAnyExtension", "a.csvx", {&Orvane::USE_COMMA}, kByComma}),
    TestSupport::CaseName());

TEST_F(BAsciiReaderTest, DetectsTheSeparatorOfATxtFileWhateverItsCase)
{
    for (const char* name : {"a.txt", "A.TXT", "a.Txt"}) {
        EXPECT_EQ(ColumnsOf(name, "a\tb\tc\n1\t2\t3\n"), 3U) << name;
        EXPECT_EQ(ColumnsOf(name, "a,b\n1,2\n"), 2U) << name;
    }
}

TEST_F(BAsciiReaderTest, FindsNoSeparatorForAnyOtherExtension)
{
    ExpectNoSeparator("a.dat");
    ExpectNoSeparator("a.csvx");
    ExpectNoSeparator("a.cs");
    ExpectNoSeparator("csv.");
}

TEST_F(BAsciiReaderTest, CutsAtALiteralSeparatorWhateverTheExtension)
{
    EXPECT_EQ(ColumnsOf("a.csv", "a|b,c|d\n", Options().Set(Orvane::ASCII_SEPARATOR, BString("|"))),
              3U);
    EXPECT_EQ(ColumnsOf("a.dat", "a.b.c.d\n", Options().Set(Orvane::ASCII_SEPARATOR, BString("."))),
              4U);
    EXPECT_EQ(
        ColumnsOf("a.dat", "a%1b%1c\n", Options().Set(Orvane::ASCII_SEPARATOR, BString("%1"))), 3U);
}

TEST_F(BAsciiReaderTest, PrefersTheLiteralSeparatorToWidthsAndKeys)
{
    EXPECT_EQ(
        ColumnsOf(
            "a.csv",
            "a|b,c|d\n",
            Options().Set(Orvane::ASCII_SEPARATOR, BString("|")).Set(Orvane::USE_COMMA, true)),
        3U);
}

// Rule: a separator decides how rows are cut, but the schema still cuts by the widths.
TEST_F(BAsciiReaderTest, KeepsTheLiteralSeparatorForRowsWhenWidthsAreGivenToo)
{
    EXPECT_EQ(ReadAll("a.csv",
                      "a|b\n",
                      Options()
                          .Set(Orvane::ASCII_SEPARATOR, BString("|"))
                          .Set(Orvane::FIELD_LENGTH, std::vector<std::int32_t>{1, 1})),
              (Lines{"1 (-) attribute0=11:a attribute1=11:b"}));
}

TEST_F(BAsciiReaderTest, KeepsALiteralSeparatorInsideQuotes)
{
    EXPECT_EQ(
        ReadAll("a.csv", "\"a||b\"||c\n", Options().Set(Orvane::ASCII_SEPARATOR, BString("||"))),
        (Lines{"1 (-) C1=11:a||b C2=11:c"}));
}

// Rule: widths come with the empty pattern, which is valid, so no line has fields.
TEST_F(BAsciiReaderTest, ReadsNoFieldsWithFixedWidths)
{
    BAsciiReader& reader =
        Open("a.csv",
             "a,b\nc,d\n",
             Options().Set(Orvane::FIELD_LENGTH, std::vector<std::int32_t>{2, 2}));
    EXPECT_EQ(reader.GetLayers().GetAt(0)->GetSchema().GetCount(), 0U);
    reader.Read();
    EXPECT_EQ(reader.GetLayers().GetAt(0)->GetFeatures().GetCount(), 0U);
    EXPECT_EQ(reader.GetFailureFlag(), 0);
}

TEST_F(BAsciiReaderTest, FindsNoCoordinateColumnsWithFixedWidths)
{
    const LeaksByRule leaks;
    ExpectSubclass(
        [this] {
            (void)Open(
                "a.csv",
                "12\n",
                Options().XY(0, 1).Set(Orvane::FIELD_LENGTH, std::vector<std::int32_t>{1, 1}));
        },
        "BIndexOutOfBoundsException",
        "AsciiUtils::RemoveXYZ",
        "Line 0 of the data.  Expected at least 2 (x, y) fields, but only 0 present.");
    m_reader->Close();
}

// Rule: the separator follows the list that the reader was made with.
TEST_F(BAsciiReaderTest, ReadsTheSeparatorFromTheKeptListOnly)
{
    const LeaksByRule leaks;
    const BString path = m_folder.File("a.dat", "1 2\n");
    BAsciiReader without(path, Options());
    ExpectBException([&] { without.Open(path, Options().Set(Orvane::USE_SPACE, true)); },
                     "BAsciiReader::Read",
                     "Separator could not be determined automatically.");
    without.Close();
    BAsciiReader with(path, Options().Set(Orvane::USE_SPACE, true));
    with.Open(path, Options().XY(0, 1));
    with.Read();
    EXPECT_EQ(Describe(*with.GetLayers().GetAt(0)), (Lines{"1 (1 2)"}));
}

// --- opening and reading -----------------------------------------------------------------------

TEST_F(BAsciiReaderTest, IsNotOpenBeforeItIsOpened)
{
    EXPECT_FALSE(Make("a.csv", "a\n", Options()).IsOpen());
    EXPECT_EQ(m_reader->GetLayers().GetCount(), 0U);
}

TEST_F(BAsciiReaderTest, PublishesOneLayerWhenItIsOpened)
{
    BAsciiReader& reader = Open("wells.csv", "x,y,name\n1,2,a\n", Options().XY(0, 1).Names());
    EXPECT_TRUE(reader.IsOpen());
    ASSERT_EQ(reader.GetLayers().GetCount(), 1U);
    EXPECT_EQ(reader.GetLayers().GetAt(0)->GetName(), BString("wells"));
    EXPECT_EQ(Describe(reader.GetLayers().GetAt(0)->GetSchema()), (Lines{"name:11:0:0"}));
    EXPECT_EQ(reader.GetLayers().GetAt(0)->GetFeatures().GetCount(), 0U);
}

TEST_F(BAsciiReaderTest, ReadsTheRowsIntoTheLayer)
{
    EXPECT_EQ(ReadAll("a.csv", "x,y,name\n1,2,a\n3,4,b\n", Options().XY(0, 1).Names()),
              (Lines{"1 (1 2) name=11:a", "2 (3 4) name=11:b"}));
    EXPECT_EQ(m_reader->GetFailureFlag(), 0);
    EXPECT_EQ(m_reader->GetStatus(), 0);
}

TEST_F(BAsciiReaderTest, RefusesToReadWhileItIsNotOpen)
{
    BAsciiReader& reader = Make("a.csv", "a\n", Options());
    const auto read = [&] { reader.Read(); };
    ExpectSubclass(
        read, "BDataManagerException", "BVectorDataReader::Read", "The reader is not open.");
    reader.Open(m_path, m_params);
    reader.Close();
    ExpectSubclass(
        read, "BDataManagerException", "BVectorDataReader::Read", "The reader is not open.");
}

TEST_F(BAsciiReaderTest, ConvertsColumnTextsToIntegers)
{
    EXPECT_EQ(
        ReadAll("a.csv",
                "a,b,c,1,2\n",
                Options().Set(Orvane::X_COLUMN, BString("3")).Set(Orvane::Y_COLUMN, BString("4"))),
        (Lines{"1 (1 2) C1=11:a C2=11:b C3=11:c"}));
}

TEST_F(BAsciiReaderTest, ReadsEverythingWithoutARecordLimit)
{
    BAsciiReader& reader = Open("a.csv", "a\nb\nc\n", Options());
    reader.Read();
    EXPECT_EQ(FeatureNames(*reader.GetLayers().GetAt(0)), (Lines{"1", "2", "3"}));
    EXPECT_EQ(reader.GetFailureFlag(), 0);
}

TEST_F(BAsciiReaderTest, RaisesTheFailureFlagAtTheRecordLimit)
{
    BAsciiReader& reader = Open("a.csv", "a\nb\nc\n", Options().Set(Orvane::MAX_RECORDS, 2));
    reader.Read();
    EXPECT_EQ(FeatureNames(*reader.GetLayers().GetAt(0)), (Lines{"1", "2"}));
    EXPECT_EQ(reader.GetFailureFlag(), 1);
    EXPECT_EQ(reader.GetStatus(), 0);
}

TEST_F(BAsciiReaderTest, ReadsTheRecordLimitFromTheKeptList)
{
    BAsciiReader& reader = Open("a.csv", "a\nb\nc\n", Options());
    reader.GetParams().Add(Orvane::MAX_RECORDS, BString("1"));
    reader.Read();
    EXPECT_EQ(FeatureNames(*reader.GetLayers().GetAt(0)), (Lines{"1"}));
}

TEST_F(BAsciiReaderTest, ReportsTheRecordsReadAtTheEnd)
{
    NotingProgress progress;
    BAsciiReader& reader = Open("a.csv", "a\nb\n", Options());
    reader.SetProgress(&progress);
    reader.Read();
    EXPECT_EQ(progress.questions, (Steps{{1, 0}, {2, 0}}));
    EXPECT_EQ(progress.reports, (Steps{{1, 0}, {2, 0}, {2, 0}}));
    EXPECT_EQ(reader.GetStatus(), 0);
}

TEST_F(BAsciiReaderTest, ReportsAtTheEndUnasked)
{
    NotingProgress progress;
    progress.wantsReports = false;
    BAsciiReader& reader = Open("a.csv", "a\nb\n", Options());
    reader.SetProgress(&progress);
    reader.Read();
    EXPECT_EQ(progress.reports, (Steps{{2, 0}}));
}

TEST_F(BAsciiReaderTest, SetsStatusThreeWhenTheLastReportIsRefused)
{
    NotingProgress progress;
    progress.refusedReport = 3;
    BAsciiReader& reader = Open("a.csv", "a\nb\n", Options());
    reader.SetProgress(&progress);
    reader.Read();
    EXPECT_EQ(reader.GetStatus(), 3);
    EXPECT_EQ(reader.GetFailureFlag(), 0);
    EXPECT_EQ(FeatureNames(*reader.GetLayers().GetAt(0)), (Lines{"1", "2"}));
}

TEST_F(BAsciiReaderTest, EndsACancelledReadWithoutTheFailureFlag)
{
    NotingProgress progress;
    progress.refusedReport = 1;
    BAsciiReader& reader = Open("a.csv", "a\nb\n", Options());
    reader.SetProgress(&progress);
    reader.Read();
    EXPECT_EQ(progress.reports, (Steps{{1, 0}, {0, 0}}));
    EXPECT_EQ(reader.GetFailureFlag(), 0);
    EXPECT_EQ(reader.GetStatus(), 0);
}

TEST_F(BAsciiReaderTest, PassesTheFailuresOfTheEngineOn)
{
    BAsciiReader& reader = Open("a.csv", "a\nb,c\n", Options().Set("SCHEMA_SAMPLE_SIZE", 1));
    ExpectBException([&] { reader.Read(); },
                     "Failed to parse feature # 1.",
                     "AsciiFile::BuildLayer",
                     "The following line may be formatted wrong.\n\t<b,c>.");
    EXPECT_EQ(FeatureNames(*reader.GetLayers().GetAt(0)), (Lines{"1"}));
}

TEST_F(BAsciiReaderTest, FailsToOpenAnEmptyFile)
{
    const LeaksByRule leaks;
    Make("a.csv", "", Options());
    ExpectBException([&] { m_reader->Open(m_path, m_params); },
                     BString("Could not open a stream for <") + m_path + BString("> for reading."),
                     "AsciiFile::Open");
    EXPECT_FALSE(m_reader->IsOpen());
    m_reader->Close();
}

TEST_F(BAsciiReaderTest, FailsToOpenAMissingFile)
{
    const LeaksByRule leaks;
    const BString path = m_folder.Name("missing.csv");
    BAsciiReader reader(path, Options());
    ExpectSubclass(
        [&] { reader.Open(path, Options()); }, "BFileNotFoundException", "BAsciiFile::Open", path);
    EXPECT_FALSE(reader.IsOpen());
    reader.Close();
}

TEST_F(BAsciiReaderTest, FailsToOpenANameWithoutADotWithTheTwoTextsSwapped)
{
    const LeaksByRule leaks;
    // The relative name keeps dots of the folder for temporary files out of it.
    const std::filesystem::path previous = std::filesystem::current_path();
    (void)m_folder.File("plain", "a\n");
    std::filesystem::current_path(m_folder.Path());
    BAsciiReader reader("plain", Options());
    ExpectBException([&] { reader.Open("plain", Options()); },
                     "AsciiFile::GetFileExtension",
                     "There was no '.' in the filename.");
    std::filesystem::current_path(previous);
    reader.Close();
}

TEST_F(BAsciiReaderTest, MakesADiskCachedLayerWhenAsked)
{
    Make("a.csv", "a\nb\nc\n", Options());
    m_reader->SetDiskCache(true, m_folder.Name("cache"), 2);
    m_reader->Open(m_path, m_params);
    m_reader->Read();
    EXPECT_TRUE(m_reader->GetLayers().GetAt(0)->IsDiskCached());
    EXPECT_EQ(FeatureNames(*m_reader->GetLayers().GetAt(0)), (Lines{"1", "2", "3"}));
}

// --- preview -----------------------------------------------------------------------------------

TEST_F(BAsciiReaderTest, SupportsTheColumnQueryOnly)
{
    BAsciiReader& reader = Make("a.csv", "a\n", Options());
    EXPECT_TRUE(reader.SupportsQuery(Orvane::QUERY_COLUMNS));
    EXPECT_FALSE(reader.SupportsQuery(""));
    EXPECT_FALSE(reader.SupportsQuery(Orvane::QUERY_COLUMNS.ToLower()));
    EXPECT_FALSE(reader.SupportsQuery("QUERY_COLUMNS2"));
}

TEST_F(BAsciiReaderTest, AnswersAnyOtherQueryWithAnEmptyListOpenOrNot)
{
    BAsciiReader& reader = Make("a.csv", "a\n", Options());
    EXPECT_EQ(reader.GetFilePreview("OTHER").GetCount(), 0U);
    reader.Open(m_path, m_params);
    EXPECT_EQ(reader.GetFilePreview("OTHER").GetCount(), 0U);
    EXPECT_EQ(reader.GetFilePreview("").GetCount(), 0U);
}

TEST_F(BAsciiReaderTest, RefusesAPreviewWhileItIsNotOpen)
{
    BAsciiReader& reader = Make("a.csv", "a\n", Options());
    const auto preview = [&] { (void)reader.GetFilePreview(Orvane::QUERY_COLUMNS); };
    ExpectBException(
        preview, "File is not open and can not be read.", "BAsciiReader::GetFilePreview");
    reader.Open(m_path, m_params);
    reader.Close();
    ExpectBException(
        preview, "File is not open and can not be read.", "BAsciiReader::GetFilePreview");
}

TEST_F(BAsciiReaderTest, ShowsTheFirstTwoRows)
{
    BAsciiReader& reader = Open("a.csv", "x,y,name\n1,2,a\n", Options());
    const BParamList preview = reader.GetFilePreview(Orvane::QUERY_COLUMNS);
    EXPECT_EQ(preview.GetCount(), 5U);
    EXPECT_EQ(preview.GetStrings("0"), (Texts{"x", "1"}));
    EXPECT_EQ(preview.GetStrings("2"), (Texts{"name", "a"}));
    EXPECT_EQ(preview.GetString(Orvane::FIRST_LINE_COLUMN_NAMES), BString("1"));
    EXPECT_EQ(preview.GetInteger(Orvane::NUM_COLUMNS), 3);
}

TEST_F(BAsciiReaderTest, SetsTheSeparatorAnewForAPreview)
{
    BAsciiReader& reader = Open("a.csv", "a|b|c\n1|2|3\n", Options());
    reader.GetParams().Add(Orvane::ASCII_SEPARATOR, BString("|"));
    EXPECT_EQ(reader.GetFilePreview(Orvane::QUERY_COLUMNS).GetInteger(Orvane::NUM_COLUMNS), 3);
}

TEST_F(BAsciiReaderTest, FindsNoSeparatorForAPreviewWhenItsKeyIsGone)
{
    BAsciiReader& reader = Open("a.dat", "a b\n", Options().Set(Orvane::USE_SPACE, true));
    reader.GetParams().Remove(Orvane::USE_SPACE);
    ExpectBException([&] { (void)reader.GetFilePreview(Orvane::QUERY_COLUMNS); },
                     "BAsciiReader::Read",
                     "Separator could not be determined automatically.");
    EXPECT_TRUE(reader.IsOpen());
}

// Rule: a preview consumes its lines; a later read starts after them.
TEST_F(BAsciiReaderTest, ReadsAfterTheLinesOfAPreview)
{
    BAsciiReader& reader = Open("a.txt", "1\t2\n3\t4\n5\t6\n", Options().XY(0, 1));
    (void)reader.GetFilePreview(Orvane::QUERY_COLUMNS);
    reader.Read();
    EXPECT_EQ(Describe(*reader.GetLayers().GetAt(0)), (Lines{"1 (5 6)"}));
}

// --- closing -----------------------------------------------------------------------------------

TEST_F(BAsciiReaderTest, ClosesTheFileAndClearsTheKeptList)
{
    BAsciiReader& reader = Open("a.csv", "a\n", Options().Set(Orvane::MAX_RECORDS, 5));
    EXPECT_EQ(CountOpenDescriptors(m_path), 1U);
    EXPECT_EQ(reader.GetParams().GetCount(), 1U);
    reader.Close();
    EXPECT_FALSE(reader.IsOpen());
    EXPECT_EQ(reader.GetParams().GetCount(), 0U);
    EXPECT_EQ(CountOpenDescriptors(m_path), 0U);
}

TEST_F(BAsciiReaderTest, MayBeClosedTwiceAndBeforeItWasOpened)
{
    BAsciiReader& reader = Make("a.csv", "a\n", Options());
    reader.Close();
    EXPECT_FALSE(reader.IsOpen());
    reader.Open(m_path, m_params);
    reader.Close();
    reader.Close();
    EXPECT_FALSE(reader.IsOpen());
}

TEST_F(BAsciiReaderTest, ClosesWhenItIsDestroyedOpen)
{
    Open("a.csv", "a\n", Options());
    EXPECT_EQ(CountOpenDescriptors(m_path), 1U);
    m_reader.reset();
    EXPECT_EQ(CountOpenDescriptors(m_path), 0U);
}

TEST_F(BAsciiReaderTest, MayBeOpenedAgainAfterClosing)
{
    BAsciiReader& reader = Open("a.csv", "a\nb\n", Options());
    reader.Close();
    reader.Open(m_path, m_params);
    EXPECT_TRUE(reader.IsOpen());
    EXPECT_EQ(reader.GetLayers().GetCount(), 2U);
    reader.Read();
    EXPECT_EQ(FeatureNames(*reader.GetLayers().GetAt(1)), (Lines{"1", "2"}));
}

// Rule: a second opening without closing abandons the first engine.
TEST_F(BAsciiReaderTest, AbandonsTheFirstEngineOnASecondOpening)
{
    const LeaksByRule leaks;
    BAsciiReader& reader = Open("a.csv", "a\nb\n", Options());
    reader.Open(m_path, m_params);
    EXPECT_EQ(CountOpenDescriptors(m_path), 2U);
    EXPECT_EQ(reader.GetLayers().GetCount(), 2U);
    reader.Read();
    EXPECT_EQ(reader.GetLayers().GetAt(0)->GetFeatures().GetCount(), 0U);
    EXPECT_EQ(reader.GetLayers().GetAt(1)->GetFeatures().GetCount(), 2U);
    reader.Close();
    EXPECT_EQ(CountOpenDescriptors(m_path), 1U);
}

// Rule: a reader that never became open keeps its engine allocated.
TEST_F(BAsciiReaderTest, KeepsTheEngineOfAFailedOpeningAllocated)
{
    const LeaksByRule leaks;
    Make("a.dat", "a b\n", Options());
    EXPECT_ANY_THROW(m_reader->Open(m_path, m_params));
    EXPECT_FALSE(m_reader->IsOpen());
    EXPECT_EQ(CountOpenDescriptors(m_path), 1U);
    m_reader.reset();
    EXPECT_EQ(CountOpenDescriptors(m_path), 1U);
}

TEST_F(BAsciiReaderTest, FreesTheEngineOfAFailedOpeningWhenItIsClosed)
{
    Make("a.dat", "a b\n", Options());
    EXPECT_ANY_THROW(m_reader->Open(m_path, m_params));
    EXPECT_EQ(CountOpenDescriptors(m_path), 1U);
    m_reader->Close();
    EXPECT_EQ(CountOpenDescriptors(m_path), 0U);
}

// Rule: a failed opening leaves the open flag as it was.
TEST_F(BAsciiReaderTest, StaysOpenWhenASecondOpeningFails)
{
    const LeaksByRule leaks;
    BAsciiReader& reader = Open("a.csv", "a\n", Options());
    EXPECT_ANY_THROW(reader.Open(m_folder.Name("missing.csv"), m_params));
    EXPECT_TRUE(reader.IsOpen());
    EXPECT_EQ(reader.GetLayers().GetCount(), 1U);
    reader.Close();
}

} // namespace
