// Reader options of the command line: texts KEY=VALUE and option files. What one way accepts is
// written for the other and must give the same list; only failures of the library may leave, and no
// text that is shown holds a control character.
#include "Fuzz.h"
#include "FuzzInput.h"
#include "ReaderTraces.h"
#include "Samples.h"
#include "TextMaker.h"

#include <Orvane/BStringQt.h>
#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Options.h>

#include <optional>
#include <string>
#include <vector>

namespace Fuzz {

using Orvane::BParamList;
using Orvane::BString;
using Orvane::BVariant;
using Orvane::EVariantType;

namespace {

void ExpectShowable(std::string_view text)
{
    if (!Orvane::Import::DisplayText::IsUtf8(text)) {
        Fail("a text that is shown is no UTF-8: " + Escaped(text));
    }
    for (const char byte : text) {
        const auto code = static_cast<unsigned char>(byte);
        if (code < 0x20 || code == 0x7F) {
            Fail("a text that is shown has a control character: " + Escaped(text));
        }
    }
    // C1 controls are C2 80 to C2 9F.
    for (std::size_t at = 0; at + 1 < text.size(); ++at) {
        if (text[at] == '\xC2' && static_cast<unsigned char>(text[at + 1]) < 0xA0) {
            Fail("a text that is shown has a C1 control character: " + Escaped(text));
        }
    }
}

/// The list, or nothing after a failure.
template <typename Action>
std::optional<BParamList> Try(Action action)
{
    try {
        return action();
    } catch (const Orvane::Import::ImportFailure& error) {
        ExpectShowable(error.what());
        return std::nullopt;
    }
}

std::string JsonText(const BString& text)
{
    std::string result = "\"";
    for (const char16_t unit : text.View()) {
        char buffer[8];
        std::snprintf(buffer, sizeof buffer, "\\u%04x", unsigned{unit});
        result += buffer;
    }
    return result + "\"";
}

std::string JsonValue(const BVariant& value)
{
    switch (value.GetType()) {
    case EVariantType::Boolean:
        return value.GetBoolean() ? "true" : "false";
    case EVariantType::Double: {
        const std::string text = value.GetString().ToUtf8();
        return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
    }
    case EVariantType::Strings: {
        std::string text;
        for (const BString& part : value.GetStrings()) {
            text += (text.empty() ? "" : ", ") + JsonText(part);
        }
        return "[" + text + "]";
    }
    case EVariantType::Integers: {
        std::string text;
        for (const std::int32_t part : value.GetIntegers()) {
            text += (text.empty() ? "" : ", ") + std::to_string(part);
        }
        return "[" + text + "]";
    }
    case EVariantType::String:
        return JsonText(value.GetString());
    default:
        return std::to_string(value.GetInt64());
    }
}

bool HasJson(const BVariant& value)
{
    // JSON has no word for these.
    const std::string text = value.GetString().ToUtf8();
    return value.GetType() != EVariantType::Double ||
           (text.find("inf") == std::string::npos && text.find("nan") == std::string::npos);
}

std::string Describe(const BParamList& params)
{
    std::string text;
    for (std::size_t i = 0; i < params.GetCount(); ++i) {
        const BVariant& value = params.GetValueAt(i);
        text +=
            params.GetKeyAt(i).ToUtf8() + " " + std::to_string(static_cast<int>(value.GetType()));
        for (const BString& part : value.GetStrings()) {
            text += " " + ReaderTraces::Quoted(part);
        }
        text += "; ";
    }
    return text;
}

BParamList ReadFile(std::string_view bytes)
{
    const QString path =
        ScratchFile(QStringLiteral("options.json"),
                    QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())));
    return Orvane::Import::ReadOptionFile(path.toStdString());
}

/// The list through an option file and back.
void ExpectSameFromFile(const BParamList& params)
{
    std::string json;
    for (std::size_t i = 0; i < params.GetCount(); ++i) {
        if (!HasJson(params.GetValueAt(i))) {
            return;
        }
        json += (json.empty() ? "{" : ", ") + JsonText(params.GetKeyAt(i)) + ": " +
                JsonValue(params.GetValueAt(i));
    }
    json += json.empty() ? "{}" : "}";
    const std::optional<BParamList> back = Try([&] { return ReadFile(json); });
    if (!back) {
        Fail("the option file is refused: " + Escaped(json));
    }
    ExpectSame("option file " + Escaped(json), Describe(params), Describe(*back));
}

