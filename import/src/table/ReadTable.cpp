// Runs of rows column by column, all else record by record.
#include "../ProgressMeter.h"
#include "../Wrap.h"
#include "../plan/scan/MarkBits.h"
#include "../plan/values/FoldedCell.h"
#include "PointRule.h"
#include "Table.h"
#include "TableParts.h"

#include <Orvane/BFeatureAppender.h>
#include <Orvane/BTextArray.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <utility>

namespace Orvane::Import {

namespace {

using AsciiReader::Kernels::FieldRun;
using Table::ColumnRule;
using Table::ECellState;
using Table::PointRule;
using Table::RowRun;
using Table::TableParts;
using Table::TableRules;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kTextRoom = 256;

/// A row of a run with a cell that is no value of its column.
struct Misfit
{
    std::size_t row = 0;
    std::size_t column = 0; ///< from 1
};

/// What the cells of a column of some rows are, beside values.
struct Nulls
{
    std::uint64_t empties = 0;
    std::uint64_t nullWords = 0;
};

using WordBytes = std::array<char, 8>;

constexpr std::uint64_t WordOf(const WordBytes& bytes)
{
    return std::bit_cast<std::uint64_t>(bytes);
}

/// Reads the words that are true or false in every column of booleans, as ReadPlainWord does, up to
/// another cell. Without branches: they come in an order that no processor can guess.
/// @param row the first
/// @return the row of the other cell; the number of rows when there is none
std::size_t ReadPlainWords(const FieldRun& fields, std::size_t row, std::uint8_t* out) noexcept
{
    constexpr char kAll = '\xFF';
    constexpr std::array<std::uint64_t, 7> kInside = {0,
                                                      0,
                                                      WordOf({kAll, kAll}),
                                                      WordOf({kAll, kAll, kAll}),
                                                      WordOf({kAll, kAll, kAll, kAll}),
                                                      WordOf({kAll, kAll, kAll, kAll, kAll}),
                                                      0};
    constexpr std::uint64_t kLowerCase = 0x2020202020202020U;
    const std::uint32_t* ends = fields.ends + row * fields.stride;
    for (; row < fields.rows; ++row, ends += fields.stride) {
        const std::uint32_t begin = ends[-1] + 1;
        const std::uint32_t size = ends[0] - fields.trim - begin;
        std::uint64_t units = 0;
        std::memcpy(&units, fields.text + begin, sizeof units);
        units = (units | kLowerCase) & kInside[std::min<std::uint32_t>(size, 6)];
        const unsigned isTrue = static_cast<unsigned>(units == WordOf({'t', 'r', 'u', 'e'})) |
                                static_cast<unsigned>(units == WordOf({'y', 'e', 's'}));
        const unsigned isFalse = static_cast<unsigned>(units == WordOf({'f', 'a', 'l', 's', 'e'})) |
                                 static_cast<unsigned>(units == WordOf({'n', 'o'}));
        out[row] = static_cast<std::uint8_t>(isTrue);
        if (isTrue + isFalse == 0) {
            break;
        }
    }
    return row;
}

/// A corner of a box.
struct Corner
{
    double x = 0;
    double y = 0;
    double z = 0;
};

/// One reading of a table.
class TableReader
{
public:
    TableReader(const Plan& plan,
                const TableRequest& request,
                BVectorLayer& layer,
                BadRowSink& sink,
                const Callbacks& callbacks)
        : m_rules(plan, request)
        , m_request(request)
        , m_layout(LayOutTable(plan, request))
        // Where rows have cells past the columns, others have fewer attributes than they.
        , m_parts(m_rules, !request.isOneByOne && m_rules.mostFields == m_rules.columnCount)
        , m_layer(layer)
        , m_sink(sink)
        , m_meter(callbacks, EPhase::Reading, plan.bytes.lines)
        , m_appender(layer.GetFeatures(), m_layout.columns)
        , m_attributeOf(m_rules.columnCount, TableLayout::kNoSource)
        , m_numbers(m_rules.columnCount)
        , m_decimals(m_rules.columnCount)
        , m_nulls(m_rules.columnCount)
    {
        m_meter.SetBytesTotal(plan.bytes.size);
        layer.SetSchema(MakeSchema());
        for (std::size_t index = 0; index < m_layout.sources.size(); ++index) {
            if (m_layout.sources[index] != TableLayout::kNoSource) {
                m_attributeOf[m_layout.sources[index]] = index;
            }
        }
        if (m_layout.hasPoints) {
            m_points.emplace(m_rules);
            m_height = m_layout.hasZ ? plan.coordinates.value.z : std::nullopt;
        }
        m_counts.columns.resize(m_rules.columnCount);
    }

