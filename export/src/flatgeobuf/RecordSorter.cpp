// Radix sort of places in memory; parts in a file are merged with a heap.
#include "RecordSorter.h"

#include "RecordReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace Orvane::FlatGeobuf {

namespace {

constexpr std::size_t kChunkSize = std::size_t{1} << 20U;
/// Records from this size on have memory of their own, so that chunks are filled well.
constexpr std::size_t kLargeRecord = kChunkSize / 8;
constexpr std::size_t kRowsOfStep = std::size_t{1} << 16U;

} // namespace

RecordSorter::RecordSorter(std::filesystem::path folder,
                           std::size_t memoryLimit,
                           const RecordShape& shape,
                           Step step)
    : m_folder(std::move(folder))
    , m_memoryLimit(memoryLimit)
    , m_shape(shape)
    , m_step(std::move(step))
{}

std::size_t RecordSorter::SizeOf(const char* record) const noexcept
{
    return m_shape.GetBeginSize() + RecordShape::GetPropertySize(record);
}

std::uint64_t RecordSorter::FindCurveIndex(const Place& place) const noexcept
{
    return m_grid->GetIndex(place.x, place.y);
}

void RecordSorter::Add(const Place& place, std::string_view properties)
{
    const std::size_t size = m_shape.GetBeginSize() + properties.size();
    const std::size_t needed = size + 2 * sizeof(Entry);
    if (!m_entries.IsEmpty() && needed > m_memoryLimit - std::min(m_memoryLimit, m_used)) {
        Spill();
    }
    char* const record = MakeRoom(size);
    m_shape.SetBegin(record, place, static_cast<std::uint32_t>(properties.size()));
    if (!properties.empty()) {
        std::memcpy(record + m_shape.GetBeginSize(), properties.data(), properties.size());
    }
    m_entries.Append({0, record});
    m_used += needed;
    ++m_count;
}

char* RecordSorter::MakeRoom(std::size_t byteCount)
{
    if (byteCount >= kLargeRecord) {
        m_largeRecords.emplace_back(new char[byteCount]);
        return m_largeRecords.back().get();
    }
    if (m_usedChunks == 0 || kChunkSize - m_usedOfChunk < byteCount) {
        if (m_usedChunks == m_chunks.size()) {
            m_chunks.emplace_back(new char[kChunkSize]);
        }
        ++m_usedChunks;
        m_usedOfChunk = 0;
    }
    char* const place = m_chunks[m_usedChunks - 1].get() + m_usedOfChunk;
    m_usedOfChunk += byteCount;
    return place;
}

void RecordSorter::FitGrid()
{
    constexpr std::size_t kLargestSample = 8192;
    const std::size_t stride = m_entries.GetSize() / kLargestSample + 1;
    std::vector<double> x;
    std::vector<double> y;
    for (std::size_t index = 0; index < m_entries.GetSize(); index += stride) {
        const Place place = m_shape.GetPlace(m_entries[index].record);
        x.push_back(place.x);
        y.push_back(place.y);
    }
    m_grid.emplace(std::move(x), std::move(y));
}

void RecordSorter::SortEntries()
{
    if (!m_grid) {
        FitGrid();
    }
    for (std::size_t index = 0; index < m_entries.GetSize(); ++index) {
        Entry& entry = m_entries[index];
        entry.curveIndex = FindCurveIndex(m_shape.GetPlace(entry.record));
        if (index % kRowsOfStep == 0) {
            m_step();
        }
    }
    SortByDigits();
}

