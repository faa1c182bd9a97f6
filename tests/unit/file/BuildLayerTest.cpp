// Schema, layer and rows of an opened file.
#include "file/AsciiFile.h"
#include "support/TestFiles.h"
#include "text/OptionRules.h"
#include "text/SplitPatterns.h"

#include <Orvane/BFeature.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/Constants.h>

#include <QRegularExpression>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using AsciiReader::AsciiFile;
using AsciiReader::OptionRules::SampleSizeKey;
using Orvane::BString;
using TestSupport::Describe;
using TestSupport::ExpectBException;
using TestSupport::ExpectSubclass;
using TestSupport::FeatureNames;
using TestSupport::NotingProgress;
using TestSupport::Options;
using TestSupport::TemporaryFolder;
using TestSupport::Texts;
using Lines = std::vector<std::string>;
using Steps = std::vector<std::pair<unsigned, unsigned>>;

const char* const kTenRows = "1,r1\n2,r2\n3,r3\n4,r4\n5,r5\n6,r6\n7,r7\n8,r8\n9,r9\n10,r10\n";

class AsciiFileBuildLayer : public testing::Test
{
protected:
    /// Opens a file up to the created layer, so that BuildLayer is next.
    AsciiFile& Prepare(std::string_view bytes,
                       const Options& options = Options(),
                       std::string_view name = "rows.csv")
    {
        m_file = std::make_unique<AsciiFile>(m_folder.File(name, bytes), AsciiFile::kRead, options);
        m_file->Open();
        m_file->Read();
        m_file->BuildSchema();
        m_file->CreateLayer();
        return *m_file;
    }

    /// Features of a file read as a whole.
    Lines ReadAll(std::string_view bytes, const Options& options = Options())
    {
        EXPECT_TRUE(Prepare(bytes, options).BuildLayer(0));
        return Describe(*m_file->GetLayer());
    }

    TemporaryFolder m_folder;
    std::unique_ptr<AsciiFile> m_file;
};

TEST_F(AsciiFileBuildLayer, MakesOnePointPerRow)
{
    EXPECT_EQ(ReadAll("x,y,name,depth\n1,2,a,7\n3.5,-4,b,8.25\n", Options().XY(0, 1).Names()),
              (Lines{"1 (1 2) name=11:a depth=9:7", "2 (3.5 -4) name=11:b depth=9:8.25"}));
}

TEST_F(AsciiFileBuildLayer, ReadsAllRowsWithoutALimit)
{
    for (const std::int32_t limit : {0, -1}) {
        EXPECT_TRUE(Prepare(kTenRows).BuildLayer(limit));
        EXPECT_EQ(m_file->GetLayer()->GetFeatures().GetCount(), 10U);
        EXPECT_EQ(m_file->GetRecordsRead(), 10U);
    }
}

TEST_F(AsciiFileBuildLayer, StopsAtTheLimitAndSaysSo)
{
    EXPECT_FALSE(Prepare(kTenRows).BuildLayer(3));
    EXPECT_EQ(FeatureNames(*m_file->GetLayer()), (Lines{"1", "2", "3"}));
    EXPECT_EQ(m_file->GetRecordsRead(), 3U);
}

TEST_F(AsciiFileBuildLayer, ReachesTheEndWhenTheLimitIsTheNumberOfRows)
{
    EXPECT_TRUE(Prepare(kTenRows).BuildLayer(10));
    EXPECT_EQ(m_file->GetLayer()->GetFeatures().GetCount(), 10U);
    EXPECT_FALSE(Prepare(kTenRows).BuildLayer(9));
}

// Rule: the line read when the limit is reached is dropped; a resumed read starts after it.
TEST_F(AsciiFileBuildLayer, DropsTheLineReadWhenTheLimitIsReached)
{
    AsciiFile& file = Prepare(kTenRows, Options().XY(0, 0));
    EXPECT_FALSE(file.BuildLayer(3));
    EXPECT_FALSE(file.BuildLayer(3));
    EXPECT_TRUE(file.BuildLayer(3));
    Lines texts;
    for (std::size_t row = 0; row < file.GetLayer()->GetFeatures().GetCount(); ++row) {
        texts.push_back(
            file.GetLayer()->GetFeatures().GetAt(row)->GetAttributeValue(0).GetString().ToUtf8());
    }
    EXPECT_EQ(texts, (Lines{"r1", "r2", "r3", "r5", "r6", "r7", "r9", "r10"}));
}

