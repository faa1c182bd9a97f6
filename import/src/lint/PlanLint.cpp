// Decision by decision.
#include "PlanLint.h"

#include "BareColumn.h"

#include <map>
#include <unordered_map>
#include <utility>

namespace Orvane::Import {

namespace {

bool IsAboutCoordinates(const PlanQuestion& question)
{
    return question.code == "coordinates" || question.code == "axes";
}

} // namespace

void PlanLint::Run()
{
    FindInBytes();
    FindInShape();
    FindInColumns();
    FindInCoordinates();
    FindQuestions();
    FindOthers();
}

void PlanLint::FindInBytes()
{
    const PlanBytes& bytes = m_plan.bytes;
    if (bytes.compression.value != "none") {
        m_findings.Add(ELint::Compressed, [&](LintFinding& finding) {
            finding.message = "The file is compressed by " + bytes.compression.value + ".";
        });
    }
    const std::string& encoding = bytes.encoding.value;
    // The letters of windows-1252 that ISO-8859-1 does not have are found one by one.
    const bool isBareEncoding = encoding == "US-ASCII" || encoding == "ISO-8859-1" ||
                                (encoding == "WINDOWS-1252" && bytes.positions == "file") ||
                                bytes.encoding.confidence == EConfidence::Tie;
    if (!isBareEncoding) {
        m_findings.Add(ELint::Encoding, [&](LintFinding& finding) {
            finding.message = "The encoding is " + encoding + ".";
        });
    }
    if (bytes.hasMark) {
        m_findings.Add(ELint::ByteOrderMark, [](LintFinding& /*finding*/) {});
    }
}

void PlanLint::FindInShape()
{
    FindSeparator();
    const PlanShape& shape = m_plan.shape;
    const char quote = shape.quotes.value.character;
    if (quote != 0 && quote != '"') {
        m_findings.Add(ELint::OtherQuote, [&](LintFinding& finding) {
            finding.message = std::string("Cells are quoted by ") + quote + ".";
        });
    }
    // One line of names may go over several, inside quotes.
    std::size_t namesLines = 0;
    for (const PlanLines& lines : shape.lines) {
        if (lines.firstLine >= shape.firstRowLine) {
            break;
        }
        if (lines.kind == EPlanLines::Names) {
            m_names = lines;
            ++namesLines;
        } else if (const std::optional<ELint> lint = LintOf(lines.kind)) {
            m_findings.Add(*lint,
                           [&](LintFinding& finding) { Findings::PutLines(lines, finding); });
        }
    }
    if (namesLines > 1) {
        m_findings.Add(ELint::NamesLines, [&](LintFinding& finding) {
            Findings::PutLines(m_names, finding);
            finding.message = "The column names stand in " + std::to_string(namesLines) + " lines.";
        });
    }
}

std::optional<ELint> PlanLint::LintOf(EPlanLines kind)
{
    switch (kind) {
    case EPlanLines::Preamble:
        return ELint::Preamble;
    case EPlanLines::Comment:
        return ELint::CommentLine;
    case EPlanLines::Blank:
        return ELint::BlankLine;
    case EPlanLines::Statement:
        return ELint::SeparatorStatement;
    case EPlanLines::Units:
        return ELint::UnitsLine;
    case EPlanLines::Rule:
        return ELint::RuleLine;
    default:
        return std::nullopt;
    }
}

void PlanLint::FindSeparator()
{
    const PlanSeparator& separator = m_plan.shape.separator.value;
    const char bare = BareSeparator(m_plan.path);
    // The reader finds commas and tabs of a .txt file by itself.
    const bool isFound = bare == 0 && (separator.character == ',' || separator.character == '\t');
    const bool isSame = separator.kind == EPlanSeparation::OneColumn
                            ? bare != '\n'
                            : separator.kind == EPlanSeparation::Character &&
                                  !separator.skipsBlanks &&
                                  (isFound || separator.character == bare);
    if (isSame) {
        return;
    }
    m_findings.Add(ELint::Separator, [&](LintFinding& finding) {
        finding.message = "The separator is " + Describe(separator) +
                          ", which the file's extension does not say.";
        finding.bareReader = bare == '\n'
                                 ? "refuses the file, whose extension says no separator"
                                 : "cuts at another separator, or leaves blanks in the cells";
    });
}

void PlanLint::FindInColumns()
{
    const std::vector<PlanColumn>& columns = m_plan.columns;
    const auto addNamed = [&](ELint lint, const PlanColumn& column, const std::string& message) {
        m_findings.Add(lint, [&](LintFinding& finding) {
            Findings::PutColumn(column, finding);
            if (m_names.text.empty()) {
                return;
            }
            Findings::Put({m_names.firstLine, 0, m_names.byte}, finding);
            finding.text = CutText(column.name);
            finding.message = message.empty() ? finding.message : message;
        });
    };
    std::unordered_map<std::string_view, std::size_t> seen;
    for (const PlanColumn& column : columns) {
        if (!m_plan.shape.hasNames.value) {
            break;
        }
        if (column.role == EPlanRole::TrailingSeparator) {
            addNamed(ELint::TrailingSeparator,
                     column,
                     column.index + 1 == columns.size()
                         ? "A separator at the end of the names line makes an empty column."
                         : "Separators that stand in pairs make an empty column.");
        } else if (column.name.empty()) {
            addNamed(ELint::EmptyName,
                     column,
                     "Column " + std::to_string(column.index + 1) + " has no name.");
        } else if (const auto [first, isNew] = seen.try_emplace(column.name, column.index);
                   !isNew) {
            addNamed(ELint::DuplicateName,
                     column,
                     "Columns " + std::to_string(first->second + 1) + " and " +
                         std::to_string(column.index + 1) + " have the same name.");
        }
    }
    for (const PlanColumn& column : columns) {
        FindDoubt(column);
    }
}

/// A column that stays text, because its cells can be read in two ways.
void PlanLint::FindDoubt(const PlanColumn& column)
{
    if (column.type.value != EPlanType::Text || column.type.rivals.empty()) {
        return;
    }
    const PlanRival& rival = column.type.rivals.front();
    if (rival.support > 0) {
        return; // Odd cells, which the walk finds.
    }
    const bool isNumber =
        rival.value == "double" || rival.against.find("notations") != std::string::npos;
    m_findings.Add(
        isNumber ? ELint::AmbiguousNumber : ELint::AmbiguousDate, [&](LintFinding& finding) {
            Findings::PutColumn(column, finding);
            finding.message = "The " + Called(column) + " stays text: " + rival.against + ".";
            for (const PlanEvidence& evidence : column.type.evidence) {
                if (evidence.what != "empty" && evidence.what != "null word" &&
                    !evidence.places.empty()) {
                    const PlanPlace& place = evidence.places.front();
                    Findings::Put({place.line, 0, place.byte}, finding);
                    finding.text = place.text;
                    break;
                }
            }
        });
}

void PlanLint::FindInCoordinates()
{
    const PlanCoordinates& found = m_plan.coordinates.value;
    if (!found.x) {
        return;
    }
    const auto addColumn = [&](std::size_t index, const std::string& how) {
        const PlanColumn& column = m_plan.columns.at(index);
        m_findings.Add(ELint::CoordinateFormat, [&](LintFinding& finding) {
            Findings::PutColumn(column, finding);
            finding.message = "The coordinates of the " + Called(column) + " are " + how + ".";
        });
    };
    for (const std::size_t index : {*found.x, *found.y}) {
        const PlanColumn& column = m_plan.columns.at(index);
        if (found.notation == EPlanNotation::Sexagesimal ||
            found.notation == EPlanNotation::Packed ||
            found.notation == EPlanNotation::PackedSeconds) {
            addColumn(index, std::string(NameOf(found.notation)));
        } else if (!column.spelling.empty()) {
            addColumn(index, "written with " + column.spelling);
        }
    }
}

void PlanLint::FindQuestions()
{
    for (const PlanQuestion& question : m_plan.questions) {
        const ELint lint = question.code == "names"      ? ELint::NamesDoubt
                           : question.code == "encoding" ? ELint::EncodingDoubt
                           : question.answers.empty()    ? ELint::NoCoordinates
                                                         : ELint::CoordinatesDoubt;
        m_findings.Add(lint, [&](LintFinding& finding) {
            finding.message = question.text;
            for (const PlanAnswer& answer : question.answers) {
                finding.fixes.push_back(FixFor(question, OptionsOf(answer)));
            }
            if (IsAboutCoordinates(question)) {
                finding.fixes.push_back(FixFor(question, {"--no-points"}));
            }
        });
    }
}

/// A command that answers one question so, and all others by their first answers.
[[nodiscard]] Words PlanLint::FixFor(const PlanQuestion& asked, const Words& options) const
{
    Words words = m_findings.Command();
    for (const PlanQuestion& question : m_plan.questions) {
        words = Join(words,
                     &question == &asked        ? options
                     : question.answers.empty() ? Words{"--no-points"}
                                                : OptionsOf(question.answers.front()));
    }
    return words;
}

/// Findings of the plan that no walk finds again.
void PlanLint::FindOthers()
{
    static const std::map<std::string_view, ELint> kKnown = {
        {"names-short", ELint::NamesShort},
        {"names-long", ELint::NamesLong},
        {"control-z", ELint::ControlZ},
        {"invalid-utf-16", ELint::InvalidUtf16},
        {"axes-swapped", ELint::SwappedAxes},
        {"swapped-axes", ELint::SwappedAxes},
        {"longitude-past-180", ELint::LongitudePast180},
        {"several-zones", ELint::SeveralZones},
        {"total-row", ELint::TotalRow},
        {"letter-o", ELint::LetterO},
        {"projection-file", ELint::ProjectionFile},
        {"quoted-lines", ELint::QuotedLines},
        {"encoding-doubtful", ELint::EncodingDoubtful},
    };
    for (const PlanFinding& finding : m_plan.findings) {
        if (IsFoundByWalk(finding.code)) {
            continue;
        }
        const auto known = kKnown.find(finding.code);
        if (known != kKnown.end()) {
            m_findings.Add(known->second, [&](LintFinding& made) {
                PutFinding(finding, made);
                if (known->second == ELint::SwappedAxes) {
                    made.fixes = {SwapFix()};
                } else if (known->second == ELint::InvalidUtf16) {
                    made.fixes = {Join(m_findings.Fix(), {"--on-bad", "quarantine"})};
                }
            });
        } else {
            AddUnknown(finding);
        }
    }
}

Words PlanLint::SwapFix() const
{
    const PlanCoordinates& found = m_plan.coordinates.value;
    const bool isGiven = m_plan.coordinates.decider == EDecider::Given;
    if (!found.x || isGiven) {
        return m_findings.Fix();
    }
    return Join(m_findings.Fix(),
                {"--x", std::to_string(*found.y), "--y", std::to_string(*found.x)});
}

void PlanLint::PutFinding(const PlanFinding& finding, LintFinding& made) const
{
    made.message = finding.text;
    if (!finding.places.empty()) {
        const PlanPlace& place = finding.places.front();
        const bool isAtEnd = finding.code == "control-z";
        Findings::Put({isAtEnd ? m_plan.bytes.lines : place.line, 0, place.byte}, made);
        made.text = CutText(place.text);
    } else if (finding.code == "names-short" || finding.code == "names-long") {
        Findings::Put({m_names.firstLine, 1, m_names.byte}, made);
        made.text = m_names.text;
    }
}

/// What a plan finds for which there is no rule here.
void PlanLint::AddUnknown(const PlanFinding& finding)
{
    LintFinding made;
    made.code = finding.code;
    made.severity = finding.isLoss ? ELintSeverity::Error : ELintSeverity::Warning;
    PutFinding(finding, made);
    made.bareReader = "does not look at it";
    m_findings.AddOther(std::move(made));
}

} // namespace Orvane::Import