void RecordSorter::SortByDigits()
{
    // From the last digit to the first: entries with equal digits keep their order.
    constexpr std::size_t kDigits = sizeof(std::uint64_t);
    constexpr std::size_t kDigitValues = 256;
    const auto digitOf = [](const Entry& entry, std::size_t digit) {
        return static_cast<std::size_t>((entry.curveIndex >> (8 * digit)) & 0xFFU);
    };
    std::array<std::array<std::size_t, kDigitValues>, kDigits> counts{};
    const std::size_t size = m_entries.GetSize();
    for (std::size_t index = 0; index < size; ++index) {
        for (std::size_t digit = 0; digit < kDigits; ++digit) {
            ++counts[digit][digitOf(m_entries[index], digit)];
        }
    }
    m_otherEntries.Resize(size);
    for (std::size_t digit = 0; digit < kDigits; ++digit) {
        auto& places = counts[digit];
        if (std::find(places.begin(), places.end(), size) != places.end()) {
            continue; // the same in all entries
        }
        std::size_t place = 0;
        for (std::size_t& count : places) {
            place += std::exchange(count, place);
        }
        for (std::size_t index = 0; index < size; ++index) {
            const Entry& entry = m_entries[index];
            m_otherEntries[places[digitOf(entry, digit)]++] = entry;
        }
        std::swap(m_entries, m_otherEntries);
        m_step();
    }
}

void RecordSorter::Spill()
{
    SortEntries();
    if (!m_file) {
        m_file.emplace(m_folder);
    }
    const std::uint64_t begin = m_parts.empty() ? 0 : m_parts.back().end;
    BlockWriter out(
        [this](const void* bytes, std::size_t byteCount, std::uint64_t offset) {
            m_file->Write(bytes, byteCount, offset);
            m_step();
        },
        begin,
        BlockWriter::kLargeBlock);
    for (const Entry& entry : m_entries.View()) {
        out.Append({entry.record, SizeOf(entry.record)});
    }
    out.Flush();
    m_parts.push_back({begin, out.GetPosition()});
    m_entries.Truncate(0);
    m_largeRecords.clear();
    m_usedChunks = 0;
    m_used = 0;
}

void RecordSorter::GiveMemoryBack() noexcept
{
    m_entries.Clear();
    m_otherEntries.Clear();
    m_largeRecords.clear();
    m_chunks.clear();
}

void RecordSorter::Drain(BlockWriter& out, const OnRow& onRow)
{
    if (m_file) {
        Spill();
        GiveMemoryBack();
        Merge(out, onRow);
        m_file.reset();
        return;
    }
    SortEntries();
    for (const Entry& entry : m_entries.View()) {
        const std::size_t size = RecordShape::GetPropertySize(entry.record);
        const FeatureFrame frame = onRow(m_shape.GetPlace(entry.record), size);
        out.Append(frame.head);
        out.Append({entry.record + m_shape.GetBeginSize(), size});
        out.Append(frame.padding);
    }
    GiveMemoryBack();
}

void RecordSorter::Merge(BlockWriter& out, const OnRow& onRow)
{
    // Reading less at a time would be slow; more parts than that make a file of many terabytes.
    constexpr std::size_t kLeastBuffer = 4096;
    const std::size_t bufferSize = std::max(m_memoryLimit / m_parts.size(), kLeastBuffer);

    struct Run
    {
        RecordReader reader;
        std::uint64_t curveIndex = 0;
    };

    std::vector<Run> runs;
    runs.reserve(m_parts.size());
    const auto next = [&](Run& run) {
        if (!run.reader.Next()) {
            return false;
        }
        run.curveIndex = FindCurveIndex(run.reader.GetPlace());
        return true;
    };
    std::vector<std::size_t> heap;
    for (const Part& part : m_parts) {
        runs.push_back({RecordReader(*m_file, part.begin, part.end, m_shape, bufferSize)});
        if (next(runs.back())) {
            heap.push_back(runs.size() - 1);
        }
        m_step();
    }
    const auto isAfter = [&runs](std::size_t a, std::size_t b) {
        return runs[a].curveIndex != runs[b].curveIndex ? runs[a].curveIndex > runs[b].curveIndex
                                                        : a > b;
    };
    std::make_heap(heap.begin(), heap.end(), isAfter);
    while (!heap.empty()) {
        std::pop_heap(heap.begin(), heap.end(), isAfter);
        Run& run = runs[heap.back()];
        const FeatureFrame frame = onRow(run.reader.GetPlace(), run.reader.GetPropertySize());
        out.Append(frame.head);
        run.reader.MoveProperties(out);
        out.Append(frame.padding);
        if (next(run)) {
            std::push_heap(heap.begin(), heap.end(), isAfter);
        } else {
            heap.pop_back();
        }
    }
}

} // namespace Orvane::FlatGeobuf