TEST_F(AsciiFileBuildLayer, CountsLinesAnewOnAResumedCall)
{
    AsciiFile& file = Prepare(kTenRows);
    EXPECT_FALSE(file.BuildLayer(2));
    EXPECT_FALSE(file.BuildLayer(2));
    EXPECT_EQ(FeatureNames(*file.GetLayer()), (Lines{"1", "2", "1", "2"}));
    EXPECT_EQ(file.GetRecordsRead(), 2U);
}

// Rule: each call consumes a line of column names when the option says so.
TEST_F(AsciiFileBuildLayer, ConsumesAnotherLineOfColumnNamesOnAResumedCall)
{
    AsciiFile& file = Prepare("name\na\nb\nc\nd\ne\n", Options().Names());
    EXPECT_FALSE(file.BuildLayer(1));
    EXPECT_EQ(file.GetFirstLine(), BString("name"));
    EXPECT_TRUE(file.BuildLayer(5));
    EXPECT_EQ(file.GetFirstLine(), BString("c"));
    EXPECT_EQ(Describe(*file.GetLayer()),
              (Lines{"1 (-) name=11:a", "1 (-) name=11:d", "2 (-) name=11:e"}));
}

TEST_F(AsciiFileBuildLayer, NeverMakesAFeatureOfTheLineOfColumnNames)
{
    EXPECT_EQ(ReadAll("name\na\n", Options().Names()), (Lines{"1 (-) name=11:a"}));
    EXPECT_EQ(ReadAll("name\n", Options().Names()), Lines{});
}

TEST_F(AsciiFileBuildLayer, DoesNotCountBlankLinesThatAreIgnored)
{
    EXPECT_EQ(ReadAll("\na\n\n\nb\n\n"), (Lines{"1 (-) C1=11:a", "2 (-) C1=11:b"}));
    EXPECT_EQ(m_file->GetRecordsRead(), 2U);
}

TEST_F(AsciiFileBuildLayer, CountsBlankLinesThatAreKeptWithoutAFeature)
{
    EXPECT_EQ(ReadAll("a\n\n\nb\n\n", Options().Set(Orvane::IGNORE_BLANK_ROWS, false)),
              (Lines{"1 (-) C1=11:a", "4 (-) C1=11:b"}));
    EXPECT_EQ(m_file->GetRecordsRead(), 5U);
}

// Rule: a row without fields is skipped, and its line number is stored.
TEST_F(AsciiFileBuildLayer, StoresTheLineNumberOfASkippedRow)
{
    EXPECT_EQ(ReadAll("a,b\n,\n,\n"), (Lines{"1 (-) C1=11:a C2=11:b"}));
    EXPECT_EQ(m_file->GetRecordsRead(), 3U);
}

TEST_F(AsciiFileBuildLayer, CountsALogicalLineOnceHoweverManyBreaksItHolds)
{
    EXPECT_EQ(ReadAll("\"a\nb\nc\",1\nd,0\n"),
              (Lines{"1 (-) C1=11:a\nb\nc C2=13:true", "2 (-) C1=11:d C2=13:false"}));
}

TEST_F(AsciiFileBuildLayer, ReadsALastLineWithoutLineEnding)
{
    EXPECT_EQ(ReadAll("a\nb  "), (Lines{"1 (-) C1=11:a", "2 (-) C1=11:b"}));
}

TEST_F(AsciiFileBuildLayer, ReadsFewerAttributesOfAShortRow)
{
    EXPECT_EQ(ReadAll("a,b,c\nd\n"), (Lines{"1 (-) C1=11:a C2=11:b C3=11:c", "2 (-) C1=11:d"}));
}

