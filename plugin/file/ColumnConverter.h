// Converts regular rows to values, column by column.
#pragma once

#include "kernels/Kernels.h"
#include "layer/RowPlan.h"
#include "lines/BlockRows.h"

#include <Orvane/BFeatureAppender.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace AsciiReader {

/// The fast path's conversion: what fields of a run of regular rows are worth. What it learns from
/// run to run (how many decimals a column has, how long its texts are) changes its speed alone.
///
/// Used by one thread at a time; converters of one plan may be used by several.
class ColumnConverter
{
public:
    /// @param plan kept by reference
    explicit ColumnConverter(const RowPlan& plan);

    [[nodiscard]] bool HasZ() const noexcept { return m_hasZ; }

    /// Converts the first rows of a run, as many as the target has.
    /// @param target its arrays are written from its first row on, but for texts
    /// @param texts the columns that texts are appended to
    void Convert(const RowRun& run,
                 const Orvane::BFeatureAppender::Rows& target,
                 Orvane::BColumnData* texts);

    /// The kinds of point (EPointKind) of the rows that were converted last.
    [[nodiscard]] const std::uint8_t* GetKinds() const noexcept { return m_kinds.data(); }

    /// The length in UTF-16 units of the longest text of a column so far, or more: the plan's width
    /// of it when the converter was made.
    [[nodiscard]] std::size_t GetWidth(std::size_t columnIndex) const
    {
        return m_widths[columnIndex];
    }

private:
    [[nodiscard]] Kernels::FieldRun MakeFields(std::size_t fieldIndex, std::size_t rows);
    [[nodiscard]] std::string_view FieldAt(const Kernels::FieldRun& run, std::size_t row) const;
    void ConvertCoordinate(const Kernels::FieldRun& run, RegularField::Kind kind, double* out);
    [[nodiscard]] std::size_t CountTileColumns(std::size_t field) const;
    void ConvertTile(const Kernels::FieldRun& run,
                     std::size_t field,
                     std::size_t count,
                     const Orvane::BFeatureAppender::Rows& target);
    void ConvertDoubles(const Kernels::FieldRun& run, double* out);
    void
    ConvertTexts(const Kernels::FieldRun& run, std::size_t columnIndex, Orvane::BTextArray& texts);
    std::size_t AppendTextByRules(std::string_view part, Orvane::BTextArray& texts);

    const RowPlan& m_plan;
    const std::vector<RegularField>& m_fields; ///< of a regular row
    const Kernels::Set& m_kernels;
    bool m_hasX = false;
    bool m_hasY = false;
    bool m_hasZ = false;
    RowRun m_run{};
    std::vector<std::uint32_t> m_fallbacks;
    std::vector<Kernels::DoubleColumn> m_tile;
    std::vector<Kernels::FallbackField> m_fallbackFields;
    std::vector<std::uint8_t> m_kinds;
    std::vector<double> m_doubles;
    std::vector<std::uint32_t> m_decimals; ///< of each field's last numbers
    std::vector<std::size_t> m_widths;     ///< of each column
    std::string m_scratch;
    std::u16string m_widePart;
    std::u16string m_wideScratch;
};

} // namespace AsciiReader
