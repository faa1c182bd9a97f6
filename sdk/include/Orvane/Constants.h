// The names that hosts and plug-ins agree on: option keys, data-source types, queries.
#pragma once

#include <Orvane/BString.h>
#include <Orvane/Export.h>

namespace Orvane {

// Every constant's text equals its name. They are built before any other static object of the SDK
// is used and are read-only; use them through these names and never spell the texts.

// Option keys of the data readers.
ORVANE_SDK_EXPORT extern const BString
    ASCII_SEPARATOR; ///< the field separator text, matched literally
ORVANE_SDK_EXPORT extern const BString
    FIELD_LENGTH;                                 ///< widths of fixed-width columns, in characters
ORVANE_SDK_EXPORT extern const BString USE_COMMA; ///< presence selects the comma
ORVANE_SDK_EXPORT extern const BString USE_TAB;   ///< presence selects the tab
ORVANE_SDK_EXPORT extern const BString USE_SPACE; ///< presence selects the blank
ORVANE_SDK_EXPORT extern const BString MAX_RECORDS; ///< most records to read; 0 or less: no limit
ORVANE_SDK_EXPORT extern const BString X_COLUMN;    ///< column of the X coordinate, counted from 0
ORVANE_SDK_EXPORT extern const BString Y_COLUMN;    ///< column of the Y coordinate, counted from 0
ORVANE_SDK_EXPORT extern const BString Z_COLUMN;    ///< column of the Z coordinate, counted from 0
ORVANE_SDK_EXPORT extern const BString
    NAME_COLUMN; ///< column that names the feature, counted from 1
ORVANE_SDK_EXPORT extern const BString
    FIRST_LINE_COLUMN_NAMES; ///< the first data line holds the column names
ORVANE_SDK_EXPORT extern const BString X_COORDINATE_FORMAT; ///< format of X values
ORVANE_SDK_EXPORT extern const BString Y_COORDINATE_FORMAT; ///< format of Y values
ORVANE_SDK_EXPORT extern const BString Z_COORDINATE_FORMAT; ///< format of Z values
ORVANE_SDK_EXPORT extern const BString X_MULTIPLIER;        ///< factor applied to X values
ORVANE_SDK_EXPORT extern const BString Y_MULTIPLIER;        ///< factor applied to Y values
ORVANE_SDK_EXPORT extern const BString Z_MULTIPLIER;        ///< factor applied to Z values
ORVANE_SDK_EXPORT extern const BString AUTO_SCHEMA; ///< infer the column types from the data
ORVANE_SDK_EXPORT extern const BString
    AUTO_SCHEMA_ALL_ROWS; ///< infer the column types from every row
ORVANE_SDK_EXPORT extern const BString
    COLUMN_DEFINITION; ///< one record definition per attribute column
ORVANE_SDK_EXPORT extern const BString
    PRESERVE_NUMERIC_STRINGS;                                   ///< keep columns of numbers as text
ORVANE_SDK_EXPORT extern const BString IGNORE_BLANK_ROWS;       ///< skip empty lines
ORVANE_SDK_EXPORT extern const BString ASCII_HEADER_IDENTIFIER; ///< texts that mark header lines
ORVANE_SDK_EXPORT extern const BString ASCII_HEADER_BLANK_LINE; ///< the header ends at a blank line
ORVANE_SDK_EXPORT extern const BString ASCII_HEADER_COUNT;      ///< number of header lines
ORVANE_SDK_EXPORT extern const BString NUM_COLUMNS; ///< number of columns, reported by a preview

// Data-source types; the type of a path is "DS_" and its extension in capitals, also for formats
// without a constant here.
ORVANE_SDK_EXPORT extern const BString DS_CSV; ///< comma separated values
ORVANE_SDK_EXPORT extern const BString DS_TSV; ///< tab separated values
ORVANE_SDK_EXPORT extern const BString DS_SSV; ///< space separated values
ORVANE_SDK_EXPORT extern const BString DS_TXT; ///< delimited text of any extension
ORVANE_SDK_EXPORT extern const BString DS_GPX; ///< GPS exchange format
ORVANE_SDK_EXPORT extern const BString DS_SHP; ///< shapefile

// Queries that a data manager may answer.
ORVANE_SDK_EXPORT extern const BString
    QUERY_COLUMNS; ///< first two rows, split into columns; see BDataManager::GetFilePreview

} // namespace Orvane
