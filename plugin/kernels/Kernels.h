// The innermost loops over bytes, one set per instruction set, chosen at run time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace AsciiReader::Kernels {

/// Bytes that must be readable after the end of a text that is given to a kernel.
inline constexpr std::size_t kPadding = 64;

/// How lines and fields end in a block.
struct Structure
{
    char separator = ',';   ///< no minus: an empty field would be read as a sign
    char lineEnd = '\n';    ///< the last byte of a line ending
    bool isCrLf = false;    ///< a line end counts only after "\r"
    bool hasQuotes = false; ///< false promises that there are none
};

/// What the index carries from one run of bytes to the next; a new one stands at a line's start.
struct IndexState
{
    std::uint64_t inQuotes = 0; ///< all ones inside quotes, else 0
    std::uint64_t afterCr = 0;  ///< 1 after a "\r", else 0
    std::size_t lineEnds = 0;   ///< line ends among the positions written
};

/// The fields of one column over a run of rows, as positions in the text.
///
/// Field r goes from ends[r * stride - 1] + 1 up to ends[r * stride] - trim, exclusive; positions
/// are 32 bits and wrap, so that the one before the text's first byte is 0xFFFFFFFF. What is
/// trimmed is a "\r" and nothing else, so that no field ends before it begins.
struct FieldRun
{
    const char* text;
    const std::uint32_t* ends;
    std::size_t stride;
    std::uint32_t trim;
    std::size_t rows;
    bool hasQuotes;   ///< fields may begin with a quote: first and last byte are dropped then
    bool emptyIsZero; ///< an empty field is the number 0; otherwise it is no number
    /// Digits after the point of the column's last numbers, 0 to 15: toDoubles tries that place
    /// first and keeps the value from run to run. Null for a run on its own.
    std::uint32_t* decimals = nullptr;
};

/// One of adjacent columns of doubles.
struct DoubleColumn
{
    double* out;
    std::uint32_t decimals; ///< as in FieldRun
    std::uint32_t misses;   ///< a kernel's own
};

/// A field among adjacent columns.
struct FallbackField
{
    std::uint32_t column;
    std::uint32_t row;
};

/// A plain number in its parts.
struct Digits
{
    std::uint64_t mantissa; ///< the digits as a number, the point left out
    unsigned fraction;      ///< digits after the point
    unsigned count;         ///< digits in all
    unsigned sign;          ///< 1 for a minus, else 0
};

/// Where the texts of a column go, one after the other.
struct TextTarget
{
    char* bytes;
    std::size_t size;     ///< bytes that are in use
    std::size_t capacity; ///< bytes that there is room for
    std::uint32_t* ends;  ///< where the end of each row's text is written
    std::size_t longest;  ///< only texts of at most that many bytes are copied
    bool takesHighBytes;  ///< whether texts with bytes of 0x80 or more are copied
};

/// What kinds of values a column holds; starts at none and adds up.
struct TypeFacts
{
    bool hasWholeNumbers = false; ///< `-?digits` of at most nine digits
    bool hasDecimals = false;     ///< `-?[digits].digits` of at most sixteen digits
    bool hasTexts = false;        ///< fields that are no numbers, empty ones among them
    unsigned mostDigits = 0;      ///< of a decimal
};

/// What a run of bytes holds; starts at nothing and adds up.
struct Survey
{
    std::size_t quotes = 0;
    std::uint64_t returns = 0;   ///< not 0 once a "\r" was seen
    std::uint64_t highBytes = 0; ///< not 0 once a byte of 0x80 or more was seen
};

/// Bytes of some kinds; starts at nothing and adds up.
struct ByteCounts
{
    std::uint64_t feeds = 0; ///< "\n"
    std::uint64_t tabs = 0;
    std::uint64_t quotes = 0;
    std::uint64_t unprinted = 0; ///< below a blank or above 0x7F, feeds and tabs among them

    /// Whether all else is printed ASCII.
    [[nodiscard]] bool IsPlain() const { return unprinted == feeds + tabs; }
};

/// The cells of up to eight adjacent columns over a run of rows. Positions are those of FieldRun,
/// `ends` those of the first column; nothing is trimmed.
struct ShapeRun
{
    const char* text;
    const std::uint32_t* ends;
    std::size_t stride;
    std::size_t rows;
    const std::uint64_t* marks; ///< of the text, by markNumbers, and a word more
    unsigned columns;           ///< a bit for each that is looked at
};

/// Shapes that are known of eight adjacent columns, and the cells that were found of them.
///
/// A cell's signature is its marks (32 bits, of two per byte, the first byte's lowest) with its
/// length above them. Its first eight bytes are compared as a big-endian number, zeros in place of
/// what is past its end: it is of a shape when the signatures are equal and that number is from
/// `above` on and less than `between` past it. A shape that is all zeros has no cells.
struct alignas(64) KnownShapes
{
    static constexpr std::size_t kColumns = 8;
    static constexpr std::size_t kMost = 8;

