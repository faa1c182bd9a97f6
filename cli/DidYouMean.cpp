// Lists the nearest words.
#include "DidYouMean.h"

#include <Orvane/Import/NearestWord.h>

#include <cstddef>

namespace OrvaneHost {

std::string DidYouMean(std::string_view word,
                       const std::vector<std::string_view>& known,
                       const std::string& otherwise)
{
    const std::vector<std::string_view> nearest = Orvane::Import::FindNearestWords(word, known);
    if (nearest.empty()) {
        return otherwise;
    }
    std::string text = "; did you mean ";
    for (std::size_t index = 0; index < nearest.size(); ++index) {
        text += index == 0 ? "" : index + 1 == nearest.size() ? " or " : ", ";
        text += nearest[index];
    }
    return text + "?";
}

} // namespace OrvaneHost