    TableCounts Run()
    {
        TableRecord record;
        for (bool goesOn = true; goesOn;) {
            switch (m_parts.Next(record)) {
            case TableParts::EPart::Run:
                goesOn = ReadRun();
                break;
            case TableParts::EPart::Record:
                goesOn = ReadRecord(record);
                break;
            case TableParts::EPart::End:
                goesOn = false;
                break;
            }
        }
        m_counts.lines = m_parts.Lines();
        m_counts.rowsWithoutPoint = m_layout.hasPoints ? m_counts.rows - m_counts.points : 0;
        for (ColumnCounts& column : m_counts.columns) {
            column.values = m_counts.rows - column.empties - column.nullWords;
        }
        return std::move(m_counts);
    }

private:
    [[nodiscard]] BAttributeDefs MakeSchema() const
    {
        BAttributeDefs schema;
        schema.Reserve(m_layout.columns.size());
        for (const BColumnInfo& column : m_layout.columns) {
            BAttributeDef def;
            def.SetName(column.name);
            def.SetType(column.type);
            schema.Add(def);
        }
        return schema;
    }

    void Report()
    {
        const TableLines& lines = m_parts.Lines();
        if (!m_meter.Report(lines.Sum(), m_parts.FileBytesDone())) {
            m_meter.RethrowIfThrown();
            ThrowCancelled();
        }
    }

    /// Rows that may still be read.
    [[nodiscard]] std::size_t RowsLeft() const
    {
        return m_request.mostRows == 0
                   ? std::numeric_limits<std::size_t>::max()
                   : static_cast<std::size_t>(m_request.mostRows - m_counts.rows);
    }

    /// About how many rows will be appended, at least those wanted.
    [[nodiscard]] std::size_t RowsToCome(std::size_t wanted) const
    {
        const std::uint64_t planned = m_rules.plan.shape.rows;
        const std::uint64_t toCome = planned > m_counts.rows ? planned - m_counts.rows : 0;
        return std::max(wanted,
                        static_cast<std::size_t>(std::min<std::uint64_t>(toCome, RowsLeft())));
    }

    // Rows one by one.

    /// @return whether reading goes on
    bool ReadRecord(TableRecord& record)
    {
        if (record.kind == ERecord::Row) {
            if (RowsLeft() == 0) {
                m_counts.isStoppedAtMost = true;
                --m_parts.Lines().rows;
                m_parts.Lines().continuations -= record.lines - 1;
                return false;
            }
            ReadRow(record);
        } else if (record.kind == ERecord::Bad) {
            AddBad(record);
        }
        if (m_meter.IsDue(++m_recordsRead)) {
            Report();
        }
        return true;
    }

    void AddBad(const TableRecord& record)
    {
        ++m_counts.badRows;
        ++m_counts.bad[record.why];
        m_sink.Add(record);
    }

    void ReadRow(TableRecord& record)
    {
        const std::size_t misfit = AppendRow(record);
        if (misfit == 0) {
            return;
        }
        m_appender.AbandonRow();
        record.kind = ERecord::Bad;
        record.why = EBadRow::Value;
        record.column = misfit;
        --m_parts.Lines().rows;
        m_parts.Lines().continuations -= record.lines - 1;
        m_parts.Lines().bad += record.lines;
        AddBad(record);
    }

    /// @return the column, from 1, of a cell that does not fit; 0 when the row was appended
    std::size_t AppendRow(const TableRecord& record)
    {
        m_states.assign(m_rules.columnCount, ECellState::Empty);
        for (std::size_t column = 0; column < m_rules.columnCount; ++column) {
            if (m_attributeOf[column] == TableLayout::kNoSource && column < record.cells.size()) {
                const ColumnRule& rule = m_rules.columns[column];
                const std::string_view cell = record.cells[column];
                m_states[column] = IsCoordinate(column) ? rule.ReadDouble(cell, m_numbers[column])
                                                        : rule.Read(cell);
                if (m_states[column] == ECellState::Misfit) {
                    return column + 1;
                }
            }
        }
        if (m_rules.isAllText) {
            AppendTexts(record);
            return EndRow(record);
        }
        for (const std::size_t source : m_layout.sources) {
            if (source >= record.cells.size()) {
                m_appender.AddNull();
                continue;
            }
            m_states[source] =
                AppendCell(m_rules.columns[source], record.cells[source], m_numbers[source]);
            if (m_states[source] == ECellState::Misfit) {
                return source + 1;
            }
        }
        return EndRow(record);
    }

    /// Appends the cells that a row has, as they are: a short row has fewer attributes.
    void AppendTexts(const TableRecord& record)
    {
        const std::size_t most =
            record.isTrailing ? m_rules.columnCount : std::numeric_limits<std::size_t>::max();
        const std::size_t cells = std::min(record.cells.size(), most);
        m_indices.clear();
        std::size_t extra = m_rules.columnCount;
        for (const std::size_t source : m_layout.sources) {
            const std::size_t index = source == TableLayout::kNoSource ? extra++ : source;
            if (index < cells) {
                m_indices.push_back(index);
            }
        }
        if (extra < cells) {
            AddExtraColumns(extra, cells);
        }
        m_appender.BeginRow(m_indices.size());
        for (const std::size_t index : m_indices) {
            const std::string_view cell = record.cells[index];
            m_appender.AddText(cell, ETextEncoding::Utf8);
            if (index < m_rules.columnCount && !cell.empty()) {
                m_states[index] = ECellState::Value;
            }
        }
    }