TEST_F(AsciiFileBuildLayer, NeedsLittleMemoryForShortRowsUnderManyColumns)
{
    constexpr std::size_t kColumns = 3000;
    const auto countOf = [](std::size_t row) { return row % 700 == 0 ? kColumns : row % 4 + 1; };
    for (const bool hasSchema : {true, false}) {
        std::string bytes;
        Lines expected;
        for (std::size_t row = 0; row < 4000; ++row) {
            std::string line;
            std::string feature = std::to_string(row + 1) + " (-)";
            for (std::size_t column = 0; column < countOf(row); ++column) {
                const std::string value = std::to_string(row % 10 + column);
                line += (column > 0 ? "," : "") + value;
                feature += hasSchema ? " C" + std::to_string(column + 1) + "=5:" + value
                                     : " attribute" + std::to_string(column) + "=11:" + value;
            }
            bytes += line + "\n";
            expected.push_back(feature);
        }
        AsciiFile file(m_folder.File("rows.csv", bytes), AsciiFile::kRead, Options());
        file.Open();
        file.Read();
        if (hasSchema) {
            file.BuildSchema();
        }
        file.CreateLayer();
        ASSERT_TRUE(file.BuildLayer(0));
        EXPECT_EQ(Describe(*file.GetLayer()), expected) << hasSchema;
        std::size_t stored = 0;
        const Orvane::BFeatureCollection& features = file.GetLayer()->GetFeatures();
        for (std::size_t page = 0; page < features.GetPageCount(); ++page) {
            stored += features.GetPage(page).GetByteSize();
        }
        // Placeholders for all columns would need 48 MB.
        EXPECT_LT(stored, 8000000U) << hasSchema;
    }
}

TEST_F(AsciiFileBuildLayer, NamesFeaturesByTheNameColumn)
{
    EXPECT_EQ(ReadAll("1,2,Ann\n3,4,Bob\n", Options().XY(0, 1).Set(Orvane::NAME_COLUMN, 3)),
              (Lines{"Ann (1 2) C3=11:Ann", "Bob (3 4) C3=11:Bob"}));
}

TEST_F(AsciiFileBuildLayer, KeepsRowsWithoutAPoint)
{
    EXPECT_EQ(ReadAll("1,2,a\n,2,b\nx,2,c\n", Options().XY(0, 1)),
              (Lines{"1 (1 2) C3=11:a", "2 (-) C3=11:b", "3 (-) C3=11:c"}));
}

// Rule: any coordinate makes the point; those whose column is none (-1) are NaN. Such columns count
// where definitions are compared with the line of names.
TEST_F(AsciiFileBuildLayer, MakesPointsOfOneCoordinate)
{
    const auto read = [this](int x, int y) {
        return ReadAll(
            "p,q,r\n1,a\n2,b\n",
            Options().XY(x, y).Names().Set(Orvane::COLUMN_DEFINITION, Texts{"0,A,12,4,0"}));
    };
    EXPECT_EQ(read(0, -1), (Lines{"1 (1 nan) A=11:a", "2 (2 nan) A=11:b"}));
    EXPECT_EQ(read(-1, 0), (Lines{"1 (nan 1) A=11:a", "2 (nan 2) A=11:b"}));
}

TEST_F(AsciiFileBuildLayer, ReadsFormattedAndMultipliedCoordinates)
{
    EXPECT_EQ(ReadAll("1 30 W,12\n",
                      Options()
                          .XY(0, 1)
                          .Set(Orvane::X_COORDINATE_FORMAT, BString("DM"))
                          .Set(Orvane::X_MULTIPLIER, 2.0)
                          .Set(Orvane::Y_MULTIPLIER, 0.5)),
              (Lines{"1 (-3 6)"}));
}

// --- header lines ------------------------------------------------------------------------------

// Rule: a header line is passed on as a row of one field.
TEST_F(AsciiFileBuildLayer, MakesOneFieldRowsOfHeaderLines)
{
    EXPECT_EQ(ReadAll("title, \"x\"\nunits,y\n1,2,a\n3,4,b\n",
                      Options().XY(0, 1).Set(Orvane::ASCII_HEADER_COUNT, 2)),
              (Lines{"1 (-)", "2 (-)", "3 (1 2) C3=11:a", "4 (3 4) C3=11:b"}));
}

