// The features of a layer: a list of features over pages of columns.
#pragma once

#include <Orvane/BFeature.h>
#include <Orvane/BFeaturePage.h>
#include <Orvane/BSharedPtr.h>
#include <Orvane/Export.h>

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Orvane {

class BFeatureAppender;
class BPageFile;

/// The ordered features of a layer.
///
/// Features are stored in pages of columns (BFeaturePage). BFeature objects are made when they are
/// asked for: GetAt of a row twice gives the same object while the first one is in use. A feature
/// whose values fit the page (a point or no geometry, the box of its point, attributes that are a
/// prefix of the page's columns in name and type) is stored by value; any other, and every feature
/// changed after it was handed out, is kept as an object beside the pages. Rows count from 0.
///
/// A disk-cached collection keeps its last page, a few pages more and the rows kept as objects in
/// memory, and all pages but the last in a file; see the constructor. Pages are written once, when
/// the page after them begins.
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
    /// with a unique ending, and loses its name at once where the system allows, so that it goes
    /// with the collection or with the process. A page of about 16 MiB is
    /// ended early.
    /// @param diskCacheBaseName path of the file but for the ending; empty: a name in the folder
    /// for
    ///     temporary files
    /// @param pageRows rows of a full page, at least 1
    BFeatureCollection(const BString& diskCacheBaseName, std::size_t pageRows);
    /// Features still in use take their values with them; one whose page can't be read any more
    /// stands free with the values that were read of it before.
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

    /// Drops all features; those still in use take their values with them. @throws as LoadPage when
    /// the values of one in use can't be read; nothing is dropped then.
    void Clear();

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
    /// still takes rows meanwhile.
    /// @throws std::out_of_range "invalid vector subscript"; for a page on disk BException,
    /// location
    ///     "BFeatureCollection::LoadPage", details file and page: "Could not read the disk cache
    ///     file.", "The disk cache file is cut short." or "The disk cache file is damaged." Other
    ///     pages can be loaded after it, and this one when the file has been mended.
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
    /// Gives back what the last page has reserved for rows to come.
    void ShrinkToFit();

private:
    friend class BFeature;
    friend class BFeatureAppender;

    /// Handles that are kept ready: a visit that holds no more than these allocates nothing.
    static constexpr std::size_t kReadyHandles = 4;
    /// Rows in a row that do not fit the page before a page with other columns is begun.
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
    /// Writes the last page of a disk-cached collection before another begins; a page that was
    /// written already is left alone.
    void WriteLastPage();
    /// Lets pages go, the longest unused first, until one of that size fits the cache.
    void MakeRoom(std::size_t byteCount) const;
    void KeepResident(std::size_t pageIndex, std::shared_ptr<BFeaturePage> page) const;
    void IncludePage(std::size_t pageIndex, const BFeaturePage& page, BMBB& box) const;
    /// Reads the values of all features in use; the first failure is thrown when all were tried.
    void ReadHeld();
    [[nodiscard]] std::shared_ptr<BFeature> FindHandle(std::size_t row);
    [[nodiscard]] std::shared_ptr<BFeature> MakeHandle(std::size_t row);
    /// Points the handle at its row's page. @throws as LoadPage.
    void Bind(const BFeature& feature) const;
    /// Keeps the handle where it is found again; the oldest kept one makes room.
    void List(const std::shared_ptr<BFeature>& feature);
    void Unlist(BFeature& feature) noexcept;
    void KeepObject(BFeature& feature);
    /// The feature is at its end.
    void Forget(BFeature& feature) noexcept;
    void DetachAll() noexcept;
    /// Makes the last page ready for the feature's attributes. @return whether they fit it.
    [[nodiscard]] bool PrepareColumns(const BFeature& feature);
    /// Whether all but the attributes can be stored by value.
    [[nodiscard]] static bool FitsRow(const BFeature& feature);
    void AppendValues(const BFeature& feature);
    void AppendPlaceholder(const BFeature& feature);

    std::size_t m_pageRows;
    std::size_t m_count = 0;
    mutable std::vector<PageEntry> m_pages;
    mutable std::size_t m_pageHint = 0;
    /// Changes whenever a page that a handle may point to goes.
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
    mutable BMBB m_writtenBox; ///< around the rows of the written pages but for the objects
    mutable bool m_isWrittenBoxKnown = true;
};

