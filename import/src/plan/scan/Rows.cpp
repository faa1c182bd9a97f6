// Each record is looked at once; what only the end tells is told at the end.
#include "Rows.h"

#include "../values/FoldedCell.h"
#include "FirstLines.h"
#include "TableBlocks.h"

#include <algorithm>
#include <set>
#include <utility>

namespace Orvane::Import::Scan {

namespace {

using Values::ECell;

constexpr std::size_t kMostShort = 4096;
constexpr std::size_t kMostShortBytes = std::size_t{4} << 20U;
/// Fewer rows of another count make no table.
constexpr std::uint64_t kFewestRows = 3;

std::string_view FirstLineOf(std::string_view text, const Record& record)
{
    text = text.substr(record.begin, record.next - record.begin);
    return text.substr(0, std::min(text.find_first_of("\r\n"), text.size()));
}

std::uint64_t SizeBit(std::size_t size)
{
    return std::uint64_t{1} << std::min<std::size_t>(size, 63);
}

} // namespace

Rows::Rows(const ScanRequest& request, ScanFacts& facts)
    : m_request(request)
    , m_facts(facts)
    , m_columns(request.head.columns)
    , m_sample(request.head.columns)
{
    // Many columns share the memory.
    const std::size_t slots = m_columns <= 1024 ? 64 : (m_columns <= 16384 ? 8 : 2);
    m_profiles.assign(m_columns, ColumnProfile(slots));
    for (const std::vector<std::string>& names : request.head.namesCells) {
        m_names.insert(names.begin(), names.end());
    }
    m_names.erase(std::string());
    for (const std::string& name : m_names) {
        m_nameSizes.at(static_cast<unsigned char>(name.front())) |= SizeBit(name.size());
    }
    // No name is empty: this has lines looked at that begin with a mark.
    m_nameSizes.at(static_cast<unsigned char>(kMark.front())) |= SizeBit(0);
}

std::size_t Rows::ColumnOf(std::size_t field) const
{
    return m_order.empty() ? field : m_order[field];
}

std::size_t Rows::FieldOf(std::size_t column) const
{
    const auto field = std::find(m_order.begin(), m_order.end(), column);
    return field == m_order.end() ? column : static_cast<std::size_t>(field - m_order.begin());
}

bool Rows::IsNameCell(std::string_view cell) const
{
    // A byte order mark may begin the line.
    if (cell.starts_with(kMark)) {
        return true;
    }
    if (cell.size() >= 2 && cell.front() == '"') {
        cell = cell.substr(1, cell.size() - 2);
    }
    return IsName(Values::Trim(cell));
}

bool Rows::IsName(std::string_view cell) const
{
    return !cell.empty() &&
           (m_nameSizes.at(static_cast<unsigned char>(cell.front())) & SizeBit(cell.size())) != 0 &&
           m_names.contains(std::string(cell));
}

void Rows::AddRun(std::size_t fields, std::uint64_t rows, const Position& position)
{
    std::vector<RowRun>& runs = m_facts.runs;
    if (fields == 0 && (runs.empty() || runs.back().fields != 0)) {
        ++m_blankRuns;
    }
    if (!runs.empty() && runs.back().fields == fields) {
        runs.back().rows += rows;
    } else if (runs.size() < ScanFacts::kMostRuns) {
        runs.push_back({position, fields, rows});
    } else {
        m_facts.hasMoreRuns = true;
    }
    m_facts.mostFields = std::max(m_facts.mostFields, fields);
    m_isAfterBlank = fields == 0;
    m_facts.endsInsideRow = false;
    if (fields == m_columns) {
        m_facts.rows += rows;
        m_lastRun = runs.size();
        m_judged = m_short.size();
        m_blankRunsAtRow = m_blankRuns;
    }
}

void Rows::AddPiece(Piece::EKind kind,
                    const Position& position,
                    std::uint64_t lines,
                    std::string_view line)
{
    if (m_facts.pieces.size() < ScanFacts::kMostPieces) {
        m_facts.pieces.push_back(
            {kind, position, lines, std::string(line.substr(0, kExampleBytes * 2))});
    }
}

namespace {

/// A cell of a run of rows, without its quotes and the `\r` at its line's end.
/// @param end where it ends, the position before which it begins stands before that
/// @param endsLine its line ends there
std::string_view CellAt(const IndexedText& indexed, const std::uint32_t* end, bool endsLine)
{
    // The position before the first byte wraps.
    const std::uint32_t begin = *(end - 1) + 1;
    std::string_view cell(indexed.text + begin, *end - begin);
    if (endsLine && !cell.empty() && cell.back() == '\r') {
        cell.remove_suffix(1);
    }
    if (indexed.hasQuotes && cell.size() >= 2 && cell.front() == '"') {
        cell = cell.substr(1, cell.size() - 2);
    }
    return cell;
}

} // namespace

void Rows::WatchRows(const IndexedText& indexed, const std::uint32_t* ends, std::size_t rows)
{
    RowWatch& watch = *m_request.watch;
    const std::size_t x = FieldOf(watch.x.column);
    const std::size_t y = FieldOf(watch.y.column);
    const auto cellAt = [&](std::size_t field) {
        return CellAt(indexed, ends + field, field + 1 == m_columns);
    };
    for (std::size_t row = 0; row < rows; ++row, ends += m_columns) {
        const std::uint64_t begin = indexed.byte + (ends[-1] + 1U);
        watch.Add(cellAt(x), cellAt(y), {m_line + row, begin});
    }
}

void Rows::AddRows(const IndexedText& indexed, const std::uint32_t* ends, std::size_t rows)
{
    const std::uint64_t first = m_facts.rows;
    AddRun(m_columns, rows, {m_line, indexed.byte + (ends[-1] + 1U)});
    if (m_request.watch != nullptr) {
        WatchRows(indexed, ends, rows);
    }
    for (std::uint64_t row = m_sample.NextFrom(first);
         row < first + rows && m_request.watch == nullptr;
         row = m_sample.NextFrom(row + 1)) {
        const std::uint32_t* const end = ends + (row - first) * m_columns;
        SampleRow sample(m_line + (row - first));
        sample.Reserve(m_columns, end[m_columns - 1] - (end[-1] + 1U));
        for (std::size_t column = 0; column < m_columns; ++column) {
            const std::size_t field = FieldOf(column);
            sample.Add(CellAt(indexed, end + field, field + 1 == m_columns));
        }
        m_sample.Add(std::move(sample));
    }
    if (m_request.watch == nullptr) {
        m_runs.Add({indexed.text,
                    ends,
                    m_columns,
                    rows,
                    m_line,
                    indexed.byte,
                    indexed.hasQuotes,
                    indexed.marks},
                   m_profiles,
                   m_order);
    }
    const std::uint32_t* const last = ends + (rows - 1) * m_columns;
    KeepLastHead(CellAt(indexed, last + FieldOf(0), FieldOf(0) + 1 == m_columns),
                 {m_line + rows - 1, indexed.byte + (last[-1] + 1U)});
    m_line += rows;
    m_facts.lastRowLine = m_line - 1;
}

void Rows::KeepLastHead(std::string_view cell, const Position& position)
{
    m_facts.lastHead.position = position;
    m_facts.lastHead.text.assign(cell.substr(0, kExampleBytes));
}

bool Rows::AddNamesAgain(const std::vector<std::string_view>& cells,
                         const Position& position,
                         std::string_view line)
{
    const auto isSame = [&](const std::vector<std::string>& names) {
        return std::equal(cells.begin(), cells.end(), names.begin(), names.end());
    };
    const auto& lines = m_request.head.namesCells;
    const bool isAgain = std::any_of(lines.begin(), lines.end(), isSame);
    if (isAgain) {
        if (!m_order.empty()) {
            m_order.clear();
            std::vector<std::size_t> columns(m_columns);
            for (std::size_t column = 0; column < m_columns; ++column) {
                columns[column] = column;
            }
            m_facts.orders.push_back({position.line, std::move(columns)});
        }
    } else {
        // Rule: the same names in another order: from here on columns follow the names.
        if (lines.empty() || lines.front().size() != m_columns || cells.size() != m_columns ||
            m_facts.orders.size() >= ScanFacts::kMostPieces) {
            return false;
        }
        const std::vector<std::string>& names = lines.front();
        if (std::set<std::string_view>(cells.begin(), cells.end()).size() != names.size() ||
            std::set<std::string_view>(names.begin(), names.end()).size() != names.size()) {
            return false;
        }
        std::vector<std::size_t> columns;
        for (const std::string_view cell : cells) {
            const auto found = std::find(names.begin(), names.end(), cell);
            if (found == names.end()) {
                return false;
            }
            columns.push_back(static_cast<std::size_t>(found - names.begin()));
        }
        m_order = columns;
        m_facts.orders.push_back({position.line, std::move(columns)});
    }
    m_facts.repeatedNames.Add(position, line);
    AddPiece(Piece::EKind::RepeatedNames, position, 1, line);
    return true;
}

bool Rows::AreOtherNames(const std::vector<std::string_view>& cells) const
{
    std::size_t typed = 0;
    std::set<std::string_view> seen;
    for (std::size_t index = 0; index < cells.size(); ++index) {
        const std::string_view cell = Values::Trim(cells[index]);
        if (cell.empty()) {
            continue;
        }
        const ECell kind = Values::ReadCell(cell).cell;
        if (kind != ECell::Text || !seen.insert(cell).second) {
            return false;
        }
        typed += index < m_columns && m_profiles[ColumnOf(index)].IsMisfit(cell) ? 1U : 0U;
    }
    return typed > 0 && seen.size() >= 2 && seen.size() * 2 > cells.size();
}

void Rows::AddRecord(std::string_view text, std::uint64_t byte, const Record& record)
{
    const Position position{m_line, byte};
    m_line += record.lines;
    m_facts.continuations += record.lines - 1;
    m_facts.openers += record.openers;
    if (m_isOver) {
        return;
    }
    const std::string_view line = FirstLineOf(text, record);
    if (record.isDamaged || record.isBlank || record.repair == ERepair::NulBlock) {
        const std::size_t at = FindNulBlock(text.substr(record.begin, record.next - record.begin));
        if (at != std::string_view::npos) {
            m_facts.nulBlocks.Add({position.line, byte + at}, line);
        }
    }
    if (record.isDamaged) {
        m_facts.damaged.Add(position, line);
        return;
    }
    if (record.isBlank) {
        AddRun(0, 1, position);
        m_facts.blanks.Add(position, {});
        return;
    }
    if (record.strays > 0) {
        m_facts.strays.Add(position, line);
    }
    if (record.unclosed > 0) {
        m_facts.unclosed.Add(position, line);
    }
    m_facts.repairs.at(static_cast<std::size_t>(record.repair)).Add(position, line);
    const std::size_t fields = record.fields.size();
    const bool isNamed = m_request.head.names == ENames::Found;
    const bool isFirstName = isNamed && IsName(Values::Trim(record.Cell(text, 0)));
    // Rule: a quote that is open where the text ends without a line end is a row that was cut.
    if (fields == m_columns && !record.isEnded && record.unclosed > 0 && m_facts.rows > 0) {
        m_isCutInQuotes = true;
        return;
    }
    const bool isOdd = fields != m_columns || m_isAfterBlank || isFirstName;
    if (!isOdd && !IsSparse(text, record)) {
        AddCells(text, record, position);
        return;
    }
    CutCells(text, record);
    const bool isCopy = position.line == m_request.copyLine;
    if (!isCopy && isFirstName && AddNamesAgain(m_cells, position, line)) {
        return;
    }
    // Rule: names of another table begin it, after a blank line or with more columns; where the
    // first has no names, with more columns.
    const bool isOther = m_facts.rows > 0 && ((isNamed && m_isAfterBlank) || fields > m_columns) &&
                         fields >= m_columns && AreOtherNames(m_cells);
    if (isCopy || isOther) {
        m_isOver = true;
        m_facts.furtherTables.Add(position, line);
        AddPiece(Piece::EKind::FurtherTable, position, 0, line);
        return;
    }
    if (fields == m_columns && IsSparse(text, record)) {
        // Rule: a lone first cell that is padded with separators is a short record.
        AddRun(1, 1, position);
        AddShort(text, record, 1, position, line);
        return;
    }
    if (fields == m_columns) {
        AddCells(text, record, position);
        return;
    }
    AddUneven(text, record, position, line);
}

bool Rows::IsNull(std::string_view cell) const
{
    const std::vector<std::string>& texts = m_request.nullTexts;
    return !texts.empty() &&
           std::find(texts.begin(), texts.end(), Values::Trim(cell)) != texts.end();
}

void Rows::AddCell(std::size_t column,
                   std::string_view cell,
                   const Position& position,
                   bool isQuoted)
{
    if (IsNull(cell)) {
        m_profiles[column].AddNull(cell, position);
    } else {
        m_profiles[column].Add(cell, position, isQuoted);
    }
}

void Rows::CutCells(std::string_view text, const Record& record)
{
    m_cells.clear();
    for (std::size_t index = 0; index < record.fields.size(); ++index) {
        m_cells.push_back(Values::Trim(record.Cell(text, index)));
    }
}

bool Rows::IsSparse(std::string_view text, const Record& record) const
{
    const auto& fields = record.fields;
    const bool isLone = m_columns >= 3 && fields.front().size > 0 &&
                        std::all_of(fields.begin() + 1, fields.end(), [](const Field& field) {
                            return field.size == 0;
                        });
    if (!isLone) {
        return false;
    }
    const CellForm* forms = m_request.head.forms.data();
    const std::string_view first = record.Cell(text, 0);
    bool isOdd = m_profiles[ColumnOf(0)].IsMisfit(first) || !forms[ColumnOf(0)].Fits(first);
    for (std::size_t index = 1; index < m_columns && !isOdd; ++index) {
        isOdd = !forms[ColumnOf(index)].Fits({});
    }
    return isOdd;
}

void Rows::AddUneven(std::string_view text,
                     const Record& record,
                     const Position& position,
                     std::string_view line)
{
    const std::size_t fields = record.fields.size();
    if (fields > m_columns) {
        std::size_t index = m_columns;
        while (index < fields && Values::Trim(record.Cell(text, index)).empty()) {
            ++index;
        }
        // Rule: surplus empty cells are trailing separators, unless the others fit only shifted.
        const std::vector<std::string> cells(
            m_cells.begin(), m_cells.begin() + static_cast<std::ptrdiff_t>(m_columns));
        if (index == fields && !IsMisfit(cells)) {
            m_facts.trailing.Add(position, line);
            AddCells(text, record, position);
            return;
        }
    }
    if (!FindMark(line, m_request.head.commentMarks).empty()) {
        m_facts.comments.Add(position, line);
        return;
    }
    if (m_facts.counts.size() < ScanFacts::kMostCounts || m_facts.counts.contains(fields)) {
        m_facts.counts[fields].Add(position, line);
    }
    if (fields > m_columns) {
        m_facts.longer.Add(position, line);
        AddRun(fields, 1, position);
        return;
    }
    AddRun(fields, 1, position);
    AddShort(text, record, fields, position, line);
}

void Rows::AddShort(std::string_view text,
                    const Record& record,
                    std::size_t fields,
                    const Position& position,
                    std::string_view line)
{
    m_facts.endsInsideRow = !record.isEnded && record.fields.size() == fields;
    ShortRecord kept{position,
                     position.line + record.lines - 1,
                     {},
                     std::string(line.substr(0, kExampleBytes * 2)),
                     m_facts.runs.size(),
                     m_blankRuns,
                     record.isShifted};
    for (std::size_t index = 0; index < fields; ++index) {
        kept.cells.emplace_back(record.Cell(text, index));
        m_shortBytes += kept.cells.back().size() + sizeof(std::string);
    }
    if (m_short.size() < kMostShort && m_shortBytes < kMostShortBytes) {
        m_short.push_back(std::move(kept));
    } else if (IsNoRow(kept)) {
        m_facts.misfits.Add(position, line);
    } else {
        AddShortRow(kept);
    }
}

bool Rows::IsNoRow(const ShortRecord& record) const
{
    return record.isShifted || IsMisfit(record.cells);
}

bool Rows::IsMisfit(const std::vector<std::string>& cells) const
{
    for (std::size_t index = 0; index < cells.size(); ++index) {
        if (!IsNull(cells[index]) && m_profiles[ColumnOf(index)].IsMisfit(cells[index])) {
            return true;
        }
    }
    return false;
}

void Rows::AddToSample(std::string_view text, const Record& record, std::uint64_t row)
{
    if (m_sample.NextFrom(row) != row) {
        return;
    }
    SampleRow sample(m_line - record.lines);
    for (std::size_t column = 0; column < m_columns; ++column) {
        sample.Add(record.Cell(text, FieldOf(column)));
    }
    m_sample.Add(std::move(sample));
}

void Rows::AddCells(std::string_view text, const Record& record, const Position& position)
{
    const std::uint64_t row = m_facts.rows;
    AddRun(m_columns, 1, position);
    m_facts.lastRowLine = position.line + record.lines - 1;
    if (m_request.watch != nullptr) {
        RowWatch& watch = *m_request.watch;
        watch.Add(record.Cell(text, FieldOf(watch.x.column)),
                  record.Cell(text, FieldOf(watch.y.column)),
                  position);
        return;
    }
    KeepLastHead(record.Cell(text, FieldOf(0)), position);
    AddToSample(text, record, row);
    std::uint64_t line = position.line;
    for (std::size_t index = 0; index < m_columns; ++index) {
        const Field& field = record.fields[index];
        const std::string_view cell = field.In(text);
        AddCell(ColumnOf(index),
                cell,
                {line, position.byte + (field.begin - record.begin)},
                field.isQuoted);
        if (record.lines > 1 && field.isQuoted) {
            line += static_cast<std::uint64_t>(std::count(cell.begin(), cell.end(), '\n'));
        }
    }
}

void Rows::AddShortRow(const ShortRecord& record)
{
    m_facts.shorter.Add(record.position, record.line);
    ++m_facts.rows;
    m_facts.lastRowLine = std::max(m_facts.lastRowLine, record.lastLine);
    std::string padded;
    for (std::size_t index = 0; index < m_columns; ++index) {
        const bool isThere = index < record.cells.size();
        // Profiles read some bytes past a cell.
        padded = isThere ? record.cells[index] : std::string();
        const std::size_t size = padded.size();
        padded.resize(size + 64);
        AddCell(ColumnOf(index), std::string_view(padded).substr(0, size), record.position, false);
    }
}

bool Rows::IsInFurtherTable(const Position& position) const
{
    return std::any_of(m_facts.pieces.begin(), m_facts.pieces.end(), [&](const Piece& piece) {
        return piece.kind == Piece::EKind::FurtherTable && position.line >= piece.position.line &&
               position.line < piece.position.line + piece.lines;
    });
}

/// Whether the last run of short records is a line of words over values, in a table without other
/// short rows.
bool Rows::AreNamesOfShort(std::size_t run) const
{
    const auto first = std::find_if(m_short.begin(), m_short.end(), [&](const auto& record) {
        return record.position.byte == m_facts.runs[run].position.byte;
    });
    if (first == m_short.end() ||
        first - m_short.begin() != static_cast<std::ptrdiff_t>(m_judged) || m_judged > 0) {
        return false;
    }
    std::uint64_t values = ~std::uint64_t{0};
    for (auto record = first;
         record != m_short.end() && record->cells.size() == first->cells.size();
         ++record) {
        BlockRow row;
        for (std::size_t column = 0; column < record->cells.size(); ++column) {
            const std::string& cell = record->cells[column];
            row.Add(column, Values::ReadCell(cell).cell, cell);
        }
        if (record == first && !row.areWords) {
            return false;
        }
        values &= record == first ? values : row.values;
    }
    return values != 0;
}

void Rows::FindFurtherTables()
{
    const std::vector<RowRun>& runs = m_facts.runs;
    for (std::size_t index = 0; index < runs.size() && !m_facts.hasMoreRuns; ++index) {
        const RowRun& run = runs[index];
        const bool isOther = run.fields >= 2 && run.fields != m_columns && run.rows >= kFewestRows;
        if (!isOther || m_facts.rows == 0) {
            continue;
        }
        const bool isAfterBlank = index == 0 || runs[index - 1].fields == 0;
        const bool isBeforeBlank = index + 1 == runs.size() || runs[index + 1].fields == 0;
        const bool isAfterTable = index >= m_lastRun;
        // Without a blank line other names tell a table from rows that lack cells.
        const auto first = std::find_if(m_short.begin(), m_short.end(), [&](const auto& record) {
            return record.position.byte == run.position.byte;
        });
        const bool hasNames =
            first != m_short.end() &&
            (AreOtherNames({first->cells.begin(), first->cells.end()}) || AreNamesOfShort(index));
        if ((isAfterBlank && (isAfterTable || isBeforeBlank)) || (isAfterTable && hasNames)) {
            // After the table's last row everything is of further tables.
            const std::uint64_t end =
                index + 1 < runs.size() && !isAfterTable ? runs[index + 1].position.line : m_line;
            m_facts.furtherTables.Add(run.position, first != m_short.end() ? first->line : "");
            AddPiece(Piece::EKind::FurtherTable,
                     run.position,
                     end - run.position.line,
                     first != m_short.end() ? std::string_view(first->line) : std::string_view());
            if (isAfterTable) {
                return;
            }
        }
    }
}

void Rows::JudgeShortRecords()
{
    // Rule: a short last line without an ending was cut, unless many rows are as short.
    const bool isRagged = m_short.size() * 20 > m_facts.rows;
    bool isCut = false;
    if (m_facts.endsInsideRow && !m_isOver && !m_short.empty()) {
        const ShortRecord& last = m_short.back();
        const auto alike = std::count_if(m_short.begin(), m_short.end(), [&](const auto& record) {
            return record.cells.size() == last.cells.size();
        });
        const bool isAfterBlank = last.blanks != m_blankRunsAtRow;
        isCut = !(isRagged && alike > 1) && !isAfterBlank && m_facts.rows > 0;
    }
    m_facts.endsInsideRow = isCut || m_isCutInQuotes;
    bool isFooter = false;
    for (std::size_t index = 0; index < m_short.size(); ++index) {
        const ShortRecord& record = m_short[index];
        if (IsInFurtherTable(record.position)) {
            isFooter = isFooter || index >= m_judged;
            continue;
        }
        if (isCut && index + 1 == m_short.size()) {
            break;
        }
        const bool isMisfit = IsNoRow(record);
        if (index >= m_judged && m_facts.rows > 0) {
            // Rule: what stands after the last whole row is a footer once a blank line, a lone
            // cell or a cell that fits no row has come.
            const bool isLone = record.cells.size() == 1 && m_columns > 2;
            isFooter = isFooter || record.blanks != m_blankRunsAtRow || isLone || isMisfit;
            if (isFooter) {
                m_facts.footers.Add(record.position, record.line);
                AddPiece(Piece::EKind::Footer,
                         record.position,
                         record.lastLine - record.position.line + 1,
                         record.line);
                continue;
            }
        }
        if (isMisfit) {
            m_facts.misfits.Add(record.position, record.line);
        } else {
            AddShortRow(record);
        }
    }
}

void Rows::Finish()
{
    if (m_isOver) {
        Piece& last = m_facts.pieces.back();
        last.lines = m_line - last.position.line;
    }
    FindFurtherTables();
    JudgeShortRecords();
    m_facts.repairs[0] = {};
    std::stable_sort(
        m_facts.pieces.begin(), m_facts.pieces.end(), [](const Piece& a, const Piece& b) {
            return a.position.line < b.position.line;
        });
    m_facts.sample = m_sample.Finish();
    m_facts.columns.reserve(m_columns);
    for (ColumnProfile& profile : m_profiles) {
        m_facts.columns.push_back(profile.Finish());
        profile = ColumnProfile(2);
    }
}

} // namespace Orvane::Import::Scan
