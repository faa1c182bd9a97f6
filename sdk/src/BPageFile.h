// The file in which a disk-cached collection keeps the pages that left memory.
#pragma once

#include <Orvane/BFeaturePage.h>
#include <Orvane/BString.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

class QTemporaryFile;

namespace Orvane {

/// Where a page stands in the file, and the checksum that tells whether it is whole. A size of 0:
/// it was not written.
struct BPagePlace
{
    std::uint64_t offset = 0;
    std::uint64_t byteCount = 0;
    std::uint64_t checksum = 0;
};

/// A file of pages, written one after the other and read in any order.
///
/// The file is created by the first write, at the base name with a unique ending, and unlinked at
/// once where the system allows: nobody else can open it, and it disappears with this object or
/// with the process, however that ends. Its layout is for this process only.
class BPageFile
{
public:
    /// @param baseName path of the file but for ".XXXXXX"; empty: a name in the folder for
    ///     temporary files
    explicit BPageFile(const BString& baseName);
    ~BPageFile();
    BPageFile(const BPageFile&) = delete;
    BPageFile& operator=(const BPageFile&) = delete;

    /// Appends the page. After a throw the file holds what it held before.
    /// @throws BException("Could not create the disk cache file.", "BFeatureCollection::WritePage",
    ///     path and reason), BException("Could not write the disk cache file.",
    ///     "BFeatureCollection::WritePage", path and reason).
    [[nodiscard]] BPagePlace Write(const BFeaturePage& page, std::size_t pageIndex);

    /// Reads the page that was written to `place`.
    /// @throws BException("Could not read the disk cache file.", ...), BException("The disk cache
    ///     file is cut short.", ...), BException("The disk cache file is damaged.", ...), location
    ///     "BFeatureCollection::LoadPage", details path and page.
    [[nodiscard]] std::shared_ptr<BFeaturePage> Read(const BPagePlace& place,
                                                     std::size_t pageIndex);

    /// Bytes of memory that are held for reading and writing.
    [[nodiscard]] std::size_t GetByteSize() const noexcept { return m_buffer.GetCapacity(); }

private:
    void Create();
    [[nodiscard]] BString Describe(std::size_t pageIndex) const;
    [[nodiscard]] std::size_t
    IndexOf(const std::shared_ptr<const std::vector<BColumnInfo>>& columns);

    BString m_path;
    std::unique_ptr<QTemporaryFile> m_file;
    std::uint64_t m_end = 0;
    BPageArray<char> m_buffer;
    std::vector<std::shared_ptr<const std::vector<BColumnInfo>>> m_columnLists;
};

} // namespace Orvane
