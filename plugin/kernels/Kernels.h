// The innermost loops over bytes, one set per instruction set, chosen when the module is loaded.
#pragma once

#include <cstddef>
#include <cstdint>

namespace AsciiReader::Kernels {

/// What must be readable behind a text that is given to a kernel, in bytes.
inline constexpr std::size_t kPadding = 64;

/// How lines and fields end in a block.
struct Structure
{
    char separator = ',';
    char lineEnd = '\n';    ///< the last byte of a line ending
    bool isCrLf = false;    ///< a line end counts only behind "\r"
    bool hasQuotes = false; ///< false promises that there are none
};

/// What the index carries from one run of bytes to the next; a new one stands at a line's start.
struct IndexState
{
    std::uint64_t inQuotes = 0;  ///< all ones inside quotes, else 0
    std::uint64_t afterCr = 0;   ///< 1 behind a "\r", else 0
    std::uint64_t highBytes = 0; ///< not 0 once a byte of 0x80 or more was seen
    std::size_t lineEnds = 0;    ///< line ends among the positions written
};

/// The fields of one column over a run of rows, as positions in the text.
///
/// Field r goes from ends[r * stride - 1] + 1 up to ends[r * stride] - trim, exclusive; positions
/// are 32 bits and wrap, so that the one in front of the text's first byte is 0xFFFFFFFF.
struct FieldRun
{
    const char* text;
    const std::uint32_t* ends;
    std::size_t stride;
    std::uint32_t trim;
    std::size_t rows;
    bool hasQuotes; ///< fields may begin with a quote: first and last byte are dropped then
};

/// A plain number in its parts.
struct Digits
{
    std::uint64_t mantissa; ///< the digits as a number, the point left out
    unsigned fraction;      ///< digits behind the point
    bool isNegative;
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

    /// Converts plain numbers `-?digits` or `-?digits[.digits]`; the rows of all other fields,
    /// empty ones included, are written to `odd` in order, and their count is returned. What `out`
    /// holds for odd rows is not to be used.
    std::size_t (*toDoubles)(const FieldRun& fields, double* out, std::uint32_t* odd);
    std::size_t (*toInt32s)(const FieldRun& fields, std::int32_t* out, std::uint32_t* odd);

    /// Number of bytes that equal `byte`.
    std::size_t (*countByte)(const char* text, std::size_t size, char byte);

    const char* name;
};

/// The best set that this processor runs.
const Set& Best();

/// Every set that this processor runs, the plainest first.
std::size_t GetAll(const Set* (&sets)[3]);

extern const Set kGeneric;
#if defined(__x86_64__)
extern const Set kSse41;
extern const Set kAvx2;
#endif

} // namespace AsciiReader::Kernels
