// Header lines: the rule on lines of every encoding against the literal rule.
#include "CaseBytes.h"
#include "Fuzz.h"
#include "FuzzInput.h"
#include "ReaderTraces.h"
#include "Samples.h"
#include "TextMaker.h"
#include "lines/HeaderRule.h"

#include <Orvane/BStringQt.h>
#include <Orvane/Constants.h>

#include <vector>

namespace Fuzz {

using AsciiReader::ETextUnit;
using AsciiReader::HeaderRule;
using AsciiReader::TextView;
using Orvane::BParamList;
using Orvane::BString;

namespace {

std::string Describe(const std::vector<bool>& answers)
{
    std::string text;
    for (const bool answer : answers) {
        text += answer ? 'h' : '-';
    }
    return text;
}

template <typename MakeView>
std::string Ask(HeaderRule& rule, const QStringList& lines, MakeView makeView)
{
    std::vector<bool> answers;
    for (const QString& line : lines) {
        answers.push_back(rule.Test(makeView(line)));
        if (answers.back() && !rule.IsActive()) {
            Fail("a rule that is not active finds a header line");
        }
    }
    return Describe(answers);
}

} // namespace

void RunInput(std::string_view bytes)
{
    FuzzInput input(bytes);
    const bool isUtf8 = input.Bit();
    const BParamList params = input.Options();
    const QStringList lines = ToLines(input.Rest(), isUtf8);
    const std::string expected = Describe(LiteralReader::Rules::FindHeaderLines(lines, params));

    HeaderRule rule(Normalised(params));
    QByteArray encoded;
    ExpectSame("UTF-16", expected, Ask(rule, lines, [](const QString& line) {
                   return TextView(
                       std::u16string_view(reinterpret_cast<const char16_t*>(line.utf16()),
                                           static_cast<std::size_t>(line.size())));
               }));
    rule.Reset();
    ExpectSame("bytes", expected, Ask(rule, lines, [&encoded, isUtf8](const QString& line) {
                   encoded = isUtf8 ? line.toUtf8() : line.toLatin1();
                   return TextView({encoded.constData(), static_cast<std::size_t>(encoded.size())},
                                   isUtf8 ? ETextUnit::Utf8 : ETextUnit::Latin1);
               }));
}

std::string MakeInput(Dice& dice)
{
    FuzzOutput output;
    output.Byte(dice.Below(2));
    BParamList params;
    const auto any = [&dice](int number) {
        return dice.Chance(70)   ? Orvane::BVariant(std::int32_t{number})
               : dice.Chance(50) ? Orvane::BVariant(BString(std::to_string(number)))
                                 : Orvane::BVariant(number != 0);
    };
    if (dice.Chance(40)) {
        std::vector<BString> texts(dice.Below(3));
        for (BString& text : texts) {
            text = BString(dice.Pick<const char*>({"#", "//", "%", "", "\xc3\xa9", "\"", "# "}));
        }
        params.Add(Orvane::ASCII_HEADER_IDENTIFIER, texts);
    }
    if (dice.Chance(40)) {
        params.Add(Orvane::ASCII_HEADER_BLANK_LINE, any(dice.Between(-1, 1)));
    }
    if (dice.Chance(60)) {
        params.Add(Orvane::ASCII_HEADER_COUNT, any(dice.Between(-2, 5)));
    }
    output.Options(params);
    std::string text;
    for (std::size_t left = dice.Below(10); left > 0; --left) {
        text += dice.Pick<const char*>({"", "", "#", "# ", "//", "\xc3\xa9", "\xc3", "%", "\""});
        text += MakeWord(dice) + "\n";
    }
    return output.Rest(text).Take();
}

} // namespace Fuzz
