// The catalogue of reader options, and how their values are read from texts and files.
#pragma once

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BString.h>
#include <Orvane/Import/Api.h>

#include <string>
#include <vector>

namespace Orvane::Import {

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
    BString key; ///< upper case
    EOptionKind kind;
    const char* meaning; ///< a few English words; lives as long as the library
};

/// All options of the bundled reader, in the order in which they are listed to people.
[[nodiscard]] ORVANE_IMPORT_EXPORT const std::vector<ReaderOption>& GetReaderOptions();

/// "integer", "list of texts" and so on.
[[nodiscard]] ORVANE_IMPORT_EXPORT const char* NameOfKind(EOptionKind kind) noexcept;

[[nodiscard]] inline bool IsListKind(EOptionKind kind) noexcept
{
    return kind == EOptionKind::Texts || kind == EOptionKind::Integers;
}

/// The option of that key. @param key UTF-8, compared exactly
/// @throws ImportFailure `unknown-option`, with the keys most like it in `nearest`
[[nodiscard]] ORVANE_IMPORT_EXPORT const ReaderOption& FindReaderOption(const std::string& key);

/// Adds options written as "KEY=VALUE" to a list, each replacing what the list has for its key;
/// list options given repeatedly are collected.
///
/// Values are read by the key's kind, whatever the locale: booleans are true, false, yes, no, 1 or
/// 0 (any case), lists of integers are split at ",", `\t` in a text is a tab and `\\` a backslash
/// for ASCII_SEPARATOR alone. A presence-only key may stand without "=VALUE".
///
///     BParamList options;
///     AddOptionTexts({"ASCII_SEPARATOR=\\t", "X_COLUMN=2", "Y_COLUMN=1"}, options);
///
/// @param texts UTF-8
/// @throws ImportFailure `unknown-option`; `option-value` with the key as `subject` and the text
///     after "=" as `value`. Options before the wrong one are in the list then.
ORVANE_IMPORT_EXPORT void AddOptionTexts(const std::vector<std::string>& texts, BParamList& params);

/// Reads a JSON file that holds one object of reader options. Every value keeps its JSON type:
/// texts, integers (64 bits when 32 are too few), numbers, booleans, lists of texts and lists of
/// integers. An empty list has the type that its key needs. Presence-only keys accept any of these.
/// @param path as the system knows it
/// @throws ImportFailure `option-file` when the file cannot be read, is larger than 16 MiB, is no
///     such object, repeats a key, or has a null, an object, a mixed list, a list where one value
///     is needed or one value where a list is needed; `unknown-option`
[[nodiscard]] ORVANE_IMPORT_EXPORT BParamList ReadOptionFile(const std::string& path);

} // namespace Orvane::Import
