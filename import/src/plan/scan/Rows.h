// The records of a table as they come: rows, and what stands among and after them.
#pragma once

#include "ColumnRuns.h"
#include "FileScan.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace Orvane::Import::Scan {

/// A text that an index was made of.
struct IndexedText
{
    const char* text = nullptr;
    std::uint64_t byte = 0;               ///< where it begins
    bool hasQuotes = false;               ///< fields may have quotes around them
    const std::uint64_t* marks = nullptr; ///< as CellRun has them
};

/// Tells rows from other records, and adds their cells to the profiles of the columns.
///
/// Records with fewer fields than the table are kept until the end, when it is known what the
/// columns hold and which was the last whole row: their number is bounded, and past the bound they
/// are judged by what is known then.
/// Use: AddRows and AddRecord in the order of the text, then Finish once.
class Rows
{
public:
    Rows(const ScanRequest& request, ScanFacts& facts);

    [[nodiscard]] std::uint64_t Line() const noexcept { return m_line; }

    void SetLine(std::uint64_t line) noexcept { m_line = line; }

    /// Whether rows are no longer those of the table.
    [[nodiscard]] bool IsOver() const noexcept { return m_isOver; }

    /// Whether a row of the table's count needs a look of its own by its first cell and its size.
    /// @param rest bytes after the first cell up to the line's end
    [[nodiscard]] bool IsApart(std::string_view firstCell, std::size_t rest) const
    {
        // After a blank line, blank (NULs and other controls may stand for blanks), or nothing but
        // separators after the first cell.
        if (m_isAfterBlank ||
            (rest + 1 <= m_columns && (m_columns > 1 || firstCell.size() < 2 ||
                                       static_cast<unsigned char>(firstCell.front()) <= ' '))) {
            return true;
        }
        return !firstCell.empty() && MayBeginName(firstCell.front()) && IsNameCell(firstCell);
    }

    /// Adds rows of the table's count, one per line.
    /// @param ends where fields end, `rows` times the table's count; one position stands before
    void AddRows(const IndexedText& indexed, const std::uint32_t* ends, std::size_t rows);

    /// Counts quoted fields of rows that AddRows adds.
    void AddOpeners(std::size_t openers) { m_facts.openers += openers; }

    /// @param text that the record's positions count in, at `byte` of the whole
    void AddRecord(std::string_view text, std::uint64_t byte, const Record& record);

    /// Judges what was kept, and hands the columns over to the facts.
    void Finish();

private:
    /// A record with fewer fields that waits for its verdict.
    struct ShortRecord
    {
        Position position;
        std::uint64_t lastLine = 0;
        std::vector<std::string> cells;
        std::string line;
        std::size_t run = 0;    ///< of the facts' runs
        std::size_t blanks = 0; ///< runs of blank lines before it
        bool isShifted = false; ///< not the last cells are missing
    };

    void AddRun(std::size_t fields, std::uint64_t rows, const Position& position);
    void AddPiece(Piece::EKind kind,
                  const Position& position,
                  std::uint64_t lines,
                  std::string_view line);
    bool AddNamesAgain(const std::vector<std::string_view>& cells,
                       const Position& position,
                       std::string_view line);
    void AddUneven(std::string_view text,
                   const Record& record,
                   const Position& position,
                   std::string_view line);
    void AddShort(std::string_view text,
                  const Record& record,
                  std::size_t fields,
                  const Position& position,
                  std::string_view line);
    void AddCells(std::string_view text, const Record& record, const Position& position);
    void KeepLastHead(std::string_view cell, const Position& position);
    void AddToSample(std::string_view text, const Record& record, std::uint64_t row);
    void WatchRows(const IndexedText& indexed, const std::uint32_t* ends, std::size_t rows);
    [[nodiscard]] std::size_t FieldOf(std::size_t column) const;
    void AddShortRow(const ShortRecord& record);
    void JudgeShortRecords();
    [[nodiscard]] bool AreNamesOfShort(std::size_t run) const;
    void FindFurtherTables();
    void
    AddCell(std::size_t column, std::string_view cell, const Position& position, bool isQuoted);
    [[nodiscard]] bool IsNull(std::string_view cell) const;
    [[nodiscard]] bool IsSparse(std::string_view text, const Record& record) const;
    void CutCells(std::string_view text, const Record& record);

    [[nodiscard]] bool MayBeginName(char unit) const
    {
        const auto first = static_cast<unsigned char>(unit);
        return m_nameSizes[first] != 0 || first <= ' ' || first == '"';
    }

    [[nodiscard]] bool IsName(std::string_view cell) const;
    [[nodiscard]] bool IsNameCell(std::string_view cell) const;
    [[nodiscard]] bool IsInFurtherTable(const Position& position) const;
    [[nodiscard]] bool AreOtherNames(const std::vector<std::string_view>& cells) const;
    [[nodiscard]] bool IsMisfit(const std::vector<std::string>& cells) const;
    [[nodiscard]] bool IsNoRow(const ShortRecord& record) const;
    [[nodiscard]] std::size_t ColumnOf(std::size_t field) const;

    const ScanRequest& m_request;
    ScanFacts& m_facts;
    std::size_t m_columns;
    std::vector<ColumnProfile> m_profiles;
    ColumnRuns m_runs;
    RowSample m_sample;
    std::unordered_set<std::string> m_names;      ///< all cells of the names
    std::array<std::uint64_t, 256> m_nameSizes{}; ///< by first byte, a bit for each size
    std::vector<std::size_t> m_order;             ///< empty: as the names stand
    std::vector<ShortRecord> m_short;
    std::size_t m_shortBytes = 0;
    std::size_t m_judged = 0;  ///< of m_short: those before the last whole row
    std::uint64_t m_line = 1;  ///< of the next record
    std::size_t m_lastRun = 0; ///< the last run of whole rows, plus one
    std::size_t m_blankRuns = 0;
    std::size_t m_blankRunsAtRow = 0; ///< m_blankRuns when the last whole row came
    std::vector<std::string_view> m_cells;
    bool m_isAfterBlank = false;
    bool m_isCutInQuotes = false; ///< the last record
    bool m_isOver = false;        ///< another table of the same count has begun
};

} // namespace Orvane::Import::Scan