    /// Adds columns for cells that the plan has not seen, and the cells' indices.
    void AddExtraColumns(std::size_t first, std::size_t end)
    {
        // Rows that come in runs would have to fill them.
        m_parts.EndRuns();
        std::vector<BColumnInfo> added;
        for (std::size_t index = first; index < end; ++index) {
            added.push_back(Table::MakeExtraColumn(index - m_rules.columnCount));
            m_layout.columns.push_back(added.back());
            m_layout.sources.push_back(TableLayout::kNoSource);
            m_indices.push_back(index);
        }
        m_appender.AddColumns(added);
        m_layer.SetSchema(MakeSchema());
    }

    /// @param number gets the value of a number
    ECellState AppendCell(const ColumnRule& rule, std::string_view cell, double& number)
    {
        ECellState state = ECellState::Value;
        switch (rule.Type()) {
        case EPlanType::Integer32: {
            std::int32_t value = 0;
            state = rule.ReadInt32(cell, value);
            if (state == ECellState::Value) {
                m_appender.AddInt32(value);
                number = value;
            }
            break;
        }
        case EPlanType::Integer64: {
            std::int64_t value = 0;
            state = rule.ReadInt64(cell, value);
            if (state == ECellState::Value) {
                m_appender.AddInt64(value);
                number = static_cast<double>(value);
            }
            break;
        }
        case EPlanType::Double: {
            double value = 0;
            state = rule.ReadDouble(cell, value);
            if (state == ECellState::Value) {
                m_appender.AddDouble(value);
                number = value;
            }
            break;
        }
        case EPlanType::Boolean: {
            bool value = false;
            state = rule.ReadBoolean(cell, value);
            if (state == ECellState::Value) {
                m_appender.AddBoolean(value);
            }
            break;
        }
        case EPlanType::Date:
        case EPlanType::Time:
        case EPlanType::DateTime: {
            Table::IsoBuffer buffer;
            std::string_view text;
            state = rule.ReadTime(cell, buffer, text);
            if (state == ECellState::Value) {
                m_appender.AddText(text, ETextEncoding::Ascii);
            }
            break;
        }
        case EPlanType::Text:
        case EPlanType::Angle:
            state = rule.ReadText(cell);
            if (state == ECellState::Value) {
                m_appender.AddText(cell, ETextEncoding::Utf8);
            }
            break;
        }
        if (state == ECellState::Empty || state == ECellState::NullWord) {
            m_appender.AddNull();
        }
        return state;
    }

    /// @return as AppendRow
    std::size_t EndRow(const TableRecord& record)
    {
        const auto cellOf = [&](std::size_t column) {
            return column < record.cells.size() ? record.cells[column] : std::string_view();
        };
        EPointKind kind = EPointKind::None;
        double x = kNaN;
        double y = kNaN;
        double z = kNaN;
        auto place = PointRule::EPlace::None;
        if (m_points) {
            const bool hasBoth = m_states[m_points->X().column] == ECellState::Value &&
                                 m_states[m_points->Y().column] == ECellState::Value;
            if (hasBoth && m_points->IsPlain()) {
                x = m_numbers[m_points->X().column];
                y = m_numbers[m_points->Y().column];
                place = m_points->Check(x, y);
            } else if (hasBoth) {
                place = m_points->Read(cellOf, x, y);
            }
            if (place == PointRule::EPlace::Point) {
                kind = EPointKind::XY;
                if (m_height && m_rules.columns[*m_height].ReadDouble(cellOf(*m_height), z) ==
                                    ECellState::Value) {
                    kind = EPointKind::XYZ;
                }
            } else if (const std::size_t lost = FindLostCoordinate(); lost != 0) {
                return lost;
            }
        }
        const auto number = static_cast<std::uint32_t>(m_counts.rows + 1);
        if (m_layout.nameSource != TableLayout::kNoSource) {
            m_appender.EndRow(kind, x, y, z, cellOf(m_layout.nameSource), ETextEncoding::Utf8);
        } else {
            m_appender.EndRow(kind, x, y, z, number);
        }
        if (kind != EPointKind::None) {
            CountPoint(x, y, kind == EPointKind::XYZ ? z : kNaN);
        } else if (m_points && m_counts.lineWithoutPoint == 0) {
            m_counts.lineWithoutPoint = record.line;
        }
        m_counts.outOfRange += place == PointRule::EPlace::OutOfRange ? 1U : 0U;
        ++m_counts.rows;
        m_counts.shortRows += record.isShort ? 1U : 0U;
        m_counts.trailingRows += record.isTrailing ? 1U : 0U;
        m_counts.repairedRows += record.isRepaired ? 1U : 0U;
        for (std::size_t column = 0; column < m_rules.columnCount; ++column) {
            m_counts.columns[column].empties += m_states[column] == ECellState::Empty ? 1U : 0U;
            m_counts.columns[column].nullWords +=
                m_states[column] == ECellState::NullWord ? 1U : 0U;
        }
        return 0;
    }

