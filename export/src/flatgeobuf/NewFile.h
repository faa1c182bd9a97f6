// A file that is made and written at any place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

namespace Orvane::FlatGeobuf {

/// A new file, open for writing. One thread. Failures are WriteFailure with the system's reason;
/// the file stays then, as it is.
class NewFile
{
public:
    /// @param path absolute; must not exist
    explicit NewFile(const std::filesystem::path& path);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// @param offset in bytes; what lies before it need not be written yet
    void Write(const void* bytes, std::size_t byteCount, std::uint64_t offset) const;

    /// Once, after the last Write.
    void Close();

private:
    int m_descriptor = -1;
};

} // namespace Orvane::FlatGeobuf
