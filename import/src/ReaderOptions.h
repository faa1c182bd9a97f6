// The table of reader options, and how their values are written on the command line.
#pragma once

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BString.h>

#include <string>
#include <vector>

namespace OrvaneHost {

/// What an option's value is.
enum class EOptionKind {
    Integer,  ///< 32-bit integer
    Number,   ///< floating point
    Boolean,  ///< true or false
    Text,     ///< one text
    Texts,    ///< list of texts, one each time the option is given
    Integers, ///< list of 32-bit integers
    Presence  ///< being there is all; any value is accepted and ignored
};

/// One reader option.
struct ReaderOption
{
    Orvane::BString key;
    EOptionKind kind;
    const char* meaning;
};

/// All options, in the order in which they are listed.
[[nodiscard]] const std::vector<ReaderOption>& GetReaderOptions();

/// "integer", "list of texts" and so on.
[[nodiscard]] const char* NameOfKind(EOptionKind kind) noexcept;

[[nodiscard]] inline bool IsListKind(EOptionKind kind) noexcept
{
    return kind == EOptionKind::Texts || kind == EOptionKind::Integers;
}

/// The option of that key. @throws UsageError that names the keys most like it.
[[nodiscard]] const ReaderOption& FindReaderOption(const std::string& key);

/// Adds options written as "KEY=VALUE" to a list, each replacing what the list has for its key;
/// list options given repeatedly are collected. Values are read by the key's kind: booleans are
/// true, false, yes, no, 1 or 0 (any case), lists of integers are split at ",", `\t` in a text is a
/// tab and `\\` a backslash for ASCII_SEPARATOR alone.
/// @throws UsageError that names the key and the type wanted.
void AddOptionTexts(const std::vector<std::string>& texts, Orvane::BParamList& params);

/// The table as text, one option a line.
[[nodiscard]] std::string DescribeReaderOptions();

} // namespace OrvaneHost
