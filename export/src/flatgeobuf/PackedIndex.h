// The spatial index: a packed tree of boxes, written level by level.
#pragma once

#include "BlockWriter.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace Orvane::FlatGeobuf {

/// A box; at first one that holds nothing, and that no other box meets.
struct Box
{
    double minX = std::numeric_limits<double>::infinity();
    double minY = std::numeric_limits<double>::infinity();
    double maxX = -std::numeric_limits<double>::infinity();
    double maxY = -std::numeric_limits<double>::infinity();

    /// Makes the box reach over another one.
    void Include(const Box& other) noexcept;

    [[nodiscard]] bool IsEmpty() const noexcept { return minX > maxX; }
};

/// Writes the tree over features that come in the order in which they stand in the file.
///
/// Nodes have 16 children and 40 bytes: the box of what is below, and where that is; a leaf has the
/// place of its feature, counted in bytes from the first feature, any other node the number of its
/// first child. The root is node 0, each level follows that above it. The number of features tells
/// where each level begins, so that all of them are written at the same time, and memory holds one
/// block of each.
class PackedIndex
{
public:
    static constexpr std::size_t kNodeSize = 16; ///< children of a node

    /// @param write to the file
    /// @param offset of the index in it
    /// @param featureCount at least 1
    PackedIndex(const BlockWriter::Write& write, std::uint64_t offset, std::uint64_t featureCount);

    /// Bytes of an index over that many features.
    [[nodiscard]] static std::uint64_t GetByteCount(std::uint64_t featureCount);

    /// Adds the next feature. @param offset in bytes, from the first feature
    void Add(const Box& box, std::uint64_t offset);

    /// The box around everything, after the last Add.
    [[nodiscard]] const Box& GetBox() const noexcept { return m_box; }

    /// Writes what is left, after the last Add.
    void Finish();

private:
    struct Node
    {
        Box box;
        std::uint64_t offset;
    };

    struct Level
    {
        std::uint64_t first; ///< number of its first node
        std::uint64_t count; ///< nodes in the end
        BlockWriter out;
        std::uint64_t added = 0;
        Box open; ///< around the children of the parent at hand
    };

    void Add(std::size_t level, const Node& node);

    std::vector<Level> m_levels; ///< the leaves first
    Box m_box;
};

} // namespace Orvane::FlatGeobuf
