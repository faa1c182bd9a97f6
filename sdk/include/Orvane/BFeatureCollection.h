// The features of a layer: a list of features over pages of columns.
#pragma once

#include <Orvane/BFeature.h>
#include <Orvane/BFeaturePage.h>
#include <Orvane/BSharedPtr.h>
#include <Orvane/Export.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Orvane {

class BFeatureAppender;
class BPageFile;

/// The ordered features of a layer.
///
/// Features are stored in pages of columns (BFeaturePage). BFeature objects are made on demand:
/// GetAt of a row twice gives the same object while the first one is in use. A feature whose values
/// fit the page (a point or no geometry, the box of its point, attributes that are a prefix of the
/// page's columns in name and type, or None where the page has the column) is stored by value; any
/// other, and every feature changed after it was handed out, is kept as an object beside the pages.
/// Rows count from 0.
///
/// A disk-cached collection keeps its last page, a few pages more and the rows kept as objects in
/// memory, and all pages but the last in a file; see the constructor. Pages are written once, when
/// the page after them begins.
///
/// A collection with a page consumer keeps its last page alone and hands over the others; see
/// SetPageConsumer.
///
/// Memory: the columns' own widths, 16 bytes for a position, 8 more where a page has heights; names
/// that are consecutive numbers cost nothing. Adding allocates nothing per row.
///
/// Used by one thread at a time, together with all features it handed out.
class ORVANE_SDK_EXPORT BFeatureCollection
{
public:
    /// Rows of a full page of a collection in memory.
    static constexpr std::size_t kPageRows = 65536;

    /// @param pageRows rows of a full page, at least 1
    explicit BFeatureCollection(std::size_t pageRows = kPageRows);
    /// A disk-cached collection. Its file is made when the first page is written, at the base name
    /// with a unique ending, and is unlinked at once where the system allows, so that it disappears
    /// with the collection or with the process. A page of about 16 MiB is ended early.
    /// @param diskCacheBaseName path of the file but for the ending; empty: a name in the folder
    ///     for temporary files
    /// @param pageRows rows of a full page, at least 1
    BFeatureCollection(const BString& diskCacheBaseName, std::size_t pageRows);
    /// Features still in use keep their values; one whose page cannot be read any more stands free
    /// with the values that were read of it before.
    ~BFeatureCollection();
    BFeatureCollection(const BFeatureCollection&) = delete;
    BFeatureCollection& operator=(const BFeatureCollection&) = delete;

    [[nodiscard]] std::size_t GetCount() const noexcept { return m_count; }

    /// Appends the feature, which must stand free, and attaches it. After a throw the collection
    /// and the feature are as before.
    /// @throws BDataManagerException("BFeatureCollection::Add", "The feature belongs to a layer
    ///     already."), or ("BFeatureCollection::Add", "There is no feature to add.") for null; what
    ///     WritePage throws (see BFeatureAppender).
    void Add(const BSharedPtr<BFeature>& feature);

    /// The feature of a row. A page that left memory is loaded when a getter of the feature needs
    /// it.
    /// @throws std::out_of_range "invalid vector subscript".
    [[nodiscard]] BSharedPtr<BFeature> GetAt(std::size_t row);

    /// Drops all features; those still in use keep their values. @throws as LoadPage when the
    /// values of one in use cannot be read; nothing is dropped then.
    void Clear();

    /// Receives the pages of a collection one after the other; see SetPageConsumer.
    /// @param page whole, and the consumer's alone from now on: it may be kept, changed or given to
    ///     another thread
    /// @param firstRow row of the page's first feature, counted from 0 over all rows ever added
    using PageConsumer =
        std::function<void(std::shared_ptr<BFeaturePage> page, std::size_t firstRow)>;

