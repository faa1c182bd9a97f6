// Reads in large pieces.
#include "RecordReader.h"

#include <algorithm>
#include <cstring>

namespace Orvane::FlatGeobuf {

RecordReader::RecordReader(const SpillFile& file,
                           std::uint64_t begin,
                           std::uint64_t end,
                           const RecordShape& shape,
                           std::size_t bufferSize)
    : m_file(&file)
    , m_next(begin)
    , m_end(end)
    , m_shape(shape)
    , m_bufferSize(std::max(shape.GetBeginSize(), bufferSize))
    , m_buffer(new char[m_bufferSize])
{}

void RecordReader::Fill()
{
    const std::size_t kept = m_filled - m_position;
    std::memmove(m_buffer.get(), m_buffer.get() + m_position, kept);
    const auto count =
        static_cast<std::size_t>(std::min<std::uint64_t>(m_bufferSize - kept, m_end - m_next));
    m_file->Read(m_buffer.get() + kept, count, m_next);
    m_next += count;
    m_position = 0;
    m_filled = kept + count;
}

bool RecordReader::Next()
{
    if (m_filled - m_position < m_shape.GetBeginSize()) {
        Fill();
    }
    if (m_filled == m_position) {
        return false;
    }
    const char* const begin = m_buffer.get() + m_position;
    m_place = m_shape.GetPlace(begin);
    m_propertySize = RecordShape::GetPropertySize(begin);
    m_position += m_shape.GetBeginSize();
    return true;
}

void RecordReader::MoveProperties(BlockWriter& out)
{
    for (std::size_t left = m_propertySize; left > 0;) {
        if (m_position == m_filled) {
            Fill();
        }
        const std::size_t count = std::min(left, m_filled - m_position);
        out.Append({m_buffer.get() + m_position, count});
        m_position += count;
        left -= count;
    }
}

} // namespace Orvane::FlatGeobuf
