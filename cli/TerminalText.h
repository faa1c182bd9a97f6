// The texts of the program on a terminal: those of the import library's DisplayText.
#pragma once

#include <Orvane/Import/DisplayText.h>

namespace OrvaneHost {

namespace TerminalText = Orvane::Import::DisplayText;

} // namespace OrvaneHost
