// Imports a delimited file into a geographic one in one call, with progress, notes and failures.
#include <Orvane/Import/ImportFile.h>

#include <exception>
#include <iostream>

int main(int argumentCount, char** arguments)
{
    using namespace Orvane::Import;
    if (argumentCount < 3) {
        std::cerr << "usage: import_file FILE OUT [AUTHORITY:CODE]\n";
        return 2;
    }
    ImportRequest request;
    request.file = arguments[1];
    request.out = arguments[2];
    request.crs = argumentCount > 3 ? arguments[3] : "";
    Callbacks callbacks;
    callbacks.progress = [](const ProgressState& state) {
        // A program with a window would show the state, and give false when its button is pressed.
        return state.rowsDone < 1000000000;
    };
    callbacks.note = [](const Note& note) { std::cout << "note: " << note.text << '\n'; };
    try {
        const ImportReport report = ImportFile(request, callbacks);
        std::cout << report.written.rows << " rows, " << report.written.points << " points\n";
        return 0;
    } catch (const ImportFailure& failure) {
        const FailureFields& fields = failure.GetFields();
        std::cerr << fields.code << " at line " << fields.line << "\n" << failure.what() << '\n';
    } catch (const std::exception& exception) {
        std::cerr << exception.what() << '\n';
    }
    return 1;
}
