// What leaves the import library when something fails: one exception type with fields.
#pragma once

#include <Orvane/BString.h>
#include <Orvane/Import/Api.h>
#include <Orvane/Import/Plan.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane::Import {

/// Who can put it right.
enum class EFailureKind {
    Request,   ///< the caller: the request does not fit the file, or contradicts itself
    Input,     ///< the place of the file: missing, a folder, empty, not readable
    Content,   ///< the text of the file
    Output,    ///< the place that is written to, or what it can hold
    Module,    ///< the plug-in: missing, not loadable, or failing by itself
    Cancelled, ///< nobody: the caller has cancelled
    Internal   ///< this library: a mistake in it
};

/// A column as a question or a failure shows it. Texts are valid UTF-8, not escaped.
struct ColumnSample
{
    std::string name;       ///< "C1", "C2" and so on when the file gives none
    std::string firstValue; ///< the text of the first row of data; empty when there is none
};

/// The texts of an exception of the SDK or of the plug-in, unchanged.
struct UnderlyingTexts
{
    /// The SDK class's plain name, otherwise the C++ type's name; "unknown" for what is no
    /// std::exception; empty when there is no exception underneath.
    std::string className;
    BString location; ///< empty when the exception has none
    BString message;
    BString details; ///< empty for SDK subclasses, whose message is their details text
};

// clang-format off
/// The fields of a failure. All texts are UTF-8 and not escaped: they may hold control characters
/// of the file, and `file` and `value` are the bytes that the caller gave (DisplayText.h makes any
/// of them safe to show). They are plain English, and name no argument of any program.
///
/// `code` is stable: programs compare it, and add their own advice by it. There is one for each
/// cause; these are all, with their kinds and the further fields that they set:
///
///     Request
///         unknown-option       no reader option has the key `value`; `nearest`
///         option-value         `value` does not fit the option `subject`
///         option-file          the option file `file` cannot be read, or is not valid
///         unknown-format       the extension of the output `value` is of no format; `nearest`: all of them
///         extension-case       the extension of the output `value` must be `subject`, in small letters
///         crs-form             `value` is not written as AUTHORITY:CODE
///         unknown-crs          there is no coordinate system `value`
///         no-database-driver   the output is a database, and this library was built without libpq
///         output-is-input      both are the same file
///         no-driver            the GDAL at hand has no driver `value`
///         creation-option      the format has no creation option `value`, or the option not that
///                              value; `nearest`: all of them
///         one-layer            files of the format hold one layer: none can be appended to or named
///         columns-unknown      the columns of X and Y are not certain; `columns`, `missing`; `matches`
///                              holds the one of the two that is known. Of a plan: `answers`, and in
///                              `fieldsFound` the bad rows that must be put aside as well
///         names-unknown        whether the first line holds names is not certain; `columns`, `answers`
///         encoding-unknown     the encoding is not certain; `columns`, `answers`
///         crs-unknown          the format needs a coordinate system, and the points' is not known
///         type-doubt           the cells of the column `value`, given the type `subject`, can be
///                              read in the two ways `nearest`, spellings of PlanColumnType
///         no-such-column       no column has the name `value`; `subject` is X, Y, Z, name or type;
///                              `columns`
///         column-beyond        the index `value` is beyond the last column; `subject`, `columns`
///         column-ambiguous     several columns have the name `value`; `subject`, `columns`, `matches`
///         column-given-twice   `subject` is given as a column and by the option `value`
///         column-negative      the option `subject` is the negative number `value`
///         columns-equal        X, Y and Z are not different columns
///         unknown-codec        there is no text encoding `value`
///         row-position         NAME_COLUMN or COLUMN_DEFINITION do not fit the columns of the file
///     Input
///         name-encoding        the name of the file is not valid UTF-8
///         no-such-file         nothing exists at the path
///         is-folder            the path is a folder
///         not-a-file           the path is a pipe, a socket or a device
///         no-permission        the system does not let the file be read
///         empty-file           the file has no byte
///         read-error           the system fails to read the file
///         file-changed         the file was written to while it was read
///         compressed           the file is packed otherwise than by gzip
///         damaged              a packed file cannot be unpacked
///         not-text             the file is a workbook, a database, a picture ...
///         not-a-plan           the file is no plan; `subject` is the key, `line` of a mistake in the JSON
///         no-separator         neither options nor extension say how fields are separated
///     Content
///         unmatched-quote      a quote is never closed; `line`, `column`, `row`
///         row-fields           a row has more fields than there are columns; `line`, `column`,
///                              `fieldsFound`, `fieldsExpected`, `row`
///         row-values           a row cannot be converted for another reason; `line`, `row`
///         too-few-fields       a row lacks a coordinate; `line`, `fieldsFound`, `fieldsExpected`, `row`
///         preview-fields       the first two rows differ in their number of fields; `line` of the second,
///                              `fieldsFound`, `fieldsExpected`, `row`
///         no-data              there is no row of data
///         line-too-long        a line is longer than the reader reads
///         bad-rows             more rows are bad than the request allows; `line`, `column`, `row` of the
///                              first, `subject` its reason, `fieldsFound` how many there are,
///                              `fieldsExpected` how many are allowed; `value` the encoding when most
///                              of them are no text of it
///         no-row-fits          all rows are bad; otherwise as bad-rows
///         no-point             no row has a point; `columns`, and `answers` where X and Y look swapped
///         plan-unfit           the file does not fit the plan that is to be followed; `line`
///         reader               the reader fails for another reason; `underneath`
///     Output
///         output-folder        the folder of the output is missing, or cannot be written
///         output-not-a-file    something other than a file is in the place of the output
///         rejected-exists      a file of bad rows has to be written, and something else has its name
///         output-in-use        another program has the output open
///         output-closed        the program that reads standard output has ended
///         database             the database cannot be reached, or lets nobody in
///         layer-exists         there is a layer or a table of that name, and the request does not
///                              say what becomes of it
///         layer-schema         the rows do not fit the layer that they are to be appended to;
///                              `cause` names the column
///         output-write         writing fails; `cause` is the text of the system or of the format
///         too-many-columns     the format holds fewer columns
///         cache-folder         the folder `value` cannot hold the disk cache
///         cache-file           the disk cache cannot be written or read
///     Module
///         no-module            there is no plug-in at the place
///         module-load          the plug-in cannot be loaded, or is none
///         library-load         liborvanegdal cannot be loaded, which GDAL's formats, databases and
///                              all coordinate systems but EPSG:4326 need; `cause` is the system's text
///         unsupported-type     the plug-in does not read files of this extension
///         module-failure       the plug-in makes no reader or no layer, or an exception leaves it that
///                              is none of the SDK's
///     Cancelled
///         cancelled            the caller has cancelled; the output is as it was
///     Internal
///         internal             anything else
// clang-format on
struct FailureFields
{
    EFailureKind kind = EFailureKind::Internal;
    std::string code = "internal";
    std::string what;         ///< what happened: one sentence
    std::string file;         ///< the file that it is about, as the caller gave it; bytes
    std::uint64_t line = 0;   ///< physical line of the file, counted from 1; 0: not known
    std::uint64_t column = 0; ///< field of the row, counted from 1; 0: not known
    std::string cause;        ///< why, one sentence; empty when `what` says all
    std::string advice;       ///< what to do, one sentence; empty when nothing is known to help
    std::string subject;      ///< see the table
    std::string value;        ///< see the table; as the caller gave it
    std::uint64_t fieldsFound = 0; ///< fields of the row; 0: not counted
    std::uint64_t fieldsExpected = 0;
    std::string row;                   ///< text of the row at `line`, at most 1000 characters
    std::vector<std::string> nearest;  ///< known words, the nearest first
    std::vector<std::string> missing;  ///< "X", "Y": what is not known
    std::vector<std::size_t> matches;  ///< indices into `columns`
    std::vector<ColumnSample> columns; ///< all columns of the file, by index
    /// Of a plan's question: each answer alone is enough for an import. Empty: any columns.
    std::vector<PlanAnswer> answers;
    bool isPlanned = false;            ///< a plan asks
    bool hasColumnNames = false;       ///< the names of `columns` are the first line's
    bool mayHaveSkippedHeader = false; ///< header options are set, which a preview does not follow
    UnderlyingTexts underneath;
};

