// Notes of the import library, as a terminal shows them.
#pragma once

#include <Orvane/Import/Progress.h>

namespace OrvaneHost {

/// Prints a note as one line on standard error, with the arguments that change what it says.
void PrintNote(const Orvane::Import::Note& note);

} // namespace OrvaneHost
