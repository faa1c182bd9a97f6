// The words of losses.
#include "Losses.h"

#include <string>

namespace Orvane::Import {

void ReportLosses(const LossCounts& counts,
                  const std::vector<FileField>& fields,
                  WriteReport& report)
{
    const auto add =
        [&](const char* code, std::size_t count, const std::string& words, const char* field) {
            if (count > 0) {
                report.losses.push_back({code, count, field});
                report.notes.push_back({code, std::to_string(count) + words});
            }
        };
    for (std::size_t index = 0; index < counts.notIntegers.size(); ++index) {
        add("not-an-integer",
            counts.notIntegers[index],
            " values of the 64-bit column '" + fields[index].name +
                "' are no 64-bit integers and are null in the file",
            fields[index].name.c_str());
    }
    add("not-finite", counts.notFinite, " numbers are not finite and are null in the file", "");
    add("no-geometry",
        counts.leftOut,
        " rows without geometry are not in the file: its format cannot hold them",
        "");
    add("nul", counts.withNul, " NUL characters of texts are U+FFFD in the file", "");
    add("no-place",
        counts.withoutPlace,
        " points have an X or Y that is no number and no geometry in the file",
        "");
}

} // namespace Orvane::Import
