// The records of a text's head, and what the cells of their columns have in common.
#pragma once

#include "CellForm.h"
#include "Shape.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace Orvane::Import::Scan {

constexpr std::size_t kHeadRecords = 1000;

/// A record of the head with copies of its cells.
struct HeadRecord
{
    std::vector<std::string> cells;
    std::vector<bool> isQuoted;
    std::size_t byte = 0;
    std::size_t next = 0;
    std::uint64_t line = 1;
    std::uint64_t lines = 1;
    bool isBlank = false;
    bool isRepaired = false;
    std::string_view text; ///< the record's first line

    [[nodiscard]] const CellKind& Kind(std::size_t column) const
    {
        if (m_kinds.empty()) {
            m_kinds.reserve(cells.size());
            for (const std::string& cell : cells) {
                m_kinds.push_back(KindOf(cell));
            }
        }
        return m_kinds[column];
    }

    /// To be called when cells have changed.
    void ForgetKinds() { m_kinds.clear(); }

private:
    mutable std::vector<CellKind> m_kinds; ///< read when one is asked for
};

[[nodiscard]] std::vector<HeadRecord>
CutHead(std::string_view text, const Candidate& candidate, const ShapeRequest& request);

constexpr std::size_t kMostDistinct = 256;

/// What the cells of a column have in common, by the rows of the head.
struct SampleColumn
{
    std::size_t values = 0;
    std::size_t texts = 0;
    std::size_t withDigits = 0;
    std::size_t booleans = 0;
    std::size_t quoted = 0;
    bool isTyped = false;
    bool isPast90 = false;                         ///< a number is no latitude
    std::unordered_set<std::string_view> distinct; ///< of the head's cells, at most kMostDistinct
};

/// @param from the first row that counts; rows like the one before it are names again
[[nodiscard]] std::vector<SampleColumn>
SampleColumns(const std::vector<HeadRecord>& head, std::size_t from, std::size_t columns);

[[nodiscard]] std::vector<std::string> TrimCells(const HeadRecord& record);

[[nodiscard]] std::size_t CountFilled(const HeadRecord& record);

/// Whether the cells that are filled, three or more, are words, each of them once.
[[nodiscard]] bool AreWords(const std::vector<std::string>& cells);

} // namespace Orvane::Import::Scan
