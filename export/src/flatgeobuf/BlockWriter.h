// Collects bytes and writes them in blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

namespace Orvane::FlatGeobuf {

/// Bytes that follow each other in a file, from some place on. One thread.
///
///     BlockWriter out([&](const void* bytes, std::size_t byteCount, std::uint64_t offset) {
///         file.Write(bytes, byteCount, offset);
///     }, 0, BlockWriter::kLargeBlock);
///     out.Append("some bytes");
///     out.Flush();
class BlockWriter
{
public:
    /// Writes bytes to that place of the file. What it throws leaves the operations here.
    using Write =
        std::function<void(const void* bytes, std::size_t byteCount, std::uint64_t offset)>;

    static constexpr std::size_t kLargeBlock = std::size_t{1} << 20U;
    static constexpr std::size_t kSmallBlock = std::size_t{1} << 16U;

    /// @param offset where the bytes begin in the file
    /// @param blockSize at least 1
    BlockWriter(Write write, std::uint64_t offset, std::size_t blockSize);

    void Append(std::string_view bytes);

    /// Where the next byte goes in the file.
    [[nodiscard]] std::uint64_t GetPosition() const noexcept { return m_offset + m_size; }

    /// Writes what is left.
    void Flush();

private:
    Write m_write;
    std::uint64_t m_offset; ///< of the block at hand
    std::size_t m_blockSize;
    std::unique_ptr<char[]> m_block; // NOLINT(modernize-avoid-c-arrays): never initialised
    std::size_t m_size = 0;
};

} // namespace Orvane::FlatGeobuf
