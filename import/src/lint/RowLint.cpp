// Record by record.
#include "RowLint.h"

#include "plan/values/FoldedCell.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <optional>
#include <utility>

namespace Orvane::Import {

namespace {

/// The reader's sample of lines, the names line among them.
constexpr std::size_t kSampleLines = 5;
/// Longer texts are no spelling of a missing value.
constexpr std::size_t kMostNull = 80;
/// Values that files write where there is none.
constexpr std::array<double, 11> kSentinels = {
    -9999, -999, -99, -999.999, -9999.9, -999.9, -99.999, -99999, -32768, 1e30, -1e30};

bool HasFinding(const Plan& plan, std::initializer_list<std::string_view> codes)
{
    return std::any_of(plan.findings.begin(), plan.findings.end(), [&](const PlanFinding& finding) {
        return std::find(codes.begin(), codes.end(), finding.code) != codes.end();
    });
}

void Check(bool goesOn, const ProgressMeter& meter)
{
    if (!goesOn) {
        meter.RethrowIfThrown();
        ThrowCancelled();
    }
}

} // namespace

bool RowLint::Run()
{
    if (m_plan.shape.rows + m_plan.shape.shortRows > 0) {
        SampleRows();
        WatchColumns();
        WatchPoints();
    }
    // Quotes that are text for the plan are quotes for the bare reader.
    const PlanDecision<PlanQuotes>& quotes = m_plan.shape.quotes;
    m_hasForeignQuotes = quotes.value.character != '"' && quotes.decider != EDecider::Default;
    // Of other encodings no plan says whether all bytes are characters.
    const std::string& encoding = m_plan.bytes.encoding.value;
    m_mayHaveInvalid = m_plan.bytes.positions == "file" && encoding != "UTF-8" &&
                       encoding != "US-ASCII" && encoding != "ISO-8859-1";
    const bool isNeeded = IsWalkNeeded();
    if (isNeeded) {
        Walk();
    }
    return isNeeded;
}

void RowLint::SampleRows()
{
    const std::vector<PlanColumn>& columns = m_plan.columns;
    m_bare.resize(columns.size());
    const std::size_t most = kSampleLines - (m_plan.shape.hasNames.value ? 1 : 0);
    TableWalk walk(m_plan, MakeTableRequest());
    TableRecord record;
    std::size_t rows = 0;
    while (rows < most && walk.Next(record)) {
        if (record.kind != ERecord::Row) {
            continue;
        }
        ++rows;
        const std::size_t count = std::min(record.cells.size(), columns.size());
        for (std::size_t index = 0; index < count; ++index) {
            m_bare[index].AddSample(record.cells[index]);
        }
        m_hasBlankCoordinates = m_hasBlankCoordinates || HasBlankCoordinate(record);
    }
}

[[nodiscard]] TableRequest RowLint::MakeTableRequest() const
{
    TableRequest request;
    request.isAllText = m_request.plan.isAllText;
    request.nullTexts = m_request.plan.nullTexts;
    return request;
}

[[nodiscard]] bool RowLint::HasBlankCoordinate(const TableRecord& record) const
{
    const PlanCoordinates& found = m_plan.coordinates.value;
    if (!found.x || std::max(*found.x, *found.y) >= record.cells.size()) {
        return false;
    }
    return EndsInBlank(record.cells[*found.x]) || EndsInBlank(record.cells[*found.y]);
}

bool RowLint::EndsInBlank(std::string_view cell)
{
    return !cell.empty() && (cell.back() == ' ' || cell.back() == '\t');
}

void RowLint::WatchColumns()
{
    const bool isAscii = m_plan.bytes.encoding.value == "US-ASCII";
    const bool hasSentinels = HasFinding(m_plan, {"sentinel"});
    for (const PlanColumn& column : m_plan.columns) {
        std::vector<double> sentinels;
        for (const double value : kSentinels) {
            if (hasSentinels && column.hasRange &&
                (column.least == value || column.most == value)) {
                sentinels.push_back(value);
            }
        }
        ColumnWatch watch(column, m_bare[column.index], std::move(sentinels), isAscii);
        FindDigits(column);
        if (watch.IsNeeded()) {
            m_watches.push_back(std::move(watch));
        }
    }
}

/// A column of nothing but 0 and 1.
void RowLint::FindDigits(const PlanColumn& column)
{
    const bool is01 =
        column.type.value == EPlanType::Integer32 && column.least >= 0 && column.most <= 1;
    if (is01 && m_bare[column.index].Type() == EVariantType::Boolean) {
        m_findings.Add(ELint::BooleanDigits, ELintSeverity::Note, [&](LintFinding& finding) {
            Findings::PutColumn(column, finding);
            finding.message = "The " + Called(column) + " holds nothing but 0 and 1.";
            finding.bareReader = "makes the column boolean";
        });
    }
}

void RowLint::WatchPoints()
{
    const PlanCoordinates& found = m_plan.coordinates.value;
    if (!found.x || m_request.plan.hasNoPoints) {
        return;
    }
    const PlanColumn& x = m_plan.columns.at(*found.x);
    const PlanColumn& y = m_plan.columns.at(*found.y);
    const auto hasNone = [](const PlanColumn& column) {
        return column.empties > 0 || column.nullWords > 0 || column.type.value == EPlanType::Text;
    };
    const auto goesPast = [](const PlanColumn& column, double most) {
        return column.hasRange && (column.least < -most || column.most > most);
    };
    m_point.isKnown = true;
    m_point.x = *found.x;
    m_point.y = *found.y;
    m_point.isDegrees = found.notation == EPlanNotation::Decimal;
    m_point.isPlain = m_point.isDegrees || found.notation == EPlanNotation::Cartesian;
    const bool isPastRange = m_point.isDegrees && (goesPast(x, 360) || goesPast(y, 90));
    // Rule: points at 0, 0 are looked for where the plan has met one, or a walk is made anyway.
    const bool hasZeros = HasFinding(m_plan, {"zero-coordinates", "zero-point"});
    m_point.isNeeded = hasNone(x) || hasNone(y) || isPastRange || m_hasBlankCoordinates || hasZeros;
}

[[nodiscard]] bool RowLint::IsWalkNeeded() const
{
    const Plan& plan = m_plan;
    const PlanShape& shape = plan.shape;
    const bool hasLines =
        std::any_of(shape.lines.begin(), shape.lines.end(), [&](const PlanLines& lines) {
            return lines.firstLine >= shape.firstRowLine;
        });
    const bool hasUneven =
        shape.shortRows + shape.longRows + shape.blankLines + shape.continuations > 0;
    const bool hasPlaces =
        std::any_of(plan.findings.begin(), plan.findings.end(), [](const PlanFinding& finding) {
            return IsFoundByWalk(finding.code) && finding.code != "sentinel";
        });
    return hasLines || m_hasForeignQuotes || m_mayHaveInvalid || hasUneven || hasPlaces ||
           m_point.isNeeded || !m_watches.empty() || !m_request.plan.types.empty() ||
           ByteWalk::IsNeeded(plan);
}

void RowLint::Walk()
{
    m_places = std::make_unique<PlaceFinder>(m_plan);
    if (ByteWalk::IsNeeded(m_plan)) {
        m_bytes =
            std::make_unique<ByteWalk>(m_plan, [this](const OddBytes& odd) { AddBytes(odd); });
    }
    Check(m_meter.BeginPhase(EPhase::Reading, m_plan.bytes.lines), m_meter);
    TableWalk walk(m_plan, MakeTableRequest());
    TableRecord record;
    std::uint64_t records = 0;
    while (walk.Next(record)) {
        if (m_bytes) {
            m_bytes->AdvanceTo(record.byte);
        }
        LookAt(record, walk);
        if (m_meter.IsDue(++records)) {
            Check(m_meter.Report(record.line), m_meter);
        }
    }
    FlushGroup();
    if (m_bytes) {
        m_bytes->Finish();
    }
}

void RowLint::AddBytes(const OddBytes& odd)
{
    const ELint lint = odd.kind == EOddByte::LineEnd     ? ELint::MixedLineEnds
                       : odd.kind == EOddByte::NotLatin1 ? ELint::Encoding
                       : odd.kind == EOddByte::Nul       ? ELint::Nul
                                                         : ELint::InvalidUtf8;
    m_findings.Add(lint, [&](LintFinding& finding) {
        Findings::Put(odd.place, finding);
        if (odd.kind == EOddByte::LineEnd) {
            finding.text = NameOf(odd.lineEnd);
            finding.message = "A line ends in " + finding.text + ", most end otherwise.";
        } else if (odd.kind == EOddByte::NotLatin1) {
            finding.message = "A letter of windows-1252 that ISO-8859-1 does not have.";
            finding.bareReader = "reads a control character";
        } else {
            const std::string count =
                odd.count == 1 ? "One byte" : std::to_string(odd.count) + " bytes";
            finding.message =
                odd.kind == EOddByte::Nul
                    ? count + " of NUL."
                    : count + " that " + (odd.count == 1 ? "is" : "are") + " no UTF-8.";
            if (odd.kind == EOddByte::InvalidUtf8) {
                finding.fixes = {Join(m_findings.Fix(), {"--on-bad", "quarantine"})};
            }
        }
    });
}

void RowLint::LookAt(const TableRecord& record, const TableWalk& walk)
{
    if (record.kind != m_group.kind) {
        FlushGroup();
    }
    switch (record.kind) {
    case ERecord::Head:
        break;
    case ERecord::Row:
        LookAtRow(record, walk);
        break;
    case ERecord::Blank:
        AddLine(ELint::BlankLine, record);
        break;
    case ERecord::Comment:
        AddLine(ELint::CommentLine, record);
        break;
    case ERecord::RepeatedNames:
        AddLine(ELint::RepeatedNames, record);
        break;
    case ERecord::Footer:
    case ERecord::FurtherTable:
        if (m_group.kind == ERecord::Row) {
            m_group = {record.kind, {record.line, 1, record.byte}, 0, CutText(record.raw)};
        }
        m_group.lines += record.lines;
        break;
    case ERecord::Bad:
        LookAtBad(record);
        break;
    }
}

void RowLint::AddLine(ELint lint, const TableRecord& record)
{
    m_findings.Add(lint, [&](LintFinding& finding) {
        Findings::Put({record.line, 1, record.byte}, finding);
        finding.text = CutText(record.raw);
    });
}

/// Reports lines of a footer or of a further table that have come to their end.
void RowLint::FlushGroup()
{
    if (m_group.kind == ERecord::Row) {
        return;
    }
    const bool isTable = m_group.kind == ERecord::FurtherTable;
    m_findings.Add(isTable ? ELint::FurtherTable : ELint::Footer, [&](LintFinding& finding) {
        Findings::Put(m_group.place, finding);
        finding.text = m_group.text;
        const std::string lines =
            std::to_string(m_group.lines) + (m_group.lines == 1 ? " line" : " lines");
        finding.message = isTable
                              ? "A further table of " + lines + ", which is no part of this one."
                              : "A footer of " + lines + ": no rows.";
        if (isTable) {
            finding.fixes = {TableFix()};
        }
    });
    m_group = {};
}

/// The command that imports the further table alone, to a file of its own.
[[nodiscard]] Words RowLint::TableFix() const
{
    PlanRequest request;
    request.separator = m_request.plan.separator;
    request.quote = m_request.plan.quote;
    request.encoding = m_request.plan.encoding;
    request.skipLines = m_group.place.line - 1;
    request.hasNoPoints = true;
    const std::string& path = m_findings.Command().at(1);
    return Join({"import", path, path + ".line-" + std::to_string(m_group.place.line) + ".gpkg"},
                OptionsOf(request));
}

void RowLint::LookAtBad(const TableRecord& record)
{
    const bool isUtf8 = m_plan.bytes.encoding.value == "UTF-8";
    const bool isUnits = m_plan.bytes.positions == "text";
    const bool isNulBlock = record.why == EBadRow::NulBlock;
    if (isNulBlock || (record.why == EBadRow::Encoding && isUtf8 && !isUnits)) {
        return; // Found byte by byte.
    }
    const ELint lint = record.why == EBadRow::TooLong     ? ELint::LineTooLong
                       : record.why == EBadRow::Encoding  ? ELint::InvalidCharacter
                       : record.why == EBadRow::OpenQuote ? ELint::UnclosedQuote
                       : record.why == EBadRow::CutShort  ? ELint::CutRow
                       : record.why == EBadRow::LongRow   ? ELint::LongRow
                       : record.why == EBadRow::ShortRow  ? ELint::ShortRow
                                                          : ELint::BadValue;
    m_findings.Add(lint, ELintSeverity::Error, [&](LintFinding& finding) {
        PutRow(record, record.column, finding);
        if (record.why == EBadRow::LongRow || record.why == EBadRow::ShortRow) {
            finding.message = CountFields(record);
        }
        if (record.why == EBadRow::ShortRow) {
            finding.message += " Its cells do not fit the columns from the left.";
        }
        finding.fixes = {Join(m_findings.Fix(), {"--on-bad", "quarantine"})};
    });
}

[[nodiscard]] std::string RowLint::CountFields(const TableRecord& record) const
{
    const std::size_t fields = record.cells.size();
    const std::size_t columns = m_plan.columns.size();
    return "The row has " + std::to_string(fields) + (fields == 1 ? " field" : " fields") +
           ", the table has " + std::to_string(columns) + ".";
}

/// @param columnNumber from 1; 0: the record as a whole
void RowLint::PutRow(const TableRecord& record, std::size_t columnNumber, LintFinding& finding)
{
    Findings::Put(columnNumber == 0 ? Place{record.line, 1, record.byte}
                                    : m_places->OfField(record, columnNumber - 1),
                  finding);
    finding.column = columnNumber;
    if (columnNumber > 0 && columnNumber <= m_plan.columns.size()) {
        finding.columnName = m_plan.columns[columnNumber - 1].name;
    }
    finding.text = CutText(record.raw.substr(0, record.raw.find_first_of("\r\n")));
}

void RowLint::LookAtRow(const TableRecord& record, const TableWalk& walk)
{
    const std::size_t columns = m_plan.columns.size();
    if (record.lines > 1) {
        LookAtBreaks(record);
    }
    if (record.isTrailing) {
        m_findings.Add(ELint::TrailingSeparator,
                       [&](LintFinding& finding) { PutRow(record, columns + 1, finding); });
    }
    if (record.isShort) {
        m_findings.Add(ELint::ShortRow, [&](LintFinding& finding) {
            PutRow(record, 0, finding);
            finding.message = CountFields(record);
        });
    }
    if (record.isRepaired) {
        LookAtRepair(record);
    } else if (m_hasForeignQuotes && record.raw.find('"') != std::string_view::npos) {
        AddStrayQuote(record, '"');
    }
    if (!m_request.plan.types.empty()) {
        if (const std::size_t column = walk.FindMisfit(record); column != 0) {
            AddMisfit(record, column);
            return;
        }
    }
    const bool isPointTold = m_point.isKnown && LookAtPoint(record);
    for (const ColumnWatch& watch : m_watches) {
        const std::size_t index = watch.Column().index;
        if (index < record.cells.size() && !(isPointTold && m_point.Covers(index))) {
            LookAtCell(record, watch);
        }
    }
}

void RowLint::LookAtRepair(const TableRecord& record)
{
    const Scan::ERepair repair = m_places->RepairOf(record);
    const char quote = m_plan.shape.quotes.value.character;
    if (repair == Scan::ERepair::NulBlock) {
        return; // Found byte by byte.
    }
    if (repair == Scan::ERepair::None && record.raw.find(quote) != std::string_view::npos) {
        AddStrayQuote(record, quote);
        return;
    }
    // A line end of another kind is no part of the record that it ends, so that the record alone
    // shows no repair.
    const ELint lint = repair == Scan::ERepair::Quotes       ? ELint::RepairedQuote
                       : repair == Scan::ERepair::Separator  ? ELint::RepairedSeparator
                       : repair == Scan::ERepair::EmptyCells ? ELint::RepairedShift
                       : repair == Scan::ERepair::Loose      ? ELint::LooseSeparator
                                                             : ELint::RepairedLineEnd;
    AddLine(lint, record);
}

void RowLint::AddStrayQuote(const TableRecord& record, char quote)
{
    m_findings.Add(ELint::StrayQuote, [&](LintFinding& finding) {
        std::size_t field = 0;
        const Place place = m_places->OfStrayQuote(record, quote, field);
        PutRow(record, field + 1, finding);
        Findings::Put(place, finding);
    });
}

void RowLint::AddMisfit(const TableRecord& record, std::size_t columnNumber)
{
    m_findings.Add(ELint::BadValue, [&](LintFinding& finding) {
        PutRow(record, columnNumber, finding);
        const PlanColumn& column = m_plan.columns.at(columnNumber - 1);
        finding.text = CutText(record.cells.at(columnNumber - 1));
        finding.message = Quoted(finding.text) + " in the " + Called(column) + " is no " +
                          std::string(NameOf(column.type.value)) + ".";
        const BareColumn& bare = m_bare.at(column.index);
        finding.bareReader =
            bare.Converts() ? "reads " + bare.Convert(finding.text) : "makes the column text";
        finding.fixes = {Join(m_findings.Fix(), {"--on-bad", "quarantine"})};
    });
}

void RowLint::LookAtBreaks(const TableRecord& record)
{
    constexpr std::uint64_t kBlock = std::uint64_t{16} << 20U;
    // A file of one block has no seam.
    const bool mayBeRefused = m_plan.bytes.size > kBlock;
    m_findings.Add(ELint::QuotedLineBreak,
                   mayBeRefused ? ELintSeverity::Warning : ELintSeverity::Note,
                   [&](LintFinding& finding) {
                       PutRow(record, 0, finding);
                       finding.message = "A row of " + std::to_string(record.lines) +
                                         " lines, with line breaks inside quotes.";
                       if (!mayBeRefused) {
                           finding.bareReader = "keeps them";
                       }
                   });
}

void RowLint::LookAtCell(const TableRecord& record, const ColumnWatch& watch)
{
    const PlanColumn& column = watch.Column();
    const std::string_view cell = record.cells[column.index];
    const std::optional<ELint> lint = watch.Look(cell);
    if (!lint) {
        return;
    }
    const ELintSeverity severity =
        watch.IsChanged(*lint, cell) ? RuleOf(*lint).severity : ELintSeverity::Note;
    m_findings.Add(*lint, severity, [&](LintFinding& finding) {
        PutRow(record, column.index + 1, finding);
        finding.text = CutText(cell);
        finding.message = DescribeCell(*lint, watch, cell);
        finding.bareReader = watch.DescribeBare(cell);
        const bool isOdd = *lint == ELint::OddCell || *lint == ELint::Sentinel;
        if (isOdd && cell.size() <= kMostNull) {
            finding.fixes = {Join(m_findings.Fix(), {"--null", std::string(Values::Trim(cell))})};
        }
    });
}

std::string RowLint::DescribeCell(ELint lint, const ColumnWatch& watch, std::string_view cell)
{
    const std::string where = " in the " + Called(watch.Column());
    const bool isBoolean = watch.Bare().Type() == EVariantType::Boolean;
    switch (lint) {
    case ELint::Gap:
        return "An empty cell" + where + ".";
    case ELint::NullWord:
        return Quoted(cell) + where + " stands for no value.";
    case ELint::LateDecimal:
        return Quoted(cell) + where + ", which begins with whole numbers.";
    case ELint::LateText:
        return Quoted(cell) + where + ", which begins with " +
               (isBoolean ? "truth values." : "numbers.");
    case ELint::OddCell:
        return Quoted(cell) + where + " makes text of a column of numbers or dates.";
    case ELint::BigInteger:
        return Quoted(cell) + where + " is past 32 bits.";
    case ELint::LeadingZero:
        return Quoted(cell) + where + " is a code: a number has no leading zero.";
    case ELint::LongNumber:
        return Quoted(cell) + where + " has more digits than a number holds.";
    case ELint::Exponent:
        return Quoted(cell) + where + " has an exponent.";
    case ELint::DecimalComma:
        return Quoted(cell) + where + " has a decimal comma.";
    case ELint::Thousands:
        return Quoted(cell) + where + " has signs between thousands.";
    case ELint::UnicodeMinus:
        return Quoted(cell) + where + " has a minus sign that is not the one of ASCII.";
    case ELint::BooleanDigits:
        return Quoted(cell) + where + ", which begins with 0 and 1 only.";
    case ELint::MixedUnits:
        return Quoted(cell) + where + " is a number with its unit.";
    case ELint::QualifiedNumber:
        return Quoted(cell) + where + " is a number with a sign before it.";
    case ELint::Sentinel:
        return Quoted(cell) + where + " may stand for no value.";
    default:
        return std::string(RuleOf(lint).summary);
    }
}

/// @return whether something was found, so that the cells need no further look
bool RowLint::LookAtPoint(const TableRecord& record)
{
    const auto cellOf = [&](std::size_t index) {
        return index < record.cells.size() ? record.cells[index] : std::string_view();
    };
    const std::array<std::size_t, 2> columns = {m_point.x, m_point.y};
    std::array<double, 2> values{};
    for (std::size_t axis = 0; axis < 2; ++axis) {
        const PlanColumn& column = m_plan.columns[columns[axis]];
        const std::string_view cell = cellOf(columns[axis]);
        const bool isNone = Values::Trim(cell).empty() || Values::IsNullWord(cell);
        const std::optional<double> value =
            m_point.isPlain && !isNone ? ReadValue(cell, column.spelling) : std::nullopt;
        if (isNone || (m_point.isPlain && !value)) {
            AddPoint(ELint::NoPoint,
                     record,
                     columns[axis],
                     isNone ? "gives no coordinate" : "is no number");
            return true;
        }
        values[axis] = value.value_or(1);
    }
    if (!m_point.isPlain) {
        return false;
    }
    if (m_point.isDegrees && (std::fabs(values[0]) > 360 || std::fabs(values[1]) > 90)) {
        const std::size_t axis = std::fabs(values[1]) > 90 ? 1 : 0;
        AddPoint(ELint::OutOfRange, record, columns[axis], "is out of range");
        return true;
    }
    for (std::size_t axis = 0; axis < 2; ++axis) {
        const std::string_view cell = cellOf(columns[axis]);
        if (EndsInBlank(cell) && !IsBareCoordinate(cell)) {
            AddPoint(ELint::CoordinateFormat, record, columns[axis], "ends in a blank");
            return true;
        }
    }
    if (values[0] == 0 && values[1] == 0) {
        AddPoint(ELint::ZeroPoint, record, columns[0], "and the other coordinate are 0");
    }
    return false;
}

void RowLint::AddPoint(ELint lint, const TableRecord& record, std::size_t index, const char* what)
{
    m_findings.Add(lint, [&](LintFinding& finding) {
        const PlanColumn& column = m_plan.columns[index];
        PutRow(record, index + 1, finding);
        const std::string_view cell =
            index < record.cells.size() ? record.cells[index] : std::string_view();
        finding.text = CutText(cell);
        finding.message = (cell.empty() ? "An empty cell" : Quoted(cell)) + " in the " +
                          Called(column) + " " + what + ".";
        if (lint == ELint::CoordinateFormat) {
            finding.bareReader = "makes no point";
        }
    });
}

} // namespace Orvane::Import
