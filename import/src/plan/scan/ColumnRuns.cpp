// Groups of columns by a kernel; blocks of rows that stay in the nearest cache for the others.
#include "ColumnRuns.h"

#include <algorithm>
#include <bit>
#include <kernels/Kernels.h>

namespace Orvane::Import::Scan {

namespace {

using AsciiReader::Kernels::KnownShapes;

/// In fewer rows or columns the kernel gains nothing.
constexpr std::size_t kFewestRows = 16;
constexpr int kFewestColumns = 3;
/// Bytes of text that stay at hand, with their marks and positions, for the next column.
constexpr std::size_t kBlock = std::size_t{24} * 1024;

} // namespace

void ColumnRuns::Add(const CellRun& run,
                     std::vector<ColumnProfile>& profiles,
                     const std::vector<std::size_t>& order)
{
    m_columns.clear();
    m_left.clear();
    for (std::size_t column = 0; column < run.stride; ++column) {
        CellRun cells = run;
        cells.ends += column;
        cells.endsLine = column + 1 == run.stride;
        m_columns.push_back({&profiles[order.empty() ? column : order[column]], cells});
    }
    const bool isCounted = AsciiReader::Kernels::Best().countShapes != nullptr &&
                           run.marks != nullptr && run.rows >= kFewestRows;
    if (!isCounted) {
        m_left.swap(m_columns);
        AddOneByOne();
        return;
    }
    for (std::size_t first = 0; first < m_columns.size(); first += KnownShapes::kColumns) {
        CountShapes(first, std::min(m_columns.size() - first, KnownShapes::kColumns));
    }
    AddOneByOne();
    for (const Column& column : m_left) {
        column.profile->LearnShapes(column.run);
    }
}

void ColumnRuns::CountShapes(std::size_t first, std::size_t count)
{
    KnownShapes known{};
    unsigned offered = 0;
    for (std::size_t place = 0; place < KnownShapes::kColumns; ++place) {
        if (place < count) {
            const Column& column = m_columns[first + place];
            offered |= column.profile->OfferShapes(column.run, place, known) ? 1U << place : 0U;
        }
    }
    m_others.clear();
    if (std::popcount(offered) < kFewestColumns) {
        offered = 0;
    } else {
        const CellRun& run = m_columns[first].run;
        m_places.resize(std::max(m_places.size(), run.rows));
        const unsigned others = AsciiReader::Kernels::Best().countShapes(
            {run.text, run.ends, run.stride, run.rows, run.marks, offered}, known, m_places.data());
        for (std::size_t row = 0; row < run.rows && others != 0; ++row) {
            if (m_places[row] != 0) {
                m_others.push_back({row, m_places[row]});
            }
        }
    }
    for (std::size_t place = 0; place < count; ++place) {
        const Column& column = m_columns[first + place];
        if ((offered >> place & 1U) == 0 ||
            !column.profile->AddCounted(column.run, place, known, m_others)) {
            m_left.push_back(column);
        }
    }
}

void ColumnRuns::AddOneByOne()
{
    if (m_left.empty()) {
        return;
    }
    const CellRun& run = m_left.front().run;
    const std::size_t rows = run.rows;
    const std::size_t bytes = run.ends[(rows - 1) * run.stride] - (run.ends[-1] + 1U);
    const std::size_t block = std::max<std::size_t>(1, kBlock * rows / std::max(bytes, kBlock));
    for (std::size_t begin = 0; begin < rows; begin += block) {
        for (const Column& column : m_left) {
            CellRun part = column.run;
            part.ends += begin * part.stride;
            part.rows = std::min(block, rows - begin);
            part.line += begin;
            column.profile->AddRun(part);
        }
    }
}

} // namespace Orvane::Import::Scan
