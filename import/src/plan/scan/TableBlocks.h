// Tables one after the other, and short tables under text: told by their names and values.
#pragma once

#include "../values/Cell.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

/// What a record of a trial says of the table that it is in.
struct BlockRow
{
    std::size_t fields = 0;
    std::uint64_t values = 0;   ///< columns, of the first 64, with a number, a date or the like
    std::uint64_t anything = 0; ///< those that are empty or hold a word for nothing
    bool areWords = true;       ///< all filled cells are texts

    /// @param text as it was read to the class `cell`
    void Add(std::size_t column, Values::ECell cell, std::string_view text) noexcept;
};

/// The first records of one count that are a table beyond doubt: a line of words over columns of
/// values, or two columns of values.
struct FirstTable
{
    std::size_t fields = 0;  ///< 0: there is none
    std::size_t records = 0; ///< its names counted
    /// All other records are of further tables, or are text of one field, or stand before it.
    bool explainsAll = false;
    bool isNamed = false; ///< a line of words stands over its values
};

/// @param usual the count of most records
[[nodiscard]] FirstTable FindFirstTable(const std::vector<BlockRow>& rows, std::size_t usual);

/// The last records of one count, a quarter of all, with three rows at least, of whose columns
/// half, at least two, hold values: rows under text. A line or two may stand after them.
struct LastTable
{
    std::size_t fields = 0; ///< 0: there is none
    std::size_t records = 0;
};

[[nodiscard]] LastTable FindLastTable(const std::vector<BlockRow>& rows);

} // namespace Orvane::Import::Scan