/// The one exception of this library beside std::bad_alloc: every public call throws these two and
/// nothing else. Exceptions of the SDK and of the plug-in become one of this type, with their texts
/// in GetFields().underneath.
///
/// Copies share the fields; neither copying nor a getter throws. No code of a plug-in is needed to
/// use or destroy it, so that it may outlive the plug-in's module.
///
///     try {
///         ImportFile(request);
///     } catch (const ImportFailure& failure) {
///         const FailureFields& fields = failure.GetFields();
///         show(fields.file, fields.line, fields.what, fields.cause, fields.advice);
///     }
class ORVANE_IMPORT_EXPORT ImportFailure : public std::exception
{
public:
    explicit ImportFailure(FailureFields fields);
    ImportFailure(const ImportFailure&) noexcept;
    ImportFailure& operator=(const ImportFailure&) noexcept;
    ~ImportFailure() override;

    [[nodiscard]] const FailureFields& GetFields() const noexcept;

    [[nodiscard]] EFailureKind GetKind() const noexcept { return GetFields().kind; }

    /// Whether the failure has that code.
    [[nodiscard]] bool Is(std::string_view code) const noexcept { return GetFields().code == code; }

    /// "<file>:<line>:<column>: <what> <cause> <advice>" without the parts that are not known, as
    /// one line that is safe to show (DisplayText.h).
    [[nodiscard]] const char* what() const noexcept override;

private:
    struct Content;
    std::shared_ptr<const Content> m_content; ///< never null
};

/// The texts of any exception.
[[nodiscard]] ORVANE_IMPORT_EXPORT UnderlyingTexts
DescribeException(const std::exception& exception);

} // namespace Orvane::Import
