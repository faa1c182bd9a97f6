// Writes the nodes, then which node each row is in, then which node is the parent of each node.
//
// A node of SQLite's R-tree is a text of fixed size: two bytes for the level (of the root; 0 in
// all others), two for the number of entries, then the entries: eight bytes for the row or the
// child's number, four each for the least and the largest X, and Y. All numbers have their highest
// byte first. What is left over is zero.
#include "PackedTree.h"

#include "RowFeed.h"
#include "WriteFailure.h"

#include <Orvane/BFeaturePage.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <optional>
#include <threads/SharedWork.h>
#include <utility>

namespace Orvane::GeoPackage {

namespace {

constexpr std::size_t kHeaderBytes = 4;
constexpr std::size_t kEntryBytes = 24;
constexpr std::uint64_t kRowsPerProgress = 16384;

void PutBig16(char* place, std::size_t value) noexcept
{
    place[0] = static_cast<char>(value >> 8U);
    place[1] = static_cast<char>(value);
}

void PutBig32(char* place, std::uint32_t value) noexcept
{
    const std::uint32_t big =
        std::endian::native == std::endian::big ? value : __builtin_bswap32(value);
    std::memcpy(place, &big, sizeof big);
}

void PutBigFloat(char* place, float value) noexcept
{
    PutBig32(place, std::bit_cast<std::uint32_t>(value));
}

/// A node while its entries come.
class OpenNode
{
public:
    explicit OpenNode(std::size_t nodeBytes)
        : m_bytes(nodeBytes, '\0')
    {}

    void Add(std::uint64_t key, const PointBox& box) noexcept
    {
        char* const place = m_bytes.data() + kHeaderBytes + m_count * kEntryBytes;
        PutBig32(place, static_cast<std::uint32_t>(key >> 32U));
        PutBig32(place + 4, static_cast<std::uint32_t>(key));
        PutBigFloat(place + 8, box.minX);
        PutBigFloat(place + 12, box.maxX);
        PutBigFloat(place + 16, box.minY);
        PutBigFloat(place + 20, box.maxY);
        m_box = m_count == 0 ? box
                             : PointBox{std::min(m_box.minX, box.minX),
                                        std::max(m_box.maxX, box.maxX),
                                        std::min(m_box.minY, box.minY),
                                        std::max(m_box.maxY, box.maxY)};
        ++m_count;
    }

    [[nodiscard]] std::size_t GetCount() const noexcept { return m_count; }

    [[nodiscard]] const PointBox& GetBox() const noexcept { return m_box; }

    /// The node's bytes; the node must have entries or be the root.
    [[nodiscard]] const std::string& Finish(std::size_t level) noexcept
    {
        PutBig16(m_bytes.data(), level);
        PutBig16(m_bytes.data() + 2, m_count);
        const std::size_t used = kHeaderBytes + m_count * kEntryBytes;
        std::fill(m_bytes.begin() + static_cast<std::ptrdiff_t>(used), m_bytes.end(), '\0');
        return m_bytes;
    }

    void Clear() noexcept { m_count = 0; }

private:
    std::string m_bytes;
    std::size_t m_count = 0;
    PointBox m_box{};
};

/// For each row the number of its leaf: set in any order, given back in the order of rows.
///
/// Rows that do not fit in the memory limit are put into files by ranges, each of which fits.
class LeafOfRow
{
public:
    LeafOfRow(std::uint64_t rowCount, const PackedTree::Limits& limits)
        : m_rowCount(rowCount)
        , m_rowsOfRange(std::max<std::uint64_t>(limits.memory / sizeof(std::uint32_t), 1))
    {
        if (rowCount <= m_rowsOfRange) {
            m_leaves.Resize(static_cast<std::size_t>(rowCount), 0);
            return;
        }
        for (std::uint64_t first = 0; first < rowCount; first += m_rowsOfRange) {
            m_ranges.push_back(Range{SpillFile(limits.folder), {}, 0});
        }
        // The ranges share the memory that the one at hand will have when they are read.
        m_pairsInMemory = std::max<std::uint64_t>(
            std::min<std::uint64_t>(m_rowsOfRange / 2 / m_ranges.size(), kMostPairs), 1);
    }

    /// @param leaf at most 2^32 - 1, not 0
    void Set(std::uint64_t row, std::uint64_t leaf)
    {
        const auto leaf32 = static_cast<std::uint32_t>(leaf);
        if (m_ranges.empty()) {
            m_leaves[static_cast<std::size_t>(row)] = leaf32;
            return;
        }
        Range& range = m_ranges[static_cast<std::size_t>(row / m_rowsOfRange)];
        range.pairs.Append({static_cast<std::uint32_t>(row % m_rowsOfRange), leaf32});
        if (range.pairs.GetSize() >= m_pairsInMemory) {
            Write(range);
        }
    }