TEST_F(AsciiFileBuildLayer, KeepsTheWholeTextOfAHeaderLineAsItsField)
{
    EXPECT_EQ(ReadAll("a,1\n# \"c\",d\nb,2\n",
                      Options().Set(Orvane::ASCII_HEADER_IDENTIFIER, Texts{"#"})),
              (Lines{"1 (-) C1=11:a C2=5:1", "2 (-) C1=11:# \"c\",d", "3 (-) C1=11:b C2=5:2"}));
}

TEST_F(AsciiFileBuildLayer, MakesARowOfTheBlankLineThatEndsTheHeader)
{
    EXPECT_EQ(
        ReadAll("title\n\na,1\n\nb,2\n",
                Options()
                    .Set(Orvane::ASCII_HEADER_BLANK_LINE, true)
                    .Set(Orvane::IGNORE_BLANK_ROWS, false)),
        (Lines{
            "1 (-) C1=11:title", "2 (-) C1=11:", "3 (-) C1=11:a C2=5:1", "5 (-) C1=11:b C2=5:2"}));
}

// Rule: the line of column names is the first line of the file, header or not.
TEST_F(AsciiFileBuildLayer, ReadsTheFirstHeaderLineAsTheLineOfColumnNames)
{
    EXPECT_EQ(ReadAll("# one\n# two\nname\na\n",
                      Options().Names().Set(Orvane::ASCII_HEADER_IDENTIFIER, Texts{"#"})),
              (Lines{"1 (-) name=11:# two", "2 (-) name=11:name", "3 (-) name=11:a"}));
    EXPECT_EQ(m_file->GetFirstLine(), BString("# one"));
}

TEST_F(AsciiFileBuildLayer, CountsHeaderLinesAnewOnEveryCall)
{
    AsciiFile& file =
        Prepare("h\n1,a\n2,b\n3,c\n4,d\n", Options().Set(Orvane::ASCII_HEADER_COUNT, 1));
    EXPECT_FALSE(file.BuildLayer(2));
    EXPECT_TRUE(file.BuildLayer(0));
    // "2,b" is lost at the limit; "3,c" is the header line of the second call.
    EXPECT_EQ(FeatureNames(*file.GetLayer()), (Lines{"1", "2", "1", "2"}));
    EXPECT_EQ(file.GetLayer()->GetFeatures().GetAt(2)->GetAttributeCount(), 1U);
    EXPECT_EQ(file.GetLayer()->GetFeatures().GetAt(3)->GetAttributeCount(), 2U);
}

// --- failures ----------------------------------------------------------------------------------

TEST_F(AsciiFileBuildLayer, NamesTheFeatureAndTheTextOfARowThatFails)
{
    AsciiFile& file = Prepare("1,2,a\n1,2,b\n1,2,c\n1,2,d\n1,2,e,f\n1,2,g\n", Options().XY(0, 1));
    ExpectBException([&] { (void)file.BuildLayer(0); },
                     "Failed to parse feature # 4.",
                     "AsciiFile::BuildLayer",
                     "The following line may be formatted wrong.\n\t<1,2,e,f>.");
    EXPECT_EQ(FeatureNames(*file.GetLayer()), (Lines{"1", "2", "3", "4"}));
    EXPECT_EQ(file.GetRecordsRead(), 4U);
}

TEST_F(AsciiFileBuildLayer, ShowsTheLineBreaksOfARowThatFails)
{
    AsciiFile& file = Prepare("a\r\n\"b\r\nc\",d\r\n", Options().Set(SampleSizeKey(), 1));
    ExpectBException([&] { (void)file.BuildLayer(0); },
                     "Failed to parse feature # 1.",
                     "AsciiFile::BuildLayer",
                     "The following line may be formatted wrong.\n\t<\"b\r\nc\",d>.");
}

TEST_F(AsciiFileBuildLayer, GivesTheSameFailureForANameColumnOutOfBounds)
{
    AsciiFile& file = Prepare("a,b\n", Options().Set(Orvane::NAME_COLUMN, 0));
    ExpectBException([&] { (void)file.BuildLayer(0); },
                     "Failed to parse feature # 0.",
                     "AsciiFile::BuildLayer",
                     "The following line may be formatted wrong.\n\t<a,b>.");
}

