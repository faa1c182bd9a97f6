// Runs of regular rows that several threads convert, given back in the order of the file.
#pragma once

#include "file/ColumnConverter.h"
#include "lines/BlockRows.h"
#include "threads/TaskPool.h"

#include <Orvane/BFeatureAppender.h>
#include <Orvane/BPageArray.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace AsciiReader {

/// How a read is shared between threads.
struct SharingRule
{
    unsigned threads = 1; ///< the reading one included
    /// Fewest bytes of rows that are worth a thread more.
    std::size_t bytesOfAThread = std::size_t{1} << 20;
    /// Shorter runs are converted in less time than another thread needs to begin.
    std::size_t leastRunBytes = 4096;
    /// Bytes that are indexed at a time, 0 for the rule of BlockRows. Only tests choose these
    /// three.
    std::size_t windowBytes = 0;
};

/// A run of regular rows, converted in the layer's memory, or to columns of its own: texts always,
/// for where they go depends on the texts before them, and all else where the layer has no room
/// yet.
class ConvertedRows : public Task
{
public:
    /// @param columns of the layer
    ConvertedRows(const RowPlan& plan, const std::vector<Orvane::BColumnInfo>& columns);

    /// Accepts the next rows of a walk, to be converted by Perform.
    /// @param room of the layer for them, or none
    void Accept(BlockRows& rows, const Orvane::BFeatureAppender::Rows& room)
    {
        m_run = rows.HandOver(m_positions);
        m_room = room;
    }

    [[nodiscard]] const RowRun& GetRun() const noexcept { return m_run; }

    [[nodiscard]] const ColumnConverter& GetConverter() const noexcept { return m_converter; }

    /// Copies to a layer what is not there yet of some rows, as many as the target has.
    /// @param first of the run
    void CopyTo(const Orvane::BFeatureAppender::Rows& target, std::size_t first) const;

protected:
    void Perform() override;

private:
    ColumnConverter m_converter;
    RowRun m_run{};
    Orvane::BPageArray<std::uint32_t> m_positions; ///< of the run
    Orvane::BFeatureAppender::Rows m_room{};
    Orvane::BPageArray<double> m_x;
    Orvane::BPageArray<double> m_y;
    Orvane::BPageArray<double> m_z;
    std::vector<Orvane::BColumnData> m_columns;
};

/// The rows that were accepted and not dropped yet, first in first out: a few runs for each thread,
/// so that memory does not grow with the file.
///
/// Used by the reading thread.
class SharedRows
{
public:
    /// Makes the threads. @param helpers how many beside the reading one, at least 1
    SharedRows(const RowPlan& plan, std::size_t helpers);

    /// How many threads help; 0 when the system granted none.
    [[nodiscard]] std::size_t GetHelperCount() const noexcept { return m_pool.GetHelperCount(); }

    [[nodiscard]] bool IsEmpty() const noexcept { return m_count == 0; }

    [[nodiscard]] bool IsFull() const noexcept { return m_count == m_rows.size(); }

    /// How many rows are accepted and not dropped.
    [[nodiscard]] std::size_t GetRowCount() const noexcept { return m_rowCount; }

    /// Accepts the next rows of a walk; not when full.
    /// @param room of the layer for them, or none
    void Accept(BlockRows& rows, const Orvane::BFeatureAppender::Rows& room);

    /// Whether Finish would return at once.
    [[nodiscard]] bool IsFirstDone() const noexcept { return m_count > 0 && First().IsDone(); }

    /// The oldest rows, converted. @throws std::bad_alloc, what conversion may throw.
    const ConvertedRows& Finish();
    /// Drops the oldest rows, which are finished.
    void DropFirst() noexcept;

    /// Starts other work, and waits for it.
    void Start(Task& task) { m_pool.StartLong(task); }

    void Finish(Task& task) { m_pool.Finish(task); }

private:
    [[nodiscard]] ConvertedRows& First() const noexcept { return *m_rows[m_first]; }

    std::vector<std::unique_ptr<ConvertedRows>> m_rows; ///< a ring
    std::size_t m_first = 0;
    std::size_t m_count = 0;
    std::size_t m_rowCount = 0;
    TaskPool m_pool; ///< last: it uses the rows
};

} // namespace AsciiReader
