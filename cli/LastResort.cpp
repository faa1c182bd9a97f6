// Writes a line by the system's own means, and leaves.
#include "LastResort.h"

#include "FailureWords.h"

#include <algorithm>
#include <array>
#include <cstddef>
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

/// The reason may hold a file's name or its data; there is no memory for proper escapes.
void WriteShowable(std::string_view text) noexcept
{
    std::array<char, 500> shown{};
    const std::size_t size = std::min(text.size(), shown.size());
    for (std::size_t i = 0; i < size; ++i) {
        const bool isShowable = text[i] >= 0x20 && text[i] < 0x7F;
        shown[i] = isShowable ? text[i] : '?';
    }
    Write({shown.data(), size});
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
        Write("orvane: The program cannot go on: ");
        WriteShowable(reason);
    }
    Write("\n");
    _exit(kExitDataFailed);
}

} // namespace OrvaneHost::LastResort
