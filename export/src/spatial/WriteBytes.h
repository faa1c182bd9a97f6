// Whole ranges of bytes into a file, whatever the system does at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Orvane {

/// Writes all bytes to that place of an open file; what lies before it need not be written yet.
/// @param descriptor open for writing @param offset in bytes
/// @return 0, or the system's error; some of the bytes may be written then
[[nodiscard]] int
WriteBytes(int descriptor, const void* bytes, std::size_t byteCount, std::uint64_t offset) noexcept;

} // namespace Orvane
