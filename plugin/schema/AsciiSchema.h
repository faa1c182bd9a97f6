// Decides the attribute schema of a file.
#pragma once

#include "text/AsciiUtils.h"
#include "text/ReadOptions.h"

#include <Orvane/BAttributeDefs.h>

#include <QRegularExpression>

#include <vector>

namespace AsciiReader {

class LineSource;

namespace AsciiSchema {

/// The schema from the sample lines: inferred when AUTO_SCHEMA is present, else from
/// COLUMN_DEFINITION when that is present, else empty.
/// @throws BFileContentNotValidException("AsciiSchema::Schema", "There was no readable data in the
///     file.") without lines; std::out_of_range "invalid vector subscript" for an empty sample;
///     BIndexOutOfBoundsException(<location>, "Line %d of the data.  %ls") for a row that lacks
///     its coordinate columns, lines counted from 0; what SetSchema throws.
Orvane::BAttributeDefs Schema(const std::vector<Orvane::BString>& lines,
                              const ReadOptions& options,
                              const QRegularExpression& separator);

/// The schema from every line that the file still hands out, empty for a file at its end; the
/// caller rewinds it afterwards. Runs of regular rows are looked through column by column.
/// @throws as Schema for rows that lack coordinate columns, lines counted from 1; what
///     LineSource::Next throws.
Orvane::BAttributeDefs
ScanAllRows(LineSource& lines, const ReadOptions& options, const QRegularExpression& separator);

/// The schema from rows without coordinate columns. The first row is removed from `rows` when it
/// held the column names. @throws std::out_of_range "invalid vector subscript" without rows.
Orvane::BAttributeDefs InferSchema(std::vector<Row>& rows, const ReadOptions& options);

/// Appends one definition per field and names them. @return true when the row is data, false when
/// it held the column names.
bool InitColumns(Orvane::BAttributeDefs& schema, const Row& row, const ReadOptions& options);

/// Widens the types of the schema so that they fit one more row.
void UpdateTypes(Orvane::BAttributeDefs& schema, const Row& row, const ReadOptions& options);

/// The schema from COLUMN_DEFINITION; InferSchema over `rows` when the definitions are not as many
/// as the attribute columns.
/// @param columnCount fields of the first line, coordinate columns included
/// @throws BException(<definition error text>, "AsciiSchema::SetSchema") for a definition without
///     exactly five values; what InferSchema throws.
Orvane::BAttributeDefs
SetSchema(const ReadOptions& options, unsigned columnCount, std::vector<Row>& rows);

} // namespace AsciiSchema
} // namespace AsciiReader
