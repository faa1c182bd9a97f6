// Texts between the quotes of JSON.
#pragma once

#include <string>
#include <string_view>

namespace Orvane::Import {

/// Appends a UTF-8 text as it stands between two quotes of JSON: quotes, backslashes and control
/// characters are escaped, all else stays.
void AppendJsonText(std::string_view utf8, std::string& out);

} // namespace Orvane::Import
