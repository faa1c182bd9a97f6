// The reader's own rules for types and values, from the plug-in's code.
#include "BareColumn.h"

#include <Orvane/BNumbers.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <text/TypeWidening.h>
#include <text/ValueRules.h>

namespace Orvane::Import {

namespace ValueRules = AsciiReader::ValueRules;

void BareColumn::AddSample(std::string_view cell)
{
    AsciiReader::AsciiSchema::WidenType(m_def, cell, false);
}

bool BareColumn::Converts() const noexcept
{
    return Type() == EVariantType::Int32 || Type() == EVariantType::Double ||
           Type() == EVariantType::Boolean;
}

std::string BareColumn::Convert(std::string_view cell) const
{
    switch (Type()) {
    case EVariantType::Int32:
        return std::to_string(ValueRules::ToInt32(cell));
    case EVariantType::Double: {
        std::array<char, 64> text{};
        const std::size_t size = BNumbers::FormatShortest(ValueRules::ToDouble(cell), text.data());
        return {text.data(), size};
    }
    case EVariantType::Boolean:
        return ValueRules::IsTrueWord(cell) ? "true" : "false";
    default:
        return std::string(cell);
    }
}

bool IsBareCoordinate(std::string_view cell)
{
    double value = 0;
    return ValueRules::ToCoordinate(cell, value);
}

char BareSeparator(const std::string& path)
{
    std::string extension = std::filesystem::path(path).extension().native();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char byte) {
        return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    });
    return extension == ".csv" || extension == ".asc" ? ','
           : extension == ".tsv"                      ? '\t'
           : extension == ".ssv"                      ? ' '
           : extension == ".txt"                      ? '\0'
                                                      : '\n';
}

} // namespace Orvane::Import
