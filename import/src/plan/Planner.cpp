// MakePlan: a first look, one pass over the file, and the decisions.
#include "Coordinates.h"
#include "Encoding.h"
#include "Given.h"
#include "Lead.h"
#include "PlanDialect.h"
#include "ProgressMeter.h"
#include "TableCopy.h"
#include "Types.h"
#include "scan/CountByte.h"
#include "scan/FileScan.h"
#include "scan/LineUnquoter.h"
#include "values/Words.h"

#include <Orvane/BNumbers.h>
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Plan.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <memory>
#include <set>
#include <utility>

namespace Orvane::Import {

namespace {

constexpr std::size_t kProbe = std::size_t{1} << 20U;
constexpr std::size_t kMostLines = 1000;

std::vector<PlanPlace> PlacesOf(const Scan::Occurrences& found, const std::string& encoding)
{
    std::vector<PlanPlace> places;
    for (const Scan::Example& example : found.first) {
        places.push_back(
            {example.position.line, example.position.byte, ToUtf8(example.text, encoding)});
    }
    return places;
}

struct LineEndCounts
{
    std::uint64_t feeds = 0;
    std::uint64_t returnsAndFeeds = 0;
    std::uint64_t returns = 0;
};

/// How lines end in the probe: what a line is must be known before anything else.
void FindLineEnds(std::string_view probe, Scan::ShapeRequest& request)
{
    LineEndCounts counts;
    if (probe.find('\r') == std::string_view::npos) {
        counts.feeds = Scan::CountByte(probe, '\n');
        probe = {};
    }
    for (std::size_t at = 0; at < probe.size(); ++at) {
        if (probe[at] == '\n') {
            ++(at > 0 && probe[at - 1] == '\r' ? counts.returnsAndFeeds : counts.feeds);
        } else if (probe[at] == '\r' && (at + 1 == probe.size() || probe[at + 1] != '\n')) {
            ++counts.returns;
        }
    }
    const std::uint64_t others = counts.feeds + counts.returnsAndFeeds;
    // Rule: few of a kind end no lines, unless the counts of fields say so.
    request.lineEnds = counts.returns == 0 || counts.returns * 5 <= others ? Scan::ELineEnds::Feeds
                       : others == 0 ? Scan::ELineEnds::Returns
                                     : Scan::ELineEnds::Any;
    request.joinsFeeds =
        request.lineEnds == Scan::ELineEnds::Feeds && counts.returnsAndFeeds > counts.feeds;
}

/// A copy of the text's first piece with readable bytes after it.
struct Probe
{
    std::vector<char> bytes;
    std::size_t size = 0;
    bool isWhole = false;

