// The table of a file as its plan says: every record classed, every row typed, nothing lost.
#pragma once

#include <Orvane/BColumnData.h>
#include <Orvane/BGeometry.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Import/Plan.h>
#include <Orvane/Import/Progress.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Pass 2 of an import. A plan says how the file is to be read; the code here obeys it and decides
/// nothing by itself, so that a saved plan gives the same table again.
///
///     const Plan plan = MakePlan(file, {});
///     TableRequest request;
///     request.makesPoints = plan.coordinates.value.x.has_value();
///     const TableLayout layout = LayOutTable(plan, request); // what the layer will look like
///     const TableCounts counts = ReadTable(plan, request, *layer, sink, callbacks);
///
/// A plan may be followed on another file than its own, of another size. The head is as many lines
/// then, and what the plan says of places after it (the last row, footers, further tables) does not
/// count; names in another order are followed where they stand.
///
/// All texts are UTF-8. Lines and columns count from 1, bytes and indices from 0. Bytes are those
/// of the file after its byte order mark, as the plan counts them; where the plan's `positions` is
/// "text", those of the text as UTF-8, unpacked. Lines are numbered as the plan numbers them.
namespace Orvane::Import {

/// What a record of the file is; each is of exactly one kind.
enum class ERecord : std::uint8_t {
    Head, ///< before the first row: names, units, preamble, comments, blank lines
    Row,
    Blank,
    Comment,
    RepeatedNames, ///< the names again among the rows
    Footer,        ///< after the last row
    FurtherTable,
    Bad, ///< should be a row, and cannot be one
};

/// Why a record is bad. Where a record is bad for several reasons, the first of them in this order
/// is said.
enum class EBadRow : std::uint8_t {
    None,
    TooLong,   ///< past kMostRecordBytes
    Encoding,  ///< bytes that are no characters of the plan's encoding
    NulBlock,  ///< a block of NULs is inside
    OpenQuote, ///< a quote that nothing closes, in a row of another count of fields
    CutShort,  ///< the last line, without an ending and with fewer fields
    LongRow,   ///< more fields than the table has columns
    ShortRow,  ///< fewer fields, and its cells do not fit from the left
    Value,     ///< a cell that is no value of its column's type
};

/// The word of a reason, as reports and files of rejected rows have it: "too-long", "encoding",
/// "nul-block", "open-quote", "cut-short", "long-row", "short-row", "value"; "" for None.
[[nodiscard]] std::string_view NameOf(EBadRow why) noexcept;

/// Longer records are bad, whole; what is kept of them is their beginning.
inline constexpr std::size_t kMostRecordBytes = std::size_t{16} << 20U;

/// One record. The views are valid until the next record is asked for.
struct TableRecord
{
    ERecord kind = ERecord::Row;
    EBadRow why = EBadRow::None;
    EPlanLines headKind = EPlanLines::Preamble; ///< of a Head: what its line is
    std::uint64_t line = 0;                     ///< its first physical line
    std::uint64_t lines = 1;                    ///< how many physical lines it has
    std::uint64_t byte = 0;                     ///< where it begins
    std::size_t column = 0; ///< of a Bad: the field that is at fault, from 1; 0: the whole record
    /// The cells as texts: quotes removed, doubled quotes single, in UTF-8, blanks as they are. Of
    /// a Row at least as many as the table has columns unless isShort; surplus ones only with
    /// isTrailing (all empty) or TableRequest::isAllText. Empty for Blank and for records that are
    /// no records of the table, such as a preamble.
    std::vector<std::string_view> cells;
    /// As it stands, in UTF-8 (U+FFFD for what is no character), line breaks inside quotes kept,
    /// without the line end that ends it. Of TooLong its first 64 KiB.
    std::string_view raw;
    bool isTrailing = false; ///< a row with surplus empty cells
    bool isShort = false;    ///< a row with fewer cells than columns
    bool isRepaired = false; ///< a row with stray quotes that were read as text
};

/// Columns for surplus cells; rows with more of them are bad.
inline constexpr std::size_t kMostExtraColumns = 1000;

/// How the table is to be read, beside what the plan decides.
struct TableRequest
{
    /// Make points of the plan's X and Y. Without effect on a plan without coordinates, and with
    /// isAllText.
    bool makesPoints = true;
    /// Every cell stays the text that it is; empty ones are empty texts, not nulls. A short row has
    /// fewer attributes; surplus cells of long rows get columns of their own, "extra_1" and so on,
    /// at most kMostExtraColumns, which the other rows lack. There are no points.
    bool isAllText = false;
    /// Cells that are null in every column, beside empty ones, spelled exactly so; with isAllText
    /// without effect.
    std::vector<std::string> nullTexts;
    /// Reading ends after so many rows; 0: all. Bad rows do not count.
    std::uint64_t mostRows = 0;
    /// Converts every row on its own. Slower, and the same result: for comparing both ways.
    bool isOneByOne = false;
};

/// Physical lines by what they are. Their sum is the number of lines of the file.
struct TableLines
{
    std::uint64_t names = 0;    ///< names, units, rules under them
    std::uint64_t preamble = 0; ///< and a `sep=` statement
    std::uint64_t comments = 0; ///< before and among the rows
    std::uint64_t blanks = 0;
    std::uint64_t repeatedNames = 0;
    std::uint64_t footers = 0;
    std::uint64_t furtherTables = 0;
    std::uint64_t rows = 0;          ///< the first line of each row
    std::uint64_t continuations = 0; ///< the further lines of rows
    std::uint64_t bad = 0;           ///< all lines of bad rows

