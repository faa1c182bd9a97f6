// How a text is cut into records and fields.
#pragma once

#include "CellForm.h"

#include <algorithm>
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
    static constexpr std::size_t kNoColumn = static_cast<std::size_t>(-1);

    ESeparation separation = ESeparation::OneColumn;
    char separator = ',';
    bool skipsBlanks = false;      ///< blanks after a separator are no part of the field (`, `)
    char quote = '"';              ///< 0: none
    bool hasBackslashes = false;   ///< `\"` stands for a quote inside quotes, beside `""`
    bool opensAfterBlanks = false; ///< a quote after blanks at the front of a field opens it
    bool hasDoubles = false;       ///< `""` in a cell that another quote encloses stands for `"`
    /// The column that holds the separator without quotes, so that what a record has more belongs
    /// to it; kNoColumn for none.
    std::size_t looseColumn = kNoColumn;
    ELineEnds lineEnds = ELineEnds::Feeds;
    /// Most lines end in `\r\n`: a row that a lone `\n` leaves short may go on after it.
    bool joinsFeeds = false;
    /// For Widths: where each field but the last ends, in characters (bytes unless isUtf8).
    std::vector<std::uint32_t> ends;
    /// For Widths: blanks were found before each column, so that a word across a column's end tells
    /// that the line has longer texts than others.
    bool hasGutters = false;
    bool isUtf8 = true;

    /// Whether separators and quotes alone tell the fields, as in an index of them.
    [[nodiscard]] bool IsPlain() const noexcept
    {
        return (separation == ESeparation::Character && !skipsBlanks && !opensAfterBlanks) ||
               separation == ESeparation::OneColumn;
    }
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

/// How a row was read that the plain rules cut into another count of fields.
enum class ERepair : std::uint8_t {
    None,
    Quotes,     ///< a stray or missing quote
    Separator,  ///< by a separator that the other rows do not have
    EmptyCells, ///< without empty cells that shifted the others
    LineEnd,    ///< a line end of another kind is part of a field, or ends the row
    NulBlock,   ///< without the block of NULs before or after it
    Loose,      ///< one column holds the separator without quotes
};

/// How many kinds of repairs there are, with None.
inline constexpr std::size_t kRepairs = 7;

/// The byte order mark of UTF-8.
inline constexpr std::string_view kMark = "\xEF\xBB\xBF";

/// So many NULs in a row are none of a text's: a logger that lost its power leaves them.
inline constexpr std::size_t kNulBlock = 16;

/// Where the first block of NULs begins; npos without one.
[[nodiscard]] std::size_t FindNulBlock(std::string_view text) noexcept;

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
    bool isBlank = false;     ///< nothing but blanks and NULs
    bool isDamaged = false;   ///< a block of NULs is in it, and it cannot be read without
    bool isShifted = false;   ///< cells are missing, and not the last ones
    ERepair repair = ERepair::None;

    [[nodiscard]] std::string_view Cell(std::string_view text, std::size_t index) const
    {
        return fields[index].In(text);
    }
};

/// Cuts records out of a text.
///
/// A quote opens a field only at its front (or after blanks there, where the dialect says so), and
/// closes it only before a separator or a line's end; doubled quotes inside are text, as are quotes
/// elsewhere. An opener that nothing closes within kMostQuoted bytes is text; so is one that only a
/// line after a block of NULs closes.
///
/// A record of another count than expected is looked at again: a quote may be stray or missing, an
/// opener may swallow whole rows, the line may have another separator or a doubled one, or a line
/// end of a kind that the others do not have. Where exactly one reading gives the count, that is
/// it (Record::repair). A block of NULs before or after a row is none of it. The cost is linear in
/// the text; past a budget records stay as they are.
class RecordCutter
{
public:
    static constexpr std::size_t kMostQuoted = std::size_t{1} << 20U;
    static constexpr std::size_t kIncomplete = static_cast<std::size_t>(-1);

    /// @param forms of the table's columns, by which readings are told apart; may be empty
    explicit RecordCutter(Dialect dialect, std::vector<CellForm> forms = {});

    /// Cuts the record at `from`.
    /// @param isWhole the text ends with `text`; otherwise a record without its end is incomplete
    /// @param expected how many fields a row has, 0 when that is not known
    /// @return false when the record is incomplete
    bool Cut(std::string_view text,
             std::size_t from,
             bool isWhole,
             std::size_t expected,
             Record& record);

