// Rows as one text with ends, and the doubling of the step.
#include "RowSample.h"

#include <algorithm>
#include <utility>

namespace Orvane::Import::Scan {

namespace {

constexpr std::size_t kMostRows = 2000;
constexpr std::size_t kFewestRows = 16;
constexpr std::size_t kMostCells = 400000;

} // namespace

void SampleRow::Add(std::string_view cell)
{
    m_text += cell.substr(0, kMostCellBytes);
    m_ends.push_back(static_cast<std::uint32_t>(m_text.size()));
}

std::string_view SampleRow::Cell(std::size_t index) const noexcept
{
    if (index >= m_ends.size()) {
        return {};
    }
    const std::size_t begin = index == 0 ? 0 : m_ends[index - 1];
    return std::string_view(m_text).substr(begin, m_ends[index] - begin);
}

RowSample::RowSample(std::size_t columns)
    // Even, so that the row that finds the sample full is of the doubled step too.
    : m_most(std::clamp(kMostCells / std::max<std::size_t>(columns, 1), kFewestRows, kMostRows) /
             2 * 2)
{}

void RowSample::Add(SampleRow row)
{
    if (m_rows.size() == m_most) {
        for (std::size_t index = 1; index * 2 < m_rows.size(); ++index) {
            m_rows[index] = std::move(m_rows[index * 2]);
        }
        m_rows.erase(m_rows.begin() + static_cast<std::ptrdiff_t>((m_rows.size() + 1) / 2),
                     m_rows.end());
        m_step *= 2;
    }
    m_rows.push_back(std::move(row));
}

} // namespace Orvane::Import::Scan
