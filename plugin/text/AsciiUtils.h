// Splits lines into fields and answers small questions about one field.
#pragma once

#include <Orvane/BString.h>

#include <QRegularExpression>
#include <QString>

#include <cstdint>
#include <vector>

namespace AsciiReader {

/// The fields of one line in column order, index 0 first.
using Row = std::vector<Orvane::BString>;

/// Stateless functions on one logical line or one field. Lengths are UTF-16 code units. They throw
/// nothing of their own except where a function says so.
namespace AsciiUtils {

/// Cuts a logical line into fields.
///
/// - `separator` is not valid and `columnWidths` is empty: no fields.
/// - `separator` is not valid and there are widths: fixed widths; fields are not unquoted, a short
///   line gives fewer fields, text past the widths is dropped.
/// - `separator` is valid (the empty pattern is) and there are widths: no fields.
/// - else the line is cut where the pattern matches, empty parts kept. A part that begins with a
///   quote loses its first and its last unit, whatever the last one is; then each pair of quotes
///   becomes one quote, left to right; then each backslash before a quote is dropped. A line whose
///   parts were all empty before that has no fields at all.
///
/// A pattern that stands for a literal separator outside quotes (those of SplitPatterns.h) costs
/// time linear in the line, whatever its length and its quotes; any other pattern costs what the
/// regular-expression engine costs.
Row SplitLine(const QString& line,
              const QRegularExpression& separator,
              const std::vector<std::int32_t>& columnWidths);

/// Number of double quotes in the text.
std::uint32_t CountQuotes(const Orvane::BString& text);

/// The value class of a field: 5 whole number of 32 bits, 7 of 64 bits, 9 number with a decimal
/// point, 11 anything else. Commas are ignored.
std::int32_t DetectType(const Orvane::BString& text);

/// Length of the text, less one when it holds a "-" or a "+", less one when it holds a ".".
std::int32_t CountDigits(const Orvane::BString& text);

/// Whether the text, case ignored, is one of 1, 0, y, n, t, f, yes, no, true, false.
bool IsBooleanWord(const Orvane::BString& text);

/// Whether the text, case ignored, is one of 1, y, t, yes, true.
bool IsTrueWord(const Orvane::BString& text);

/// Removes the coordinate columns of a row. A negative `zIndex` means that there is no Z column.
///
/// Without Z the higher of X and Y goes first; equal indices remove the field there and the one
/// after it. With Z nothing is removed when two of the three are equal.
/// @throws BIndexOutOfBoundsException("AsciiUtils::RemoveXYZ", "Expected at least 2 (x, y) fields,
///     but only %d present.") or (..., "Expected at least 3 fields (x, y, z), but only %d
///     present."); BException("BAsciiFile::RemoveXYZ", "Attempting to remove X/Y/Z columns failed.
///     Possibly due to no X/Y/Z columns being present.") when an index lies outside the row at its
///     removal; fields removed before that stay removed.
void RemoveXYZ(Row& row, std::int32_t xIndex, std::int32_t yIndex, std::int32_t zIndex);

} // namespace AsciiUtils
} // namespace AsciiReader
