// A small table of the shapes met last.
#include "ColumnProfile.h"

#include "../values/FoldedCell.h"
#include "CellShape.h"
#include "MarkBits.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <utility>

namespace Orvane::Import::Scan {

namespace {

using Values::ECell;

/// A column whose cells are text in so many cases, and in most, is text.
constexpr std::uint64_t kProofOfText = 1024;

bool IsNumber(ECell cell) noexcept
{
    return cell == ECell::Integer || cell == ECell::Decimal || cell == ECell::Spelled;
}

NumberRange RangeOf(double value, const Position& position)
{
    return {true, value, value, 1, 1, value == 0 ? std::uint64_t{1} : 0, position, position};
}

bool IsBefore(const Position& a, const Position& b) noexcept
{
    return a.byte < b.byte;
}

/// Whether cells of a shape may differ in class or forms by their digits alone. Those of a text do
/// too, but a column with a text in it is text whatever the others are.
bool DependsOnDigits(const Values::CellReading& reading, std::string_view cell) noexcept
{
    switch (reading.cell) {
    case ECell::Date:
    case ECell::Time:
    case ECell::DateTime:
    case ECell::Angle:
        return true;
    case ECell::Decimal:
        return cell.find_first_of("eE") != std::string_view::npos;
    default:
        return reading.time.dateForms != 0;
    }
}

std::string CutExample(std::string_view cell)
{
    return std::string(cell.substr(0, kExampleBytes));
}

} // namespace

std::uint64_t ColumnFacts::CountAll() const
{
    std::uint64_t count = unexamined;
    for (const ClassFacts& facts : classes) {
        count += facts.count;
    }
    return count;
}

std::uint64_t ColumnFacts::CountValues() const
{
    return CountAll() - Count(ECell::Empty) - Count(ECell::NullWord);
}

void NumberRange::Add(const NumberRange& other)
{
    if (!other.isKnown) {
        return;
    }
    zeros += other.zeros;
    if (!isKnown || other.least < least) {
        least = other.least;
        atLeast = other.atLeast;
        leastPosition = other.leastPosition;
    } else if (other.least == least) {
        atLeast += other.atLeast;
        leastPosition = std::min(leastPosition, other.leastPosition, IsBefore);
    }
    if (!isKnown || other.most > most) {
        most = other.most;
        atMost = other.atMost;
        mostPosition = other.mostPosition;
    } else if (other.most == most) {
        atMost += other.atMost;
        mostPosition = std::min(mostPosition, other.mostPosition, IsBefore);
    }
    isKnown = true;
}

NumberRange ColumnFacts::RangeIn(Values::Notation notation) const
{
    NumberRange range = plain;
    range.Add(spelled.at(static_cast<std::size_t>(std::countr_zero(std::uint16_t{notation}))));
    return range;
}

ColumnProfile::ColumnProfile(std::size_t slots)
    : m_slots(slots + 1)
    , m_extremes(slots)
    , m_plain(slots)
    , m_shift(64U - static_cast<unsigned>(std::countr_zero(slots)))
{
    Slot& empties = m_slots.back();
    empties.signature = 0;
    empties.between = ~std::uint64_t{0};
}

std::uint64_t ColumnProfile::SignatureOf(std::string_view cell) noexcept
{
    const std::size_t first = cell.starts_with('-') ? 1 : 0;
    const bool isCode =
        cell.size() > first + 1 && cell[first] == '0' && Values::IsDigit(cell[first + 1]);
    if (isCode || cell.empty() || cell.front() == '.') {
        return kNoSignature;
    }
    std::uint64_t signature = first;
    for (std::size_t at = first; at < cell.size(); ++at) {
        if (cell[at] == '.') {
            signature |= std::uint64_t{1} << (at * 2);
        } else if (!Values::IsDigit(cell[at])) {
            return kNoSignature;
        }
    }
    return signature | std::uint64_t{cell.size()} << 32U;
}

ColumnProfile::Plain& ColumnProfile::PlainOf(std::uint64_t signature)
{
    return m_plain[PlaceOf(signature) & (m_plain.size() - 1)];
}

ColumnProfile::Extremes& ColumnProfile::ExtremesOf(const Slot& slot)
{
    return m_extremes[static_cast<std::size_t>(&slot - m_slots.data())];
}

std::uint8_t ColumnProfile::FindWord(std::string_view cell)
{
    if (m_facts.hasManyWords) {
        return 0;
    }
    std::vector<WordFacts>& words = m_facts.wordFacts;
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (words[index].text == cell) {
            return static_cast<std::uint8_t>(index + 1);
        }
    }
    if (words.size() == kMostWords) {
        words.clear();
        m_facts.hasManyWords = true;
        return 0;
    }
    words.push_back({std::string(cell), 0});
    return static_cast<std::uint8_t>(words.size());
}