    [[nodiscard]] std::string_view Text() const { return {bytes.data(), size}; }
};

/// At least 1 MiB, and more where lines are so long that it holds few of them.
/// @param lead what is passed over
Probe TakeProbe(Scan::TextSource& source, const Lead& lead)
{
    constexpr std::size_t kFewestLines = 8;
    Probe probe;
    source.Rewind();
    probe.bytes.resize(kProbe);
    std::size_t got = 1;
    for (std::uint64_t left = lead.bytes; left > 0 && got > 0; left -= got) {
        got = source.Read(probe.bytes.data(),
                          static_cast<std::size_t>(std::min<std::uint64_t>(left, kProbe)));
    }
    for (std::size_t wanted = kProbe; wanted <= Scan::kMostRecord; wanted *= 2) {
        probe.bytes.resize(wanted + 64);
        probe.size += source.Read(probe.bytes.data() + probe.size, wanted - probe.size);
        probe.isWhole = probe.size < wanted;
        const std::string_view text = probe.Text();
        const std::size_t lines = Scan::CountByte(text, '\n') + Scan::CountByte(text, '\r');
        if (probe.isWhole || lines >= kFewestLines) {
            break;
        }
    }
    return probe;
}

/// The sample in UTF-8.
SampleRows Decode(std::vector<Scan::SampleRow> rows, const std::string& encoding)
{
    if (encoding == "UTF-8" || encoding == "US-ASCII") {
        return rows;
    }
    for (Scan::SampleRow& row : rows) {
        Scan::SampleRow decoded(row.Line());
        for (std::size_t index = 0; index < row.Size(); ++index) {
            decoded.Add(ToUtf8(row.Cell(index), encoding));
        }
        row = std::move(decoded);
    }
    return rows;
}

void PlanBytesOf(const Scan::TextSource& source,
                 const Scan::ScanFacts& facts,
                 const PlanRequest& request,
                 const Scan::Dialect& dialect,
                 PlanBytes& bytes)
{
    const Scan::SourceFacts& file = source.Facts();
    const Scan::ByteFacts& text = facts.bytes;
    bytes.size = file.size;
    bytes.compression.value = file.packing == Scan::EPacking::Gzip ? "gzip" : "none";
    bytes.hasMark = file.hasMark;
    bytes.positions =
        file.packing != Scan::EPacking::None || file.units != Scan::EUnits::Bytes ? "text" : "file";
    bytes.encoding = DecideEncoding(file, text, request.encoding);
    bytes.lines = text.CountLines();
    bytes.returnsAndFeeds = text.returnsAndFeeds;
    bytes.feeds = text.lineFeeds - text.returnsAndFeeds;
    bytes.returns = text.returns - text.returnsAndFeeds;
    bytes.endsWithLineEnd = text.endsWithLineEnd;
    bytes.nuls = text.nuls;
    PlanDecision<EPlanLineEnd>& lineEnd = bytes.lineEnd;
    if (dialect.lineEnds == Scan::ELineEnds::Any) {
        lineEnd.value = EPlanLineEnd::Mixed;
    } else if (dialect.lineEnds == Scan::ELineEnds::Returns) {
        lineEnd.value = EPlanLineEnd::Return;
    } else {
        lineEnd.value = dialect.joinsFeeds ? EPlanLineEnd::ReturnAndFeed : EPlanLineEnd::Feed;
    }
    lineEnd.evidence = {{"\\n", bytes.feeds, {}},
                        {"\\r\\n", bytes.returnsAndFeeds, {}},
                        {"\\r", bytes.returns, {}}};
    const int kinds = (bytes.feeds > 0 ? 1 : 0) + (bytes.returnsAndFeeds > 0 ? 1 : 0) +
                      (bytes.returns > 0 ? 1 : 0);
    lineEnd.confidence = kinds > 1 ? EConfidence::Strong : EConfidence::Certain;
    lineEnd.decider = kinds == 0 ? EDecider::Default : EDecider::Found;
}

PlanSeparator SeparatorOf(const Scan::Dialect& dialect)
{
    PlanSeparator separator;
    separator.kind = static_cast<EPlanSeparation>(dialect.separation);
    separator.character = dialect.separator;
    separator.skipsBlanks = dialect.skipsBlanks;
    separator.ends = dialect.ends;
    if (dialect.looseColumn != Scan::Dialect::kNoColumn) {
        separator.looseColumn = dialect.looseColumn;
    }
    return separator;
}

bool IsSameCut(const Scan::Dialect& a, const Scan::Dialect& b)
{
    return a.separation == b.separation &&
           (a.separation != Scan::ESeparation::Character || a.separator == b.separator);
}

void PlanSeparatorOf(const std::vector<Scan::Candidate>& candidates,
                     std::size_t leader,
                     const Scan::ScanFacts& facts,
                     const PlanRequest& request,
                     PlanShape& shape)
{
    const Scan::Candidate& best = candidates[leader];
    PlanDecision<PlanSeparator>& decision = shape.separator;
    decision.value = SeparatorOf(best.dialect);
    decision.decider = request.separator ? EDecider::Given : EDecider::Found;
    const std::uint64_t uneven = facts.shorter.count + facts.longer.count;
    const std::uint64_t all = facts.rows + uneven;
    decision.support = all == 0 ? 0 : static_cast<double>(facts.rows) / static_cast<double>(all);
    decision.evidence.push_back(
        {"rows of " + std::to_string(shape.columnCount.value) + " fields", facts.rows, {}});
    if (uneven > 0) {
        decision.evidence.push_back({"rows of other counts", uneven, {}});
    }
    double rivalScore = 0;
    for (std::size_t index = 0; index < candidates.size(); ++index) {
        const Scan::Candidate& rival = candidates[index];
        const bool isSame = index == leader || IsSameCut(rival.dialect, best.dialect);
        if (!isSame && decision.rivals.size() < 4) {
            rivalScore = std::max(rivalScore, rival.score);
            decision.rivals.push_back(
                {Describe(SeparatorOf(rival.dialect)),
                 rival.support,
                 "cells with a form: " +
                     std::to_string(static_cast<int>(std::lround(rival.typed * 100))) + " of 100"});
        }
    }
    const bool isClear = best.score > 1.2 * rivalScore;
    decision.confidence =
        decision.support == 1 && isClear ? EConfidence::Certain : EConfidence::Strong;
}

void PlanQuotesOf(const Scan::Candidate& candidate,
                  const Scan::ScanFacts& facts,
                  const PlanRequest& request,
                  PlanShape& shape)
{
    PlanDecision<PlanQuotes>& decision = shape.quotes;
    // Without a quote in the text there is none.
    const std::uint64_t odd =
        facts.strays.count + facts.unclosed.count +
        facts.repairs.at(static_cast<std::size_t>(Scan::ERepair::Quotes)).count;
    const bool isUsed = facts.openers + odd > 0 || request.quote.has_value();
    decision.value = {isUsed ? candidate.dialect.quote : '\0',
                      candidate.dialect.hasBackslashes,
                      candidate.dialect.opensAfterBlanks,
                      candidate.dialect.hasDoubles};
    decision.decider = request.quote ? EDecider::Given : EDecider::Found;
    decision.evidence.push_back({"quoted fields", facts.openers, {}});
    if (facts.bytes.quotes == 0 && !request.quote && !isUsed) {
        decision.decider = EDecider::Default;
    }
    if (facts.strays.count > 0 || facts.unclosed.count > 0) {
        decision.confidence = EConfidence::Strong;
        decision.evidence.push_back(
            {"rows with stray quotes", facts.strays.count + facts.unclosed.count, {}});
    }
}

void PlanHeadOf(const Scan::TableHead& head,
                std::string_view probe,
                const Lead& lead,
                const PlanRequest& request,
                const std::string& encoding,
                Plan& plan)
{
    PlanDecision<bool>& names = plan.shape.hasNames;
    names.value = head.names == Scan::ENames::Found;
    names.decider = request.hasNames ? EDecider::Given : EDecider::Found;
    names.evidence.push_back({head.namesReason, head.namesVotes + head.dataVotes, {}});
    const bool isClear = head.namesVotes == 0 || head.dataVotes == 0;
    names.confidence = head.names == Scan::ENames::Unsure ? EConfidence::Tie
                       : isClear                          ? EConfidence::Certain
                                                          : EConfidence::Strong;
    if (head.names == Scan::ENames::Unsure) {
        PlanQuestion question{"names",
                              "Whether the first line holds column names cannot be told.",
                              {{{}, {}, true, {}}, {{}, {}, false, {}}}};
        // Rule: an answer by which no row is left that fits is none.
        const PlanShape& shape = plan.shape;
        if (!shape.hasNames.value && shape.rows == 1 &&
            (shape.isCutShort || shape.longRows + shape.misfits > 0)) {
            question.answers.erase(question.answers.begin());
        }
        plan.questions.push_back(std::move(question));
    }
    for (const Scan::HeadLine& line : head.lines) {
        const bool isLead = line.byte < lead.bytes;
        const std::string_view text =
            isLead ? std::string_view(lead.text)
                   : probe.substr(std::min(line.byte - lead.bytes, probe.size()));
        const std::string_view first =
            text.substr(0, std::min(text.find_first_of("\r\n"), text.size()));
        plan.shape.lines.push_back({static_cast<EPlanLines>(line.kind),
                                    line.line,
                                    line.lines,
                                    line.byte,
                                    ToUtf8(first.substr(0, 80), encoding)});
    }
    for (const std::vector<std::string>& cells : head.namesCells) {
        std::vector<std::string>& line = plan.shape.namesLines.emplace_back();
        for (const std::string& cell : cells) {
            line.push_back(ToUtf8(cell, encoding));
        }
    }
    plan.shape.firstRowLine = head.firstRowLine;
    plan.shape.firstRowByte = head.firstRow;
    if (names.value && head.namesFields != head.columns) {
        plan.findings.push_back({head.namesFields < head.columns ? "names-short" : "names-long",
                                 false,
                                 "The names line has " + std::to_string(head.namesFields) +
                                     " cells, the rows have " + std::to_string(head.columns) + ".",
                                 1,
                                 {}});
    }
}

/// What stands among and after the rows.
void PlanPiecesOf(const Scan::ScanFacts& facts, const std::string& encoding, PlanShape& shape)
{
    using EKind = Scan::Piece::EKind;
    for (const Scan::Piece& piece : facts.pieces) {
        if (shape.lines.size() >= kMostLines) {
            break;
        }
        const EPlanLines kind = piece.kind == EKind::RepeatedNames  ? EPlanLines::RepeatedNames
                                : piece.kind == EKind::FurtherTable ? EPlanLines::FurtherTable
                                                                    : EPlanLines::Footer;
        shape.lines.push_back({kind,
                               piece.position.line,
                               piece.lines,
                               piece.position.byte,
                               ToUtf8(piece.text, encoding)});
    }
    for (const Scan::NamesOrder& order : facts.orders) {
        shape.orders.push_back({order.line, order.columns});
    }
}

void AddFinding(
    Plan& plan, const char* code, bool isLoss, const char* text, const Scan::Occurrences& found)
{
    if (found.count > 0) {
        plan.findings.push_back(
            {code, isLoss, text, found.count, PlacesOf(found, TextEncodingOf(plan))});
    }
}

void AddFindings(const Scan::TextSource& source, const Scan::ScanFacts& facts, Plan& plan)
{
    AddFinding(plan,
               "short-row",
               false,
               "Rows with fewer fields than the table: the cells that they lack are null.",
               facts.shorter);
    AddFinding(plan,
               "misfit-row",
               true,
               "Rows with fewer fields whose cells do not fit their columns from the left.",
               facts.misfits);
    AddFinding(plan, "long-row", true, "Rows with more fields than the table.", facts.longer);
    AddFinding(
        plan, "trailing-separator", false, "Rows with surplus empty fields.", facts.trailing);
    AddFinding(plan, "comment-line", false, "Comment lines among the rows.", facts.comments);
    AddFinding(
        plan, "repeated-names", false, "The names again among the rows.", facts.repeatedNames);
    AddFinding(plan,
               "further-table",
               true,
               "Another table begins, which is no part of this one.",
               facts.furtherTables);
    AddFinding(plan, "footer", false, "Lines after the last row.", facts.footers);
    // Rule: a total as wide as the rows stays a row, and is pointed out.
    if (facts.rows > 1 && facts.columns.size() > 1 && Values::IsTotalWord(facts.lastHead.text)) {
        Scan::Occurrences total;
        total.Add(facts.lastHead.position, facts.lastHead.text);
        AddFinding(plan, "total-row", false, "The last row looks like a total of others.", total);
    }
    static constexpr std::array<std::pair<const char*, const char*>, 5> kRepairs = {
        {{"", ""},
         {"repaired-quote",
          "Rows with a stray or missing quote, read in the one way that gives "
          "their count of fields."},
         {"repaired-separator", "Rows with another separator than the others."},
         {"repaired-shift", "Rows with surplus empty cells that shifted the others."},
         {"repaired-line-end", "Rows that a line end of another kind divides or joins."}}};
    AddFinding(plan,
               "nul-block",
               facts.damaged.count > 0,
               "Blocks of NULs, as a loss of power leaves them. A row with one inside is no row.",
               facts.nulBlocks);
    AddFinding(plan,
               "loose-separator",
               false,
               "Rows in which one column holds the separator without quotes.",
               facts.repairs.at(static_cast<std::size_t>(Scan::ERepair::Loose)));
    for (std::size_t index = 1; index < kRepairs.size(); ++index) {
        AddFinding(plan,
                   kRepairs.at(index).first,
                   false,
                   kRepairs.at(index).second,
                   facts.repairs.at(index));
    }
    AddFinding(plan, "stray-quote", false, "Quotes inside fields, read as text.", facts.strays);
    AddFinding(
        plan, "unclosed-quote", false, "Quotes that nothing closes, read as text.", facts.unclosed);
    AddFinding(
        plan, "line-too-long", true, "Lines past 16 MiB, which are not read.", facts.tooLong);
    const PlanBytes& bytes = plan.bytes;
    const auto addCount = [&](const char* code,
                              bool isLoss,
                              const char* text,
                              std::uint64_t count,
                              std::uint64_t byte) {
        if (count > 0) {
            plan.findings.push_back({code, isLoss, text, count, {{0, byte, {}}}});
        }
    };
    addCount("nul", false, "NUL bytes.", bytes.nuls, facts.bytes.firstNul);
    const bool isOfBytes = source.Facts().units == Scan::EUnits::Characters;
    addCount(isOfBytes ? "invalid-character" : "invalid-utf-16",
             true,
             isOfBytes ? "Bytes that are no characters." : "Units that are no characters.",
             source.CountInvalidUnits(),
             0);
    if (bytes.encoding.value == "UTF-8" && !facts.bytes.isUtf8) {
        addCount("invalid-utf-8",
                 true,
                 "Bytes that are no UTF-8.",
                 facts.bytes.invalidBytes,
                 facts.bytes.firstInvalid);
    }
    const int kinds = (bytes.feeds > 0 ? 1 : 0) + (bytes.returnsAndFeeds > 0 ? 1 : 0) +
                      (bytes.returns > 0 ? 1 : 0);
    if (kinds > 1) {
        const std::uint64_t most = std::max({bytes.feeds, bytes.returnsAndFeeds, bytes.returns});
        plan.findings.push_back({"mixed-line-ends",
                                 false,
                                 "Line ends of several kinds, those inside quotes counted.",
                                 bytes.feeds + bytes.returnsAndFeeds + bytes.returns - most,
                                 {}});
    }
    if (facts.bytes.endsWithControlZ) {
        plan.findings.push_back(
            {"control-z", false, "The file ends with Ctrl-Z.", 1, {{0, facts.bytes.size - 1, {}}}});
    }
    if (facts.endsInsideRow) {
        plan.findings.push_back(
            {"cut-row",
             true,
             "The last line has no ending, and fewer fields or an open quote: the file is cut.",
             1,
             {{bytes.lines, facts.bytes.size, {}}}});
    }
}

std::string ShowNumber(double value)
{
    std::array<char, 32> text{};
    return {text.data(), BNumbers::FormatShortest(value, text.data())};
}

/// "0.1 % of them"
std::string ShowShare(std::uint64_t count, std::uint64_t all)
{
    const double share = all == 0 ? 0 : static_cast<double>(count) / static_cast<double>(all);
    return ShowNumber(std::round(share * 1000) / 10) + " % of its values";
}

void FindSentinels(const Scan::ColumnFacts& facts, const PlanColumn& column, Plan& plan)
{
    static constexpr double kSentinels[] = {
        -9999, -999, -99, -999.999, -9999.9, -999.9, -99.999, -99999, -32768, 1e30, -1e30};
    const auto check = [&](double value, std::uint64_t count, const Scan::Position& position) {
        if (count > 1 && std::find(std::begin(kSentinels), std::end(kSentinels), value) !=
                             std::end(kSentinels)) {
            const std::string name =
                column.name.empty() ? std::to_string(column.index) : "'" + column.name + "'";
            plan.findings.push_back({"sentinel",
                                     false,
                                     "Column " + name + " holds " + ShowNumber(value) +
                                         " again and again, in " + ShowShare(count, column.values) +
                                         ", which may stand for none.",
                                     count,
                                     {{position.line, position.byte, ShowNumber(value)}}});
        }
    };
    if (column.hasRange) {
        const Scan::NumberRange range = facts.RangeIn(NotationOf(column));
        check(range.least, range.atLeast, range.leastPosition);
        check(range.most, range.atMost, range.mostPosition);
    }
}

/// Rule: where separators stand in pairs (`a||b`) the empty columns between are none.
void DropColumnsOfPairs(Plan& plan)
{
    constexpr std::size_t kFewestColumns = 5;
    constexpr std::uint64_t kFewestRows = 2;
    const auto isOfPair = [](const PlanColumn& column) {
        return column.name.empty() && column.values == 0 && column.nullWords == 0;
    };
    std::vector<PlanColumn>& columns = plan.columns;
    if (plan.isAllText || columns.size() < kFewestColumns || columns.size() % 2 == 0 ||
        plan.shape.rows < kFewestRows ||
        plan.shape.separator.value.kind != EPlanSeparation::Character) {
        return;
    }
    for (std::size_t index = 0; index < columns.size(); ++index) {
        if (isOfPair(columns[index]) != (index % 2 == 1)) {
            return;
        }
    }
    for (std::size_t index = 1; index < columns.size(); index += 2) {
        columns[index].role = EPlanRole::TrailingSeparator;
    }
    plan.shape.separator.evidence.push_back(
        {"columns between separators that stand in pairs", columns.size() / 2, {}});
}

void PlanColumnsOf(const Scan::ScanFacts& facts, const Scan::TableHead& head, Plan& plan)
{
    const DecimalSigns signs = FindDecimalSigns(facts.columns);
    for (std::size_t index = 0; index < facts.columns.size(); ++index) {
        PlanColumn& column = plan.columns.emplace_back();
        column.index = index;
        if (head.names == Scan::ENames::Found && index < head.columnNames.size()) {
            column.name = ToUtf8(head.columnNames[index], TextEncodingOf(plan));
        }
        const Scan::CellForm& form = head.forms[index];
        column.form = {
            form.cells, form.empties, form.readings, form.inAll, form.inSome, form.longest};
        DecideType(facts.columns[index], signs, column);
        // Rule: in a file of one column a comma is no proof of a decimal sign.
        if (facts.columns.size() == 1 && column.spelling.starts_with("decimal comma")) {
            column.type.value = EPlanType::Text;
            column.type.confidence = EConfidence::Tie;
            column.type.rivals.push_back({"double", 1, "a comma that may separate columns"});
            column.spelling.clear();
            column.hasRange = false;
        }
        for (PlanEvidence& evidence : column.type.evidence) {
            for (PlanPlace& place : evidence.places) {
                place.text = ToUtf8(place.text, TextEncodingOf(plan));
            }
        }
        FindSentinels(facts.columns[index], column, plan);
    }
    // Rule: a last column without name and value is the trailing separator of every line. Where
    // every cell stays the text it is it stays as well.
    if (!plan.isAllText && plan.columns.size() > 1 && head.names == Scan::ENames::Found) {
        PlanColumn& last = plan.columns.back();
        if (last.name.empty() && last.values == 0 && last.nullWords == 0) {
            last.role = EPlanRole::TrailingSeparator;
        }
    }
    DropColumnsOfPairs(plan);
}

/// Whether lines that look like comments are rows: they have the table's count of fields.
bool HasFieldsOf(const Lead& lead, const Scan::Candidate& candidate)
{
    Scan::RecordCutter cutter(candidate.dialect);
    Scan::Record record;
    cutter.Cut(lead.text, 0, true, 0, record);
    return record.fields.size() == candidate.fields;
}

/// Whether what was found at the begin of a text says little of the rest.
bool IsMisled(const Scan::ScanFacts& facts, std::size_t columns)
{
    const std::uint64_t others =
        facts.shorter.count + facts.longer.count + facts.misfits.count + facts.footers.count;
    // Numbers and dates make a table of its own, whatever comes after it.
    const bool isText = std::none_of(
        facts.columns.begin(), facts.columns.end(), [](const Scan::ColumnFacts& column) {
            return column.readings != 0 && column.CountValues() > 0;
        });
    return isText && (columns == 1 || others * 2 > facts.rows);
}

/// Looks for a table in a later piece of a file. @return what is before it
Lead FindLateTable(const std::string& path,
                   Scan::TextSource& source,
                   const Scan::Dialect& first,
                   const Scan::ShapeRequest& request)
{
    constexpr std::size_t kPiece = std::size_t{64} * 1024;
    constexpr double kEven = 0.9;
    const Scan::SourceFacts& file = source.Facts();
    if (file.packing != Scan::EPacking::None || file.units != Scan::EUnits::Bytes) {
        return {};
    }
    std::string text(kPiece, '\0');
    std::ifstream stream(path, std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(file.size / 4 * 3));
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(stream.gcount()));
    // The piece begins inside a line.
    text.erase(0, text.find_first_of("\r\n"));
    Scan::ShapeRequest late;
    late.isUtf8 = request.isUtf8;
    late.lineEnds = request.lineEnds;
    late.isWhole = false;
    const Scan::Candidate best = Scan::FindDialects(text, late).front();
    const bool isTable = best.fields > 1 && best.support >= kEven &&
                         best.dialect.separation == Scan::ESeparation::Character;
    return isTable && !IsSameCut(best.dialect, first)
               ? FindLeadingText(source, request.lineEnds, best.dialect.separator, best.fields)
               : Lead{};
}

/// What all rows say of a first row that could be names as well as a row.
enum class EFirstRow : std::uint8_t {
    Open,
    Names,
    Row,
};

/// Rule: a first row with a text that occurs again in its column is a row. It is names when each of
/// its texts occurs once, while all the other texts of these columns occur again and again.
EFirstRow JudgeFirstRow(const Scan::ScanFacts& facts)
{
    if (facts.sample.empty()) {
        return EFirstRow::Open;
    }
    constexpr std::uint64_t kOften = 5;
    const Scan::SampleRow& first = facts.sample.front();
    std::size_t single = 0;
    std::size_t again = 0;
    std::set<std::uint64_t> counts;
    for (std::size_t index = 0; index < facts.columns.size(); ++index) {
        const Scan::ColumnFacts& column = facts.columns[index];
        if (column.hasManyWords || column.wordFacts.empty()) {
            continue;
        }
        std::uint64_t count = 0;
        std::uint64_t fewest = facts.rows;
        for (const Scan::WordFacts& word : column.wordFacts) {
            (word.text == first.Cell(index) ? count : fewest) =
                word.text == first.Cell(index) ? word.count : std::min(fewest, word.count);
        }
        counts.insert(count);
        again += count > 1 ? 1U : 0U;
        single += count == 1 && column.wordFacts.size() > 1 && fewest >= kOften ? 1U : 0U;
    }
    if (again > 0) {
        // Names that are repeated occur equally often in all columns.
        return counts.size() > 1 ? EFirstRow::Row : EFirstRow::Open;
    }
    return single >= 2 ? EFirstRow::Names : EFirstRow::Open;
}

void AskForEncoding(std::string_view highLines, Plan& plan)
{
    const PlanDecision<std::string>& encoding = plan.bytes.encoding;
    if (encoding.confidence != EConfidence::Tie) {
        return;
    }
    PlanQuestion question{"encoding", "The encoding cannot be told from so few words", {}};
    std::vector<std::string> encodings = {encoding.value};
    for (const PlanRival& rival : encoding.rivals) {
        encodings.push_back(rival.value);
    }
    for (const std::string& name : encodings) {
        question.answers.push_back({{}, {}, {}, name});
    }
    const std::string readings = CompareReadings(highLines, encodings);
    question.text += readings.empty() ? "." : ": " + readings + ".";
    plan.questions.insert(plan.questions.begin(), std::move(question));
}

/// Whether a text shifts to the letters of ISO-2022-JP, and back to ASCII, at least twice.
bool HasShiftsOfJapanese(std::string_view text)
{
    std::size_t shifts = 0;
    std::size_t at = text.find("\x1B$");
    while (at != std::string_view::npos && shifts < 2) {
        const bool isShift = text.substr(at, 3) == "\x1B$B" || text.substr(at, 3) == "\x1B$@";
        const std::size_t back = text.find("\x1B(", at);
        const std::string_view last = text.substr(std::min(back, text.size()), 3);
        const bool isBack = last == "\x1B(B" || last == "\x1B(J";
        shifts += isShift && isBack ? 1U : 0U;
        at = text.find("\x1B$", at + 1);
    }
    return shifts >= 2;
}

/// Asks nothing of a file without rows.
bool IsWithoutRows(const Scan::ScanFacts& facts)
{
    return facts.rows == 0 && facts.shorter.count == 0 && facts.longer.count == 0;
}

} // namespace

