// Every failure of an import with its fields.
#include <Orvane/BKeyValuePairs.h>
#include <Orvane/Constants.h>
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/ImportFile.h>
#include <Orvane/Import/Options.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <support/TestFiles.h>
#include <vector>

namespace {

using Orvane::Import::AddOptionTexts;
using Orvane::Import::EFailureKind;
using Orvane::Import::FailureFields;
using Orvane::Import::ImportFailure;
using Orvane::Import::ImportFile;
using Orvane::Import::ImportRequest;
using TestSupport::CaseName;
using TestSupport::TemporaryFolder;

/// The fields of what `action` throws.
FailureFields FieldsOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const ImportFailure& failure) {
        return failure.GetFields();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

/// Names in a folder, sorted.
std::vector<std::string> NamesIn(const TemporaryFolder& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        names.push_back(entry.path().filename().native());
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// An import of a file with this text, and how it fails.
struct ImportCase
{
    const char* name;
    const char* text;
    std::vector<std::string> options;
    EFailureKind kind;
    const char* code;
    std::uint64_t line;
    std::uint64_t column;
    std::uint64_t found;
    std::uint64_t expected;
    const char* row;
    const char* message; ///< of the exception underneath
};

void PrintTo(const ImportCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class FailsAtTheLine : public testing::TestWithParam<ImportCase>
{};

const ImportCase kImportCases[] = {
    {"OfAnOpenQuote",
     "x,y,a\n1,2,3\n4,5,\"6\n7,8,9\n",
     {},
     EFailureKind::Content,
     "unmatched-quote",
     3,
     3,
     0,
     0,
     "4,5,\"6",
     "File contains an unmatched quote."},
    {"OfARowWithTooManyFields",
     "x,y,a\n1,2,3\n\n4,5,6,7\n8,9,0\n",
     {},
     EFailureKind::Content,
     "row-fields",
     4,
     4,
     4,
     3,
     "4,5,6,7",
     "Failed to parse feature # 1."},
    {"OfARowWithTooManyFieldsAfterAQuotedLineBreak",
     "x,y,a\n1,2,\"3\n3\"\n4,5,6,7\n",
     {},
     EFailureKind::Content,
     "row-fields",
     4,
     4,
     4,
     3,
     "4,5,6,7",
     "Failed to parse feature # 1."},
    {"OfARowWithTooFewFields",
     "x,y,a\n1,2,3\n4\n",
     {},
     EFailureKind::Content,
     "too-few-fields",
     3,
     0,
     1,
     2,
     "4",
     "Line 2 of the data.  Expected at least 2 (x, y) fields, but only 1 present."},
    {"OfTwoFirstRowsThatDiffer",
     "\nx,y\n1,2,3\n",
     {},
     EFailureKind::Content,
     "preview-fields",
     3,
     0,
     3,
     2,
     "1,2,3",
     "The number of records on first and second line differs."},
};

INSTANTIATE_TEST_SUITE_P(, FailsAtTheLine, testing::ValuesIn(kImportCases), CaseName());

TEST_P(FailsAtTheLine, AndLeavesNoOutput)
{
    const ImportCase& row = GetParam();
    const TemporaryFolder folder;
    ImportRequest request;
    request.file = folder.File("a.csv", row.text).ToUtf8();
    request.out = folder.Name("out.csv").ToUtf8();
    AddOptionTexts(row.options, request.options);
    // The rules of the reader alone: a plan reads these rows, or puts them aside.
    request.options.Add(Orvane::MAX_RECORDS, 1000);
    const FailureFields fields = FieldsOf([&] { ImportFile(request); });
    EXPECT_EQ(fields.kind, row.kind);
    EXPECT_EQ(fields.code, row.code);
    EXPECT_EQ(fields.file, request.file);
    EXPECT_EQ(fields.line, row.line);
    EXPECT_EQ(fields.column, row.column);
    EXPECT_EQ(fields.fieldsFound, row.found);
    EXPECT_EQ(fields.fieldsExpected, row.expected);
    EXPECT_EQ(fields.row, row.row);
    EXPECT_EQ(fields.underneath.message.ToUtf8(), row.message);
    EXPECT_NE(fields.what, "");
    EXPECT_EQ(NamesIn(folder), std::vector<std::string>{"a.csv"});
}

/// A request that fails whatever the rows are.
struct RequestCase
{
    const char* name;
    std::function<void(ImportRequest&, const TemporaryFolder&)> change;
    EFailureKind kind;
    const char* code;
    const char* subject;
    const char* value;
};

void PrintTo(const RequestCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class RefusesTheRequest : public testing::TestWithParam<RequestCase>
{};

const RequestCase kRequestCases[] = {
    {"WithAnUnknownFormat",
     [](auto& request, const auto& /*folder*/) { request.out = "out.xyz"; },
     EFailureKind::Request,
     "unknown-format",
     "",
     "out.xyz"},
    {"WithAShapefileInCapitals",
     [](auto& request, const auto& /*folder*/) { request.out = "out.SHP"; },
     EFailureKind::Request,
     "extension-case",
     ".shp",
     "out.SHP"},
    {"WithACoordinateSystemInAnotherForm",
     [](auto& request, const auto& /*folder*/) { request.crs = "WGS84"; },
     EFailureKind::Request,
     "crs-form",
     "",
     "WGS84"},
    {"WithAnUnknownCoordinateSystem",
     [](auto& request, const auto& /*folder*/) { request.crs = "EPSG:0"; },
     EFailureKind::Request,
     "unknown-crs",
     "",
     "EPSG:0"},
    {"ThatWouldReplaceItsInput",
     [](auto& request, const auto& /*folder*/) { request.out = request.file; },
     EFailureKind::Request,
     "output-is-input",
     "",
     ""},
    {"WithAnUnknownColumn",
     [](auto& request, const auto& /*folder*/) { request.columns.x = "zz"; },
     EFailureKind::Request,
     "no-such-column",
     "X",
     "zz"},
    {"WithAColumnBeyondTheLast",
     [](auto& request, const auto& /*folder*/) { request.columns.y = "9"; },
     EFailureKind::Request,
     "column-beyond",
     "Y",
     "9"},
    {"WithAColumnGivenTwice",
     [](auto& request, const auto& /*folder*/) {
         request.columns.z = "2";
         AddOptionTexts({"Z_COLUMN=2"}, request.options);
     },
     EFailureKind::Request,
     "column-given-twice",
     "Z",
     "Z_COLUMN"},
    {"WithANegativeColumn",
     [](auto& request, const auto& /*folder*/) {
         AddOptionTexts({"X_COLUMN=-1"}, request.options);
     },
     EFailureKind::Request,
     "column-negative",
     "X_COLUMN",
     "-1"},
    {"WithOneColumnForTwo",
     [](auto& request, const auto& /*folder*/) {
         request.columns = {"1", "1", std::nullopt};
     },
     EFailureKind::Request,
     "columns-equal",
     "",
     ""},
    {"WithAnUnknownEncoding",
     [](auto& request, const auto& /*folder*/) {
         AddOptionTexts({"CODEC=KLINGON"}, request.options);
     },
     EFailureKind::Request,
     "unknown-codec",
     "",
     "KLINGON"},
    {"ForAMissingFile",
     [](auto& request, const auto& folder) { request.file = folder.Name("none.csv").ToUtf8(); },
     EFailureKind::Input,
     "no-such-file",
     "",
     ""},
    {"ForAFolder",
     [](auto& request, const auto& folder) { request.file = folder.Path().native(); },
     EFailureKind::Input,
     "is-folder",
     "",
     ""},
    {"ForAnEmptyFile",
     [](auto& request, const auto& folder) {
         request.file = folder.File("empty.csv", "").ToUtf8();
     },
     EFailureKind::Input,
     "empty-file",
     "",
     ""},
    {"ForANameThatIsNoUtf8",
     [](auto& request, const auto& /*folder*/) { request.file = "\xFF.csv"; },
     EFailureKind::Input,
     "name-encoding",
     "",
     ""},
    {"ForAFileWithoutKnownSeparator",
     [](auto& request, const auto& folder) {
         request.file = folder.File("a.dat", "1,2\n").ToUtf8();
         AddOptionTexts({"MAX_RECORDS=9"}, request.options);
     },
     EFailureKind::Input,
     "no-separator",
     "",
     ""},
    {"WithAnOutputInAMissingFolder",
     [](auto& request, const auto& folder) { request.out = folder.Name("no/out.csv").ToUtf8(); },
     EFailureKind::Output,
     "output-folder",
     "",
     ""},
    {"WithAFolderInThePlaceOfTheOutput",
     [](auto& request, const auto& folder) {
         request.out = folder.Name("folder.csv").ToUtf8();
         std::filesystem::create_directory(request.out);
     },
     EFailureKind::Output,
     "output-not-a-file",
     "",
     ""},
    {"WithAnOutputThatIsInUse",
     [](auto& request, const auto& folder) {
         request.out = folder.Name("out.gpkg").ToUtf8();
         static_cast<void>(folder.File("out.gpkg-wal", ""));
     },
     EFailureKind::Output,
     "output-in-use",
     "",
     ""},
    {"WithoutAFolderForTheDiskCache",
     [](auto& request, const auto& /*folder*/) {
         request.diskCache = {Orvane::Import::DiskCacheRequest::EMode::Always, "/no/such/folder"};
     },
     EFailureKind::Output,
     "cache-folder",
     "",
     "/no/such/folder"},
    {"WithAMissingModule",
     [](auto& request, const auto& /*folder*/) { request.module = "/no/such/module.so"; },
     EFailureKind::Module,
     "no-module",
     "",
     ""},
    {"WithAFileThatIsNoModule",
     [](auto& request, const auto& /*folder*/) { request.module = request.file; },
     EFailureKind::Module,
     "module-load",
     "",
     ""},
};

INSTANTIATE_TEST_SUITE_P(, RefusesTheRequest, testing::ValuesIn(kRequestCases), CaseName());

TEST_P(RefusesTheRequest, WithItsCodeAndFields)
{
    const RequestCase& row = GetParam();
    const TemporaryFolder folder;
    ImportRequest request;
    request.file = folder.File("a.csv", "x,y,a\n1,2,3\n").ToUtf8();
    request.out = folder.Name("out.csv").ToUtf8();
    row.change(request, folder);
    const std::vector<std::string> before = NamesIn(folder);
    const FailureFields fields = FieldsOf([&] { ImportFile(request); });
    EXPECT_EQ(fields.kind, row.kind);
    EXPECT_EQ(fields.code, row.code);
    EXPECT_EQ(fields.subject, row.subject);
    EXPECT_EQ(fields.value, row.value);
    EXPECT_NE(fields.what, "");
    for (const std::string& text : {fields.what, fields.cause, fields.advice}) {
        EXPECT_EQ(text.find("--"), std::string::npos) << "names an argument of a program: " << text;
    }
    EXPECT_EQ(NamesIn(folder), before);
}

TEST(ImportQuestion, ListsTheColumnsAndWhatIsMissing)
{
    const TemporaryFolder folder;
    ImportRequest request;
    request.file = folder.File("a.csv", "lon,b,c\n1.5,2.5,t\n").ToUtf8();
    request.out = folder.Name("out.csv").ToUtf8();
    request.columns.x = "lon";
    const FailureFields fields = FieldsOf([&] { ImportFile(request); });
    EXPECT_EQ(fields.code, "columns-unknown");
    EXPECT_EQ(fields.missing, std::vector<std::string>{"Y"});
    EXPECT_EQ(fields.matches, std::vector<std::size_t>{0});
    ASSERT_EQ(fields.columns.size(), 3U);
    EXPECT_EQ(fields.columns[2].name, "c");
    EXPECT_EQ(fields.columns[2].firstValue, "t");
    EXPECT_TRUE(fields.hasColumnNames);
}

TEST(ImportFailureLine, NamesFileLineAndColumnOnOneLine)
{
    FailureFields fields;
    fields.what = "A row\nis wrong.";
    fields.file = "a\xFF.csv";
    fields.line = 7;
    fields.column = 3;
    fields.advice = "Correct it.";
    EXPECT_STREQ(ImportFailure(fields).what(), "a\\xFF.csv:7:3: A row\\x0Ais wrong. Correct it.");
    fields.line = 0;
    EXPECT_STREQ(ImportFailure(fields).what(), "a\\xFF.csv: A row\\x0Ais wrong. Correct it.");
}

TEST(ImportFailureTexts, KeepALoneSurrogate)
{
    const std::u16string text = u"a\xD800";
    const Orvane::BException exception(Orvane::BString(std::u16string_view(text)), "here");
    EXPECT_EQ(Orvane::Import::DescribeException(exception).message.View(), text);
}

TEST(OptionTexts, NameTheKeysLikeAnUnknownOne)
{
    Orvane::BParamList options;
    const FailureFields fields = FieldsOf([&] { AddOptionTexts({"X_COLUM=1"}, options); });
    EXPECT_EQ(fields.code, "unknown-option");
    EXPECT_EQ(fields.value, "X_COLUM");
    ASSERT_FALSE(fields.nearest.empty());
    EXPECT_EQ(fields.nearest[0], "X_COLUMN");
}

TEST(OptionTexts, NameTheOptionOfAWrongValue)
{
    Orvane::BParamList options;
    const FailureFields fields = FieldsOf([&] { AddOptionTexts({"X_COLUMN=a"}, options); });
    EXPECT_EQ(fields.code, "option-value");
    EXPECT_EQ(fields.subject, "X_COLUMN");
    EXPECT_EQ(fields.value, "a");
}

TEST(OptionFile, IsNamedWhenItIsNotValid)
{
    const TemporaryFolder folder;
    const std::string path = folder.File("o.json", "{\"X_COLUMN\": null}").ToUtf8();
    const FailureFields fields =
        FieldsOf([&] { static_cast<void>(Orvane::Import::ReadOptionFile(path)); });
    EXPECT_EQ(fields.code, "option-file");
    EXPECT_EQ(fields.file, path);
}

} // namespace
