// What the caller decides about columns, over what the file shows.
#pragma once

#include "Types.h"
#include "scan/ColumnProfile.h"

#include <Orvane/Import/Plan.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Orvane::Import {

/// The column that a caller means by a name, or by an index from 0.
/// @param subject what it is given for: "X", "name", "type" ...
/// @throws ImportFailure `no-such-column`, `column-beyond`, `column-ambiguous`, with the file
[[nodiscard]] std::size_t
FindGivenColumn(const Plan& plan, const std::string& given, const char* subject);

/// Sets the types that the caller states, and text everywhere with isAllText. A spelling that the
/// cells show stays with a type that has one.
/// @throws ImportFailure as FindGivenColumn
void UseGivenTypes(const std::vector<Scan::ColumnFacts>& facts,
                   const PlanRequest& request,
                   Plan& plan);

} // namespace Orvane::Import
