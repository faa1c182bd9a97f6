// Which encoding a text has, and its texts as UTF-8.
#pragma once

#include "scan/ByteFacts.h"
#include "scan/TextSource.h"

#include <Orvane/Import/Plan.h>

#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import {

/// Decides the encoding of a text by its mark, by all of its bytes, and else by statistics over
/// the lines with high bytes.
[[nodiscard]] PlanDecision<std::string> DecideEncoding(const Scan::SourceFacts& source,
                                                       const Scan::ByteFacts& bytes,
                                                       const std::string& given);

/// A text in UTF-8; what is no character of the encoding becomes U+FFFD. ASCII costs nothing but
/// the copy.
[[nodiscard]] std::string ToUtf8(std::string_view text, const std::string& encoding);

/// Whether the system knows an encoding of that name.
[[nodiscard]] bool IsEncoding(const std::string& name);

/// Whether all of a text is characters of the encoding, none of them a C1 control.
[[nodiscard]] bool IsIn(std::string_view text, const std::string& encoding);

/// How the first word that encodings do not agree on reads in each of them: "'Å¡' in UTF-8, ...";
/// empty without such a word.
/// @param lines lines of the text, in its bytes
[[nodiscard]] std::string CompareReadings(std::string_view lines,
                                          const std::vector<std::string>& encodings);

} // namespace Orvane::Import
