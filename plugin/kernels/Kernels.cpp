// The sets of kernels that the processor can run.
#include "kernels/Kernels.h"

namespace AsciiReader::Kernels {

#if defined(__x86_64__)

namespace {

const Set& GetAvx512()
{
    static const Set avx512 = [] {
        Set set = kAvx2;
        set.index = IndexWithAvx512;
        set.markNumbers = MarkNumbersWithAvx512;
        set.markCodes = MarkCodesWithAvx512;
        set.countBytes = CountBytesWithAvx512;
        set.countShapes = CountShapesWithAvx512;
        set.name = "avx512";
        return set;
    }();
    return avx512;
}

} // namespace

#endif

std::size_t GetAll(const Set* (&sets)[kMostSets])
{
    std::size_t count = 0;
    sets[count++] = &kGeneric;
#if defined(__x86_64__)
    if (__builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("popcnt")) {
        sets[count++] = &kSse41;
        if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
            __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("pclmul")) {
            sets[count++] = &kAvx2;
            if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi2")) {
                sets[count++] = &GetAvx512();
            }
        }
    }
#endif
    return count;
}

} // namespace AsciiReader::Kernels
