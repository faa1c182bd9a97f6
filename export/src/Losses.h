// Counts what a file cannot hold, and puts it into words.
#pragma once

#include "FieldNames.h"

#include <Orvane/Import/Target.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Orvane::Import {

/// Values and rows that did not go into the file as they are.
struct LossCounts
{
    /// By field: texts of a 64-bit, date or time column that are none.
    std::vector<std::size_t> notOfType;
    std::vector<std::size_t> cutFractions; ///< by field: times cut to what the format holds
    std::vector<std::size_t> cutOffsets;   ///< by field: times without their offset from UTC
    std::vector<std::size_t> earlyDates;   ///< by field: dates before the format's first year
    std::vector<std::size_t> changedTexts; ///< by field: texts that the format does not hold so
    std::size_t notFinite = 0;             ///< numbers
    std::size_t withNul = 0;               ///< characters
    std::size_t withoutPlace = 0;          ///< points
    std::size_t longNumbers = 0;           ///< numbers of more than 15 digits in a format of 15
    std::size_t zeroNulls = 0;             ///< nulls that are 0
    std::size_t withoutHeight = 0;         ///< points that have a height in the layer alone
    std::size_t zeroHeights = 0;           ///< points that have a height in the file alone: 0
};

/// Replaces the NULs of a text by U+FFFD, since texts end at a NUL for many programs. Cost: linear.
/// @return how many there were
std::size_t ReplaceNuls(std::string& text);

/// Adds a loss and a note for every count that is not 0. @param fields those of the file
void ReportLosses(const LossCounts& counts,
                  const std::vector<FileField>& fields,
                  WriteReport& report);

} // namespace Orvane::Import
