// How a plan's file is read again: its text, and the rules by which records are cut.
#pragma once

#include "scan/Records.h"
#include "scan/TextSource.h"

#include <Orvane/Import/Plan.h>

#include <memory>
#include <string>

namespace Orvane::Import {

/// The rules of the plan's separator, quotes and line ends.
[[nodiscard]] Scan::Dialect DialectOf(const Plan& plan);

/// A cutter by these rules that also knows what the cells of the plan's columns look like: every
/// further pass over the file cuts the same records as the plan's own did, given the plan's count
/// of columns as the expected one, from the first row on.
[[nodiscard]] Scan::RecordCutter CutterOf(const Plan& plan);

/// The plan's file as the text that its lines and bytes count in, at its begin.
/// @throws ImportFailure as TextSource
[[nodiscard]] std::unique_ptr<Scan::TextSource> OpenText(const Plan& plan);

/// The encoding of the text that OpenText gives: "UTF-8" where UTF-16 or UTF-32 was decoded.
[[nodiscard]] const std::string& TextEncodingOf(const Plan& plan);

/// Reads a separator as PlanRequest has it.
/// @throws ImportFailure `option-value`
[[nodiscard]] PlanSeparator ParseSeparator(const std::string& text);

} // namespace Orvane::Import
