// The kernels of every processor; with SSE2 where that is part of the architecture.
#include "kernels/Kernels.h"
#include "text/Utf8.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace AsciiReader::Kernels {

namespace {

#if defined(__SSE2__)

#include "kernels/BlocksSse2.inc"

#else

struct Block32
{
    char bytes[32];

    static Block32 Load(const char* from)
    {
        Block32 block;
        __builtin_memcpy(block.bytes, from, sizeof block.bytes);
        return block;
    }

    void Store(char* to) const { __builtin_memcpy(to, bytes, sizeof bytes); }

    [[nodiscard]] std::uint32_t Equal(char byte) const
    {
        std::uint32_t mask = 0;
        for (unsigned at = 0; at < sizeof bytes; ++at) {
            mask |= std::uint32_t{bytes[at] == byte} << at;
        }
        return mask;
    }

    [[nodiscard]] std::uint32_t HighBits() const
    {
        std::uint32_t mask = 0;
        for (unsigned at = 0; at < sizeof bytes; ++at) {
            mask |= std::uint32_t{static_cast<unsigned char>(bytes[at]) >= 0x80} << at;
        }
        return mask;
    }
};

struct Block64
{
    const char* text;

    static Block64 Load(const char* from) { return {from}; }

    [[nodiscard]] std::uint64_t Equal(char byte) const
    {
        std::uint64_t mask = 0;
        for (unsigned at = 0; at < 64; ++at) {
            mask |= std::uint64_t{text[at] == byte} << at;
        }
        return mask;
    }

    [[nodiscard]] std::uint64_t HighBits() const
    {
        std::uint64_t mask = 0;
        for (unsigned at = 0; at < 64; ++at) {
            mask |= std::uint64_t{static_cast<unsigned char>(text[at]) >= 0x80} << at;
        }
        return mask;
    }
};

#endif

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

bool ConvertDigits(
    const char* text, std::uint32_t begin, std::uint32_t end, bool emptyIsZero, Digits& digits);

#include "kernels/EightPositions.inc"
#include "kernels/Index.inc"
#include "kernels/KernelBody.inc"
#include "kernels/KernelOneByOne.inc"

bool ConvertDigits(
    const char* text, std::uint32_t begin, std::uint32_t end, bool emptyIsZero, Digits& digits)
{
    const char* at = text + begin;
    const char* const stop = text + end;
    if (at == stop) {
        digits = {};
        return emptyIsZero;
    }
    digits.sign = *at == '-' ? 1 : 0;
    at += digits.sign;
    // Sixteen digits are below 2^64 with room to spare; longer fields are left to others.
    if (stop - at > 17 || at == stop) {
        return false;
    }
    std::uint64_t mantissa = 0;
    const char* point = nullptr;
    for (; at != stop; ++at) {
        const auto digit = static_cast<unsigned>(static_cast<unsigned char>(*at)) - '0';
        if (digit <= 9) {
            mantissa = mantissa * 10 + digit;
        } else if (*at == '.' && point == nullptr) {
            point = at;
        } else {
            return false;
        }
    }
    digits.mantissa = mantissa;
    digits.fraction = point == nullptr ? 0 : static_cast<unsigned>(stop - point - 1);
    const auto size = static_cast<unsigned>(stop - (text + begin)) - digits.sign;
    const unsigned digitCount = size - (point == nullptr ? 0U : 1U);
    digits.count = digitCount;
    return digitCount >= 1 && digitCount <= 16;
}

/// Plainly: CheckUtf8 says the same.
bool IsUtf8(const char* text, std::size_t size)
{
    const Utf8Check check = CheckUtf8({text, size});
    return check.isValidSoFar && check.validSize == size;
}

} // namespace

const Set kGeneric = {IndexText,
                      ToDoubles,
                      ToInt32s,
                      ToDoublesOfColumns,
                      ToBooleans,
                      AppendTexts,
                      ScanTypes,
                      SurveyText,
                      IsUtf8,
                      "generic"};

} // namespace AsciiReader::Kernels
