// Which records of a head are names, units, rules under names.
#pragma once

#include "HeadRecords.h"
#include "Shape.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

[[nodiscard]] bool IsKnownName(std::string_view cell);

/// Whether a record is names, by votes of the columns.
struct NamesVerdict
{
    ENames names = ENames::None;
    std::size_t forNames = 0;
    std::size_t forData = 0;
    std::string reason;
};

/// Whether a record holds names over the rows that follow it.
[[nodiscard]] NamesVerdict JudgeNames(const HeadRecord& record,
                                      const std::vector<SampleColumn>& samples);

/// Widths and kinds of columns, as files of water data have them below the names: `5s 15s 12n 20d`.
[[nodiscard]] bool IsWidthsLine(const HeadRecord& record);

[[nodiscard]] bool IsUnitsLine(const HeadRecord& record);

[[nodiscard]] bool IsRuleLine(const HeadRecord& record);

/// Whether a line is drawn: `-----+------`, `|:---|---:|`.
[[nodiscard]] bool IsRuleText(std::string_view line) noexcept;

/// Names over fixed widths rarely keep to them: they are the words of their line when these are
/// as many as the columns.
void CutNamesByBlanks(const Dialect& dialect, HeadRecord& record, std::size_t columns);

/// Lines of names, joined by a blank.
/// @param isInherited empty cells of a line over further ones have the name to their left
void JoinNames(const HeadRecord& record, bool isInherited, std::vector<std::string>& names);

/// Whether the first column names the rows: its cells are all there, all different and no decimals,
/// and the last column is not empty.
[[nodiscard]] bool
AreRowNames(const std::vector<HeadRecord>& head, std::size_t from, std::size_t columns);

/// Removes the cells of a line of names that are empty and surplus, where it is clear which they
/// are: those at its end, or all that are empty.
void DropEmptyNames(std::size_t columns, HeadRecord& record);

/// How many names of coordinates, keys and texts stand over columns that can hold them, less those
/// that do not.
/// @param unnamed a column without a name: names from there on stand one column to the right
[[nodiscard]] int CountFittingNames(const std::vector<std::string>& names,
                                    const std::vector<SampleColumn>& samples,
                                    std::size_t unnamed);

} // namespace Orvane::Import::Scan
