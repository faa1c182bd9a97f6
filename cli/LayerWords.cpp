// Describes schemas, extents and values in words.
#include "LayerWords.h"

#include "TerminalText.h"

#include <Orvane/BNumbers.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace OrvaneHost {

std::string NameOfType(Orvane::EVariantType type)
{
    using Orvane::EVariantType;
    switch (type) {
    case EVariantType::None:
        return "no type";
    case EVariantType::Int32:
        return "integer";
    case EVariantType::Int64:
        return "64-bit integer";
    case EVariantType::Double:
        return "double";
    case EVariantType::Float:
        return "float";
    case EVariantType::String:
    case EVariantType::Text:
        return "text";
    case EVariantType::Boolean:
        return "boolean";
    default:
        return "type " + std::to_string(static_cast<int>(type));
    }
}

std::string DescribeSchema(const Orvane::BAttributeDefs& schema)
{
    constexpr std::size_t kWidestName = 40;
    std::size_t nameWidth = 0;
    for (std::size_t index = 0; index < schema.GetCount(); ++index) {
        const std::string name = TerminalText::Escape(schema.GetAt(index).GetName());
        nameWidth = std::max(nameWidth, TerminalText::CountCharacters(name));
    }
    nameWidth = std::min(nameWidth, kWidestName);
    const std::size_t numberWidth = std::to_string(schema.GetCount()).size();
    std::string lines;
    for (std::size_t index = 0; index < schema.GetCount(); ++index) {
        const Orvane::BAttributeDef& def = schema.GetAt(index);
        const std::string number = std::to_string(index + 1);
        const std::string name = TerminalText::EscapeAndCut(def.GetName(), kWidestName);
        lines += "  " + std::string(numberWidth - number.size(), ' ') + number + "  " +
                 TerminalText::Pad(name, nameWidth) + "  " + NameOfType(def.GetType());
        if (def.GetLength() != 0) {
            lines += ", length " + std::to_string(def.GetLength());
        }
        if (def.GetPrecision() != 0) {
            lines += ", precision " + std::to_string(def.GetPrecision());
        }
        lines += "\n";
    }
    return lines;
}

std::string FormatNumber(double value)
{
    // Coordinates as people write them: 500000, not 5e+05.
    constexpr double kLeast = 1e-6;
    constexpr double kMost = 1e15;
    char buffer[64];
    const double size = std::abs(value);
    if (size >= kLeast && size < kMost) {
        const std::to_chars_result end =
            std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
        return {buffer, end.ptr};
    }
    return {buffer, Orvane::BNumbers::FormatShortest(value, buffer)};
}

std::string DescribeExtent(const Orvane::BMBB& box)
{
    if (box.IsEmpty()) {
        return "none";
    }
    std::string text = "X " + FormatNumber(box.minX) + " to " + FormatNumber(box.maxX) + ", Y " +
                       FormatNumber(box.minY) + " to " + FormatNumber(box.maxY);
    if (!std::isnan(box.minZ)) {
        text += ", Z " + FormatNumber(box.minZ) + " to " + FormatNumber(box.maxZ);
    }
    return text;
}

std::string FormatValue(const Orvane::BVariant& value)
{
    if (value.GetType() == Orvane::EVariantType::Boolean) {
        return value.GetBoolean() ? "true" : "false";
    }
    return TerminalText::Escape(value.GetString());
}

} // namespace OrvaneHost
