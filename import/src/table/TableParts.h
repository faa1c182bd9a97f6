// A file's records in order: runs of regular rows where there are any, single records otherwise.
#pragma once

#include "../plan/scan/Records.h"
#include "../plan/scan/TextSource.h"
#include "CellDecoder.h"
#include "ColumnRule.h"
#include "Table.h"

#include <cstddef>
#include <cstdint>
#include <kernels/Kernels.h>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Orvane::Import::Table {

/// What all parts of a reading go by. Kept by reference; the plan must outlive it.
struct TableRules
{
    TableRules(const Plan& givenPlan, const TableRequest& request);
    TableRules(const TableRules&) = delete;
    TableRules& operator=(const TableRules&) = delete;

    /// The first cell of a record, from 1, that its column's type does not fit; 0 when all fit.
    [[nodiscard]] std::size_t FindMisfit(const TableRecord& record) const noexcept;

    const Plan& plan;
    bool isAllText;
    std::size_t columnCount;
    /// Fields of the longest row that the plan has seen, with isAllText; columnCount otherwise.
    std::size_t mostFields;
    std::vector<std::string> nullTexts;
    std::vector<ColumnRule> columns; ///< of the plan's columns
};

/// The column of the surplus cells at an index from 0.
[[nodiscard]] BColumnInfo MakeExtraColumn(std::size_t extraIndex);

/// Rows that have a field for each column and one line each.
///
/// Field f of row r goes from ends[r * fields + f - 1] + 1 up to ends[r * fields + f], exclusive;
/// of the last field `trim` bytes do not count. Positions are 32 bits and wrap, so that the one
/// before the text's first byte is 0xFFFFFFFF. Before the first and after the last row 64 bytes are
/// readable.
struct RowRun
{
    const char* text = nullptr;
    const std::uint32_t* ends = nullptr; ///< ends[-1] is there
    std::size_t fields = 0;
    std::size_t rows = 0;
    std::uint32_t trim = 0;
    bool hasQuotes = false; ///< fields that begin with a quote end with one; inside all are doubled
    bool isAscii = true;    ///< otherwise bytes are valid in the plan's encoding
    std::uint64_t line = 0; ///< of the first row
    std::uint64_t byte = 0; ///< where the text begins
    /// Marks of digits that follow a zero at a number's front, and perhaps of more; null: none.
    const std::uint64_t* codes = nullptr;
};

/// Reads a plan's file once. One thread at a time.
class TableParts
{
public:
    enum class EPart : std::uint8_t { Run, Record, End };

    /// @param wantsRuns otherwise every record comes on its own
    /// @throws as TableWalk
    TableParts(const TableRules& rules, bool wantsRuns);

    /// Goes on to the next part; what the one before has given is not valid any more.
    /// @throws ImportFailure `read-error`, `damaged`
    EPart Next(TableRecord& record);

    [[nodiscard]] const RowRun& Run() const noexcept { return m_run; }

    /// A row of the current run as a record, valid until the next call: a Row, or RepeatedNames
    /// where cells tell these from rows, so that a row with a cell that does not fit must be asked.
    void ReadRow(std::size_t row, TableRecord& record);

    /// From the next part on every record comes on its own.
    void EndRuns() noexcept
    {
        m_wantsRuns = false;
        m_positionCount = 0;
        m_nextPosition = 0;
    }

    /// The field that holds each column's cells in the current run.
    [[nodiscard]] const std::vector<std::size_t>& FieldOfColumn() const noexcept
    {
        return m_fieldOfColumn;
    }

    [[nodiscard]] CellDecoder& Decoder() noexcept { return m_decoder; }

    /// Lines by class of all parts so far. A reader that finds a row bad corrects them.
    [[nodiscard]] TableLines& Lines() noexcept { return m_lines; }

    [[nodiscard]] const TableLines& Lines() const noexcept { return m_lines; }

    /// Bytes of the text before the next part.
    [[nodiscard]] std::uint64_t BytesDone() const noexcept { return m_byte + m_at; }

    /// Bytes of the file that were read.
    [[nodiscard]] std::uint64_t FileBytesDone() const noexcept { return m_source->BytesDone(); }

private:
    [[nodiscard]] std::string_view Text() const { return {m_buffer.data(), m_size}; }

