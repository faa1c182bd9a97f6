// Only calls that are safe in a signal handler, and in the child of a process with threads.
#include "OpenFiles.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <initializer_list>
#include <sys/stat.h>
#include <unistd.h>

namespace OrvaneHost {

namespace {

[[noreturn]] void WaitForEndOf(pid_t parent)
{
    constexpr int kMostFiles = 1024; // more than an import opens
    constexpr long kNanosecondsBetweenLooks = 20'000'000;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(number, SIG_IGN);
    }
    for (int descriptor = 0; descriptor < kMostFiles; ++descriptor) {
        struct stat status = {};
        if (fstat(descriptor, &status) == 0 && !S_ISREG(status.st_mode)) {
            close(descriptor);
        }
    }
    while (getppid() == parent) {
        const timespec pause{0, kNanosecondsBetweenLooks};
        nanosleep(&pause, nullptr);
    }
    _exit(0);
}

} // namespace

void HoldOpenFiles() noexcept
{
    const int error = errno;
    const pid_t parent = getpid();
    if (_Fork() == 0) {
        WaitForEndOf(parent);
    }
    errno = error;
}

} // namespace OrvaneHost
