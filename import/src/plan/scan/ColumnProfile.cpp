// Shapes of cells in vectors of sixteen bytes, and a small table of the shapes met last.
#include "ColumnProfile.h"

#include "../values/FoldedCell.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Orvane::Import::Scan {

namespace {

using Values::ECell;

constexpr std::size_t kShort = 16;
/// A column whose cells are text in so many cases, and in most, is text.
constexpr std::uint64_t kProofOfText = 1024;
/// What a slot counts up to before its counts are moved on.
constexpr std::uint32_t kMostCount = 0x80000000U;

constexpr std::array<std::uint8_t, 32> kKeepFirst = {
    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

struct Halves
{
    std::uint64_t low;
    std::uint64_t high;
};

/// A cell's bytes and its shape. Digits are `0` in the shape; a zero at the front with a digit
/// after it is `1`, because it makes a code of a number.
struct Shaped
{
    Halves bytes;
    Halves shape;
};

#if defined(__SSE2__)
Halves ToHalves(__m128i vector) noexcept
{
    return {static_cast<std::uint64_t>(_mm_cvtsi128_si64(vector)),
            static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(vector, vector)))};
}

inline Shaped ShapeOf(const char* text, std::size_t length) noexcept
{
    const __m128i keep =
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(kKeepFirst.data() + kShort - length));
    const __m128i bytes =
        _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text)), keep);
    const __m128i zero = _mm_set1_epi8('0');
    const __m128i offset = _mm_sub_epi8(bytes, zero);
    const __m128i isDigit = _mm_cmpeq_epi8(_mm_min_epu8(offset, _mm_set1_epi8(9)), offset);
    __m128i shape = _mm_or_si128(_mm_andnot_si128(isDigit, bytes), _mm_and_si128(isDigit, zero));
    const __m128i isFirst = _mm_andnot_si128(_mm_slli_si128(isDigit, 1), isDigit);
    const __m128i leads = _mm_and_si128(isFirst, _mm_srli_si128(isDigit, 1));
    const __m128i isLeadingZero = _mm_and_si128(leads, _mm_cmpeq_epi8(bytes, zero));
    // Where a number begins: at the front, or after its sign.
    shape = _mm_xor_si128(shape, _mm_and_si128(isLeadingZero, _mm_set_epi32(0, 0, 0, 0x0101)));
    return {ToHalves(bytes), ToHalves(shape)};
}
#else
inline Shaped ShapeOf(const char* text, std::size_t length) noexcept
{
    std::array<char, kShort> bytes{};
    std::memcpy(bytes.data(), text, length);
    std::array<char, kShort> shape = bytes;
    for (std::size_t i = 0; i < length; ++i) {
        shape[i] = Values::IsDigit(bytes[i]) ? '0' : bytes[i];
    }
    for (std::size_t i = 0; i < 2; ++i) {
        if (bytes[i] == '0' && Values::IsDigit(bytes[i + 1]) &&
            (i == 0 || !Values::IsDigit(bytes[i - 1]))) {
            shape[i] = '1';
        }
    }
    Shaped result{};
    std::memcpy(&result.bytes, bytes.data(), kShort);
    std::memcpy(&result.shape, shape.data(), kShort);
    return result;
}
#endif

std::uint64_t ToBigEndian(std::uint64_t half) noexcept
{
    if constexpr (std::endian::native == std::endian::little) {
        return __builtin_bswap64(half);
    }
    return half;
}

std::size_t HashOf(const Halves& shape, std::size_t length) noexcept
{
    return static_cast<std::size_t>((shape.low ^ (shape.high * 31) ^ length) *
                                    0x9E3779B97F4A7C15ULL);
}

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
    : m_slots(slots)
    , m_extremes(slots)
    , m_shift(64U - static_cast<unsigned>(std::countr_zero(slots)))
{}

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
    const std::array<char, kShort> first = textOf(slot.least);
    const std::array<char, kShort> second = textOf(slot.most);
    const Extremes& extremes = m_extremes[static_cast<std::size_t>(&slot - m_slots.data())];
    const auto rangeIn = [&](Values::Notation notation) {
        const double one = Values::ToDouble({first.data(), slot.length}, notation);
        const double other = Values::ToDouble({second.data(), slot.length}, notation);
        NumberRange range{
            true, one, other, slot.atLeast, slot.atMost, 0, extremes.least, extremes.most};
        // Of negative numbers the longest text is the least value.
        if (other < one) {
            range = {true, other, one, slot.atMost, slot.atLeast, 0, extremes.most, extremes.least};
        }
        range.zeros = one == 0 ? slot.atLeast : 0;
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
    slot.atLeast = 0;
    slot.atMost = 0;
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
    if (DependsOnDigits(reading, cell)) {
        slot.keep = EKeep::Examine;
        slot.word = 0;
        Examine(cell, position);
        return;
    }
    Merge(reading, cell, position);
    slot.least = key;
    slot.most = key;
    slot.count = 1;
    slot.atLeast = 1;
    slot.atMost = 1;
    m_extremes[static_cast<std::size_t>(&slot - m_slots.data())] = {position, position};
    slot.keep = IsNumber(reading.cell) ? EKeep::Order : EKeep::Count;
    const bool isWord = reading.cell == ECell::Text || reading.cell == ECell::Boolean ||
                        reading.cell == ECell::NullWord;
    slot.word = isWord ? FindWord(cell) : std::uint8_t{0};
}

