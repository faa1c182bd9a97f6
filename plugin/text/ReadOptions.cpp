// The options of one read, looked up once.
#include "text/ReadOptions.h"

#include "text/OptionRules.h"

#include <Orvane/Constants.h>

namespace AsciiReader {

using Orvane::BParamList;
using Orvane::BString;

namespace {

bool IsTrue(const BParamList& params, const BString& key)
{
    return params.HasProperty(key) && params.GetBoolean(key, false);
}

std::optional<BString> FindText(const BParamList& params, const BString& key)
{
    return params.HasProperty(key) ? std::optional(params.GetString(key)) : std::nullopt;
}

void ReadColumn(const BParamList& params, const BString& key, CoordinateOptions& coordinate)
{
    coordinate.hasColumn = params.HasProperty(key);
    coordinate.fieldIndex = params.GetInteger(key, CoordinateOptions::kNoField);
}

} // namespace

ReadOptions::ReadOptions(const BParamList& params)
    : ignoresBlankRows(!params.HasProperty(Orvane::IGNORE_BLANK_ROWS) ||
                       params.GetBoolean(Orvane::IGNORE_BLANK_ROWS, false))
    , hasColumnNames(IsTrue(params, Orvane::FIRST_LINE_COLUMN_NAMES))
    , infersSchema(params.HasProperty(Orvane::AUTO_SCHEMA))
    , scansAllRows(IsTrue(params, Orvane::AUTO_SCHEMA_ALL_ROWS))
    , keepsNumericTexts(IsTrue(params, Orvane::PRESERVE_NUMERIC_STRINGS))
    , sampleSize(params.GetInteger(OptionRules::SampleSizeKey(), OptionRules::kDefaultSampleSize))
    , fieldLengths(params.GetIntegers(Orvane::FIELD_LENGTH))
    , separator(FindText(params, Orvane::ASCII_SEPARATOR))
    , codecName(FindText(params, OptionRules::CodecKey()))
    , usesLocaleCodec(params.HasProperty(OptionRules::LocaleCodecKey()))
{
    ReadColumn(params, Orvane::X_COLUMN, x);
    ReadColumn(params, Orvane::Y_COLUMN, y);
    ReadColumn(params, Orvane::Z_COLUMN, z);
    x.format = params.GetString(Orvane::X_COORDINATE_FORMAT);
    y.format = params.GetString(Orvane::Y_COORDINATE_FORMAT);
    z.format = params.GetString(Orvane::Z_COORDINATE_FORMAT);
    if (params.HasProperty(Orvane::X_MULTIPLIER) && params.HasProperty(Orvane::Y_MULTIPLIER)) {
        x.multiplier = params.GetDouble(Orvane::X_MULTIPLIER, 0.0);
        y.multiplier = params.GetDouble(Orvane::Y_MULTIPLIER, 0.0);
        z.multiplier = params.GetDouble(Orvane::Z_MULTIPLIER, 1.0);
    }
    if (params.HasProperty(Orvane::NAME_COLUMN)) {
        nameColumn = params.GetInteger(Orvane::NAME_COLUMN, 0);
    }
    if (params.HasProperty(Orvane::COLUMN_DEFINITION)) {
        columnDefinitions = params.GetStrings(Orvane::COLUMN_DEFINITION);
    }
    // Rule: the first kind of header that the options name decides.
    if (params.HasProperty(Orvane::ASCII_HEADER_IDENTIFIER)) {
        headerMode = HeaderMode::Identifiers;
        headerIdentifiers = params.GetStrings(Orvane::ASCII_HEADER_IDENTIFIER);
    } else if (IsTrue(params, Orvane::ASCII_HEADER_BLANK_LINE)) {
        headerMode = HeaderMode::BlankLine;
    } else if (params.HasProperty(Orvane::ASCII_HEADER_COUNT)) {
        headerMode = HeaderMode::Count;
        headerCount = params.GetInteger(Orvane::ASCII_HEADER_COUNT, 0);
    }
}

std::size_t ReadOptions::CountCoordinateKeys() const noexcept
{
    return (x.hasColumn ? 1U : 0U) + (y.hasColumn ? 1U : 0U) + (z.hasColumn ? 1U : 0U);
}

} // namespace AsciiReader
