// The arguments of the program: what each command may be given, and what it was given.
#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace OrvaneHost {

/// How an argument is given.
enum class EArgumentKind {
    Positional,    ///< a word, by its place
    Value,         ///< `--name VALUE` or `--name=VALUE`; short `-n VALUE`, `-nVALUE` or `-n=VALUE`
    OptionalValue, ///< `--name` or `--name=VALUE`; the next word is never the value
    Flag           ///< `--name`
};

/// One argument that a command knows.
struct ArgumentRule
{
    EArgumentKind kind = EArgumentKind::Flag;
    std::string_view name{};      ///< "--option"; of a positional argument "FILE"
    std::string_view valueName{}; ///< "KEY=VALUE"; empty for flags and positional arguments
    std::string_view meaning{};   ///< for the help; sentences without the last full stop
    std::string_view shortName{}; ///< "-o"; empty for none
    bool isRequired = false;      ///< positional arguments only; required ones come first
    bool isRepeatable = false;    ///< values only; flags may always be repeated
    std::string_view excludes{}; ///< names of options that contradict this one, a blank between two
};

/// One command, or the program itself for what stands before the command.
struct CommandRule
{
    std::string_view name{};    ///< "import"; of the program "orvane"
    std::string_view summary{}; ///< for the help, a sentence without its full stop
    std::vector<ArgumentRule> arguments{};
    std::string_view text{}; ///< paragraphs for the help, an empty line between two
    std::vector<std::string_view> examples{}; ///< whole command lines
    std::string_view exitStatus{};            ///< a sentence; empty: what holds for the program
};

/// The program's arguments and commands.
struct ProgramRule
{
    CommandRule program;
    std::vector<CommandRule> commands;

    /// @return nullptr when there is no command of that name
    [[nodiscard]] const CommandRule* FindCommand(std::string_view name) const noexcept;
};

/// What a command line holds, as written.
struct ParsedArguments
{
    const CommandRule* command = nullptr; ///< one of the program's; nullptr when none is given
    /// By the argument's name, all that were given, in their order; an empty text for a flag and
    /// for an optional value that is not given.
    std::map<std::string_view, std::vector<std::string>> values;

    [[nodiscard]] bool Has(std::string_view name) const { return values.contains(name); }

    /// The last of the argument's values.
    [[nodiscard]] std::optional<std::string> Find(std::string_view name) const;

    /// The last of the argument's values; empty when it is not given.
    [[nodiscard]] std::string Get(std::string_view name) const
    {
        return Find(name).value_or(std::string());
    }

    [[nodiscard]] std::vector<std::string> GetAll(std::string_view name) const;
};

/// The command line does not fit the rules. what() is one line in UTF-8 without line ending: the
/// word that is wrong and why, then what to do. Words are shown escaped and cut to 200 characters.
class ArgumentError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// @throws ArgumentError that says that there is no such command, and which are most like it
[[noreturn]] void ThrowUnknownCommand(const ProgramRule& program, const std::string& word);

/// "Usage: orvane import FILE [OUT] [OPTION...]"
[[nodiscard]] std::string MakeUsageLine(const ProgramRule& program, const CommandRule& command);

/// Sorts the words (without the program's name) by the rules. Options stand anywhere; those of the
/// program that the command knows too may stand before it. After the word `--` all words are
/// positional. An option's value is the next word, unless that is itself an option of the command.
///
/// @return without a command when none is given; that its required arguments are there is checked
///     only with one
/// @throws ArgumentError for an unknown command or option (naming those most like it), a value that
///     is missing, too much, empty or given twice, options that exclude each other, a positional
///     argument that is missing, empty or one too many
[[nodiscard]] ParsedArguments ParseArguments(const ProgramRule& program,
                                             const std::vector<std::string>& words);

} // namespace OrvaneHost
