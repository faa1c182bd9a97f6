// Lays out the help.
#include "HelpText.h"

#include "TerminalText.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace OrvaneHost {

namespace {

constexpr std::string_view kExitStatusText =
    "Exit status: 0 done, 1 the data failed, 2 wrong arguments.";

/// How a text is laid out in lines.
struct Lines
{
    std::size_t width;
    std::size_t column = 0;          ///< characters that stand on the first line already
    std::size_t indent = 0;          ///< blanks before the other lines
    std::string_view continued = {}; ///< ends all lines but the last
};

/// The words of a text with line breaks between them.
std::string Wrap(std::string_view text, const Lines& lines)
{
    std::size_t column = lines.column;
    std::string out;
    bool isFirst = true;
    while (!text.empty()) {
        const std::size_t blank = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, blank);
        text.remove_prefix(std::min(blank + 1, text.size()));
        const std::size_t length = TerminalText::CountCharacters(word);
        const std::size_t reserved = text.empty() ? 0 : lines.continued.size();
        if (!isFirst && column + 1 + length + reserved > lines.width) {
            out += lines.continued;
            out += "\n" + std::string(lines.indent, ' ');
            column = lines.indent;
        } else if (!isFirst) {
            out += ' ';
            ++column;
        }
        out += word;
        column += length;
        isFirst = false;
    }
    return out;
}

/// A name and what it means.
using Entry = std::pair<std::string, std::string>;

/// Names in one column, meanings in the next; a name that is too long for its column, and every
/// name where lines are short, has a line of its own.
std::string MakeTable(const std::vector<Entry>& entries, std::size_t width)
{
    constexpr std::size_t kNameIndent = 2;
    constexpr std::size_t kGap = 2;
    constexpr std::size_t kNarrow = 64;
    constexpr std::size_t kNarrowIndent = 10;
    constexpr std::size_t kWidestName = 24;
    std::size_t nameWidth = 0;
    for (const auto& [name, meaning] : entries) {
        nameWidth = std::max(nameWidth, name.size());
    }
    const bool isNarrow = width < kNarrow;
    const std::size_t indent =
        isNarrow ? kNarrowIndent : kNameIndent + std::min(nameWidth, kWidestName) + kGap;
    std::string out;
    for (const auto& [name, meaning] : entries) {
        std::string line = std::string(kNameIndent, ' ') + name;
        if (isNarrow || line.size() + kGap > indent) {
            line += "\n" + std::string(indent, ' ');
        } else {
            line.append(indent - line.size(), ' ');
        }
        out += line + Wrap(meaning, {.width = width, .column = indent, .indent = indent}) + "\n";
    }
    return out;
}

std::string MakeName(const ArgumentRule& rule)
{
    std::string name;
    if (rule.kind != EArgumentKind::Positional) {
        name = rule.shortName.empty() ? "    " : std::string(rule.shortName) + ", ";
    }
    name += rule.name;
    switch (rule.kind) {
    case EArgumentKind::Value:
        return name + " " + std::string(rule.valueName);
    case EArgumentKind::OptionalValue:
        return name + "[=" + std::string(rule.valueName) + "]";
    default:
        return name;
    }
}

std::string MakeSection(const char* title, const std::vector<Entry>& entries, std::size_t width)
{
    return entries.empty() ? std::string()
                           : "\n" + std::string(title) + ":\n" + MakeTable(entries, width);
}

std::string MakeParagraphs(std::string_view text, std::size_t width)
{
    constexpr std::string_view kBreak = "\n\n";
    std::string out;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(kBreak), text.size());
        out += "\n" + Wrap(text.substr(0, end), {.width = width}) + "\n";
        text.remove_prefix(std::min(end + kBreak.size(), text.size()));
    }
    return out;
}

std::string MakeExamples(const std::vector<std::string_view>& examples, std::size_t width)
{
    constexpr std::size_t kIndent = 2;
    const Lines lines{.width = width, .column = kIndent, .indent = 6, .continued = " \\"};
    std::string out = "\nExamples:\n";
    for (const std::string_view example : examples) {
        out += std::string(kIndent, ' ') + Wrap(example, lines) + "\n";
    }
    return out;
}

std::size_t ParseWidth(const char* text)
{
    std::size_t width = 0;
    const std::string_view digits = text == nullptr ? std::string_view() : text;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), width);
    const bool isNumber = result.ec == std::errc() && result.ptr == digits.data() + digits.size();
    return isNumber ? width : 0;
}

} // namespace

std::size_t GetHelpWidth()
{
    constexpr std::size_t kDefault = 80;
    constexpr std::size_t kLeast = 40;
    constexpr std::size_t kMost = 120;
    std::size_t width = ParseWidth(std::getenv("COLUMNS"));
    winsize size{};
    if (width == 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) {
        width = size.ws_col;
    }
    return width == 0 ? kDefault : std::clamp(width, kLeast, kMost);
}

std::string MakeHelp(const ProgramRule& program, const CommandRule& command, std::size_t width)
{
    std::vector<Entry> positionals;
    std::vector<Entry> options;
    for (const ArgumentRule& rule : command.arguments) {
        (rule.kind == EArgumentKind::Positional ? positionals : options)
            .emplace_back(MakeName(rule), rule.meaning);
    }
    std::vector<Entry> commands;
    if (&command == &program.program) {
        for (const CommandRule& other : program.commands) {
            commands.emplace_back(other.name, other.summary);
        }
    }
    std::string out = Wrap(std::string(command.summary) + ".", {.width = width}) + "\n\n";
    out += Wrap(MakeUsageLine(program, command), {.width = width, .indent = 4}) + "\n";
    out += MakeSection("Commands", commands, width);
    out += MakeSection("Arguments", positionals, width);
    out += MakeSection("Options", options, width);
    out += MakeParagraphs(command.text, width);
    out += MakeExamples(command.examples, width);
    return out + "\n" +
           Wrap(command.exitStatus.empty() ? kExitStatusText : command.exitStatus,
                {.width = width}) +
           "\n";
}

} // namespace OrvaneHost
