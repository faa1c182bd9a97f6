// Cells of several columns by one kernel: what it is told of a column, and what it found.
#include "CellShape.h"
#include "ColumnProfile.h"
#include "MarkBits.h"

#include <algorithm>

namespace Orvane::Import::Scan {

namespace {

using AsciiReader::Kernels::KnownShapes;

/// Cells of a run that are looked at for the shapes to be offered.
constexpr std::size_t kLearned = 64;
/// One cell in so many may have another shape.
constexpr std::size_t kOthersShare = 4;
/// From so many on new ones are looked for.
constexpr std::size_t kLearnShare = 16;
/// Runs for which a column rests when the kernel did not pay off.
constexpr unsigned kRest = 16;

bool EndsWithReturn(const CellRun& run) noexcept
{
    const std::uint32_t end = run.ends[0];
    return run.endsLine && end > run.ends[-1] + 1U && run.text[end - 1] == '\r';
}

} // namespace

bool ColumnProfile::IsOffered(const Offered& shape) const
{
    const Slot& slot = m_slots[shape.slot];
    if (shape.word == 0) {
        return slot.signature == shape.signature;
    }
    return slot.keep == EKeep::Count && slot.length == shape.signature >> 32U &&
           slot.shape.high == ToBigEndian(shape.word) && slot.shape.low == 0;
}

bool ColumnProfile::OfferShapes(const CellRun& run, std::size_t place, KnownShapes& known)
{
    if (m_resting > 0) {
        --m_resting;
        return false;
    }
    if (m_isText || m_offeredCount == 0 || EndsWithReturn(run)) {
        return false;
    }
    std::size_t count = 0;
    for (std::size_t index = 0; index < m_offeredCount; ++index) {
        const Offered& shape = m_offered[index];
        if (!IsOffered(shape)) {
            continue;
        }
        const bool isWord = shape.word != 0;
        const Slot& slot = m_slots[shape.slot];
        known.signature[index][place] = shape.signature;
        known.above[index][place] = isWord ? shape.word : slot.above;
        known.between[index][place] = isWord ? 1 : slot.between;
        known.most[index][place] = isWord ? ~std::uint64_t{0} : slot.above + slot.between;
        known.cells[index][place] = 0;
        known.lastRise[index][place] = 0;
        count = index + 1;
    }
    known.count = std::max(known.count, count);
    return true;
}

bool ColumnProfile::HasShape(const CellRun& run, std::size_t row) const
{
    const RunCell cell =
        CutCell(run.text, run.ends + row * run.stride, run.hasQuotes, run.endsLine);
    if (cell.length == 0 || cell.length > kShort) {
        return cell.length == 0;
    }
    const Halves shape = ShapeOf(run.text + cell.begin, cell.length).shape;
    const Slot& slot = m_slots[HashOf(shape, cell.length) >> m_shift];
    return slot.shape.high == shape.low && slot.shape.low == shape.high &&
           slot.length == cell.length && slot.keep != EKeep::Examine;
}

bool ColumnProfile::AddCounted(const CellRun& run,
                               std::size_t place,
                               const KnownShapes& known,
                               const std::vector<OtherCells>& others)
{
    std::size_t otherCount = 0;
    // A new shape may drop another, and cells that are read by the rules have an order.
    for (const OtherCells& cells : others) {
        if (cells.Has(place) &&
            (++otherCount > run.rows / kOthersShare || !HasShape(run, cells.row))) {
            m_resting = kRest;
            return false;
        }
    }
    for (std::size_t index = 0; index < known.count && index < m_offeredCount; ++index) {
        Slot& slot = m_slots[m_offered[index].slot];
        slot.count += known.cells[index][place];
        if (known.lastRise[index][place] > 0) {
            Rising rising{&slot, known.lastRise[index][place] - 1};
            Settle(run, rising);
        }
    }
    for (const OtherCells& cells : others) {
        if (cells.Has(place)) {
            AddCell(run, cells.row);
        }
    }
    FlushEmpties();
    if (otherCount * kLearnShare > run.rows && m_offeredCount < m_offered.size()) {
        LearnShapes(run);
    }
    return true;
}

ColumnProfile::Offered ColumnProfile::FindOffered(const CellRun& run, std::size_t row) const
{
    const RunCell cell = CutCell(run.text, run.ends + row * run.stride, false, false);
    const char* const text = run.text + cell.begin;
    if (cell.length > kShort || (run.hasQuotes && cell.length > 0 && *text == '"')) {
        return {};
    }
    const std::uint64_t inside = kInside[cell.length];
    const std::uint64_t marks = BitsFrom(run.marks, std::size_t{cell.begin} * 2) & inside;
    const std::uint64_t signature = marks | std::uint64_t{cell.length} << 32U;
    if ((marks & kOddMarks) == 0) {
        const Plain& plain = m_plain[PlaceOf(signature) & (m_plain.size() - 1)];
        return plain.signature == signature ? Offered{signature, plain.slot, 0} : Offered{};
    }
    if ((marks & kNoDigitMarks) != (inside & kNoDigitMarks) || cell.length > 8) {
        return {};
    }
    const std::uint64_t word = HighHalf(text) & kFilled[cell.length];
    const std::size_t slot = HashOf({ToBigEndian(word), 0}, cell.length) >> m_shift;
    const Offered shape{signature, slot, word};
    return IsOffered(shape) ? shape : Offered{};
}

void ColumnProfile::LearnShapes(const CellRun& run)
{
    if (m_isText || (m_resting > 0 && m_resting < kRest)) {
        return;
    }
    m_offeredCount = 0;
    const std::size_t step = std::max<std::size_t>(1, run.rows / kLearned);
    for (std::size_t row = 0; row < run.rows && m_offeredCount < m_offered.size(); row += step) {
        const Offered shape = FindOffered(run, row);
        const Offered* const known = m_offered.data();
        const bool isThere = std::any_of(known, known + m_offeredCount, [&](const Offered& other) {
            return other.signature == shape.signature && other.word == shape.word;
        });
        if (shape.signature != kNoSignature && !isThere) {
            m_offered[m_offeredCount++] = shape;
        }
    }
}

} // namespace Orvane::Import::Scan
