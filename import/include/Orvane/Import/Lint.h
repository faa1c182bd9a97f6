// What in a file is out of the ordinary: each place, what it means for a reading, and the cure.
#pragma once

#include <Orvane/Import/Api.h>
#include <Orvane/Import/Plan.h>
#include <Orvane/Import/Progress.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// Findings: what a person should know of a delimited file before anybody reads it.
///
/// Lint plans the file (Plan.h) and walks over its records once more where the plan says that there
/// is something to find. Every finding has a code, a severity, its place, and what the bare reader
/// would make of it: the plug-in alone, told separator, names and coordinates, and nothing else.
///
///     const auto report = Orvane::Import::Lint("stations.csv", {}, [](const auto& finding) {
///         std::cout << finding.line << ": " << finding.code << ": " << finding.message << '\n';
///     });
///     return report.warnings + report.errors == 0 ? 0 : 1;
namespace Orvane::Import {

/// How bad a finding is.
enum class ELintSeverity : std::uint8_t {
    Note,    ///< worth knowing; the bare reader reads it as it stands
    Warning, ///< the bare reader would change it, lose it or refuse the file; an import does not
    Error,   ///< rows or cells that cannot stand as they are, in an import neither
};

/// A kind of finding.
struct LintRule
{
    std::string_view code;       ///< stable: "short-row", "late-decimal" ...
    ELintSeverity severity;      ///< of most findings of this kind; some are notes or errors
    std::string_view summary;    ///< what it is, one sentence
    std::string_view bareReader; ///< what the bare reader does: "skips it"
};

/// All kinds, in the order of the documents. A plan may find further ones; these have no rule here.
[[nodiscard]] ORVANE_IMPORT_EXPORT const std::vector<LintRule>& GetLintRules();

/// One finding. All texts are UTF-8 and not escaped; the path in `fixes` is as the caller gave it.
struct LintFinding
{
    std::string code;
    ELintSeverity severity = ELintSeverity::Note;
    std::uint64_t line = 0;      ///< physical line from 1; 0: the finding is about the whole file
    std::uint64_t character = 0; ///< in the line, from 1; 0: not known
    /// From 0, in the text as PlanBytes::positions says; 0 without a line.
    std::uint64_t byte = 0;
    bool isByteOfFile = true; ///< false: `byte` counts the text as UTF-8, unpacked
    std::size_t column = 0;   ///< of the table, from 1; 0: about no single column
    std::string columnName;   ///< of `column`; empty without names
    std::string text;         ///< the cell or the line, cut to 80 bytes
    std::string message;      ///< one sentence
    std::string bareReader;   ///< what the bare reader does: "reads 9"
    /// Commands after the program's name, any of which settles it: "import", path, options.
    std::vector<std::vector<std::string>> fixes;
};

/// Findings of one kind.
struct LintCount
{
    std::string code;
    std::uint64_t count = 0; ///< all of them
    std::uint64_t shown = 0; ///< handed to the caller
};

/// How much is to be handed over.
struct LintRequest
{
    PlanRequest plan;               ///< what the caller decides about the file
    std::uint64_t mostPerCode = 20; ///< further findings of a kind are counted only; 0: no limit
};

/// What was found.
struct LintReport
{
    Plan plan;
    std::vector<LintCount> counts; ///< kinds that occur, in the order of GetLintRules
    std::uint64_t errors = 0;      ///< findings, those that were not handed over among them
    std::uint64_t warnings = 0;
    std::uint64_t notes = 0;
    bool isWalked = false; ///< the records were looked at one by one; false when the plan said all
};

/// Looks for everything that is out of the ordinary.
///
/// @param path of a regular file, as MakePlan
/// @param add called with each finding, on the calling thread: first those about the whole file and
///     its columns, then those of places, in the order of the file. May throw: the call stops, and
///     the exception leaves unchanged.
/// @param callbacks its `progress` gets EPhase::Preparing for the plan and EPhase::Reading for the
///     walk, rows done as physical lines; `note` is not called
/// @throws ImportFailure as MakePlan; `cancelled`
/// Cost: that of a plan, and a walk over the records where the plan says that something is there.
/// Memory does not grow with the file or its findings.
ORVANE_IMPORT_EXPORT LintReport Lint(const std::string& path,
                                     const LintRequest& request,
                                     const std::function<void(const LintFinding&)>& add,
                                     const Callbacks& callbacks = {});

/// "note", "warning", "error".
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string_view NameOf(ELintSeverity severity);

} // namespace Orvane::Import