    /// Rule: where X and Y are no attributes, a row with a cell of theirs and no point is bad, so
    /// that the cell is not lost. @return the column, from 1; 0 for none
    [[nodiscard]] std::size_t FindLostCoordinate() const
    {
        for (const std::size_t column : {m_points->X().column, m_points->Y().column}) {
            if (m_attributeOf[column] == TableLayout::kNoSource &&
                m_states[column] == ECellState::Value) {
                return column + 1;
            }
        }
        return 0;
    }

    void CountPoint(double x, double y, double z)
    {
        ++m_counts.points;
        m_counts.extent.Include(x, y, z);
    }

    // Rows column by column.

    /// @return whether reading goes on
    bool ReadRun()
    {
        const RowRun& run = m_parts.Run();
        const std::size_t rows = std::min(run.rows, RowsLeft());
        m_needsDecoding =
            !run.isAscii && m_parts.Decoder().Kind() != Table::CellDecoder::EKind::Utf8;
        std::size_t done = 0;
        if (m_layout.nameSource != TableLayout::kNoSource) {
            for (; done < run.rows && RowsLeft() > 0; ++done) {
                ReadRowOfRun(done);
            }
        } else {
            done = ReadRows(rows);
        }
        // Bad rows have made room for others.
        for (; done < run.rows && RowsLeft() > 0; ++done) {
            ReadRowOfRun(done);
        }
        Report();
        if (done < run.rows) {
            m_parts.Lines().rows -= run.rows - done;
            m_counts.isStoppedAtMost = true;
            return false;
        }
        return true;
    }

    void ReadRowOfRun(std::size_t row)
    {
        m_parts.ReadRow(row, m_rowRecord);
        if (m_rowRecord.kind == ERecord::Row) {
            ReadRow(m_rowRecord);
        }
    }

    /// Reads the first rows of the run. @return how many that were
    std::size_t ReadRows(std::size_t rows)
    {
        std::size_t done = 0;
        while (done < rows) {
            const std::size_t converted = ConvertRows(done, rows - done);
            if (m_misfits.empty()) {
                done += converted;
                continue;
            }
            // The rows between those that do not fit are converted again.
            m_bad = m_misfits;
            std::sort(m_bad.begin(), m_bad.end(), [](const Misfit& a, const Misfit& b) {
                return std::pair(a.row, a.column) < std::pair(b.row, b.column);
            });
            for (const Misfit& misfit : m_bad) {
                if (misfit.row < done) {
                    continue;
                }
                while (done < misfit.row) {
                    done += ConvertRows(done, misfit.row - done);
                    assert(m_misfits.empty());
                }
                ReadRowOfRun(done++);
            }
        }
        return rows;
    }

    /// Converts rows of the run, and appends them when all fit. @return how many
    std::size_t ConvertRows(std::size_t first, std::size_t wanted)
    {
        m_misfits.clear();
        m_first = first;
        std::fill(m_nulls.begin(), m_nulls.end(), Nulls());
        // Arrays of a page grow once.
        m_appender.ReserveRows(RowsToCome(wanted), m_layout.hasZ);
        const BFeatureAppender::Rows rows = m_appender.BeginRows(wanted, m_layout.hasZ);
        m_fallbacks.resize(rows.count);
        for (std::size_t column = 0; column < m_rules.columnCount; ++column) {
            const std::size_t attribute = m_attributeOf[column];
            if (attribute != TableLayout::kNoSource) {
                ConvertColumn(column, rows.columns[attribute], rows);
            } else if (!IsCoordinate(column)) {
                CheckColumn(column, rows.count);
            }
        }
        ConvertPoints(rows);
        if (!m_misfits.empty()) {
            m_appender.AbandonRow();
            return rows.count;
        }
        Commit(rows);
        return rows.count;
    }

    void Commit(const BFeatureAppender::Rows& rows)
    {
        if (m_points && m_newPoints < rows.count && m_counts.lineWithoutPoint == 0) {
            const auto none = std::find(
                m_kinds.begin(), m_kinds.end(), static_cast<std::uint8_t>(EPointKind::None));
            m_parts.ReadRow(m_first + static_cast<std::size_t>(none - m_kinds.begin()),
                            m_rowRecord);
            m_counts.lineWithoutPoint = m_rowRecord.line;
        }
        m_appender.EndRows(
            rows.count, m_kinds.data(), static_cast<std::uint32_t>(m_counts.rows + 1));
        m_counts.rows += rows.count;
        m_counts.rowsByColumn += rows.count;
        m_counts.points += m_newPoints;
        m_counts.outOfRange += m_newOutOfRange;
        if (m_newPoints > 0) {
            const bool hasZ = m_least.z <= m_most.z;
            m_counts.extent.Include(m_least.x, m_least.y, hasZ ? m_least.z : kNaN);
            m_counts.extent.Include(m_most.x, m_most.y, hasZ ? m_most.z : kNaN);
        }
        for (std::size_t column = 0; column < m_rules.columnCount; ++column) {
            m_counts.columns[column].empties += m_nulls[column].empties;
            m_counts.columns[column].nullWords += m_nulls[column].nullWords;
        }
    }

