// The tokens of CSV and of JSON, as far as counting needs them.
#include "TextCounter.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <kernels/Bits.h>
#include <kernels/Blocks.h>
#include <stdexcept>

namespace Orvane::Import {

namespace {

enum class EToken : std::uint8_t {
    None,
    Quote,
    Open,
    Close,
    Colon,
    Comma,
};

constexpr std::array<EToken, 256> MakeTokens()
{
    std::array<EToken, 256> tokens{};
    tokens['"'] = EToken::Quote;
    tokens['{'] = EToken::Open;
    tokens['['] = EToken::Open;
    tokens['}'] = EToken::Close;
    tokens[']'] = EToken::Close;
    tokens[':'] = EToken::Colon;
    tokens[','] = EToken::Comma;
    return tokens;
}

/// Most bytes of JSON are none of these: one look tells.
constexpr std::array<EToken, 256> kTokens = MakeTokens();

} // namespace

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
    std::size_t at = 0;
    std::size_t singleUntil = 0;
    while (at < bytes.size()) {
        if (m_depth > m_featureDepth && at >= singleUntil) {
            at = SkipInside(bytes, at);
            singleUntil = m_depth > m_featureDepth ? at + kBlockBytes : 0;
            continue;
        }
        if (m_isInText) {
            at = ConsumeInText(bytes, at);
            continue;
        }
        const char byte = bytes[at++];
        switch (kTokens[static_cast<unsigned char>(byte)]) {
        case EToken::None:
            break;
        case EToken::Quote:
            m_isInText = true;
            m_text.clear();
            break;
        case EToken::Open:
            Open(byte);
            break;
        case EToken::Close:
            Close(byte);
            break;
        case EToken::Colon:
            m_isKey = false;
            break;
        case EToken::Comma:
            m_isKey = m_depth > 0 && m_depth <= kDepths && m_open[m_depth - 1] == '{';
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

/// Inside of a feature's members names do not matter: 64 bytes at once, only the brackets outside
/// of texts are looked at.
std::size_t JsonCounter::SkipInside(std::string_view bytes, std::size_t at)
{
    namespace Kernels = AsciiReader::Kernels;
    for (; bytes.size() - at >= kBlockBytes && !m_isEscaped; at += kBlockBytes) {
        const auto block = Kernels::Block64::Load(bytes.data() + at);
        if (block.Equal('\\') != 0) {
            return at;
        }
        const std::uint64_t inText =
            Kernels::PrefixXor(block.Equal('"')) ^ (m_isInText ? ~std::uint64_t{0} : 0);
        std::uint64_t brackets =
            (block.Equal('{') | block.Equal('}') | block.Equal('[') | block.Equal(']')) & ~inText;
        for (; brackets != 0; brackets &= brackets - 1) {
            const std::size_t place = at + Kernels::LowestBit(brackets);
            const char bracket = bytes[place];
            if (bracket == '{' || bracket == '[') {
                Open(bracket);
                continue;
            }
            Close(bracket);
            if (m_depth <= m_featureDepth) {
                m_isInText = false;
                return place + 1;
            }
        }
        m_isInText = inText >> (kBlockBytes - 1) != 0;
    }
    return at;
}

std::size_t JsonCounter::ConsumeInText(std::string_view bytes, std::size_t at)
{
    if (m_isEscaped) {
        m_isEscaped = false;
        return at + 1;
    }
    std::size_t end = at;
    while (end < bytes.size() && bytes[end] != '"' && bytes[end] != '\\') {
        ++end;
    }
    if (m_isKey && m_text.size() < kKeyBytes) {
        m_text.append(bytes.substr(at, std::min(end - at, kKeyBytes - m_text.size())));
    }
    if (end == bytes.size()) {
        return end;
    }
    if (bytes[end] == '\\') {
        m_isEscaped = true;
    } else {
        m_isInText = false;
        EndText();
    }
    return end + 1;
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
