// Column names as words.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import::Names {

/// The words of a name in lower case: cut at punctuation, blanks, digits and where a lower-case
/// letter meets an upper-case one. Letters past ASCII belong to words.
using Tokens = std::vector<std::string>;

[[nodiscard]] Tokens Cut(std::string_view name);

[[nodiscard]] bool HasAny(const Tokens& tokens, std::initializer_list<std::string_view> words);

/// What a name says about coordinates.
enum class EAxis : unsigned char {
    None,
    Latitude,
    Longitude,
    X,
    Y,
    Z,
};

/// Whole words only: `population` is no latitude. @param rest the name without the axis's word, by
/// which a partner is found
[[nodiscard]] EAxis FindAxis(std::string_view name, std::string& rest);

/// X for a name that says East, Y for one that says North; None otherwise. Only where no column
/// says West or South these are axes: frames have all four.
[[nodiscard]] EAxis FindDirection(std::string_view name, std::string& rest);

} // namespace Orvane::Import::Names