    std::uint64_t signature[kMost][kColumns];
    std::uint64_t above[kMost][kColumns];
    std::uint64_t between[kMost][kColumns];
    /// A cell of the signature that is larger than this is of the shape as well; from then on this
    /// is its number, up to which `between` reaches.
    std::uint64_t most[kMost][kColumns];
    std::uint64_t cells[kMost][kColumns];    ///< added up
    std::uint64_t lastRise[kMost][kColumns]; ///< 1 + the last row of such a cell, else unchanged
    std::size_t count;                       ///< of shapes
};

/// One set of kernels. All sets give the same results.
struct Set
{
    /// Writes the positions of separators and line ends outside quotes in text[from, to) and
    /// returns how many. `positions` has room for to - from + kPadding entries.
    std::size_t (*index)(const char* text,
                         std::size_t from,
                         std::size_t to,
                         const Structure& structure,
                         IndexState& state,
                         std::uint32_t* positions);

    /// Converts plain numbers `-?digits` or `-?digits[.digits]`; the rows of all other fields are
    /// written to `fallbacks` in order, and their count is returned. What `out` holds for fallbacks
    /// rows is not to be used.
    std::size_t (*toDoubles)(const FieldRun& fields, double* out, std::uint32_t* fallbacks);
    std::size_t (*toInt32s)(const FieldRun& fields, std::int32_t* out, std::uint32_t* fallbacks);

    /// As toDoubles for adjacent columns, of which `fields` is the first. For lines so long that
    /// one column at a time would touch much memory per column. `fallbacks` has room for
    /// `count` fields in each row and in three more; its fields come in no order, some twice.
    std::size_t (*toDoublesOfColumns)(const FieldRun& fields,
                                      DoubleColumn* columns,
                                      std::size_t count,
                                      FallbackField* fallbacks);

    /// Copies the texts of the rows from `row` on, up to the first that has a quote in it, is too
    /// long, has a high byte that is not accepted, or for which there is no room: 32 bytes after a
    /// text may be overwritten. @return the row that was not copied, or the number of rows
    std::size_t (*appendTexts)(const FieldRun& fields, std::size_t row, TextTarget& target);

    /// Adds what kinds of values the fields are. Words for true and false ("1" and "0" among them)
    /// add nothing. Fields that need the slow path are listed in `fallbacks` and counted as for
    /// toDoubles.
    std::size_t (*scanTypes)(const FieldRun& fields, TypeFacts& facts, std::uint32_t* fallbacks);

    /// Adds what text[0, size) holds.
    void (*survey)(const char* text, std::size_t size, Survey& survey);

    /// Whether the bytes are valid UTF-8 to the last one.
    bool (*isUtf8)(const char* text, std::size_t size);

    /// Writes two marks of each byte of text[0, size): those of byte i are the bits 2 * (i % 32)
    /// and the next of word i / 32. The lower one says that the byte is no digit, the higher one
    /// that it is odd: that no plain number has it. There is room for (size + 63) / 64 * 2 words.
    ///
    /// A field without an odd byte is made of digits, points and, at its front, a minus; it does
    /// not begin with a point, nor with a zero and a digit, a minus before them aside. That holds
    /// where separators and line ends are no such bytes.
    void (*markNumbers)(const char* text, std::size_t size, std::uint64_t* marks);

    /// Marks the digits of text[0, size) that follow a zero which no digit and no point precedes,
    /// as in `007` and `-05`; bit i of word i / 64 is that of byte i, for (size + 63) / 64 words.
    /// @return whether there is one
    bool (*markCodes)(const char* text, std::size_t size, std::uint64_t* codes);

    /// Adds the counts of text[0, size).
    void (*countBytes)(const char* text, std::size_t size, ByteCounts& counts);

    /// Counts the cells of known shapes. The others of each row are set in its byte of `others`, a
    /// bit for each column. Eight bytes after a cell must be readable. Null in sets in which one
    /// column after the other is faster.
    /// @return the bits of all rows
    unsigned (*countShapes)(const ShapeRun& run, KnownShapes& known, std::uint8_t* others);

    const char* name;
};

/// Writes 1 for the fields "1", "y", "t", "yes" and "true" in any case, 0 for all others. It stands
/// beside the sets: no instruction set makes it faster.
void ToBooleans(const FieldRun& fields, std::uint8_t* out);

inline constexpr std::size_t kMostSets = 4;

/// The best set that this processor runs.
const Set& Best();

/// Every set that this processor runs, the plainest first.
std::size_t GetAll(const Set* (&sets)[kMostSets]);

extern const Set kGeneric;
#if defined(__x86_64__)
extern const Set kSse41;
extern const Set kAvx2;

/// The kernels for processors with AVX-512 VBMI2; the others are those of kAvx2.
std::size_t IndexWithAvx512(const char* text,
                            std::size_t from,
                            std::size_t to,
                            const Structure& structure,
                            IndexState& state,
                            std::uint32_t* positions);
void MarkNumbersWithAvx512(const char* text, std::size_t size, std::uint64_t* marks);
bool MarkCodesWithAvx512(const char* text, std::size_t size, std::uint64_t* codes);
void CountBytesWithAvx512(const char* text, std::size_t size, ByteCounts& counts);
unsigned CountShapesWithAvx512(const ShapeRun& run, KnownShapes& known, std::uint8_t* others);
#endif

} // namespace AsciiReader::Kernels
