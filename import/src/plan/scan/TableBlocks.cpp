// Runs of records of one count are looked at one by one.
#include "TableBlocks.h"

#include "../values/FoldedCell.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

namespace {

constexpr std::size_t kColumns = 64; ///< that a row tells apart

struct Block
{
    std::size_t begin = 0;
    std::size_t end = 0;
    bool isTable = false;

    [[nodiscard]] std::size_t Size() const noexcept { return end - begin; }
};

/// The columns that hold a value in one record at least, and a text in none.
std::uint64_t
FindValueColumns(const std::vector<BlockRow>& rows, std::size_t begin, std::size_t end)
{
    std::uint64_t inAll = ~std::uint64_t{0};
    std::uint64_t inSome = 0;
    for (std::size_t row = begin; row < end; ++row) {
        inAll &= rows[row].values | rows[row].anything;
        inSome |= rows[row].values;
    }
    return inAll & inSome;
}

bool IsTable(const std::vector<BlockRow>& rows, const Block& block)
{
    if (block.Size() < 2 || rows[block.begin].fields < 2) {
        return false;
    }
    if (rows[block.begin].areWords) {
        return FindValueColumns(rows, block.begin + 1, block.end) != 0;
    }
    const std::uint64_t columns = FindValueColumns(rows, block.begin, block.end);
    return (columns & (columns - 1)) != 0;
}

std::vector<Block> FindBlocks(const std::vector<BlockRow>& rows)
{
    std::vector<Block> blocks;
    for (std::size_t at = 0; at < rows.size();) {
        Block block{at, at, false};
        while (block.end < rows.size() && rows[block.end].fields == rows[at].fields) {
            ++block.end;
        }
        block.isTable = IsTable(rows, block);
        at = block.end;
        blocks.push_back(block);
    }
    return blocks;
}

} // namespace

void BlockRow::Add(std::size_t column, Values::ECell cell, std::string_view text) noexcept
{
    const std::uint64_t bit = column < kColumns ? std::uint64_t{1} << column : 0;
    if (cell == Values::ECell::Empty || cell == Values::ECell::NullWord) {
        anything |= bit;
    } else if (cell != Values::ECell::Text) {
        values |= bit;
        // Words of truth and letters of hemispheres are names as well: `n`, `E`.
        areWords = areWords && std::none_of(text.begin(), text.end(), Values::IsDigit);
    }
}

FirstTable FindFirstTable(const std::vector<BlockRow>& rows, std::size_t usual)
{
    constexpr std::size_t kFewestFields = 3;
    const std::vector<Block> blocks = FindBlocks(rows);
    const auto first = std::find_if(blocks.begin(), blocks.end(), [&](const Block& block) {
        const std::size_t fields = rows[block.begin].fields;
        return block.isTable && (fields >= kFewestFields || fields == usual);
    });
    if (first == blocks.end()) {
        return {};
    }
    FirstTable table;
    table.fields = rows[first->begin].fields;
    table.records = first->Size();
    table.isNamed = rows[first->begin].areWords;
    // Rule: of tables one after the other the first is the table, unless a later one has more than
    // three times its records.
    std::size_t most = 0;
    for (const Block& block : blocks) {
        most = rows[block.begin].fields == usual ? std::max(most, block.Size()) : most;
    }
    if (table.fields != usual && table.records * 3 < most) {
        return {};
    }
    table.explainsAll =
        table.fields >= kFewestFields &&
        std::all_of(blocks.begin(), blocks.end(), [&](const Block& block) {
            return block.isTable || rows[block.begin].fields == 1 ||
                   (block.begin < first->begin && rows[block.begin].fields < table.fields);
        });
    return table;
}

LastTable FindLastTable(const std::vector<BlockRow>& rows)
{
    constexpr std::size_t kFewest = 3;
    constexpr std::size_t kMostAfter = 2;
    const std::vector<Block> blocks = FindBlocks(rows);
    for (std::size_t index = blocks.size(); index > 0; --index) {
        const Block& block = blocks[index - 1];
        if (rows.size() - block.end > kMostAfter) {
            break;
        }
        if (block.Size() < kFewest || block.Size() * 4 < rows.size()) {
            continue;
        }
        std::size_t begin = block.begin;
        while (begin + 1 < block.end && rows[begin].areWords) {
            ++begin;
        }
        const std::uint64_t columns = FindValueColumns(rows, begin, block.end);
        const auto values = static_cast<std::size_t>(std::popcount(columns));
        const std::size_t fields = rows[begin].fields;
        return block.end - begin >= kFewest && values >= 2 &&
                       values * 2 >= std::min(fields, kColumns)
                   ? LastTable{fields, block.Size()}
                   : LastTable{};
    }
    return {};
}

} // namespace Orvane::Import::Scan
