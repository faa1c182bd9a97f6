// The fast way into a collection: rows value by value, or whole columns of rows.
#pragma once

#include <Orvane/BFeatureCollection.h>
#include <Orvane/BFeaturePage.h>
#include <Orvane/Export.h>

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Orvane {

/// Appends rows to a collection value by value, without making features: the fast way in.
///
/// Use: construct with the columns, then per row set the values in column order and `EndRow`. The
/// number of values set is the row's attribute count. `AbandonRow` drops the values set since the
/// last EndRow. Rows become visible in the collection with EndRow; the collection must not be
/// changed otherwise while an appender is in use, and must outlive it. Features that were handed
/// out may be used and changed meanwhile.
///
/// In a collection with a page consumer ending the first row of a page hands over the page before
/// it; what the consumer throws leaves EndRow or EndRows, and the row is not ended then.
///
/// In a disk-cached collection ending the first row of a page writes the page before it.
/// @throws BException, location "BFeatureCollection::WritePage", details file and reason: "Could
///     not create the disk cache file." or "Could not write the disk cache file."
///
/// After a throw of any operation the rows that were ended stay, and AbandonRow (or the appender's
/// destructor) drops the unfinished row.
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
    /// have values for the first columns alone: new pages have just those columns then, so that
    /// rows of very different lengths need memory for about the values that they have. Once it was
    /// called, it must be called for each row that has more values than the one before.
    /// @param valueCount at most GetColumnCount()
    void BeginRow(std::size_t valueCount);

    /// Sets the next attribute of the row; the method must fit the column's storage, and no more
    /// values may be set than there are columns.
    void AddInt32(std::int32_t value) { AddValue(BInt32Kind(), value); }

    void AddInt64(std::int64_t value) { AddValue(BInt64Kind(), value); }

    void AddDouble(double value) { AddValue(BDoubleKind(), value); }

    void AddFloat(float value) { AddValue(BFloatKind(), value); }

    void AddBoolean(bool value) { AddValue(BBooleanKind(), value); }

    /// Sets the next attribute of the row, of whatever storage, to null: the row has the attribute
    /// and no value for it. @throws std::bad_alloc.
    void AddNull()
    {
        assert(m_nextColumn < m_columnCount);
        BColumnData& column = m_columnData[m_nextColumn];
        column.SetNull(m_page->rowCount);
        VisitStorage(column.storage, [this, &column](auto kind) {
            if constexpr (kind.kIsText) {
                AddText({}, column.texts.encoding);
            } else {
                AddValue(kind, {});
            }
        });
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
            EndIrregularRow(kind, x, y, z, nameNumber);
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
            EndIrregularRow(kind, x, y, z, nameBytes, nameEncoding);
        }
    }

    /// Drops what was set since the last EndRow or EndRows.
    void AbandonRow() noexcept;

    /// Rows that are filled column by column.
    ///
    /// Entry r of `x`, `y` and `z` (null without Z) and entry firstRow + r of the array that a
    /// column's storage names belong to row r; they are not initialised. Texts are appended with
    /// TryAppendText and AppendText, one per row and column, in row order. A null is said with
    /// columns[c].SetNull(firstRow + r), and its entry is 0, false or an empty text.
    struct Rows
    {
        std::size_t count;
        std::size_t firstRow;
        double* x;
        double* y;
        double* z;
        BColumnData* columns;
    };

    /// Reserves capacity for that many more rows, up to the end of the page, so that arrays need
    /// not grow by copying themselves. Reserved memory costs nothing before it is written. The
    /// bytes of texts are not counted. @throws std::bad_alloc; nothing is lost then.
    void ReserveRows(std::size_t rows, bool hasZ);

    /// Makes the page that will follow the current one, so that its memory can be prefaulted
    /// (PrefaultMemory) while rows are added to the current page, also on another thread. Without a
    /// call it is made when it is needed.
    /// @param rows about how many are still to come; those that this page has no room for count
    /// @return the memory; it belongs to the page. Empty where nothing was made: there is such a
    ///     page already, none is needed, this one is less than half full, or pages go to a disk
    ///     cache.
    /// @throws std::bad_alloc; nothing is lost then.
    std::vector<std::span<std::byte>> PrepareNextPage(std::size_t rows);

    /// Begins rows between two rows. @param wanted at least 1; fewer are given when the page ends.
    /// @param hasZ whether rows may be of kind XYZ. Everything in the result is valid until rows
    /// are ended beyond its count or abandoned.
    [[nodiscard]] Rows BeginRows(std::size_t wanted, bool hasZ);

    /// Where rows to come will stand, so that they can be filled before they are begun, also on
    /// other threads while rows before them are ended: coordinates and numbers stay as they are
    /// written when BeginRows gives the same place later. Texts and nulls must wait until then.
    /// @param skip rows to come before them, all by BeginRows
    /// @param hasZ as for BeginRows
    /// @return `count` rows; none where memory might move until then: nothing is reserved for them
    ///     (ReserveRows; a page that follows another has what that one used), the page ends before
    ///     them, its texts are long, or pages go to a disk cache. Valid while rows are added by
    ///     BeginRows and EndRows alone, until the page has ended.
    [[nodiscard]] Rows FindRoom(std::size_t skip, std::size_t count, bool hasZ) noexcept;

    /// Ends the next `count` of the rows begun; all columns of the collection must have been
    /// filled for them. May be called for parts; what is not ended is dropped by AbandonRow.
    /// @param kinds an EPointKind per row. Coordinates that a kind does not have must be NaN.
    /// @param firstNameNumber names the first row; the rows after it count on.
    void EndRows(std::size_t count, const std::uint8_t* kinds, std::uint32_t firstNameNumber)
    {
        const bool isNext = firstNameNumber == m_nextNameNumber && m_nextColumn == 0 &&
                            !m_hasNameTexts && m_page->rowCount + count <= m_plainRows;
        if (isNext && ArePlain(kinds, count)) {
            m_page->rowCount += count;
            m_features.m_count += count;
            m_nextNameNumber += count;
        } else {
            EndIrregularRows(count, kinds, firstNameNumber);
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

    /// Sets the next attribute of the row in a column of that kind, which is no text.
    template <typename Kind>
    void AddValue(Kind kind, typename Kind::Value value)
    {
        auto& array = kind.ArrayOf(Column(Kind::kStorage));
        using Stored = typename std::remove_reference_t<decltype(array)>::Value;
        array.Append(static_cast<Stored>(value));
    }

    /// Whether all rows are of the page's plain kind.
    [[nodiscard]] bool ArePlain(const std::uint8_t* kinds, std::size_t count) const
    {
        return count == 0 || (*kinds == static_cast<std::uint8_t>(m_plainKind) &&
                              (count == 1 || std::memcmp(kinds, kinds + 1, count - 1) == 0));
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
    void EndIrregularRow(EPointKind kind, double x, double y, double z, std::uint32_t nameNumber);
    void EndIrregularRow(EPointKind kind,
                         double x,
                         double y,
                         double z,
                         std::string_view nameBytes,
                         ETextEncoding nameEncoding);
    void AppendIrregularPoint(EPointKind kind, double x, double y, double z);
    void SwitchToNameTexts();
    void FillRow();
    void FinishIrregularRow(std::size_t rows = 1);
    void
    EndIrregularRows(std::size_t count, const std::uint8_t* kinds, std::uint32_t firstNameNumber);
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
    std::shared_ptr<BFeaturePage> m_preparedPage; ///< the one after m_page, where it was made
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
    bool m_isPrepared = false;             ///< the page's memory was given away to be prefaulted
    bool m_hasGrown = false;               ///< texts of the current row made an array grow
    std::size_t m_begunEnd = 0;            ///< row after the last one of BeginRows
    std::vector<std::size_t> m_prefaulted; ///< values of each array that have their memory
};

} // namespace Orvane
