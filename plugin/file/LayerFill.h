// The row loop: appends the rows of the pending lines to a layer.
#pragma once

#include "file/ColumnConverter.h"
#include "file/SharedRows.h"
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
#include <memory>
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
    SharingRule sharing;
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
///
/// Several threads share the fast path where a block's rows are worth it. This thread finds the
/// runs of regular rows; the threads convert them, in the memory where the layer will have them as
/// far as that is there, and one of them reads the next block meanwhile; this thread ends the rows
/// in the layer, run by run in the order of the file, and calls the progress object. Before a line
/// goes the slow path, and at the end of a block, everything that was found before is appended. So
/// nothing that a host sees depends on the number of threads. They start with the first block that
/// is worth it and end with the loop.
class LayerFill
{
public:
    enum class Result { EndOfData, LimitReached, Cancelled };

    explicit LayerFill(const LayerFillContext& context);
    /// Ends the threads.
    ~LayerFill();
    LayerFill(const LayerFill&) = delete;
    LayerFill& operator=(const LayerFill&) = delete;

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
    template <typename Pass>
    Step CommitRows(const Orvane::BFeatureAppender::Rows& target,
                    const ColumnConverter& converter,
                    const std::uint8_t* kinds,
                    bool isWholeRun,
                    const Pass& pass);
    template <typename Pass>
    Step CommitOneByOne(const Orvane::BFeatureAppender::Rows& target,
                        const ColumnConverter& converter,
                        const std::uint8_t* kinds,
                        bool isWholeRun,
                        const Pass& pass);
    void RaiseWidths(const Orvane::BFeatureAppender::Rows& target,
                     const ColumnConverter& converter,
                     std::size_t endedRows,
                     bool isWholeRun);

    // The same with other threads.
    void BeginSharing();
    [[nodiscard]] bool IsShared() const;
    Step ShareRows();
    Step AppendFirstShared();
    Step AppendAllShared();
    void PrepareMemory();

    LayerFillContext m_context;
    Orvane::BFeatureAppender m_layer;
    SplitRow m_row;
    Orvane::BString m_joined;
    std::uint32_t m_lineNumber = 1;
    std::uint32_t m_featuresAdded = 0;

    BlockRows m_rows; ///< not active: all rows go the slow path
    ColumnConverter m_converter;

    // Last: threads may use all of the above.
    class NextBlock;
    class NextPage;
    std::unique_ptr<NextBlock> m_nextBlock;
    std::unique_ptr<NextPage> m_nextPage;
    std::size_t m_expectedRows = 0;       ///< about how many the layer will have of this read
    std::unique_ptr<SharedRows> m_shared; ///< null: this thread does it all
};

} // namespace AsciiReader