void ColumnProfile::Merge(const Values::CellReading& reading,
                          std::string_view cell,
                          const Position& position)
{
    ColumnFacts& facts = m_facts;
    facts.readings = static_cast<std::uint8_t>(facts.readings & reading.readings);
    facts.words = static_cast<std::uint8_t>(facts.words | reading.words);
    if (reading.number.notations != 0 && reading.cell != ECell::Code) {
        facts.notations = static_cast<std::uint16_t>(facts.notations & reading.number.notations);
    }
    if (reading.time.dateForms != 0) {
        facts.dateForms &= reading.time.dateForms;
    }
    facts.withOffset += reading.time.hasOffset ? 1U : 0U;
    if (reading.angle.isAngle) {
        facts.angleParts = std::max(facts.angleParts, reading.angle.parts);
        facts.plainAngles +=
            reading.angle.hasMarks || reading.angle.parts > 1 || reading.angle.isDecimal ? 1U : 0U;
        facts.markedAngles += reading.angle.hasMarks || reading.angle.letter != 0 ? 1U : 0U;
        facts.contradictions +=
            reading.angle.isContradiction && reading.cell == ECell::Angle ? 1U : 0U;
    }
    if (reading.cell == ECell::Decimal) {
        facts.mostDecimals = std::max(facts.mostDecimals, reading.number.decimals);
    }
    std::vector<Example>& examples = facts.classes[static_cast<std::size_t>(reading.cell)].examples;
    if (examples.size() < kMostExamples &&
        std::none_of(examples.begin(), examples.end(), [&](const Example& example) {
            return example.text == CutExample(cell);
        })) {
        examples.push_back({position, CutExample(cell)});
    }
}

void ColumnProfile::AddNumbers(const Slot& slot)
{
    const auto textOf = [&](const Key& key) {
        const Halves halves{ToBigEndian(key.high), ToBigEndian(key.low)};
        std::array<char, kShort> text{};
        std::memcpy(text.data(), &halves, kShort);
        return text;
    };
    const Extremes& extremes = ExtremesOf(slot);
    const std::array<char, kShort> first = textOf(extremes.least);
    const std::array<char, kShort> second = textOf(extremes.most);
    const auto rangeIn = [&](Values::Notation notation) {
        const double one = Values::ToDouble({first.data(), slot.length}, notation);
        const double other = Values::ToDouble({second.data(), slot.length}, notation);
        NumberRange range{true,
                          one,
                          other,
                          extremes.atLeast,
                          extremes.atMost,
                          0,
                          extremes.leastPosition,
                          extremes.mostPosition};
        // Of negative numbers the longest text is the least value.
        if (other < one) {
            std::swap(range.least, range.most);
            std::swap(range.atLeast, range.atMost);
            std::swap(range.leastPosition, range.mostPosition);
        }
        range.zeros = one == 0 ? extremes.atLeast : 0;
        return range;
    };
    if (slot.cell != ECell::Spelled) {
        m_facts.plain.Add(rangeIn(Values::NotationPlain));
        return;
    }
    const unsigned notations = Values::ReadNumber({first.data(), slot.length}).notations;
    for (std::size_t bit = 0; bit < Values::kNotationCount; ++bit) {
        const auto notation = static_cast<Values::Notation>(1U << bit);
        if ((notations & notation) != 0) {
            m_facts.spelled.at(bit).Add(rangeIn(notation));
        }
    }
}

void ColumnProfile::Examine(std::string_view cell, const Position& position)
{
    const Values::CellReading reading = Values::ReadCell(cell);
    Merge(reading, cell, position);
    ++m_facts.classes[static_cast<std::size_t>(reading.cell)].count;
    if (reading.cell == ECell::Spelled) {
        for (std::size_t bit = 0; bit < Values::kNotationCount; ++bit) {
            const auto notation = static_cast<Values::Notation>(1U << bit);
            if ((reading.number.notations & notation) != 0) {
                m_facts.spelled.at(bit).Add(RangeOf(Values::ToDouble(cell, notation), position));
            }
        }
    } else if (IsNumber(reading.cell)) {
        m_facts.plain.Add(RangeOf(Values::ToDouble(cell, Values::NotationPlain), position));
    }
    if (reading.cell == ECell::Text && ++m_unproved >= kProofOfText) {
        TryProve();
    }
}

