// Turns one split row into a point feature.
#pragma once

#include "text/AsciiUtils.h"

#include <Orvane/BAttributeDefs.h>
#include <Orvane/BFeature.h>
#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BSharedPtr.h>

#include <cstdint>

namespace AsciiReader::AsciiLayer {

/// Makes the feature of one row.
///
/// @param fields the row, column 0 first
/// @param schema definitions of the non-coordinate columns, in column order; widths of string
///     columns (type 11) are raised to the longest text seen
/// @param options the engine's normalised options: NAME_COLUMN counts from 1; X_COLUMN and
///     Y_COLUMN are used together, Z_COLUMN only with them, and so are the multipliers
/// @param recordNumber names the feature when there is no name column
/// @param xFormat,yFormat,zFormat coordinate formats, empty for plain numbers
/// @return the feature; without geometry when any coordinate failed or none is configured
/// @throws BException("AsciiLayer::ParsedToFeature", "The name column specified is out of
///     bounds."); std::out_of_range "invalid vector subscript" for the name column one past the
///     row; BException("BAsciiFile::Read", <what happened>) for everything that fails in the
///     fields, among it "There are too many columns (%d > %d) for the row.".
Orvane::BSharedPtr<Orvane::BFeature> ParsedToFeature(const Row& fields,
                                                     Orvane::BAttributeDefs& schema,
                                                     const Orvane::BParamList& options,
                                                     std::uint32_t recordNumber,
                                                     const Orvane::BString& xFormat,
                                                     const Orvane::BString& yFormat,
                                                     const Orvane::BString& zFormat);

/// Reads one coordinate. With an empty format the whole text must be a finite number or NaN
/// (leading white space is allowed); with a format it is BString::FromFormattedDegrees.
/// @return false when the text does not fit; `value` is not to be used then. Nothing is thrown.
bool ParseCoordinate(const Orvane::BString& text, const Orvane::BString& format, double& value);

} // namespace AsciiReader::AsciiLayer
