// The spatial index: the tables of SQLite's R-tree, filled node by node.
#pragma once

#include "PointSorter.h"
#include "SpillFile.h"
#include "SqliteDatabase.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace Orvane::GeoPackage {

/// The nodes of a tree that is packed from the leaves up, each but the last of a level full.
///
/// Levels count from 0, the leaves; nodes of a level from 0, in the order of the leaves. A node's
/// number is its key in the tables: the root has 1, all others count from 2 as they become full,
/// each after its last child. So the tables are filled in the order of their keys, and only one
/// node of each level is open at a time.
class TreeShape
{
public:
    /// @param entryCount points in the tree; 0 is a tree of an empty root
    /// @param nodeCapacity entries of a full node, at least 2
    TreeShape(std::uint64_t entryCount, std::size_t nodeCapacity);

    /// The level of the root.
    [[nodiscard]] std::size_t GetTopLevel() const noexcept { return m_counts.size() - 1; }

    [[nodiscard]] std::uint64_t GetNodeCount(std::size_t level) const { return m_counts[level]; }

    [[nodiscard]] std::size_t GetNodeCapacity() const noexcept { return m_capacity; }

    [[nodiscard]] std::uint64_t GetNumber(std::size_t level, std::uint64_t node) const;

    [[nodiscard]] std::uint64_t GetParent(std::size_t level, std::uint64_t node) const
    {
        return GetNumber(level + 1, node / m_capacity);
    }

private:
    std::size_t m_capacity;
    std::vector<std::uint64_t> m_counts; ///< nodes by level
};

/// Makes an R-tree over points and fills it.
class PackedTree
{
public:
    /// Called between steps of some 10 ms; throws to stop.
    /// @param done points that are in the tree's tables; @param total all of them
    using Progress = std::function<void(std::uint64_t done, std::uint64_t total)>;

    struct Limits
    {
        std::filesystem::path folder; ///< for files when memory does not suffice; absolute
        std::size_t memory;           ///< bytes for the nodes of rows
        AsciiReader::TaskPool& pool;  ///< packs nodes while others are written
    };

    /// Makes the tables of a tree of that name with the columns id, minx, maxx, miny, maxy. They
    /// are SQLite's own, and empty.
    PackedTree(SqliteDatabase& database, std::string name);

    /// Fills the tree with the points, once; in the order in which they come neighbours share
    /// nodes. @param points sorted
    /// @throws as SqliteDatabase::Check, PointSorter::Next, SpillFile; what `progress` throws.
    void Fill(PointSorter& points, const Limits& limits, const Progress& progress);

private:
    SqliteDatabase& m_database;
    std::string m_name;
    std::size_t m_nodeBytes; ///< of each node, as SQLite chose it for this file
};

} // namespace Orvane::GeoPackage
