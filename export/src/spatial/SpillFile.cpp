// Reads and writes whole ranges, whatever the system does at a time.
#include "SpillFile.h"

#include "WriteBytes.h"
#include "WriteFailure.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Orvane {

namespace {

[[noreturn]] void Fail(const char* what, int systemError)
{
    throw WriteFailure(std::string(what) + ": " + std::generic_category().message(systemError));
}

} // namespace

SpillFile::SpillFile(const std::filesystem::path& folder)
{
    std::string name = (folder / "index-XXXXXX").native();
    m_descriptor = ::mkostemp(name.data(), O_CLOEXEC);
    if (m_descriptor < 0) {
        Fail("making a temporary file for the spatial index", errno);
    }
    if (::unlink(name.c_str()) != 0) {
        const int systemError = errno;
        ::close(m_descriptor);
        Fail("making a temporary file for the spatial index", systemError);
    }
}

SpillFile::SpillFile(SpillFile&& other) noexcept
    : m_descriptor(std::exchange(other.m_descriptor, -1))
{}

SpillFile::~SpillFile()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
}

void SpillFile::Write(const void* bytes, std::size_t byteCount, std::uint64_t offset) const
{
    if (const int error = WriteBytes(m_descriptor, bytes, byteCount, offset); error != 0) {
        Fail("writing a temporary file for the spatial index", error);
    }
}

void SpillFile::Read(void* bytes, std::size_t byteCount, std::uint64_t offset) const
{
    char* position = static_cast<char*>(bytes);
    while (byteCount > 0) {
        const ssize_t count =
            ::pread(m_descriptor, position, byteCount, static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            Fail("reading a temporary file of the spatial index", count < 0 ? errno : EIO);
        }
        position += count;
        byteCount -= static_cast<std::size_t>(count);
        offset += static_cast<std::uint64_t>(count);
    }
}

} // namespace Orvane
