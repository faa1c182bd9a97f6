// Constructing and opening an engine: option normalisation, paths and failures.
#include "file/AsciiFile.h"

#include "support/TestFiles.h"
#include "text/SplitPatterns.h"

#include <Orvane/Constants.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using AsciiReader::AsciiFile;
using Orvane::BParamList;
using Orvane::BString;
using Orvane::EVariantType;
using TestSupport::CountOpenDescriptors;
using TestSupport::ExpectBException;
using TestSupport::ExpectSubclass;
using TestSupport::Options;
using TestSupport::TemporaryFolder;
using TestSupport::Texts;

BParamList Normalised(const Options& options)
{
    return AsciiFile("some.csv", AsciiFile::kRead, options).GetParams();
}

TEST(AsciiFileConstruction, IsDeletedThroughItsBase)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<AsciiFile>);
    EXPECT_FALSE(std::is_copy_constructible_v<AsciiFile>);
}

TEST(AsciiFileConstruction, BeginsWithTheCommaPatternAndWithoutWidths)
{
    const AsciiFile file("some.csv", AsciiFile::kRead, Options());
    EXPECT_EQ(file.GetSeparator().pattern(), AsciiReader::SplitPatterns::CommaSplit().pattern());
    EXPECT_TRUE(file.GetColumnWidths().empty());
    EXPECT_EQ(file.GetMode(), AsciiFile::kRead);
    EXPECT_EQ(file.GetSchema().GetCount(), 0U);
    EXPECT_TRUE(file.GetSampleLines().empty());
    EXPECT_TRUE(file.GetFirstLine().IsEmpty());
    EXPECT_EQ(file.GetRecordsRead(), 0U);
    EXPECT_TRUE(file.GetLayer() == nullptr);
}

TEST(AsciiFileConstruction, CompletesThePath)
{
    const AsciiFile file("./x/../some.csv", AsciiFile::kRead, Options());
    EXPECT_EQ(file.GetFullPath(), BString((std::filesystem::current_path() / "some.csv").string()));
}

TEST(AsciiFileConstruction, CopiesTheOptions)
{
    BParamList params;
    params.Add("KEY", 1);
    const AsciiFile file("some.csv", AsciiFile::kRead, params);
    params.Add("KEY", 2);
    EXPECT_EQ(file.GetParams().GetInteger("KEY"), 1);
    EXPECT_FALSE(params.HasProperty(Orvane::AUTO_SCHEMA));
}

TEST(AsciiFileNormalisation, MakesColumnTextsIntegersWhenXAndYArePresent)
{
    const BParamList params = Normalised(Options()
                                             .Set(Orvane::X_COLUMN, BString("3"))
                                             .Set(Orvane::Y_COLUMN, BString(" -2x"))
                                             .Set(Orvane::Z_COLUMN, BString("none")));
    EXPECT_EQ(params.GetValueType(Orvane::X_COLUMN), EVariantType::Int32);
    EXPECT_EQ(params.GetInteger(Orvane::X_COLUMN), 3);
    EXPECT_EQ(params.GetValueType(Orvane::Y_COLUMN), EVariantType::Int32);
    EXPECT_EQ(params.GetInteger(Orvane::Y_COLUMN), -2);
    EXPECT_EQ(params.GetValueType(Orvane::Z_COLUMN), EVariantType::Int32);
    EXPECT_EQ(params.GetInteger(Orvane::Z_COLUMN), 0);
}

TEST(AsciiFileNormalisation, LeavesAColumnTextAloneWithoutItsPartner)
{
    const BParamList params = Normalised(
        Options().Set(Orvane::X_COLUMN, BString("3")).Set(Orvane::Z_COLUMN, BString("4")));
    EXPECT_EQ(params.GetValueType(Orvane::X_COLUMN), EVariantType::String);
    EXPECT_EQ(params.GetString(Orvane::X_COLUMN), BString("3"));
    EXPECT_EQ(params.GetValueType(Orvane::Z_COLUMN), EVariantType::String);
}

