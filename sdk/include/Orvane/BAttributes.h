// The attribute values of one feature.
#pragma once

#include <Orvane/BString.h>
#include <Orvane/BVariant.h>
#include <Orvane/Export.h>

#include <cstddef>
#include <utility>
#include <vector>

namespace Orvane {

/// An ordered list of name/value pairs. Names need not be unique. Indices count from 0.
class ORVANE_SDK_EXPORT BAttributes
{
public:
    void Reserve(std::size_t count) { m_entries.reserve(count); }

    /// Appends a pair; an existing one of the same name stays.
    void Add(const BString& name, const BVariant& value) { m_entries.emplace_back(name, value); }

    void Add(const BString& name, BVariant&& value)
    {
        m_entries.emplace_back(name, std::move(value));
    }

    void Clear() noexcept { m_entries.clear(); }

    [[nodiscard]] std::size_t GetCount() const noexcept { return m_entries.size(); }

    /// @throws std::out_of_range "invalid vector subscript".
    [[nodiscard]] const BString& GetNameAt(std::size_t attributeIndex) const;
    [[nodiscard]] const BVariant& GetValueAt(std::size_t attributeIndex) const;
    void SetValueAt(std::size_t attributeIndex, BVariant value);
    /// The value of the first pair of that name, null when there is none. Linear in the count.
    [[nodiscard]] const BVariant* Find(const BString& name) const;

    friend bool operator==(const BAttributes&, const BAttributes&) noexcept = default;

private:
    std::vector<std::pair<BString, BVariant>> m_entries;
};

} // namespace Orvane
