// How the program reports failures: one line each, and the exit status.
#pragma once

#include <Orvane/Import/Failure.h>

#include <string>
#include <string_view>

namespace OrvaneHost {

inline constexpr int kExitDone = 0;
inline constexpr int kExitDataFailed = 1;
inline constexpr int kExitWrongArguments = 2;

/// The line for standard error when there is no memory, without line ending.
inline constexpr std::string_view kOutOfMemoryLine =
    "orvane: There is not enough memory. (std::bad_alloc) --disk-cache keeps a layer out of "
    "memory; "
    "a line of the file must fit into it, six times over.";

/// The exit status of a failure: wrong arguments when the request was refused before the file was
/// read, else data that failed.
[[nodiscard]] int ExitStatusOf(const Orvane::Import::ImportFailure& failure);

/// The texts of a failure for its line and for --json: those of the exception underneath.
[[nodiscard]] Orvane::Import::UnderlyingTexts TextsOf(const Orvane::Import::ImportFailure& failure);

/// The line for standard error, without line ending: "orvane: <message> (<location>) <details>",
/// escaped so that it stays one line, each text cut to 1000 characters.
[[nodiscard]] std::string FormatTexts(const Orvane::Import::UnderlyingTexts& texts);

/// What is said of a failure on standard error, without the last line ending. A question about
/// columns has lines with a list.
[[nodiscard]] std::string FormatFailure(const Orvane::Import::ImportFailure& failure);

} // namespace OrvaneHost
