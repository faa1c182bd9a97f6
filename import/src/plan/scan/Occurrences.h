// Something that occurs here and there: how often, and where first.
#pragma once

#include "ColumnProfile.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

struct Occurrences
{
    std::uint64_t count = 0;
    std::vector<Example> first; ///< at most kMostPlaces

    static constexpr std::size_t kMostPlaces = 8;

    void Add(const Position& position, std::string_view text)
    {
        ++count;
        if (first.size() < kMostPlaces) {
            first.push_back({position, std::string(text.substr(0, kExampleBytes * 2))});
        }
    }
};

} // namespace Orvane::Import::Scan
