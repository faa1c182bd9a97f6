// The index for processors with AVX-512 VBMI2, which writes sixteen positions at once.
#include "kernels/Kernels.h"

#if defined(__x86_64__)

#include "kernels/Index.h"

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

} // namespace AsciiReader::Kernels

#endif
