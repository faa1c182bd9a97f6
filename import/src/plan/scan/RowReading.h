// Rows that the plain rules cut into another count of fields, read in the cheapest way that gives
// the table's count.
#pragma once

#include "CellForm.h"
#include "Records.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

/// Reads one line that has stray or missing quotes.
///
/// Each quote may open, close, stand for itself or be one of a pair; a quote may be missing. Of all
/// readings with the count of fields the one with the fewest oddities is chosen, where it is the
/// only one, or the only one of two whose cells look like those of their columns.
/// @param line without its line end
/// @param offset where it begins, for the positions of fields
/// @param forms of the columns; may be empty
/// @param cost how much was compared, for a caller's budget
/// @return whether there is such a reading; then `fields` holds it
[[nodiscard]] bool ReadQuotes(std::string_view line,
                              std::size_t offset,
                              const Dialect& dialect,
                              std::size_t count,
                              const std::vector<CellForm>& forms,
                              std::vector<Field>& fields,
                              std::uint64_t& cost);

[[nodiscard]] bool AreQuoted(const std::vector<Field>& fields);

/// Cuts a quoted field of a row that lacks one field where a closing and an opening quote follow
/// each other without a separator (`"a""b"`): where all cells look like those of their columns
/// then, and that is one place only; where the columns do not tell, in a row of quoted cells alone.
/// @return whether it was done
[[nodiscard]] bool SplitQuoted(std::string_view text,
                               char quote,
                               const std::vector<CellForm>& forms,
                               std::vector<Field>& fields);

/// Removes empty cells from a row that has more than `count` fields: those after which all cells
/// look like those of their columns, where that is one place only. @return whether it was done
[[nodiscard]] bool DropEmptyCells(std::string_view text,
                                  std::size_t count,
                                  const std::vector<CellForm>& forms,
                                  std::vector<Field>& fields);

/// Whether the cells of a row that lacks some look like those of other columns than those that they
/// stand in from the left.
[[nodiscard]] bool AreCellsShifted(std::string_view text,
                                   const std::vector<Field>& fields,
                                   const std::vector<CellForm>& forms);

/// Whether the cells look like those of their columns, and at least two columns tell.
/// @param mostMisfits so many cells may look otherwise
[[nodiscard]] bool DoCellsFit(std::string_view text,
                              const std::vector<Field>& fields,
                              const std::vector<CellForm>& forms,
                              std::size_t mostMisfits = 0);

} // namespace Orvane::Import::Scan
