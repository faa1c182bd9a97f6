// Sorts the words of a command line by the rules of its command.
#include "Arguments.h"

#include "NearestWord.h"
#include "TerminalText.h"

#include <algorithm>
#include <cstddef>

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

const ArgumentRule* FindArgument(const CommandRule& command, std::string_view name) noexcept
{
    const auto found = std::find_if(
        command.arguments.begin(), command.arguments.end(), [&](const ArgumentRule& rule) {
            return rule.kind != EArgumentKind::Positional &&
                   (rule.name == name || (!name.empty() && rule.shortName == name));
        });
    return found == command.arguments.end() ? nullptr : &*found;
}

/// An option as written, cut in its parts.
struct OptionWord
{
    std::string_view name; ///< "--option" or "-o"
    std::optional<std::string_view> value;
};

OptionWord CutOption(std::string_view word)
{
    if (word.starts_with("--")) {
        const std::size_t at = word.find('=');
        if (at == std::string_view::npos) {
            return {word, std::nullopt};
        }
        return {word.substr(0, at), word.substr(at + 1)};
    }
    constexpr std::size_t kShortName = 2;
    if (word.size() == kShortName) {
        return {word, std::nullopt};
    }
    const std::size_t skipped = word[kShortName] == '=' ? kShortName + 1 : kShortName;
    return {word.substr(0, kShortName), word.substr(skipped)};
}

/// One pass over the words of a command line.
class ArgumentParser
{
public:
    ArgumentParser(const ProgramRule& program, const std::vector<std::string>& words)
        : m_program(program)
        , m_words(words)
        , m_rule(&program.program)
    {}

    ParsedArguments Parse()
    {
        bool areOptionsOver = false;
        while (m_next < m_words.size()) {
            const std::string& word = m_words[m_next++];
            if (areOptionsOver || !IsOption(word)) {
                AddWord(word);
            } else if (word == "--") {
                areOptionsOver = true;
            } else {
                AddOption(word);
            }
        }
        CheckWhole();
        return std::move(m_result);
    }

private:
    void AddWord(const std::string& word)
    {
        if (m_result.command == nullptr) {
            SetCommand(word);
            return;
        }
        std::size_t position = m_positionals++;
        for (const ArgumentRule& rule : m_rule->arguments) {
            if (rule.kind != EArgumentKind::Positional) {
                continue;
            }
            if (position-- == 0) {
                if (word.empty()) {
                    throw ArgumentError(std::string(rule.name) +
                                        " is an empty text; is a variable of a script not set?");
                }
                m_result.values[rule.name].push_back(word);
                return;
            }
        }
        throw ArgumentError("The argument " + Shown(word) + " is one too many. " +
                            MakeUsageLine(m_program, *m_rule));
    }

    void SetCommand(const std::string& word)
    {
        m_result.command = m_program.FindCommand(word);
        if (m_result.command != nullptr) {
            m_rule = m_result.command;
            return;
        }
        ThrowUnknownCommand(m_program, word);
    }

    void AddOption(const std::string& word)
    {
        const OptionWord option = CutOption(word);
        const ArgumentRule* rule = FindArgument(*m_rule, option.name);
        if (rule == nullptr) {
            ThrowUnknownOption(word.starts_with("--") ? option.name : std::string_view(word));
        }
        std::vector<std::string>& values = m_result.values[rule->name];
        switch (rule->kind) {
        case EArgumentKind::Flag:
            if (option.value) {
                throw ArgumentError("The option " + std::string(rule->name) +
                                    " has no value, but " + Shown(*option.value) + " is given.");
            }
            values.emplace_back();
            break;
        case EArgumentKind::OptionalValue:
            CheckValue(*rule, option.value.value_or("absent"), values);
            values.emplace_back(option.value.value_or(""));
            break;
        default: {
            const std::string value(option.value ? *option.value : NextWord(*rule));
            CheckValue(*rule, value, values);
            values.push_back(value);
        }
        }
    }

    [[noreturn]] void ThrowUnknownOption(std::string_view name) const
    {
        std::vector<std::string_view> names;
        for (const ArgumentRule& rule : m_rule->arguments) {
            if (rule.kind != EArgumentKind::Positional) {
                names.push_back(rule.name);
            }
        }
        const std::string otherwise = "; " + HelpOf(m_program, *m_rule) + " lists the options.";
        throw ArgumentError("There is no option " + Shown(name) + " of " +
                            Called(m_program, *m_rule) + DidYouMean(name, names, otherwise));
    }

    std::string_view NextWord(const ArgumentRule& rule)
    {
        const bool isThere = m_next < m_words.size() && m_words[m_next] != "--" &&
                             !(IsOption(m_words[m_next]) &&
                               FindArgument(*m_rule, CutOption(m_words[m_next]).name) != nullptr);
        if (!isThere) {
            throw ArgumentError("The option " + std::string(rule.name) +
                                " needs a value: " + Form(rule) + ".");
        }
        return m_words[m_next++];
    }

    static void CheckValue(const ArgumentRule& rule,
                           std::string_view value,
                           const std::vector<std::string>& before)
    {
        if (value.empty()) {
            throw ArgumentError("The value of " + std::string(rule.name) +
                                " is an empty text; give " + Form(rule) +
                                ", or leave the option out.");
        }
        if (!rule.isRepeatable && !before.empty()) {
            throw ArgumentError("The option " + std::string(rule.name) +
                                " is given twice; leave one of them out.");
        }
    }

    void CheckWhole() const
    {
        if (m_result.command == nullptr) {
            return;
        }
        for (const ArgumentRule& rule : m_rule->arguments) {
            if (rule.isRequired && !m_result.Has(rule.name)) {
                throw ArgumentError(std::string(rule.name) + " is missing. " +
                                    MakeUsageLine(m_program, *m_rule));
            }
            if (!rule.excludes.empty() && m_result.Has(rule.name) && m_result.Has(rule.excludes)) {
                throw ArgumentError("Give " + std::string(rule.excludes) + " or " +
                                    std::string(rule.name) + ", not both.");
            }
        }
    }

    const ProgramRule& m_program;
    const std::vector<std::string>& m_words;
    const CommandRule* m_rule;
    std::size_t m_next = 0;
    std::size_t m_positionals = 0;
    ParsedArguments m_result;
};

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
    return ArgumentParser(program, words).Parse();
}

} // namespace OrvaneHost