    bool Refill();
    void FindHead();
    [[nodiscard]] std::size_t FindLineEnd(std::size_t from) const;
    bool ReadHead(TableRecord& record);
    void FinishHead();
    EPart SkipLongLine(TableRecord& record);
    [[nodiscard]] bool CanIndex() const;
    void MakeIndex();
    void MarkCodes(std::size_t size);
    [[nodiscard]] bool FindReturns(std::string_view text, char lineEnd);
    [[nodiscard]] bool AreBytesFine(std::string_view text, bool hasHighBytes);
    [[nodiscard]] std::size_t CountCleanQuotes() const;
    [[nodiscard]] bool EndsLine(std::size_t index) const noexcept;
    [[nodiscard]] std::size_t CountFields(std::size_t index) const noexcept;
    [[nodiscard]] bool IsFoundByType(const std::vector<std::string>& names) const;
    [[nodiscard]] bool IsShortLine(std::size_t index) const noexcept;
    [[nodiscard]] bool IsApart(std::size_t index) const noexcept;
    bool FindRun();
    [[nodiscard]] std::uint64_t LastLineOfRuns() const noexcept;

    [[nodiscard]] std::string_view RawOf(const Scan::Record& cut) const;
    void MakeRecord(const Scan::Record& cut, TableRecord& record);
    void MakeCells(const Scan::Record& cut, bool isPlain, TableRecord& record);
    void Unescape(std::size_t from);
    void Classify(const Scan::Record& cut, TableRecord& record);
    [[nodiscard]] const PlanLines* FindPiece(std::uint64_t line);
    void ClassifyShort(const Scan::Record& cut, TableRecord& record);
    [[nodiscard]] std::size_t FindNulBlockCell(const Scan::Record& cut) const;
    void ClassifyLong(const Scan::Record& cut, TableRecord& record);
    [[nodiscard]] bool IsNamesAgain(const TableRecord& record) const;
    bool FindOrder(const TableRecord& record);
    void BeginOrder(std::uint64_t line);
    void Reorder(TableRecord& record);
    void Count(const TableRecord& record);

    const TableRules& m_rules;
    std::unique_ptr<Scan::TextSource> m_source;
    Scan::RecordCutter m_cutter;
    CellDecoder m_decoder;
    std::vector<char> m_buffer;
    std::size_t m_size = 0; ///< bytes of the buffer that are filled
    std::size_t m_at = 0;   ///< where the next part begins
    std::uint64_t m_byte = 0;
    std::uint64_t m_line = 1;
    std::uint64_t m_headEnd = 0;
    std::size_t m_nextPiece = 0; ///< of the plan's lines, for footers and further tables
    std::size_t m_nextOrder = 0;
    std::vector<std::size_t> m_fieldOfColumn;
    std::vector<std::string_view> m_ordered;

    // The index of a piece: entry 0 is the position before the next row.
    decltype(AsciiReader::Kernels::Set::index) m_index = AsciiReader::Kernels::Best().index;
    std::vector<std::uint32_t> m_positions;
    std::size_t m_positionCount = 0; ///< after entry 0
    std::size_t m_nextPosition = 0;
    std::size_t m_keyColumn = 0; ///< whose cells tell rows from the names again
    RowRun m_run;
    std::vector<std::uint64_t> m_codes;

    Scan::Record m_cut;
    std::string m_cellText;
    std::vector<std::pair<std::size_t, std::size_t>> m_cellSpans;
    std::string m_rawText;
    TableLines m_lines;

    bool m_wantsRuns;
    bool m_isAtEnd = false;
    bool m_mayIndex = false;      ///< the piece has not been indexed yet
    bool m_isPlanned = true;      ///< otherwise the file is another one: no places hold
    bool m_isHeadPlanned = false; ///< the first row begins where the plan says
    bool m_isInHead = true;
    bool m_isReordered = false;
    bool m_isRegular = false;     ///< all lines of the index have the table's count
    bool m_hasBreaks = false;     ///< some rows have line breaks inside
    bool m_hasMarks = false;      ///< byte order marks are in the text
    bool m_comparesNames = false; ///< runs hold no names; otherwise ReadRow finds them
};

} // namespace Orvane::Import::Table
