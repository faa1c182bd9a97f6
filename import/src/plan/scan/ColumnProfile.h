// What a scan keeps of a column: counts, what all cells have in common, first examples.
#pragma once

#include "../values/Cell.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <kernels/Kernels.h>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

/// Where a cell stands. Lines count from 1, bytes from 0, both in the scanned text.
struct Position
{
    std::uint64_t line = 0;
    std::uint64_t byte = 0;
};

/// A cell that shows what a class holds.
struct Example
{
    Position position;
    std::string text; ///< cut to kExampleBytes
};

inline constexpr std::size_t kExampleBytes = 40;
inline constexpr std::size_t kMostExamples = 3;
inline constexpr std::size_t kMostWords = 64;

/// The cells of one class.
struct ClassFacts
{
    std::uint64_t count = 0;
    /// The first cell, and the first ones of other shapes.
    std::vector<Example> examples;
};

/// A short cell without digits and how often it occurs.
struct WordFacts
{
    std::string text;
    std::uint64_t count = 0;
};

/// The smallest and the largest of some numbers, and how many cells are spelled as these.
struct NumberRange
{
    bool isKnown = false; ///< then what follows holds
    double least = 0;
    double most = 0;
    std::uint64_t atLeast = 0;
    std::uint64_t atMost = 0;
    std::uint64_t zeros = 0;
    Position leastPosition; ///< of the first such cell
    Position mostPosition;

    void Add(const NumberRange& other);
};

/// All that is known of a column once its cells have been added.
struct ColumnFacts
{
    std::array<ClassFacts, Values::kCellClasses> classes;
    std::uint8_t readings = Values::kAllReadings;    ///< allowed by all cells
    std::uint16_t notations = Values::kAllNotations; ///< fitted by all numbers
    std::uint32_t dateForms = Values::kAllDateForms; ///< fitted by all dates
    std::uint8_t words = 0;                          ///< truth words that occur
    std::uint64_t withOffset = 0;                    ///< times with `Z` or an offset
    std::uint64_t contradictions = 0;                ///< angles such as `-47 S`
    std::uint64_t markedAngles = 0;                  ///< with signs or letters
    std::uint64_t plainAngles = 0;                   ///< with signs, parts or decimals
    std::uint8_t angleParts = 0;                     ///< most parts of an angle
    std::uint8_t mostDecimals = 0;                   ///< after the point, of plain numbers
    NumberRange plain;                               ///< of the plain numbers
    /// Of the numbers that are not plain, by the notations that they fit, in the order of bits.
    std::array<NumberRange, Values::kNotationCount> spelled;
    std::size_t shortest = static_cast<std::size_t>(-1); ///< bytes of a cell that is not empty
    std::size_t longest = 0;
    std::uint64_t quoted = 0;
    std::uint64_t unexamined = 0;     ///< cells of a column proved text that were only counted
    std::vector<WordFacts> wordFacts; ///< at most kMostWords, else empty and hasManyWords
    bool hasManyWords = false;

    [[nodiscard]] std::uint64_t Count(Values::ECell cell) const
    {
        return classes[static_cast<std::size_t>(cell)].count;
    }

    [[nodiscard]] std::uint64_t CountAll() const;

    /// Cells that hold something: neither empty nor null words.
    [[nodiscard]] std::uint64_t CountValues() const;

    /// Of the plain numbers and those in a notation.
    [[nodiscard]] NumberRange RangeIn(Values::Notation notation) const;
};

/// A column's cells in rows of a regular run: cell r begins after ends[r * stride - 1] and ends at
/// ends[r * stride]; positions are in `text`, whose first byte stands at `byte`, and wrap, so that
/// the one before the first byte is 0xFFFFFFFF.
struct CellRun
{
    const char* text = nullptr;
    const std::uint32_t* ends = nullptr;
    std::size_t stride = 1;
    std::size_t rows = 0;
    std::uint64_t line = 1; ///< of the first row; one row per line
    std::uint64_t byte = 0;
    bool hasQuotes = false; ///< a cell that begins with a quote ends with one: both are no part
    /// Of `text`, as the kernel markNumbers writes them, with CountMarkWords words; without them
    /// every cell is looked at by its bytes.
    const std::uint64_t* marks = nullptr;
    bool endsLine = true; ///< a `\r` at a cell's end is the line end's; else it is the cell's
};

/// Cells of a row whose shapes were not offered, as bits of their places.
struct OtherCells
{
    std::size_t row = 0;
    unsigned places = 0;

    [[nodiscard]] bool Has(std::size_t place) const { return (places >> place & 1U) != 0; }
};

/// Collects the facts of a column.
///
/// Cells of the same shape (all digits alike) have the same class, so that a cell is looked at by
/// the rules only when its shape is new or when its digits decide, as in dates; otherwise it is
/// counted, and compared with the smallest and the largest of its shape. A column that is proved
/// text is only asked for empty cells. A plain number's shape is known from its length and from
/// where its point stands, which marks tell without a look at its bytes.
/// Use: Add and AddRun in any order, then Finish once. Memory is bounded, some KiB.
class ColumnProfile
{
public:
    /// @param slots shapes that are kept at a time, a power of two
    explicit ColumnProfile(std::size_t slots = 64);

    /// Adds one cell, without its quotes. kPadding bytes after it must be readable.
    void Add(std::string_view cell, const Position& position, bool isQuoted);

    /// Adds a cell that the caller calls null, whatever it holds.
    void AddNull(std::string_view cell, const Position& position);

    /// Adds the cells of a run; a `\r` at a cell's end is no part of it.
    void AddRun(const CellRun& run);