    /// Hands pages over instead of keeping them, so that rows of any number pass through bounded
    /// memory: a page goes to the consumer as soon as it is complete, that is when the first row of
    /// the next page ends, and then leaves the collection. GetCount and GetMBB still count its
    /// rows; GetAt and GetObjectRow treat them like rows that are not there. Nothing is written to
    /// a disk cache.
    ///
    /// During its call the consumer may read the collection, in which the page is still the last
    /// one (rows that stand as objects: GetObjectRow), but must not change it or keep features of
    /// it. What it throws leaves the operation that has completed the page; the page stays, and is
    /// offered again with the next row or FlushPages. Features in use of a page that was handed
    /// over keep their values and stand free again.
    ///
    ///     features.SetPageConsumer([&](std::shared_ptr<BFeaturePage> page, std::size_t firstRow) {
    ///         WriteRows(*page, firstRow);
    ///     });
    ///     FillWithAppender(features);
    ///     features.FlushPages();
    ///
    /// @param consumer empty: pages are kept again
    /// @throws BDataManagerException("BFeatureCollection::SetPageConsumer", "The collection has
    ///     features already.") unless the collection is empty; Clear makes it so.
    void SetPageConsumer(PageConsumer consumer);

    /// Hands the last page over, complete or not. Does nothing without a consumer or without rows
    /// to hand over. No appender may be in use: it goes before, another one may be made after.
    /// @throws what the consumer throws; the page stays then.
    void FlushPages();

    /// The box around all features' boxes. Computed on each call, by column; for the pages on disk
    /// it is known from when they were written, unless a row of them was changed since.
    /// @throws as LoadPage.
    [[nodiscard]] BMBB GetMBB() const;

    /// The pages, in row order; together they hold GetCount() rows.
    [[nodiscard]] std::size_t GetPageCount() const noexcept { return m_pages.size(); }

    /// A page, valid until the collection is changed and, when it is disk-cached, until the next
    /// call that may load a page: of this operation, of LoadPage, or of a getter of a feature.
    /// @throws std::out_of_range "invalid vector subscript"; as LoadPage.
    [[nodiscard]] const BFeaturePage& GetPage(std::size_t pageIndex) const;
    /// A page that stays whole as long as it is held, also when the collection goes. The last page
    /// may still grow meanwhile.
    /// @throws std::out_of_range "invalid vector subscript"; for a page on disk BException,
    ///     location "BFeatureCollection::LoadPage", details file and page: "Could not read the disk
    ///     cache file.", "The disk cache file is cut short." or "The disk cache file is damaged."
    ///     Other pages can be loaded after it, and this one when the file has been mended.
    [[nodiscard]] std::shared_ptr<const BFeaturePage> LoadPage(std::size_t pageIndex) const;
    /// Row of the page's first feature. @throws std::out_of_range "invalid vector subscript".
    [[nodiscard]] std::size_t GetFirstRow(std::size_t pageIndex) const;
    /// The object of a row that is kept beside the pages, null for a row that the pages hold.
    /// Constant cost. @throws std::out_of_range "invalid vector subscript".
    [[nodiscard]] const BFeature* GetObjectRow(std::size_t row) const;

    /// How many rows are kept as objects.
    [[nodiscard]] std::size_t GetObjectRowCount() const noexcept { return m_objects.size(); }

    /// Bytes of memory that pages and kept objects hold, about. Linear in pages and objects.
    [[nodiscard]] std::size_t GetByteSize() const;
    /// Frees the capacity that the last page has reserved for rows to come.
    void ShrinkToFit();

private:
    friend class BFeature;
    friend class BFeatureAppender;

    /// Handles that are kept for reuse: a visit that holds no more than these allocates nothing.
    static constexpr std::size_t kReadyHandles = 4;
    /// Consecutive rows that do not fit the page before a page with other columns is begun.
    static constexpr std::size_t kMaxMisfits = 16;

    /// Bytes of written pages that stay in memory, as long as they are more than one.
    static constexpr std::size_t kCacheBytes = std::size_t{8} << 20;
    static constexpr std::size_t kCachePages = 64;

