// The program `orvane`.
#include "CommandLine.h"
#include "FailureWords.h"
#include "Interrupt.h"
#include "LastResort.h"

#include <cstdio>
#include <exception>
#include <string_view>

namespace {

/// `lint` never writes, and its status 1 says that there are findings: from the first moment to the
/// last a signal only asks it to stop.
OrvaneHost::Interrupt::EPhase FindFirstPhase(int argumentCount, char** arguments)
{
    using OrvaneHost::Interrupt::EPhase;
    for (int index = 1; index < argumentCount; ++index) {
        const std::string_view word = arguments[index];
        if (!word.starts_with('-')) {
            return word == "lint" ? EPhase::Looking : EPhase::Immediate;
        }
    }
    return EPhase::Immediate;
}

} // namespace

int main(int argumentCount, char** arguments)
{
    OrvaneHost::LastResort::Install();
    OrvaneHost::Interrupt::Install(FindFirstPhase(argumentCount, arguments));
    try {
        return OrvaneHost::RunCommandLine(argumentCount, arguments);
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "orvane: %s\n", exception.what());
        return OrvaneHost::kExitDataFailed;
    }
}
