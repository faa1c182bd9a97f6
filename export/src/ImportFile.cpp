// Chooses how a file is imported: by a plan, or by the reader's rules.
#include "BareImport.h"
#include "ImportPhases.h"
#include "PlannedImport.h"

#include <Orvane/Import/ImportFile.h>
#include <Orvane/Import/Module.h>

#include <utility>
#include <vector>

namespace Orvane::Import {

ImportReport
ImportFile(const BPluginModule& module, const ImportRequest& request, const Callbacks& callbacks)
{
    const bool isBundled = IsBundledModule(module);
    if (isBundled && request.options.GetCount() == 0) {
        return ImportByPlan(request, callbacks);
    }
    const Note note{
        "reader-rules",
        isBundled ? "with reader options the file is read by the rules of the reader alone, which "
                    "may change cells"
                  : "the file is read by the rules of its plug-in alone, and no cell is compared"};
    if (callbacks.note) {
        callbacks.note(note);
    }
    ImportReport report = ImportByReader(module, request, callbacks);
    report.notes.insert(report.notes.begin(), note);
    return report;
}

ImportReport ImportFile(const ImportRequest& request, const Callbacks& callbacks)
{
    std::vector<Note> notes;
    const BPluginModule module =
        LoadModuleFor(request.file, request.options, request.module, [&](const Note& note) {
            notes.push_back(note);
            if (callbacks.note) {
                callbacks.note(note);
            }
        });
    ImportReport report = ImportFile(module, request, callbacks);
    report.notes.insert(report.notes.begin(), notes.begin(), notes.end());
    return report;
}

} // namespace Orvane::Import
