// Buffered output to a file descriptor whose errors are never lost.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace OrvaneHost {

/// Collects output in one buffer of fixed size and writes it to a descriptor.
///
/// Use: Write any number of times, then Flush once. Text not flushed when the object goes is
/// dropped, so that a failure's cleaning up never fails again. Does not own the descriptor.
class TextOutput
{
public:
    /// @param descriptor an open file descriptor, standard output by default
    explicit TextOutput(int descriptor = 1);
    TextOutput(const TextOutput&) = delete;
    TextOutput& operator=(const TextOutput&) = delete;
    ~TextOutput() = default;

    /// @throws Orvane::BException("Could not write to the standard output.", "TextOutput::Flush",
    ///     <reason>) when the descriptor accepts no more.
    void Write(std::string_view text)
    {
        if (text.size() > kBufferSize - m_buffer.size()) {
            WriteThrough(text);
        } else {
            m_buffer.append(text);
        }
    }

    void Write(char byte)
    {
        if (m_buffer.size() == kBufferSize) {
            Flush();
        }
        m_buffer.push_back(byte);
    }

    /// The same exception as Write's.
    void Flush();

private:
    static constexpr std::size_t kBufferSize = std::size_t{64} * 1024;

    void WriteThrough(std::string_view text);
    void WriteAll(std::string_view text) const;

    int m_descriptor;
    std::string m_buffer;
};

} // namespace OrvaneHost
