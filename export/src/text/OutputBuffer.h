// Bytes on their way into a file.
#pragma once

#include <cstddef>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <string_view>

namespace Orvane::Import {

/// A new file, or standard output, that is written in large pieces.
///
/// One thread. After a throw nothing but the destructor may be called; it closes the file and
/// writes nothing.
class OutputBuffer
{
public:
    static constexpr std::size_t kBytes = std::size_t{256} << 10;

    /// Makes the file. @param file absolute; must not exist
    /// @throws std::system_error
    explicit OutputBuffer(const std::filesystem::path& file);
    /// Writes to a file that is open already and stays open.
    /// @param onBytes called with all bytes that were written, piece by piece; may throw
    OutputBuffer(int descriptor, std::function<void(std::string_view)> onBytes);
    ~OutputBuffer();
    OutputBuffer(const OutputBuffer&) = delete;
    OutputBuffer& operator=(const OutputBuffer&) = delete;

    /// Room for `count` bytes, at most kBytes; what is written there counts with Advance.
    /// @throws std::system_error when the file must be written first and cannot
    [[nodiscard]] char* Reserve(std::size_t count)
    {
        if (kBytes - m_size < count) {
            Flush();
        }
        return m_bytes.get() + m_size;
    }

    /// @param end after the last byte that was written to what Reserve has given
    void Advance(const char* end) noexcept
    {
        m_size = static_cast<std::size_t>(end - m_bytes.get());
    }

    void Append(char byte)
    {
        *Reserve(1) = byte;
        ++m_size;
    }

    /// Texts of any length. @throws std::system_error
    void Append(std::string_view bytes)
    {
        if (bytes.size() > kBytes - m_size) {
            AppendLong(bytes);
            return;
        }
        std::memcpy(m_bytes.get() + m_size, bytes.data(), bytes.size());
        m_size += bytes.size();
    }

    /// Writes what is left and closes the file that this object has made. Once.
    /// @throws std::system_error
    void Close();

private:
    void Flush();
    void AppendLong(std::string_view bytes);

    std::unique_ptr<char[]> m_bytes; // NOLINT(modernize-avoid-c-arrays): never initialised
    std::size_t m_size = 0;
    int m_descriptor = -1;
    bool m_isOwned = false;
    std::function<void(std::string_view)> m_onBytes;
};

} // namespace Orvane::Import
