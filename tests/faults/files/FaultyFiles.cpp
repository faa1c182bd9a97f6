// Defines the C library's functions for reading, writing and positioning, which call the system.
#include "FaultyFiles.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>

namespace FaultyFiles {

namespace {

std::string watchedPath;
Rule watchedRule;
std::uint64_t callCount = 0;
bool isWatching = false;

/// @return the rule's answer; no fault for other files
Answer Ask(ECall call, int descriptor)
{
    if (!isWatching) {
        return {};
    }
    char name[64];
    std::snprintf(name, sizeof name, "/proc/self/fd/%d", descriptor);
    char target[4096];
    const ssize_t size = readlink(name, target, sizeof target);
    const std::size_t length = watchedPath.size();
    if (size < 0 || static_cast<std::size_t>(size) < length ||
        watchedPath.compare(0, length, target, length) != 0) {
        return {};
    }
    return watchedRule(call, ++callCount);
}

} // namespace

Scope::Scope(const Orvane::BString& path, Rule rule)
{
    watchedPath = path.ToUtf8();
    watchedRule = std::move(rule);
    callCount = 0;
    isWatching = true;
}

Scope::~Scope()
{
    isWatching = false;
    watchedRule = nullptr;
}

std::uint64_t Scope::GetCallCount() const noexcept
{
    return callCount;
}

} // namespace FaultyFiles

using FaultyFiles::Answer;
using FaultyFiles::Ask;
using FaultyFiles::ECall;

// Qt must find them.
#pragma GCC visibility push(default)

extern "C" {

ssize_t read(int fd, void* buf, size_t nbytes)
{
    const Answer answer = Ask(ECall::Read, fd);
    if (answer.error != 0) {
        errno = answer.error;
        return -1;
    }
    return syscall(SYS_read, fd, buf, std::min(nbytes, answer.most));
}

ssize_t write(int fd, const void* buf, size_t n)
{
    const Answer answer = Ask(ECall::Write, fd);
    if (answer.error != 0) {
        errno = answer.error;
        return -1;
    }
    return syscall(SYS_write, fd, buf, std::min(n, answer.most));
}

off64_t lseek64(int fd, off64_t offset, int whence) noexcept
{
    const Answer answer = Ask(ECall::Seek, fd);
    if (answer.error != 0) {
        errno = answer.error;
        return -1;
    }
    return syscall(SYS_lseek, fd, offset, whence);
}
}

#pragma GCC visibility pop
