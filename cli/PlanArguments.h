// The arguments that decide something of a plan, and what becomes of bad rows.
#pragma once

#include "Arguments.h"

#include <Orvane/Import/ImportFile.h>
#include <Orvane/Import/Plan.h>

#include <string>
#include <vector>

namespace OrvaneHost {

/// The arguments of `import` and `plan` that decide for the plan, columns and coordinate system
/// among them, without those that only an import has.
/// @param withFollow the import can follow a plan and be given reader options, which exclude them
[[nodiscard]] std::vector<ArgumentRule> MakePlanArguments(bool withFollow);

/// Those of an import alone: a plan to follow, bad rows.
[[nodiscard]] std::vector<ArgumentRule> MakeImportArguments();

/// What the arguments decide. @throws ArgumentError for a value that is none
[[nodiscard]] Orvane::Import::PlanRequest MakePlanRequest(const ParsedArguments& arguments);

/// Rule: bad rows have no limit when a person says what becomes of them, and states none.
/// @throws ArgumentError for a value that is none
[[nodiscard]] Orvane::Import::BadRowRequest MakeBadRowRequest(const ParsedArguments& arguments);

/// How many threads share the work, 0 when it is not said. @throws ArgumentError for a value that
/// is none
[[nodiscard]] unsigned ParseThreads(const ParsedArguments& arguments);

/// The arguments that give an answer of a plan's question: "--x", "2", "--y", "1".
[[nodiscard]] std::vector<std::string> ArgumentsOf(const Orvane::Import::PlanAnswer& answer);

/// "day-first" of "day first": what stands after a type and a colon.
[[nodiscard]] std::string WordOfSpelling(std::string_view spelling);

} // namespace OrvaneHost
