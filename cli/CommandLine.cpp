// Says what the commands may be given, and calls them.
#include "CommandLine.h"

#include "Arguments.h"
#include "Commands.h"
#include "FailureWords.h"
#include "HelpText.h"
#include "JsonWriter.h"
#include "PlanArguments.h"
#include "TextOutput.h"

#include <Orvane/Import/Options.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace OrvaneHost {

namespace {

using Orvane::Import::DiskCacheRequest;
using Orvane::Import::FailureFields;
using Orvane::Import::ImportFailure;
using Orvane::Import::UnderlyingTexts;

constexpr ArgumentRule kHelp{
    .kind = EArgumentKind::Flag, .name = "--help", .meaning = "Show this help", .shortName = "-h"};

constexpr ArgumentRule kPlugin{.kind = EArgumentKind::Value,
                               .name = "--plugin",
                               .valueName = "PATH",
                               .meaning = "The plug-in module to load"};

constexpr ArgumentRule kFile{.kind = EArgumentKind::Positional,
                             .name = "FILE",
                             .meaning = "The delimited text file",
                             .isRequired = true};

constexpr ArgumentRule kOption{
    .kind = EArgumentKind::Value,
    .name = "--option",
    .valueName = "KEY=VALUE",
    .meaning =
        "A reader option; may be given more than once. 'orvane options' lists the reader options",
    .shortName = "-o",
    .isRepeatable = true};

constexpr ArgumentRule kOptionFile{
    .kind = EArgumentKind::Value,
    .name = "--options",
    .valueName = "FILE.json",
    .meaning = "A JSON file with an object of reader options; --option outranks it"};

constexpr ArgumentRule kDiskCache{
    .kind = EArgumentKind::OptionalValue,
    .name = "--disk-cache",
    .valueName = "DIR",
    .meaning = "Keep the layer in a file in DIR instead of in memory; without DIR in TMPDIR, else "
               "in /tmp (/var/tmp when /tmp is kept in memory)"};

constexpr ArgumentRule kReadThreads{
    .kind = EArgumentKind::Value,
    .name = "--threads",
    .valueName = "NUMBER",
    .meaning = "How many threads share the reading. Without it as many as there are processors; "
               "the layer is the same with any number"};

constexpr ArgumentRule kImportThreads{
    .kind = EArgumentKind::Value,
    .name = "--threads",
    .valueName = "NUMBER",
    .meaning = "How many threads share the import. 1: the whole layer is read, then written. "
               "Otherwise, as without it, one thread reads while another writes, and memory does "
               "not grow with the file; with reader options they share the reading"};

constexpr ArgumentRule kVerbose{.kind = EArgumentKind::Flag,
                                .name = "--verbose",
                                .meaning = "With a failure, show the exception underneath it, too"};

ArgumentRule MakeJson(std::string_view meaning)
{
    return {.kind = EArgumentKind::Flag, .name = "--json", .meaning = meaning};
}

ArgumentRule MakeColumn(std::string_view name, std::string_view meaning)
{
    return {
        .kind = EArgumentKind::Value, .name = name, .valueName = "NAME|INDEX", .meaning = meaning};
}

constexpr ArgumentRule kCrs{
    .kind = EArgumentKind::Value,
    .name = "--crs",
    .valueName = "AUTHORITY:CODE",
    .meaning = "The coordinate system, for example EPSG:4326; a bare number is a code of EPSG. "
               "Nothing is reprojected"};

std::vector<ArgumentRule> MakeColumns()
{
    return {MakeColumn("--x", "Column of X (longitude, easting): its name, or its index from 0"),
            MakeColumn("--y", "Column of Y (latitude, northing)"),
            MakeColumn("--z", "Column of Z (height)")};
}

/// All rules of the parts, in order.
std::vector<ArgumentRule> Join(const std::vector<std::vector<ArgumentRule>>& parts)
{
    std::vector<ArgumentRule> rules;
    for (const std::vector<ArgumentRule>& part : parts) {
        rules.insert(rules.end(), part.begin(), part.end());
    }
    return rules;
}

CommandRule MakeImportRule()
{
    return {
        .name = "import",
        .summary = "Write a file's points to a GeoPackage or another format",
        .arguments = Join(
            {{kFile,
              {.kind = EArgumentKind::Positional,
               .name = "OUT",
               .meaning = "The file to write, its format by its extension: .gpkg, .fgb, .geojson, "
                          ".json, .geojsonl, .geojsons, .shp, .csv and what else 'orvane "
                          "formats' lists; or a table of a PostgreSQL "
                          "database: 'PG:host=db dbname=survey', or postgresql://ada@db/survey. "
                          "- for standard output, with --format. Without it the output is FILE "
                          "with the extension of --format, or .gpkg"},
              {.kind = EArgumentKind::Value,
               .name = "--format",
               .valueName = "NAME",
               .meaning = "The format of OUT, whatever its extension: a name or an extension "
                          "that 'orvane formats' lists. To standard output CSV, GeoJSON and "
                          "GeoJSONSeq are written; the summary goes to standard error then"},
              {.kind = EArgumentKind::Value,
               .name = "--co",
               .valueName = "KEY=VALUE",
               .meaning = "A creation option of a format that GDAL writes; may be given more than "
                          "once",
               .isRepeatable = true}},
             MakeColumns(),
             {kCrs},
             MakePlanArguments(true),
             MakeImportArguments(),
             {MakeJson("Print what was decided, written and left out as one JSON object"),
              kDiskCache,
              {.kind = EArgumentKind::Flag,
               .name = "--no-disk-cache",
               .meaning = "Keep the layer in memory, also when it needs more than half of what is "
                          "free",
               .excludes = "--disk-cache"},
              kImportThreads,
              kOption,
              kOptionFile,
              kPlugin,
              kVerbose,
              kHelp}}),
        .text = "A plan of the whole file decides what is not given: encoding, separator, names, "
                "types, nulls, coordinates and their system ('orvane plan FILE' shows it). Every "
                "cell stands in OUT with its value, and every row is a row of OUT or is listed. "
                "What the file does not tell is a question with the commands that answer it.\n\n"
                "OUT is replaced only when all of it has been written; then its rows and points "
                "are counted in it. When they are not those of FILE, or something was lost, the "
                "exit status is 1.\n\n"
                "With --option or --options the file is read by the rules of the reader alone, "
                "which may change cells.\n\n"
                "With --threads 1, and with reader options, the whole layer is read before it is "
                "written. When it needs more than half of the free memory it is kept on disk "
                "unless --no-disk-cache is given; a note says so.",
        .examples = {"orvane import stations.csv",
                     "orvane import stations.csv stations.fgb --crs EPSG:4326",
                     "orvane import survey.csv survey.fgb --disk-cache=/data/tmp",
                     "orvane import soundings.txt --x 7 --y 6 --z 9 --null -9999",
                     "orvane import table.csv table.gpkg --no-points",
                     "orvane import stations.csv - --format geojsonl | gzip > stations.gz"}};
}

CommandRule MakePlanRule()
{
    return {.name = "plan",
            .summary = "Say how a file is to be read, by all of its bytes",
            .arguments =
                Join({{kFile},
                      MakeColumns(),
                      {kCrs},
                      MakePlanArguments(false),
                      {{.kind = EArgumentKind::Flag,
                        .name = "--rank-systems",
                        .meaning = "List the systems that coordinates in metres can be of, by "
                                   "their areas of use; none is applied"},
                       MakeJson("Print the whole plan as one JSON object"),
                       kVerbose,
                       kHelp}}),
            .text = "Scans the whole file and decides encoding, separator, quotes, names, types "
                    "of columns and coordinates, each with its evidence. What the file does not "
                    "tell is shown as a question with the options that answer it. Nothing is "
                    "written. The JSON object can be followed by 'orvane import --plan'.",
            .examples = {"orvane plan stations.csv", "orvane plan stations.csv --json"}};
}

CommandRule MakeLintRule()
{
    return {.name = "lint",
            .summary = "Say what in a file is out of the ordinary, place by place",
            .arguments = Join({{kFile,
                                {.kind = EArgumentKind::Flag,
                                 .name = "--all",
                                 .meaning = "Show every finding, not the first 20 of each kind"},
                                MakeJson("Print the findings as one JSON object"),
                                {.kind = EArgumentKind::Flag,
                                 .name = "--sarif",
                                 .meaning = "Print the findings as a log of SARIF 2.1.0",
                                 .excludes = "--json"}},
                               MakeColumns(),
                               {kCrs},
                               MakePlanArguments(false),
                               {kVerbose, kHelp}}),
            .text =
                "Scans the whole file and shows rows, cells and bytes that need care, each with "
                "its place, what the bare reader would make of it, and a command that imports it "
                "whole. Nothing is written.",
            .examples = {"orvane lint stations.csv",
                         "orvane lint stations.csv --all --json",
                         "orvane lint stations.csv --sarif"},
            .exitStatus = "Exit status: 0 nothing but notes, 1 warnings or errors, 2 wrong "
                          "arguments or a file that cannot be read."};
}

CommandRule MakeReadRule()
{
    return {.name = "read",
            .summary = "Read a file and show its layer",
            .arguments = {kFile,
                          kOption,
                          kOptionFile,
                          MakeJson("Print the whole layer as one JSON object"),
                          kDiskCache,
                          kReadThreads,
                          kPlugin,
                          kVerbose,
                          kHelp},
            .text = "Reads with exactly the options given and guesses nothing.",
            .examples = {"orvane read stations.csv",
                         "orvane read stations.csv -o FIRST_LINE_COLUMN_NAMES=true -o X_COLUMN=2 "
                         "-o Y_COLUMN=1",
                         "orvane read track.dat -o 'ASCII_SEPARATOR=\\t' -o CODEC=UTF-8 --json",
                         "orvane read stations.txt --options stations.json"}};
}

CommandRule MakePreviewRule()
{
    return {.name = "preview",
            .summary = "Show the first two rows by column",
            .arguments = {kFile,
                          kOption,
                          kOptionFile,
                          MakeJson("Print the preview as a JSON object"),
                          kPlugin,
                          kVerbose,
                          kHelp},
            .text = "Header lines (ASCII_HEADER_...) are not skipped in a preview.",
            .examples = {"orvane preview stations.csv",
                         "orvane preview track.dat -o USE_SPACE --json"}};
}

const ProgramRule& GetProgramRule()
{
    static const ProgramRule kProgram{
        .program = {.name = "orvane",
                    .summary = "Reads delimited point files and writes them as geographic layers",
                    .arguments = {kPlugin,
                                  {.kind = EArgumentKind::Flag,
                                   .name = "--version",
                                   .meaning = "Show the version"},
                                  kHelp},
                    .text = "'orvane help COMMAND' shows the arguments of a command.",
                    .examples = {"orvane import stations.csv stations.gpkg --crs EPSG:4326",
                                 "orvane preview stations.csv",
                                 "orvane read stations.csv -o X_COLUMN=2 -o Y_COLUMN=1 --json",
                                 "orvane help import"}},
        .commands = {MakeImportRule(),
                     MakePlanRule(),
                     MakeLintRule(),
                     MakeReadRule(),
                     MakePreviewRule(),
                     {.name = "formats",
                      .summary = "List the formats that imports write",
                      .arguments = {kHelp},
                      .examples = {"orvane formats"}},
                     {.name = "options",
                      .summary = "List the reader options",
                      .arguments = {kHelp},
                      .examples = {"orvane options"}},
                     {.name = "help",
                      .summary = "Show the help of the program or of a command",
                      .arguments = {{.kind = EArgumentKind::Positional,
                                     .name = "COMMAND",
                                     .meaning = "The command; without it the commands are listed"},
                                    kHelp},
                      .examples = {"orvane help", "orvane help import"}},
                     {.name = "version",
                      .summary = "Show the version",
                      .arguments = {kHelp},
                      .examples = {"orvane version"}}}};
    return kProgram;
}

Orvane::BParamList MakeParams(const ParsedArguments& arguments)
{
    Orvane::BParamList params;
    if (const std::optional<std::string> file = arguments.Find("--options")) {
        params = Orvane::Import::ReadOptionFile(*file);
    }
    Orvane::Import::AddOptionTexts(arguments.GetAll("--option"), params);
    return params;
}

/// @param otherwise what holds without an argument
DiskCacheRequest MakeDiskCache(const ParsedArguments& arguments, DiskCacheRequest::EMode otherwise)
{
    return {arguments.Has("--disk-cache") ? DiskCacheRequest::EMode::Always : otherwise,
            arguments.Get("--disk-cache")};
}

/// Rule: a bare number names a coordinate system of EPSG.
std::string MakeCrs(const std::string& text)
{
    const bool isNumber = !text.empty() && std::all_of(text.begin(), text.end(), [](char byte) {
        return byte >= '0' && byte <= '9';
    });
    return isNumber ? "EPSG:" + text : text;
}

void Print(const std::string& text)
{
    TextOutput output;
    output.Write(text);
    output.Flush();
}

/// Whether help is asked for; then nothing else of the command line counts but the command.
bool IsHelpWanted(const std::vector<std::string>& words)
{
    const auto end = std::find(words.begin(), words.end(), "--");
    return std::any_of(words.begin(), end, [](const std::string& word) {
        return word == kHelp.name || word == kHelp.shortName;
    });
}

/// The help of the first command among the words, else of the program.
std::string MakeHelpFor(const std::vector<std::string>& words)
{
    const ProgramRule& program = GetProgramRule();
    for (const std::string& word : words) {
        if (const CommandRule* command = program.FindCommand(word)) {
            return MakeHelp(program, *command, GetHelpWidth());
        }
    }
    return MakeHelp(program, program.program, GetHelpWidth());
}

/// `orvane help [COMMAND]`. @throws ArgumentError for an unknown command
std::string MakeHelpFor(const ParsedArguments& arguments)
{
    const std::optional<std::string> name = arguments.Find("COMMAND");
    if (!name) {
        return MakeHelpFor(std::vector<std::string>());
    }
    const ProgramRule& program = GetProgramRule();
    if (const CommandRule* command = program.FindCommand(*name)) {
        return MakeHelp(program, *command, GetHelpWidth());
    }
    ThrowUnknownCommand(program, *name);
}

ImportArguments MakeImportArguments(const ParsedArguments& arguments)
{
    ImportArguments import;
    import.isJson = arguments.Has("--json");
    Orvane::Import::ImportRequest& request = import.request;
    request.file = arguments.Get("FILE");
    request.out = arguments.Get("OUT");
    request.plan = MakePlanRequest(arguments);
    request.badRows = MakeBadRowRequest(arguments);
    request.threads = ParseThreads(arguments);
    request.format = arguments.Get("--format");
    request.creationOptions = arguments.GetAll("--co");
    request.layer = arguments.Get("--layer");
    if (arguments.Has("--append") && arguments.Has("--overwrite-layer")) {
        throw ArgumentError("Give --append or --overwrite-layer, not both.");
    }
    using Orvane::Import::EExistingLayer;
    request.existing = arguments.Has("--append")            ? EExistingLayer::Append
                       : arguments.Has("--overwrite-layer") ? EExistingLayer::Replace
                                                            : EExistingLayer::Refuse;
    request.options = MakeParams(arguments);
    request.columns = {arguments.Find("--x"), arguments.Find("--y"), arguments.Find("--z")};
    request.crs = MakeCrs(arguments.Get("--crs"));
    request.diskCache =
        MakeDiskCache(arguments,
                      arguments.Has("--no-disk-cache") ? DiskCacheRequest::EMode::Never
                                                       : DiskCacheRequest::EMode::Automatic);
    request.module = arguments.Get("--plugin");
    if (const std::optional<std::string> plan = arguments.Find("--plan")) {
        request.replay = Orvane::Import::LoadPlan(*plan);
    }
    return import;
}

/// @return the exit status
int Perform(const ParsedArguments& arguments)
{
    const std::string_view command = arguments.command->name;
    if (command == "formats") {
        RunFormats();
        return kExitDone;
    }
    if (command == "options") {
        RunOptions();
        return kExitDone;
    }
    if (command == "plan") {
        PlanArguments plan{arguments.Get("FILE"), arguments.Has("--json"), {}};
        plan.request = MakePlanRequest(arguments);
        plan.request.crs = MakeCrs(arguments.Get("--crs"));
        RunPlan(plan);
        return kExitDone;
    }
    if (command == "lint") {
        LintArguments lint{arguments.Get("FILE"),
                           arguments.Has("--json"),
                           arguments.Has("--sarif"),
                           arguments.Has("--all"),
                           MakePlanRequest(arguments)};
        lint.request.crs = MakeCrs(arguments.Get("--crs"));
        return RunLint(lint) ? kExitDone : kExitDataFailed;
    }
    if (command == "import") {
        return RunImport(MakeImportArguments(arguments)) ? kExitDone : kExitDataFailed;
    }
    const Orvane::BParamList params = MakeParams(arguments);
    const std::string file = arguments.Get("FILE");
    ReadArguments readArguments{
        file, arguments.Get("--plugin"), params, arguments.Has("--json"), {}, 1};
    if (command == "preview") {
        RunPreview(readArguments);
    } else {
        readArguments.diskCache = MakeDiskCache(arguments, DiskCacheRequest::EMode::Never);
        readArguments.threads = ParseThreads(arguments);
        RunRead(readArguments);
    }
    return kExitDone;
}

void PrintLine(const std::string& line)
{
    std::fprintf(stderr, "%s\n", line.c_str());
}

/// `,"key":[...]`, each item by `write`; nothing without items.
template <typename Item, typename Write>
void PrintList(const char* key, const std::vector<Item>& items, JsonWriter& json, Write write)
{
    const char* before = key;
    for (const Item& item : items) {
        json.Raw(before);
        write(item);
        before = ",";
    }
    json.Raw(items.empty() ? "" : "]");
}

/// A failure as an object: the texts of the exception underneath, then the
/// fields that say what happened, where and what to do.
/// @param commands that answer a question
void PrintFailureJson(const UnderlyingTexts& texts,
                      const FailureFields& fields,
                      const std::vector<std::string>& commands,
                      int descriptor)
{
    try {
        TextOutput output(descriptor);
        JsonWriter json(output);
        const auto text = [&json](const char* key, const auto& value) {
            json.Raw(key);
            json.Text(value);
        };
        const auto number = [&json](const char* key, std::uint64_t value) {
            json.Raw(key);
            if (value == 0) {
                json.Raw("null");
            } else {
                json.Number(static_cast<std::int64_t>(value));
            }
        };
        text("{\"ok\":false,\"exception\":", std::string_view(texts.className));
        text(",\"location\":", texts.location);
        text(",\"message\":", texts.message);
        text(",\"details\":", texts.details);
        text(",\"code\":", std::string_view(fields.code));
        text(",\"what\":", std::string_view(fields.what));
        text(",\"file\":", std::string_view(fields.file));
        number(",\"line\":", fields.line);
        number(",\"column\":", fields.column);
        text(",\"cause\":", std::string_view(fields.cause));
        text(",\"advice\":", std::string_view(fields.advice));
        PrintList(",\"commands\":[", commands, json, [&](const std::string& command) {
            json.Text(std::string_view(command));
        });
        std::int64_t index = 0;
        PrintList(",\"columns\":[", fields.columns, json, [&](const auto& column) {
            json.Raw("{\"index\":");
            json.Number(index++);
            text(",\"name\":", std::string_view(column.name));
            text(",\"firstValue\":", std::string_view(column.firstValue));
            json.Raw('}');
        });
        json.Raw("}\n");
        output.Flush();
    } catch (const std::exception& exception) {
        PrintLine(FormatException(exception, false));
    }
}

/// Rule: rows on standard output are not mixed with words.
int ReportDescriptor(const ParsedArguments& arguments)
{
    return arguments.command->name == "import" && arguments.Get("OUT") == "-" ? STDERR_FILENO
                                                                              : STDOUT_FILENO;
}

int ReportFailure(const ImportFailure& failure,
                  const std::vector<std::string>& words,
                  const ParsedArguments& arguments)
{
    // Rule: a file that lint cannot read is no finding.
    const bool isLint = arguments.command->name == "lint";
    const int status = isLint ? kExitWrongArguments : ExitStatusOf(failure);
    // Rule: a program that wants no more of standard output hears nothing of it.
    if (failure.GetFields().code == "output-closed") {
        return status;
    }
    if (arguments.Has("--json") && !isLint) {
        PrintFailureJson(TextsOf(failure),
                         failure.GetFields(),
                         CommandsOf(failure, words),
                         ReportDescriptor(arguments));
    }
    PrintLine(FormatFailure(failure, words, arguments.Has("--verbose")));
    return status;
}

/// A failure that is none of the import library's: memory, standard output.
int ReportOther(const std::exception& exception, bool isJson, bool isVerbose, int descriptor)
{
    const FailureFields fields = FieldsOf(exception);
    // A failure of standard output is not told there.
    if (isJson && fields.underneath.location != "TextOutput::Flush") {
        PrintFailureJson(fields.underneath, fields, {}, descriptor);
    }
    PrintLine(FormatException(exception, isVerbose));
    return kExitDataFailed;
}

/// Help and version, and what is wrong with the arguments. @return the arguments of a command that
/// is to be performed; none when all is said, with the exit status in `status`
std::optional<ParsedArguments> Understand(const std::vector<std::string>& words, int& status)
{
    status = kExitDone;
    if (words.empty()) {
        std::fputs(MakeHelpFor(words).c_str(), stderr);
        status = kExitWrongArguments;
        return std::nullopt;
    }
    try {
        if (IsHelpWanted(words)) {
            Print(MakeHelpFor(words));
            return std::nullopt;
        }
        ParsedArguments arguments = ParseArguments(GetProgramRule(), words);
        const std::string_view command =
            arguments.command == nullptr ? std::string_view() : arguments.command->name;
        if (arguments.Has("--version") || command == "version") {
            Print("orvane " ORVANE_VERSION "\n");
            return std::nullopt;
        }
        if (command == "help") {
            Print(MakeHelpFor(arguments));
            return std::nullopt;
        }
        if (command.empty()) {
            throw ArgumentError("A command is missing; 'orvane help' lists the commands.");
        }
        return arguments;
    } catch (const ArgumentError& error) {
        PrintLine(std::string("orvane: ") + error.what());
        status = kExitWrongArguments;
    } catch (const std::exception& exception) {
        status = ReportOther(exception, false, false, STDOUT_FILENO);
    }
    return std::nullopt;
}

} // namespace

int RunCommandLine(int argumentCount, char** arguments)
{
    // The count may be 0: a program can be run without even its name.
    const std::vector<std::string> words(arguments + std::min(argumentCount, 1),
                                         arguments + argumentCount);
    int status = kExitDone;
    const std::optional<ParsedArguments> parsed = Understand(words, status);
    if (!parsed) {
        return status;
    }
    try {
        return Perform(*parsed);
    } catch (const ImportFailure& failure) {
        return ReportFailure(failure, words, *parsed);
    } catch (const ArgumentError& error) {
        PrintLine(std::string("orvane: ") + error.what());
        return kExitWrongArguments;
    } catch (const std::exception& exception) {
        const bool isLint = parsed->command->name == "lint";
        const int reported = ReportOther(exception,
                                         parsed->Has("--json") && !isLint,
                                         parsed->Has("--verbose"),
                                         ReportDescriptor(*parsed));
        return isLint ? kExitWrongArguments : reported;
    }
}

} // namespace OrvaneHost
