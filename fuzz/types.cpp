// The questions about one field (type, digits, boolean words, quotes): bytes and UTF-16 against the
// literal rules.
#include "Fuzz.h"
#include "FuzzInput.h"
#include "LiteralRules.h"
#include "TextMaker.h"
#include "text/AsciiUtils.h"
#include "text/ValueRules.h"

#include <Orvane/BStringQt.h>

#include <algorithm>
#include <string>

namespace Fuzz {

namespace {

template <typename Unit>
std::string Answer(std::basic_string_view<Unit> text)
{
    using namespace AsciiReader::ValueRules;
    return "type " + std::to_string(DetectType(text)) + " digits " +
           std::to_string(CountDigits(text)) + " boolean " + YesOrNo(IsBooleanWord(text)) +
           " true " + YesOrNo(IsTrueWord(text)) + " quotes " + std::to_string(CountQuotes(text));
}

std::string Answer(const Orvane::BString& text)
{
    using namespace AsciiReader::AsciiUtils;
    return "type " + std::to_string(DetectType(text)) + " digits " +
           std::to_string(CountDigits(text)) + " boolean " + YesOrNo(IsBooleanWord(text)) +
           " true " + YesOrNo(IsTrueWord(text)) + " quotes " + std::to_string(CountQuotes(text));
}

std::string LiteralAnswer(const QString& text)
{
    using namespace LiteralReader::Rules;
    return "type " + std::to_string(DetectType(text)) + " digits " +
           std::to_string(CountDigits(text)) + " boolean " + YesOrNo(IsBooleanWord(text)) +
           " true " + YesOrNo(IsTrueWord(text)) + " quotes " +
           std::to_string(text.count(QLatin1Char('"')));
}

} // namespace

void RunInput(std::string_view bytes)
{
    const auto size = static_cast<qsizetype>(bytes.size());
    const QString latin1 = QString::fromLatin1(bytes.data(), size);
    const QString utf8 = QString::fromUtf8(bytes.data(), size);
    for (const QString& text : {latin1, utf8}) {
        const std::string expected = LiteralAnswer(text);
        const std::u16string_view units{reinterpret_cast<const char16_t*>(text.utf16()),
                                        static_cast<std::size_t>(text.size())};
        ExpectSame("UTF-16 of " + Escaped(bytes), expected, Answer(units));
        ExpectSame("BString of " + Escaped(bytes), expected, Answer(Orvane::MakeBString(text)));
    }
    ExpectSame("bytes " + Escaped(bytes), LiteralAnswer(latin1), Answer(bytes));
}

std::string MakeInput(Dice& dice)
{
    std::string text = dice.Chance(75) ? MakeNumber(dice) : MakeWord(dice);
    if (dice.Chance(30)) {
        Break(dice, text);
    }
    return text;
}

} // namespace Fuzz