    [[nodiscard]] bool IsCoordinate(std::size_t column) const
    {
        return m_points && m_points->IsPlain() &&
               (column == m_points->X().column || column == m_points->Y().column ||
                (m_height && column == *m_height));
    }

    [[nodiscard]] FieldRun MakeFields(std::size_t column, std::size_t rows)
    {
        const RowRun& run = m_parts.Run();
        const std::size_t field = m_parts.FieldOfColumn()[column];
        FieldRun fields{};
        fields.text = run.text;
        fields.ends = run.ends + m_first * run.fields + field;
        fields.stride = run.fields;
        fields.trim = field + 1 == run.fields ? run.trim : 0;
        fields.rows = rows;
        fields.hasQuotes = run.hasQuotes;
        fields.emptyIsZero = false;
        fields.decimals = &m_decimals[column];
        return fields;
    }

    /// The cell of a row, counted from the first one of `fields`; valid until the next call.
    std::string_view CellAt(const FieldRun& fields, std::size_t row)
    {
        const std::uint32_t* end = fields.ends + row * fields.stride;
        const std::uint32_t begin = end[-1] + 1;
        std::string_view cell(fields.text + begin, *end - fields.trim - begin);
        if (fields.hasQuotes && !cell.empty() && cell.front() == '"') {
            cell = cell.substr(1, cell.size() - 2);
            if (std::memchr(cell.data(), '"', cell.size()) != nullptr) {
                m_unquoted.clear();
                for (std::size_t at = 0; at < cell.size(); ++at) {
                    m_unquoted.push_back(cell[at]);
                    at += cell[at] == '"' ? 1U : 0U;
                }
                cell = m_unquoted;
            }
        }
        if (m_needsDecoding && !IsAscii(cell)) {
            m_decoded.clear();
            m_parts.Decoder().Append(cell, m_decoded);
            cell = m_decoded;
        }
        return cell;
    }

    void AddMisfit(std::size_t row, std::size_t column)
    {
        m_misfits.push_back({m_first + row, column + 1});
    }

    /// Notes what a cell is that has no value, and says so of its row.
    void AddNull(ECellState state,
                 std::size_t column,
                 std::size_t row,
                 const BFeatureAppender::Rows& rows,
                 BColumnData& data)
    {
        switch (state) {
        case ECellState::Value:
            return;
        case ECellState::Misfit:
            AddMisfit(row, column);
            return;
        case ECellState::Empty:
            ++m_nulls[column].empties;
            break;
        case ECellState::NullWord:
            ++m_nulls[column].nullWords;
            break;
        }
        data.SetNull(rows.firstRow + row);
    }

    void ConvertColumn(std::size_t column, BColumnData& data, const BFeatureAppender::Rows& rows)
    {
        const ColumnRule& rule = m_rules.columns[column];
        const FieldRun fields = MakeFields(column, rows.count);
        switch (rule.Type()) {
        case EPlanType::Integer32: {
            std::int32_t* const out = data.int32s.Data() + rows.firstRow;
            ConvertNumbers(fields, column, out, [&](std::size_t row, std::string_view cell) {
                out[row] = 0;
                AddNull(rule.ReadInt32(cell, out[row]), column, row, rows, data);
            });
            break;
        }
        case EPlanType::Double: {
            double* const out = data.doubles.Data() + rows.firstRow;
            ConvertNumbers(fields, column, out, [&](std::size_t row, std::string_view cell) {
                out[row] = 0;
                AddNull(rule.ReadDouble(cell, out[row]), column, row, rows, data);
            });
            break;
        }
        case EPlanType::Integer64: {
            std::int64_t* const out = data.int64s.Data() + rows.firstRow;
            for (std::size_t row = 0; row < rows.count; ++row) {
                out[row] = 0;
                AddNull(rule.ReadInt64(CellAt(fields, row), out[row]), column, row, rows, data);
            }
            break;
        }
        case EPlanType::Boolean:
            ConvertBooleans(fields, column, data, rows);
            break;
        case EPlanType::Date:
        case EPlanType::Time:
        case EPlanType::DateTime:
            for (std::size_t row = 0; row < rows.count; ++row) {
                Table::IsoBuffer buffer;
                std::string_view text;
                AddNull(rule.ReadTime(CellAt(fields, row), buffer, text), column, row, rows, data);
                AppendTo(data.texts, text, ETextEncoding::Ascii);
            }
            break;
        case EPlanType::Text:
        case EPlanType::Angle:
            ConvertTexts(fields, column, data, rows);
            break;
        }
    }

    void ConvertBooleans(const FieldRun& fields,
                         std::size_t column,
                         BColumnData& data,
                         const BFeatureAppender::Rows& rows)
    {
        const ColumnRule& rule = m_rules.columns[column];
        std::uint8_t* const out = data.booleans.Data() + rows.firstRow;
        const bool isPlain = !rule.HasNullTexts();
        for (std::size_t row = 0; row < fields.rows; ++row) {
            row = isPlain ? ReadPlainWords(fields, row, out) : row;
            if (row < fields.rows) {
                bool value = false;
                AddNull(rule.ReadBoolean(CellAt(fields, row), value), column, row, rows, data);
                out[row] = value ? 1 : 0;
            }
        }
    }