TEST(AsciiFileNormalisation, LeavesColumnsThatAreNoTextsAlone)
{
    const BParamList params =
        Normalised(Options().Set(Orvane::X_COLUMN, 2.5).Set(Orvane::Y_COLUMN, 1));
    EXPECT_EQ(params.GetValueType(Orvane::X_COLUMN), EVariantType::Double);
    EXPECT_EQ(params.GetDouble(Orvane::X_COLUMN), 2.5);
    EXPECT_EQ(params.GetValueType(Orvane::Y_COLUMN), EVariantType::Int32);
}

TEST(AsciiFileNormalisation, AcceptsOnlyOneAsATextForColumnNames)
{
    for (const char* text : {"1", " 1", "+1", "1 yes", "01"}) {
        const BParamList params =
            Normalised(Options().Set(Orvane::FIRST_LINE_COLUMN_NAMES, BString(text)));
        EXPECT_EQ(params.GetValueType(Orvane::FIRST_LINE_COLUMN_NAMES), EVariantType::Boolean);
        EXPECT_TRUE(params.GetBoolean(Orvane::FIRST_LINE_COLUMN_NAMES)) << text;
    }
    for (const char* text : {"true", "yes", "2", "0", "", "-1", "11"}) {
        const BParamList params =
            Normalised(Options().Set(Orvane::FIRST_LINE_COLUMN_NAMES, BString(text)));
        EXPECT_EQ(params.GetValueType(Orvane::FIRST_LINE_COLUMN_NAMES), EVariantType::Boolean);
        EXPECT_FALSE(params.GetBoolean(Orvane::FIRST_LINE_COLUMN_NAMES)) << text;
    }
}

TEST(AsciiFileNormalisation, LeavesAnIntegerForColumnNamesAlone)
{
    const BParamList params = Normalised(Options().Set(Orvane::FIRST_LINE_COLUMN_NAMES, 2));
    EXPECT_EQ(params.GetValueType(Orvane::FIRST_LINE_COLUMN_NAMES), EVariantType::Int32);
    EXPECT_TRUE(params.GetBoolean(Orvane::FIRST_LINE_COLUMN_NAMES));
}

TEST(AsciiFileNormalisation, AddsAutoSchemaAsOneWithoutDefinitions)
{
    const BParamList params = Normalised(Options());
    EXPECT_EQ(params.GetValueType(Orvane::AUTO_SCHEMA), EVariantType::Int32);
    EXPECT_EQ(params.GetInteger(Orvane::AUTO_SCHEMA), 1);
}

TEST(AsciiFileNormalisation, AddsNoAutoSchemaToDefinitions)
{
    EXPECT_FALSE(Normalised(Options().Set(Orvane::COLUMN_DEFINITION, Texts{}))
                     .HasProperty(Orvane::AUTO_SCHEMA));
}

TEST(AsciiFileNormalisation, LeavesAnAutoSchemaOfTheCallerAlone)
{
    const BParamList params = Normalised(Options().Set(Orvane::AUTO_SCHEMA, false));
    EXPECT_EQ(params.GetValueType(Orvane::AUTO_SCHEMA), EVariantType::Boolean);
    EXPECT_FALSE(params.GetBoolean(Orvane::AUTO_SCHEMA));
}

TEST(AsciiFileNormalisation, IgnoresBlankRowsUnlessToldOtherwise)
{
    const auto ignores = [](const Options& options) {
        return AsciiFile("some.csv", AsciiFile::kRead, options).IgnoresBlankRows();
    };
    EXPECT_TRUE(ignores(Options()));
    EXPECT_TRUE(ignores(Options().Set(Orvane::IGNORE_BLANK_ROWS, true)));
    EXPECT_FALSE(ignores(Options().Set(Orvane::IGNORE_BLANK_ROWS, false)));
    EXPECT_FALSE(ignores(Options().Set(Orvane::IGNORE_BLANK_ROWS, 0)));
}

TEST(AsciiFileSetters, WidthsReplaceThePatternByTheEmptyOne)
{
    AsciiFile file("some.csv", AsciiFile::kRead, Options());
    file.SetColumnWidths({3, 4});
    EXPECT_EQ(file.GetColumnWidths(), (std::vector<std::int32_t>{3, 4}));
    EXPECT_TRUE(file.GetSeparator().pattern().isEmpty());
    EXPECT_TRUE(file.GetSeparator().isValid());
}

