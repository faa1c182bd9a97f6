// How the program reports failures: one line each, and the exit status.
#pragma once

#include <exception>
#include <stdexcept>
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

/// Wrong arguments, found by this program; what() is the whole text in UTF-8 and may hold further
/// lines with a list. Ends the program with exit status 2.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The texts of a failure, in UTF-8.
struct Failure
{
    std::string exceptionName; ///< an SDK class's plain name, otherwise the C++ type's name
    std::string location;      ///< empty when the exception has none
    std::string message;
    std::string details; ///< empty for SDK subclasses, whose message is their details text
};

/// Takes an exception's texts.
[[nodiscard]] Failure DescribeFailure(const std::exception& exception);

/// The line for standard error, without line ending: "orvane: <message> (<location>) <details>",
/// escaped so that it stays one line, each text cut to 1000 characters.
[[nodiscard]] std::string FormatFailure(const Failure& failure);

} // namespace OrvaneHost
