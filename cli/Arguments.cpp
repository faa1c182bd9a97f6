// Has CLI11 parse a command line by the rules of its command, and words what is wrong with it.
#include "Arguments.h"

#include "DidYouMean.h"
#include "TerminalText.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <utility>

namespace OrvaneHost {

namespace {

constexpr std::size_t kMostCharacters = 200;

std::string Shown(std::string_view word)
{
    return "'" + TerminalText::EscapeAndCut(word, kMostCharacters) + "'";
}

/// "'orvane import'", for messages.
std::string Called(const ProgramRule& program, const CommandRule& command)
{
    std::string text = "'" + std::string(program.program.name);
    if (&command != &program.program) {
        text += " " + std::string(command.name);
    }
    return text + "'";
}

/// "'orvane help import'", for messages.
std::string HelpOf(const ProgramRule& program, const CommandRule& command)
{
    std::string text = "'" + std::string(program.program.name) + " help";
    if (&command != &program.program) {
        text += " " + std::string(command.name);
    }
    return text + "'";
}

/// "--crs AUTHORITY:CODE", "--disk-cache=DIR"
std::string Form(const ArgumentRule& rule)
{
    return std::string(rule.name) + (rule.kind == EArgumentKind::OptionalValue ? "=" : " ") +
           std::string(rule.valueName);
}

bool IsOption(std::string_view word) noexcept
{
    return word.size() > 1 && word.front() == '-';
}

/// The option of that name, long or short.
const ArgumentRule* FindArgument(const CommandRule& command, std::string_view name) noexcept
{
    const auto found = std::find_if(
        command.arguments.begin(), command.arguments.end(), [&](const ArgumentRule& rule) {
            return rule.kind != EArgumentKind::Positional &&
                   (rule.name == name || (!name.empty() && rule.shortName == name));
        });
    return found == command.arguments.end() ? nullptr : &*found;
}

[[noreturn]] void
ThrowUnknownOption(const ProgramRule& program, const CommandRule& command, std::string_view word)
{
    std::vector<std::string_view> names;
    for (const ArgumentRule& rule : command.arguments) {
        if (rule.kind != EArgumentKind::Positional) {
            names.push_back(rule.name);
        }
    }
    const std::string_view name = word.starts_with("--") ? word.substr(0, word.find('=')) : word;
    const std::string otherwise = "; " + HelpOf(program, command) + " lists the options.";
    throw ArgumentError("There is no option " + Shown(name) + " of " + Called(program, command) +
                        DidYouMean(name, names, otherwise));
}

[[noreturn]] void ThrowWithoutValue(const ArgumentRule& rule)
{
    throw ArgumentError("The option " + std::string(rule.name) + " needs a value: " + Form(rule) +
                        ".");
}

[[noreturn]] void ThrowEmptyValue(const ArgumentRule& rule)
{
    throw ArgumentError("The value of " + std::string(rule.name) + " is an empty text; give " +
                        Form(rule) + ", or leave the option out.");
}

[[noreturn]] void ThrowSurplusValue(const ArgumentRule& rule, std::string_view value)
{
    throw ArgumentError("The option " + std::string(rule.name) + " has no value, but " +
                        Shown(value) + " is given.");
}

/// Rule: `-n=VALUE` gives VALUE, and `--name=` gives an empty text, which no option accepts. CLI11
/// keeps the "=" of the one, and gives the next word to the other.
std::vector<std::string> SettleEqualSigns(const CommandRule& command,
                                          std::vector<std::string> words)
{
    constexpr std::size_t kShortName = 2;
    const auto end = std::find(words.begin(), words.end(), "--");
    for (auto word = words.begin(); word != end; ++word) {
        const std::size_t at = word->find('=');
        const ArgumentRule* rule = FindArgument(command, std::string_view(*word).substr(0, at));
        if (rule == nullptr || at == std::string::npos) {
            continue;
        }
        if (at + 1 == word->size() && rule->kind == EArgumentKind::Flag) {
            ThrowSurplusValue(*rule, "");
        }
        if (at + 1 == word->size()) {
            ThrowEmptyValue(*rule);
        }
        if (at == kShortName) {
            word->erase(at, 1);
        }
    }
    return words;
}

/// What a command line gives to one command, or to the program before the command.
struct GivenWords
{
    std::map<std::string_view, std::vector<std::string>> values; ///< as in ParsedArguments
    std::vector<std::string> others; ///< the words that are nothing of the command's, in order
};

/// Has CLI11 sort the words by the command's rules.
/// @param arePrefix the words from the first that is no option on are not looked at
GivenWords
SortWords(const CommandRule& command, const std::vector<std::string>& words, bool arePrefix)
{
    CLI::App app;
    app.set_help_flag(); // Its own would be known without a rule.
    app.allow_extras();
    app.prefix_command(arePrefix);
    std::vector<std::pair<const ArgumentRule*, CLI::Option*>> options;
    for (const ArgumentRule& rule : command.arguments) {
        const std::string names = rule.shortName.empty()
                                      ? std::string(rule.name)
                                      : std::string(rule.shortName) + "," + std::string(rule.name);
        const bool isWithNextWord =
            rule.kind == EArgumentKind::Value || rule.kind == EArgumentKind::Positional;
        const int expected = isWithNextWord ? 1 : 0;
        CLI::Option* option = app.add_option(names)->expected(expected, expected);
        options.emplace_back(&rule, option->multi_option_policy(CLI::MultiOptionPolicy::TakeAll));
    }
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::ParseError& error) {
        // With these rules only an option at the end that lacks its value is an error.
        if (const ArgumentRule* rule =
                words.empty() ? nullptr : FindArgument(command, words.back())) {
            ThrowWithoutValue(*rule);
        }
        throw ArgumentError(TerminalText::Escape(error.what()));
    }
    GivenWords given;
    for (const auto& [rule, option] : options) {
        if (option->count() > 0) {
            given.values[rule->name] = option->results();
        }
    }
    given.others = app.remaining();
    return given;
}

/// @param words all of the command line
void CheckValue(const CommandRule& command,
                const ArgumentRule& rule,
                const std::string& value,
                const std::vector<std::string>& words)
{
    if (rule.kind == EArgumentKind::Positional && value.empty()) {
        throw ArgumentError(std::string(rule.name) +
                            " is an empty text; is a variable of a script not set?");
    }
    if (rule.kind == EArgumentKind::Flag && !value.empty()) {
        ThrowSurplusValue(rule, value);
    }
    if (rule.kind != EArgumentKind::Value) {
        return;
    }
    if (value.empty()) {
        ThrowEmptyValue(rule);
    }
    // CLI11 gives any next word to the option before it.
    const std::string_view name = std::string_view(value).substr(0, value.find('='));
    const bool isOption = value == "--" || FindArgument(command, name) != nullptr;
    if (isOption && std::find(words.begin(), words.end(), value) != words.end()) {
        ThrowWithoutValue(rule);
    }
}

/// Checks all values of the arguments that the command knows.
void CheckValues(const CommandRule& command,
                 const std::vector<std::string>& words,
                 const ParsedArguments& arguments)
{
    for (const ArgumentRule& rule : command.arguments) {
        const std::vector<std::string> values = arguments.GetAll(rule.name);
        for (const std::string& value : values) {
            CheckValue(command, rule, value, words);
        }
        const bool isForOnce =
            rule.kind == EArgumentKind::OptionalValue || rule.kind == EArgumentKind::Value;
        if (isForOnce && !rule.isRepeatable && values.size() > 1) {
            throw ArgumentError("The option " + std::string(rule.name) +
                                " is given twice; leave one of them out.");
        }
    }
}

/// @param others the words that are nothing of the command's
void CheckOthers(const ProgramRule& program,
                 const CommandRule& command,
                 const std::vector<std::string>& others)
{
    bool areOptionsOver = false;
    for (const std::string& word : others) {
        if (!areOptionsOver && word == "--") {
            areOptionsOver = true;
        } else if (!areOptionsOver && IsOption(word)) {
            ThrowUnknownOption(program, command, word);
        } else {
            throw ArgumentError("The argument " + Shown(word) + " is one too many. " +
                                MakeUsageLine(program, command));
        }
    }
}

std::vector<std::string_view> SplitNames(std::string_view names)
{
    std::vector<std::string_view> list;
    while (!names.empty()) {
        const std::size_t end = std::min(names.find(' '), names.size());
        list.push_back(names.substr(0, end));
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return list;
}

void CheckWhole(const ProgramRule& program, const ParsedArguments& arguments)
{
    for (const ArgumentRule& rule : arguments.command->arguments) {
        if (rule.isRequired && !arguments.Has(rule.name)) {
            throw ArgumentError(std::string(rule.name) + " is missing. " +
                                MakeUsageLine(program, *arguments.command));
        }
        for (const std::string_view other : SplitNames(rule.excludes)) {
            if (arguments.Has(rule.name) && arguments.Has(other)) {
                throw ArgumentError("Give " + std::string(other) + " or " + std::string(rule.name) +
                                    ", not both.");
            }
        }
    }
}

} // namespace

const CommandRule* ProgramRule::FindCommand(std::string_view name) const noexcept
{
    const auto found =
        std::find_if(commands.begin(), commands.end(), [&](const CommandRule& command) {
            return command.name == name;
        });
    return found == commands.end() ? nullptr : &*found;
}

std::optional<std::string> ParsedArguments::Find(std::string_view name) const
{
    const auto found = values.find(name);
    return found == values.end() ? std::nullopt : std::optional<std::string>(found->second.back());
}

std::vector<std::string> ParsedArguments::GetAll(std::string_view name) const
{
    const auto found = values.find(name);
    return found == values.end() ? std::vector<std::string>() : found->second;
}

void ThrowUnknownCommand(const ProgramRule& program, const std::string& word)
{
    std::vector<std::string_view> names;
    for (const CommandRule& command : program.commands) {
        names.push_back(command.name);
    }
    const std::string called(program.program.name);
    const std::string otherwise =
        word.find_first_of("./") == std::string::npos
            ? "; '" + called + " help' lists the commands."
            : "; the command comes before the file, for example '" + called + " import FILE'.";
    throw ArgumentError("There is no command " + Shown(word) + DidYouMean(word, names, otherwise));
}

std::string MakeUsageLine(const ProgramRule& program, const CommandRule& command)
{
    std::string line = "Usage: " + std::string(program.program.name);
    if (&command == &program.program) {
        return line + " COMMAND [ARGUMENT...]";
    }
    line += " " + std::string(command.name);
    bool hasOptions = false;
    for (const ArgumentRule& rule : command.arguments) {
        if (rule.kind == EArgumentKind::Positional) {
            line += rule.isRequired ? " " + std::string(rule.name)
                                    : " [" + std::string(rule.name) + "]";
        } else {
            hasOptions = hasOptions || rule.name != "--help";
        }
    }
    return line + (hasOptions ? " [OPTION...]" : "");
}

ParsedArguments ParseArguments(const ProgramRule& program, const std::vector<std::string>& words)
{
    const CommandRule& before = program.program;
    const std::vector<std::string> settled = SettleEqualSigns(before, words);
    GivenWords given = SortWords(before, settled, true);
    ParsedArguments arguments{nullptr, std::move(given.values)};
    auto next = given.others.begin();
    if (next != given.others.end() && *next == "--") {
        ++next;
    } else if (next != given.others.end() && IsOption(*next)) {
        ThrowUnknownOption(program, before, *next);
    }
    std::vector<std::string> rest;
    if (next != given.others.end()) {
        arguments.command = program.FindCommand(*next);
        if (arguments.command == nullptr) {
            ThrowUnknownCommand(program, *next);
        }
        rest = SettleEqualSigns(*arguments.command, {next + 1, given.others.end()});
        given = SortWords(*arguments.command, rest, false);
        CheckOthers(program, *arguments.command, given.others);
        for (auto& [name, values] : given.values) {
            std::vector<std::string>& all = arguments.values[name];
            all.insert(all.end(), values.begin(), values.end());
        }
    }
    CheckValues(before, words, arguments);
    if (arguments.command != nullptr) {
        CheckValues(*arguments.command, words, arguments);
        CheckWhole(program, arguments);
    }
    return arguments;
}

} // namespace OrvaneHost
