// For processors with AVX-512 VBMI2: the index, which writes sixteen positions at once, and what
// compares bytes with several others.
#include "kernels/Kernels.h"

#if defined(__x86_64__)

#include "kernels/ByteCounts.h"
#include "kernels/Index.h"
#include "kernels/NumberMarks.h"
#include "kernels/ShapeCounts.h"

namespace AsciiReader::Kernels {

std::size_t IndexWithAvx512(const char* text,
                            std::size_t from,
                            std::size_t to,
                            const Structure& structure,
                            IndexState& state,
                            std::uint32_t* positions)
{
    return IndexText(text, from, to, structure, state, positions);
}

void MarkNumbersWithAvx512(const char* text, std::size_t size, std::uint64_t* marks)
{
    MarkNumbers(text, size, marks);
}

bool MarkCodesWithAvx512(const char* text, std::size_t size, std::uint64_t* codes)
{
    return MarkCodes(text, size, codes);
}

void CountBytesWithAvx512(const char* text, std::size_t size, ByteCounts& counts)
{
    CountBytes(text, size, counts);
}

unsigned CountShapesWithAvx512(const ShapeRun& run, KnownShapes& known, std::uint8_t* others)
{
    return CountShapes(run, known, others);
}

} // namespace AsciiReader::Kernels

#endif