    /// Adds the shapes of the column's cells to those that the kernel countShapes looks for.
    /// @param place of the column in `known`
    /// @return false: the run is no case for the kernel, or did not pay off lately; nothing is
    /// added
    bool
    OfferShapes(const CellRun& run, std::size_t place, AsciiReader::Kernels::KnownShapes& known);

    /// Adds the cells of a run by what the kernel counted of the shapes that were offered; the
    /// facts are those of AddRun.
    /// @param others the cells of no shape that was offered, in the order of rows
    /// @return false: new shapes among them need AddRun; nothing is added
    bool AddCounted(const CellRun& run,
                    std::size_t place,
                    const AsciiReader::Kernels::KnownShapes& known,
                    const std::vector<OtherCells>& others);

    /// Looks for the shapes to be offered next in some cells of a run, which have been added.
    void LearnShapes(const CellRun& run);

    /// Whether a cell would contradict a column whose cells agree so far.
    [[nodiscard]] bool IsMisfit(std::string_view cell) const;

    /// Completes the facts, and hands them over.
    [[nodiscard]] ColumnFacts Finish();

    /// Bytes after a cell that must be readable.
    static constexpr std::size_t kPadding = 16;

private:
    /// A number's text as two big-endian halves: in one shape the order of texts is that of sizes.
    struct Key
    {
        std::uint64_t high;
        std::uint64_t low;

        friend bool operator==(const Key& a, const Key& b)
        {
            return a.high == b.high && a.low == b.low;
        }

        friend bool operator<(const Key& a, const Key& b)
        {
            return a.high != b.high ? a.high < b.high : a.low < b.low;
        }
    };

    enum class EKeep : std::uint8_t {
        Count,   ///< each cell is only counted
        Order,   ///< a number: smallest and largest are kept, too
        Examine, ///< digits decide: each cell is read by the rules
    };

    /// One shape, in one cache line.
    struct alignas(64) Slot
    {
        Key shape{}; ///< the cell's bytes with all digits alike
        /// Of a number, by the high halves of keys: from `above` on and less than `between` past it
        /// are those that are neither smallest nor largest.
        std::uint64_t above = 0;
        std::uint64_t between = 0;
        std::uint64_t count = 0;
        std::uint64_t signature = kNoSignature;
        std::uint8_t length = 0; ///< 0: not in use
        std::uint8_t word = 0;   ///< 1 + index among the words; 0 for none
        Values::ECell cell = Values::ECell::Empty;
        EKeep keep = EKeep::Count;
    };

    /// The smallest and the largest number of a slot, how often they come, and where first.
    struct Extremes
    {
        Key least{};
        Key most{};
        std::uint64_t atLeast = 0;
        std::uint64_t atMost = 0;
        Position leastPosition;
        Position mostPosition;
    };

    /// Where the slot of plain numbers of one signature is.
    struct Plain
    {
        std::uint64_t signature = kNoSignature;
        std::uint64_t slot = 0;
    };

    /// A number of a run that is the smallest or the largest of its slot, and not added to the
    /// extremes yet: of numbers that rise, as those of rows do, only the last one need be.
    struct Rising
    {
        Slot* slot = nullptr;
        std::size_t row = 0;
    };

    /// A shape that is offered to the kernel: that of plain numbers, of empty cells, or one word.
    struct Offered
    {
        std::uint64_t signature = kNoSignature;
        std::uint64_t slot = 0;
        std::uint64_t word = 0; ///< the high half of its key; 0 for numbers and empty cells
    };

    /// Of a plain number: the marks of its bytes, of which those that are no digits have one, and
    /// its length after 32 bits of them. Of an empty cell 0.
    static constexpr std::uint64_t kNoSignature = ~std::uint64_t{0};

    [[nodiscard]] static std::uint64_t SignatureOf(std::string_view cell) noexcept;
    [[nodiscard]] Offered FindOffered(const CellRun& run, std::size_t row) const;
    [[nodiscard]] bool IsOffered(const Offered& shape) const;
    [[nodiscard]] bool HasShape(const CellRun& run, std::size_t row) const;
    void FlushEmpties();

    template <bool kHasQuotes, bool kHasReturns>
    void AddMarked(const CellRun& run);
    void Settle(const CellRun& run, Rising& rising);
    void AddCell(const CellRun& run, std::size_t row);
    void AddTexts(const CellRun& run, std::size_t first);
    void AddEmpty(const Position& position);
    template <typename Locate>
    void AddShort(const char* text, std::size_t length, const Locate& locate);
    void AddExtreme(Slot& slot, const Key& key, const Position& position);
    void SetBounds(Slot& slot);
    void Replace(Slot& slot,
                 const Key& shape,
                 const Key& key,
                 std::string_view cell,
                 const Position& position);
    void Examine(std::string_view cell, const Position& position);
    void Merge(const Values::CellReading& reading, std::string_view cell, const Position& position);
    void Flush(Slot& slot);
    std::uint8_t FindWord(std::string_view cell);
    void AddNumbers(const Slot& slot);
    void TryProve();
    [[nodiscard]] Plain& PlainOf(std::uint64_t signature);
    [[nodiscard]] Extremes& ExtremesOf(const Slot& slot);

    ColumnFacts m_facts;
    std::vector<Slot> m_slots; ///< after those of shapes one that counts empty cells
    std::vector<Extremes> m_extremes;
    std::vector<Plain> m_plain;
    std::array<Offered, AsciiReader::Kernels::KnownShapes::kMost> m_offered;
    std::size_t m_offeredCount = 0;
    unsigned m_resting = 0; ///< runs in which nothing is offered
    unsigned m_shift;
    bool m_isText = false;
    std::uint64_t m_unproved = 0; ///< texts since the last look at whether the column is text
};

} // namespace Orvane::Import::Scan
