// Has the disk begin with each block at once.
#include "NewFile.h"

#include "WriteBytes.h"
#include "WriteFailure.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Orvane::FlatGeobuf {

namespace {

[[noreturn]] void Fail(int systemError)
{
    throw WriteFailure(std::generic_category().message(systemError));
}

} // namespace

NewFile::NewFile(const std::filesystem::path& path)
{
    constexpr mode_t kReadAndWrite = 0666;
    m_descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kReadAndWrite);
    if (m_descriptor < 0) {
        Fail(errno);
    }
}

NewFile::~NewFile()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
    }
}

void NewFile::Write(const void* bytes, std::size_t byteCount, std::uint64_t offset) const
{
    if (const int error = WriteBytes(m_descriptor, bytes, byteCount, offset); error != 0) {
        Fail(error);
    }
    const auto begin = static_cast<off64_t>(offset);
    const auto size = static_cast<off64_t>(byteCount);
    // The disk begins to write while the next block is made: synchronising a file of gigabytes at
    // the end would be silent for seconds. Where this cannot be had, it only takes longer.
    static_cast<void>(::sync_file_range(m_descriptor, begin, size, SYNC_FILE_RANGE_WRITE));
}

void NewFile::Close()
{
    if (::close(std::exchange(m_descriptor, -1)) != 0) {
        Fail(errno);
    }
}

} // namespace Orvane::FlatGeobuf