    /// Ends setting.
    void Finish()
    {
        for (Range& range : m_ranges) {
            Write(range);
            range.pairs.Clear();
        }
    }

    /// The leaf of a row, 0 when it has none. Rows must be asked for in ascending order.
    [[nodiscard]] std::uint32_t Get(std::uint64_t row)
    {
        if (m_ranges.empty()) {
            return m_leaves[static_cast<std::size_t>(row)];
        }
        const std::uint64_t wanted = row / m_rowsOfRange;
        if (wanted != m_loadedRange) {
            Load(wanted);
        }
        return m_leaves[static_cast<std::size_t>(row % m_rowsOfRange)];
    }

private:
    struct Pair
    {
        std::uint32_t rowInRange;
        std::uint32_t leaf;
    };

    struct Range
    {
        SpillFile file;
        BPageArray<Pair> pairs;
        std::uint64_t written; ///< pairs in the file
    };

    static constexpr std::uint64_t kMostPairs = 32768;
    static constexpr std::uint64_t kNoRange = std::numeric_limits<std::uint64_t>::max();

    static void Write(Range& range)
    {
        range.file.Write(
            range.pairs.Data(), range.pairs.GetSize() * sizeof(Pair), range.written * sizeof(Pair));
        range.written += range.pairs.GetSize();
        range.pairs.Truncate(0);
    }

    void Load(std::uint64_t number)
    {
        const Range& range = m_ranges[static_cast<std::size_t>(number)];
        m_leaves.Truncate(0);
        m_leaves.Resize(
            static_cast<std::size_t>(std::min(m_rowsOfRange, m_rowCount - number * m_rowsOfRange)),
            0);
        BPageArray<Pair> pairs;
        for (std::uint64_t first = 0; first < range.written; first += kMostPairs) {
            pairs.Resize(static_cast<std::size_t>(
                std::min<std::uint64_t>(kMostPairs, range.written - first)));
            range.file.Read(pairs.Data(), pairs.GetSize() * sizeof(Pair), first * sizeof(Pair));
            for (const Pair& pair : pairs.View()) {
                m_leaves[pair.rowInRange] = pair.leaf;
            }
        }
        m_loadedRange = number;
    }

    std::uint64_t m_rowCount;
    std::uint64_t m_rowsOfRange;
    std::uint64_t m_pairsInMemory = 0;
    std::uint64_t m_loadedRange = kNoRange;
    std::vector<Range> m_ranges; ///< empty: all rows are in m_leaves
    BPageArray<std::uint32_t> m_leaves;
};

/// Nodes that are ready for their table.
struct NodeBatch
{
    std::vector<std::uint64_t> numbers;
    std::string bytes; ///< of all of them, one after the other
    std::uint64_t pointsDone = 0;
};

/// Puts the sorted points into nodes.
class NodePacker
{
public:
    NodePacker(const TreeShape& shape,
               std::size_t nodeBytes,
               PointSorter& points,
               LeafOfRow& leaves)
        : m_shape(shape)
        , m_points(points)
        , m_leaves(leaves)
        , m_nodes(shape.GetTopLevel() + 1, OpenNode(nodeBytes))
        , m_ended(m_nodes.size(), 0)
    {}

    /// The next nodes in the order of their numbers, none after the last but the root.
    void Pack(NodeBatch& batch)
    {
        batch.numbers.clear();
        batch.bytes.clear();
        while (batch.numbers.size() < kNodesOfBatch && !m_isAtRoot) {
            EndNode(batch);
        }
        batch.pointsDone = m_pointsDone;
    }

    /// The root's bytes, when Pack has given all others.
    [[nodiscard]] const std::string& FinishRoot()
    {
        return m_nodes.back().Finish(m_shape.GetTopLevel());
    }

private:
    static constexpr std::size_t kNodesOfBatch = 256;

    void EndNode(NodeBatch& batch)
    {
        if (m_level == 0) {
            FillLeaf();
        }
        if (m_level == m_shape.GetTopLevel()) {
            m_isAtRoot = true;
            return;
        }
        OpenNode& node = m_nodes[m_level];
        OpenNode& parent = m_nodes[m_level + 1];
        const std::uint64_t number = m_shape.GetNumber(m_level, m_ended[m_level]);
        parent.Add(number, node.GetBox());
        ++m_ended[m_level];
        batch.numbers.push_back(number);
        batch.bytes += node.Finish(0);
        node.Clear();
        // A parent that has its last child comes after it, otherwise the next leaf.
        const bool isParentFull = parent.GetCount() == m_shape.GetNodeCapacity() ||
                                  m_ended[m_level] == m_shape.GetNodeCount(m_level);
        m_level = isParentFull ? m_level + 1 : 0;
    }