TEST_F(AsciiFileBuildLayer, GivesTheSameFailureForANameColumnOnePastTheRow)
{
    AsciiFile& file = Prepare("a,b,c\nd\n", Options().Set(Orvane::NAME_COLUMN, 2));
    ExpectBException([&] { (void)file.BuildLayer(0); },
                     "Failed to parse feature # 1.",
                     "AsciiFile::BuildLayer",
                     "The following line may be formatted wrong.\n\t<d>.");
}

TEST_F(AsciiFileBuildLayer, FailsAtTheFirstBadRowAfterTheSample)
{
    AsciiFile& file = Prepare("a\nb\nc\nd\ne\nf\ng,h\n");
    ExpectBException([&] { (void)file.BuildLayer(0); },
                     "Failed to parse feature # 6.",
                     "AsciiFile::BuildLayer",
                     "The following line may be formatted wrong.\n\t<g,h>.");
}

TEST_F(AsciiFileBuildLayer, FailsForAnUnbalancedLastLineAndKeepsTheRowsBeforeIt)
{
    AsciiFile& file = Prepare("a,b\nc,d\n\"e,f");
    ExpectSubclass([&] { (void)file.BuildLayer(0); },
                   "BFileContentNotValidException",
                   "AsciiFile::GetSafeLine",
                   "File contains an unmatched quote.");
    EXPECT_EQ(FeatureNames(*file.GetLayer()), (Lines{"1", "2"}));
}

TEST_F(AsciiFileBuildLayer, FailsForAnUnbalancedOnlyLine)
{
    AsciiFile& file = Prepare("\"a,b");
    ExpectSubclass([&] { (void)file.BuildLayer(0); },
                   "BFileContentNotValidException",
                   "AsciiFile::GetSafeLine",
                   "File contains an unmatched quote.");
}

TEST_F(AsciiFileBuildLayer, RefusesAFileThatIsNotInReadMode)
{
    AsciiFile file(m_folder.Name("out.csv"), AsciiFile::kWrite, Options());
    file.Open();
    ExpectBException([&] { (void)file.BuildLayer(0); },
                     "The file is not in read mode.",
                     "AsciiFile::BuildLayer");
}

// --- progress ----------------------------------------------------------------------------------

TEST_F(AsciiFileBuildLayer, AsksAndReportsOncePerRowWithItsLineNumber)
{
    NotingProgress progress;
    AsciiFile& file = Prepare("a\nb\nc\n");
    file.SetProgress(&progress);
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_EQ(progress.questions, (Steps{{1, 0}, {2, 0}, {3, 0}}));
    EXPECT_EQ(progress.reports, progress.questions);
}

TEST_F(AsciiFileBuildLayer, DoesNotReportUnasked)
{
    NotingProgress progress;
    progress.wantsReports = false;
    AsciiFile& file = Prepare("a\nb\n");
    file.SetProgress(&progress);
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_EQ(progress.questions.size(), 2U);
    EXPECT_TRUE(progress.reports.empty());
}

TEST_F(AsciiFileBuildLayer, ReportsNoProgressForASkippedRow)
{
    NotingProgress progress;
    AsciiFile& file = Prepare("a,b\n,\nc,d\n");
    file.SetProgress(&progress);
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_EQ(progress.reports, (Steps{{1, 0}, {3, 0}}));
}

TEST_F(AsciiFileBuildLayer, ReleasesTheLayerWhenTheFirstReportIsRefused)
{
    NotingProgress progress;
    progress.refusedReport = 1;
    AsciiFile& file = Prepare("a\nb\nc\n");
    file.SetProgress(&progress);
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_TRUE(file.GetLayer() == nullptr);
    EXPECT_EQ(progress.reports, (Steps{{1, 0}}));
    EXPECT_EQ(file.GetRecordsRead(), 0U);
}

TEST_F(AsciiFileBuildLayer, KeepsTheRowsOfACancelledReadForOtherOwnersOfTheLayer)
{
    NotingProgress progress;
    progress.refusedReport = 2;
    AsciiFile& file = Prepare("a\nb\nc\n");
    const Orvane::BSharedPtr<Orvane::BVectorLayer> layer = file.GetLayer();
    file.SetProgress(&progress);
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_TRUE(file.GetLayer() == nullptr);
    EXPECT_EQ(FeatureNames(*layer), (Lines{"1", "2"}));
    EXPECT_EQ(file.GetRecordsRead(), 1U);
}