TEST(AsciiFileSetters, ASeparatorClearsTheWidths)
{
    AsciiFile file("some.csv", AsciiFile::kRead, Options());
    file.SetColumnWidths({3, 4});
    file.SetSeparator(QRegularExpression(QStringLiteral(";")));
    EXPECT_TRUE(file.GetColumnWidths().empty());
    EXPECT_EQ(file.GetSeparator().pattern(), QStringLiteral(";"));
}

struct ExtensionCase
{
    const char* name;
    const char* fileName;
    const char* extension;
};

void PrintTo(const ExtensionCase& extensionCase, std::ostream* stream)
{
    *stream << extensionCase.fileName;
}

class AsciiFileGetFileExtension : public testing::TestWithParam<ExtensionCase>
{};

TEST_P(AsciiFileGetFileExtension, BeginsAtTheLastDotOfTheName)
{
    const AsciiFile file(GetParam().fileName, AsciiFile::kRead, Options());
    EXPECT_EQ(file.GetFileExtension(), BString(GetParam().extension));
}

constexpr ExtensionCase kExtensions[] = {
    {"KeepsTheDot", "some.csv", ".csv"},
    {"KeepsTheCase", "SOME.TXT", ".TXT"},
    {"StartsAtTheLastDotOfSeveral", "some.tar.gz", ".gz"},
    {"MayBeTheDotAlone", "some.", "."},
    {"MayBeTheWholeName", ".csv", ".csv"},
    {"StartsAtADotOfTheFolderWhenTheNameHasNone", "folder.d/some", ".d/some"},
};

INSTANTIATE_TEST_SUITE_P(,
                         AsciiFileGetFileExtension,
                         testing::ValuesIn(kExtensions),
                         TestSupport::CaseName());

// Rule: the location text comes first here.
TEST(AsciiFileGetFileExtensionFailure, PutsTheLocationFirstForANameWithoutADot)
{
    const AsciiFile file("folder/some", AsciiFile::kRead, Options());
    ExpectBException([&] { (void)file.GetFileExtension(); },
                     "AsciiFile::GetFileExtension",
                     "There was no '.' in the filename.");
}

// --- opening -----------------------------------------------------------------------------------

class AsciiFileOpen : public testing::Test
{
protected:
    TemporaryFolder m_folder;

    /// A path of exactly `length` characters below a plain file, so that nothing can be written.
    [[nodiscard]] BString UnwritablePath(std::size_t length) const
    {
        std::string path = m_folder.File("plain", "x").ToUtf8() + "/";
        while (length - path.size() > 120) {
            path += std::string(99, 'a') + "/";
        }
        path += std::string(length - path.size(), 'b');
        EXPECT_EQ(path.size(), length);
        return BString(path);
    }
};

TEST_F(AsciiFileOpen, KeepsTheModeOnSuccess)
{
    AsciiFile file(m_folder.File("a.csv", "1\n"), AsciiFile::kRead, Options());
    file.Open();
    EXPECT_EQ(file.GetMode(), AsciiFile::kRead);
    EXPECT_FALSE(file.AtEnd());
}

TEST_F(AsciiFileOpen, RefusesAMissingFile)
{
    const BString path = m_folder.Name("missing.csv");
    AsciiFile file(path, AsciiFile::kRead, Options());
    ExpectSubclass([&] { file.Open(); }, "BFileNotFoundException", "BAsciiFile::Open", path);
    EXPECT_EQ(file.GetMode(), AsciiFile::kNotOpen);
}

TEST_F(AsciiFileOpen, NamesTheFullPathOfAMissingFile)
{
    AsciiFile file(BString(m_folder.Name("x/../missing.csv")), AsciiFile::kRead, Options());
    ExpectSubclass([&] { file.Open(); },
                   "BFileNotFoundException",
                   "BAsciiFile::Open",
                   m_folder.Name("missing.csv"));
}

