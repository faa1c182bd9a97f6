// The attribute schema of a layer.
#pragma once

#include <Orvane/BString.h>
#include <Orvane/BVariant.h>
#include <Orvane/Export.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Orvane {

/// One attribute column: name, type, length and precision.
///
/// A new definition has the empty name, type None, length 0 and precision 0. Nothing is tested:
/// unknown type numbers, negative lengths and empty names are kept as they are.
class ORVANE_SDK_EXPORT BAttributeDef
{
public:
    [[nodiscard]] const BString& GetName() const noexcept { return m_name; }

    void SetName(const BString& name) { m_name = name; }

    [[nodiscard]] EVariantType GetType() const noexcept { return m_type; }

    void SetType(EVariantType type) noexcept { m_type = type; }

    /// Width of the column in characters; 0 when it is not known.
    [[nodiscard]] std::int32_t GetLength() const noexcept { return m_length; }

    void SetLength(std::int32_t length) noexcept { m_length = length; }

    /// Digits of the numbers of the column; 0 when it is not known.
    [[nodiscard]] std::int32_t GetPrecision() const noexcept { return m_precision; }

    void SetPrecision(std::int32_t precision) noexcept { m_precision = precision; }

    friend bool operator==(const BAttributeDef&, const BAttributeDef&) noexcept = default;

private:
    BString m_name;
    EVariantType m_type = EVariantType::None;
    std::int32_t m_length = 0;
    std::int32_t m_precision = 0;
};

/// An ordered list of attribute definitions. Names need not be unique. Indices count from 0.
class ORVANE_SDK_EXPORT BAttributeDefs
{
public:
    void Reserve(std::size_t count) { m_defs.reserve(count); }

    /// Appends a copy.
    void Add(const BAttributeDef& def) { m_defs.push_back(def); }

    void Clear() noexcept { m_defs.clear(); }

    [[nodiscard]] std::size_t GetCount() const noexcept { return m_defs.size(); }

    /// @throws std::out_of_range "invalid vector subscript".
    [[nodiscard]] const BAttributeDef& GetAt(std::size_t attributeIndex) const;
    [[nodiscard]] BAttributeDef& GetAt(std::size_t attributeIndex);

    friend bool operator==(const BAttributeDefs&, const BAttributeDefs&) noexcept = default;

private:
    std::vector<BAttributeDef> m_defs;
};

} // namespace Orvane
