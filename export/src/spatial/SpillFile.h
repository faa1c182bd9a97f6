// A nameless file beside the output for what does not fit in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace Orvane {

/// Bytes on the disk that go with the object or with the process: the file loses its name at once.
///
/// Used by one thread at a time. All failures are WriteFailure with the system's reason.
class SpillFile
{
public:
    /// @param folder absolute; must exist
    explicit SpillFile(const std::filesystem::path& folder);
    ~SpillFile();
    SpillFile(SpillFile&& other) noexcept;
    SpillFile& operator=(SpillFile&& other) = delete;
    SpillFile(const SpillFile&) = delete;
    SpillFile& operator=(const SpillFile&) = delete;

    /// @param offset in bytes; what lies before it need not be written yet
    void Write(const void* bytes, std::size_t byteCount, std::uint64_t offset) const;
    /// Reads that many bytes, which must have been written.
    void Read(void* bytes, std::size_t byteCount, std::uint64_t offset) const;

private:
    int m_descriptor = -1;
};

} // namespace Orvane
