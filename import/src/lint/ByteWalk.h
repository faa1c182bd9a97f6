// The places of bytes that no record shows: line ends of other kinds, NULs, what is no UTF-8.
#pragma once

#include "Place.h"
#include "plan/scan/TextSource.h"

#include <Orvane/Import/Plan.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace Orvane::Import {

/// What a byte walk finds.
enum class EOddByte : std::uint8_t {
    LineEnd, ///< of another kind than most of the file's
    Nul,
    InvalidUtf8,
    NotLatin1, ///< 0x80 to 0x9F in windows-1252, which are controls in ISO-8859-1
};

/// Some bytes of one kind in a row.
struct OddBytes
{
    EOddByte kind = EOddByte::LineEnd;
    Place place;
    std::uint64_t count = 1;                   ///< bytes; 1 for a line end
    EPlanLineEnd lineEnd = EPlanLineEnd::Feed; ///< of a LineEnd: which it is
};

/// Walks over the bytes of a file beside the walk over its records. Memory is one piece.
///
/// Use: AdvanceTo with growing positions, then Finish once.
class ByteWalk
{
public:
    using Add = std::function<void(const OddBytes&)>;

    /// Whether the plan says that there is something to find.
    [[nodiscard]] static bool IsNeeded(const Plan& plan);

    /// @throws ImportFailure as TextSource
    ByteWalk(const Plan& plan, Add add);

    /// Reports what stands before a byte. @throws ImportFailure `read-error`, `damaged`
    void AdvanceTo(std::uint64_t byte);

    /// Reports the rest.
    void Finish();

private:
    bool Fill();
    void Walk(std::uint64_t end);
    void EndLine(EPlanLineEnd kind, std::size_t size);
    std::size_t MeasureCharacter() const;
    void ReportRun();

    std::unique_ptr<Scan::TextSource> m_source; ///< never null
    Add m_add;
    bool m_findsLineEnds;
    bool m_findsInvalid;
    bool m_findsNotLatin1;
    bool m_isUtf8;
    EPlanLineEnd m_usual; ///< the kind of most lines
    EPlanLineEnd m_rule;  ///< what ends a line
    std::vector<char> m_buffer;
    std::size_t m_size = 0;
    std::size_t m_at = 0;
    std::uint64_t m_byte = 0; ///< where the buffer begins in the text, after a mark
    bool m_isAtEnd = false;
    std::uint64_t m_line = 1;
    std::uint64_t m_character = 1;
    OddBytes m_run; ///< bytes that are not reported yet
    bool m_hasRun = false;
};

} // namespace Orvane::Import
