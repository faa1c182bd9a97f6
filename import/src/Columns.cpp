// Chooses the columns of an import.
#include "Wrap.h"

#include <Orvane/BException.h>
#include <Orvane/Constants.h>
#include <Orvane/Import/Columns.h>
#include <Orvane/Import/Preview.h>

#include <algorithm>
#include <limits>
#include <text/OptionRules.h>
#include <utility>

namespace Orvane::Import {

namespace {

bool IsIndex(const std::string& text)
{
    return !text.empty() && text.size() <= 9 &&
           std::all_of(
               text.begin(), text.end(), [](char byte) { return byte >= '0' && byte <= '9'; });
}

/// The options without those that only matter for reading rows: the preview is the same without
/// them, and opening is quicker and fails for fewer reasons.
BParamList MakePreviewOptions(const BParamList& options)
{
    BParamList reduced = options;
    for (const BString* key : {&AUTO_SCHEMA_ALL_ROWS,
                               &COLUMN_DEFINITION,
                               &X_COLUMN,
                               &Y_COLUMN,
                               &Z_COLUMN,
                               &FIRST_LINE_COLUMN_NAMES}) {
        reduced.Remove(*key);
    }
    return reduced;
}

FailureFields MakeRequestFailure(const char* code, std::string what)
{
    FailureFields fields;
    fields.kind = EFailureKind::Request;
    fields.code = code;
    fields.what = std::move(what);
    return fields;
}

/// The question back when the columns cannot be told.
[[noreturn]] void AskForColumns(const std::string& file,
                                const BParamList& options,
                                const FilePreview& preview,
                                const ColumnChoice& choice)
{
    FailureFields fields = MakeRequestFailure(
        "columns-unknown", "The columns of X and Y cannot be told by their names.");
    fields.file = file;
    fields.advice = "Name them, or give their indices.";
    if (!choice.x) {
        fields.missing.emplace_back("X");
    }
    if (!choice.y) {
        fields.missing.emplace_back("Y");
    }
    for (std::size_t index = 0; index < preview.columns.size(); ++index) {
        const FilePreview::Column& column = preview.columns[index];
        fields.columns.push_back({choice.names[index].ToUtf8(),
                                  (choice.hasColumnNames ? column.second : column.first).ToUtf8()});
    }
    if (choice.x || choice.y) {
        fields.matches.push_back(choice.x ? *choice.x : *choice.y);
    }
    fields.hasColumnNames = choice.hasColumnNames;
    fields.mayHaveSkippedHeader = options.HasProperty(ASCII_HEADER_COUNT) ||
                                  options.HasProperty(ASCII_HEADER_IDENTIFIER) ||
                                  options.HasProperty(ASCII_HEADER_BLANK_LINE);
    throw ImportFailure(std::move(fields));
}

/// The column that the request or an option gives.
std::optional<std::size_t> FindGiven(const std::optional<std::string>& requested,
                                     const char* axis,
                                     const BString& key,
                                     const BParamList& options,
                                     const std::vector<BString>& names)
{
    if (requested && options.HasProperty(key)) {
        FailureFields fields =
            MakeRequestFailure("column-given-twice",
                               std::string("The column of ") + axis +
                                   " is given twice, also by the option " + key.ToUtf8() + ".");
        fields.subject = axis;
        fields.value = key.ToUtf8();
        throw ImportFailure(std::move(fields));
    }
    if (requested) {
        if (names.empty() && IsIndex(*requested)) {
            return static_cast<std::size_t>(std::stoul(*requested));
        }
        return FindColumn(names, *requested, axis);
    }
    if (!options.HasProperty(key)) {
        return std::nullopt;
    }
    const std::int32_t column = options.GetInteger(key);
    if (column < 0) {
        FailureFields fields =
            MakeRequestFailure("column-negative",
                               "The option " + key.ToUtf8() + " counts from 0; " +
                                   std::to_string(column) + " is no column.");
        fields.subject = key.ToUtf8();
        fields.value = std::to_string(column);
        throw ImportFailure(std::move(fields));
    }
    return static_cast<std::size_t>(column);
}

/// Whether request and options say everything that a preview would be asked for.
bool NeedsNoPreview(const BParamList& options, const ColumnRequest& request)
{
    const auto isKnown = [&](const std::optional<std::string>& requested, const BString& key) {
        return requested ? IsIndex(*requested) : options.HasProperty(key);
    };
    return options.HasProperty(FIRST_LINE_COLUMN_NAMES) && isKnown(request.x, X_COLUMN) &&
           isKnown(request.y, Y_COLUMN) && (!request.z || IsIndex(*request.z));
}

FilePreview Look(const BPluginModule& module,
                 const std::string& file,
                 const BParamList& options,
                 const ColumnRequest& request)
{
    try {
        return ParsePreview(AskPreview(module, file, MakePreviewOptions(options)));
    } catch (const ImportFailure& failure) {
        // Rule: a file that cannot be previewed is imported all the same when nothing is to be
        // seen in the preview.
        if (failure.GetFields().underneath.className != "BFileContentNotValidException" ||
            !NeedsNoPreview(options, request)) {
            throw;
        }
        return {};
    }
}

ColumnChoice Choose(const std::string& file,
                    const BParamList& options,
                    const ColumnRequest& request,
                    const FilePreview& preview)
{
    ColumnChoice choice;
    const bool isFlagGiven = options.HasProperty(FIRST_LINE_COLUMN_NAMES);
    choice.hasColumnNames =
        isFlagGiven ? AsciiReader::OptionRules::HasColumnNames(options) : preview.hasColumnNames;
    choice.namesBy = isFlagGiven ? EDecidedBy::Request : EDecidedBy::Preview;
    choice.names = NamesOfColumns(preview, choice.hasColumnNames);
    choice.x = FindGiven(request.x, "X", X_COLUMN, options, choice.names);
    choice.y = FindGiven(request.y, "Y", Y_COLUMN, options, choice.names);
    choice.z = FindGiven(request.z, "Z", Z_COLUMN, options, choice.names);
    choice.xBy = choice.x ? EDecidedBy::Request : EDecidedBy::Preview;
    choice.yBy = choice.y ? EDecidedBy::Request : EDecidedBy::Preview;
    if (!choice.x || !choice.y) {
        CoordinatePair columns{choice.x, choice.y};
        if (choice.hasColumnNames) {
            columns = GuessCoordinateColumns(choice.names, columns);
        }
        if (!columns.x || !columns.y) {
            AskForColumns(file, options, preview, choice);
        }
        choice.x = columns.x;
        choice.y = columns.y;
    }
    if (choice.x == choice.y || choice.z == choice.x || choice.z == choice.y) {
        throw ImportFailure(
            MakeRequestFailure("columns-equal", "X, Y and Z must be different columns."));
    }
    return choice;
}

} // namespace

ColumnChoice ChooseColumns(const BPluginModule& module,
                           const std::string& file,
                           const BParamList& options,
                           const ColumnRequest& request)
{
    return WrapFailures(
        file, [&] { return Choose(file, options, request, Look(module, file, options, request)); });
}

BParamList MakeReadOptions(const BParamList& options, const ColumnChoice& choice)
{
    return WrapFailures({}, [&] {
        BParamList result = options;
        const auto addColumn = [&](const BString& key, const std::optional<std::size_t>& column) {
            if (column && !result.HasProperty(key)) {
                constexpr auto kLargest =
                    static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
                result.Add(key, static_cast<std::int32_t>(std::min(*column, kLargest)));
            }
        };
        if (!result.HasProperty(FIRST_LINE_COLUMN_NAMES)) {
            result.Add(FIRST_LINE_COLUMN_NAMES, choice.hasColumnNames);
        }
        addColumn(X_COLUMN, choice.x);
        addColumn(Y_COLUMN, choice.y);
        addColumn(Z_COLUMN, choice.z);
        return result;
    });
}

} // namespace Orvane::Import
