// Compares the counts of an import, class by class.
#include "Balance.h"

#include "table/Table.h"

#include <algorithm>
#include <string>

namespace Orvane::Import {

namespace {

bool IsAngleAttribute(const PlanColumn& column)
{
    return column.type.value == EPlanType::Angle && column.role == EPlanRole::Attribute;
}

/// Why a column is text that looks like something else, with the first cell that says so.
std::string WhyText(const PlanColumn& column)
{
    if (column.type.decider == EDecider::Given || column.role != EPlanRole::Attribute) {
        return {};
    }
    if (IsAngleAttribute(column)) {
        return "its angles or durations are no coordinates";
    }
    if (column.type.value != EPlanType::Text || column.type.rivals.empty()) {
        return {};
    }
    const PlanRival& rival = column.type.rivals.front();
    std::string text = rival.against;
    for (const PlanEvidence& evidence : column.type.evidence) {
        const bool isOdd = evidence.what == "text" || evidence.what == "code of digits";
        if (isOdd && !evidence.places.empty()) {
            const PlanPlace& place = evidence.places.front();
            return text + ", first '" + place.text + "' in line " + std::to_string(place.line);
        }
    }
    return text;
}

void Compare(std::uint64_t one,
             const char* oneWords,
             std::uint64_t other,
             const char* otherWords,
             Ledger& ledger)
{
    if (one != other) {
        ledger.imbalances.push_back(std::to_string(one) + " " + oneWords + ", and " +
                                    std::to_string(other) + " " + otherWords);
    }
}

} // namespace

Ledger MakeLedger(const Plan& plan, const TableCounts& counts)
{
    Ledger ledger;
    ledger.linesScanned = plan.bytes.lines;
    const TableLines& lines = counts.lines;
    ledger.lines.names = lines.names;
    ledger.lines.preamble = lines.preamble;
    ledger.lines.comments = lines.comments;
    ledger.lines.blanks = lines.blanks;
    ledger.lines.repeatedNames = lines.repeatedNames;
    ledger.lines.points = std::min(counts.points, lines.rows);
    ledger.lines.rowsWithoutPoint = lines.rows - ledger.lines.points;
    ledger.lines.continuations = lines.continuations;
    ledger.lines.badRows = lines.bad;
    ledger.lines.footers = lines.footers;
    ledger.lines.furtherTables = lines.furtherTables;
    ledger.rows = counts.rows;
    ledger.points = counts.points;
    ledger.shortRows = counts.shortRows;
    ledger.trailingRows = counts.trailingRows;
    ledger.repairedRows = counts.repairedRows;
    ledger.outOfRange = counts.outOfRange;
    ledger.lineWithoutPoint = counts.lineWithoutPoint;
    ledger.badRows = counts.badRows;
    for (const auto& [why, count] : counts.bad) {
        ledger.badRowsByReason[std::string(NameOf(why))] = count;
    }
    for (std::size_t index = 0; index < plan.columns.size() && index < counts.columns.size();
         ++index) {
        const PlanColumn& column = plan.columns[index];
        if (column.role == EPlanRole::TrailingSeparator && !plan.isAllText) {
            continue;
        }
        const ColumnCounts& cells = counts.columns[index];
        ledger.columns.push_back(
            {column.name,
             std::string(NameOf(IsAngleAttribute(column) ? EPlanType::Text : column.type.value)),
             cells.values,
             cells.empties,
             cells.nullWords,
             column.nullSpellings,
             WhyText(column)});
        const std::uint64_t all = cells.values + cells.empties + cells.nullWords;
        if (all != counts.rows) {
            ledger.imbalances.push_back("column " + std::to_string(index) + " has " +
                                        std::to_string(all) + " values and nulls in " +
                                        std::to_string(counts.rows) + " rows");
        }
    }
    ledger.extent = counts.extent;
    ledger.rowsByColumn = counts.rowsByColumn;
    Compare(ledger.linesScanned,
            "lines by their ends",
            ledger.lines.Sum(),
            "lines in the classes of the account",
            ledger);
    Compare(counts.rows, "rows were read", lines.rows, "lines begin a row", ledger);
    return ledger;
}

void CloseLedger(const OutputCounts& counts, const WriteReport& written, Ledger& ledger)
{
    ledger.rowsWritten = counts.rowsWritten;
    ledger.pointsWritten = counts.pointsWritten;
    Compare(ledger.rows, "rows were read", counts.layerRows, "are in the layer", ledger);
    Compare(ledger.points, "points were read", counts.layerPoints, "are in the layer", ledger);
    // Rows that the format cannot hold are a loss, listed below.
    Compare(ledger.rows - std::min(ledger.rows, written.rowsLeftOut),
            "rows were read that the format holds",
            counts.rowsWritten,
            "are in the output",
            ledger);
    Compare(ledger.points, "points were read", counts.pointsWritten, "are in the output", ledger);
    Compare(ledger.badRows, "rows are bad", counts.rejected, "were put aside", ledger);
    for (const Note& note : written.notes) {
        const bool isLoss = std::any_of(written.losses.begin(),
                                        written.losses.end(),
                                        [&](const Loss& loss) { return loss.code == note.code; });
        if (isLoss) {
            ledger.imbalances.push_back(note.text);
        }
    }
}

} // namespace Orvane::Import
