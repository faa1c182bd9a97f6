// Widens the types of a schema's columns, so that they fit the values of more rows.
#pragma once

#include "text/ValueRules.h"

#include <Orvane/BAttributeDefs.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace AsciiReader::AsciiSchema {

/// Widens one column by a value of that class. @param digits of the value, for a decimal
inline void WidenToType(Orvane::BAttributeDef& def, Orvane::EVariantType type, std::int32_t digits)
{
    using Orvane::EVariantType;
    const EVariantType current = def.GetType();
    const auto isOneOf = [current](auto... types) { return ((current == types) || ...); };
    if (type == EVariantType::String) {
        def.SetType(EVariantType::String);
    } else if (current == EVariantType::None) {
        // Rule: the value that gives a column its type does not count for the precision.
        def.SetType(type);
    } else if (type == EVariantType::Int32) {
        if (isOneOf(EVariantType::Boolean)) {
            def.SetType(type);
        }
    } else if (type == EVariantType::Int64) {
        if (isOneOf(EVariantType::Int32, EVariantType::Boolean)) {
            def.SetType(type);
        }
    } else {
        if (isOneOf(EVariantType::Int32,
                    EVariantType::Int64,
                    EVariantType::Float,
                    EVariantType::Boolean)) {
            def.SetType(type);
        }
        def.SetPrecision(std::max(def.GetPrecision(), digits));
    }
}

/// Widens one column so that it fits one more value. Once a column has a type, the order of the
/// values that widen it makes no difference.
template <typename Unit>
void WidenType(Orvane::BAttributeDef& def, std::basic_string_view<Unit> text, bool keepsText)
{
    using Orvane::EVariantType;
    // Rule: boolean words come first, so that 1 and 0 count as booleans and change no other type.
    if (ValueRules::IsBooleanWord(text)) {
        if (def.GetType() == EVariantType::None) {
            def.SetType(EVariantType::Boolean);
        }
        return;
    }
    const auto type = keepsText ? EVariantType::String : EVariantType{ValueRules::DetectType(text)};
    WidenToType(def, type, type == EVariantType::Double ? ValueRules::CountDigits(text) : 0);
}

template <typename Fields>
void WidenTypes(Orvane::BAttributeDefs& schema, const Fields& fields, bool keepsText)
{
    const std::size_t count = std::min(schema.GetCount(), fields.size());
    for (std::size_t index = 0; index < count; ++index) {
        WidenType(schema.GetAt(index), fields[index], keepsText);
    }
}

} // namespace AsciiReader::AsciiSchema
