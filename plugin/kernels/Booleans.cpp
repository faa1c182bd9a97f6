// Columns to booleans; no instruction set does it better than another.
#include "kernels/BooleanWords.h"
#include "kernels/Fields.h"
#include "kernels/Kernels.h"

namespace AsciiReader::Kernels {

namespace {

template <bool kHasQuotes>
inline void ToBooleansRun(const FieldRun& fields, std::uint8_t* out)
{
    const BooleanWords words;
    const std::uint32_t* ends = fields.ends;
    for (std::size_t row = 0; row < fields.rows; ++row, ends += fields.stride) {
        out[row] = words.IsTrue(fields.text, SpanOf<kHasQuotes>(fields, ends)) ? 1 : 0;
    }
}

} // namespace

void ToBooleans(const FieldRun& fields, std::uint8_t* out)
{
    if (fields.hasQuotes) {
        ToBooleansRun<true>(fields, out);
    } else {
        ToBooleansRun<false>(fields, out);
    }
}

} // namespace AsciiReader::Kernels
