// Puts values into the bytes of properties.
#include "FeatureFormat.h"

#include "../DateText.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <optional>

namespace Orvane::Import {

FeatureFormat::FeatureFormat(const std::vector<FileField>& fields,
                             FlatGeobuf::FlatGeobufWriter& writer)
    : m_fields(fields)
    , m_writer(writer)
    , m_notOfType(fields.size())
{}

char* FeatureFormat::Begin(std::size_t fieldIndex, std::size_t byteCount)
{
    static_assert(std::endian::native == std::endian::little);
    const auto number = static_cast<std::uint16_t>(fieldIndex);
    const std::size_t end = m_used + sizeof number + byteCount;
    if (end > m_properties.size()) {
        m_properties.resize(std::max(end, 2 * m_properties.size()));
    }
    char* const place = m_properties.data() + m_used;
    std::memcpy(place, &number, sizeof number);
    m_used = end;
    return place + sizeof number;
}

void FeatureFormat::PutText(std::size_t fieldIndex, std::string_view utf8)
{
    // A text beyond 32 bits is beyond the size of a row, too.
    const auto size = static_cast<std::uint32_t>(utf8.size());
    char* const place = Begin(fieldIndex, sizeof size + utf8.size());
    std::memcpy(place, &size, sizeof size);
    if (!utf8.empty()) {
        std::memcpy(place + sizeof size, utf8.data(), utf8.size());
    }
}

void FeatureFormat::DateTime(std::size_t fieldIndex, std::string_view utf8)
{
    const std::optional<DateParts> parts = ParseDateText(EVariantType::DateTime, utf8);
    if (!parts) {
        m_notOfType[fieldIndex] += utf8.empty() ? 0U : 1U;
        return;
    }
    SpellDateTime(utf8, *parts, 0, m_dateText);
    PutText(fieldIndex, m_dateText);
}

} // namespace Orvane::Import