/// Appends rows to a collection value by value, without making features: the fast way in.
///
/// Use: construct with the columns, then per row set the values in column order and `EndRow`. The
/// number of values set is the row's attribute count. `AbandonRow` drops the values set since the
/// last EndRow. Rows become visible in the collection with EndRow; the collection must not be
/// changed otherwise while an appender is in use, and must outlive it. Features that were handed
/// out may be used and changed meanwhile.
///
/// In a disk-cached collection ending the first row of a page writes the page before it.
/// @throws BException, location "BFeatureCollection::WritePage", details file and reason: "Could
/// not
///     create the disk cache file." or "Could not write the disk cache file."
///
/// After a throw of any operation the rows that were ended stay, and AbandonRow (or the appender's
/// end) drops what the unfinished row has left.
///
///     BFeatureAppender appender(layer->GetFeatures(), columns);
///     appender.AddInt32(7);
///     appender.AddText("seven", ETextEncoding::Ascii);
///     appender.EndRow(EPointKind::XY, 1.5, 2.5, 0, 1);
class ORVANE_SDK_EXPORT BFeatureAppender
{
public:
    /// @param columns the columns of the rows to come. When the collection's last page has other
    ///     columns, a new page is begun.
    BFeatureAppender(BFeatureCollection& features, std::vector<BColumnInfo> columns);
    ~BFeatureAppender();
    BFeatureAppender(const BFeatureAppender&) = delete;
    BFeatureAppender& operator=(const BFeatureAppender&) = delete;

    [[nodiscard]] std::size_t GetColumnCount() const noexcept { return m_columns->size(); }

    /// Appends one more column; rows that exist have one attribute less than it. Copies the list
    /// of columns.
    void AddColumn(const BColumnInfo& column);
    /// The same for several columns, at the cost of one. Best called between two rows: a page of
    /// many rows is ended then instead of being widened.
    void AddColumns(std::span<const BColumnInfo> added);

    /// Says, between two rows, how many values the next row has at most. Only needed where rows
    /// have values for the first columns alone: pages begin then that have just those columns, so
    /// that rows of very different lengths take memory for about what they have. Once it was
    /// called, it must be called for each row that has more values than the one before.
    /// @param valueCount at most GetColumnCount()
    void BeginRow(std::size_t valueCount);

    /// Sets the next attribute of the row; the method must fit the column's storage, and no more
    /// values may be set than there are columns.
    void AddInt32(std::int32_t value) { Column(EColumnStorage::Int32).int32s.Append(value); }

    void AddInt64(std::int64_t value) { Column(EColumnStorage::Int64).int64s.Append(value); }

    void AddDouble(double value) { Column(EColumnStorage::Double).doubles.Append(value); }

    void AddFloat(float value) { Column(EColumnStorage::Float).floats.Append(value); }

    void AddBoolean(bool value)
    {
        Column(EColumnStorage::Boolean).booleans.Append(static_cast<std::uint8_t>(value ? 1 : 0));
    }

    /// @throws as AppendText.
    void AddText(std::string_view bytes, ETextEncoding encoding)
    {
        BTextArray& texts = Column(EColumnStorage::Text).texts;
        if (!TryAppendText(texts, bytes, encoding)) {
            GrowText(texts, bytes, encoding);
        }
    }

    /// Ends the row. `kind` None ignores the coordinates, XY ignores z.
    void EndRow(EPointKind kind, double x, double y, double z, std::uint32_t nameNumber)
    {
        if (nameNumber == m_nextNameNumber && IsPlainRow(kind)) {
            AppendPlainPoint(kind, x, y, z);
            ++m_nextNameNumber;
            FinishPlainRow();
        } else {
            EndOddRow(kind, x, y, z, nameNumber);
        }
    }

    /// The same with a text for a name. A canonical decimal number of 32 bits, as "7" but not "07",
    /// is stored as its number while the page has no other texts for names.
    void EndRow(EPointKind kind,
                double x,
                double y,
                double z,
                std::string_view nameBytes,
                ETextEncoding nameEncoding)
    {
        if (m_hasNameTexts && IsPlainRow(kind) &&
            TryAppendText(m_page->nameTexts, nameBytes, nameEncoding)) {
            AppendPlainPoint(kind, x, y, z);
            FinishPlainRow();
        } else {
            EndOddRow(kind, x, y, z, nameBytes, nameEncoding);
        }
    }

    /// Drops what was set since the last EndRow or EndRows.
    void AbandonRow() noexcept;

    /// Room for rows that are filled column by column.
    ///
    /// Entry r of `x`, `y` and `z` (null without Z) and entry firstRow + r of the array that a
    /// column's storage names belong to row r; they are not initialised. Texts are appended with
    /// TryAppendText and AppendText, one a row and column, in row order.
    struct Rows
    {
        std::size_t count;
        std::size_t firstRow;
        double* x;
        double* y;
        double* z;
        BColumnData* columns;
    };

    /// Makes room for about that many rows more, so far as the page takes them, so that arrays need
    /// not grow by copying themselves. Only what is used of it takes memory. Texts' bytes are not
    /// counted. @throws std::bad_alloc; nothing is lost then.
    void ReserveRows(std::size_t rows, bool hasZ);

    /// Begins rows between two rows. @param wanted at least 1; fewer are given when the page ends.
    /// @param hasZ whether rows may be of kind XYZ. Everything in the result is valid until rows
    /// are ended beyond its count or abandoned.
    [[nodiscard]] Rows BeginRows(std::size_t wanted, bool hasZ);

