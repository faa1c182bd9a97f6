// Fills blocks.
#include "BlockWriter.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Orvane::FlatGeobuf {

BlockWriter::BlockWriter(Write write, std::uint64_t offset, std::size_t blockSize)
    : m_write(std::move(write))
    , m_offset(offset)
    , m_blockSize(blockSize)
    , m_block(new char[blockSize])
{}

void BlockWriter::Append(std::string_view bytes)
{
    while (!bytes.empty()) {
        const std::size_t count = std::min(bytes.size(), m_blockSize - m_size);
        std::memcpy(m_block.get() + m_size, bytes.data(), count);
        m_size += count;
        bytes.remove_prefix(count);
        if (m_size == m_blockSize) {
            Flush();
        }
    }
}

void BlockWriter::Flush()
{
    if (m_size > 0) {
        m_write(m_block.get(), m_size, m_offset);
        m_offset += m_size;
        m_size = 0;
    }
}

} // namespace Orvane::FlatGeobuf