TEST_F(AsciiFileBuildLayer, MakesANewLayerAfterACancelledRead)
{
    NotingProgress progress;
    progress.refusedReport = 1;
    AsciiFile& file = Prepare("a\nb\nc\n");
    file.SetProgress(&progress);
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_TRUE(file.BuildLayer(0));
    ASSERT_FALSE(file.GetLayer() == nullptr);
    EXPECT_EQ(Describe(*file.GetLayer()), (Lines{"1 (-) C1=11:b", "2 (-) C1=11:c"}));
}

TEST_F(AsciiFileBuildLayer, SaysThatThePageAndNotTheLineFailedWhenARowCannotBeStored)
{
    // Rows of one and of two fields in turn go through the slow path.
    AsciiFile& file = Prepare("a,b\nc\nd,e\nf\ng,h\n");
    file.SetDiskCache(true, m_folder.Name("no-such-folder/cache"), 2);
    file.BuildSchema();
    file.CreateLayer();
    const TestSupport::Failure failure =
        TestSupport::CatchFailure([&file] { (void)file.BuildLayer(0); });
    EXPECT_EQ(failure.className, "BException");
    EXPECT_EQ(failure.location, BString("BFeatureCollection::WritePage"));
    EXPECT_EQ(failure.message, BString("Could not create the disk cache file."));
    EXPECT_EQ(file.GetLayer()->GetFeatures().GetCount(), 2U);
}

// --- separator ---------------------------------------------------------------------------------

TEST_F(AsciiFileBuildLayer, UsesTheSeparatorOptionWhenThePatternDoesNotCompile)
{
    AsciiFile& file = Prepare("a;b\n", Options().Set(Orvane::ASCII_SEPARATOR, BString(";")));
    file.SetSeparator(QRegularExpression(QStringLiteral("(")));
    file.BuildSchema();
    file.CreateLayer();
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_EQ(file.GetSeparator().pattern(), QStringLiteral(";"));
    EXPECT_EQ(Describe(*file.GetLayer()), (Lines{"1 (-) attribute0=11:a attribute1=11:b"}));
}

TEST_F(AsciiFileBuildLayer, UsesTheCommaWhenThePatternDoesNotCompile)
{
    AsciiFile& file = Prepare("a,b\n");
    file.SetSeparator(QRegularExpression(QStringLiteral("(")));
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_EQ(file.GetSeparator().pattern(), AsciiReader::SplitPatterns::CommaSplit().pattern());
    EXPECT_EQ(Describe(*file.GetLayer()), (Lines{"1 (-) C1=11:a C2=11:b"}));
}

TEST_F(AsciiFileBuildLayer, MakesNoFeaturesWithFixedWidths)
{
    AsciiFile& file = Prepare("ab\ncd\n");
    file.SetColumnWidths({1, 1});
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_EQ(file.GetLayer()->GetFeatures().GetCount(), 0U);
    EXPECT_EQ(file.GetRecordsRead(), 2U);
}

TEST_F(AsciiFileBuildLayer, KeepsTheFirstHalfOfACharacterBeforeAnotherQuotedField)
{
    AsciiFile& file = Prepare("\"a\"\xF0\x9F\x98\x80,\"b\",\"c\"\n",
                              Options().Set(BString("CODEC"), BString("UTF-8")));
    EXPECT_TRUE(file.BuildLayer(0));
    const auto feature = file.GetLayer()->GetFeatures().GetAt(0);
    ASSERT_EQ(feature->GetAttributeCount(), 3U);
    EXPECT_EQ(feature->GetAttributeValue(0).GetString(), BString(u"a\"\xD83D"));
    EXPECT_EQ(feature->GetAttributeValue(1).GetString(), BString(u"b"));
    EXPECT_EQ(feature->GetAttributeValue(2).GetString(), BString(u"c"));
}