    static void AppendTo(BTextArray& texts, std::string_view text, ETextEncoding encoding)
    {
        if (!TryAppendText(texts, text, encoding)) {
            AppendText(texts, text, encoding);
        }
    }

    /// Converts by the kernel where the column has plain numbers; calls `convert` with the row and
    /// the cell of what the kernel leaves.
    template <typename Number, typename Convert>
    void
    ConvertNumbers(const FieldRun& fields, std::size_t column, Number* out, const Convert& convert)
    {
        const ColumnRule& rule = m_rules.columns[column];
        if (!rule.IsPlainNumber()) {
            for (std::size_t row = 0; row < fields.rows; ++row) {
                convert(row, CellAt(fields, row));
            }
            return;
        }
        std::size_t count = 0;
        if constexpr (std::is_same_v<Number, double>) {
            count = m_kernels.toDoubles(fields, out, m_fallbacks.data());
        } else {
            count = m_kernels.toInt32s(fields, out, m_fallbacks.data());
        }
        for (std::size_t at = 0; at < count; ++at) {
            convert(m_fallbacks[at], CellAt(fields, m_fallbacks[at]));
        }
        if (!rule.AllowsLeadingZeros()) {
            CheckLeadingZeros(fields, column);
        }
    }

    /// Rule: digits after a zero in front are a code, and no value of a column of numbers.
    void CheckLeadingZeros(const FieldRun& fields, std::size_t column)
    {
        const std::uint64_t* const codes = m_parts.Run().codes;
        if (codes == nullptr) {
            return;
        }
        // The digit after the zero is the second to the fourth byte: a quote and a minus may come
        // before.
        std::uint64_t hits = 0;
        const std::uint32_t* ends = fields.ends;
        for (std::size_t row = 0; row < fields.rows; ++row, ends += fields.stride) {
            hits |= Scan::BitsFrom(codes, ends[-1] + 1U) & 0xEU;
        }
        if (hits == 0) {
            return;
        }
        ends = fields.ends;
        for (std::size_t row = 0; row < fields.rows; ++row, ends += fields.stride) {
            const char* cell = fields.text + (ends[-1] + 1U);
            cell += *cell == '"' ? 1 : 0;
            cell += *cell == '-' ? 1 : 0;
            if (cell[0] == '0' && Values::IsDigit(cell[1])) {
                AddMisfit(row, column);
            }
        }
    }

    void ConvertTexts(const FieldRun& fields,
                      std::size_t column,
                      BColumnData& data,
                      const BFeatureAppender::Rows& rows)
    {
        const ColumnRule& rule = m_rules.columns[column];
        BTextArray& texts = data.texts;
        const bool isUtf8 = !m_parts.Run().isAscii;
        const ETextEncoding encoding = isUtf8 ? ETextEncoding::Utf8 : ETextEncoding::Ascii;
        if (rule.HasNullTexts() || rule.Type() == EPlanType::Angle) {
            for (std::size_t row = 0; row < fields.rows; ++row) {
                const std::string_view cell = CellAt(fields, row);
                const ECellState state = rule.ReadText(cell);
                AppendTo(texts, state == ECellState::Value ? cell : std::string_view(), encoding);
                AddNull(state, column, row, rows, data);
            }
            return;
        }
        for (std::size_t row = 0; row < fields.rows;) {
            if (texts.encoding != ETextEncoding::Utf16) {
                texts.bytes.ReserveMore(kTextRoom);
                AsciiReader::Kernels::TextTarget target{texts.bytes.Data(),
                                                        texts.bytes.GetSize(),
                                                        texts.bytes.GetCapacity(),
                                                        texts.ends.Data() + rows.firstRow,
                                                        std::numeric_limits<std::size_t>::max(),
                                                        !m_needsDecoding &&
                                                            texts.encoding == ETextEncoding::Utf8};
                row = m_kernels.appendTexts(fields, row, target);
                texts.bytes.Resize(target.size);
                texts.ends.Resize(rows.firstRow + row);
            }
            if (row < fields.rows) {
                AppendText(texts, CellAt(fields, row), encoding);
                ++row;
            }
        }
        MarkEmptyTexts(texts, column, data, rows);
    }

    void MarkEmptyTexts(const BTextArray& texts,
                        std::size_t column,
                        BColumnData& data,
                        const BFeatureAppender::Rows& rows)
    {
        const std::uint32_t* const ends = texts.ends.Data() + rows.firstRow;
        std::uint32_t before = rows.firstRow == 0 ? 0 : ends[-1];
        std::uint64_t empties = 0;
        for (std::size_t row = 0; row < rows.count; ++row) {
            if (ends[row] == before) {
                ++empties;
                if (!m_rules.isAllText) {
                    data.SetNull(rows.firstRow + row);
                }
            }
            before = ends[row];
        }
        m_nulls[column].empties += empties;
    }

