// Distances between words.
#include <Orvane/Import/NearestWord.h>

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string>
#include <utility>

namespace Orvane::Import {

namespace {

constexpr std::size_t kLongestWord = 64;
constexpr std::size_t kShortestPart = 4;

std::string Fold(std::string_view word)
{
    word.remove_prefix(std::min(word.find_first_not_of('-'), word.size()));
    std::string folded(word);
    std::transform(folded.begin(), folded.end(), folded.begin(), [](char byte) {
        return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    });
    return folded;
}

/// The fewest edits from one word to the other.
std::size_t CountEdits(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> beforePrevious(b.size() + 1);
    std::vector<std::size_t> previous(b.size() + 1);
    std::vector<std::size_t> current(b.size() + 1);
    std::iota(previous.begin(), previous.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = previous[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            current[j] = std::min({previous[j] + 1, current[j - 1] + 1, replaced});
            const bool isSwapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (isSwapped) {
                current[j] = std::min(current[j], beforePrevious[j - 2] + 1);
            }
        }
        std::swap(beforePrevious, previous);
        std::swap(previous, current);
    }
    return previous[b.size()];
}

} // namespace

std::vector<std::string_view> FindNearestWords(std::string_view word,
                                               const std::vector<std::string_view>& known)
{
    std::vector<std::string_view> nearest;
    const std::string folded = Fold(word);
    if (folded.empty() || folded.size() > kLongestWord) {
        return nearest;
    }
    std::vector<std::string_view> containing;
    for (const std::string_view candidate : known) {
        const std::size_t place = Fold(candidate).find(folded);
        if (place == 0) {
            nearest.push_back(candidate);
        } else if (place != std::string::npos && folded.size() >= kShortestPart) {
            containing.push_back(candidate);
        }
    }
    if (nearest.empty()) {
        nearest = std::move(containing);
    }
    if (!nearest.empty()) {
        return nearest;
    }
    std::size_t fewest = std::max<std::size_t>(1, folded.size() / 3);
    for (const std::string_view candidate : known) {
        const std::size_t edits = CountEdits(folded, Fold(candidate));
        // A word of one character is one edit away from every other such word.
        if (edits > fewest || edits >= folded.size()) {
            continue;
        }
        if (edits < fewest) {
            nearest.clear();
            fewest = edits;
        }
        nearest.push_back(candidate);
    }
    return nearest;
}

} // namespace Orvane::Import
