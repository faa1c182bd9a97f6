// `orvane formats`: what an import can write.
#include "Commands.h"
#include "TerminalText.h"
#include "TextOutput.h"

#include <Orvane/Import/Targets.h>

#include <string>

namespace OrvaneHost {

void RunFormats()
{
    TextOutput output;
    const auto addLine = [&](const std::string& name,
                             const std::string& extension,
                             const std::string& text) {
        std::string line = TerminalText::Pad(name, 16) + TerminalText::Pad(extension, 12) + text;
        line.erase(line.find_last_not_of(' ') + 1);
        output.Write(line + "\n");
    };
    addLine("FORMAT", "EXTENSION", "");
    for (const Orvane::Import::TargetFormat& format : Orvane::Import::GetTargetFormats()) {
        addLine(format.name, format.extension, {});
    }
    output.Write("\nWritten by GDAL:\n");
    for (const Orvane::Import::GdalFormat& format : Orvane::Import::ListGdalFormats()) {
        addLine(format.name,
                format.extension.empty() ? "-" : format.extension,
                format.needs.empty() ? format.longName : "not here: needs " + format.needs);
    }
    output.Flush();
}

} // namespace OrvaneHost