    /// Counts the cells of a column that is no attribute.
    void CheckColumn(std::size_t column, std::size_t rows)
    {
        const FieldRun fields = MakeFields(column, rows);
        for (std::size_t row = 0; row < rows; ++row) {
            CountState(m_rules.columns[column].Read(CellAt(fields, row)), column, row);
        }
    }

    void CountState(ECellState state, std::size_t column, std::size_t row)
    {
        m_nulls[column].empties += state == ECellState::Empty ? 1U : 0U;
        m_nulls[column].nullWords += state == ECellState::NullWord ? 1U : 0U;
        if (state == ECellState::Misfit) {
            AddMisfit(row, column);
        }
    }

    void ConvertPoints(const BFeatureAppender::Rows& rows)
    {
        m_newPoints = 0;
        m_newOutOfRange = 0;
        constexpr double kInfinity = std::numeric_limits<double>::infinity();
        m_least = {kInfinity, kInfinity, kInfinity};
        m_most = {-kInfinity, -kInfinity, -kInfinity};
        m_kinds.assign(rows.count, static_cast<std::uint8_t>(EPointKind::None));
        if (!m_points) {
            std::fill_n(rows.x, rows.count, kNaN);
            std::fill_n(rows.y, rows.count, kNaN);
            return;
        }
        if (m_points->IsPlain()) {
            ConvertAxis(m_points->X().column, rows, rows.x);
            ConvertAxis(m_points->Y().column, rows, rows.y);
            if (m_height) {
                ConvertAxis(*m_height, rows, rows.z);
            }
        }
        if (m_points->IsPlain() && AreAllPoints(rows)) {
            m_kinds.assign(rows.count,
                           static_cast<std::uint8_t>(m_height ? EPointKind::XYZ : EPointKind::XY));
            m_newPoints = rows.count;
            return;
        }
        for (std::size_t row = 0; row < rows.count; ++row) {
            EndPoint(row, rows);
        }
    }

    /// Includes all values of an axis. @return whether all are numbers
    static bool IncludeAll(const double* values, std::size_t count, double& least, double& most)
    {
        // In four lanes, since a comparison waits for the one before it.
        constexpr std::size_t kLanes = 4;
        std::array<double, kLanes> low{least, least, least, least};
        std::array<double, kLanes> high{most, most, most, most};
        unsigned others = 0;
        const auto include = [&](double value, std::size_t lane) {
            low[lane] = value < low[lane] ? value : low[lane];
            high[lane] = value > high[lane] ? value : high[lane];
            others |= std::isnan(value) ? 1U : 0U;
        };
        std::size_t row = 0;
        for (; row + kLanes <= count; row += kLanes) {
            include(values[row], 0);
            include(values[row + 1], 1);
            include(values[row + 2], 2);
            include(values[row + 3], 3);
        }
        for (; row < count; ++row) {
            include(values[row], 0);
        }
        least = *std::min_element(low.begin(), low.end());
        most = *std::max_element(high.begin(), high.end());
        return others == 0;
    }

    /// Whether every row has a point with all coordinates; the corners are set then.
    bool AreAllPoints(const BFeatureAppender::Rows& rows)
    {
        const Corner least = m_least;
        const Corner most = m_most;
        const bool areNumbers = IncludeAll(rows.x, rows.count, m_least.x, m_most.x) &&
                                IncludeAll(rows.y, rows.count, m_least.y, m_most.y) &&
                                (!m_height || IncludeAll(rows.z, rows.count, m_least.z, m_most.z));
        // The box is within the degrees when its corners are.
        const bool isAll = areNumbers &&
                           m_points->Check(m_least.x, m_least.y) == PointRule::EPlace::Point &&
                           m_points->Check(m_most.x, m_most.y) == PointRule::EPlace::Point;
        if (!isAll) {
            m_least = least;
            m_most = most;
        }
        return isAll;
    }

    /// Settles the point of a row, whose coordinates are known where they are plain.
    void EndPoint(std::size_t row, const BFeatureAppender::Rows& rows)
    {
        const bool isPlain = m_points->IsPlain();
        const PointRule::EPlace place =
            isPlain ? m_points->Check(rows.x[row], rows.y[row]) : ReadPoint(row, rows);
        if (place != PointRule::EPlace::Point) {
            m_newOutOfRange += place == PointRule::EPlace::OutOfRange ? 1U : 0U;
            FindLostCoordinates(row, rows);
            rows.x[row] = kNaN;
            rows.y[row] = kNaN;
            if (m_height) {
                rows.z[row] = kNaN;
            }
            return;
        }
        ++m_newPoints;
        const double z = m_height ? rows.z[row] : kNaN;
        m_kinds[row] = static_cast<std::uint8_t>(std::isnan(z) ? EPointKind::XY : EPointKind::XYZ);
        m_least.x = std::min(m_least.x, rows.x[row]);
        m_least.y = std::min(m_least.y, rows.y[row]);
        m_most.x = std::max(m_most.x, rows.x[row]);
        m_most.y = std::max(m_most.y, rows.y[row]);
        // A NaN changes nothing.
        m_least.z = z < m_least.z ? z : m_least.z;
        m_most.z = z > m_most.z ? z : m_most.z;
    }

