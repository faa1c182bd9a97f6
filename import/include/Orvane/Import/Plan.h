// The plan of an import: what a scan of the whole file decides, and on which evidence.
#pragma once

#include <Orvane/Import/Api.h>
#include <Orvane/Import/Progress.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Plans: how a delimited file is to be read so that nothing is lost.
///
/// MakePlan reads a file once (twice where the first look misleads) and decides encoding, line
/// ends, separator, quotes, names, types and coordinates. Each decision says on which evidence,
/// with what confidence, who decided, and what spoke for something else. Nothing is written, and
/// nothing of the plan depends on locale, clock or threads: the same bytes give the same plan.
///
///     const Orvane::Import::Plan plan = Orvane::Import::MakePlan("stations.csv", {});
///     for (const auto& column : plan.columns) {
///         std::cout << column.name << ": " << Orvane::Import::NameOf(column.type.value) << '\n';
///     }
///
/// All texts are UTF-8 and all structs are plain values; two threads may plan two files.
namespace Orvane::Import {

/// How sure a decision is. Certain: all rows agree and every rival is contradicted. Strong: nearly
/// all rows agree and rivals explain clearly less. Tie: an import has to ask.
enum class EConfidence : std::uint8_t {
    Certain,
    Strong,
    Tie,
};

/// Who decided: the caller, the file, or nobody, so that what is usual holds.
enum class EDecider : std::uint8_t {
    Given,
    Found,
    Default,
};

/// A place in the file that proves or contradicts something.
struct PlanPlace
{
    std::uint64_t line = 0; ///< physical line from 1
    std::uint64_t byte = 0; ///< from 0; in the text as PlanBytes::positions says
    std::string text;       ///< the cell or the line, cut to 80 bytes
};

/// What was counted for or against a decision.
struct PlanEvidence
{
    std::string what;
    std::uint64_t count = 0;
    std::vector<PlanPlace> places; ///< the first ones, at most 8
};

/// Another value that a decision could have had.
struct PlanRival
{
    std::string value;
    double support = 0; ///< share of rows that it explains, 0 to 1
    std::string against;
};

/// A value with its reasons.
template <typename Value>
struct PlanDecision
{
    Value value{};
    EConfidence confidence = EConfidence::Certain;
    EDecider decider = EDecider::Found;
    double support = 1; ///< share of rows that it explains, 0 to 1
    std::vector<PlanEvidence> evidence;
    std::vector<PlanRival> rivals;
};

/// How a file's lines end.
enum class EPlanLineEnd : std::uint8_t {
    Feed,          ///< `\n`
    ReturnAndFeed, ///< `\r\n`
    Return,        ///< `\r`
    Mixed,         ///< each of them ends a line
};

/// The file as bytes.
struct PlanBytes
{
    std::uint64_t size = 0;                ///< of the file
    PlanDecision<std::string> compression; ///< "none" or "gzip"
    PlanDecision<std::string> encoding;    ///< as iconv knows it: "UTF-8", "US-ASCII" ...
    bool hasMark = false;                  ///< a byte order mark
    /// "file", or "text" where places count the bytes of the text as UTF-8, unpacked.
    std::string positions = "file";
    /// Each line is quoted as a whole (`"1,""a"""`): the outer quotes are no part of the text, and
    /// two quotes inside are one.
    bool areLinesQuoted = false;
    PlanDecision<EPlanLineEnd> lineEnd;
    std::uint64_t lines = 0; ///< physical lines; a last one without an ending counts
    std::uint64_t feeds = 0; ///< lines that end in `\n` alone
    std::uint64_t returnsAndFeeds = 0;
    std::uint64_t returns = 0;
    bool endsWithLineEnd = true;
    std::uint64_t nuls = 0;
};

/// What separates the fields of a line.
enum class EPlanSeparation : std::uint8_t {
    OneColumn, ///< nothing: a line is a field
    Character,
    Blanks, ///< runs of blanks and tabs
    Widths, ///< fields end at columns of characters
};

/// The separator.
struct PlanSeparator
{
    EPlanSeparation kind = EPlanSeparation::OneColumn;
    char character = ',';            ///< for Character
    bool skipsBlanks = false;        ///< blanks after it are no part of a field
    std::vector<std::uint32_t> ends; ///< for Widths: where each field but the last ends, characters
    /// The column, from 0, that holds the separator without quotes: what a record has more than the
    /// table's count of fields belongs to it.
    std::optional<std::size_t> looseColumn;
};

/// The quotes.
struct PlanQuotes
{
    char character = '"';         ///< 0: none, quotes are text
    bool hasBackslashes = false;  ///< `\"` stands for a quote, beside `""`
    bool openAfterBlanks = false; ///< also after blanks at the front of a field
    bool hasDoubles = false;      ///< `""` in a cell that `'` encloses stands for one `"`
};

/// What lines that are no rows are.
enum class EPlanLines : std::uint8_t {
    Preamble,
    Comment,
    Blank,
    Statement, ///< `sep=;`
    Names,
    Units,
    Rule,          ///< dashes
    RepeatedNames, ///< the names again among the rows
    Footer,        ///< after the last row
    FurtherTable,  ///< rows of another count, at least three in a row
};

/// Lines that are no rows of the table.
struct PlanLines
{
    EPlanLines kind = EPlanLines::Preamble;
    std::uint64_t firstLine = 1;
    std::uint64_t lineCount = 1;
    std::uint64_t byte = 0;
    std::string text; ///< of the first line, cut
};

/// The names again among the rows, in another order.
struct PlanOrder
{
    std::uint64_t line = 0;           ///< of these names
    std::vector<std::size_t> columns; ///< from here on field i belongs to column columns[i]
};

/// The table in the file.
///
/// A record of the text is, by the first of these that fits: before `firstRowByte` what `lines`
/// say; after `lastRowLine` a blank line, footer or further table; blank; a comment when it begins
/// with one of `commentMarks` and has not the table's count of fields; no row when a block of NULs
/// is inside; the names again when its cells are those of one of `namesLines`, blanks at their ends
/// aside; a row when it has the table's count, or more with nothing but empty cells past it, or
/// fewer where `shortRowsAreRows` and each cell fits the type of its column; else a row that does
/// not fit. A record that lies in a piece of `lines` of kind FurtherTable is that, wherever it
/// stands.
struct PlanShape
{
    PlanDecision<PlanSeparator> separator;
    PlanDecision<PlanQuotes> quotes;
    PlanDecision<std::uint64_t> columnCount;
    PlanDecision<bool> hasNames;
    /// The cells of each line of names, and of units and rules under them, as they stand, blanks at
    /// their ends aside.
    std::vector<std::vector<std::string>> namesLines;
    std::vector<PlanOrder> orders;
    std::vector<std::string> commentMarks = {"#", "%", "!", "//"};
    bool shortRowsAreRows = true; ///< cells that a row lacks are null
    std::uint64_t mostFields = 0; ///< of a record among the rows
    std::vector<PlanLines> lines; ///< the first 1,000 pieces
    std::uint64_t firstRowLine = 1;
    std::uint64_t firstRowByte = 0;
    std::uint64_t lastRowLine = 0;   ///< the last line of the table's last record; 0 without rows
    std::uint64_t rows = 0;          ///< records of the table's count of fields
    std::uint64_t continuations = 0; ///< physical lines inside quotes
    std::uint64_t blankLines = 0;    ///< among and after the rows
    std::uint64_t shortRows = 0;     ///< rows with fewer fields, counted in `rows` too
    std::uint64_t longRows = 0;      ///< more fields: no rows
    /// No rows: fewer fields that do not fit from the left, or a block of NULs inside.
    std::uint64_t misfits = 0;
    /// Rows that were read in another way than by the plain rules, because these give another
    /// count of fields: a stray quote, another separator, a line end of another kind.
    std::uint64_t repairedRows = 0;
    bool isCutShort = false; ///< the last line has no ending and fewer fields: no row
};

/// The type of a column.
enum class EPlanType : std::uint8_t {
    Text,
    Integer32,
    Integer64,
    Double,
    Boolean,
    Date,
    Time,
    DateTime,
    Angle, ///< degrees, minutes and seconds in one cell
};

/// What a column is for.
enum class EPlanRole : std::uint8_t {
    Attribute,
    X,
    Y,
    Z,
    Name,
    XHemisphere, ///< a letter E or W for X
    YHemisphere,
    XMinutes,
    YMinutes,
    XSeconds,
    YSeconds,
    /// No name and no value: the lines end in a separator, or all separators stand in pairs.
    TrailingSeparator,
};

/// What the cells of a column look like in the table's first rows, as bits that the cutter of
/// records knows: rows of another count of fields are read by it.
struct PlanForm
{
    std::uint32_t cells = 0;    ///< that were looked at
    std::uint32_t empties = 0;  ///< of these
    std::uint32_t readings = 0; ///< allowed by all cells
    std::uint32_t inAll = 0;    ///< classes of characters that every cell has
    std::uint32_t inSome = 0;   ///< classes of characters that occur
    std::uint32_t longest = 0;  ///< bytes
};

/// A column.
struct PlanColumn
{
    std::size_t index = 0; ///< from 0
    std::string name;      ///< empty without names
    EPlanRole role = EPlanRole::Attribute;
    PlanDecision<EPlanType> type;
    /// How values are spelled where that is not plain: "decimal comma", "thousands ,",
    /// "day first", "degrees minutes seconds" ...; empty otherwise.
    std::string spelling;
    std::uint64_t values = 0;
    std::uint64_t empties = 0;
    std::uint64_t nullWords = 0;            ///< null only where the type is no text
    std::vector<std::string> nullSpellings; ///< the words that are null, at most 3
    bool hasRange = false;                  ///< then of its numbers, in its spelling:
    double least = 0;
    double most = 0;
    std::size_t longest = 0; ///< bytes
    PlanForm form;
};

/// How coordinates are written.
enum class EPlanNotation : std::uint8_t {
    None,    ///< there are no coordinates
    Decimal, ///< degrees as plain numbers
    Sexagesimal,
    Packed,        ///< degrees and minutes in one number
    Cartesian,     ///< metres or the like
    PackedSeconds, ///< degrees, minutes and seconds in one number
};

/// The coordinates. `x` and `y` are both set, or neither.
struct PlanCoordinates
{
    std::optional<std::size_t> x; ///< columns from 0
    std::optional<std::size_t> y;
    std::optional<std::size_t> z;
    EPlanNotation notation = EPlanNotation::None;
    /// What the letter `O` after an angle stands for: 'E' (German) or 'W' (Romance languages); 0
    /// when none is there.
    char letterO = 0;
};

/// One answer to a question: what a caller states to decide it so. Fields that are not set are not
/// part of the answer.
struct PlanAnswer
{
    std::optional<std::size_t> x; ///< column of X, counted from 0
    std::optional<std::size_t> y;
    std::optional<bool> hasNames; ///< whether the first row holds column names
    std::string encoding;         ///< empty: not part of the answer
};

/// Something that only the caller can answer.
struct PlanQuestion
{
    std::string code;                ///< "coordinates", "axes", "names", "encoding"
    std::string text;                ///< one sentence
    std::vector<PlanAnswer> answers; ///< any of them decides; empty when only a person can name one
};

/// Something worth knowing about the file.
struct PlanFinding
{
    std::string code;    ///< "short-row", "mixed-line-ends" ...
    bool isLoss = false; ///< rows or cells cannot stand as they are
    std::string text;    ///< one sentence
    std::uint64_t count = 0;
    std::vector<PlanPlace> places; ///< the first ones, at most 8
};

/// All that is decided about a file.
struct Plan
{
    std::string path;
    PlanBytes bytes;
    PlanShape shape;
    std::vector<PlanColumn> columns;
    PlanDecision<PlanCoordinates> coordinates;
    /// "EPSG:4326", "undefined geographic", "undefined Cartesian", or "" without coordinates. Its
    /// rivals are the systems that are likely where PlanRequest::ranksSystems asks for them, the
    /// likeliest first: only candidates, never applied.
    PlanDecision<std::string> coordinateSystem;
    /// Given: cells with one of these texts are null in every column, blanks at their ends aside.
    std::vector<std::string> nullTexts;
    bool isAllText = false;   ///< given: every cell stays the text it is
    bool hasNoPoints = false; ///< given: the attributes alone
    std::vector<PlanQuestion> questions;
    std::vector<PlanFinding> findings;
};

/// The type of a column that the caller states.
struct PlanColumnType
{
    std::string column; ///< a column's name, or its index from 0
    EPlanType type = EPlanType::Text;
    /// How the cells spell it: "day first", "month first", "decimal comma" or "thousands ,"; empty:
    /// as the cells tell.
    std::string spelling = {};
};

/// What the caller decides; everything else is found. A name of a column goes before an index.
struct PlanRequest
{
    /// One character; "\t" or "tab"; "blanks": runs of blanks and tabs; "none": one column;
    /// "widths:5,14": fields of so many characters, the last one up to the line's end.
    std::optional<std::string> separator;
    std::optional<char> quote; ///< 0: none
    std::optional<bool> hasNames;
    /// How many lines before the table, or before its names, are none of it.
    std::optional<std::uint64_t> skipLines;
    std::string encoding; ///< as iconv knows it; empty: found
    std::string x;        ///< a column's name, or its index from 0; empty: found
    std::string y;
    std::string z;
    std::string nameColumn;
    std::string crs;                    ///< "EPSG:4326" and the like; empty: found
    std::vector<std::string> nullTexts; ///< see Plan
    std::vector<PlanColumnType> types;
    bool isAllText = false;   ///< every cell stays the text it is; no type is decided
    bool hasNoPoints = false; ///< coordinates are neither looked for nor asked for
    /// Ranks the systems that X and Y of an undefined one can be of, by their areas of use. Cost:
    /// up to 3 s, whatever the size of the file.
    bool ranksSystems = false;
};

/// Scans the file and decides.
/// @param path of a regular file, as the system's calls accept it
/// @param callbacks `progress` gets the phase Preparing with bytes, no rows; `note` is not called
/// @throws ImportFailure `no-such-file`, `no-permission`, `is-folder`, `not-a-file`, `read-error`;
///     `compressed` when the file is packed otherwise than by gzip, `damaged` when it cannot be
///     unpacked, `not-text` when it is a workbook, a database, a picture or the like;
///     `type-doubt` for a given type whose spelling the cells leave open,
///     `no-such-column` for a given column that does not exist, `option-value` for a separator that
///     is none, `unknown-codec` for an encoding that the system does not know;
///     `cancelled`
/// Cost: linear; memory is bounded, about 17 MiB and some KiB per column.
[[nodiscard]] ORVANE_IMPORT_EXPORT Plan MakePlan(const std::string& path,
                                                 const PlanRequest& request,
                                                 const Callbacks& callbacks = {});

/// The plan as one JSON object, indented by two blanks, with a line end: the fields of these
/// structs, enumerations by their names in lower case.
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string ToJson(const Plan& plan);

/// The plan that ToJson wrote. Keys that this version does not know are no obstacle; what a plan
/// needs to be followed must be there, evidence need not.
/// @throws ImportFailure `not-a-plan` when the text is no JSON, or a key is missing or holds
///     something else; `subject` is the key, `line` that of a mistake in the JSON
[[nodiscard]] ORVANE_IMPORT_EXPORT Plan PlanFromJson(std::string_view json);

/// Names as people read them and as the JSON has them: "integer", "long integer", "double", "text",
/// "boolean", "date", "time", "date and time", "angle".
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string_view NameOf(EPlanType type);
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string_view NameOf(EPlanSeparation kind);
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string_view NameOf(EConfidence confidence);
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string_view NameOf(EDecider decider);
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string_view NameOf(EPlanLineEnd lineEnd);
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string_view NameOf(EPlanLines lines);
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string_view NameOf(EPlanRole role);
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string_view NameOf(EPlanNotation notation);

/// The separator in words: "comma", "tab", "runs of blanks", "widths 5, 14", "one column", `"^"`.
[[nodiscard]] ORVANE_IMPORT_EXPORT std::string Describe(const PlanSeparator& separator);

} // namespace Orvane::Import