TEST_F(AsciiFileBuildLayer, UsesAnyOtherPattern)
{
    AsciiFile& file = Prepare("a1b22c\n", Options().Set(Orvane::AUTO_SCHEMA, 1));
    file.SetSeparator(QRegularExpression(QStringLiteral("[0-9]+")));
    file.BuildSchema();
    file.CreateLayer();
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_EQ(Describe(*file.GetLayer()), (Lines{"1 (-) C1=11:a C2=11:b C3=11:c"}));
}

// --- schema and layer --------------------------------------------------------------------------

TEST_F(AsciiFileBuildLayer, NumbersAttributesWithAnEmptySchema)
{
    // The sample's first row is blank, so no column is known.
    EXPECT_EQ(ReadAll(",\na,b\nc\n"),
              (Lines{"2 (-) attribute0=11:a attribute1=11:b", "3 (-) attribute0=11:c"}));
}

// Rule: the raised widths stay in the engine's schema; the layer's schema keeps its own.
TEST_F(AsciiFileBuildLayer, KeepsTheRaisedWidthsInTheEnginesSchema)
{
    ReadAll("abc,1\nabcde,2\n");
    EXPECT_EQ(Describe(m_file->GetSchema()), (Lines{"C1:11:5:0", "C2:5:0:0"}));
    EXPECT_EQ(Describe(m_file->GetLayer()->GetSchema()), (Lines{"C1:11:0:0", "C2:5:0:0"}));
}

TEST_F(AsciiFileBuildLayer, UsesTheSchemaOfTheLayer)
{
    AsciiFile& file = Prepare("1\n2\n");
    Orvane::BAttributeDef def;
    def.SetName("other");
    def.SetType(Orvane::EVariantType::Double);
    Orvane::BAttributeDefs schema;
    schema.Add(def);
    file.GetLayer()->SetSchema(schema);
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_EQ(Describe(*file.GetLayer()), (Lines{"1 (-) other=9:1", "2 (-) other=9:2"}));
    EXPECT_EQ(Describe(file.GetSchema()), (Lines{"other:9:0:0"}));
}

TEST_F(AsciiFileBuildLayer, CreatesTheLayerWhenThereIsNone)
{
    AsciiFile file(m_folder.File("rows.csv", "7\n"), AsciiFile::kRead, Options());
    file.Open();
    file.Read();
    file.BuildSchema();
    EXPECT_TRUE(file.BuildLayer(0));
    ASSERT_FALSE(file.GetLayer() == nullptr);
    EXPECT_EQ(file.GetLayer()->GetName(), BString("rows"));
    EXPECT_EQ(Describe(*file.GetLayer()), (Lines{"1 (-) C1=5:7"}));
}

TEST_F(AsciiFileBuildLayer, CarriesA64BitColumnAsText)
{
    EXPECT_EQ(ReadAll("3000000000\n7\n"), (Lines{"1 (-) C1=11:3000000000", "2 (-) C1=11:7"}));
    EXPECT_EQ(Describe(m_file->GetLayer()->GetSchema()), (Lines{"C1:7:0:0"}));
}

TEST_F(AsciiFileBuildLayer, InfersFromAllRowsAndRewinds)
{
    EXPECT_EQ(
        ReadAll("7\n7\n7\n7\n7\n7\nx\n", Options().Set(Orvane::AUTO_SCHEMA_ALL_ROWS, true)).size(),
        7U);
    EXPECT_EQ(Describe(m_file->GetLayer()->GetSchema()), (Lines{"C1:11:0:0"}));
}

TEST_F(AsciiFileBuildLayer, InfersFromTheSampleWhenAllRowsIsFalse)
{
    ReadAll("7\n7\n7\n7\n7\n7\nx\n", Options().Set(Orvane::AUTO_SCHEMA_ALL_ROWS, false));
    EXPECT_EQ(Describe(m_file->GetLayer()->GetSchema()), (Lines{"C1:5:0:0"}));
}

TEST_F(AsciiFileBuildLayer, InfersFromAllRowsEvenWithDefinitions)
{
    ReadAll("7\nx\n",
            Options()
                .Set(Orvane::AUTO_SCHEMA_ALL_ROWS, true)
                .Set(Orvane::COLUMN_DEFINITION, Texts{"0,A,9,0,0"}));
    EXPECT_EQ(Describe(m_file->GetLayer()->GetSchema()), (Lines{"C1:11:0:0"}));
}

