// Turns one split row into a point feature.
#include "layer/AsciiLayer.h"

#include "layer/RowPlan.h"
#include "text/Separator.h"

namespace AsciiReader::AsciiLayer {

Orvane::BSharedPtr<Orvane::BFeature> ParsedToFeature(const Row& fields,
                                                     Orvane::BAttributeDefs& schema,
                                                     const Orvane::BParamList& options,
                                                     std::uint32_t recordNumber,
                                                     const Orvane::BString& xFormat,
                                                     const Orvane::BString& yFormat,
                                                     const Orvane::BString& zFormat)
{
    SplitRow row;
    row.SetFields(fields);
    ReadOptions read(options);
    read.x.format = xFormat;
    read.y.format = yFormat;
    read.z.format = zFormat;
    return RowPlan(schema, read).MakeFeature(row, recordNumber);
}

bool ParseCoordinate(const Orvane::BString& text, const Orvane::BString& format, double& value)
{
    return RowPlan::ParseCoordinate<char16_t>(text.View(), ETextUnit::Utf16, format, value);
}

} // namespace AsciiReader::AsciiLayer
