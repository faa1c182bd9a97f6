// Sorts rows along a Hilbert curve, in bounded memory.
#pragma once

#include "BlockWriter.h"
#include "CurveGrid.h"
#include "FeatureTemplate.h"
#include "Record.h"
#include "SpillFile.h"

#include <Orvane/BPageArray.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace Orvane::FlatGeobuf {

/// Accepts rows in any order and gives them back along a Hilbert curve; those of one cell in the
/// order in which they came.
///
/// Order of calls: Add for every row, then Drain once. What does not fit in memory goes to a
/// nameless file in sorted parts, which Drain merges: every row is written to that file once and
/// read from it once, in large pieces. Used by one thread at a time.
class RecordSorter
{
public:
    /// Called between steps of some 10 ms; throws to stop.
    using Step = std::function<void()>;

    /// What the row's properties stand between in the output. Must stay until the next call.
    using OnRow = std::function<FeatureFrame(const Place& place, std::size_t propertySize)>;

    /// @param folder where the file goes when one is needed; absolute
    /// @param memoryLimit bytes for rows in memory; at least one is kept
    /// @param shape with coordinates
    RecordSorter(std::filesystem::path folder,
                 std::size_t memoryLimit,
                 const RecordShape& shape,
                 Step step);

    /// @throws WriteFailure, std::bad_alloc; what `step` throws.
    /// @param place with finite X and Y
    void Add(const Place& place, std::string_view properties);

    [[nodiscard]] std::uint64_t GetCount() const noexcept { return m_count; }

    /// Appends all rows in order, each between the bytes that `onRow` gives for it.
    /// @throws as Add, and what `onRow` and `out` throw
    void Drain(BlockWriter& out, const OnRow& onRow);

private:
    struct Entry
    {
        std::uint64_t curveIndex;
        const char* record;
    };

    /// A sorted part of the file.
    struct Part
    {
        std::uint64_t begin;
        std::uint64_t end;
    };

    [[nodiscard]] char* MakeRoom(std::size_t byteCount);
    void FitGrid();
    void SortEntries();
    void SortByDigits();
    void Spill();
    void GiveMemoryBack() noexcept;
    void Merge(BlockWriter& out, const OnRow& onRow);
    [[nodiscard]] std::size_t SizeOf(const char* record) const noexcept;
    [[nodiscard]] std::uint64_t FindCurveIndex(const Place& place) const noexcept;

    std::filesystem::path m_folder;
    std::size_t m_memoryLimit;
    RecordShape m_shape;
    Step m_step;
    std::uint64_t m_count = 0;

    using Bytes = std::unique_ptr<char[]>; // NOLINT(modernize-avoid-c-arrays): never initialised
    std::vector<Bytes> m_chunks;           ///< of kChunkSize each, used again after a spill
    std::vector<Bytes> m_largeRecords;
    std::size_t m_usedChunks = 0;
    std::size_t m_usedOfChunk = 0; ///< bytes of the last used chunk
    std::size_t m_used = 0;        ///< bytes of memory, entries included
    BPageArray<Entry> m_entries;
    BPageArray<Entry> m_otherEntries; ///< for sorting

    std::optional<CurveGrid> m_grid; ///< fitted to the rows of the first part
    std::optional<SpillFile> m_file;
    std::vector<Part> m_parts;
};

} // namespace Orvane::FlatGeobuf
