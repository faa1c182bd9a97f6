// The words of losses.
#include "Losses.h"

#include <string>

namespace Orvane::Import {

std::size_t ReplaceNuls(std::string& text)
{
    std::size_t nuls = 0;
    std::string replaced;
    for (const char byte : text) {
        if (byte == '\0') {
            replaced += "\uFFFD";
            ++nuls;
        } else {
            replaced += byte;
        }
    }
    text.swap(replaced);
    return nuls;
}

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
    for (std::size_t index = 0; index < counts.notOfType.size(); ++index) {
        const std::string& name = fields[index].name;
        if (fields[index].type == EVariantType::Int64) {
            add("not-an-integer",
                counts.notOfType[index],
                " values of the 64-bit column '" + name +
                    "' are no 64-bit integers and are null in the output",
                name.c_str());
        } else {
            add("not-a-date",
                counts.notOfType[index],
                " values of the column '" + name +
                    "' are no dates or times of its type and are null in the output",
                name.c_str());
        }
    }
    for (std::size_t index = 0; index < counts.cutFractions.size(); ++index) {
        add("fraction",
            counts.cutFractions[index],
            " times of the column '" + fields[index].name +
                "' have less digits after their seconds in the output",
            fields[index].name.c_str());
    }
    for (std::size_t index = 0; index < counts.cutOffsets.size(); ++index) {
        add("offset",
            counts.cutOffsets[index],
            " times of the column '" + fields[index].name +
                "' have no offset from UTC in the output",
            fields[index].name.c_str());
    }
    for (std::size_t index = 0; index < counts.earlyDates.size(); ++index) {
        add("early-date",
            counts.earlyDates[index],
            " dates of the column '" + fields[index].name +
                "' are before 1900, which the format does not hold, and are null in the output",
            fields[index].name.c_str());
    }
    for (std::size_t index = 0; index < counts.changedTexts.size(); ++index) {
        add("text",
            counts.changedTexts[index],
            " texts of the column '" + fields[index].name +
                "' have characters or a length that the format does not hold, and are changed in "
                "the output",
            fields[index].name.c_str());
    }
    add("height", counts.withoutHeight, " points have no height in the output", "");
    add("height-as-zero",
        counts.zeroHeights,
        " points without a height have the height 0 in the output",
        "");
    add("not-finite", counts.notFinite, " numbers are not finite and are null in the output", "");
    add("digits",
        counts.longNumbers,
        " numbers and coordinates have more than 15 digits, and the format may keep less of them",
        "");
    add("null-as-zero", counts.zeroNulls, " nulls of numbers are 0 in the output", "");
    add("nul", counts.withNul, " NUL characters of texts are U+FFFD in the output", "");
    add("no-place",
        counts.withoutPlace,
        " points have an X or Y that is no number and no geometry in the output",
        "");
}

} // namespace Orvane::Import
