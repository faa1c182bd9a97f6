// Collects a layer's fields and makes their names fit a format.
#include "FieldNames.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace Orvane::Import {

namespace {

using Names = ExportFormat::ENames;

std::string FoldCase(std::string name)
{
    std::transform(name.begin(), name.end(), name.begin(), [](char byte) {
        return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    });
    return name;
}

/// The text without NUL, which ends a name in files.
std::string WithoutNul(std::string name)
{
    name.erase(std::remove(name.begin(), name.end(), '\0'), name.end());
    return name;
}

/// The first `count` bytes, less where a character would be cut.
std::string CutBytes(const std::string& name, std::size_t count)
{
    if (name.size() <= count) {
        return name;
    }
    while (count > 0 && (static_cast<unsigned char>(name[count]) & 0xC0U) == 0x80) {
        --count;
    }
    return name.substr(0, count);
}

/// Gives out names that differ from each other as far as a format needs it.
class NameGiver
{
public:
    explicit NameGiver(Names rule)
        : m_rule(rule)
    {}

    std::string Give(const std::string& wanted, std::size_t columnNumber)
    {
        std::string name = WithoutNul(wanted);
        if (name.empty()) {
            name = "C" + std::to_string(columnNumber);
        }
        std::string candidate = name;
        if (m_rule == Names::Dbase) {
            candidate = CutBytes(name, kDbaseBytes);
            // Blanks at the end are what the format fills names up with.
            candidate.erase(candidate.find_last_not_of(' ') + 1);
            candidate = candidate.empty() ? "C" + std::to_string(columnNumber) : candidate;
        }
        const std::string begin = candidate;
        std::size_t& number = m_lastNumbers[Key(begin)];
        while (!m_given.insert(Key(candidate)).second) {
            const std::string suffix = "_" + std::to_string(++number);
            candidate =
                (m_rule == Names::Dbase ? CutBytes(begin, kDbaseBytes - suffix.size()) : begin) +
                suffix;
        }
        return candidate;
    }

private:
    static constexpr std::size_t kDbaseBytes = 10;

    [[nodiscard]] std::string Key(const std::string& name) const
    {
        return m_rule == Names::Unique ? name : FoldCase(name);
    }

    Names m_rule;
    std::unordered_set<std::string> m_given;
    std::unordered_map<std::string, std::size_t> m_lastNumbers;
};

std::vector<LayerField> CollectFields(const Orvane::BVectorLayer& layer, const LayerCounts& counts)
{
    std::vector<LayerField> fields;
    const Orvane::BAttributeDefs& schema = layer.GetSchema();
    for (std::size_t index = 0; index < schema.GetCount(); ++index) {
        fields.push_back({schema.GetAt(index).GetName(), schema.GetAt(index).GetType()});
    }
    fields.insert(fields.end(), counts.fieldsBeyondSchema.begin(), counts.fieldsBeyondSchema.end());
    return fields;
}

} // namespace

FileFields
NameFields(const Orvane::BVectorLayer& layer, const LayerCounts& counts, const ExportFormat& format)
{
    FileFields named;
    NameGiver giver(format.names);
    for (const LayerField& wanted : CollectFields(layer, counts)) {
        const std::string wantedName = wanted.name.ToUtf8();
        const std::string name = giver.Give(wantedName, named.fields.size() + 1);
        if (name != wantedName) {
            std::string text = "a column without a name";
            if (!wantedName.empty()) {
                text = "the column '";
                text.append(wantedName).append("'");
            }
            text.append(" is named '").append(name).append("' in the output");
            named.notes.push_back({"field-name", std::move(text)});
        }
        named.fields.push_back({name, wanted.type});
    }
    return named;
}

std::string FindFreeName(const std::vector<FileField>& fields, const std::string& wanted)
{
    std::string name = wanted;
    const auto isUsed = [&](const FileField& field) {
        return FoldCase(field.name) == FoldCase(name);
    };
    for (std::size_t number = 1; std::any_of(fields.begin(), fields.end(), isUsed); ++number) {
        name = wanted + "_" + std::to_string(number);
    }
    return name;
}

} // namespace Orvane::Import
