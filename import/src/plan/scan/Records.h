// How a text is cut into records and fields.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Orvane::Import::Scan {

enum class ESeparation : std::uint8_t {
    OneColumn, ///< a line is a field
    Character, ///< one character between fields
    Blanks,    ///< runs of blanks and tabs, those at a line's ends aside
    Widths,    ///< fields end at columns of characters
};

enum class ELineEnds : std::uint8_t {
    Feeds,   ///< `\n` and `\r\n`
    Returns, ///< `\r` alone
    Any,     ///< all three
};

/// The rules by which records are cut.
struct Dialect
{
    ESeparation separation = ESeparation::OneColumn;
    char separator = ',';
    bool skipsBlanks = false;    ///< blanks after a separator are no part of the field (`, `)
    char quote = '"';            ///< 0: none
    bool hasBackslashes = false; ///< `\"` stands for a quote inside quotes, beside `""`
    ELineEnds lineEnds = ELineEnds::Feeds;
    /// For Widths: where each field but the last ends, in characters (bytes unless isUtf8).
    std::vector<std::uint32_t> ends;
    bool isUtf8 = true;
};

/// A field in the text of its record, without its quotes.
struct Field
{
    std::size_t begin = 0;
    std::size_t size = 0;
    bool isQuoted = false;

    [[nodiscard]] std::string_view In(std::string_view text) const
    {
        return text.substr(begin, size);
    }
};

/// A record as it was cut.
struct Record
{
    /// Further fields are not kept; no file has so many columns.
    static constexpr std::size_t kMostFields = std::size_t{1} << 20U;

    std::vector<Field> fields;
    std::size_t begin = 0;
    std::size_t next = 0;     ///< where the next record begins
    std::uint64_t lines = 1;  ///< physical lines, 1 without line breaks inside quotes
    std::size_t openers = 0;  ///< quotes that opened a field and were closed
    std::size_t strays = 0;   ///< quotes inside a field that are text
    std::size_t unclosed = 0; ///< openers that nothing closes, read as text
    bool isEnded = true;      ///< by a line end; false only for the text's last record
    bool isBlank = false;     ///< nothing but blanks

    [[nodiscard]] std::string_view Cell(std::string_view text, std::size_t index) const
    {
        return fields[index].In(text);
    }
};

/// Cuts records out of a text.
///
/// A quote opens a field only at its front, and closes it only before a separator or a line's end;
/// doubled quotes inside are text, as are quotes elsewhere. An opener that nothing closes within
/// kMostQuoted bytes is text. The cost is linear in the text.
class RecordCutter
{
public:
    static constexpr std::size_t kMostQuoted = std::size_t{1} << 20U;
    static constexpr std::size_t kIncomplete = static_cast<std::size_t>(-1);

    explicit RecordCutter(Dialect dialect);

    /// Cuts the record at `from`.
    /// @param isWhole the text ends with `text`; otherwise a record without its end is incomplete
    /// @param expected how many fields a row has, 0 when that is not known: a quoted field with
    ///     line breaks in a record of another count is read as text when that gives the count
    /// @return false when the record is incomplete
    bool Cut(std::string_view text,
             std::size_t from,
             bool isWhole,
             std::size_t expected,
             Record& record);

    /// To be called when positions begin anew, as for another piece of text.
    void StartPiece() noexcept { m_noCloserBefore = 0; }

    [[nodiscard]] const Dialect& Rules() const noexcept { return m_dialect; }

private:
    bool CutFields(std::string_view text, std::size_t from, bool isWhole, Record& record);
    bool CutSeparated(std::string_view text, bool isWhole, Record& record);
    void CutLine(std::string_view text, std::size_t end, Record& record) const;
    /// The position after a quoted field; `from` when it is text; kIncomplete.
    std::size_t
    SkipQuoted(std::string_view text, std::size_t from, bool isWhole, Record& record, Field& field);
    [[nodiscard]] std::size_t FindLineEnd(std::string_view text, std::size_t from) const;

    [[nodiscard]] bool IsLineEnd(char unit) const noexcept
    {
        return unit == '\n' ? m_dialect.lineEnds != ELineEnds::Returns
                            : unit == '\r' && m_dialect.lineEnds != ELineEnds::Feeds;
    }

    bool EndLine(std::string_view text, std::size_t end, bool isWhole, Record& record) const;

    Dialect m_dialect;
    std::size_t m_noCloserBefore = 0; ///< no opener before this position is closed
    std::size_t m_textUntil = 0;      ///< openers before this position are text
};

} // namespace Orvane::Import::Scan
