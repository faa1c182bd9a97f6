// Which module reads a file.
#include "support/TestFiles.h"

#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Module.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Orvane::BParamList;
using Orvane::BPluginModule;
using Orvane::Import::CanReadFile;
using Orvane::Import::DataSourceTypeOf;
using Orvane::Import::ImportFailure;
using Orvane::Import::LoadModuleFor;

struct TypeCase
{
    const char* name;
    const char* path;
    const char* type;
};

void PrintTo(const TypeCase& row, std::ostream* stream)
{
    *stream << row.name;
}

constexpr TypeCase kTypes[] = {
    {"Csv", "a.csv", "DS_CSV"},
    {"Capitals", "A.CSV", "DS_CSV"},
    {"MixedLetters", "/folder/b.Marks", "DS_MARKS"},
    {"LastOfSeveral", "a.csv.ssv", "DS_SSV"},
    {"Digits", "a.7z", "DS_7Z"},
    {"OtherScripts", "a.\u00E9", "DS_\u00E9"},
    {"NoExtension", "a", "DS_TXT"},
    {"Empty", "", "DS_TXT"},
    {"DotAtTheEnd", "a.", "DS_TXT"},
    {"DotOfAFolder", "b.csv/a", "DS_TXT"},
    {"NameThatIsAnExtension", "b/.csv", "DS_CSV"},
};

class ImportDataSourceType : public testing::TestWithParam<TypeCase>
{};

TEST_P(ImportDataSourceType, IsTheExtensionInCapitals)
{
    EXPECT_EQ(DataSourceTypeOf(GetParam().path), Orvane::BString(GetParam().type));
}

INSTANTIATE_TEST_SUITE_P(,
                         ImportDataSourceType,
                         testing::ValuesIn(kTypes),
                         TestSupport::CaseName());

// Rule: a file that no module reads by this type is read by a module for DS_TXT.
TEST(ImportCanReadFile, FallsBackToDelimitedText)
{
    const BPluginModule module(ASCIIREADER_MODULE);
    EXPECT_TRUE(CanReadFile(module, "a.csv", BParamList()));
    EXPECT_TRUE(CanReadFile(module, "a.asc", BParamList()));
    EXPECT_TRUE(CanReadFile(module, "a", BParamList()));
}

TEST(ImportLoadModuleFor, LoadsTheNamedModuleWithoutAskingIt)
{
    const BPluginModule module = LoadModuleFor("a.marks", BParamList(), ASCIIREADER_MODULE);
    EXPECT_EQ(module.GetFile(), std::filesystem::path(ASCIIREADER_MODULE));
}

TEST(ImportLoadModuleFor, FindsTheBundledModuleBesideTheProgram)
{
    std::vector<Orvane::Import::Note> notes;
    const BPluginModule module =
        LoadModuleFor("a.csv", BParamList(), {}, [&](const Orvane::Import::Note& note) {
            notes.push_back(note);
        });
    EXPECT_EQ(module.GetFile(), std::filesystem::path(ASCIIREADER_MODULE));
    EXPECT_TRUE(notes.empty());
}

TEST(ImportLoadModuleFor, NamesAModuleThatIsNotThere)
{
    try {
        (void)LoadModuleFor("a.csv", BParamList(), "none.so");
        FAIL();
    } catch (const ImportFailure& failure) {
        EXPECT_TRUE(failure.Is("no-module"));
        EXPECT_EQ(failure.GetFields().what, "The plug-in <none.so> was not found.");
    }
}

} // namespace