    /// See FindLostCoordinate.
    void FindLostCoordinates(std::size_t row, const BFeatureAppender::Rows& rows)
    {
        const std::pair<std::size_t, double> axes[] = {{m_points->X().column, rows.x[row]},
                                                       {m_points->Y().column, rows.y[row]}};
        for (const auto& [column, value] : axes) {
            if (m_attributeOf[column] == TableLayout::kNoSource && !std::isnan(value)) {
                AddMisfit(row, column);
            }
        }
    }

    PointRule::EPlace ReadPoint(std::size_t row, const BFeatureAppender::Rows& rows)
    {
        const auto cellOf = [&](std::size_t column) {
            return CellAt(MakeFields(column, rows.count), row);
        };
        const auto hasValue = [&](std::size_t column) {
            return m_rules.columns[column].Read(cellOf(column)) == ECellState::Value;
        };
        const bool hasBoth = hasValue(m_points->X().column) && hasValue(m_points->Y().column);
        rows.x[row] = kNaN;
        rows.y[row] = kNaN;
        const PointRule::EPlace place =
            hasBoth ? m_points->Read(cellOf, rows.x[row], rows.y[row]) : PointRule::EPlace::None;
        if (m_height) {
            double z = kNaN;
            const ECellState state = m_rules.columns[*m_height].ReadDouble(cellOf(*m_height), z);
            rows.z[row] = state == ECellState::Value ? z : kNaN;
        }
        return place;
    }

    /// One coordinate of all rows, NaN where there is none: from its attribute, or else from its
    /// cells.
    void ConvertAxis(std::size_t column, const BFeatureAppender::Rows& rows, double* out)
    {
        const std::size_t attribute = m_attributeOf[column];
        if (attribute != TableLayout::kNoSource) {
            CopyAxis(rows.columns[attribute], rows, out);
            return;
        }
        const ColumnRule& rule = m_rules.columns[column];
        ConvertNumbers(MakeFields(column, rows.count),
                       column,
                       out,
                       [&](std::size_t row, std::string_view cell) {
                           const ECellState state = rule.ReadDouble(cell, out[row]);
                           out[row] = state == ECellState::Value ? out[row] : kNaN;
                           CountState(state, column, row);
                       });
    }

    static void CopyAxis(const BColumnData& data, const BFeatureAppender::Rows& rows, double* out)
    {
        VisitColumn(data, [&](const auto& array) {
            if constexpr (!std::is_same_v<decltype(array), const BTextArray&>) {
                for (std::size_t row = 0; row < rows.count; ++row) {
                    out[row] = static_cast<double>(array[rows.firstRow + row]);
                }
            }
        });
        for (std::size_t row = 0; !data.validity.IsEmpty() && row < rows.count; ++row) {
            if (data.IsNull(rows.firstRow + row)) {
                out[row] = kNaN;
            }
        }
    }

    TableRules m_rules;
    const TableRequest& m_request;
    TableLayout m_layout;
    TableParts m_parts;
    BVectorLayer& m_layer;
    BadRowSink& m_sink;
    ProgressMeter m_meter;
    BFeatureAppender m_appender;
    std::optional<PointRule> m_points;
    std::optional<std::size_t> m_height;    ///< column of Z
    std::vector<std::size_t> m_attributeOf; ///< of each column of the plan
    TableCounts m_counts;
    std::uint64_t m_recordsRead = 0;
    std::vector<ECellState> m_states;   ///< of the current row's cells
    std::vector<std::size_t> m_indices; ///< of cells that are appended
    std::vector<double> m_numbers;      ///< their values, where they are numbers
    TableRecord m_rowRecord;

    const AsciiReader::Kernels::Set& m_kernels = AsciiReader::Kernels::Best();
    std::size_t m_first = 0; ///< row of the run that is converted first
    bool m_needsDecoding = false;
    std::vector<std::uint32_t> m_decimals;
    std::vector<std::uint32_t> m_fallbacks;
    std::vector<std::uint8_t> m_kinds;
    std::vector<Nulls> m_nulls;
    std::vector<Misfit> m_misfits;
    std::vector<Misfit> m_bad;
    std::uint64_t m_newPoints = 0;
    std::uint64_t m_newOutOfRange = 0;
    Corner m_least; ///< of the points converted last
    Corner m_most;
    std::string m_unquoted;
    std::string m_decoded;
};

} // namespace

TableCounts ReadTable(const Plan& plan,
                      const TableRequest& request,
                      BVectorLayer& layer,
                      BadRowSink& sink,
                      const Callbacks& callbacks)
{
    return WrapFailures(plan.path,
                        [&] { return TableReader(plan, request, layer, sink, callbacks).Run(); });
}

} // namespace Orvane::Import