    [[nodiscard]] std::uint64_t Sum() const noexcept
    {
        return names + preamble + comments + blanks + repeatedNames + footers + furtherTables +
               rows + continuations + bad;
    }
};

/// The records of a file, one after the other, each classed by the rules of a plan.
///
/// Reads the file once, from its begin; memory is bounded by the longest record, at most
/// kMostRecordBytes and what its cells need. Cost: linear. One thread at a time.
///
///     TableWalk walk(plan, request);
///     TableRecord record;
///     while (walk.Next(record)) {
///         if (record.kind == ERecord::Bad) {
///             std::cout << record.line << ": " << NameOf(record.why) << '\n';
///         }
///     }
///
/// A walk finds all reasons but Value: see FindMisfit.
class TableWalk
{
public:
    /// Opens the plan's file. @throws ImportFailure `no-such-file`, `no-permission`, `is-folder`,
    /// `not-a-file`, `read-error`, `compressed`; `unknown-codec` for an encoding that the system
    /// does not have
    TableWalk(const Plan& plan, const TableRequest& request);
    ~TableWalk();
    TableWalk(const TableWalk&) = delete;
    TableWalk& operator=(const TableWalk&) = delete;

    /// The next record. @return false at the file's end; `record` is unspecified then.
    /// @throws ImportFailure `read-error`, `damaged`
    bool Next(TableRecord& record);

    /// The first cell of a row that is no value of its column's type, from 1; 0 when all are. The
    /// walk does not ask this of rows by itself, as it costs about as much as the walk; ReadTable
    /// makes such a row Bad with the reason Value.
    [[nodiscard]] std::size_t FindMisfit(const TableRecord& row) const noexcept;

    /// The lines of the records that Next has given so far, by class.
    [[nodiscard]] const TableLines& Lines() const noexcept;

    /// Bytes of the text that have been walked over, for progress; of PlanBytes::size where the
    /// plan's `positions` is "file".
    [[nodiscard]] std::uint64_t BytesDone() const noexcept;

private:
    class State;
    std::unique_ptr<State> m_state; ///< never null
};

/// What a layer of the table looks like.
struct TableLayout
{
    static constexpr std::size_t kNoSource = std::numeric_limits<std::size_t>::max();

