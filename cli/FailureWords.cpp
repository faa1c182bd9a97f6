// The words of failures, and the arguments that put them right.
#include "FailureWords.h"

#include "DidYouMean.h"
#include "PlanArguments.h"
#include "ShellWords.h"
#include "TerminalText.h"

#include <Orvane/Import/NearestWord.h>

#include <algorithm>
#include <cctype>
#include <new>
#include <set>
#include <sstream>
#include <utility>

namespace OrvaneHost {

namespace {

using Orvane::Import::ColumnSample;
using Orvane::Import::EFailureKind;
using Orvane::Import::FailureFields;
using Orvane::Import::FindNearestWords;
using Orvane::Import::ImportFailure;
using Orvane::Import::UnderlyingTexts;

/// Most characters of one text in a failure's line.
constexpr std::size_t kMostCharacters = 1000;

/// Most columns of a list.
constexpr std::size_t kMostColumns = 200;

/// For the line: a message may hold a whole line of the file.
std::string Show(const Orvane::BString& text)
{
    return TerminalText::EscapeAndCut(text, kMostCharacters);
}

/// The texts of the exception underneath, as a line of their own.
std::string DescribeUnderneath(const UnderlyingTexts& texts)
{
    std::string line = "\n  " + TerminalText::Escape(texts.className);
    line += texts.location.IsEmpty() ? "" : " at " + Show(texts.location);
    line += ": " + Show(texts.message);
    line += texts.details.IsEmpty() ? "" : " " + Show(texts.details);
    return line;
}

std::string Cell(const std::string& text)
{
    constexpr std::size_t kWidest = 40;
    return TerminalText::EscapeAndCut(std::string_view(text), kWidest);
}

/// "--x" for "X".
std::string ArgumentOf(const std::string& axis)
{
    constexpr std::pair<std::string_view, const char*> kArguments[] = {
        {"X", "--x"}, {"Y", "--y"}, {"Z", "--z"}, {"name", "--name"}, {"type", "--type"}};
    for (const auto& [subject, argument] : kArguments) {
        if (subject == axis) {
            return argument;
        }
    }
    return axis;
}

std::string Quoted(const std::string& value)
{
    return "'" + TerminalText::Cut(TerminalText::Escape(value), 60) + "'";
}

/// The columns of a file as a table.
std::string ListColumns(const std::vector<ColumnSample>& columns)
{
    std::size_t nameWidth = 4;
    for (const ColumnSample& column : columns) {
        nameWidth = std::max(nameWidth, TerminalText::CountCharacters(Cell(column.name)));
    }
    std::string text;
    const auto addLine =
        [&](const std::string& index, const std::string& name, const std::string& value) {
            std::string line =
                "  " + TerminalText::Pad(index, 6) + TerminalText::Pad(name, nameWidth + 2) + value;
            line.erase(line.find_last_not_of(' ') + 1);
            text += line + "\n";
        };
    const bool hasValues =
        std::any_of(columns.begin(), columns.end(), [](const ColumnSample& column) {
            return !column.firstValue.empty();
        });
    addLine("INDEX", "NAME", hasValues ? "FIRST VALUE" : "");
    const std::size_t shown = std::min(columns.size(), kMostColumns);
    for (std::size_t index = 0; index < shown; ++index) {
        addLine(std::to_string(index), Cell(columns[index].name), Cell(columns[index].firstValue));
    }
    if (shown < columns.size()) {
        addLine("...", std::to_string(columns.size() - shown) + " more", {});
    }
    return text;
}

/// The command that was given with more arguments after its name, where no other word is changed
/// by them.
std::string ExtendCommand(std::vector<std::string> words, const std::vector<std::string>& added)
{
    const auto command = std::find(words.begin(), words.end(), "import");
    const auto place = command == words.end() ? words.begin() : command + 1;
    words.insert(place, added.begin(), added.end());
    return MakeCommand(words);
}

/// The words without an option and its value.
std::vector<std::string> WithoutOption(const std::vector<std::string>& words,
                                       const std::string& option)
{
    std::vector<std::string> kept;
    bool isOver = false;
    for (std::size_t index = 0; index < words.size(); ++index) {
        isOver = isOver || words[index] == "--";
        if (isOver || (words[index] != option && !words[index].starts_with(option + "="))) {
            kept.push_back(words[index]);
        } else if (words[index] == option) {
            ++index;
        }
    }
    return kept;
}

/// A line with the command that was given and other values of these options.
std::string CommandLineWith(std::vector<std::string> words, const std::vector<std::string>& added)
{
    for (const std::string& word : added) {
        // A flag has no value that would go with it.
        if (word.starts_with("--") && word != "--no-points") {
            words = WithoutOption(words, word);
        }
    }
    return "  " + ExtendCommand(std::move(words), added) + "\n";
}

constexpr std::string_view kSeparatorForm = "-o ASCII_SEPARATOR=TEXT";

/// Whether a text of the file has a character that delimited text never has.
bool HasNul(const std::vector<ColumnSample>& columns)
{
    return std::any_of(columns.begin(), columns.end(), [](const ColumnSample& column) {
        return (column.name + column.firstValue).find('\0') != std::string::npos;
    });
}

/// The separator, as an option has it, that cuts the only column of a file into several; empty when
/// none does, or the command names one already.
std::string FindSeparator(const std::vector<ColumnSample>& columns,
                          const std::vector<std::string>& words)
{
    const bool isGiven = std::any_of(words.begin(), words.end(), [](const std::string& word) {
        return word.find("ASCII_SEPARATOR") != std::string::npos || word.starts_with("--options");
    });
    if (isGiven || columns.empty()) {
        return {};
    }
    constexpr std::pair<char, std::string_view> kSeparators[] = {
        {';', ";"}, {'\t', "\\t"}, {'|', "|"}, {',', ","}};
    const ColumnSample& column = columns.front();
    for (const auto& [byte, option] : kSeparators) {
        if ((column.name + column.firstValue).find(byte) != std::string::npos) {
            return std::string(option);
        }
    }
    return {};
}

/// "FILE: "
std::string Begin(const FailureFields& fields)
{
    return fields.file.empty()
               ? std::string()
               : TerminalText::EscapeAndCut(std::string_view(fields.file), kMostCharacters) + ": ";
}

/// The columns of the file, and how its first line was read.
std::string DescribeColumns(const FailureFields& fields)
{
    return "The columns of the file, by index:\n" + ListColumns(fields.columns) +
           (fields.hasColumnNames ? "The first line was read as column names."
                                  : "The first line was read as data.");
}

/// A question of a plan, with whole commands that answer it.
std::string AskByPlan(const ImportFailure& failure, const std::vector<std::string>& words)
{
    const FailureFields& fields = failure.GetFields();
    std::string text = Begin(fields) + TerminalText::Escape(fields.what);
    const bool isOfColumns = failure.Is("columns-unknown");
    const bool hasBadRows = fields.fieldsFound > 0;
    const auto commandWith = [&](const std::vector<std::string>& given,
                                 std::vector<std::string> added) {
        if (hasBadRows) {
            added.insert(added.end(), {"--on-bad", "quarantine"});
        }
        return CommandLineWith(hasBadRows ? WithoutOption(given, "--max-bad") : given, added);
    };
    if (!fields.answers.empty() && !fields.missing.empty()) {
        text += " No columns of coordinates were found either: --x and --y name them.";
    } else if (fields.answers.empty() && isOfColumns && fields.columns.size() > 1) {
        text += " --x and --y name them.";
    }
    if (hasBadRows) {
        text += " " + std::to_string(fields.fieldsFound) +
                (fields.fieldsFound == 1 ? " row does" : " rows do") +
                " not fit the table; --on-bad quarantine puts such rows aside.";
    }
    if (fields.answers.empty()) {
        text += " To import the table without points:\n";
    } else {
        text += fields.missing.empty() ? " These commands answer it:\n"
                                       : " These commands answer it, without points:\n";
        for (const Orvane::Import::PlanAnswer& answer : fields.answers) {
            std::vector<std::string> added = ArgumentsOf(answer);
            if (!fields.missing.empty()) {
                added.emplace_back("--no-points");
            }
            text += commandWith(words, added);
        }
    }
    if (isOfColumns) {
        text += commandWith(WithoutOption(WithoutOption(words, "--x"), "--y"), {"--no-points"});
    }
    return text + DescribeColumns(fields);
}

/// The commands that say how the cells of a column are spelled whose type is given.
std::string AskForSpelling(const FailureFields& fields, const std::vector<std::string>& words)
{
    std::string text =
        Begin(fields) + TerminalText::Escape(fields.what) + " These commands answer it:";
    for (const std::string& spelling : fields.nearest) {
        std::vector<std::string> answered = words;
        for (std::string& word : answered) {
            const bool isType = word.starts_with(fields.value + "=") ||
                                word.starts_with("--type=" + fields.value + "=");
            word += isType ? ":" + WordOfSpelling(spelling) : "";
        }
        text += "\n  " + MakeCommand(answered);
    }
    return text;
}

/// The question back when the columns cannot be told.
std::string AskForColumns(const FailureFields& fields, const std::vector<std::string>& words)
{
    const auto isMissing = [&](const char* axis) {
        return std::find(fields.missing.begin(), fields.missing.end(), axis) !=
               fields.missing.end();
    };
    std::string text;
    if (fields.columns.size() < 2) {
        text = "The file has one column, and X and Y need two. Is the separator another one?";
        const std::string separator = FindSeparator(fields.columns, words);
        text += separator.empty()
                    ? " " + std::string(kSeparatorForm) + " says which.\n"
                    : " For example:\n  " +
                          ExtendCommand(words, {"-o", "ASCII_SEPARATOR=" + separator}) + "\n";
    } else {
        std::vector<std::string> added;
        std::size_t next = 0;
        for (const char* axis : {"X", "Y"}) {
            if (isMissing(axis)) {
                next += !fields.matches.empty() && next == fields.matches[0] ? 1U : 0U;
                added.insert(added.end(), {ArgumentOf(axis), std::to_string(next++)});
            }
        }
        text = "Which columns hold X and Y? The names of the columns do not tell; give ";
        text += !isMissing("X") ? "--y" : !isMissing("Y") ? "--x" : "--x and --y";
        text += ", a name or an index, for example:\n  " + ExtendCommand(words, added) + "\n";
    }
    text += "The columns of the file, by index:\n" + ListColumns(fields.columns);
    text += fields.hasColumnNames ? "The first line was read as column names."
                                  : "The first line was read as data.";
    text += fields.mayHaveSkippedHeader ? " The preview does not skip header lines." : "";
    text += HasNul(fields.columns)
                ? " It holds NUL characters: is it text of another encoding, for example "
                  "-o CODEC=UTF-16LE, or no text at all?"
                : "";
    return text;
}

/// A sentence about a column, then all columns.
std::string WithColumns(std::string sentence, const FailureFields& fields)
{
    if (!fields.columns.empty()) {
        sentence += " The columns of the file, by index:\n" + ListColumns(fields.columns);
        sentence.pop_back();
    }
    return sentence;
}

std::string DescribeRequest(const ImportFailure& failure, const std::vector<std::string>& words)
{
    const FailureFields& fields = failure.GetFields();
    const std::string column = ArgumentOf(fields.subject) + " " + Quoted(fields.value);
    if (failure.Is("unknown-option")) {
        std::string text = "There is no reader option " + Quoted(fields.value);
        if (fields.nearest.empty()) {
            return text + "; 'orvane options' lists them.";
        }
        for (const std::string& near : fields.nearest) {
            text += (&near == &fields.nearest.front() ? "; did you mean " : ", ") + near;
        }
        return text + "?";
    }
    if (failure.Is("unknown-format")) {
        return Begin(fields) + TerminalText::Escape(fields.what) + " 'orvane formats' lists more.";
    }
    if (failure.Is("crs-unknown")) {
        return Begin(fields) + TerminalText::Escape(fields.what) +
               " Give it by --crs AUTHORITY:CODE, or write a GeoPackage, which can do without; "
               "'orvane plan --rank-systems' lists likely ones.";
    }
    if (fields.isPlanned && (!fields.answers.empty() || failure.Is("columns-unknown") ||
                             failure.Is("names-unknown") || failure.Is("encoding-unknown"))) {
        return AskByPlan(failure, words);
    }
    if (failure.Is("columns-unknown")) {
        return AskForColumns(fields, words);
    }
    if (failure.Is("type-doubt")) {
        return AskForSpelling(fields, words);
    }
    if (failure.Is("no-such-column")) {
        constexpr std::size_t kLongestName = 64;
        std::vector<std::string_view> names;
        std::set<std::string_view> seen;
        for (const ColumnSample& known : fields.columns) {
            if (known.name.size() <= kLongestName && seen.insert(known.name).second) {
                names.push_back(known.name);
            }
        }
        // The names are those of a file: they are escaped before they are shown.
        std::string nearest = DidYouMean(fields.value, names, ".");
        return WithColumns("There is no column " + column + TerminalText::Escape(nearest), fields);
    }
    if (failure.Is("column-beyond")) {
        return WithColumns("There is no column " + column + "; the file has " +
                               std::to_string(fields.columns.size()) + ", counted from 0.",
                           fields);
    }
    if (failure.Is("column-ambiguous")) {
        return WithColumns("The column " + column + " is not certain: columns " +
                               std::to_string(fields.matches.at(0)) + " and " +
                               std::to_string(fields.matches.at(1)) +
                               " have that name; give its index.",
                           fields);
    }
    if (failure.Is("column-given-twice")) {
        return "Give " + ArgumentOf(fields.subject) + " or the option " + fields.value +
               ", not both.";
    }
    return TerminalText::Escape(fields.what);
}

/// "FILE:LINE:COLUMN: what cause advice" without the parts that are not known, each text cut.
std::string DescribeFields(const FailureFields& fields)
{
    const auto show = [](const std::string& text) {
        return TerminalText::EscapeAndCut(std::string_view(text), kMostCharacters);
    };
    std::string line;
    if (!fields.file.empty()) {
        line = show(fields.file) + ":";
        line += fields.line == 0 ? "" : std::to_string(fields.line) + ":";
        line += fields.line == 0 || fields.column == 0 ? "" : std::to_string(fields.column) + ":";
    }
    for (const std::string* text : {&fields.what, &fields.cause, &fields.advice}) {
        if (text->empty()) {
            continue;
        }
        // Texts of the system end without a full stop.
        const bool isOpen =
            text != &fields.what &&
            std::isalnum(static_cast<unsigned char>(line.empty() ? '.' : line.back())) != 0;
        line += isOpen ? ". " : line.empty() ? "" : " ";
        line += show(*text);
    }
    line += !line.empty() && std::isalnum(static_cast<unsigned char>(line.back())) != 0 ? "." : "";
    return line;
}

/// Encodings that files have; the reader knows more.
const std::vector<std::string_view>& GetUsualEncodings()
{
    static const std::vector<std::string_view> kNames = {
        "UTF-8",        "UTF-16",       "UTF-16LE",     "UTF-16BE",     "UTF-32",
        "ISO-8859-1",   "ISO-8859-2",   "ISO-8859-5",   "ISO-8859-7",   "ISO-8859-9",
        "ISO-8859-15",  "windows-1250", "windows-1251", "windows-1252", "windows-1253",
        "windows-1254", "KOI8-R",       "KOI8-U",       "IBM866",       "macintosh",
        "Shift_JIS",    "EUC-JP",       "EUC-KR",       "GB18030",      "Big5"};
    return kNames;
}

/// Whether the command says that the first bad row ends the import.
bool Stops(const std::vector<std::string>& words)
{
    const auto option = std::find(words.begin(), words.end(), "--on-bad");
    return std::find(words.begin(), words.end(), "--on-bad=stop") != words.end() ||
           (option != words.end() && option + 1 != words.end() && *(option + 1) == "stop");
}

/// What puts bad rows right: another encoding, or their leave to be bad.
std::string AdviseOnBadRows(const ImportFailure& failure, const std::vector<std::string>& words)
{
    const FailureFields& fields = failure.GetFields();
    std::string advice = fields.value.empty()
                             ? std::string()
                             : "They are no text in " + fields.value +
                                   "; --encoding names another encoding, for example IBM850.";
    std::string command;
    if (failure.Is("no-row-fits")) {
        if (fields.subject == "value") {
            advice += advice.empty() ? "--type names another type." : "";
        }
        if (!advice.empty()) {
            return advice;
        }
        advice = "All that is out of the ordinary:\n";
        command = "  " + MakeCommand({"lint", fields.file});
        return advice + command;
    }
    advice += advice.empty() ? "" : " ";
    // Rule: a limit that was given becomes a higher one, so that the rest of the command holds.
    if (WithoutOption(words, "--max-bad").size() < words.size() && !Stops(words)) {
        advice += "To allow as many:\n";
        command = CommandLineWith(words, {"--max-bad", std::to_string(fields.fieldsFound)});
    } else {
        advice += "To put them aside, and import the others:\n";
        command = CommandLineWith(WithoutOption(words, "--max-bad"), {"--on-bad", "quarantine"});
    }
    command.pop_back();
    return advice + command;
}

/// What is said of a cancelled command: its own words, or that no output was touched.
std::string WordsOfCancelled(const ImportFailure& failure)
{
    const std::string& what = failure.GetFields().what;
    return what.starts_with("Interrupted") ? what : "Interrupted; nothing was written.";
}

/// The arguments that put a failure right, as a sentence or as commands; empty for none.
std::string AdviseArguments(const ImportFailure& failure, const std::vector<std::string>& words)
{
    if (failure.Is("bad-rows") || failure.Is("no-row-fits")) {
        return AdviseOnBadRows(failure, words);
    }
    if (failure.Is("no-point")) {
        const std::vector<std::string> others =
            WithoutOption(WithoutOption(WithoutOption(words, "--x"), "--y"), "--z");
        std::string text = "--x and --y name other columns. ";
        for (const Orvane::Import::PlanAnswer& answer : failure.GetFields().answers) {
            text += "They look swapped; the other way round:\n" +
                    CommandLineWith(others, ArgumentsOf(answer));
        }
        return text + "To import the table without points:\n" +
               CommandLineWith(others, {"--no-points"}) + DescribeColumns(failure.GetFields());
    }
    if (failure.Is("unknown-codec")) {
        const std::vector<std::string_view> nearest =
            FindNearestWords(failure.GetFields().value, GetUsualEncodings());
        return "For example: -o CODEC=" +
               std::string(nearest.empty() ? GetUsualEncodings().front() : nearest.front()) + ".";
    }
    constexpr std::pair<std::string_view, std::string_view> kAdvice[] = {
        {"no-module", "Name the module with --plugin."},
        {"no-separator", "For example: -o 'ASCII_SEPARATOR=;'."},
        {"preview-fields", "For example: -o 'ASCII_SEPARATOR=;', or -o ASCII_HEADER_COUNT=1."},
        {"cache-folder", "Another folder: --disk-cache=DIR."},
    };
    for (const auto& [code, advice] : kAdvice) {
        if (failure.Is(code)) {
            return std::string(advice);
        }
    }
    return {};
}

} // namespace

int ExitStatusOf(const ImportFailure& failure)
{
    const bool isRefused = failure.GetKind() == EFailureKind::Request &&
                           failure.GetFields().underneath.className.empty();
    return isRefused ? kExitWrongArguments : kExitDataFailed;
}

UnderlyingTexts TextsOf(const ImportFailure& failure)
{
    if (failure.GetKind() == EFailureKind::Cancelled) {
        return {"BException", "orvane", Orvane::BString(WordsOfCancelled(failure)), {}};
    }
    const FailureFields& fields = failure.GetFields();
    if (fields.underneath.className.empty()) {
        return {"ImportFailure", {}, Orvane::BString(fields.what), Orvane::BString(fields.cause)};
    }
    return fields.underneath;
}

FailureFields FieldsOf(const std::exception& exception)
{
    FailureFields fields;
    fields.underneath = Orvane::Import::DescribeException(exception);
    if (dynamic_cast<const std::bad_alloc*>(&exception) != nullptr) {
        fields.code = "memory";
        fields.what = "There is not enough memory.";
        return fields;
    }
    fields.what = fields.underneath.message.ToUtf8();
    fields.cause = fields.underneath.details.ToUtf8();
    return fields;
}

std::string
FormatFailure(const ImportFailure& failure, const std::vector<std::string>& words, bool isVerbose)
{
    constexpr std::size_t kMostRowCharacters = 200;
    const FailureFields& fields = failure.GetFields();
    std::string line = "orvane: ";
    if (failure.GetKind() == EFailureKind::Cancelled) {
        return line + WordsOfCancelled(failure);
    }
    if (ExitStatusOf(failure) == kExitWrongArguments) {
        line += DescribeRequest(failure, words);
    } else {
        line += DescribeFields(fields);
        if (!fields.row.empty()) {
            line += " The row: '" +
                    TerminalText::EscapeAndCut(std::string_view(fields.row), kMostRowCharacters) +
                    "'.";
        }
        const std::string advice = AdviseArguments(failure, words);
        line += advice.empty() ? "" : " " + advice;
    }
    if (isVerbose && !fields.underneath.className.empty()) {
        line += DescribeUnderneath(fields.underneath);
    }
    return line;
}

std::vector<std::string> CommandsOf(const ImportFailure& failure,
                                    const std::vector<std::string>& words)
{
    // Lines of columns begin with a number.
    constexpr std::string_view kBegin = "  orvane ";
    std::istringstream lines(FormatFailure(failure, words, false));
    std::vector<std::string> commands;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(kBegin)) {
            commands.push_back(line.substr(line.find_first_not_of(' ')));
        }
    }
    return commands;
}

std::string FormatException(const std::exception& exception, bool isVerbose)
{
    const FailureFields fields = FieldsOf(exception);
    std::string line;
    if (fields.code == "memory") {
        line = kOutOfMemoryLine;
    } else {
        line = "orvane: " + Show(fields.underneath.message);
        line += fields.cause.empty() ? "" : " " + Show(fields.underneath.details);
    }
    return isVerbose ? line + DescribeUnderneath(fields.underneath) : line;
}

} // namespace OrvaneHost
