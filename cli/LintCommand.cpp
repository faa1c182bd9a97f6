// `orvane lint`: what in a file is out of the ordinary.
#include "Commands.h"
#include "Interrupt.h"
#include "LintWriters.h"
#include "ProgressLine.h"
#include "TextOutput.h"

#include <Orvane/Import/Lint.h>

#include <memory>
#include <utility>

namespace OrvaneHost {

namespace {

using Orvane::Import::Callbacks;
using Orvane::Import::ImportFailure;
using Orvane::Import::LintFinding;
using Orvane::Import::LintReport;
using Orvane::Import::LintRequest;
using Orvane::Import::ProgressState;

ELintFormat FormatOf(const LintArguments& arguments)
{
    return arguments.isSarif  ? ELintFormat::Sarif
           : arguments.isJson ? ELintFormat::Json
                              : ELintFormat::Text;
}

/// A cancelled look leaves a list of findings that ends somewhere.
ImportFailure WithWordsOfLint(const ImportFailure& failure)
{
    if (failure.GetKind() != Orvane::Import::EFailureKind::Cancelled) {
        return failure;
    }
    Orvane::Import::FailureFields fields = failure.GetFields();
    fields.what = "Interrupted; the list of findings is not complete.";
    return ImportFailure(std::move(fields));
}

} // namespace

bool RunLint(const LintArguments& arguments)
{
    LintRequest request;
    request.plan = arguments.request;
    if (arguments.showsAll) {
        request.mostPerCode = 0;
    }
    const Interrupt::PhaseScope scope(Interrupt::EPhase::Looking);
    ProgressLine line;
    Callbacks callbacks;
    callbacks.cancel = &Interrupt::GetFlag();
    callbacks.progress = [&](const ProgressState& state) {
        line.Show(state);
        return true;
    };
    TextOutput output;
    const std::unique_ptr<LintWriter> writer =
        MakeLintWriter(FormatOf(arguments), arguments.file, output);
    const auto add = [&](const LintFinding& finding) { writer->Add(finding); };
    try {
        const LintReport found = Lint(arguments.file, request, add, callbacks);
        line.Clear();
        writer->End(found);
        output.Flush();
        return found.errors + found.warnings == 0;
    } catch (const ImportFailure& failure) {
        line.Clear();
        const ImportFailure said = WithWordsOfLint(failure);
        writer->Fail(said);
        output.Flush();
        throw ImportFailure(said);
    }
}

} // namespace OrvaneHost
