// Defines the arguments with CLI11 and calls the commands.
#include "CommandLine.h"

#include "Commands.h"
#include "Failure.h"
#include "JsonWriter.h"
#include "OptionFile.h"
#include "PluginModule.h"
#include "ReaderOptions.h"
#include "TerminalText.h"
#include "TextOutput.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace OrvaneHost {

namespace {

/// What the command line holds, as written.
struct Arguments
{
    std::string plugin;
    std::string file;
    std::string out;
    std::vector<std::string> options;
    std::string optionFile;
    bool isJson = false;
    std::string x;
    std::string y;
    std::string z;
    std::string crs;
    std::string diskCacheFolder;
    bool isDiskCacheForbidden = false;
};

/// Shows options whose value is joined by "=" as such.
class HelpFormatter : public CLI::Formatter
{
public:
    [[nodiscard]] std::string make_option_name(const CLI::Option* option,
                                               bool isPositional) const override
    {
        constexpr std::string_view kEmptyDefault = "{}";
        std::string name = CLI::Formatter::make_option_name(option, isPositional);
        if (const std::size_t at = name.find(kEmptyDefault); at != std::string::npos) {
            name.replace(at, kEmptyDefault.size(), "[=DIR]");
        }
        return name;
    }
};

struct CommandSet
{
    CLI::App* read;
    CLI::App* preview;
    CLI::App* import;
    CLI::App* options;
};

constexpr const char* kExitStatusText =
    "Exit status: 0 done, 1 the data failed, 2 wrong arguments.";

/// Refuses an empty text: what a script writes with a variable that is not set is not taken for
/// an argument that is absent.
CLI::Validator NotEmpty()
{
    return {[](const std::string& text) {
                return text.empty() ? std::string("The text is empty.") : std::string();
            },
            ""};
}

void AddPlugin(CLI::App& command, Arguments& arguments)
{
    command.add_option("--plugin", arguments.plugin, "The plug-in module to load")
        ->type_name("PATH")
        ->check(NotEmpty());
}

void AddReaderArguments(CLI::App& command, Arguments& arguments)
{
    command.add_option("FILE", arguments.file, "The delimited text file")
        ->required()
        ->check(NotEmpty());
    command
        .add_option("--option,-o",
                    arguments.options,
                    "A reader option as KEY=VALUE; may be given repeatedly ('orvane options' "
                    "lists them)")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
    command
        .add_option("--options",
                    arguments.optionFile,
                    "A JSON file with an object of reader options; --option outranks it")
        ->type_name("FILE.json")
        ->check(NotEmpty());
    AddPlugin(command, arguments);
}

CLI::Option* AddDiskCache(CLI::App& command, Arguments& arguments)
{
    // A flag, not an option: the word behind it is never taken for the folder.
    return command
        .add_flag("--disk-cache{}",
                  arguments.diskCacheFolder,
                  "Keep the layer in a file in DIR instead of in memory; without DIR in TMPDIR, "
                  "else in /tmp (/var/tmp when /tmp is kept in memory)")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

CLI::App* AddRead(CLI::App& app, Arguments& arguments)
{
    CLI::App* command = app.add_subcommand("read", "Read a file and show its layer");
    AddReaderArguments(*command, arguments);
    command->add_flag("--json", arguments.isJson, "Print the whole layer as one JSON object");
    AddDiskCache(*command, arguments);
    command->footer("Reads with exactly the options given and guesses nothing.\n\n"
                    "Examples:\n"
                    "  orvane read stations.csv\n"
                    "  orvane read stations.csv -o FIRST_LINE_COLUMN_NAMES=true -o X_COLUMN=2 "
                    "-o Y_COLUMN=1\n"
                    "  orvane read track.dat -o 'ASCII_SEPARATOR=\\t' -o CODEC=UTF-8 --json\n"
                    "  orvane read stations.txt --options stations.json\n\n" +
                    std::string(kExitStatusText));
    return command;
}

CLI::App* AddPreview(CLI::App& app, Arguments& arguments)
{
    CLI::App* command = app.add_subcommand("preview", "Show the first two rows by column");
    AddReaderArguments(*command, arguments);
    command->add_flag("--json", arguments.isJson, "Print the preview as a JSON object");
    command->footer("Header lines (ASCII_HEADER_...) are not skipped in a preview.\n\n"
                    "Examples:\n"
                    "  orvane preview stations.csv\n"
                    "  orvane preview track.dat -o USE_SPACE --json\n\n" +
                    std::string(kExitStatusText));
    return command;
}

CLI::App* AddImport(CLI::App& app, Arguments& arguments)
{
    CLI::App* command =
        app.add_subcommand("import", "Write a file's points to a GeoPackage or another format");
    AddReaderArguments(*command, arguments);
    command
        ->add_option("OUT",
                     arguments.out,
                     "The file to write, its format by its extension: .gpkg, .fgb, .geojson, "
                     ".json, .geojsonl, .geojsons, .shp, .csv; FILE with .gpkg when absent")
        ->check(NotEmpty());
    const auto addColumn = [&](const char* name, std::string& value, const char* text) {
        command->add_option(name, value, text)->type_name("NAME|INDEX");
    };
    addColumn(
        "--x", arguments.x, "Column of X (longitude, easting): its name, or its index from 0");
    addColumn("--y", arguments.y, "Column of Y (latitude, northing)");
    addColumn("--z", arguments.z, "Column of Z (height); none when absent");
    command->add_option("--crs", arguments.crs, "The coordinate system, for example EPSG:4326")
        ->type_name("AUTHORITY:CODE")
        ->check(NotEmpty());
    CLI::Option* diskCache = AddDiskCache(*command, arguments);
    command
        ->add_flag("--no-disk-cache",
                   arguments.isDiskCacheForbidden,
                   "Keep the layer in memory, also when that takes more than half of what is free")
        ->excludes(diskCache);
    command->footer(
        "Whether the first line holds column names, and which columns are the coordinates, is\n"
        "taken from a preview when it is not given. The preview does not skip header lines\n"
        "(ASCII_HEADER_...). Columns are found by their names: lon/lat, longitude/latitude, x/y,\n"
        "easting/northing and the like; when that is not certain, the columns are listed and\n"
        "nothing is written. OUT is replaced only when all of it has been written.\n\n"
        "A layer that would take more than half of the free memory is kept on disk unless\n"
        "--no-disk-cache is given; a note says so.\n\n"
        "Examples:\n"
        "  orvane import stations.csv\n"
        "  orvane import stations.csv stations.fgb --crs EPSG:4326\n"
        "  orvane import survey.csv survey.fgb --disk-cache=/data/tmp\n"
        "  orvane import soundings.txt --x 7 --y 6 --z 9 -o USE_TAB\n\n" +
        std::string(kExitStatusText));
    return command;
}

CommandSet DefineCommands(CLI::App& app, Arguments& arguments)
{
    app.formatter(std::make_shared<HelpFormatter>());
    app.set_version_flag("--version", "orvane " ORVANE_VERSION);
    AddPlugin(app, arguments);
    app.require_subcommand(1);
    CommandSet commands{};
    commands.import = AddImport(app, arguments);
    commands.read = AddRead(app, arguments);
    commands.preview = AddPreview(app, arguments);
    commands.options = app.add_subcommand("options", "List the reader options");
    commands.options->footer("Examples:\n  orvane options\n\n" + std::string(kExitStatusText));
    app.footer("Examples:\n"
               "  orvane import stations.csv stations.gpkg --crs EPSG:4326\n"
               "  orvane preview stations.csv\n"
               "  orvane read stations.csv -o X_COLUMN=2 -o Y_COLUMN=1 --json\n"
               "  orvane import --help\n\n" +
               std::string(kExitStatusText));
    return commands;
}

Orvane::BParamList MakeParams(const Arguments& arguments)
{
    Orvane::BParamList params;
    if (!arguments.optionFile.empty()) {
        params = ReadOptionFile(arguments.optionFile);
    }
    AddOptionTexts(arguments.options, params);
    return params;
}

std::optional<std::string>
TakeColumn(const CLI::App& command, const char* name, const std::string& value)
{
    return command.count(name) > 0 ? std::optional<std::string>(value) : std::nullopt;
}

/// @param otherwise what holds without an argument
DiskCacheArguments TakeDiskCache(const CLI::App& command,
                                 const Arguments& arguments,
                                 DiskCacheArguments::EMode otherwise)
{
    const bool isAsked = command.count("--disk-cache") > 0;
    return {isAsked ? DiskCacheArguments::EMode::Always : otherwise, arguments.diskCacheFolder};
}

/// Loads the plug-in into `module` and performs the command.
void Perform(const CommandSet& commands,
             const Arguments& arguments,
             std::optional<PluginModule>& module)
{
    if (commands.options->parsed()) {
        TextOutput output;
        output.Write(DescribeReaderOptions());
        output.Flush();
        return;
    }
    const Orvane::BParamList params = MakeParams(arguments);
    module.emplace(arguments.plugin);
    if (commands.import->parsed()) {
        const CLI::App& command = *commands.import;
        RunImport(
            module->GetProxy(),
            {arguments.file,
             arguments.out,
             params,
             TakeColumn(command, "--x", arguments.x),
             TakeColumn(command, "--y", arguments.y),
             TakeColumn(command, "--z", arguments.z),
             arguments.crs,
             TakeDiskCache(command,
                           arguments,
                           arguments.isDiskCacheForbidden ? DiskCacheArguments::EMode::Never
                                                          : DiskCacheArguments::EMode::Automatic)});
        return;
    }
    ReadArguments readArguments{arguments.file, params, arguments.isJson, {}};
    if (commands.preview->parsed()) {
        RunPreview(module->GetProxy(), readArguments);
    } else {
        readArguments.diskCache =
            TakeDiskCache(*commands.read, arguments, DiskCacheArguments::EMode::Never);
        RunRead(module->GetProxy(), readArguments);
    }
}

void PrintLine(const std::string& line)
{
    std::fprintf(stderr, "%s\n", line.c_str());
}

/// A failure as a JSON object on standard output; a second failure there is only a line more.
void PrintFailureJson(const Failure& failure)
{
    try {
        TextOutput output;
        JsonWriter json(output);
        json.Raw("{\"ok\":false,\"exception\":");
        json.Text(std::string_view(failure.exceptionName));
        json.Raw(",\"location\":");
        json.Text(std::string_view(failure.location));
        json.Raw(",\"message\":");
        json.Text(std::string_view(failure.message));
        json.Raw(",\"details\":");
        json.Text(std::string_view(failure.details));
        json.Raw("}\n");
        output.Flush();
    } catch (const std::exception& exception) {
        PrintLine(FormatFailure(DescribeFailure(exception)));
    }
}

int ReportFailure(const Failure& failure, bool isJson)
{
    // A failure of standard output is not told there.
    if (isJson && failure.location != "TextOutput::Flush") {
        PrintFailureJson(failure);
    }
    PrintLine(FormatFailure(failure));
    return kExitDataFailed;
}

/// Help and version texts go to standard output; everything else is a wrong argument.
int ReportParseError(const CLI::App& app, const CLI::ParseError& error)
{
    if (error.get_exit_code() == 0) {
        std::ostringstream text;
        std::ostringstream errors;
        app.exit(error, text, errors);
        try {
            TextOutput output;
            output.Write(text.str());
            output.Flush();
        } catch (const std::exception& exception) {
            return ReportFailure(DescribeFailure(exception), false);
        }
        return kExitDone;
    }
    PrintLine("orvane: " + TerminalText::Escape(error.what()) +
              " (command line; 'orvane --help' lists the commands)");
    return kExitWrongArguments;
}

} // namespace

int RunCommandLine(int argumentCount, char** arguments)
{
    Arguments values;
    CLI::App app("Reads delimited point files and writes them as geographic layers.", "orvane");
    const CommandSet commands = DefineCommands(app, values);
    try {
        app.parse(argumentCount, arguments);
    } catch (const CLI::ParseError& error) {
        return ReportParseError(app, error);
    }
    // Exceptions may come from the module's code: it stays loaded until they are reported.
    std::optional<PluginModule> module;
    try {
        Perform(commands, values, module);
    } catch (const UsageError& error) {
        PrintLine(std::string("orvane: ") + error.what());
        return kExitWrongArguments;
    } catch (const std::exception& exception) {
        return ReportFailure(DescribeFailure(exception), values.isJson);
    } catch (...) {
        return ReportFailure({"unknown", "", "An exception of an unknown type.", ""},
                             values.isJson);
    }
    return kExitDone;
}

} // namespace OrvaneHost