void CheckTexts(std::string_view bytes)
{
    std::vector<std::string> texts;
    std::string_view rest = bytes;
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        texts.emplace_back(rest.substr(0, end));
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    const std::optional<BParamList> whole = Try([&] {
        BParamList params;
        Orvane::Import::AddOptionTexts(texts, params);
        return params;
    });
    if (whole) {
        ExpectSameFromFile(*whole);
    }
    // What is refused has a text that is refused alone, and the other way round.
    bool areAllTaken = true;
    for (const std::string& text : texts) {
        areAllTaken = Try([&] {
                          BParamList params;
                          Orvane::Import::AddOptionTexts({text}, params);
                          return params;
                      }).has_value() &&
                      areAllTaken;
    }
    ExpectSame("options are taken", YesOrNo(areAllTaken), YesOrNo(whole.has_value()));
}

void CheckEscape(std::string_view bytes)
{
    namespace DisplayText = Orvane::Import::DisplayText;
    const std::string escaped = DisplayText::Escape(bytes);
    ExpectShowable(escaped);
    ExpectSame("escaped twice", Escaped(escaped), Escaped(DisplayText::Escape(escaped)));
    const std::string cut = DisplayText::Cut(escaped, 7);
    if (DisplayText::CountCharacters(cut) > 7) {
        Fail("a text is not cut: " + Escaped(cut));
    }
    ExpectShowable(cut);
    const std::string padded = DisplayText::Pad(escaped, 9);
    if (DisplayText::CountCharacters(padded) < 9) {
        Fail("a text is not filled up: " + Escaped(padded));
    }
    ExpectShowable(DisplayText::Escape(BString::FromLatin1(bytes)));
}

} // namespace

void RunInput(std::string_view bytes)
{
    FuzzInput input(bytes);
    const bool isFile = input.Bit();
    const std::string_view rest = input.Rest();
    CheckEscape(rest);
    if (!isFile) {
        CheckTexts(rest);
        return;
    }
    const std::optional<BParamList> params = Try([&] { return ReadFile(rest); });
    if (params) {
        ExpectSameFromFile(*params);
    }
}

std::string MakeInput(Dice& dice)
{
    const auto key = [&dice] {
        const auto& options = Orvane::Import::GetReaderOptions();
        return options[dice.Below(options.size())].key.ToUtf8();
    };
    const bool isFile = dice.Chance(50);
    std::string text;
    if (isFile) {
        text = "{";
        for (std::size_t left = dice.Below(6); left > 0; --left) {
            text += "\"" + key() + "\": ";
            text += dice.Pick<const char*>({"1",
                                            "-7",
                                            "2.5",
                                            "1e400",
                                            "true",
                                            "\"a\"",
                                            "\"\\u00e9\"",
                                            "[1, 2]",
                                            "[\"a\", \"b\"]",
                                            "[]",
                                            "null",
                                            "{}",
                                            "3000000000",
                                            "99999999999999999999",
                                            "[1, \"a\"]",
                                            "[[1]]",
                                            "\"\\ud800\"",
                                            "-0",
                                            "1E5",
                                            "[true]"});
            text += left > 1 ? ", " : "";
        }
        text += "}";
    } else {
        for (std::size_t left = dice.Below(6); left > 0; --left) {
            text += key();
            if (dice.Chance(95)) {
                text +=
                    "=" + (dice.Chance(30)
                               ? dice.Pick<const char*>(
                                     {"true", "no", "5,9,9", "\\t", "0,Depth,9,0,3", "UTF-8", ""})
                               : MakeValue(dice));
            }
            text += left > 1 ? "\n" : "";
        }
    }
    if (dice.Chance(25)) {
        Break(dice, text);
    }
    return FuzzOutput().Byte(isFile ? 1 : 0).Rest(text).Take();
}

} // namespace Fuzz
