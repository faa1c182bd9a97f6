// The program `orvane`.
#include "CommandLine.h"
#include "FailureWords.h"
#include "Interrupt.h"
#include "LastResort.h"

#include <cstdio>
#include <exception>

int main(int argumentCount, char** arguments)
{
    OrvaneHost::LastResort::Install();
    OrvaneHost::Interrupt::Install();
    try {
        return OrvaneHost::RunCommandLine(argumentCount, arguments);
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "orvane: %s\n", exception.what());
        return OrvaneHost::kExitDataFailed;
    }
}
