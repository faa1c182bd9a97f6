// Writes whole buffers and turns every error into an exception.
#include "TextOutput.h"

#include <Orvane/BException.h>

#include <cerrno>
#include <system_error>
#include <unistd.h>

namespace OrvaneHost {

TextOutput::TextOutput(int descriptor)
    : m_descriptor(descriptor)
{
    m_buffer.reserve(kBufferSize);
}

void TextOutput::WriteAll(std::string_view text) const
{
    while (!text.empty()) {
        const ssize_t written = write(m_descriptor, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            throw Orvane::BException("Could not write to the standard output.",
                                     "TextOutput::Flush",
                                     std::generic_category().message(errno));
        }
    }
}

void TextOutput::WriteThrough(std::string_view text)
{
    Flush();
    if (text.size() >= kBufferSize) {
        WriteAll(text);
    } else {
        m_buffer.append(text);
    }
}

void TextOutput::Flush()
{
    WriteAll(m_buffer);
    m_buffer.clear();
}

} // namespace OrvaneHost
