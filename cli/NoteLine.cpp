// The words around a note.
#include "NoteLine.h"

#include "TerminalText.h"

#include <cstdio>

namespace OrvaneHost {

namespace {

const char* AdviceFor(const Orvane::Import::Note& note)
{
    if (note.code == "disk-cache") {
        return " (--no-disk-cache keeps them in memory)";
    }
    return note.code == "disk-cache-full" ? " (--disk-cache=DIR takes another folder)" : "";
}

} // namespace

void PrintNote(const Orvane::Import::Note& note)
{
    std::fprintf(
        stderr, "orvane: note: %s%s\n", TerminalText::Escape(note.text).c_str(), AdviceFor(note));
}

} // namespace OrvaneHost
