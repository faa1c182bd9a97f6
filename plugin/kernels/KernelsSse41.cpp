// The kernels for processors with SSSE3, SSE4.1 and POPCNT.
#include "kernels/Kernels.h"

#if defined(__x86_64__)

#include <smmintrin.h>

namespace AsciiReader::Kernels {

namespace {

#include "kernels/BlocksSse2.inc"

std::uint64_t PrefixXor(std::uint64_t mask)
{
    for (unsigned shift = 1; shift < 64; shift *= 2) {
        mask ^= mask << shift;
    }
    return mask;
}

std::uint32_t LowestBit(std::uint64_t mask)
{
    return static_cast<std::uint32_t>(__builtin_ctzll(mask | std::uint64_t{1} << 63U));
}

#include "kernels/ConvertSse41.inc"
#include "kernels/EightPositions.inc"
#include "kernels/Index.inc"
#include "kernels/KernelBody.inc"
#include "kernels/KernelOneByOne.inc"
#include "kernels/Utf8Sse41.inc"

} // namespace

const Set kSse41 = {IndexText,
                    ToDoubles,
                    ToInt32s,
                    ToDoublesOfColumns,
                    ToBooleans,
                    AppendTexts,
                    ScanTypes,
                    SurveyText,
                    IsUtf8,
                    "sse4.1"};

} // namespace AsciiReader::Kernels

#endif