    /// Ends the next `count` of the rows begun; all columns of the collection must have been
    /// filled for them. May be called for parts; what is not ended is dropped by AbandonRow.
    /// @param kinds an EPointKind a row. Coordinates that a kind does not have must be NaN.
    /// @param firstNameNumber names the first row; the rows behind it count on.
    void EndRows(std::size_t count, const std::uint8_t* kinds, std::uint32_t firstNameNumber)
    {
        bool isPlain = firstNameNumber == m_nextNameNumber && m_nextColumn == 0 &&
                       !m_hasNameTexts && m_page->rowCount + count <= m_plainRows;
        for (std::size_t row = 0; row < count && isPlain; ++row) {
            isPlain = kinds[row] == static_cast<std::uint8_t>(m_plainKind);
        }
        if (isPlain) {
            m_page->rowCount += count;
            m_features.m_count += count;
            m_nextNameNumber += count;
        } else {
            EndOddRows(count, kinds, firstNameNumber);
        }
    }

private:
    friend class BFeatureCollection;

    /// Stands for "no number": the next row's name begins a run or is a text.
    static constexpr std::uint64_t kNoNumber = std::numeric_limits<std::uint64_t>::max();

    struct ForCollection
    {};

    BFeatureAppender(BFeatureCollection& features,
                     std::shared_ptr<const std::vector<BColumnInfo>> columns,
                     ForCollection tag);

    BColumnData& Column([[maybe_unused]] EColumnStorage storage) noexcept
    {
        assert(m_nextColumn < m_columnCount && m_columnData[m_nextColumn].storage == storage);
        return m_columnData[m_nextColumn++];
    }

    [[nodiscard]] bool IsPlainRow(EPointKind kind) const noexcept
    {
        return kind == m_plainKind && m_nextColumn == m_columnCount &&
               m_page->rowCount < m_plainRows;
    }

    void AppendPlainPoint(EPointKind kind, double x, double y, double z)
    {
        constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
        m_page->x.Append(kind == EPointKind::None ? kNaN : x);
        m_page->y.Append(kind == EPointKind::None ? kNaN : y);
        if (kind == EPointKind::XYZ) {
            m_page->z.Append(z);
        }
    }

    void FinishPlainRow() noexcept
    {
        ++m_page->rowCount;
        ++m_features.m_count;
        m_nextColumn = 0;
    }

    /// Whether the page has grown too large for the disk cache and ends with the row; adds up the
    /// sizes of all columns.
    [[nodiscard]] bool IsFull() const noexcept;
    void GrowText(BTextArray& texts, std::string_view bytes, ETextEncoding encoding);
    void EndOddRow(EPointKind kind, double x, double y, double z, std::uint32_t nameNumber);
    void EndOddRow(EPointKind kind,
                   double x,
                   double y,
                   double z,
                   std::string_view nameBytes,
                   ETextEncoding nameEncoding);
    void AppendOddPoint(EPointKind kind, double x, double y, double z);
    void SwitchToNameTexts();
    void FillRow();
    void FinishOddRow(std::size_t rows = 1);
    void EndOddRows(std::size_t count, const std::uint8_t* kinds, std::uint32_t firstNameNumber);
    [[nodiscard]] std::shared_ptr<const std::vector<BColumnInfo>>
    GetFirstColumns(std::size_t count) const;
    void BeginPage(const std::shared_ptr<const std::vector<BColumnInfo>>& columns);
    void WidenPage(const std::shared_ptr<const std::vector<BColumnInfo>>& columns);
    void UsePage(BFeaturePage& page) noexcept;
    void UpdateRowLimit() noexcept;
    void UpdatePlain() noexcept;

    BFeatureCollection& m_features;
    /// All columns; a page has them, or the first ones of them.
    std::shared_ptr<const std::vector<BColumnInfo>> m_columns;
    std::shared_ptr<BFeaturePage> m_newPage; ///< not in the collection before its first row ends
    BFeaturePage* m_page = nullptr;
    BColumnData* m_columnData = nullptr;
    std::size_t m_columnCount = 0; ///< of the page
    std::size_t m_nextColumn = 0;
    std::size_t m_values = 0;       ///< about how many the rows of the page have, and
    std::size_t m_placeholders = 0; ///< how many they lack
    std::size_t m_rowLimit = 0;     ///< rows at which the page is full
    std::uint64_t m_nextNameNumber = kNoNumber;
    /// Rows below this one may be plain: of the page's one kind, with all attributes, and neither
    /// the first nor the last of the page.
    std::size_t m_plainRows = 0;
    EPointKind m_plainKind = EPointKind::None;
    bool m_hasNameTexts = false;
    bool m_isPageFull = false;
    bool m_hasGrown = false;               ///< texts of the row at hand took more memory
    std::size_t m_begunEnd = 0;            ///< behind the last row of BeginRows
    std::vector<std::size_t> m_prefaulted; ///< values of each array that have their memory
};

} // namespace Orvane
