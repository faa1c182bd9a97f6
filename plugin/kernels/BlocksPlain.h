// Blocks of bytes without vector registers.
#pragma once

#include <cstdint>

namespace AsciiReader::Kernels {

namespace {

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

    [[nodiscard]] std::uint64_t Digits() const
    {
        std::uint64_t mask = 0;
        for (unsigned at = 0; at < 64; ++at) {
            mask |= std::uint64_t{text[at] >= '0' && text[at] <= '9'} << at;
        }
        return mask;
    }

    [[nodiscard]] std::uint64_t Equal(char byte) const
    {
        std::uint64_t mask = 0;
        for (unsigned at = 0; at < 64; ++at) {
            mask |= std::uint64_t{text[at] == byte} << at;
        }
        return mask;
    }

    [[nodiscard]] std::uint64_t Unprinted() const
    {
        std::uint64_t mask = 0;
        for (unsigned at = 0; at < 64; ++at) {
            mask |= std::uint64_t{static_cast<signed char>(text[at]) < ' '} << at;
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

} // namespace

} // namespace AsciiReader::Kernels
