// Stands in for the choice of kernels in a module that measures what each kernel is worth.
//
// ORVANE_KERNELS names a set and, after commas, kernels of other sets in place of its own:
//   ORVANE_KERNELS=avx512,index=avx2
// Without it the plainest set is used.
#include "kernels/Kernels.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace AsciiReader::Kernels {

namespace {

[[noreturn]] void Refuse(std::string_view word)
{
    std::fprintf(stderr,
                 "ORVANE_KERNELS: this processor has no kernels <%.*s>\n",
                 static_cast<int>(word.size()),
                 word.data());
    std::abort();
}

const Set& FindSet(std::string_view name)
{
    const Set* sets[kMostSets] = {};
    const std::size_t count = GetAll(sets);
    for (std::size_t at = 0; at < count; ++at) {
        if (name == sets[at]->name) {
            return *sets[at];
        }
    }
    Refuse(name);
}

void Replace(Set& set, std::string_view kernel, const Set& from)
{
    if (kernel == "index") {
        set.index = from.index;
    } else if (kernel == "toDoubles") {
        set.toDoubles = from.toDoubles;
    } else if (kernel == "toInt32s") {
        set.toInt32s = from.toInt32s;
    } else if (kernel == "toDoublesOfColumns") {
        set.toDoublesOfColumns = from.toDoublesOfColumns;
    } else if (kernel == "appendTexts") {
        set.appendTexts = from.appendTexts;
    } else if (kernel == "scanTypes") {
        set.scanTypes = from.scanTypes;
    } else if (kernel == "survey") {
        set.survey = from.survey;
    } else if (kernel == "isUtf8") {
        set.isUtf8 = from.isUtf8;
    } else if (kernel == "markNumbers") {
        set.markNumbers = from.markNumbers;
    } else if (kernel == "markCodes") {
        set.markCodes = from.markCodes;
    } else if (kernel == "countBytes") {
        set.countBytes = from.countBytes;
    } else if (kernel == "countShapes") {
        set.countShapes = from.countShapes;
    } else {
        Refuse(kernel);
    }
}

Set Choose()
{
    const char* const choice = std::getenv("ORVANE_KERNELS");
    if (choice == nullptr) {
        return kGeneric;
    }
    std::string_view left = choice;
    Set set = FindSet(left.substr(0, left.find(',')));
    while (left.find(',') != std::string_view::npos) {
        left.remove_prefix(left.find(',') + 1);
        const std::string_view word = left.substr(0, left.find(','));
        const std::size_t equals = word.find('=');
        if (equals == std::string_view::npos) {
            Refuse(word);
        }
        Replace(set, word.substr(0, equals), FindSet(word.substr(equals + 1)));
    }
    return set;
}

} // namespace

const Set& Best()
{
    static const Set chosen = Choose();
    return chosen;
}

} // namespace AsciiReader::Kernels
