// The loops of one set of kernels, in terms of the byte blocks of its instruction set.
//
// Included by one source file per set inside an unnamed namespace, after that file has defined
//   struct Block64: Load(const char*), Equal(char) -> 64-bit mask, HighBits() -> 64-bit mask
//   std::uint64_t PrefixXor(std::uint64_t)
//   std::uint32_t LowestBit(std::uint64_t): position of the lowest bit, anything for 0
//   bool ConvertDigits(const char* text, std::uint32_t begin, std::uint32_t end, Digits& digits)
// Nothing of the standard library is used here but its integer types: an inline function built for
// one instruction set must not be picked up by the others.

constexpr std::uint64_t kExactMantissa = std::uint64_t{1} << 53U;

constexpr double kPowersOfTen[] = {
    1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16};

inline std::size_t WritePositions(std::uint64_t mask, std::uint32_t base, std::uint32_t* positions)
{
    const auto count = static_cast<std::size_t>(__builtin_popcountll(mask));
    // Eight at a time without a test each: what is written too much is overwritten later.
    for (std::size_t at = 0; at < count; at += 8) {
        for (std::size_t step = 0; step < 8; ++step) {
            positions[at + step] = base + LowestBit(mask);
            mask &= mask - 1;
        }
    }
    return count;
}

template <bool kHasQuotes, bool kIsCrLf>
inline std::size_t IndexRun(const char* text,
                            std::size_t from,
                            std::size_t to,
                            const Structure& structure,
                            IndexState& state,
                            std::uint32_t* positions)
{
    std::size_t count = 0;
    std::size_t lineEnds = 0;
    std::uint64_t high = 0;
    std::uint64_t inQuotes = state.inQuotes;
    std::uint64_t afterCr = state.afterCr;
    for (std::size_t at = from; at < to; at += 64) {
        const Block64 block = Block64::Load(text + at);
        std::uint64_t ends = block.Equal(structure.lineEnd);
        if constexpr (kIsCrLf) {
            const std::uint64_t returns = block.Equal('\r');
            ends &= (returns << 1U) | afterCr;
            afterCr = returns >> 63U;
        }
        const std::uint64_t mask = ends | block.Equal(structure.separator);
        std::uint64_t inside = ~std::uint64_t{0};
        if (to - at < 64) {
            inside = (std::uint64_t{1} << (to - at)) - 1;
        }
        high |= block.HighBits() & inside;
        if constexpr (kHasQuotes) {
            const std::uint64_t quoted = PrefixXor(block.Equal('"')) ^ inQuotes;
            inQuotes = static_cast<std::uint64_t>(static_cast<std::int64_t>(quoted) >> 63U);
            inside &= ~quoted;
        }
        lineEnds += static_cast<std::size_t>(__builtin_popcountll(ends & inside));
        count += WritePositions(mask & inside, static_cast<std::uint32_t>(at), positions + count);
    }
    state.inQuotes = inQuotes;
    state.afterCr = afterCr;
    state.highBytes |= high;
    state.lineEnds += lineEnds;
    return count;
}

std::size_t IndexText(const char* text,
                      std::size_t from,
                      std::size_t to,
                      const Structure& structure,
                      IndexState& state,
                      std::uint32_t* positions)
{
    if (structure.hasQuotes) {
        return structure.isCrLf
                   ? IndexRun<true, true>(text, from, to, structure, state, positions)
                   : IndexRun<true, false>(text, from, to, structure, state, positions);
    }
    return structure.isCrLf ? IndexRun<false, true>(text, from, to, structure, state, positions)
                            : IndexRun<false, false>(text, from, to, structure, state, positions);
}

/// Calls `take(row, digits)` for the fields that are plain numbers and lists the other rows.
template <bool kHasQuotes, typename Take>
inline std::size_t ConvertRun(const FieldRun& fields, std::uint32_t* odd, Take take)
{
    std::size_t oddCount = 0;
    const std::uint32_t* ends = fields.ends;
    for (std::size_t row = 0; row < fields.rows; ++row, ends += fields.stride) {
        std::uint32_t begin = *(ends - 1) + 1;
        std::uint32_t end = *ends - fields.trim;
        if (kHasQuotes && end - begin >= 2 && fields.text[begin] == '"') {
            ++begin;
            --end;
        }
        Digits digits;
        if (!ConvertDigits(fields.text, begin, end, digits) || !take(row, digits)) {
            odd[oddCount++] = static_cast<std::uint32_t>(row);
        }
    }
    return oddCount;
}

std::size_t ToDoubles(const FieldRun& fields, double* out, std::uint32_t* odd)
{
    const auto take = [out](std::size_t row, const Digits& digits) {
        // Both are exact, so that the one division rounds correctly.
        const double magnitude = static_cast<double>(static_cast<std::int64_t>(digits.mantissa)) /
                                 kPowersOfTen[digits.fraction];
        out[row] = digits.isNegative ? -magnitude : magnitude;
        return digits.mantissa < kExactMantissa;
    };
    return fields.hasQuotes ? ConvertRun<true>(fields, odd, take)
                            : ConvertRun<false>(fields, odd, take);
}

std::size_t ToInt32s(const FieldRun& fields, std::int32_t* out, std::uint32_t* odd)
{
    const auto take = [out](std::size_t row, const Digits& digits) {
        const auto value = static_cast<std::int64_t>(digits.mantissa);
        out[row] = static_cast<std::int32_t>(digits.isNegative ? -value : value);
        return digits.fraction == 0 && digits.mantissa <= 0x7FFFFFFFU;
    };
    return fields.hasQuotes ? ConvertRun<true>(fields, odd, take)
                            : ConvertRun<false>(fields, odd, take);
}

std::size_t CountByte(const char* text, std::size_t size, char byte)
{
    std::size_t count = 0;
    std::size_t at = 0;
    for (; at + 64 <= size; at += 64) {
        const Block64 block = Block64::Load(text + at);
        count += static_cast<std::size_t>(__builtin_popcountll(block.Equal(byte)));
    }
    for (; at < size; ++at) {
        count += text[at] == byte ? 1U : 0U;
    }
    return count;
}
