// Finds the known words that an unknown one was probably meant to be.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace OrvaneHost {

/// The known words most like `word`, in their own order: those that begin with it; without any,
/// those the fewest edits away. An edit inserts, removes or replaces a character or swaps two
/// neighbours; more than one edit for each three characters is not alike. Case and dashes at the
/// beginning do not count. Words longer than 64 bytes are like none.
[[nodiscard]] std::vector<std::string_view>
FindNearestWords(std::string_view word, const std::vector<std::string_view>& known);

/// "; did you mean A or B?", or `otherwise` when no known word is like `word`.
[[nodiscard]] std::string DidYouMean(std::string_view word,
                                     const std::vector<std::string_view>& known,
                                     const std::string& otherwise);

} // namespace OrvaneHost