void ColumnProfile::TryProve()
{
    m_unproved = 0;
    const std::uint64_t texts = m_facts.Count(ECell::Text);
    m_isText = texts >= kProofOfText && texts * 2 > m_facts.CountValues();
}

void ColumnProfile::Flush(Slot& slot)
{
    if (slot.count == 0) {
        return;
    }
    m_facts.classes[static_cast<std::size_t>(slot.cell)].count += slot.count;
    if (slot.word != 0 && !m_facts.hasManyWords) {
        m_facts.wordFacts[slot.word - 1U].count += slot.count;
    }
    if (slot.keep == EKeep::Order) {
        AddNumbers(slot);
    }
    if (slot.cell == ECell::Text) {
        m_unproved += slot.count;
    }
    slot.count = 0;
}

void ColumnProfile::Replace(
    Slot& slot, const Key& shape, const Key& key, std::string_view cell, const Position& position)
{
    Flush(slot);
    if (m_unproved >= kProofOfText) {
        TryProve();
    }
    const Values::CellReading reading = Values::ReadCell(cell);
    slot.shape = shape;
    slot.length = static_cast<std::uint8_t>(cell.size());
    slot.cell = reading.cell;
    if (Plain& plain = PlainOf(slot.signature); plain.signature == slot.signature) {
        plain = {};
    }
    slot.signature = kNoSignature;
    if (DependsOnDigits(reading, cell)) {
        slot.keep = EKeep::Examine;
        slot.word = 0;
        Examine(cell, position);
        return;
    }
    Merge(reading, cell, position);
    slot.count = 1;
    slot.keep = EKeep::Count;
    if (IsNumber(reading.cell)) {
        slot.keep = EKeep::Order;
        slot.signature = SignatureOf(cell);
        ExtremesOf(slot) = {key, key, 1, 1, position, position};
        SetBounds(slot);
    }
    const bool isWord = reading.cell == ECell::Text || reading.cell == ECell::Boolean ||
                        reading.cell == ECell::NullWord;
    slot.word = isWord ? FindWord(cell) : std::uint8_t{0};
}

void ColumnProfile::SetBounds(Slot& slot)
{
    const Extremes& extremes = ExtremesOf(slot);
    slot.above = extremes.least.high + 1;
    slot.between = extremes.most.high - std::min(slot.above, extremes.most.high);
}

void ColumnProfile::AddExtreme(Slot& slot, const Key& key, const Position& position)
{
    Extremes& extremes = ExtremesOf(slot);
    if (extremes.most < key) {
        extremes.most = key;
        extremes.atMost = 1;
        extremes.mostPosition = position;
        SetBounds(slot);
        return;
    }
    if (key < extremes.least) {
        extremes.least = key;
        extremes.atLeast = 1;
        extremes.leastPosition = position;
        SetBounds(slot);
        return;
    }
    extremes.atLeast += key == extremes.least ? 1U : 0U;
    extremes.atMost += key == extremes.most ? 1U : 0U;
}

template <typename Locate>
inline void ColumnProfile::AddShort(const char* text, std::size_t length, const Locate& locate)
{
    const Shaped shaped = ShapeOf(text, length);
    Slot& slot = m_slots[HashOf(shaped.shape, length) >> m_shift];
    const bool isSame = slot.shape.high == shaped.shape.low &&
                        slot.shape.low == shaped.shape.high && slot.length == length;
    const Key key{ToBigEndian(shaped.bytes.low), ToBigEndian(shaped.bytes.high)};
    if (__builtin_expect(!isSame, 0)) {
        Replace(slot, {shaped.shape.low, shaped.shape.high}, key, {text, length}, locate());
        return;
    }
    if (slot.keep == EKeep::Examine) {
        Examine({text, length}, locate());
        return;
    }
    ++slot.count;
    if (slot.keep == EKeep::Order) {
        if (key.high - slot.above >= slot.between) {
            AddExtreme(slot, key, locate());
        }
        if (slot.signature != kNoSignature) {
            PlainOf(slot.signature) = {slot.signature,
                                       static_cast<std::size_t>(&slot - m_slots.data())};
        }
    }
}

