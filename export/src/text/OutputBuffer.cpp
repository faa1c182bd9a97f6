// Writes whole buffers.
#include "OutputBuffer.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Orvane::Import {

namespace {

[[noreturn]] void ThrowSystemError()
{
    throw std::system_error(errno, std::generic_category());
}

} // namespace

OutputBuffer::OutputBuffer(int descriptor, std::function<void(std::string_view)> onBytes)
    : m_bytes(new char[kBytes])
    , m_descriptor(descriptor)
    , m_onBytes(std::move(onBytes))
{}

OutputBuffer::OutputBuffer(const std::filesystem::path& file)
    : m_bytes(new char[kBytes])
    , m_isOwned(true)
{
    constexpr mode_t kReadAndWrite = 0666;
    m_descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kReadAndWrite);
    if (m_descriptor < 0) {
        ThrowSystemError();
    }
}

OutputBuffer::~OutputBuffer()
{
    if (m_isOwned && m_descriptor >= 0) {
        close(m_descriptor);
    }
}

void OutputBuffer::Flush()
{
    std::size_t written = 0;
    while (written < m_size) {
        const ssize_t count = write(m_descriptor, m_bytes.get() + written, m_size - written);
        if (count < 0 && errno != EINTR) {
            ThrowSystemError();
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    if (m_onBytes) {
        m_onBytes({m_bytes.get(), m_size});
    }
    m_size = 0;
}

void OutputBuffer::AppendLong(std::string_view bytes)
{
    while (!bytes.empty()) {
        if (m_size == kBytes) {
            Flush();
        }
        const std::size_t count = std::min(bytes.size(), kBytes - m_size);
        std::memcpy(m_bytes.get() + m_size, bytes.data(), count);
        m_size += count;
        bytes.remove_prefix(count);
    }
}

void OutputBuffer::Close()
{
    Flush();
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    if (m_isOwned && close(descriptor) != 0) {
        ThrowSystemError();
    }
}

} // namespace Orvane::Import
