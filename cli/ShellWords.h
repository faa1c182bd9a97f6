// Words of a command line as a person can paste them into a shell.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace OrvaneHost {

/// The word as bash and zsh read it back: plain words stay, others stand in single quotes, and
/// words with control characters or bytes that are no UTF-8 in `$'...'` with escapes. The result is
/// valid UTF-8 without control characters.
[[nodiscard]] std::string QuoteForShell(std::string_view word);

/// "orvane" and the words, each quoted where it needs it.
[[nodiscard]] std::string MakeCommand(const std::vector<std::string>& words);

} // namespace OrvaneHost
