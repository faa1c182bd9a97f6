// `orvane import`: a whole import, its progress on the terminal and its report in words.
#include "Commands.h"
#include "Interrupt.h"
#include "JsonWriter.h"
#include "LayerWords.h"
#include "LedgerWords.h"
#include "NoteLine.h"
#include "ProgressLine.h"
#include "TerminalText.h"
#include "TextOutput.h"

#include <cstdio>
#include <optional>
#include <unistd.h>

namespace OrvaneHost {

namespace {

using Orvane::Import::Callbacks;
using Orvane::Import::ColumnChoice;
using Orvane::Import::EPhase;
using Orvane::Import::ImportReport;
using Orvane::Import::ImportRequest;
using Orvane::Import::ProgressState;

std::string DescribeColumn(const char* axis,
                           const std::optional<std::size_t>& column,
                           const ColumnChoice& choice)
{
    if (!column) {
        return {};
    }
    std::string text = std::string(axis) + " from column " + std::to_string(*column);
    if (*column < choice.names.size()) {
        text += " '" + TerminalText::Cut(TerminalText::Escape(choice.names[*column]), 40) + "'";
    }
    return text;
}

/// The summary of an import by the rules of the reader alone.
void PrintBareSummary(const ImportRequest& request, const ImportReport& report, TextOutput& output)
{
    const ColumnChoice& choice = report.columns;
    output.Write("Layer:    " + TerminalText::Escape(report.layerName) + "\n");
    output.Write("Columns:  " + DescribeColumn("X", choice.x, choice) + ", " +
                 DescribeColumn("Y", choice.y, choice) +
                 (choice.z ? ", " + DescribeColumn("Z", choice.z, choice) : "") +
                 (choice.hasColumnNames ? "; names from the first line\n" : "; no column names\n"));
    // Rule: points are those of the file written; rows that it lacks are said.
    output.Write("Rows:     " + std::to_string(report.read.rows) + " read (" +
                 std::to_string(report.recordsRead) + " lines)" +
                 (report.stoppedAtLimit ? ", stopped at MAX_RECORDS" : "") +
                 (report.written.rowsLeftOut > 0
                      ? ", " + std::to_string(report.written.rows) + " written\n"
                      : "\n"));
    output.Write("Points:   " + std::to_string(report.written.points) + "\n");
    output.Write("No point: " + std::to_string(report.read.rows - report.written.points) +
                 " rows\n");
    output.Write("Extent:   " + DescribeExtent(report.extent) + "\n");
    output.Write("Schema:   " + std::to_string(report.schema.GetCount()) + " columns\n");
    output.Write(DescribeSchema(report.schema));
    output.Write("Time:     " + DescribeTimes(report, request.file) + "\n");
    output.Write("Written:  " + TerminalText::Escape(report.out) + " (" + report.format + ")\n");
}

/// Draws progress, and says to the signal handlers how far the import is.
void Follow(const ProgressState& state, ProgressLine& line)
{
    switch (state.phase) {
    case EPhase::Preparing:
    case EPhase::Counting:
        Interrupt::SetPhase(Interrupt::EPhase::Immediate);
        break;
    case EPhase::Reading:
        Interrupt::SetPhase(Interrupt::EPhase::Reading);
        break;
    case EPhase::Writing:
    case EPhase::Indexing:
        Interrupt::SetPhase(Interrupt::EPhase::Writing);
        break;
    case EPhase::Written:
        Interrupt::SetPhase(Interrupt::EPhase::Written);
        break;
    }
    line.Show(state);
}

} // namespace

bool RunImport(const ImportArguments& arguments)
{
    const Interrupt::PhaseScope scope(Interrupt::EPhase::Immediate);
    ProgressLine line;
    Callbacks callbacks;
    callbacks.cancel = &Interrupt::GetFlag();
    callbacks.progress = [&](const ProgressState& state) {
        Follow(state, line);
        return true;
    };
    callbacks.note = [&line](const Orvane::Import::Note& note) {
        line.Clear();
        PrintNote(note);
    };
    // Rule: rows on standard output are not mixed with words.
    const int descriptor = arguments.request.out == "-" ? STDERR_FILENO : STDOUT_FILENO;
    const ImportReport report = [&] {
        const Interrupt::JsonScope json(arguments.isJson ? descriptor : -1);
        return ImportFile(arguments.request, callbacks);
    }();
    line.Clear();
    const std::string imbalances = DescribeImbalances(report);
    if (!imbalances.empty()) {
        std::fprintf(stderr, "%s\n", imbalances.c_str());
    }
    TextOutput output(descriptor);
    if (arguments.isJson) {
        output.Write(EscapeControls(ToJson(report)));
    } else if (report.ledger) {
        output.Write(DescribeImport(report));
    } else {
        PrintBareSummary(arguments.request, report, output);
    }
    output.Flush();
    return imbalances.empty();
}

} // namespace OrvaneHost
