// The row loop: appends the rows of the pending lines to a layer.
#include "file/LayerFill.h"

#include "text/ValueRules.h"

#include <Orvane/BException.h>

#include <algorithm>
#include <cstddef>
#include <new>
#include <span>
#include <utility>

namespace AsciiReader {

using Orvane::BException;
using Orvane::BString;

namespace {

/// Text of a run, beyond which it is not shared: memory would be held for it in each place of the
/// ring.
constexpr std::size_t kMostRunBytes = std::size_t{1} << 20;

/// Length in UTF-16 units of a text of a layer.
std::size_t CountStoredUnits(const Orvane::BTextArray& texts, std::size_t index)
{
    const std::string_view bytes = texts.GetBytes(index);
    switch (texts.encoding) {
    case Orvane::ETextEncoding::Utf16:
        return bytes.size() / sizeof(char16_t);
    case Orvane::ETextEncoding::Utf8:
        return CountUtf16Units(bytes, ETextUnit::Utf8);
    default:
        return bytes.size();
    }
}

} // namespace

/// The reading of the block after the one in use.
class LayerFill::NextBlock : public Task
{
public:
    explicit NextBlock(LineSource& lines)
        : m_lines(lines)
    {}

protected:
    void Perform() override
    {
        try {
            m_lines.ReadAhead();
        } catch (const std::bad_alloc&) {
            // The block is read when it is needed, and fails then if it must.
        }
    }

private:
    LineSource& m_lines;
};

/// The memory of the page after the one in use.
class LayerFill::NextPage : public Task
{
public:
    explicit NextPage(std::vector<std::span<std::byte>> memory)
        : m_memory(std::move(memory))
    {}

protected:
    void Perform() override
    {
        for (const std::span<std::byte> part : m_memory) {
            Orvane::PrefaultMemory(part.data(), part.size());
        }
    }

private:
    std::vector<std::span<std::byte>> m_memory;
};

LayerFill::LayerFill(const LayerFillContext& context)
    : m_context(context)
    , m_layer(context.features, context.plan.MakeColumns())
    , m_rows(context.lines)
    , m_converter(context.plan)
{
    if (!context.headerRule.IsActive()) {
        m_rows.SetRows(
            context.separator, context.plan.GetRegularRow().size(), context.sharing.windowBytes);
    }
}

LayerFill::~LayerFill() = default;

LayerFill::Result LayerFill::Run()
{
    SourceLine line;
    for (;;) {
        Step step = Step::Continue;
        if (m_rows.Begin()) {
            step = AppendBlock();
        } else {
            m_context.lines.Next(line);
            step = AppendLine(line);
        }
        switch (step) {
        case Step::Continue:
            break;
        case Step::EndOfData:
            return Result::EndOfData;
        case Step::LimitReached:
            return Result::LimitReached;
        case Step::Cancelled:
            return Result::Cancelled;
        }
    }
}

LayerFill::Step LayerFill::AppendLine(SourceLine& line)
{
    if (line.text.IsEmpty() && !m_context.lines.HasPending()) {
        return Step::EndOfData;
    }
    // Rule: the line read when the limit is reached is dropped; a resumed read starts after it.
    if (m_context.limit >= 1 && m_featuresAdded >= static_cast<std::uint32_t>(m_context.limit)) {
        return Step::LimitReached;
    }
    if (line.mayBeUnbalanced) {
        JoinOpenQuotes(line);
    }
    // Rule: a header line is a row of one field, the line as it stands.
    if (m_context.headerRule.IsActive() && m_context.headerRule.Test(line.text)) {
        m_row.SetWhole(line.text);
    } else if (line.text.IsEmpty()) {
        m_row.SetEmpty();
    } else {
        m_context.separator.Split(line.text, m_row);
    }
    if (m_row.GetCount() != 0) {
        RowPlan::RowEnd end{};
        try {
            end = m_context.plan.ConvertRow(m_row, m_layer);
        } catch (...) {
            throw BException(BString::Format("Failed to parse feature # %d.", m_featuresAdded),
                             "AsciiFile::BuildLayer",
                             BString::Format("The following line may be formatted wrong.\n\t<%ls>.",
                                             line.text.ToString()));
        }
        // A failure to store the row is no fault of the line and passes unchanged.
        RowPlan::EndRow(m_row, end, m_lineNumber, m_layer);
        ++m_featuresAdded;
        if (ReportProgress() == Step::Cancelled) {
            return Step::Cancelled;
        }
    }
    // Rule: rows without fields count as lines, too.
    m_context.currentLine = m_lineNumber++;
    return Step::Continue;
}

LayerFill::Step LayerFill::ReportProgress() const
{
    Orvane::BProgress* const progress = m_context.progress;
    const bool isCancelled = progress != nullptr && progress->ShouldReport(m_lineNumber, 0) &&
                             !progress->Report(m_lineNumber, 0);
    return isCancelled ? Step::Cancelled : Step::Continue;
}

/// Appends following lines to a line until its quotes balance.
void LayerFill::JoinOpenQuotes(SourceLine& line)
{
    const auto countQuotes = [](const TextView& text) {
        return text.Visit([](auto view) { return ValueRules::CountQuotes(view); });
    };
    std::size_t quotes = countQuotes(line.text);
    if (quotes % 2 == 0) {
        return;
    }
    m_joined = line.text.ToString();
    while (quotes % 2 != 0) {
        if (m_context.lines.AtEnd()) {
            throw Orvane::BFileContentNotValidException("AsciiFile::GetSafeLine",
                                                        "File contains an unmatched quote.");
        }
        SourceLine next;
        m_context.lines.Next(next);
        quotes += countQuotes(next.text);
        m_joined.Append(u"\n");
        m_joined += next.text.ToString();
        ++m_lineNumber;
    }
    line.text = TextView(m_joined.View());
}

LayerFill::Step LayerFill::AppendBlock()
{
    bool isFirst = true;
    for (;;) {
        Step step = Step::Continue;
        switch (m_rows.FindNext()) {
        case BlockRows::Found::Rows:
            if (std::exchange(isFirst, false)) {
                if (m_context.limit < 1) {
                    const std::size_t rows = m_rows.EstimateRows();
                    m_layer.ReserveRows(rows, m_converter.HasZ());
                    m_expectedRows = m_featuresAdded + rows;
                }
                BeginSharing();
            }
            if (IsShared()) {
                step = ShareRows();
                break;
            }
            step = AppendAllShared();
            if (step == Step::Continue) {
                step = ConvertRegularRows();
            }
            break;
        case BlockRows::Found::Line:
            step = AppendAllShared();
            if (step == Step::Continue) {
                step = AppendBlockLine();
            }
            break;
        case BlockRows::Found::End:
            step = AppendAllShared();
            if (m_nextBlock != nullptr) {
                m_shared->Finish(*m_nextBlock);
                m_nextBlock.reset();
            }
            return step;
        }
        if (step != Step::Continue) {
            return step;
        }
    }
}

LayerFill::Step LayerFill::AppendBlockLine()
{
    SourceLine line;
    return m_rows.ReadLine(line) ? AppendLine(line) : Step::Continue;
}

LayerFill::Step LayerFill::ConvertRegularRows()
{
    while (m_rows.GetRowCount() > 0) {
        std::size_t wanted = m_rows.GetRowCount();
        if (m_context.limit >= 1) {
            const auto limit = static_cast<std::uint32_t>(m_context.limit);
            if (m_featuresAdded >= limit) {
                return AppendBlockLine();
            }
            wanted = std::min<std::size_t>(wanted, limit - m_featuresAdded);
        }
        const Orvane::BFeatureAppender::Rows target = m_layer.BeginRows(wanted, m_converter.HasZ());
        m_converter.Convert(m_rows.GetRun(), target, target.columns);
        const Step step =
            CommitRows(target, m_converter, m_converter.GetKinds(), true, [this](std::size_t rows) {
                m_rows.Pass(rows);
            });
        if (step != Step::Continue) {
            return step;
        }
    }
    return Step::Continue;
}

/// Makes converted rows visible: one by one under a progress object, else all at once.
/// @param isWholeRun whether they are all that the converter has converted last
/// @param pass has the line source skip that many rows
template <typename Pass>
LayerFill::Step LayerFill::CommitRows(const Orvane::BFeatureAppender::Rows& target,
                                      const ColumnConverter& converter,
                                      const std::uint8_t* kinds,
                                      bool isWholeRun,
                                      const Pass& pass)
{
    const auto count = static_cast<std::uint32_t>(target.count);
    if (m_context.progress != nullptr) {
        return CommitOneByOne(target, converter, kinds, isWholeRun, pass);
    }
    RaiseWidths(target, converter, count, isWholeRun);
    m_layer.EndRows(count, kinds, m_lineNumber);
    pass(count);
    m_featuresAdded += count;
    m_lineNumber += count;
    m_context.currentLine = m_lineNumber - 1;
    return Step::Continue;
}

/// Before each call of the progress object all that a host sees is up to date. The line source is
/// not among that: it skips the rows in one step, also when a call throws.
template <typename Pass>
LayerFill::Step LayerFill::CommitOneByOne(const Orvane::BFeatureAppender::Rows& target,
                                          const ColumnConverter& converter,
                                          const std::uint8_t* kinds,
                                          bool isWholeRun,
                                          const Pass& pass)
{
    class Passing
    {
    public:
        explicit Passing(const Pass& pass)
            : m_pass(pass)
        {}

        ~Passing()
        {
            if (rows > 0) {
                m_pass(rows);
            }
        }

        Passing(const Passing&) = delete;
        Passing& operator=(const Passing&) = delete;

        std::size_t rows = 0;

    private:
        const Pass& m_pass;
    };

    Orvane::BProgress& progress = *m_context.progress;
    Passing passing(pass);
    while (passing.rows < target.count) {
        const bool isLast = passing.rows + 1 == target.count;
        if (isLast) {
            RaiseWidths(target, converter, target.count, isWholeRun);
        }
        m_layer.EndRows(1, kinds + passing.rows, m_lineNumber);
        ++passing.rows;
        ++m_featuresAdded;
        if (progress.ShouldReport(m_lineNumber, 0) && !progress.Report(m_lineNumber, 0)) {
            if (!isLast) {
                RaiseWidths(target, converter, passing.rows, isWholeRun);
                m_layer.AbandonRow();
            }
            return Step::Cancelled;
        }
        m_context.currentLine = m_lineNumber++;
    }
    return Step::Continue;
}

/// Raises the widths of the schema's columns by the texts of rows that were ended.
void LayerFill::RaiseWidths(const Orvane::BFeatureAppender::Rows& target,
                            const ColumnConverter& converter,
                            std::size_t endedRows,
                            bool isWholeRun)
{
    for (const RegularField& field : m_context.plan.GetRegularRow()) {
        if (field.kind != RegularField::Kind::Text) {
            continue;
        }
        std::size_t width = converter.GetWidth(field.columnIndex);
        if (endedRows < target.count || !isWholeRun) {
            // Rule: rows after the one at which the read was cancelled do not count.
            width = 0;
            const Orvane::BTextArray& texts = target.columns[field.columnIndex].texts;
            for (std::size_t row = 0; row < endedRows; ++row) {
                width = std::max(width, CountStoredUnits(texts, target.firstRow + row));
            }
        }
        m_context.plan.RaiseWidth(field.columnIndex, width);
    }
}

/// Has the next block read, and makes threads where the rest of this block and the file are worth
/// them.
void LayerFill::BeginSharing()
{
    const SharingRule& rule = m_context.sharing;
    if (rule.threads < 2) {
        return;
    }
    if (m_shared == nullptr) {
        const LineBlock& block = m_rows.GetBlock();
        const std::size_t bytes = block.end - block.begin + m_context.lines.GetUnreadBytes();
        const std::size_t helpers = std::min<std::size_t>(
            rule.threads - 1, bytes / std::max<std::size_t>(rule.bytesOfAThread, 1));
        if (helpers == 0) {
            return;
        }
        m_shared = std::make_unique<SharedRows>(m_context.plan, helpers);
        if (m_shared->GetHelperCount() == 0) {
            m_shared.reset();
            m_context.sharing.threads = 1;
            return;
        }
    }
    // Rows up to a limit may end in this block.
    if (m_context.limit < 1) {
        m_nextBlock = std::make_unique<NextBlock>(m_context.lines);
        m_shared->Start(*m_nextBlock);
    }
}

/// Whether other threads may convert the rows that stand next.
bool LayerFill::IsShared() const
{
    if (m_shared == nullptr || !m_rows.IsWholeWindow()) {
        return false;
    }
    const RowRun run = m_rows.GetRun();
    const std::size_t bytes = run.GetEnd(run.rows) - run.GetBegin();
    const std::size_t added = m_featuresAdded + m_shared->GetRowCount();
    const bool isInLimit =
        m_context.limit < 1 || added + run.rows <= static_cast<std::uint32_t>(m_context.limit);
    return isInLimit && bytes >= m_context.sharing.leastRunBytes && bytes <= kMostRunBytes;
}

LayerFill::Step LayerFill::ShareRows()
{
    while (m_shared->IsFull() || m_shared->IsFirstDone()) {
        const Step step = AppendFirstShared();
        if (step != Step::Continue) {
            return step;
        }
    }
    m_shared->Accept(
        m_rows,
        m_layer.FindRoom(m_shared->GetRowCount(), m_rows.GetRowCount(), m_converter.HasZ()));
    return Step::Continue;
}

LayerFill::Step LayerFill::AppendAllShared()
{
    Step step = Step::Continue;
    while (step == Step::Continue && m_shared != nullptr && !m_shared->IsEmpty()) {
        step = AppendFirstShared();
    }
    return step;
}

/// Appends the oldest rows that are shared, once they are converted.
LayerFill::Step LayerFill::AppendFirstShared()
{
    const ConvertedRows& rows = m_shared->Finish();
    const RowRun& run = rows.GetRun();
    std::size_t done = 0;
    Step step = Step::Continue;
    while (step == Step::Continue && done < run.rows) {
        const Orvane::BFeatureAppender::Rows target =
            m_layer.BeginRows(run.rows - done, m_converter.HasZ());
        rows.CopyTo(target, done);
        step = CommitRows(target,
                          rows.GetConverter(),
                          rows.GetConverter().GetKinds() + done,
                          target.count == run.rows,
                          [this, &run, &done](std::size_t passed) {
                              done += passed;
                              m_context.lines.SkipTo(run.GetEnd(done));
                          });
    }
    m_shared->DropFirst();
    PrepareMemory();
    return step;
}

/// Has the memory of the next page prefaulted: with other threads converting, that would be most of
/// this one's work.
void LayerFill::PrepareMemory()
{
    if (m_nextPage != nullptr) {
        if (!m_nextPage->IsDone()) {
            return;
        }
        m_nextPage.reset();
    }
    const std::size_t left =
        m_expectedRows - std::min<std::size_t>(m_expectedRows, m_featuresAdded);
    std::vector<std::span<std::byte>> memory = m_layer.PrepareNextPage(left);
    if (!memory.empty()) {
        m_nextPage = std::make_unique<NextPage>(std::move(memory));
        m_shared->Start(*m_nextPage);
    }
}

} // namespace AsciiReader
