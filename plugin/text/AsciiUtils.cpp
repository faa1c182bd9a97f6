// Splits lines into fields and answers small questions about one field.
#include "text/AsciiUtils.h"

#include "text/CoordinateRemoval.h"
#include "text/Separator.h"
#include "text/ValueRules.h"

namespace AsciiReader::AsciiUtils {

Row SplitLine(const QString& line,
              const QRegularExpression& separator,
              const std::vector<std::int32_t>& columnWidths)
{
    const std::u16string_view text(reinterpret_cast<const char16_t*>(line.utf16()),
                                   static_cast<std::size_t>(line.size()));
    SplitRow fields;
    Separator(separator, columnWidths).Split(TextView(text), fields);
    Row row;
    row.reserve(fields.GetCount());
    fields.Visit([&row](const auto& views, ETextUnit unit) {
        for (const auto view : views) {
            row.push_back(MakeString(view, unit));
        }
    });
    return row;
}

std::uint32_t CountQuotes(const Orvane::BString& text)
{
    return static_cast<std::uint32_t>(ValueRules::CountQuotes(text.View()));
}

std::int32_t DetectType(const Orvane::BString& text)
{
    return ValueRules::DetectType(text.View());
}

std::int32_t CountDigits(const Orvane::BString& text)
{
    return ValueRules::CountDigits(text.View());
}

bool IsBooleanWord(const Orvane::BString& text)
{
    return ValueRules::IsBooleanWord(text.View());
}

bool IsTrueWord(const Orvane::BString& text)
{
    return ValueRules::IsTrueWord(text.View());
}

void RemoveXYZ(Row& row, std::int32_t xIndex, std::int32_t yIndex, std::int32_t zIndex)
{
    RemoveCoordinateColumns(row, xIndex, yIndex, zIndex);
}

} // namespace AsciiReader::AsciiUtils
