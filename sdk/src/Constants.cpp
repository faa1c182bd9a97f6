// Defines the shared names; each text equals the constant's name.
#include <Orvane/Constants.h>

namespace Orvane {

const BString ASCII_SEPARATOR(u"ASCII_SEPARATOR");
const BString FIELD_LENGTH(u"FIELD_LENGTH");
const BString USE_COMMA(u"USE_COMMA");
const BString USE_TAB(u"USE_TAB");
const BString USE_SPACE(u"USE_SPACE");
const BString MAX_RECORDS(u"MAX_RECORDS");
const BString X_COLUMN(u"X_COLUMN");
const BString Y_COLUMN(u"Y_COLUMN");
const BString Z_COLUMN(u"Z_COLUMN");
const BString NAME_COLUMN(u"NAME_COLUMN");
const BString FIRST_LINE_COLUMN_NAMES(u"FIRST_LINE_COLUMN_NAMES");
const BString X_COORDINATE_FORMAT(u"X_COORDINATE_FORMAT");
const BString Y_COORDINATE_FORMAT(u"Y_COORDINATE_FORMAT");
const BString Z_COORDINATE_FORMAT(u"Z_COORDINATE_FORMAT");
const BString X_MULTIPLIER(u"X_MULTIPLIER");
const BString Y_MULTIPLIER(u"Y_MULTIPLIER");
const BString Z_MULTIPLIER(u"Z_MULTIPLIER");
const BString AUTO_SCHEMA(u"AUTO_SCHEMA");
const BString AUTO_SCHEMA_ALL_ROWS(u"AUTO_SCHEMA_ALL_ROWS");
const BString COLUMN_DEFINITION(u"COLUMN_DEFINITION");
const BString PRESERVE_NUMERIC_STRINGS(u"PRESERVE_NUMERIC_STRINGS");
const BString IGNORE_BLANK_ROWS(u"IGNORE_BLANK_ROWS");
const BString ASCII_HEADER_IDENTIFIER(u"ASCII_HEADER_IDENTIFIER");
const BString ASCII_HEADER_BLANK_LINE(u"ASCII_HEADER_BLANK_LINE");
const BString ASCII_HEADER_COUNT(u"ASCII_HEADER_COUNT");
const BString NUM_COLUMNS(u"NUM_COLUMNS");
const BString DS_CSV(u"DS_CSV");
const BString DS_TSV(u"DS_TSV");
const BString DS_SSV(u"DS_SSV");
const BString DS_TXT(u"DS_TXT");
const BString DS_GPX(u"DS_GPX");
const BString DS_SHP(u"DS_SHP");
const BString QUERY_COLUMNS(u"QUERY_COLUMNS");

} // namespace Orvane
