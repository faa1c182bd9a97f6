// Lines at the begin of a text, before any dialect is known.
#include "FirstLines.h"

#include "../values/FoldedCell.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

std::string_view FirstLine(std::string_view text) noexcept
{
    return text.substr(0, std::min(text.find_first_of("\r\n"), text.size()));
}

bool IsComment(std::string_view line) noexcept
{
    line = Values::Trim(line);
    return !line.empty() && (line.front() == '#' || line.front() == '%' || line.front() == '!' ||
                             line.substr(0, 2) == "//");
}

char FindStatement(std::string_view text) noexcept
{
    std::string_view line = Values::Trim(FirstLine(text));
    if (line.size() >= 2 && line.front() == '"' && line.back() == '"') {
        line = line.substr(1, line.size() - 2);
    }
    constexpr std::string_view kWord = "sep=";
    if (line.size() != kWord.size() + 1 && line.size() != kWord.size()) {
        return 0;
    }
    for (std::size_t i = 0; i < kWord.size(); ++i) {
        if (Values::ToLower(line[i]) != kWord[i]) {
            return 0;
        }
    }
    return line.size() > kWord.size() ? line.back() : '\t';
}

std::string_view StripComment(std::string_view line) noexcept
{
    line = Values::Trim(line);
    while (!line.empty() && (line.front() == '#' || line.front() == '%' || line.front() == '!' ||
                             line.front() == '/' || line.front() == ' ' || line.front() == '\t')) {
        line.remove_prefix(1);
    }
    return line;
}

std::string_view FindMark(std::string_view line, const std::vector<std::string>& marks) noexcept
{
    line = Values::Trim(line);
    for (const std::string& mark : marks) {
        if (line.substr(0, mark.size()) == mark) {
            return mark;
        }
    }
    return {};
}

} // namespace Orvane::Import::Scan
