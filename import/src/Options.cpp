// The one table of reader options and the reading of option values.
#include <Orvane/BNumbers.h>
#include <Orvane/Constants.h>
#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/NearestWord.h>
#include <Orvane/Import/Options.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string_view>
#include <text/OptionRules.h>
#include <utility>

namespace Orvane::Import {

const std::vector<ReaderOption>& GetReaderOptions()
{
    using Kind = EOptionKind;
    static const std::vector<ReaderOption> kOptions = {
        {Orvane::ASCII_SEPARATOR, Kind::Text, "field separator, taken literally; \\t is a tab"},
        {Orvane::FIELD_LENGTH, Kind::Integers, "widths of fixed-width columns, in characters"},
        {Orvane::USE_COMMA, Kind::Presence, "split at commas"},
        {Orvane::USE_TAB, Kind::Presence, "split at tabs"},
        {Orvane::USE_SPACE, Kind::Presence, "split at blanks"},
        {Orvane::MAX_RECORDS, Kind::Integer, "most rows to read; 0 or less: all"},
        {Orvane::X_COLUMN, Kind::Integer, "column of X (longitude, easting), counted from 0"},
        {Orvane::Y_COLUMN, Kind::Integer, "column of Y (latitude, northing), counted from 0"},
        {Orvane::Z_COLUMN, Kind::Integer, "column of Z (height), counted from 0"},
        {Orvane::NAME_COLUMN, Kind::Integer, "column that names each feature, counted from 1"},
        {Orvane::FIRST_LINE_COLUMN_NAMES, Kind::Boolean, "the first line holds column names"},
        {Orvane::X_COORDINATE_FORMAT, Kind::Text, "format of X: D, DM, DMS, DDMM.m, DDMMSS.s"},
        {Orvane::Y_COORDINATE_FORMAT, Kind::Text, "format of Y"},
        {Orvane::Z_COORDINATE_FORMAT, Kind::Text, "format of Z"},
        {Orvane::X_MULTIPLIER, Kind::Number, "factor for X; read together with Y_MULTIPLIER only"},
        {Orvane::Y_MULTIPLIER, Kind::Number, "factor for Y; read together with X_MULTIPLIER only"},
        {Orvane::Z_MULTIPLIER, Kind::Number, "factor for Z; needs those of X and Y"},
        {Orvane::AUTO_SCHEMA, Kind::Presence, "infer the columns' types, whatever else is given"},
        {Orvane::AUTO_SCHEMA_ALL_ROWS, Kind::Boolean, "infer the columns' types from all rows"},
        {AsciiReader::OptionRules::SampleSizeKey(),
         Kind::Integer,
         "rows that types are inferred from; 5 when absent"},
        {Orvane::COLUMN_DEFINITION,
         Kind::Texts,
         "one attribute column: number,name,type,length,precision"},
        {Orvane::PRESERVE_NUMERIC_STRINGS, Kind::Boolean, "keep columns of numbers as text"},
        {Orvane::IGNORE_BLANK_ROWS, Kind::Boolean, "skip empty lines; true when absent"},
        {Orvane::ASCII_HEADER_IDENTIFIER, Kind::Texts, "a text that header lines begin with"},
        {Orvane::ASCII_HEADER_BLANK_LINE, Kind::Boolean, "the header ends at a blank line"},
        {Orvane::ASCII_HEADER_COUNT, Kind::Integer, "number of header lines"},
        {AsciiReader::OptionRules::CodecKey(),
         Kind::Text,
         "text encoding, for example UTF-8; ISO-8859-1 when absent"},
        {AsciiReader::OptionRules::LocaleCodecKey(),
         Kind::Presence,
         "take the text encoding of the system's locale"},
    };
    return kOptions;
}

const char* NameOfKind(EOptionKind kind) noexcept
{
    switch (kind) {
    case EOptionKind::Integer:
        return "integer";
    case EOptionKind::Number:
        return "number";
    case EOptionKind::Boolean:
        return "boolean";
    case EOptionKind::Text:
        return "text";
    case EOptionKind::Texts:
        return "list of texts";
    case EOptionKind::Integers:
        return "list of integers";
    case EOptionKind::Presence:
        return "presence";
    }
    return "";
}

namespace {

std::string FoldCase(std::string_view text)
{
    std::string folded(text);
    std::transform(folded.begin(), folded.end(), folded.begin(), [](char byte) {
        return byte >= 'a' && byte <= 'z' ? static_cast<char>(byte - 'a' + 'A') : byte;
    });
    return folded;
}

/// Known keys that may be meant, in the order of the catalogue.
std::vector<std::string> FindNearKeys(const std::string& key)
{
    std::vector<std::string> keys;
    for (const ReaderOption& option : GetReaderOptions()) {
        keys.push_back(option.key.ToUtf8());
    }
    const std::vector<std::string_view> nearest = FindNearestWords(key, {keys.begin(), keys.end()});
    return {nearest.begin(), nearest.end()};
}

/// A value as a failure's sentence shows it.
std::string Quoted(std::string_view value)
{
    return "'" + DisplayText::Cut(DisplayText::Escape(value), 60) + "'";
}

[[noreturn]] void
Throw(const char* code, std::string what, std::string subject, std::string_view value)
{
    FailureFields fields;
    fields.kind = EFailureKind::Request;
    fields.code = code;
    fields.what = std::move(what);
    fields.subject = std::move(subject);
    fields.value = value;
    throw ImportFailure(std::move(fields));
}

[[noreturn]] void ThrowWrongValue(const ReaderOption& option, std::string_view value)
{
    std::string text = "The option " + option.key.ToUtf8() + " needs ";
    switch (option.kind) {
    case EOptionKind::Integer:
        text += "an integer of 32 bits";
        break;
    case EOptionKind::Number:
        text += "a number";
        break;
    case EOptionKind::Boolean:
        text += "a boolean (true, false, yes, no, 1 or 0)";
        break;
    case EOptionKind::Text:
        text += "a text";
        break;
    case EOptionKind::Integers:
        text += "a list of integers of 32 bits, for example 5,9,9";
        break;
    case EOptionKind::Texts:
        text += "a list of texts, one each time it is given";
        break;
    case EOptionKind::Presence:
        text += "nothing";
        break;
    }
    text += ", not " + Quoted(value) + ".";
    Throw("option-value", text, option.key.ToUtf8(), value);
}

std::optional<std::int32_t> ParseInteger(std::string_view text)
{
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') {
        text.remove_prefix(1);
    }
    std::int32_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

Orvane::BString ToText(std::string_view value)
{
    return Orvane::BString::FromUtf8(value);
}

Orvane::BString UnescapeSeparator(std::string_view value)
{
    std::string text;
    for (std::size_t index = 0; index < value.size(); ++index) {
        const char next = index + 1 < value.size() ? value[index + 1] : '\0';
        if (value[index] == '\\' && (next == 't' || next == '\\')) {
            text += next == 't' ? '\t' : '\\';
            ++index;
        } else {
            text += value[index];
        }
    }
    return ToText(text);
}

bool ParseBoolean(const ReaderOption& option, std::string_view value)
{
    const std::string folded = FoldCase(value);
    if (folded == "TRUE" || folded == "YES" || folded == "1") {
        return true;
    }
    if (folded == "FALSE" || folded == "NO" || folded == "0") {
        return false;
    }
    ThrowWrongValue(option, value);
}

double ParseNumber(const ReaderOption& option, std::string_view value)
{
    std::size_t consumed = 0;
    const double number = Orvane::BNumbers::Strtod(value, &consumed);
    if (value.empty() || consumed != value.size()) {
        ThrowWrongValue(option, value);
    }
    return number;
}

std::vector<std::int32_t> ParseIntegers(const ReaderOption& option, std::string_view value)
{
    std::vector<std::int32_t> integers;
    std::string_view rest = value;
    while (!rest.empty()) {
        const std::size_t comma = rest.find(',');
        const std::optional<std::int32_t> integer = ParseInteger(rest.substr(0, comma));
        const bool endsWithComma = comma == rest.size() - 1;
        if (!integer || endsWithComma) {
            ThrowWrongValue(option, value);
        }
        integers.push_back(*integer);
        rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
    }
    return integers;
}

void AddScalar(const ReaderOption& option, std::string_view value, Orvane::BParamList& params)
{
    switch (option.kind) {
    case EOptionKind::Integer: {
        const std::optional<std::int32_t> integer = ParseInteger(value);
        if (!integer) {
            ThrowWrongValue(option, value);
        }
        params.Add(option.key, *integer);
        break;
    }
    case EOptionKind::Number:
        params.Add(option.key, ParseNumber(option, value));
        break;
    case EOptionKind::Boolean:
        params.Add(option.key, ParseBoolean(option, value));
        break;
    default:
        params.Add(option.key,
                   option.key == Orvane::ASCII_SEPARATOR ? UnescapeSeparator(value)
                                                         : ToText(value));
        break;
    }
}

} // namespace

const ReaderOption& FindReaderOption(const std::string& key)
{
    const Orvane::BString wanted = Orvane::BString::FromUtf8(key);
    for (const ReaderOption& option : GetReaderOptions()) {
        if (option.key == wanted) {
            return option;
        }
    }
    FailureFields fields;
    fields.kind = EFailureKind::Request;
    fields.code = "unknown-option";
    fields.what = "There is no reader option " + Quoted(key) + ".";
    fields.value = key;
    fields.nearest = FindNearKeys(key);
    for (const std::string& near : fields.nearest) {
        fields.advice += (fields.advice.empty() ? "Did you mean " : ", ") + near;
    }
    fields.advice += fields.advice.empty() ? "" : "?";
    throw ImportFailure(std::move(fields));
}

void AddOptionTexts(const std::vector<std::string>& texts, Orvane::BParamList& params)
{
    std::set<std::string> begunLists;
    for (const std::string& text : texts) {
        const std::size_t equals = text.find('=');
        const ReaderOption& option = FindReaderOption(text.substr(0, equals));
        if (equals == std::string::npos) {
            if (option.kind != EOptionKind::Presence) {
                const std::string name = option.key.ToUtf8();
                std::string what = "The option " + name;
                what.append(" needs a value: ").append(name);
                what.append("=VALUE, a value of the type ").append(NameOfKind(option.kind));
                Throw("option-value", what.append("."), name, {});
            }
            params.Add(option.key, true);
            continue;
        }
        const std::string_view value = std::string_view(text).substr(equals + 1);
        if (!DisplayText::IsUtf8(value)) {
            ThrowWrongValue(option, value);
        }
        if (!IsListKind(option.kind)) {
            AddScalar(option, value, params);
            continue;
        }
        const bool isFirst = begunLists.insert(option.key.ToUtf8()).second;
        if (option.kind == EOptionKind::Texts) {
            std::vector<Orvane::BString> list =
                isFirst ? std::vector<Orvane::BString>() : params.GetStrings(option.key);
            list.push_back(ToText(value));
            params.Add(option.key, list);
        } else {
            std::vector<std::int32_t> list =
                isFirst ? std::vector<std::int32_t>() : params.GetIntegers(option.key);
            const std::vector<std::int32_t> more = ParseIntegers(option, value);
            list.insert(list.end(), more.begin(), more.end());
            params.Add(option.key, list);
        }
    }
}

} // namespace Orvane::Import
