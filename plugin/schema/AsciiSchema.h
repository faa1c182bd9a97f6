// Decides the attribute schema of a file.
#pragma once

#include "text/AsciiUtils.h"

#include <Orvane/BAttributeDefs.h>
#include <Orvane/BKeyValuePairs.h>

#include <QRegularExpression>

#include <vector>

namespace AsciiReader {

class AsciiFile;

namespace AsciiSchema {

/// The schema from the sample lines: inferred when AUTO_SCHEMA is present, else from
/// COLUMN_DEFINITION when that is present, else empty.
/// @throws BFileContentNotValidException("AsciiSchema::Schema", "There was no readable data in the
///     file.") without lines; std::out_of_range "invalid vector subscript" for an empty sample;
///     BIndexOutOfBoundsException(<location>, "Line %d of the data.  %ls") for a row that lacks
///     its coordinate columns, lines counted from 0; what SetSchema throws.
Orvane::BAttributeDefs Schema(const std::vector<Orvane::BString>& lines,
                              const Orvane::BParamList& params,
                              const QRegularExpression& separator);

/// The schema from every line that the file still hands out; the caller rewinds it afterwards.
/// @throws as Schema for rows that lack coordinate columns, lines counted from 1; what
///     AsciiFile::GetLine throws.
Orvane::BAttributeDefs
ScanAllRows(AsciiFile& file, const Orvane::BParamList& params, const QRegularExpression& separator);

/// The schema from rows without coordinate columns. The first row is removed from `rows` when it
/// held the column names. @throws std::out_of_range "invalid vector subscript" without rows.
Orvane::BAttributeDefs InferSchema(std::vector<Row>& rows, const Orvane::BParamList& params);

/// Appends one definition a field and names them. @return true when the row is data, false when it
/// held the column names.
bool InitColumns(Orvane::BAttributeDefs& schema, const Row& row, const Orvane::BParamList& params);

/// Widens the types of the schema so that they fit one more row.
void UpdateTypes(Orvane::BAttributeDefs& schema, const Row& row, const Orvane::BParamList& params);

/// The schema from COLUMN_DEFINITION; InferSchema over `rows` when the definitions are not as many
/// as the attribute columns.
/// @param columnCount fields of the first line, coordinate columns included
/// @throws BException(<definition error text>, "AsciiSchema::SetSchema") for a definition without
///     exactly five values; what InferSchema throws.
Orvane::BAttributeDefs
SetSchema(const Orvane::BParamList& params, unsigned columnCount, std::vector<Row>& rows);

} // namespace AsciiSchema
} // namespace AsciiReader
