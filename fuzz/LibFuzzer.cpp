// Ties a harness to libFuzzer.
#include "Fuzz.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

extern "C" std::size_t
LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t largestSize);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Fuzz::RunInput({reinterpret_cast<const char*>(data), size});
    return 0;
}

/// Now and then a new input of the generator, else what libFuzzer makes of the one it has.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data,
                                               std::size_t size,
                                               std::size_t largestSize,
                                               unsigned seed)
{
    constexpr unsigned kRoundsPerNewInput = 16;
    if (seed % kRoundsPerNewInput != 0) {
        return LLVMFuzzerMutate(data, size, largestSize);
    }
    Fuzz::Dice dice(seed);
    const std::string made = Fuzz::MakeInput(dice);
    const std::size_t madeSize = std::min(made.size(), largestSize);
    std::memcpy(data, made.data(), madeSize);
    return madeSize;
}
