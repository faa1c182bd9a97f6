// Pages of columns: how a layer's features are stored, and how they are read by column.
#pragma once

#include <Orvane/BColumnData.h>
#include <Orvane/BPageArray.h>
#include <Orvane/BString.h>
#include <Orvane/BTextArray.h>
#include <Orvane/BVariant.h>
#include <Orvane/Export.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Orvane {

/// Rows of one page whose names are consecutive numbers.
struct BNameRun
{
    std::uint32_t rowInPage;   ///< first row of the run
    std::uint32_t firstNumber; ///< its number; the next row has the next number
};

/// What one row of a page has for a geometry.
enum class EPointKind : std::uint8_t { None = 0, XY = 1, XYZ = 2 };

/// One page of a layer's features, column by column.
///
/// All arrays have one entry per row unless said otherwise; while an appender is in the middle of a
/// row they may have one more, so that `rowCount` alone says how many rows there are. Rows with
/// fewer attributes than columns have a prefix of them; the values after the prefix are 0 or
/// empty. A row without a value in one of its columns is null there: BColumnData::IsNull tells. A
/// row that was changed or that fits no column has placeholders here:
/// BFeatureCollection::GetObjectRow tells.
///
/// The box of a row is that of its point, empty without a point.
class ORVANE_SDK_EXPORT BFeaturePage
{
public:
    [[nodiscard]] std::size_t GetRowCount() const noexcept { return rowCount; }

    [[nodiscard]] EPointKind GetPointKind(std::size_t rowInPage) const noexcept
    {
        return pointKinds.IsEmpty() ? uniformPointKind : EPointKind{pointKinds[rowInPage]};
    }

    [[nodiscard]] std::size_t GetAttributeCount(std::size_t rowInPage) const noexcept
    {
        return attributeCounts.IsEmpty() ? columns->size() : attributeCounts[rowInPage];
    }

    /// The row's name: its text, or the decimal text of its number. The number's search is
    /// logarithmic in the page's name runs; one run is the usual case.
    [[nodiscard]] BString GetName(std::size_t rowInPage) const;
    /// The number of a row that is named by number.
    [[nodiscard]] std::uint32_t GetNameNumber(std::size_t rowInPage) const noexcept;

    [[nodiscard]] bool HasNameTexts() const noexcept { return hasNameTexts; }

    /// One value as a variant, None for a null; the column must be within the row's attribute
    /// count. Columns that are carried as text give Strings, dates and times as well.
    [[nodiscard]] inline BVariant GetValue(std::size_t rowInPage, std::size_t columnIndex) const;
    /// Bytes of memory that the page holds, what it has reserved included.
    [[nodiscard]] std::size_t GetByteSize() const noexcept;
    /// Frees the capacity that the arrays have reserved for rows to come.
    void ShrinkToFit() noexcept;

    std::size_t rowCount = 0;
    std::shared_ptr<const std::vector<BColumnInfo>> columns;
    std::vector<BColumnData> data; ///< one per column
    BPageArray<double> x;          ///< NaN where the point has no X, or there is no point
    BPageArray<double> y;
    BPageArray<double> z;                           ///< empty while no row of the page has a Z
    EPointKind uniformPointKind = EPointKind::None; ///< of all rows while pointKinds is empty
    BPageArray<std::uint8_t> pointKinds;
    BPageArray<std::uint32_t> attributeCounts; ///< empty while every row has all columns
    bool hasNameTexts = false;
    std::vector<BNameRun> nameRuns; ///< names by number, when hasNameTexts is false
    BTextArray nameTexts;           ///< names by text, when hasNameTexts is true
};

inline BVariant BFeaturePage::GetValue(std::size_t rowInPage, std::size_t columnIndex) const
{
    const BColumnData& column = data[columnIndex];
    if (column.IsNull(rowInPage)) {
        return {};
    }
    return VisitStorage(column.storage, [&column, rowInPage](auto kind) {
        return BVariant(kind.GetValue(column, rowInPage));
    });
}

} // namespace Orvane
