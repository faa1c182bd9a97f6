// Counts findings, and hands the first ones of each kind to the caller.
#pragma once

#include "LintRules.h"
#include "Place.h"

#include <Orvane/Import/Lint.h>

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import {

/// The words of a command after the program's name.
using Words = std::vector<std::string>;

[[nodiscard]] Words Join(Words words, const Words& more);

/// The options of an import that say what a request says.
[[nodiscard]] Words OptionsOf(const PlanRequest& request);

/// Those that give an answer.
[[nodiscard]] Words OptionsOf(const PlanAnswer& answer);

/// A text in single quotes, cut to 80 bytes.
[[nodiscard]] std::string Quoted(std::string_view text);

/// The first 80 bytes of a text, cut between characters.
[[nodiscard]] std::string CutText(std::string_view text);

/// "column 'depth'", or "column 3" by its number from 1.
[[nodiscard]] std::string Called(const PlanColumn& column);

/// Whether findings of a plan with that code have a place each, which a walk over the records
/// finds again.
[[nodiscard]] bool IsFoundByWalk(std::string_view code);

/// The way of all findings to the caller. Memory does not grow with them.
class Findings
{
public:
    using Receiver = std::function<void(const LintFinding&)>;

    /// All of them outlive this object.
    Findings(const Plan& plan, const LintRequest& request, const Receiver& receive);

    /// Counts a finding, and hands it over while its kind has not reached the limit.
    /// @param complete called with the finding only when it is handed over; it has the texts of its
    /// rule, no place, and gets Fix when it gets no command
    template <typename Complete>
    void Add(ELint lint, ELintSeverity severity, const Complete& complete)
    {
        LintCount& tally = m_tallies.at(static_cast<std::size_t>(lint));
        Count(severity);
        ++tally.count;
        if (m_request.mostPerCode == 0 || tally.shown < m_request.mostPerCode) {
            ++tally.shown;
            LintFinding finding = Begin(lint, severity);
            complete(finding);
            Hand(finding);
        }
    }

    /// The same with the severity of the rule.
    template <typename Complete>
    void Add(ELint lint, const Complete& complete)
    {
        Add(lint, RuleOf(lint).severity, complete);
    }

    /// A finding of the plan for which there is no rule here; its code is in `finding`.
    void AddOther(LintFinding finding);

    /// The command that imports the file: the path, and what the caller has decided.
    [[nodiscard]] const Words& Command() const noexcept { return m_command; }

    /// The same with the first answer to each question of the plan.
    [[nodiscard]] const Words& Fix() const noexcept { return m_fix; }

    /// Adds the counts to a report.
    void Report(LintReport& report) const;

    static void Put(const Place& place, LintFinding& finding);
    static void PutLines(const PlanLines& lines, LintFinding& finding);
    static void PutColumn(const PlanColumn& column, LintFinding& finding);

private:
    void Count(ELintSeverity severity);
    [[nodiscard]] LintFinding Begin(ELint lint, ELintSeverity severity) const;
    void Hand(LintFinding& finding) const;

    const Plan& m_plan;
    const LintRequest& m_request;
    const Receiver& m_receive;
    Words m_command;
    Words m_fix;
    std::array<LintCount, kLintRules> m_tallies;
    std::map<std::string, LintCount> m_others;
    std::array<std::uint64_t, 3> m_severities{};
};

} // namespace Orvane::Import