TEST_F(AsciiFileBuildLayer, UsesTheTypesOfDefinitions)
{
    EXPECT_EQ(ReadAll("1,2,7,x\n",
                      Options().XY(0, 1).Set(Orvane::COLUMN_DEFINITION,
                                             Texts{"0,A,9,0,0", "1,B,12,4,0"})),
              (Lines{"1 (1 2) A=9:7 B=11:x"}));
    EXPECT_EQ(Describe(m_file->GetLayer()->GetSchema()), (Lines{"A:9:0:0", "B:12:4:0"}));
}

TEST_F(AsciiFileBuildLayer, SharesTheLayerWithWhoeverAsksForIt)
{
    const AsciiFile& file = Prepare("a\n");
    const Orvane::BSharedPtr<Orvane::BVectorLayer> layer = file.GetLayer();
    EXPECT_EQ(layer.GetUseCount(), 2);
    EXPECT_TRUE(layer.IsOwner());
    m_file.reset();
    EXPECT_EQ(layer.GetUseCount(), 1);
    EXPECT_EQ(layer->GetName(), BString("rows"));
}

struct LayerNameCase
{
    const char* name;
    const char* fileName;
    const char* layerName;
};

void PrintTo(const LayerNameCase& layerNameCase, std::ostream* stream)
{
    *stream << layerNameCase.fileName;
}

class AsciiFileCreateLayer : public testing::TestWithParam<LayerNameCase>
{};

TEST_P(AsciiFileCreateLayer, NamesTheLayerAfterTheFile)
{
    AsciiFile file(GetParam().fileName, AsciiFile::kRead, Options());
    file.CreateLayer();
    EXPECT_EQ(file.GetLayer()->GetName(), BString(GetParam().layerName));
}

constexpr LayerNameCase kLayerNames[] = {
    {"DropsTheExtension", "wells.csv", "wells"},
    {"StartsAfterTheLastSlash", "/a/b/wells.csv", "wells"},
    {"StartsAfterTheLastBackslash", "C:\\data\\wells.csv", "wells"},
    {"StartsAfterTheLaterOfBoth", "a\\b/wells.csv", "wells"},
    {"CutsAtTheLastDot", "a/wells.2017.csv", "wells.2017"},
    {"RunsToTheEndWithoutADot", "a/wells", "wells"},
    {"MayBeEmpty", "a/.csv", ""},
};

INSTANTIATE_TEST_SUITE_P(,
                         AsciiFileCreateLayer,
                         testing::ValuesIn(kLayerNames),
                         TestSupport::CaseName());

TEST(AsciiFileCreateLayerRules, GivesANewUndefinedCoordinateSystem)
{
    AsciiFile file("a.csv", AsciiFile::kRead, Options());
    file.CreateLayer();
    ASSERT_FALSE(file.GetLayer()->GetCoordSys() == nullptr);
    EXPECT_FALSE(file.GetLayer()->GetCoordSys()->IsDefined());
}

TEST(AsciiFileCreateLayerRules, MakesALayerInMemoryByDefault)
{
    AsciiFile file("a.csv", AsciiFile::kRead, Options());
    file.CreateLayer();
    EXPECT_FALSE(file.GetLayer()->IsDiskCached());
    EXPECT_TRUE(file.GetLayer().IsOwner());
}

TEST_F(AsciiFileBuildLayer, MakesADiskCachedLayerWhenAsked)
{
    AsciiFile file(m_folder.File("rows.csv", kTenRows), AsciiFile::kRead, Options());
    file.SetDiskCache(true, m_folder.Name("cache"), 3);
    file.Open();
    file.Read();
    file.BuildSchema();
    file.CreateLayer();
    EXPECT_TRUE(file.GetLayer()->IsDiskCached());
    EXPECT_TRUE(file.BuildLayer(0));
    EXPECT_EQ(FeatureNames(*file.GetLayer()),
              (Lines{"1", "2", "3", "4", "5", "6", "7", "8", "9", "10"}));
    EXPECT_EQ(file.GetLayer()->GetFeatures().GetAt(9)->GetAttributeValue(1).GetString(),
              BString("r10"));
}

} // namespace
