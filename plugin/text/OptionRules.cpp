// Rules on the options of a read that the reader and those who prepare a read share.
#include "text/OptionRules.h"

#include <Orvane/BNumbers.h>
#include <Orvane/Constants.h>

namespace AsciiReader::OptionRules {

using Orvane::BParamList;
using Orvane::BString;

namespace {

bool IsText(const BParamList& params, const BString& key)
{
    return params.HasProperty(key) && params.GetValueType(key) == Orvane::EVariantType::String;
}

} // namespace

const BString& SampleSizeKey()
{
    static const BString key(u"SCHEMA_SAMPLE_SIZE");
    return key;
}

const BString& CodecKey()
{
    static const BString key(u"CODEC");
    return key;
}

const BString& LocaleCodecKey()
{
    static const BString key(u"CODECFORLOCALE");
    return key;
}

BParamList Normalise(BParamList params)
{
    using namespace Orvane;
    // Rule: the column numbers are converted only when X and Y are both there.
    if (params.HasProperty(X_COLUMN) && params.HasProperty(Y_COLUMN)) {
        for (const BString* key : {&X_COLUMN, &Y_COLUMN, &Z_COLUMN}) {
            if (IsText(params, *key)) {
                const std::int32_t column = BNumbers::Atoi(params.GetString(*key).Ascii());
                params.Remove(*key);
                params.Add(*key, column);
            }
        }
    }
    if (IsText(params, FIRST_LINE_COLUMN_NAMES)) {
        const bool hasNames = HasColumnNames(params);
        params.Remove(FIRST_LINE_COLUMN_NAMES);
        params.Add(FIRST_LINE_COLUMN_NAMES, hasNames);
    }
    if (!params.HasProperty(AUTO_SCHEMA) && !params.HasProperty(COLUMN_DEFINITION)) {
        params.Add(AUTO_SCHEMA, std::int32_t{1});
    }
    return params;
}

bool HasColumnNames(const BParamList& params)
{
    const BString& key = Orvane::FIRST_LINE_COLUMN_NAMES;
    if (IsText(params, key)) {
        // Rule: a text counts as true only when its integer value is 1; "true" does not.
        return Orvane::BNumbers::Atoi(params.GetString(key).Ascii()) == 1;
    }
    return params.HasProperty(key) && params.GetBoolean(key, false);
}

BString MakeColumnName(std::int64_t columnNumber)
{
    return BString::Format("C%i", columnNumber);
}

} // namespace AsciiReader::OptionRules
