// Choices from bytes and back.
#include "FuzzInput.h"

#include <Orvane/Constants.h>

#include <algorithm>
#include <cstring>

namespace Fuzz {

using Orvane::BParamList;
using Orvane::BString;
using Orvane::BVariant;
using Orvane::EVariantType;

namespace {

/// Tags of values, in the order of their numbers.
enum class ETag { Int32, Text, Boolean, Double, Texts, Integers, Int64, Float, Count };

constexpr std::size_t kMostEntries = 16;

} // namespace

std::uint8_t FuzzInput::Byte()
{
    if (m_bytes.empty()) {
        return 0;
    }
    const auto value = static_cast<std::uint8_t>(m_bytes.front());
    m_bytes.remove_prefix(1);
    return value;
}

double FuzzInput::Double()
{
    const auto bits = Number<std::uint64_t>();
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

std::string_view FuzzInput::Text()
{
    const std::size_t wanted = Byte();
    const std::size_t length = std::min(wanted, m_bytes.size());
    const std::string_view text = m_bytes.substr(0, length);
    m_bytes.remove_prefix(length);
    return text;
}

BVariant FuzzInput::Value()
{
    switch (ETag{static_cast<int>(Below(static_cast<std::size_t>(ETag::Count)))}) {
    case ETag::Int32:
        return BVariant(Number<std::int32_t>());
    case ETag::Text:
        return BVariant(String());
    case ETag::Boolean:
        return BVariant(Bit());
    case ETag::Double:
        return BVariant(Double());
    case ETag::Texts: {
        std::vector<BString> texts(Below(kMostEntries));
        std::generate(texts.begin(), texts.end(), [this] { return String(); });
        return BVariant(texts);
    }
    case ETag::Integers: {
        std::vector<std::int32_t> numbers(Below(kMostEntries));
        std::generate(numbers.begin(), numbers.end(), [this] { return Number<std::int32_t>(); });
        return BVariant(numbers);
    }
    case ETag::Int64:
        return BVariant(Number<std::int64_t>());
    case ETag::Float:
    case ETag::Count:
        break;
    }
    return BVariant(static_cast<float>(Double()));
}

BParamList FuzzInput::Options()
{
    const std::vector<BString>& keys = OptionKeys();
    BParamList options;
    for (std::size_t left = Below(32); left > 0 && !IsEmpty(); --left) {
        const std::size_t key = Byte();
        const BString name = key < keys.size() ? keys[key] : String();
        options.Add(name, Value());
    }
    return options;
}

std::string_view FuzzInput::Rest()
{
    const std::string_view rest = m_bytes;
    m_bytes = {};
    return rest;
}

FuzzOutput& FuzzOutput::Byte(std::size_t value)
{
    m_bytes += static_cast<char>(static_cast<unsigned char>(value & 0xFFU));
    return *this;
}

FuzzOutput& FuzzOutput::Double(double value)
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return Number(bits);
}

FuzzOutput& FuzzOutput::Text(std::string_view bytes)
{
    constexpr std::size_t kLongest = 255;
    const std::string_view text = bytes.substr(0, kLongest);
    Byte(text.size());
    m_bytes += text;
    return *this;
}

FuzzOutput& FuzzOutput::Value(const BVariant& value)
{
    const auto tag = [this](ETag number) { Byte(static_cast<std::size_t>(number)); };
    switch (value.GetType()) {
    case EVariantType::Int32:
        tag(ETag::Int32);
        return Number(value.GetInteger());
    case EVariantType::Int64:
        tag(ETag::Int64);
        return Number(value.GetInt64());
    case EVariantType::Boolean:
        tag(ETag::Boolean);
        return Byte(value.GetBoolean() ? 1 : 0);
    case EVariantType::Double:
        tag(ETag::Double);
        return Double(value.GetDouble());
    case EVariantType::Float:
        tag(ETag::Float);
        return Double(static_cast<double>(value.GetFloat()));
    case EVariantType::Strings: {
        tag(ETag::Texts);
        const std::vector<BString> texts = value.GetStrings();
        const std::size_t count = std::min(texts.size(), kMostEntries - 1);
        Byte(count);
        for (std::size_t i = 0; i < count; ++i) {
            String(texts[i]);
        }
        return *this;
    }
    case EVariantType::Integers: {
        tag(ETag::Integers);
        const std::vector<std::int32_t> numbers = value.GetIntegers();
        const std::size_t count = std::min(numbers.size(), kMostEntries - 1);
        Byte(count);
        for (std::size_t i = 0; i < count; ++i) {
            Number(numbers[i]);
        }
        return *this;
    }
    default:
        tag(ETag::Text);
        return String(value.GetString());
    }
}

FuzzOutput& FuzzOutput::Options(const BParamList& options)
{
    const std::vector<BString>& keys = OptionKeys();
    Byte(options.GetCount());
    for (std::size_t i = 0; i < options.GetCount(); ++i) {
        const auto found = std::find(keys.begin(), keys.end(), options.GetKeyAt(i));
        if (found != keys.end()) {
            Byte(static_cast<std::size_t>(found - keys.begin()));
        } else {
            Byte(0xFF).String(options.GetKeyAt(i));
        }
        Value(options.GetValueAt(i));
    }
    return *this;
}

FuzzOutput& FuzzOutput::Rest(std::string_view bytes)
{
    m_bytes += bytes;
    return *this;
}

const std::vector<BString>& OptionKeys()
{
    using namespace Orvane;
    static const std::vector<BString> kKeys = {ASCII_SEPARATOR,
                                               FIELD_LENGTH,
                                               USE_COMMA,
                                               USE_TAB,
                                               USE_SPACE,
                                               MAX_RECORDS,
                                               X_COLUMN,
                                               Y_COLUMN,
                                               Z_COLUMN,
                                               NAME_COLUMN,
                                               FIRST_LINE_COLUMN_NAMES,
                                               X_COORDINATE_FORMAT,
                                               Y_COORDINATE_FORMAT,
                                               Z_COORDINATE_FORMAT,
                                               X_MULTIPLIER,
                                               Y_MULTIPLIER,
                                               Z_MULTIPLIER,
                                               AUTO_SCHEMA,
                                               AUTO_SCHEMA_ALL_ROWS,
                                               COLUMN_DEFINITION,
                                               PRESERVE_NUMERIC_STRINGS,
                                               IGNORE_BLANK_ROWS,
                                               ASCII_HEADER_IDENTIFIER,
                                               ASCII_HEADER_BLANK_LINE,
                                               ASCII_HEADER_COUNT,
                                               "SCHEMA_SAMPLE_SIZE",
                                               "CODEC",
                                               "CODECFORLOCALE"};
    return kKeys;
}

} // namespace Fuzz