    struct PageEntry
    {
        std::size_t firstRow = 0;
        std::shared_ptr<BFeaturePage> page; ///< null while the page is on disk only
        std::uint64_t lastUse = 0;
        std::uint64_t offset = 0;    ///< in the file
        std::uint64_t byteCount = 0; ///< in the file; 0: the page was not written
        std::uint64_t checksum = 0;
    };

    [[nodiscard]] std::size_t FindPage(std::size_t row) const;
    /// The last page is complete, another begins: a consumer gets it, a disk-cached collection
    /// writes it unless it was written already.
    void EndLastPage();
    void HandOverLastPage();
    void WriteLastPage();
    /// @throws std::out_of_range "invalid vector subscript" for a row that is not there, or not any
    /// more.
    void CheckRow(std::size_t row) const;
    /// Drops pages from memory, the least recently used first, until one of that size fits.
    void MakeRoom(std::size_t byteCount) const;
    void KeepResident(std::size_t pageIndex, std::shared_ptr<BFeaturePage> page) const;
    void IncludePage(std::size_t pageIndex, const BFeaturePage& page, BMBB& box) const;
    /// Reads the values of the features in use of the rows before `endRow`; the first failure is
    /// thrown when all were tried.
    void ReadHeld(std::size_t endRow);
    [[nodiscard]] std::shared_ptr<BFeature> FindHandle(std::size_t row);
    [[nodiscard]] std::shared_ptr<BFeature> MakeHandle(std::size_t row);
    /// Points the handle at its row's page. @throws as LoadPage.
    void Bind(const BFeature& feature) const;
    /// Keeps the handle so that GetAt finds it again, in place of the oldest one kept ready.
    void List(const std::shared_ptr<BFeature>& feature);
    void Unlist(BFeature& feature) noexcept;
    void KeepObject(BFeature& feature);
    /// The feature is being destroyed.
    void Forget(BFeature& feature) noexcept;
    /// Lets go of all handles and objects of the rows before `endRow`.
    void Detach(std::size_t endRow) noexcept;
    /// Makes the last page ready for the feature's attributes. @return whether they fit it.
    [[nodiscard]] bool PrepareColumns(const BFeature& feature);
    /// Whether all but the attributes can be stored by value.
    [[nodiscard]] static bool FitsRow(const BFeature& feature);
    void AppendValues(const BFeature& feature);
    void AppendPlaceholder(const BFeature& feature);

    std::size_t m_pageRows;
    std::size_t m_count = 0;
    PageConsumer m_pageConsumer;
    std::size_t m_handedRows = 0; ///< rows whose pages were handed over
    mutable std::vector<PageEntry> m_pages;
    mutable std::size_t m_pageHint = 0;
    /// Changes whenever a page that a handle may point to leaves memory.
    mutable std::uint64_t m_generation = 1;
    std::array<std::shared_ptr<BFeature>, kReadyHandles> m_ready;
    std::size_t m_nextReady = 0;
    std::unordered_map<std::size_t, BFeature*> m_handles; ///< handed out and not in m_ready
    std::unordered_map<std::size_t, std::shared_ptr<BFeature>> m_objects; ///< rows beside the pages
    std::unique_ptr<BFeatureAppender> m_adder; ///< stores the features of Add
    std::size_t m_misfits = 0;
    std::string m_scratch;

    BString m_diskCacheBaseName;
    std::unique_ptr<BPageFile> m_file;            ///< null for a collection in memory
    mutable std::vector<std::size_t> m_residents; ///< written pages that are in memory too
    mutable std::size_t m_residentBytes = 0;
    mutable std::uint64_t m_clock = 0;
    /// Around the rows of the written pages but for the objects, and of the pages handed over.
    mutable BMBB m_writtenBox;
    mutable bool m_isWrittenBoxKnown = true;
};

} // namespace Orvane

// Whoever fills a collection needs its appender.
#include <Orvane/BFeatureAppender.h>
