// Which columns of a file are its coordinates.
#pragma once

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BPluginModule.h>
#include <Orvane/BString.h>
#include <Orvane/Import/Api.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Orvane::Import {

/// Columns of X and Y by index from 0.
struct CoordinatePair
{
    std::optional<std::size_t> x;
    std::optional<std::size_t> y;
};

/// Completes a pair of coordinate columns by name.
///
/// Names are compared without case, blanks and punctuation: lon/lat, longitude/latitude, x/y,
/// easting/northing and the like. A column is chosen only when it is the one candidate: exactly one
/// column has a name of X kind, exactly one a name of Y kind, and both names are of the same
/// family. When one of the two is given, the other needs one candidate only.
/// @param names of all columns
/// @param given what is known already; stays as it is
/// @return `given`, completed as far as that is certain
[[nodiscard]] ORVANE_IMPORT_EXPORT CoordinatePair
GuessCoordinateColumns(const std::vector<BString>& names, const CoordinatePair& given);

/// The column that a person means by a name or an index from 0: the one column of exactly that
/// name, else the one of that name with another case, else the index.
/// @param axis "X", "Y" or "Z": the `subject` of a failure
/// @throws ImportFailure `no-such-column`, `column-beyond`, `column-ambiguous`
[[nodiscard]] ORVANE_IMPORT_EXPORT std::size_t
FindColumn(const std::vector<BString>& names, const std::string& nameOrIndex, const char* axis);

/// The columns that a caller names: a name, or an index from 0 in decimal digits; UTF-8.
struct ColumnRequest
{
    std::optional<std::string> x;
    std::optional<std::string> y;
    std::optional<std::string> z; ///< points without heights when absent
};

/// Who has made a decision.
enum class EDecidedBy {
    Request, ///< the caller, by ColumnRequest, PlanRequest or a reader option
    Preview, ///< the look at the file's first two rows
    Plan     ///< the scan of the whole file
};

/// The columns of an import.
struct ColumnChoice
{
    bool hasColumnNames = false; ///< the first line holds names
    EDecidedBy namesBy = EDecidedBy::Preview;
    std::vector<BString> names;   ///< of all columns; empty when the file was not looked at
    std::optional<std::size_t> x; ///< always there in the result of ChooseColumns
    EDecidedBy xBy = EDecidedBy::Preview;
    std::optional<std::size_t> y; ///< as x
    EDecidedBy yBy = EDecidedBy::Preview;
    std::optional<std::size_t> z;
};

/// Chooses the columns of an import: what the request and the options give, the rest by a preview.
///
/// A file that cannot be previewed, because its first two rows differ, is accepted when request and
/// options leave nothing to see in the preview.
/// @param options reader options; X_COLUMN, Y_COLUMN, Z_COLUMN and FIRST_LINE_COLUMN_NAMES count
/// @throws ImportFailure `columns-unknown`, `no-such-column`, `column-beyond`, `column-ambiguous`,
///     `column-given-twice`, `column-negative`, `columns-equal`; as Session does
[[nodiscard]] ORVANE_IMPORT_EXPORT ColumnChoice ChooseColumns(const BPluginModule& module,
                                                              const std::string& file,
                                                              const BParamList& options,
                                                              const ColumnRequest& request);

/// The options that read a file with the columns chosen: `options` and what they lack.
[[nodiscard]] ORVANE_IMPORT_EXPORT BParamList MakeReadOptions(const BParamList& options,
                                                              const ColumnChoice& choice);

} // namespace Orvane::Import