    void FillLeaf()
    {
        const std::uint64_t number = m_shape.GetNumber(0, m_ended[0]);
        OpenNode& leaf = m_nodes[0];
        while (leaf.GetCount() < m_shape.GetNodeCapacity()) {
            const std::optional<SortedPoint> point = m_points.Next();
            if (!point) {
                return;
            }
            leaf.Add(point->GetRow(), point->GetBox());
            m_leaves.Set(point->GetRow(), number);
            ++m_pointsDone;
        }
    }

    const TreeShape& m_shape;
    PointSorter& m_points;
    LeafOfRow& m_leaves;
    std::vector<OpenNode> m_nodes;      ///< by level
    std::vector<std::uint64_t> m_ended; ///< nodes by level
    std::uint64_t m_pointsDone = 0;
    std::size_t m_level = 0;
    bool m_isAtRoot = false;
};

/// All nodes but the root as rows (number, bytes). While a batch of them is written, the pool packs
/// the next one.
class NodeRows
{
public:
    NodeRows(NodePacker& packer,
             std::size_t nodeBytes,
             std::uint64_t pointCount,
             AsciiReader::TaskPool& pool,
             const PackedTree::Progress& progress)
        : m_nodeBytes(nodeBytes)
        , m_pointCount(pointCount)
        , m_progress(progress)
        , m_packing(pool, [this, &packer] { packer.Pack(m_nextBatch); })
    {
        m_packing.Start();
    }

    bool Next()
    {
        if (++m_next >= m_batch.numbers.size()) {
            m_progress(m_batch.pointsDone / 2, m_pointCount);
            m_packing.Finish();
            std::swap(m_batch, m_nextBatch);
            m_next = 0;
            if (m_batch.numbers.empty()) {
                return false;
            }
            m_packing.Start();
        }
        return true;
    }

    void SetColumn(sqlite3_context* context, int columnIndex)
    {
        if (columnIndex == 0) {
            sqlite3_result_int64(context, static_cast<sqlite3_int64>(m_batch.numbers[m_next]));
        } else {
            sqlite3_result_blob64(
                context, &m_batch.bytes[m_next * m_nodeBytes], m_nodeBytes, SQLITE_STATIC);
        }
    }

private:
    std::size_t m_nodeBytes;
    std::uint64_t m_pointCount;
    const PackedTree::Progress& m_progress;
    NodeBatch m_batch; ///< the row at hand is in it
    NodeBatch m_nextBatch;
    std::size_t m_next = 0;                ///< node in m_batch
    AsciiReader::BackgroundWork m_packing; ///< last: it uses m_nextBatch
};

/// The rows with a point as rows (leaf's number, row), or, when all rows from 1 on have one, as
/// rows (leaf's number): SQLite numbers them itself then, without a look for each whether it is
/// there.
class LeafRows
{
public:
    LeafRows(LeafOfRow& leaves,
             std::uint64_t rowEnd,
             std::uint64_t pointCount,
             const PackedTree::Progress& progress)
        : m_leaves(leaves)
        , m_rowEnd(rowEnd)
        , m_pointCount(pointCount)
        , m_progress(progress)
    {}

    bool Next()
    {
        do {
            if (m_nextRow == m_rowEnd) {
                return false;
            }
            m_leaf = m_leaves.Get(m_nextRow++);
            if (m_nextRow % kRowsPerProgress == 0) {
                m_progress((m_pointCount + m_done) / 2, m_pointCount);
            }
        } while (m_leaf == 0);
        ++m_done;
        return true;
    }

    void SetColumn(sqlite3_context* context, int columnIndex) const
    {
        sqlite3_result_int64(context,
                             columnIndex == 0 ? sqlite3_int64{m_leaf}
                                              : static_cast<sqlite3_int64>(m_nextRow - 1));
    }

private:
    LeafOfRow& m_leaves;
    std::uint64_t m_rowEnd;
    std::uint64_t m_pointCount;
    const PackedTree::Progress& m_progress;
    std::uint64_t m_nextRow = 0;
    std::uint64_t m_done = 0;
    std::uint32_t m_leaf = 0;
};

/// All nodes but the root as rows (number, parent's number), in the order of NodeRows.
class ParentRows
{
public:
    ParentRows(const TreeShape& shape,
               std::uint64_t pointCount,
               const PackedTree::Progress& progress)
        : m_shape(shape)
        , m_pointCount(pointCount)
        , m_progress(progress)
        , m_ended(shape.GetTopLevel() + 1, 0)
    {}

