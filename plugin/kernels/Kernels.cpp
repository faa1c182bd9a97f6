// Chooses the kernels by what the processor can do.
#include "kernels/Kernels.h"

namespace AsciiReader::Kernels {

std::size_t GetAll(const Set* (&sets)[3])
{
    std::size_t count = 0;
    sets[count++] = &kGeneric;
#if defined(__x86_64__)
    if (__builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("popcnt")) {
        sets[count++] = &kSse41;
        if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
            __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("pclmul")) {
            sets[count++] = &kAvx2;
        }
    }
#endif
    return count;
}

const Set& Best()
{
    static const Set* const best = [] {
        const Set* sets[3] = {};
        return sets[GetAll(sets) - 1];
    }();
    return *best;
}

} // namespace AsciiReader::Kernels
