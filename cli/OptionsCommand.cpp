// `orvane options`: the table of reader options.
#include "Commands.h"
#include "TerminalText.h"
#include "TextOutput.h"

#include <Orvane/Import/Options.h>

namespace OrvaneHost {

void RunOptions()
{
    TextOutput output;
    const auto addLine = [&](const std::string& key, const char* type, const char* meaning) {
        output.Write(TerminalText::Pad(key, 26) + TerminalText::Pad(type, 18) + meaning + "\n");
    };
    addLine("OPTION", "TYPE", "MEANING");
    for (const Orvane::Import::ReaderOption& option : Orvane::Import::GetReaderOptions()) {
        addLine(option.key.ToUtf8(), Orvane::Import::NameOfKind(option.kind), option.meaning);
    }
    output.Flush();
}

} // namespace OrvaneHost
