// The kinds and codes of exceptions from elsewhere.
#include "Wrap.h"

#include <Orvane/BException.h>

#include <string_view>
#include <utility>

namespace Orvane::Import {

namespace {

/// What is said of an exception by its texts alone.
struct KnownFailure
{
    std::string_view message; ///< begins the message or, at swapped sites, the location
    EFailureKind kind;
    const char* code;
    const char* what;
    const char* advice;
};

constexpr KnownFailure kKnown[] = {
    {"File contains an unmatched quote.",
     EFailureKind::Content,
     "unmatched-quote",
     "The file has a quote that is never closed.",
     "Close the quote, or double it where it is part of the text."},
    {"Failed to parse feature #",
     EFailureKind::Content,
     "row-values",
     "A row cannot become a feature.",
     ""},
    {"AsciiUtils::RemoveXYZ",
     EFailureKind::Content,
     "too-few-fields",
     "A row has too few fields for its coordinates.",
     ""},
    {"Attempting to remove X/Y/Z columns failed.",
     EFailureKind::Content,
     "too-few-fields",
     "A row has too few fields for its coordinates.",
     "Check the separator and the columns of the coordinates."},
    {"The number of records on first and second line differs.",
     EFailureKind::Content,
     "preview-fields",
     "The first two rows have not the same number of fields.",
     ""},
    {"There was no readable data in the file.",
     EFailureKind::Content,
     "no-data",
     "The file has no row of data.",
     ""},
    {"A line of the file <",
     EFailureKind::Content,
     "line-too-long",
     "A line of the file is longer than the reader reads.",
     "Check that the file is delimited text."},
    {"The text codec <",
     EFailureKind::Request,
     "unknown-codec",
     "The text encoding is not known.",
     "Give an encoding such as UTF-8, ISO-8859-1 or windows-1252."},
    {"Separator could not be determined automatically.",
     EFailureKind::Input,
     "no-separator",
     "Neither the options nor the extension of the file say how fields are separated.",
     "Give the separator as an option."},
    {"There was no '.' in the filename.",
     EFailureKind::Input,
     "no-separator",
     "Neither the options nor the extension of the file say how fields are separated.",
     "Give the separator as an option."},
    {"Could not read from the file <",
     EFailureKind::Input,
     "read-error",
     "The system cannot read the file.",
     ""},
    {"The plug-in made no reader.",
     EFailureKind::Module,
     "module-failure",
     "The plug-in made no reader.",
     ""},
    {"Could not open ", EFailureKind::Input, "read-error", "The file cannot be opened.", ""},
    {"Could not create the disk cache file.",
     EFailureKind::Output,
     "cache-file",
     "The file for the disk cache cannot be made.",
     ""},
    {"Could not write the disk cache file.",
     EFailureKind::Output,
     "cache-file",
     "The file of the disk cache cannot be written.",
     "Make room on its disk, or name a folder on another one."},
    {"Could not read the disk cache file.",
     EFailureKind::Output,
     "cache-file",
     "The file of the disk cache cannot be read.",
     ""},
    {"The disk cache file is ",
     EFailureKind::Output,
     "cache-file",
     "The file of the disk cache was changed by another program.",
     "Run the import again."},
};

bool BeginsWith(const BString& text, std::string_view begin)
{
    return text.ToUtf8().compare(0, begin.size(), begin) == 0;
}

FailureFields DescribeUnderneath(UnderlyingTexts texts, bool isFromSdk)
{
    FailureFields fields;
    fields.kind = isFromSdk ? EFailureKind::Content : EFailureKind::Module;
    fields.code = isFromSdk ? "reader" : "module-failure";
    fields.what = texts.message.ToUtf8();
    fields.cause = texts.details.ToUtf8();
    if (texts.className == "BFileNotFoundException") {
        fields.kind = EFailureKind::Input;
        fields.code = "no-such-file";
        fields.what = "There is no such file.";
        fields.cause.clear();
    }
    if (texts.className == "std::out_of_range") {
        fields.kind = EFailureKind::Request;
        fields.code = "row-position";
        fields.what = "An option points outside of a row.";
        fields.advice = "Check that COLUMN_DEFINITION and NAME_COLUMN fit the columns of the file.";
    }
    for (const KnownFailure& known : kKnown) {
        if (isFromSdk && (BeginsWith(texts.message, known.message) ||
                          BeginsWith(texts.location, known.message))) {
            fields.kind = known.kind;
            fields.code = known.code;
            fields.what = known.what;
            fields.advice = known.advice;
            break;
        }
    }
    fields.underneath = std::move(texts);
    return fields;
}

FailureFields DescribeCurrent()
{
    try {
        throw;
    } catch (const BException& exception) {
        return DescribeUnderneath(DescribeException(exception), true);
    } catch (const std::exception& exception) {
        return DescribeUnderneath(DescribeException(exception), false);
    } catch (...) {
        return DescribeUnderneath(
            {"unknown", BString(), "An exception of an unknown type.", BString()}, false);
    }
}

} // namespace

ImportFailure DescribeCurrentFailure(const std::string& file)
{
    try {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const ImportFailure& failure) {
        return failure;
    } catch (...) {
        FailureFields fields = DescribeCurrent();
        fields.file = file;
        return ImportFailure(std::move(fields));
    }
}

} // namespace Orvane::Import
