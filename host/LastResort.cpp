// Writes a line by the system's own means, and leaves.
#include "LastResort.h"

#include "Failure.h"

#include <exception>
#include <new>
#include <unistd.h>

namespace OrvaneHost::LastResort {

namespace {

void Write(std::string_view text) noexcept
{
    // There is nobody left to tell that this failed.
    const ssize_t ignored = write(STDERR_FILENO, text.data(), text.size());
    static_cast<void>(ignored);
}

[[noreturn]] void HandleTerminate() noexcept
{
    End("a library gave up.");
}

bool IsMemoryWanting() noexcept
{
    if (const std::exception_ptr current = std::current_exception()) {
        try {
            std::rethrow_exception(current);
        } catch (const std::bad_alloc&) {
            return true;
        } catch (...) {
            return false;
        }
    }
    return false;
}

} // namespace

void Install() noexcept
{
    std::set_terminate(HandleTerminate);
}

void End(std::string_view reason) noexcept
{
    if (IsMemoryWanting()) {
        Write(kOutOfMemoryLine);
    } else {
        Write("orvane: The program can not go on: ");
        Write(reason);
        Write(" (orvane)");
    }
    Write("\n");
    _exit(kExitDataFailed);
}

} // namespace OrvaneHost::LastResort
