// Random choices for the generators of the fuzz harnesses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>

namespace Fuzz {

/// Random choices that come out the same with every standard library.
class Dice
{
public:
    explicit Dice(std::uint64_t seed)
        : m_engine(seed)
    {}

    std::uint64_t Next() { return m_engine(); }

    /// 0 to count - 1; `count` is at least 1.
    std::size_t Below(std::size_t count) { return static_cast<std::size_t>(m_engine() % count); }

    /// `least` to `most`, both included.
    int Between(int least, int most)
    {
        return least + static_cast<int>(Below(static_cast<std::size_t>(most - least) + 1));
    }

    bool Chance(int perCent) { return Between(0, 99) < perCent; }

    template <typename T>
    T Pick(std::initializer_list<T> values)
    {
        return *(values.begin() + Below(values.size()));
    }

    std::uint8_t Byte() { return static_cast<std::uint8_t>(Below(256)); }

    /// That many bytes of any value.
    std::string Bytes(std::size_t count)
    {
        std::string bytes;
        for (std::size_t i = 0; i < count; ++i) {
            bytes += static_cast<char>(Byte());
        }
        return bytes;
    }

private:
    std::mt19937_64 m_engine;
};

} // namespace Fuzz