template <typename Locate>
void ColumnProfile::AddExtreme(Slot& slot, const Key& key, const Locate& locate)
{
    Extremes& extremes = m_extremes[static_cast<std::size_t>(&slot - m_slots.data())];
    if (key < slot.least) {
        slot.least = key;
        slot.atLeast = 1;
        extremes.least = locate();
    } else if (key == slot.least) {
        ++slot.atLeast;
    }
    if (slot.most < key) {
        slot.most = key;
        slot.atMost = 1;
        extremes.most = locate();
    } else if (key == slot.most) {
        ++slot.atMost;
    }
}

template <typename Locate>
inline void ColumnProfile::AddShortAt(
    Slot* slots, unsigned shift, const char* text, std::size_t length, const Locate& locate)
{
    const Shaped shaped = ShapeOf(text, length);
    Slot& slot = slots[HashOf(shaped.shape, length) >> shift];
    const bool isSame = slot.shape.high == shaped.shape.low &&
                        slot.shape.low == shaped.shape.high && slot.length == length;
    if (__builtin_expect(!isSame, 0)) {
        const Key key{ToBigEndian(shaped.bytes.low), ToBigEndian(shaped.bytes.high)};
        Replace(slot, {shaped.shape.low, shaped.shape.high}, key, {text, length}, locate());
        return;
    }
    if (slot.keep == EKeep::Order) {
        const Key key{ToBigEndian(shaped.bytes.low), ToBigEndian(shaped.bytes.high)};
        if (__builtin_expect(key.high <= slot.least.high || key.high >= slot.most.high, 0)) {
            AddExtreme(slot, key, locate);
        }
    } else if (slot.keep == EKeep::Examine) {
        Examine({text, length}, locate());
        return;
    }
    if (__builtin_expect(++slot.count == kMostCount, 0)) {
        Flush(slot);
    }
}

void ColumnProfile::AddShort(const char* text, std::size_t length, const Position& position)
{
    AddShortAt(m_slots.data(), m_shift, text, length, [&] { return position; });
}

void ColumnProfile::Add(std::string_view cell, const Position& position, bool isQuoted)
{
    m_facts.quoted += isQuoted ? 1U : 0U;
    const std::size_t length = cell.size();
    if (length == 0) {
        ClassFacts& empty = m_facts.classes[static_cast<std::size_t>(ECell::Empty)];
        if (empty.count++ == 0) {
            empty.examples.push_back({position, {}});
        }
        return;
    }
    m_facts.shortest = std::min(m_facts.shortest, length);
    m_facts.longest = std::max(m_facts.longest, length);
    if (m_isText) {
        ++m_facts.unexamined;
    } else if (length <= kShort) {
        AddShort(cell.data(), length, position);
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
    ClassFacts& empty = m_facts.classes[static_cast<std::size_t>(ECell::Empty)];
    std::size_t shortest = m_facts.shortest;
    std::size_t longest = m_facts.longest;
    Slot* slots = m_slots.data();
    const unsigned shift = m_shift;
    const std::uint32_t* end = run.ends;
    for (std::size_t row = 0; row < run.rows; ++row, end += run.stride) {
        std::uint32_t begin = *(end - 1) + 1;
        std::size_t length = *end - begin;
        const char* text = run.text + begin;
        if (length > 0 && text[length - 1] == '\r') {
            --length;
        }
        if (run.hasQuotes && length >= 2 && *text == '"') {
            ++m_facts.quoted;
            ++begin;
            ++text;
            length -= 2;
        }
        const auto locate = [&] { return Position{run.line + row, run.byte + begin}; };
        if (length == 0) {
            if (empty.count++ == 0) {
                empty.examples.push_back({locate(), {}});
            }
            continue;
        }
        shortest = std::min(shortest, length);
        longest = std::max(longest, length);
        if (m_isText) {
            ++m_facts.unexamined;
        } else if (length <= kShort) {
            AddShortAt(slots, shift, text, length, locate);
        } else {
            Examine({text, length}, locate());
        }
    }
    m_facts.shortest = shortest;
    m_facts.longest = longest;
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
