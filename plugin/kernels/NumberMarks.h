// Which bytes could not be part of a plain number, as bits.
#pragma once

#include "kernels/Bits.h"
#include "kernels/Blocks.h"
#include "kernels/Kernels.h"

#include <cstddef>
#include <cstdint>

namespace AsciiReader::Kernels {

namespace {

/// What the bytes before a block were: 1 or 0.
struct BeforeMarks
{
    std::uint64_t isNumeric = 0;   ///< a digit, a point or a minus
    std::uint64_t isInNumber = 0;  ///< a digit or a point
    std::uint64_t isFirstZero = 0; ///< a zero with neither before it
};

/// 64 bytes, two marks each.
inline void MarkBlock(const char* text, BeforeMarks& before, std::uint64_t* marks)
{
    const Block64 block = Block64::Load(text);
    const std::uint64_t digits = block.Digits();
    const std::uint64_t points = block.Equal('.');
    const std::uint64_t minuses = block.Equal('-');
    const std::uint64_t inNumber = digits | points;
    const std::uint64_t numeric = inNumber | minuses;
    const std::uint64_t afterNumeric = numeric << 1U | before.isNumeric;
    const std::uint64_t firstZeros = block.Equal('0') & ~(inNumber << 1U | before.isInNumber);
    const std::uint64_t odd = ~numeric | (minuses & afterNumeric) | (points & ~afterNumeric) |
                              (digits & (firstZeros << 1U | before.isFirstZero));
    marks[0] = Spread(~digits) | Spread(odd) << 1U;
    marks[1] = Spread(~digits >> 32U) | Spread(odd >> 32U) << 1U;
    before = {numeric >> 63U, inNumber >> 63U, firstZeros >> 63U};
}

inline void MarkNumbers(const char* text, std::size_t size, std::uint64_t* marks)
{
    BeforeMarks before;
    std::size_t at = 0;
    for (; at + 64 <= size; at += 64) {
        MarkBlock(text + at, before, marks + at / 32);
    }
    if (at < size) {
        char last[64] = {};
        __builtin_memcpy(last, text + at, size - at);
        MarkBlock(last, before, marks + at / 32);
    }
}

inline bool MarkCodes(const char* text, std::size_t size, std::uint64_t* codes)
{
    std::uint64_t isInNumber = 0;
    std::uint64_t isFirstZero = 0;
    std::uint64_t any = 0;
    const auto mark = [&](const char* at) {
        const Block64 block = Block64::Load(at);
        const std::uint64_t digits = block.Digits();
        const std::uint64_t inNumber = digits | block.Equal('.');
        const std::uint64_t firstZeros = block.Equal('0') & ~(inNumber << 1U | isInNumber);
        const std::uint64_t found = digits & (firstZeros << 1U | isFirstZero);
        isInNumber = inNumber >> 63U;
        isFirstZero = firstZeros >> 63U;
        any |= found;
        return found;
    };
    std::size_t at = 0;
    for (; at + 64 <= size; at += 64) {
        codes[at / 64] = mark(text + at);
    }
    if (at < size) {
        char last[64] = {};
        __builtin_memcpy(last, text + at, size - at);
        codes[at / 64] = mark(last);
    }
    return any != 0;
}

} // namespace

} // namespace AsciiReader::Kernels
