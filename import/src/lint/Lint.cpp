// The plan's findings, then those of the records.
#include "Findings.h"
#include "PlanLint.h"
#include "ProgressMeter.h"
#include "RowLint.h"

#include <Orvane/Import/Lint.h>

namespace Orvane::Import {

LintReport Lint(const std::string& path,
                const LintRequest& request,
                const std::function<void(const LintFinding&)>& add,
                const Callbacks& callbacks)
{
    ProgressMeter meter(callbacks, EPhase::Preparing, 0);
    LintReport report;
    report.plan = MakePlan(path, request.plan, callbacks);
    Findings findings(report.plan, request, add);
    PlanLint(report.plan, findings).Run();
    report.isWalked = RowLint(report.plan, request, findings, meter).Run();
    findings.Report(report);
    return report;
}

} // namespace Orvane::Import