    /// The attributes, in the order of the file's columns, under their names as they are; names may
    /// occur twice. A column without a name is "C" and its number in the file, from 1, as the
    /// reader names it, or with isAllText nameless as in the file. The column that a trailing
    /// separator makes is an attribute with isAllText alone.
    std::vector<BColumnInfo> columns;
    /// The plan's column that each attribute is from; kNoSource for a column of surplus cells.
    std::vector<std::size_t> sources;
    bool hasPoints = false;
    bool hasZ = false;
    /// The column that names the features; kNoSource: they are named by the row's number, from 1.
    std::size_t nameSource = kNoSource;
};

/// The layer that ReadTable makes of a plan.
///
/// Rule: the columns of X, Y and Z are attributes as well unless they are plain decimal numbers and
/// every row has all of them, in range for degrees, so that no cell is lost. Columns of
/// hemispheres, minutes and seconds, and angles in words, always are attributes.
/// Rule: a column that names the features stays an attribute.
[[nodiscard]] TableLayout LayOutTable(const Plan& plan, const TableRequest& request);

/// Receives bad rows in the order of the file.
class BadRowSink
{
public:
    virtual ~BadRowSink();
    /// @param record of kind Bad; valid during the call
    /// @throws an ImportFailure stops the reading and leaves ReadTable unchanged
    virtual void Add(const TableRecord& record) = 0;
};

/// The cells of one column, over all rows. values + empties + nullWords = rows.
struct ColumnCounts
{
    std::uint64_t values = 0;
    std::uint64_t empties = 0;   ///< empty cells and those that short rows lack
    std::uint64_t nullWords = 0; ///< cells that are null by the plan's words or the request's texts
};

/// What ReadTable has read.
struct TableCounts
{
    std::uint64_t rows = 0;
    std::uint64_t points = 0;
    std::uint64_t rowsWithoutPoint = 0; ///< points + rowsWithoutPoint = rows with hasPoints
    std::uint64_t outOfRange = 0;       ///< rows without a point whose X and Y are numbers
    std::uint64_t lineWithoutPoint = 0; ///< of the first such row; 0 without one
    std::uint64_t badRows = 0;
    std::map<EBadRow, std::uint64_t> bad; ///< badRows by reason
    std::uint64_t shortRows = 0;          ///< rows whose last cells are missing
    std::uint64_t trailingRows = 0;       ///< rows with surplus empty cells
    std::uint64_t repairedRows = 0;       ///< rows with stray quotes read as text
    TableLines lines;
    std::vector<ColumnCounts> columns; ///< of each column of the plan
    BMBB extent;                       ///< of the points
    std::uint64_t rowsByColumn = 0;    ///< rows that were converted column by column
    bool isStoppedAtMost = false;      ///< at TableRequest::mostRows; `lines` are those read
};

/// Reads the table of a plan into a layer.
///
/// Runs of rows that have a field for each column are converted column by column by the reader's
/// own kernels, at its speed; all other records are cut and converted one by one. The file is read
/// as it stands: no copy is made of it, in memory or on the disk.
///
/// Integers, doubles and booleans are stored as such, dates and times as texts of ISO 8601, all
/// else as UTF-8. An empty cell is null; so is a cell of blanks, a null word of the plan and a text
/// of `nullTexts`, the first two of these not in a column of texts. A number is the double nearest
/// to its spelling. No value is changed to fit: a row with a cell that does not fit goes to the
/// sink. A row has a point when its X and Y are finite numbers, for degrees at most 360 and 90 in
/// size; otherwise it is a row without a point. A point has a Z where the row has one.
///
/// @param layer empty; gets the schema and the rows. Name and coordinate system are the caller's,
///     as is a consumer of its pages. After a throw it holds the rows before.
/// @param sink gets every bad row, in order
/// @param callbacks its `progress` gets the phase Reading only, physical lines and bytes done;
/// `note`
///     is not called
/// @throws ImportFailure as TableWalk; `cancelled`; what the layer's disk cache throws;
///     std::bad_alloc
TableCounts ReadTable(const Plan& plan,
                      const TableRequest& request,
                      BVectorLayer& layer,
                      BadRowSink& sink,
                      const Callbacks& callbacks);

} // namespace Orvane::Import
