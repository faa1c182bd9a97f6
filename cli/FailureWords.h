// How the program reports failures: what is printed, and the exit status.
#pragma once

#include <Orvane/Import/Failure.h>

#include <exception>
#include <string>
#include <string_view>
#include <vector>

namespace OrvaneHost {

inline constexpr int kExitDone = 0;
inline constexpr int kExitDataFailed = 1;
inline constexpr int kExitWrongArguments = 2;

/// The line for standard error when there is no memory, without line ending.
inline constexpr std::string_view kOutOfMemoryLine =
    "orvane: There is not enough memory. --disk-cache keeps a layer out of memory; a line of the "
    "file must fit into it, six times over.";

/// The exit status of a failure: wrong arguments when the request was refused before the file was
/// read, else data that failed.
[[nodiscard]] int ExitStatusOf(const Orvane::Import::ImportFailure& failure);

/// The texts of the exception underneath, for --json; those of the failure when there is none.
[[nodiscard]] Orvane::Import::UnderlyingTexts TextsOf(const Orvane::Import::ImportFailure& failure);

/// The fields of an exception that is none of the import library's: code "memory" or "internal".
[[nodiscard]] Orvane::Import::FailureFields FieldsOf(const std::exception& exception);

/// What is said of a failure on standard error, without the last line ending: one line
/// "orvane: FILE:LINE:COLUMN: what, why, the row, what to do", or several for a question about
/// columns, which lists them. Texts of the file are escaped and cut.
/// @param words of the command line, without the program's name; a question repeats them as a
///     command that can be pasted
/// @param isVerbose adds a line with the texts of the exception underneath
[[nodiscard]] std::string FormatFailure(const Orvane::Import::ImportFailure& failure,
                                        const std::vector<std::string>& words,
                                        bool isVerbose);

/// The same for an exception that is none of the import library's.
[[nodiscard]] std::string FormatException(const std::exception& exception, bool isVerbose);

/// The commands that FormatFailure shows, each in a line of its own, ready for a shell.
[[nodiscard]] std::vector<std::string> CommandsOf(const Orvane::Import::ImportFailure& failure,
                                                  const std::vector<std::string>& words);

} // namespace OrvaneHost
