// Ordered key/value lists: options in, query results out.
#pragma once

#include <Orvane/BVariant.h>
#include <Orvane/Export.h>

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace Orvane {

/// An ordered list of keys with one value each.
///
/// Keys compare exactly (case matters). Entries stand in the order in which their keys were first
/// added. The typed getters convert as BVariant's getters do; the default comes back only when the
/// key is absent. Look-up, Add and HasProperty cost constant time on average.
class ORVANE_SDK_EXPORT BKeyValuePairs
{
public:
    [[nodiscard]] bool HasProperty(const BString& key) const;
    /// The type of the key's value; None when the key is absent.
    [[nodiscard]] EVariantType GetValueType(const BString& key) const;
    [[nodiscard]] BString GetString(const BString& key, const BString& absent = BString()) const;
    [[nodiscard]] std::int32_t GetInteger(const BString& key, std::int32_t absent = 0) const;
    [[nodiscard]] bool GetBoolean(const BString& key, bool absent = false) const;
    [[nodiscard]] double GetDouble(const BString& key, double absent = 0.0) const;
    [[nodiscard]] std::vector<BString> GetStrings(const BString& key) const;
    [[nodiscard]] std::vector<std::int32_t> GetIntegers(const BString& key) const;

    /// Appends an entry, or replaces the value of an existing key where it stands.
    void Add(const BString& key, BVariant value);

    template <typename T>
    void Add(const BString& key, const T& value)
    {
        Add(key, BVariant(value));
    }

    /// Removes the entry; the order of the others stays. Nothing happens when the key is absent.
    /// Costs time linear in the number of entries.
    void Remove(const BString& key);
    void Clear() noexcept;

    [[nodiscard]] std::size_t GetCount() const noexcept { return m_entries.size(); }

    /// Entry by position, from 0. @throws std::out_of_range "invalid vector subscript".
    [[nodiscard]] const BString& GetKeyAt(std::size_t entryIndex) const;
    [[nodiscard]] const BVariant& GetValueAt(std::size_t entryIndex) const;
    /// The key's value, null when the key is absent; valid until the list is changed.
    [[nodiscard]] const BVariant* Find(const BString& key) const;

private:
    struct Entry
    {
        BString key;
        BVariant value;
    };

    std::vector<Entry> m_entries;
    std::unordered_map<BString, std::size_t> m_positions;
};

/// The parameter list of the data managers: reader options, and the results of queries.
class ORVANE_SDK_EXPORT BParamList : public BKeyValuePairs
{};

} // namespace Orvane