Plan MakePlan(const std::string& path, const PlanRequest& request, const Callbacks& callbacks)
{
    if (!request.encoding.empty() && Scan::UnitsOf(request.encoding) == Scan::EUnits::Bytes &&
        !IsEncoding(request.encoding)) {
        FailureFields fields;
        fields.kind = EFailureKind::Request;
        fields.code = "unknown-codec";
        fields.what = "There is no text encoding '" + request.encoding + "'.";
        fields.file = path;
        fields.value = request.encoding;
        throw ImportFailure(std::move(fields));
    }
    Scan::TextSource source(path, request.encoding);
    ProgressMeter meter(callbacks, EPhase::Preparing, 0);
    meter.SetBytesTotal(source.Facts().size);
    source.Watch([&] {
        if (!meter.Report(0, source.BytesDone())) {
            meter.RethrowIfThrown();
            ThrowCancelled();
        }
    });
    Lead lead;
    Probe probe = TakeProbe(source, lead);
    if (request.encoding.empty() && source.Facts().units == Scan::EUnits::Bytes &&
        HasShiftsOfJapanese(probe.Text())) {
        // Rule: two shifts and back make ISO-2022-JP of a text in ASCII.
        PlanRequest decoded = request;
        decoded.encoding = "ISO-2022-JP";
        Plan plan = MakePlan(path, decoded, callbacks);
        plan.bytes.encoding.decider = EDecider::Found;
        plan.bytes.encoding.confidence = EConfidence::Strong;
        plan.bytes.encoding.evidence.push_back({"shifts to letters of Japanese", 2, {}});
        return plan;
    }
    Scan::ShapeRequest shapeRequest;
    FindLineEnds(probe.Text(), shapeRequest);
    if (!request.skipLines) {
        lead = FindLeadingComments(source, shapeRequest.lineEnds);
    }
    if (lead.lines > 0) {
        probe = TakeProbe(source, lead);
    }
    shapeRequest.isWhole = probe.isWhole;
    Scan::ByteFacts probeFacts;
    probeFacts.Add(probe.Text());
    // A sequence may be cut at the probe's end.
    shapeRequest.isUtf8 = probeFacts.invalidBytes <= 3;
    shapeRequest.keepsAllText = request.isAllText;
    shapeRequest.hasSkippedLines = request.skipLines.has_value();
    shapeRequest.skippedLines = request.skipLines.value_or(0);
    shapeRequest.names = request.hasNames ? (*request.hasNames ? 1 : 0) : -1;
    if (request.separator) {
        shapeRequest.hasGivenDialect = true;
        const PlanSeparator given = ParseSeparator(*request.separator);
        shapeRequest.given.separation = static_cast<Scan::ESeparation>(given.kind);
        shapeRequest.given.separator = given.character;
        shapeRequest.given.ends = given.ends;
        shapeRequest.given.quote = request.quote.value_or('"');
        shapeRequest.given.lineEnds = shapeRequest.lineEnds;
        shapeRequest.given.joinsFeeds = shapeRequest.joinsFeeds;
        shapeRequest.given.isUtf8 = shapeRequest.isUtf8;
    }
    std::vector<Scan::Candidate> candidates = Scan::FindDialects(probe.Text(), shapeRequest);
    // Rule: lines that are each quoted as a whole are read without these quotes where they hold
    // several fields then.
    bool areLinesQuoted = false;
    if (candidates.front().fields == 1 && !request.separator && lead.lines == 0 &&
        Scan::AreLinesQuoted(probe.Text(), probe.isWhole)) {
        source.UnquoteLines();
        probe = TakeProbe(source, lead);
        candidates = Scan::FindDialects(probe.Text(), shapeRequest);
        areLinesQuoted = true;
    }
    if (lead.lines > 0 && HasFieldsOf(lead, candidates.front())) {
        lead = {};
        probe = TakeProbe(source, lead);
        shapeRequest.isWhole = probe.isWhole;
        candidates = Scan::FindDialects(probe.Text(), shapeRequest);
    }
    if (request.quote) {
        candidates.front().dialect.quote = *request.quote;
    }
    Scan::ScanRequest scan;
    const auto look = [&](const Scan::Candidate& candidate) {
        scan.dialect = candidate.dialect;
        scan.head = Scan::FindTable(probe.Text(), candidate, shapeRequest);
        MoveAfter(lead, scan.head);
        scan.nullTexts = request.nullTexts;
        return Scan::ScanFile(source, scan);
    };
    Scan::ScanFacts facts = look(candidates.front());
    if (lead.lines == 0 && !probe.isWhole && !request.separator && !request.skipLines &&
        !areLinesQuoted && IsMisled(facts, scan.head.columns)) {
        // Rule: where the text of the begin is no table, and later lines are one, it begins there.
        lead = FindLateTable(path, source, candidates.front().dialect, shapeRequest);
        if (lead.lines > 0) {
            probe = TakeProbe(source, lead);
            shapeRequest.isWhole = probe.isWhole;
            candidates = Scan::FindDialects(probe.Text(), shapeRequest);
            facts = look(candidates.front());
        }
    }
    if (source.Facts().units == Scan::EUnits::Bytes) {
        PlanDecision<std::string> encoding =
            DecideEncoding(source.Facts(), facts.bytes, request.encoding);
        if (Scan::HidesAscii(encoding.value)) {
            // Rule: what was cut at bytes inside characters says nothing.
            PlanRequest decoded = request;
            decoded.encoding = encoding.value;
            Plan plan = MakePlan(path, decoded, callbacks);
            plan.bytes.encoding = std::move(encoding);
            AskForEncoding(facts.bytes.highLines, plan);
            return plan;
        }
    }
    // Another table may be as long as the first.
    std::uint64_t most = facts.rows * 2;
    std::size_t fields = 0;
    for (const auto& [count, found] : facts.counts) {
        if (count >= 2 && found.count > most) {
            most = found.count;
            fields = count;
        }
    }
    const bool isFirst = candidates.front().isFirstOfTables && facts.furtherTables.count > 0;
    if (fields != 0 && !isFirst) {
        // Rule: where the whole file has another count of fields than its begin, it is read again
        // by that count, once.
        candidates.front().fields = fields;
        facts = look(candidates.front());
    }

    const auto again =
        std::find_if(facts.pieces.begin(), facts.pieces.end(), [](const Scan::Piece& piece) {
            return piece.kind == Scan::Piece::EKind::RepeatedNames;
        });
    if (again != facts.pieces.end() && facts.orders.empty()) {
        // Rule: the whole table once more is a further table, no more rows of this one.
        const auto open = [&] {
            auto other = std::make_unique<Scan::TextSource>(path, request.encoding);
            if (areLinesQuoted) {
                other->UnquoteLines();
            }
            return other;
        };
        if (IsCopyAfter(open(), open(), scan, again->position, facts.rows)) {
            scan.copyLine = again->position.line;
            facts = Scan::ScanFile(source, scan);
        }
    }
    if (scan.head.names == Scan::ENames::Unsure) {
        const EFirstRow verdict = JudgeFirstRow(facts);
        if (verdict == EFirstRow::Row) {
            scan.head.names = Scan::ENames::None;
            scan.head.namesReason = "the first row's texts occur again";
            scan.head.namesVotes = 1;
            scan.head.dataVotes = 1;
        } else if (verdict == EFirstRow::Names) {
            shapeRequest.names = 1;
            facts = look(candidates.front());
            scan.head.namesReason = "the first row's texts occur once, all others again and again";
            scan.head.namesVotes = 1;
            scan.head.dataVotes = 1;
        }
    }

    const std::uint64_t skipped = request.skipLines.value_or(0);
    if (skipped > 0 && skipped >= facts.bytes.CountLines()) {
        FailureFields failure;
        failure.kind = EFailureKind::Request;
        failure.code = "option-value";
        failure.what = "The file has " + std::to_string(facts.bytes.CountLines()) +
                       " lines: none is left after the " + std::to_string(skipped) +
                       " that are to be skipped.";
        failure.file = path;
        failure.subject = "skip-lines";
        failure.value = std::to_string(skipped);
        throw ImportFailure(std::move(failure));
    }

    Plan plan;
    plan.path = path;
    plan.nullTexts = request.nullTexts;
    plan.isAllText = request.isAllText;
    plan.hasNoPoints = request.hasNoPoints;
    PlanBytesOf(source, facts, request, scan.dialect, plan.bytes);
    if (areLinesQuoted) {
        plan.bytes.areLinesQuoted = true;
        plan.bytes.positions = "text";
        plan.findings.push_back({"quoted-lines",
                                 false,
                                 "Each line is quoted as a whole: it is read without these quotes.",
                                 plan.bytes.lines,
                                 {}});
    }
    plan.shape.columnCount.value = scan.head.columns;
    plan.shape.rows = facts.rows;
    plan.shape.continuations = facts.continuations;
    plan.shape.blankLines = facts.blanks.count;
    plan.shape.shortRows = facts.shorter.count;
    plan.shape.longRows = facts.longer.count;
    plan.shape.misfits = facts.misfits.count + facts.damaged.count;
    for (std::size_t index = 1; index < facts.repairs.size(); ++index) {
        plan.shape.repairedRows += facts.repairs.at(index).count;
    }
    plan.shape.isCutShort = facts.endsInsideRow;
    plan.shape.commentMarks = scan.head.commentMarks;
    plan.shape.mostFields = facts.mostFields;
    plan.shape.lastRowLine = facts.lastRowLine;
    PlanSeparatorOf(candidates, 0, facts, request, plan.shape);
    plan.shape.columnCount.support = plan.shape.separator.support;
    plan.shape.columnCount.confidence = plan.shape.separator.confidence;
    PlanQuotesOf(candidates.front(), facts, request, plan.shape);
    const std::string& encoding = plan.bytes.encoding.value;
    const std::string& textEncoding = TextEncodingOf(plan);
    AskForEncoding(facts.bytes.highLines, plan);
    // A given encoding in which every letter of UTF-8 becomes two or three.
    constexpr std::size_t kSequencesThatSpeak = 3;
    if (!request.encoding.empty() && source.Facts().units == Scan::EUnits::Bytes &&
        encoding != "UTF-8" && facts.bytes.isUtf8 &&
        facts.bytes.sequences.size() >= kSequencesThatSpeak) {
        plan.findings.push_back({"encoding-doubtful",
                                 false,
                                 "All letters past ASCII are letters in UTF-8; the encoding is "
                                 "given as " +
                                     encoding + ".",
                                 facts.bytes.highBytes,
                                 {}});
    }
    PlanHeadOf(scan.head, probe.Text(), lead, request, textEncoding, plan);
    PlanPiecesOf(facts, textEncoding, plan.shape);
    PlanColumnsOf(facts, scan.head, plan);
    AddFindings(source, facts, plan);
    if (!request.nameColumn.empty()) {
        const std::size_t named = FindGivenColumn(plan, request.nameColumn, "name");
        plan.columns[named].role = EPlanRole::Name;
    }
    if (request.hasNoPoints) {
        plan.coordinates.decider = EDecider::Given;
    } else if (!IsWithoutRows(facts)) {
        const SampleRows rows = Decode(std::move(facts.sample), textEncoding);
        const auto lookAgain = [&](Scan::RowWatch& watch) {
            scan.watch = &watch;
            static_cast<void>(Scan::ScanFile(source, scan));
        };
        DecideCoordinates({facts.columns,
                           rows,
                           plan.shape.hasNames.value,
                           scan.head.openAfter,
                           scan.head.openTo,
                           lookAgain},
                          request,
                          plan);
    }
    UseGivenTypes(facts.columns, request, plan);
    return plan;
}

} // namespace Orvane::Import
