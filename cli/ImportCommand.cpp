// `orvane import`: sees the columns, reads the file, writes it in another format.
#include "ColumnGuess.h"
#include "Commands.h"
#include "DiskCache.h"
#include "Exporter.h"
#include "Failure.h"
#include "FilePreview.h"
#include "Interrupt.h"
#include "LayerSummary.h"
#include "OutputTarget.h"
#include "ReadProgress.h"
#include "ReaderSession.h"
#include "TerminalText.h"
#include "TextOutput.h"

#include <Orvane/BException.h>
#include <Orvane/Constants.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <optional>
#include <system_error>
#include <vector>

namespace OrvaneHost {

namespace {

using Clock = std::chrono::steady_clock;

/// Where the columns of an import come from.
struct ColumnChoice
{
    bool hasColumnNames = false;
    std::vector<Orvane::BString> names; ///< of all columns; empty when the file was not looked at
    std::optional<std::size_t> x;
    std::optional<std::size_t> y;
    std::optional<std::size_t> z;
};

/// The header flag as the reader will understand the option.
bool ReadHeaderFlag(const Orvane::BParamList& params)
{
    if (params.GetValueType(Orvane::FIRST_LINE_COLUMN_NAMES) == Orvane::EVariantType::String) {
        return params.GetInteger(Orvane::FIRST_LINE_COLUMN_NAMES) == 1;
    }
    return params.GetBoolean(Orvane::FIRST_LINE_COLUMN_NAMES);
}

bool IsIndex(const std::string& text)
{
    return !text.empty() && text.size() <= 9 &&
           std::all_of(
               text.begin(), text.end(), [](char byte) { return byte >= '0' && byte <= '9'; });
}

/// The options without those that only matter for reading rows: the preview is the same without
/// them, and opening is quicker and fails for fewer reasons.
Orvane::BParamList MakePreviewParams(const Orvane::BParamList& params)
{
    Orvane::BParamList reduced = params;
    for (const Orvane::BString* key : {&Orvane::AUTO_SCHEMA_ALL_ROWS,
                                       &Orvane::COLUMN_DEFINITION,
                                       &Orvane::X_COLUMN,
                                       &Orvane::Y_COLUMN,
                                       &Orvane::Z_COLUMN,
                                       &Orvane::FIRST_LINE_COLUMN_NAMES}) {
        reduced.Remove(*key);
    }
    return reduced;
}

std::vector<Orvane::BString> NamesOf(const FilePreview& preview, bool hasColumnNames)
{
    std::vector<Orvane::BString> names;
    for (const FilePreview::Column& column : preview.columns) {
        Orvane::BString name = hasColumnNames ? column.first.Trim() : Orvane::BString();
        if (name.IsEmpty()) {
            name = "C" + Orvane::BString::FromInteger(static_cast<std::int64_t>(names.size()) + 1);
        }
        names.push_back(name);
    }
    return names;
}

std::string Cell(const Orvane::BString& text, std::size_t width)
{
    return TerminalText::Cut(TerminalText::Escape(text), width);
}

/// The question back when the columns can not be told.
[[noreturn]] void AskForColumns(const ImportArguments& arguments,
                                const FilePreview& preview,
                                const ColumnChoice& choice)
{
    constexpr std::size_t kWidest = 40;
    std::string text =
        "Which columns hold X and Y? They can not be told by the column names; give ";
    text += choice.x ? "--y" : choice.y ? "--x" : "--x and --y";
    text += ", a name or an index, for example:\n  orvane import '" +
            TerminalText::Escape(arguments.file) + "' --x " + std::to_string(choice.x.value_or(0)) +
            " --y " + std::to_string(choice.y.value_or(1)) + "\n";
    text += "The columns of the file, by index:\n";
    std::size_t nameWidth = 4;
    for (const Orvane::BString& name : choice.names) {
        nameWidth = std::max(nameWidth, TerminalText::CountCharacters(Cell(name, kWidest)));
    }
    const auto addLine =
        [&](const std::string& index, const std::string& name, const std::string& value) {
            std::string line =
                "  " + TerminalText::Pad(index, 6) + TerminalText::Pad(name, nameWidth + 2) + value;
            line.erase(line.find_last_not_of(' ') + 1);
            text += line + "\n";
        };
    addLine("INDEX", "NAME", "FIRST VALUE");
    for (std::size_t index = 0; index < preview.columns.size(); ++index) {
        const FilePreview::Column& column = preview.columns[index];
        addLine(std::to_string(index),
                Cell(choice.names[index], kWidest),
                Cell(choice.hasColumnNames ? column.second : column.first, kWidest));
    }
    text += choice.hasColumnNames ? "The first line was taken for column names."
                                  : "The first line was taken for data.";
    const bool hasHeaderOptions = arguments.params.HasProperty(Orvane::ASCII_HEADER_COUNT) ||
                                  arguments.params.HasProperty(Orvane::ASCII_HEADER_IDENTIFIER) ||
                                  arguments.params.HasProperty(Orvane::ASCII_HEADER_BLANK_LINE);
    if (hasHeaderOptions) {
        text += " The preview does not skip header lines.";
    }
    throw UsageError(text);
}

/// Takes columns that an argument or an option gives.
std::optional<std::size_t> TakeGiven(const std::optional<std::string>& argument,
                                     const char* argumentName,
                                     const Orvane::BString& key,
                                     const Orvane::BParamList& params,
                                     const std::vector<Orvane::BString>& names)
{
    if (argument && params.HasProperty(key)) {
        throw UsageError(std::string("Give ") + argumentName + " or the option " + key.ToUtf8() +
                         ", not both.");
    }
    if (argument) {
        if (names.empty() && IsIndex(*argument)) {
            return static_cast<std::size_t>(std::stoul(*argument));
        }
        return FindColumn(names, *argument, argumentName);
    }
    if (params.HasProperty(key)) {
        const std::int32_t column = params.GetInteger(key);
        if (column < 0) {
            throw UsageError("The option " + key.ToUtf8() + " counts from 0; " +
                             std::to_string(column) + " is no column.");
        }
        return static_cast<std::size_t>(column);
    }
    return std::nullopt;
}

/// Whether the arguments say everything that a preview would be asked for.
bool NeedsNoPreview(const ImportArguments& arguments)
{
    const auto isKnown = [&](const std::optional<std::string>& argument,
                             const Orvane::BString& key) {
        return argument ? IsIndex(*argument) : arguments.params.HasProperty(key);
    };
    return arguments.params.HasProperty(Orvane::FIRST_LINE_COLUMN_NAMES) &&
           isKnown(arguments.x, Orvane::X_COLUMN) && isKnown(arguments.y, Orvane::Y_COLUMN) &&
           (!arguments.z || IsIndex(*arguments.z));
}

ColumnChoice ChooseColumns(Orvane::BDataManagerProxy& proxy, const ImportArguments& arguments)
{
    FilePreview preview;
    try {
        preview =
            ParsePreview(AskPreview(proxy, arguments.file, MakePreviewParams(arguments.params)));
    } catch (const Orvane::BFileContentNotValidException&) {
        // Rule: a file that can not be previewed is imported all the same when nothing is to be
        // seen in the preview.
        if (!NeedsNoPreview(arguments)) {
            throw;
        }
    }
    ColumnChoice choice;
    choice.hasColumnNames = arguments.params.HasProperty(Orvane::FIRST_LINE_COLUMN_NAMES)
                                ? ReadHeaderFlag(arguments.params)
                                : preview.hasColumnNames;
    choice.names = NamesOf(preview, choice.hasColumnNames);
    choice.x = TakeGiven(arguments.x, "--x", Orvane::X_COLUMN, arguments.params, choice.names);
    choice.y = TakeGiven(arguments.y, "--y", Orvane::Y_COLUMN, arguments.params, choice.names);
    choice.z = TakeGiven(arguments.z, "--z", Orvane::Z_COLUMN, arguments.params, choice.names);
    if (!choice.x || !choice.y) {
        CoordinateColumns columns{choice.x, choice.y};
        if (choice.hasColumnNames) {
            columns = GuessCoordinateColumns(choice.names, columns);
        }
        if (!columns.x || !columns.y) {
            AskForColumns(arguments, preview, choice);
        }
        choice.x = columns.x;
        choice.y = columns.y;
    }
    if (choice.x == choice.y || choice.z == choice.x || choice.z == choice.y) {
        throw UsageError("X, Y and Z must be different columns.");
    }
    return choice;
}

Orvane::BParamList MakeReadParams(const Orvane::BParamList& given, const ColumnChoice& choice)
{
    Orvane::BParamList params = given;
    const auto addColumn = [&](const Orvane::BString& key,
                               const std::optional<std::size_t>& column) {
        if (column && !params.HasProperty(key)) {
            constexpr auto kLargest =
                static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
            params.Add(key, static_cast<std::int32_t>(std::min(*column, kLargest)));
        }
    };
    if (!params.HasProperty(Orvane::FIRST_LINE_COLUMN_NAMES)) {
        params.Add(Orvane::FIRST_LINE_COLUMN_NAMES, choice.hasColumnNames);
    }
    addColumn(Orvane::X_COLUMN, choice.x);
    addColumn(Orvane::Y_COLUMN, choice.y);
    addColumn(Orvane::Z_COLUMN, choice.z);
    return params;
}

double SecondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

std::string FormatFixed(double value, int digits)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*f", digits, value);
    return buffer;
}

std::string DescribeColumn(const char* axis,
                           const std::optional<std::size_t>& column,
                           const ColumnChoice& choice)
{
    if (!column) {
        return {};
    }
    std::string text = std::string(axis) + " from column " + std::to_string(*column);
    if (*column < choice.names.size()) {
        text += " '" + Cell(choice.names[*column], 40) + "'";
    }
    return text;
}

/// What the summary is made of.
struct ImportResult
{
    const ColumnChoice& choice;
    Orvane::BVectorLayer& layer;
    const LayerCounts& counts;
    unsigned recordsRead;
    bool stoppedAtLimit;
    double readSeconds;
    double writeSeconds;
    std::string out;
    const char* driver;
};

void PrintSummary(const ImportArguments& arguments, const ImportResult& result)
{
    const ColumnChoice& choice = result.choice;
    TextOutput output;
    output.Write("Layer:    " + TerminalText::Escape(result.layer.GetName()) + "\n");
    output.Write("Columns:  " + DescribeColumn("X", choice.x, choice) + ", " +
                 DescribeColumn("Y", choice.y, choice) +
                 (choice.z ? ", " + DescribeColumn("Z", choice.z, choice) : "") +
                 (choice.hasColumnNames ? "; names from the first line\n" : "; no column names\n"));
    output.Write("Rows:     " + std::to_string(result.counts.rows) + " read (" +
                 std::to_string(result.recordsRead) + " lines)" +
                 (result.stoppedAtLimit ? ", stopped at MAX_RECORDS\n" : "\n"));
    output.Write("Points:   " + std::to_string(result.counts.points) + "\n");
    output.Write("No point: " + std::to_string(result.counts.GetWithoutGeometry()) + " rows\n");
    output.Write("Extent:   " + DescribeExtent(result.layer.GetMBB()) + "\n");
    output.Write("Schema:   " + std::to_string(result.layer.GetSchema().GetCount()) + " columns\n");
    output.Write(DescribeSchema(result.layer.GetSchema()));
    std::error_code error;
    const std::uintmax_t bytes = std::filesystem::file_size(arguments.file, error);
    const double megabytes = error ? 0 : static_cast<double>(bytes) / 1e6;
    const double seconds = result.readSeconds + result.writeSeconds;
    output.Write("Time:     " + FormatFixed(seconds, 3) + " s, " +
                 FormatFixed(seconds > 0 ? megabytes / seconds : 0, 1) + " MB/s (reading " +
                 FormatFixed(result.readSeconds, 3) + " s, " +
                 FormatFixed(result.readSeconds > 0 ? megabytes / result.readSeconds : 0, 1) +
                 " MB/s; writing " + FormatFixed(result.writeSeconds, 3) + " s)\n");
    output.Write("Written:  " + TerminalText::Escape(result.out) + " (" + result.driver + ")\n");
    output.Flush();
}

std::string DefaultOut(const std::string& file)
{
    return std::filesystem::path(file).replace_extension(".gpkg").native();
}

void PrintNote(const std::string& note)
{
    if (!note.empty()) {
        std::fprintf(stderr, "orvane: note: %s\n", note.c_str());
    }
}

} // namespace

