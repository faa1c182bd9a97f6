// Chooses the kernels by what the processor can do.
#include "kernels/Kernels.h"

namespace AsciiReader::Kernels {

const Set& Best()
{
    static const Set* const best = [] {
        const Set* sets[kMostSets] = {};
        return sets[GetAll(sets) - 1];
    }();
    return *best;
}

} // namespace AsciiReader::Kernels
