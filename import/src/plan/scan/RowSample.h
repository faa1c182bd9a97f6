// Rows of a whole file, evenly spread, as cells.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

/// Cells of one row, each cut to kMostCellBytes.
class SampleRow
{
public:
    static constexpr std::size_t kMostCellBytes = 256;

    explicit SampleRow(std::uint64_t line)
        : m_line(line)
    {}

    /// Makes room for so many cells and bytes.
    void Reserve(std::size_t cells, std::size_t bytes)
    {
        m_text.reserve(bytes < cells * kMostCellBytes ? bytes : cells * kMostCellBytes);
        m_ends.reserve(cells);
    }

    void Add(std::string_view cell);

    [[nodiscard]] std::uint64_t Line() const noexcept { return m_line; }

    [[nodiscard]] std::size_t Size() const noexcept { return m_ends.size(); }

    /// Empty past the last cell.
    [[nodiscard]] std::string_view Cell(std::size_t index) const noexcept;

private:
    std::uint64_t m_line; ///< physical line from 1
    std::string m_text;
    std::vector<std::uint32_t> m_ends;
};

/// Keeps every n-th row of a table. When it is full every second of its rows goes, and n doubles,
/// so that the same file always gives the same rows, and they are from all of it.
class RowSample
{
public:
    explicit RowSample(std::size_t columns);

    /// The next row, from `row` on, that is to be added.
    [[nodiscard]] std::uint64_t NextFrom(std::uint64_t row) const noexcept
    {
        return (row + m_step - 1) / m_step * m_step;
    }

    void Add(SampleRow row);

    [[nodiscard]] std::vector<SampleRow> Finish() { return std::move(m_rows); }

private:
    std::vector<SampleRow> m_rows;
    std::size_t m_most;
    std::uint64_t m_step = 1;
};

} // namespace Orvane::Import::Scan
