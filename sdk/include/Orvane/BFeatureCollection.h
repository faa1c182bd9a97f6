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
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Orvane {

class BFeatureAppender;

/// The ordered features of a layer.
///
/// Features are stored in pages of columns (BFeaturePage). BFeature objects are made when they are
/// asked for: GetAt of a row twice gives the same object while the first one is in use. A feature
/// whose values fit the page (a point or no geometry, the box of its point, attributes that are a
/// prefix of the page's columns in name and type) is stored by value; any other, and every feature
/// changed after it was handed out, is kept as an object beside the pages. Rows count from 0.
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
    /// Features still in use take their values with them.
    ~BFeatureCollection();
    BFeatureCollection(const BFeatureCollection&) = delete;
    BFeatureCollection& operator=(const BFeatureCollection&) = delete;

    [[nodiscard]] std::size_t GetCount() const noexcept { return m_count; }

    /// Appends the feature, which must stand free, and attaches it. After a throw the collection
    /// and the feature are as before.
    /// @throws BDataManagerException("BFeatureCollection::Add", "The feature belongs to a layer
    ///     already."), or ("BFeatureCollection::Add", "There is no feature to add.") for null.
    void Add(const BSharedPtr<BFeature>& feature);

    /// The feature of a row. @throws std::out_of_range "invalid vector subscript".
    [[nodiscard]] BSharedPtr<BFeature> GetAt(std::size_t row);

    /// Drops all features; those still in use take their values with them.
    void Clear();

    /// The box around all features' boxes. Computed on each call, by column.
    [[nodiscard]] BMBB GetMBB() const;

    /// The pages, in row order; together they hold GetCount() rows. Valid until the collection is
    /// changed.
    [[nodiscard]] std::size_t GetPageCount() const noexcept { return m_pages.size(); }

    /// @throws std::out_of_range "invalid vector subscript".
    [[nodiscard]] const BFeaturePage& GetPage(std::size_t pageIndex) const;
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

    struct PageEntry
    {
        std::size_t firstRow;
        std::shared_ptr<BFeaturePage> page;
    };

    [[nodiscard]] std::size_t FindPage(std::size_t row) const;
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
    std::vector<PageEntry> m_pages;
    mutable std::size_t m_pageHint = 0;
    /// Changes whenever a page that a handle may point to goes.
    std::uint64_t m_generation = 1;
    std::array<std::shared_ptr<BFeature>, kReadyHandles> m_ready;
    std::size_t m_nextReady = 0;
    std::unordered_map<std::size_t, BFeature*> m_handles; ///< handed out and not in m_ready
    std::unordered_map<std::size_t, std::shared_ptr<BFeature>> m_objects; ///< rows beside the pages
    std::unique_ptr<BFeatureAppender> m_adder; ///< stores the features of Add
    std::size_t m_misfits = 0;
    std::string m_scratch;
};

/// Appends rows to a collection value by value, without making features: the fast way in.
///
/// Use: construct with the columns, then per row set the values in column order and `EndRow`. The
/// number of values set is the row's attribute count. `AbandonRow` drops the values set since the
/// last EndRow. Rows become visible in the collection with EndRow; the collection must not be
/// changed otherwise while an appender is in use, and must outlive it. Features that were handed
/// out may be used and changed meanwhile.
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

    [[nodiscard]] std::size_t GetColumnCount() const noexcept { return m_columnCount; }

    /// Appends one more column; rows that exist have one attribute less than it. Copies the list
    /// of columns.
    void AddColumn(const BColumnInfo& column);

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

    /// Drops the attributes set since the last EndRow.
    void AbandonRow() noexcept;

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

    void GrowText(BTextArray& texts, std::string_view bytes, ETextEncoding encoding);
    void EndOddRow(EPointKind kind, double x, double y, double z, std::uint32_t nameNumber);
    void EndOddRow(EPointKind kind,
                   double x,
                   double y,
                   double z,
                   std::string_view nameBytes,
                   ETextEncoding nameEncoding);
    void AppendOddPoint(EPointKind kind, double x, double y, double z);
    void AppendNumberName(std::uint32_t nameNumber);
    void SwitchToNameTexts();
    void FillRow();
    void FinishOddRow();
    void UsePage(BFeaturePage& page) noexcept;
    void BeginPage();
    void UpdatePlain() noexcept;

    BFeatureCollection& m_features;
    std::shared_ptr<const std::vector<BColumnInfo>> m_columns;
    std::shared_ptr<BFeaturePage> m_newPage; ///< not in the collection before its first row ends
    BFeaturePage* m_page = nullptr;
    BColumnData* m_columnData = nullptr;
    std::size_t m_columnCount = 0;
    std::size_t m_nextColumn = 0;
    std::uint64_t m_nextNameNumber = kNoNumber;
    /// Rows below this one may be plain: of the page's one kind, with all attributes, and neither
    /// the first nor the last of the page.
    std::size_t m_plainRows = 0;
    EPointKind m_plainKind = EPointKind::None;
    bool m_hasNameTexts = false;
    bool m_isPageFull = false;
};

} // namespace Orvane