void ColumnProfile::AddEmpty(const Position& position)
{
    ClassFacts& empty = m_facts.classes[static_cast<std::size_t>(ECell::Empty)];
    if (empty.count++ == 0) {
        empty.examples.push_back({position, {}});
    }
}

void ColumnProfile::Add(std::string_view cell, const Position& position, bool isQuoted)
{
    m_facts.quoted += isQuoted ? 1U : 0U;
    const std::size_t length = cell.size();
    if (length == 0) {
        AddEmpty(position);
        return;
    }
    m_facts.shortest = std::min(m_facts.shortest, length);
    m_facts.longest = std::max(m_facts.longest, length);
    if (m_isText) {
        ++m_facts.unexamined;
    } else if (length <= kShort) {
        AddShort(cell.data(), length, [&] { return position; });
    } else {
        Examine(cell, position);
    }
}

void ColumnProfile::AddNull(std::string_view cell, const Position& position)
{
    ClassFacts& nulls = m_facts.classes[static_cast<std::size_t>(ECell::NullWord)];
    ++nulls.count;
    if (nulls.examples.size() < kMostExamples &&
        std::none_of(nulls.examples.begin(), nulls.examples.end(), [&](const Example& example) {
            return example.text == CutExample(cell);
        })) {
        nulls.examples.push_back({position, CutExample(cell)});
    }
}

void ColumnProfile::AddRun(const CellRun& run)
{
    if (run.rows == 0) {
        return;
    }
    const std::uint32_t* const end = run.ends;
    const bool hasReturns = run.endsLine && *end > end[-1] + 1U && run.text[*end - 1] == '\r';
    if (m_isText) {
        AddTexts(run, 0);
    } else if (run.marks == nullptr) {
        for (std::size_t row = 0; row < run.rows; ++row) {
            AddCell(run, row);
            if (m_isText) {
                AddTexts(run, row + 1);
                break;
            }
        }
    } else if (run.hasQuotes) {
        hasReturns ? AddMarked<true, true>(run) : AddMarked<true, false>(run);
    } else {
        hasReturns ? AddMarked<false, true>(run) : AddMarked<false, false>(run);
    }
    FlushEmpties();
}

void ColumnProfile::FlushEmpties()
{
    Slot& empties = m_slots.back();
    m_facts.classes[static_cast<std::size_t>(ECell::Empty)].count += empties.count;
    empties.count = 0;
}

template <bool kHasQuotes, bool kHasReturns>
void ColumnProfile::AddMarked(const CellRun& run)
{
    const char* const text = run.text;
    const std::uint64_t* const marks = run.marks;
    const std::size_t stride = run.stride;
    const std::size_t rows = run.rows;
    Slot* const slots = m_slots.data();
    const Plain* const plain = m_plain.data();
    const std::size_t places = m_plain.size() - 1;
    const std::uint32_t* end = run.ends;
    std::uint64_t quoted = 0;
    Rising rising;
    for (std::size_t row = 0; row < rows; ++row, end += stride) {
        const RunCell cell = CutCell(text, end, kHasQuotes, kHasReturns);
        if (cell.length <= kShort) {
            const std::uint64_t inside = kInside[cell.length];
            const std::uint64_t found = BitsFrom(marks, std::size_t{cell.begin} * 2) & inside;
            const std::uint64_t high = HighHalf(text + cell.begin) & kFilled[cell.length];
            if ((found & kOddMarks) == 0) {
                const std::uint64_t signature = found | std::uint64_t{cell.length} << 32U;
                const Plain& known = plain[PlaceOf(signature) & places];
                if (known.signature == signature) {
                    Slot& slot = slots[known.slot];
                    ++slot.count;
                    quoted += kHasQuotes && cell.isQuoted ? 1U : 0U;
                    if (__builtin_expect(high - slot.above >= slot.between, 0)) {
                        const bool isLargest = high > slot.above + slot.between;
                        if (!isLargest || rising.slot != &slot) {
                            Settle(run, rising);
                        }
                        rising = {&slot, row};
                        if (isLargest) {
                            slot.between = high - slot.above;
                        } else {
                            Settle(run, rising);
                        }
                    }
                    continue;
                }
            } else if ((found & kNoDigitMarks) == (inside & kNoDigitMarks) && cell.length <= 8) {
                // Without digits the bytes are the shape.
                const Halves shape{ToBigEndian(high), 0};
                Slot& slot = slots[HashOf(shape, cell.length) >> m_shift];
                if (slot.shape.high == shape.low && slot.shape.low == 0 &&
                    slot.length == cell.length && slot.keep == EKeep::Count) {
                    ++slot.count;
                    quoted += kHasQuotes && cell.isQuoted ? 1U : 0U;
                    continue;
                }
            }
        }
        Settle(run, rising);
        AddCell(run, row);
        if (m_isText) {
            AddTexts(run, row + 1);
            break;
        }
    }
    Settle(run, rising);
    m_facts.quoted += quoted;
}

