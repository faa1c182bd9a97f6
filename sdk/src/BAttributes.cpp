// Checked access to the attribute values of a feature.
#include <Orvane/BAttributes.h>
#include <Orvane/BException.h>

#include <algorithm>

namespace Orvane {

const BString& BAttributes::GetNameAt(std::size_t attributeIndex) const
{
    return CheckedAt(m_entries, attributeIndex).first;
}

const BVariant& BAttributes::GetValueAt(std::size_t attributeIndex) const
{
    return CheckedAt(m_entries, attributeIndex).second;
}

void BAttributes::SetValueAt(std::size_t attributeIndex, BVariant value)
{
    CheckedAt(m_entries, attributeIndex).second = std::move(value);
}

const BVariant* BAttributes::Find(const BString& name) const
{
    const auto found = std::find_if(
        m_entries.begin(), m_entries.end(), [&](const auto& entry) { return entry.first == name; });
    return found == m_entries.end() ? nullptr : &found->second;
}

} // namespace Orvane
