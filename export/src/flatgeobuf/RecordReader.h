// Records of a temporary file, one after the other.
#pragma once

#include "BlockWriter.h"
#include "Record.h"
#include "SpillFile.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Orvane::FlatGeobuf {

/// Reads records of a part of a file in order. Memory does not grow with their size: properties are
/// copied from file to file in pieces. One thread.
///
///     while (reader.Next()) {
///         out.Append(MakeHead(reader.GetPlace(), reader.GetPropertySize()));
///         reader.MoveProperties(out);
///     }
class RecordReader
{
public:
    /// @param file must outlive this object
    /// @param begin, end of the part, in bytes
    /// @param bufferSize of the memory; at least the begin of a record is held
    RecordReader(const SpillFile& file,
                 std::uint64_t begin,
                 std::uint64_t end,
                 const RecordShape& shape,
                 std::size_t bufferSize);

    /// Goes to the next record, after the properties of that before were moved.
    /// @return false after the last one
    [[nodiscard]] bool Next();

    [[nodiscard]] const Place& GetPlace() const noexcept { return m_place; }

    [[nodiscard]] std::size_t GetPropertySize() const noexcept { return m_propertySize; }

    /// Appends the properties of the record at hand.
    void MoveProperties(BlockWriter& out);

private:
    void Fill();

    const SpillFile* m_file;
    std::uint64_t m_next; ///< in the file, after what is in the buffer
    std::uint64_t m_end;
    RecordShape m_shape;
    std::size_t m_bufferSize;
    std::unique_ptr<char[]> m_buffer; // NOLINT(modernize-avoid-c-arrays): never initialised
    std::size_t m_position = 0;       ///< in the buffer
    std::size_t m_filled = 0;         ///< bytes in the buffer
    Place m_place;                    ///< of the record at hand
    std::size_t m_propertySize = 0;
};

} // namespace Orvane::FlatGeobuf
