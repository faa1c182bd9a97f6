// Closes a node when its last child is there.
#include "PackedIndex.h"

#include <algorithm>
#include <numeric>

namespace Orvane::FlatGeobuf {

namespace {

constexpr std::size_t kNodeBytes = 40;

/// Nodes of each level, the leaves first. Rule of the format: there is a root above the leaves even
/// when there is one leaf only.
std::vector<std::uint64_t> CountNodes(std::uint64_t featureCount)
{
    std::vector<std::uint64_t> counts{featureCount};
    do {
        counts.push_back((counts.back() - 1) / PackedIndex::kNodeSize + 1);
    } while (counts.back() > 1);
    return counts;
}

} // namespace

void Box::Include(const Box& other) noexcept
{
    minX = std::min(minX, other.minX);
    minY = std::min(minY, other.minY);
    maxX = std::max(maxX, other.maxX);
    maxY = std::max(maxY, other.maxY);
}

std::uint64_t PackedIndex::GetByteCount(std::uint64_t featureCount)
{
    const std::vector<std::uint64_t> counts = CountNodes(featureCount);
    return kNodeBytes * std::accumulate(counts.begin(), counts.end(), std::uint64_t{0});
}

PackedIndex::PackedIndex(const BlockWriter::Write& write,
                         std::uint64_t offset,
                         std::uint64_t featureCount)
{
    static_assert(sizeof(Node) == kNodeBytes);
    std::uint64_t end = GetByteCount(featureCount) / kNodeBytes;
    for (const std::uint64_t count : CountNodes(featureCount)) {
        end -= count;
        m_levels.push_back({end,
                            count,
                            BlockWriter(write, offset + end * kNodeBytes, BlockWriter::kSmallBlock),
                            0,
                            {}});
    }
}

void PackedIndex::Add(const Box& box, std::uint64_t offset)
{
    m_box.Include(box);
    Add(0, {box, offset});
}

void PackedIndex::Add(std::size_t level, const Node& node)
{
    Level& at = m_levels[level];
    at.out.Append({reinterpret_cast<const char*>(&node), sizeof node});
    if (level + 1 == m_levels.size()) {
        return;
    }
    at.open.Include(node.box);
    ++at.added;
    if (at.added % kNodeSize == 0 || at.added == at.count) {
        const std::uint64_t firstChild = at.first + (at.added - 1) / kNodeSize * kNodeSize;
        Add(level + 1, {at.open, firstChild});
        at.open = {};
    }
}

void PackedIndex::Finish()
{
    for (Level& level : m_levels) {
        level.out.Flush();
    }
}

} // namespace Orvane::FlatGeobuf