void RunImport(Orvane::BDataManagerProxy& proxy, const ImportArguments& arguments)
{
    const std::string out = arguments.out.empty() ? DefaultOut(arguments.file) : arguments.out;
    const ExportFormat& format = FindExportFormat(out);
    const std::shared_ptr<OGRSpatialReference> coordSys = FindCoordinateSystem(arguments.crs);
    OutputTarget target(out, arguments.file);
    const DiskCache diskCache(arguments.diskCache);
    const ColumnChoice choice = ChooseColumns(proxy, arguments);
    const Orvane::BParamList params = MakeReadParams(arguments.params, choice);
    const DiskCacheChoice cache = diskCache.Choose(proxy, arguments.file, params);
    PrintNote(cache.note);

    const Clock::time_point readBegin = Clock::now();
    ProgressLine line;
    ReadProgress progress(&line);
    ReaderSession session(proxy, arguments.file, params);
    if (cache.isUsed) {
        session.UseDiskCache(cache.baseName);
    }
    session.Open();
    const Orvane::BSharedPtr<Orvane::BVectorLayer> layer = session.GetLayer();
    {
        const Interrupt::PhaseScope phase(Interrupt::EPhase::Reading);
        session.Read(progress);
    }
    Interrupt::ThrowIfRequested();
    const bool stoppedAtLimit = session.GetFailureFlag() != 0;
    session.Close();
    line.Clear();
    const double readSeconds = SecondsSince(readBegin);

    const Clock::time_point writeBegin = Clock::now();
    const LayerCounts counts = CountLayer(*layer);
    std::vector<std::string> notes;
    {
        const Interrupt::PhaseScope phase(Interrupt::EPhase::Writing);
        target.Begin();
        notes = ExportLayer(
            {*layer, counts, format, target.GetWorkFile(), coordSys, [&](std::size_t written) {
                 Interrupt::ThrowIfRequested();
                 line.Show("Wrote", written, counts.rows);
             }});
        target.Commit();
        Interrupt::SetWritten();
    }
    line.Clear();
    for (const std::string& note : notes) {
        PrintNote(note);
    }
    PrintSummary(arguments,
                 {choice,
                  *layer,
                  counts,
                  progress.GetLastCount(),
                  stoppedAtLimit,
                  readSeconds,
                  SecondsSince(writeBegin),
                  out,
                  format.driver});
}

} // namespace OrvaneHost