void ColumnProfile::Settle(const CellRun& run, Rising& rising)
{
    if (rising.slot == nullptr) {
        return;
    }
    const std::uint32_t* const end = run.ends + rising.row * run.stride;
    const RunCell cell = CutCell(run.text, end, run.hasQuotes, run.endsLine);
    const char* const text = run.text + cell.begin;
    const std::size_t rest = cell.length > 8 ? cell.length - 8 : 0;
    AddExtreme(*rising.slot,
               {HighHalf(text) & kFilled[cell.length], HighHalf(text + 8) & kFilled[rest]},
               {run.line + rising.row, run.byte + cell.begin});
    rising.slot = nullptr;
}

void ColumnProfile::AddCell(const CellRun& run, std::size_t row)
{
    const RunCell cell =
        CutCell(run.text, run.ends + row * run.stride, run.hasQuotes, run.endsLine);
    const auto locate = [&] { return Position{run.line + row, run.byte + cell.begin}; };
    m_facts.quoted += cell.isQuoted ? 1U : 0U;
    if (cell.length == 0) {
        AddEmpty(locate());
        PlainOf(0) = {0, m_slots.size() - 1};
        return;
    }
    const std::size_t length = cell.length;
    m_facts.shortest = std::min(m_facts.shortest, length);
    m_facts.longest = std::max(m_facts.longest, length);
    if (length <= kShort) {
        AddShort(run.text + cell.begin, length, locate);
    } else {
        Examine({run.text + cell.begin, length}, locate());
    }
}

void ColumnProfile::AddTexts(const CellRun& run, std::size_t first)
{
    std::uint64_t quoted = 0;
    std::uint64_t empties = 0;
    std::uint32_t shortest = std::numeric_limits<std::uint32_t>::max(); // less one
    std::uint32_t longest = 0;
    std::size_t firstEmpty = run.rows;
    const std::uint32_t* end = run.ends + first * run.stride;
    for (std::size_t row = first; row < run.rows; ++row, end += run.stride) {
        const RunCell cell = CutCell(run.text, end, run.hasQuotes, run.endsLine);
        quoted += cell.isQuoted ? 1U : 0U;
        empties += cell.length == 0 ? 1U : 0U;
        firstEmpty = std::min(firstEmpty, cell.length == 0 ? row : run.rows);
        // Of an empty cell this wraps.
        shortest = std::min(shortest, cell.length - 1);
        longest = std::max(longest, cell.length);
    }
    m_facts.quoted += quoted;
    m_facts.unexamined += run.rows - first - empties;
    if (longest > 0) {
        m_facts.shortest = std::min(m_facts.shortest, std::size_t{shortest} + 1);
        m_facts.longest = std::max<std::size_t>(m_facts.longest, longest);
    }
    if (empties > 0) {
        const std::uint32_t* const at = run.ends + firstEmpty * run.stride;
        const RunCell cell = CutCell(run.text, at, run.hasQuotes, run.endsLine);
        AddEmpty({run.line + firstEmpty, run.byte + cell.begin});
        m_facts.classes[static_cast<std::size_t>(ECell::Empty)].count += empties - 1;
    }
}

bool ColumnProfile::IsMisfit(std::string_view cell) const
{
    constexpr std::uint8_t kNothingYet = Values::kAllReadings;
    // A letter beside a whole number is more often a code than an angle.
    if (m_facts.readings == Values::ReadingAngle && m_facts.plainAngles == 0) {
        return false;
    }
    return m_facts.readings != 0 && m_facts.readings != kNothingYet &&
           (m_facts.readings & Values::ReadCell(cell).readings) == 0;
}

ColumnFacts ColumnProfile::Finish()
{
    for (Slot& slot : m_slots) {
        Flush(slot);
    }
    return std::move(m_facts);
}

} // namespace Orvane::Import::Scan
