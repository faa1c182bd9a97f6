// Takes the texts of exceptions and makes the line of a failure.
#include "Failure.h"

#include "TerminalText.h"

#include <Orvane/BException.h>

#include <cstdlib>
#include <memory>
#include <string_view>
#include <typeinfo>

#if defined(__GNUC__)
#include <cxxabi.h>
#endif

namespace OrvaneHost {

namespace {

std::string TypeName(const std::exception& exception)
{
    const char* name = typeid(exception).name();
#if defined(__GNUC__)
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> demangled(
        abi::__cxa_demangle(name, nullptr, nullptr, &status), &std::free);
    if (status == 0 && demangled != nullptr) {
        return demangled.get();
    }
#endif
    return name;
}

/// Most characters of one text in a failure's line.
constexpr std::size_t kMostCharacters = 1000;

/// For the line: a message may hold a whole line of the file.
std::string Show(std::string_view text)
{
    return TerminalText::EscapeAndCut(text, kMostCharacters);
}

} // namespace

Failure DescribeFailure(const std::exception& exception)
{
    Failure failure;
    const auto* sdkException = dynamic_cast<const Orvane::BException*>(&exception);
    if (sdkException == nullptr) {
        failure.exceptionName = TypeName(exception);
        failure.message = exception.what();
        return failure;
    }
    failure.exceptionName = sdkException->GetClassName();
    failure.location = sdkException->GetLocation().ToUtf8();
    failure.message = sdkException->GetMessage().ToUtf8();
    if (failure.exceptionName == "BException") {
        failure.details = sdkException->GetDetails().ToUtf8();
    }
    return failure;
}

std::string FormatFailure(const Failure& failure)
{
    if (failure.exceptionName == "std::bad_alloc") {
        return std::string(kOutOfMemoryLine);
    }
    // Some texts of the reader are short; here a person reads them.
    const bool isMissingFile = failure.exceptionName == "BFileNotFoundException";
    std::string line = "orvane: ";
    line += isMissingFile ? "There is no such file: " : "";
    line += Show(failure.message);
    const std::string& place = failure.location.empty() ? failure.exceptionName : failure.location;
    line += " (" + Show(place) + ")";
    if (!failure.details.empty()) {
        line += " " + Show(failure.details);
    }
    if (failure.exceptionName == "std::out_of_range") {
        line += " A position lies outside of a row: do COLUMN_DEFINITION and NAME_COLUMN fit the "
                "columns of the file?";
    }
    return line;
}

} // namespace OrvaneHost
