// The tokens of CSV and of JSON, as far as counting needs them.
#include "TextCounter.h"

#include <algorithm>
#include <stdexcept>

namespace Orvane::Import {

TextCounter::~TextCounter() = default;
CsvCounter::~CsvCounter() = default;
JsonCounter::~JsonCounter() = default;

std::unique_ptr<TextCounter> MakeTextCounter(const ExportFormat& format, const WrittenShape& shape)
{
    const std::string_view driver = format.driver;
    if (driver == "CSV") {
        return std::make_unique<CsvCounter>(shape);
    }
    if (driver == "GeoJSON" || driver == "GeoJSONSeq") {
        return std::make_unique<JsonCounter>(driver == "GeoJSONSeq");
    }
    return nullptr;
}

void CsvCounter::Consume(std::string_view bytes)
{
    for (const char byte : bytes) {
        m_isInRecord = true;
        if (byte == '"') {
            m_isQuoted = !m_isQuoted;
        } else if (m_isQuoted) {
            m_hasText = true;
        } else if (byte == ',') {
            EndField();
        } else if (byte == '\n') {
            EndRecord();
        } else if (byte != '\r') {
            m_hasText = true;
        }
    }
}

TargetCounts CsvCounter::GetCounts() const
{
    if (m_isQuoted || m_isInRecord) {
        throw std::runtime_error("The last record is cut short.");
    }
    return m_counts;
}

void CsvCounter::EndField() noexcept
{
    const bool isPlace = m_field == m_shape.fieldCount || m_field == m_shape.fieldCount + 1;
    m_texts += isPlace && m_hasText ? 1U : 0U;
    m_hasText = false;
    ++m_field;
}

void CsvCounter::EndRecord() noexcept
{
    EndField();
    if (!m_isNames) {
        ++m_counts.rows;
        m_counts.points += m_shape.hasGeometry && m_texts == 2 ? 1U : 0U;
    }
    m_isNames = false;
    m_isInRecord = false;
    m_field = 0;
    m_texts = 0;
}

void JsonCounter::Consume(std::string_view bytes)
{
    for (const char byte : bytes) {
        if (m_isInText) {
            ConsumeInText(byte);
            continue;
        }
        switch (byte) {
        case '"':
            m_isInText = true;
            m_text.clear();
            break;
        case '{':
        case '[':
            Open(byte);
            break;
        case '}':
        case ']':
            Close(byte);
            break;
        case ':':
            m_isKey = false;
            break;
        case ',':
            m_isKey = m_depth > 0 && m_depth <= kDepths && m_open[m_depth - 1] == '{';
            break;
        default:
            break;
        }
    }
}

TargetCounts JsonCounter::GetCounts() const
{
    if (m_isInText || m_depth != 0) {
        throw std::runtime_error("The last feature is cut short.");
    }
    return m_counts;
}

void JsonCounter::ConsumeInText(char byte)
{
    if (m_isEscaped) {
        m_isEscaped = false;
    } else if (byte == '\\') {
        m_isEscaped = true;
    } else if (byte == '"') {
        m_isInText = false;
        EndText();
    } else if (m_isKey && m_text.size() < kKeyBytes) {
        m_text += byte;
    }
}

void JsonCounter::EndText()
{
    if (m_isKey && m_depth == m_featureDepth) {
        m_isGeometry = m_text == "geometry";
    } else if (m_isKey && m_depth == 1) {
        m_isFeatures = m_text == "features";
    }
}

void JsonCounter::Open(char byte)
{
    if (m_isInFeature && m_isGeometry && !m_isKey && m_depth == m_featureDepth) {
        m_counts.points += byte == '{' ? 1U : 0U;
        m_isGeometry = false;
    }
    if (m_depth < kDepths) {
        m_open[m_depth] = byte;
    }
    ++m_depth;
    m_isKey = byte == '{';
    if (m_depth == m_featureDepth && byte == '{' && (m_featureDepth == 1 || m_isFeatures)) {
        m_isInFeature = true;
        m_isGeometry = false;
        ++m_counts.rows;
    }
}

void JsonCounter::Close(char byte)
{
    const char open = byte == '}' ? '{' : '[';
    if (m_depth == 0 || (m_depth <= kDepths && m_open[m_depth - 1] != open)) {
        throw std::runtime_error("The brackets do not match.");
    }
    m_isInFeature = m_isInFeature && m_depth != m_featureDepth;
    --m_depth;
}

} // namespace Orvane::Import
