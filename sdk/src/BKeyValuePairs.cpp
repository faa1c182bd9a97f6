// Ordered key/value lists with hashed look-up.
#include <Orvane/BException.h>
#include <Orvane/BKeyValuePairs.h>

#include <iterator>
#include <utility>

namespace Orvane {

bool BKeyValuePairs::HasProperty(const BString& key) const
{
    return Find(key) != nullptr;
}

EVariantType BKeyValuePairs::GetValueType(const BString& key) const
{
    const BVariant* value = Find(key);
    return value == nullptr ? EVariantType::None : value->GetType();
}

BString BKeyValuePairs::GetString(const BString& key, const BString& absent) const
{
    const BVariant* value = Find(key);
    return value == nullptr ? absent : value->GetString();
}

std::int32_t BKeyValuePairs::GetInteger(const BString& key, std::int32_t absent) const
{
    const BVariant* value = Find(key);
    return value == nullptr ? absent : value->GetInteger();
}

bool BKeyValuePairs::GetBoolean(const BString& key, bool absent) const
{
    const BVariant* value = Find(key);
    return value == nullptr ? absent : value->GetBoolean();
}

double BKeyValuePairs::GetDouble(const BString& key, double absent) const
{
    const BVariant* value = Find(key);
    return value == nullptr ? absent : value->GetDouble();
}

std::vector<BString> BKeyValuePairs::GetStrings(const BString& key) const
{
    const BVariant* value = Find(key);
    return value == nullptr ? std::vector<BString>() : value->GetStrings();
}

std::vector<std::int32_t> BKeyValuePairs::GetIntegers(const BString& key) const
{
    const BVariant* value = Find(key);
    return value == nullptr ? std::vector<std::int32_t>() : value->GetIntegers();
}

void BKeyValuePairs::Add(const BString& key, BVariant value)
{
    const auto [position, isNew] = m_positions.try_emplace(key, m_entries.size());
    if (!isNew) {
        m_entries[position->second].value = std::move(value);
        return;
    }
    try {
        m_entries.push_back({key, std::move(value)});
    } catch (...) {
        m_positions.erase(position);
        throw;
    }
}

void BKeyValuePairs::Remove(const BString& key)
{
    const auto found = m_positions.find(key);
    if (found == m_positions.end()) {
        return;
    }
    const std::size_t removed = found->second;
    m_positions.erase(found);
    // Last: `key` may refer to the entry's own key.
    m_entries.erase(std::next(m_entries.begin(), static_cast<std::ptrdiff_t>(removed)));
    for (auto& entry : m_positions) {
        if (entry.second > removed) {
            --entry.second;
        }
    }
}

void BKeyValuePairs::Clear() noexcept
{
    m_entries.clear();
    m_positions.clear();
}

const BString& BKeyValuePairs::GetKeyAt(std::size_t entryIndex) const
{
    return CheckedAt(m_entries, entryIndex).key;
}

const BVariant& BKeyValuePairs::GetValueAt(std::size_t entryIndex) const
{
    return CheckedAt(m_entries, entryIndex).value;
}

const BVariant* BKeyValuePairs::Find(const BString& key) const
{
    const auto found = m_positions.find(key);
    return found == m_positions.end() ? nullptr : &m_entries[found->second].value;
}

} // namespace Orvane
