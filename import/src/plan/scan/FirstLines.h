// What single lines tell: comments, and the statement of a separator.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

/// Without its line end.
[[nodiscard]] std::string_view FirstLine(std::string_view text) noexcept;

/// Whether it begins with a usual mark of comments.
[[nodiscard]] bool IsComment(std::string_view line) noexcept;

/// The separator that a first line `sep=;` states; 0 without one.
[[nodiscard]] char FindStatement(std::string_view text) noexcept;

/// A line without the mark of a comment and the blanks after it.
[[nodiscard]] std::string_view StripComment(std::string_view line) noexcept;

/// The mark that a line begins with, out of the list; empty for none.
[[nodiscard]] std::string_view FindMark(std::string_view line,
                                        const std::vector<std::string>& marks) noexcept;

} // namespace Orvane::Import::Scan
