// The row loop: appends the rows of the pending lines to a layer.
#pragma once

#include "kernels/Kernels.h"
#include "layer/RowPlan.h"
#include "lines/BlockRows.h"
#include "lines/HeaderRule.h"
#include "lines/LineSource.h"
#include "text/Separator.h"

#include <Orvane/BFeatureCollection.h>
#include <Orvane/BProgress.h>
#include <Orvane/BString.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace AsciiReader {

/// What a row loop works with. Everything is kept by reference and must outlive the loop.
struct LayerFillContext
{
    LineSource& lines;
    HeaderRule& headerRule;
    const Separator& separator;
    const RowPlan& plan;
    Orvane::BFeatureCollection& features;
    Orvane::BProgress* progress; ///< null for none
    std::int32_t limit;          ///< most rows; 0 or less: no limit
    std::uint32_t& currentLine;  ///< line number of the last row, kept up to date
};

/// Fills a layer. Two paths:
///
/// - The fast path converts runs of regular rows column by column, where lines stand in a block of
///   bytes, fields are cut at one byte, and no header line can come. A regular row has a field for
///   every column; single lines between the runs use the slow path.
/// - The slow path reads, splits and converts row by row.
///
/// Both give the same layer, the same calls of the progress object and the same failures. The rules
/// that stand in both are listed in plugin/lines/README.md.
class LayerFill
{
public:
    enum class Result { EndOfData, LimitReached, Cancelled };

    explicit LayerFill(const LayerFillContext& context);

    /// @throws BException("Failed to parse feature # %d.", "AsciiFile::BuildLayer", <the line>) for
    ///     a row that cannot be converted; what LineSource::Next throws. Rows before it stay.
    Result Run();

private:
    enum class Step { Continue, EndOfData, LimitReached, Cancelled };

    Step AppendLine(SourceLine& line);
    void JoinOpenQuotes(SourceLine& line);
    [[nodiscard]] Step ReportProgress() const;

    // Lines of a block, by the positions of their separators and endings.
    Step AppendBlock();
    Step ConvertRegularRows();
    Step AppendBlockLine();
    Step CommitRows(const Orvane::BFeatureAppender::Rows& target);
    void RaiseWidths(std::size_t endedRows, const Orvane::BFeatureAppender::Rows& target);
    [[nodiscard]] std::string_view FieldAt(const Kernels::FieldRun& run, std::size_t row) const;
    void ConvertColumns(std::size_t rows, const Orvane::BFeatureAppender::Rows& target);
    [[nodiscard]] Kernels::FieldRun MakeRun(std::size_t fieldIndex, std::size_t rows);
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

    LayerFillContext m_context;
    Orvane::BFeatureAppender m_layer;
    SplitRow m_row;
    Orvane::BString m_joined;
    std::uint32_t m_lineNumber = 1;
    std::uint32_t m_featuresAdded = 0;

    const Kernels::Set& m_kernels;
    BlockRows m_rows;                   ///< not active: all rows go the slow path
    std::vector<RegularField> m_fields; ///< of a regular row
    bool m_hasZ = false;
    bool m_hasPoint = false;
    std::vector<std::uint32_t> m_fallbacks;
    std::vector<Kernels::DoubleColumn> m_tile;
    std::vector<Kernels::FallbackField> m_fallbackFields;
    std::vector<std::uint8_t> m_kinds;
    std::vector<double> m_doubles;
    std::vector<std::uint32_t> m_decimals; ///< of each field's last numbers
    std::vector<std::size_t> m_widths;     ///< longest text of each column, the last rows included
    std::string m_scratch;
    std::u16string m_widePart;
    std::u16string m_wideScratch;
};

} // namespace AsciiReader
