// `orvane preview`: the reader's preview of the columns, printed.
#include "Commands.h"
#include "JsonWriter.h"
#include "NoteLine.h"
#include "TerminalText.h"
#include "TextOutput.h"

#include <Orvane/Import/Module.h>
#include <Orvane/Import/Preview.h>

#include <algorithm>

namespace OrvaneHost {

namespace {

using Orvane::Import::FilePreview;

constexpr std::size_t kWidestCell = 40;

void PrintJson(TextOutput& output, const Orvane::BParamList& answer)
{
    JsonWriter json(output);
    json.Raw("{\"ok\":true,\"preview\":{");
    for (std::size_t index = 0; index < answer.GetCount(); ++index) {
        json.Raw(index == 0 ? "" : ",");
        json.Text(answer.GetKeyAt(index));
        json.Raw(':');
        json.Value(answer.GetValueAt(index));
    }
    json.Raw("}}\n");
}

std::string Cell(const Orvane::BString& text)
{
    return TerminalText::EscapeAndCut(text, kWidestCell);
}

void PrintText(TextOutput& output, const FilePreview& preview)
{
    std::size_t firstWidth = TerminalText::CountCharacters("FIRST ROW");
    for (const FilePreview::Column& column : preview.columns) {
        firstWidth = std::max(firstWidth, TerminalText::CountCharacters(Cell(column.first)));
    }
    output.Write("COLUMN  " + TerminalText::Pad("FIRST ROW", firstWidth) + "  SECOND ROW\n");
    for (std::size_t index = 0; index < preview.columns.size(); ++index) {
        const FilePreview::Column& column = preview.columns[index];
        output.Write(TerminalText::Pad(std::to_string(index), 6) + "  " +
                     TerminalText::Pad(Cell(column.first), firstWidth) + "  " +
                     Cell(column.second) + "\n");
    }
    output.Write(std::to_string(preview.columns.size()) + " columns; the first row " +
                 (preview.hasColumnNames ? "holds column names\n" : "is data\n"));
}

} // namespace

void RunPreview(const ReadArguments& arguments)
{
    const Orvane::BPluginModule module = Orvane::Import::LoadModuleFor(
        arguments.file, arguments.params, arguments.plugin, PrintNote);
    const Orvane::BParamList answer =
        Orvane::Import::AskPreview(module, arguments.file, arguments.params);
    TextOutput output;
    if (arguments.isJson) {
        PrintJson(output, answer);
    } else {
        PrintText(output, Orvane::Import::ParsePreview(answer));
    }
    output.Flush();
}

} // namespace OrvaneHost
