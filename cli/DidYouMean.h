// The advice on an unknown word.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace OrvaneHost {

/// "; did you mean A or B?", or `otherwise` when no known word is like `word`
/// (Orvane/Import/NearestWord.h).
[[nodiscard]] std::string DidYouMean(std::string_view word,
                                     const std::vector<std::string_view>& known,
                                     const std::string& otherwise);

} // namespace OrvaneHost