TEST_F(AsciiFileOpen, RefusesAnEmptyFile)
{
    const BString path = m_folder.File("empty.csv", "");
    AsciiFile file(path, AsciiFile::kRead, Options());
    ExpectBException([&] { file.Open(); },
                     BString("Could not open a stream for <") + path + BString("> for reading."),
                     "AsciiFile::Open");
    EXPECT_EQ(file.GetMode(), AsciiFile::kNotOpen);
}

TEST_F(AsciiFileOpen, RefusesAFolderAsAFileThatCannotBeOpened)
{
    const BString path(m_folder.Path().string());
    AsciiFile file(path, AsciiFile::kRead, Options());
    ExpectBException([&] { file.Open(); },
                     BString("Could not open the file <") + path + BString("> for reading."),
                     "AsciiFile::Open");
    EXPECT_EQ(file.GetMode(), AsciiFile::kNotOpen);
}

TEST_F(AsciiFileOpen, RefusesAnyOtherMode)
{
    const BString path = m_folder.File("a.csv", "1\n");
    for (const std::uint32_t mode : {0U, 3U, 4U, 4294967295U}) {
        AsciiFile file(path, mode, Options());
        ExpectBException([&] { file.Open(); },
                         "Transformation only is not currently supported.",
                         "AsciiFile::Open");
        EXPECT_EQ(file.GetMode(), AsciiFile::kNotOpen);
    }
}

TEST_F(AsciiFileOpen, CreatesTheFoldersOfAFileToWrite)
{
    const BString path = m_folder.Name("one/two/out.csv");
    AsciiFile file(path, AsciiFile::kWrite, Options());
    file.Open();
    EXPECT_EQ(file.GetMode(), AsciiFile::kWrite);
    EXPECT_TRUE(std::filesystem::is_regular_file(path.ToUtf8()));
}

TEST_F(AsciiFileOpen, NamesAnUnwritablePathOf260Characters)
{
    const BString path = UnwritablePath(260);
    AsciiFile file(path, AsciiFile::kWrite, Options());
    ExpectBException([&] { file.Open(); },
                     BString("Could not open the file <") + path + BString("> for writing."),
                     "AsciiFile::Open");
    EXPECT_EQ(file.GetMode(), AsciiFile::kNotOpen);
}

TEST_F(AsciiFileOpen, CallsAnUnwritablePathOf261CharactersTooLong)
{
    const BString path = UnwritablePath(261);
    AsciiFile file(path, AsciiFile::kWrite, Options());
    ExpectBException([&] { file.Open(); },
                     BString("Path too long; could not open file <") + path +
                         BString("> for writing."),
                     "AsciiFile::Open");
    EXPECT_EQ(file.GetMode(), AsciiFile::kNotOpen);
}

TEST_F(AsciiFileOpen, ClosesTheFileOfAnEarlierOpening)
{
    const BString path = m_folder.File("a.csv", "1\n");
    {
        AsciiFile file(path, AsciiFile::kRead, Options());
        file.Open();
        file.Open();
        EXPECT_EQ(CountOpenDescriptors(path), 1U);
    }
    EXPECT_EQ(CountOpenDescriptors(path), 0U);
}

TEST_F(AsciiFileOpen, LeavesAnEngineThatRefusesToReadAfterAFailure)
{
    AsciiFile file(m_folder.Name("missing.csv"), AsciiFile::kRead, Options());
    EXPECT_ANY_THROW(file.Open());
    ExpectBException([&] { file.Read(); }, "The file is not in read mode.", "AsciiFile::Read");
    ExpectBException([&] { (void)file.BuildLayer(0); },
                     "The file is not in read mode.",
                     "AsciiFile::BuildLayer");
    ExpectBException([&] { file.AutodetectSeparator(); },
                     "The file is not in read mode.",
                     "AsciiFile::AutodetectSeparator");
    // Rule: the preview names AsciiFile::Read as its location.
    ExpectBException(
        [&] { (void)file.ReadPreview(); }, "The file is not in read mode.", "AsciiFile::Read");
}

TEST_F(AsciiFileOpen, LeavesAFileOpenedForWritingUnreadable)
{
    AsciiFile file(m_folder.Name("out.csv"), AsciiFile::kWrite, Options());
    file.Open();
    ExpectBException([&] { file.Read(); }, "The file is not in read mode.", "AsciiFile::Read");
}

} // namespace