    bool Next()
    {
        const std::uint64_t ended = m_ended[m_level];
        if (ended > 0) {
            const bool isParentFull =
                ended % m_shape.GetNodeCapacity() == 0 || ended == m_shape.GetNodeCount(m_level);
            m_level = isParentFull ? m_level + 1 : 0;
        }
        if (m_level == m_shape.GetTopLevel()) {
            return false;
        }
        m_number = m_shape.GetNumber(m_level, m_ended[m_level]);
        m_parent = m_shape.GetParent(m_level, m_ended[m_level]);
        ++m_ended[m_level];
        if (m_number % kRowsPerProgress == 0) {
            m_progress(m_pointCount, m_pointCount);
        }
        return true;
    }

    void SetColumn(sqlite3_context* context, int columnIndex) const
    {
        sqlite3_result_int64(context,
                             static_cast<sqlite3_int64>(columnIndex == 0 ? m_number : m_parent));
    }

private:
    const TreeShape& m_shape;
    std::uint64_t m_pointCount;
    const PackedTree::Progress& m_progress;
    std::vector<std::uint64_t> m_ended; ///< nodes by level
    std::size_t m_level = 0;
    std::uint64_t m_number = 0;
    std::uint64_t m_parent = 0;
};

} // namespace

TreeShape::TreeShape(std::uint64_t entryCount, std::size_t nodeCapacity)
    : m_capacity(nodeCapacity)
{
    do {
        entryCount = std::max<std::uint64_t>((entryCount + nodeCapacity - 1) / nodeCapacity, 1);
        m_counts.push_back(entryCount);
    } while (entryCount > 1);
}

std::uint64_t TreeShape::GetNumber(std::size_t level, std::uint64_t node) const
{
    if (level == GetTopLevel()) {
        return 1;
    }
    // All nodes before it in its level, those in the levels below it that its last leaf ends or
    // that end earlier, and those of the levels above that were full before it.
    std::uint64_t before = node;
    std::uint64_t below = node + 1;
    for (std::size_t other = level; other-- > 0;) {
        below *= m_capacity;
        before += std::min(below, m_counts[other]);
    }
    std::uint64_t above = node;
    for (std::size_t other = level + 1; other < GetTopLevel(); ++other) {
        above /= m_capacity;
        before += above;
    }
    return before + 2;
}

PackedTree::PackedTree(SqliteDatabase& database, std::string name)
    : m_database(database)
    , m_name(std::move(name))
{
    database.Execute("CREATE VIRTUAL TABLE " + QuoteName(m_name) +
                     " USING rtree(id, minx, maxx, miny, maxy)");
    SqliteStatement rootSize(
        database, "SELECT length(data) FROM " + QuoteName(m_name + "_node") + " WHERE nodeno = 1");
    m_nodeBytes = static_cast<std::size_t>(rootSize.RunForInteger());
    if (m_nodeBytes < kHeaderBytes + 2 * kEntryBytes) {
        throw WriteFailure("the R-tree of this SQLite library has an unknown form");
    }
}

void PackedTree::Fill(PointSorter& points, const Limits& limits, const Progress& progress)
{
    const std::uint64_t pointCount = points.GetCount();
    const std::uint64_t rowEnd = points.GetRowEnd();
    const TreeShape shape(pointCount, (m_nodeBytes - kHeaderBytes) / kEntryBytes);
    LeafOfRow leaves(rowEnd, limits);
    {
        NodePacker packer(shape, m_nodeBytes, points, leaves);
        NodeRows nodes(packer, m_nodeBytes, pointCount, limits.pool, progress);
        RowFeed<NodeRows> feed(m_database,
                               "orvane_nodes",
                               2,
                               "INSERT INTO " + QuoteName(m_name + "_node") + "(nodeno, data)",
                               nodes);
        feed.Run();
        SqliteStatement root(m_database,
                             "UPDATE " + QuoteName(m_name + "_node") +
                                 " SET data = ?1 WHERE nodeno = 1");
        root.BindBlob(1, packer.FinishRoot());
        root.Run();
    }
    points.Clear();
    leaves.Finish();
    LeafRows leafRows(leaves, rowEnd, pointCount, progress);
    const bool hasAllRows = rowEnd == pointCount + 1 && leaves.Get(0) == 0;
    RowFeed<LeafRows>(m_database,
                      "orvane_leaves",
                      hasAllRows ? 1 : 2,
                      "INSERT INTO " + QuoteName(m_name + "_rowid") +
                          (hasAllRows ? "(nodeno)" : "(nodeno, rowid)"),
                      leafRows)
        .Run();
    ParentRows parentRows(shape, pointCount, progress);
    RowFeed<ParentRows>(m_database,
                        "orvane_parents",
                        2,
                        "INSERT INTO " + QuoteName(m_name + "_parent") + "(nodeno, parentnode)",
                        parentRows)
        .Run();
}

} // namespace Orvane::GeoPackage
