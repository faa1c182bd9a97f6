// What a plan says of a file as a whole and of its columns, as findings.
#pragma once

#include "Findings.h"

#include <Orvane/Import/Plan.h>

#include <optional>
#include <string>

namespace Orvane::Import {

/// The findings that need no second look at the file.
class PlanLint
{
public:
    /// Both outlive this object.
    PlanLint(const Plan& plan, Findings& findings)
        : m_plan(plan)
        , m_findings(findings)
    {}

    void Run();

private:
    void FindInBytes();

    void FindInShape();

    static std::optional<ELint> LintOf(EPlanLines kind);

    void FindSeparator();

    void FindInColumns();

    /// A column that stays text, because its cells can be read in two ways.
    void FindDoubt(const PlanColumn& column);

    void FindInCoordinates();

    void FindQuestions();

    /// A command that answers one question so, and all others by their first answers.
    [[nodiscard]] Words FixFor(const PlanQuestion& asked, const Words& options) const;

    /// Findings of the plan that no walk finds again.
    void FindOthers();

    /// The command that reads X as Y.
    [[nodiscard]] Words SwapFix() const;

    void PutFinding(const PlanFinding& finding, LintFinding& made) const;

    /// What a plan finds for which there is no rule here.
    void AddUnknown(const PlanFinding& finding);

    const Plan& m_plan;
    Findings& m_findings;
    PlanLines m_names; ///< the last line of names; without text when there is none
};

} // namespace Orvane::Import
