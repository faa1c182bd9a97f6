// A dialect on trial: how even its records are, and how much their cells say.
#pragma once

#include "Shape.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace Orvane::Import::Scan {

/// Records that a trial cuts.
constexpr std::size_t kTrialRecords = 400;

/// How much a cell looks like a value of its own: 1 for numbers and times, less for words.
[[nodiscard]] double WeightOf(std::string_view cell, char separator);

/// Cuts the first records by a dialect, and counts. @param isWhole the text is the whole file
[[nodiscard]] Candidate Try(std::string_view text, const Dialect& dialect, bool isWhole);

/// How well a dialect explains so many records, to be compared with other dialects.
[[nodiscard]] double ScoreOf(const Candidate& candidate, std::size_t records) noexcept;

[[nodiscard]] Dialect Base(const ShapeRequest& request);

} // namespace Orvane::Import::Scan