    /// To be called when positions begin anew, as for another piece of text.
    /// @param gone how many bytes of the piece before are no part of this one
    void StartPiece(std::size_t gone = static_cast<std::size_t>(-1)) noexcept
    {
        m_noCloserBefore -= std::min(gone, m_noCloserBefore);
    }

    [[nodiscard]] const Dialect& Rules() const noexcept { return m_dialect; }

private:
    bool CutFields(std::string_view text,
                   std::size_t from,
                   bool isWhole,
                   Record& record,
                   std::size_t expected = 0);
    bool CutSeparated(std::string_view text, bool isWhole, Record& record);
    void
    CutLine(std::string_view text, std::size_t end, std::size_t expected, Record& record) const;
    /// The position after some characters; the text's end when it has less.
    [[nodiscard]] std::size_t
    SkipCharacters(std::string_view text, std::size_t at, std::size_t count) const;
    /// Where a cell of a column with blanks before the next one ends: at the column's end, or where
    /// a word across it begins or ends, by the blanks around it.
    /// @param begin of the cell
    /// @param end of the column
    /// @param nextEnd the end of the next column
    /// @return kIncomplete when the word may belong to either column
    [[nodiscard]] static std::size_t FindWordsEnd(std::string_view line,
                                                  std::size_t begin,
                                                  std::size_t end,
                                                  std::size_t nextEnd) noexcept;
    /// The position after a quoted field; `from` when it is text; kIncomplete.
    std::size_t
    SkipQuoted(std::string_view text, std::size_t from, bool isWhole, Record& record, Field& field);
    [[nodiscard]] std::size_t FindLineEnd(std::string_view text, std::size_t from) const;

    [[nodiscard]] bool IsLineEnd(std::string_view text, std::size_t at) const noexcept
    {
        const char unit = text[at];
        return unit == '\n' ? m_ends != ELineEnds::Returns &&
                                  (!m_keepsFeeds || (at > 0 && text[at - 1] == '\r'))
                            : unit == '\r' && m_ends != ELineEnds::Feeds;
    }

    enum class EJoin : std::uint8_t {
        None,
        Joined,
        Incomplete, ///< more of the text may tell
    };

    /// Reads a record that has a block of NULs without it, where it stands before or after the
    /// rest.
    void ReadBesideNuls(std::string_view text, std::size_t expected, Record& record);
    /// Looks for the one reading that gives a record its count.
    void Repair(std::string_view text, std::size_t expected, Record& record);
    /// Reads a line with quotes that stand at a cell's side without a separator (`a"b,c",1`): where
    /// a separator at one place only gives the count, and cells that fit.
    bool SplitGlued(std::string_view text, std::size_t end, std::size_t expected, Record& record);
    bool ReadFirstLine(std::string_view text, std::size_t expected, Record& record);
    /// Ends a record with its first line where a whole row follows.
    /// @param next the line after, at `after`
    bool CutBeforeWholeRow(std::string_view text,
                           std::string_view next,
                           std::size_t after,
                           std::size_t expected,
                           Record& record);
    bool JoinLooseCells(std::string_view text, std::size_t expected, Record& record) const;
    bool ReadOtherSeparator(std::string_view text, std::size_t expected, Record& record) const;
    EJoin JoinLines(std::string_view text, bool isWhole, std::size_t expected, Record& record);
    bool SplitAtReturn(std::string_view text, std::size_t expected, Record& record);
    /// Whether the surplus cells are empty, and the others look like those of their columns.
    [[nodiscard]] bool HasTrailingCells(std::string_view text,
                                        std::size_t expected,
                                        const std::vector<Field>& fields) const;
    /// The count of a line's fields by the plain rules, 0 when it has stray quotes.
    [[nodiscard]] std::size_t CountFields(std::string_view line) const;

    bool EndLine(std::string_view text, std::size_t end, bool isWhole, Record& record) const;

    Dialect m_dialect;
    std::vector<CellForm> m_forms;
    std::size_t m_noCloserBefore = 0; ///< no opener before this position is closed
    ELineEnds m_ends;                 ///< which line ends hold now
    bool m_keepsFeeds = false;        ///< a `\n` without a `\r` before it ends nothing now
    std::uint64_t m_compared = 0;     ///< of the budget of readings
    std::uint64_t m_budget = std::uint64_t{1} << 24U;
};

} // namespace Orvane::Import::Scan
