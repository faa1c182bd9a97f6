// Texts of generators.
#include "TextMaker.h"

#include <algorithm>

namespace Fuzz {

namespace {

std::string Digits(Dice& dice, int count)
{
    std::string digits;
    for (int i = 0; i < count; ++i) {
        digits += static_cast<char>('0' + dice.Between(0, 9));
    }
    return digits;
}

std::string Replaced(std::string_view text, char wanted, std::string_view replacement)
{
    std::string result;
    for (const char byte : text) {
        if (byte == wanted) {
            result += replacement;
        } else {
            result += byte;
        }
    }
    return result;
}

} // namespace

std::string MakeNumber(Dice& dice)
{
    switch (dice.Below(12)) {
    case 0:
        return dice.Pick<const char*>({"2147483647",
                                       "2147483648",
                                       "-2147483648",
                                       "-2147483649",
                                       "4294967296",
                                       "9223372036854775807",
                                       "9223372036854775808",
                                       "-9223372036854775808",
                                       "9223372036854775296",
                                       "18446744073709551616"});
    case 1:
        return dice.Pick<const char*>({"inf",
                                       "-Infinity",
                                       "nan",
                                       "NAN(12)",
                                       "0x1F",
                                       "-0X.8p3",
                                       "0x1p-1074",
                                       "0x",
                                       "1e",
                                       "1e+",
                                       ".",
                                       "-",
                                       "+.e1",
                                       "infinit",
                                       "nan("});
    case 2:
        return dice.Pick<const char*>({"1.7976931348623157e308",
                                       "1.7976931348623159e308",
                                       "1e309",
                                       "4.9406564584124654e-324",
                                       "2.4703282292062327e-324",
                                       "2.2250738585072011e-308",
                                       "9007199254740993",
                                       "9007199254740992.9999999999999",
                                       "1e23",
                                       "8.5e22"});
    default:
        break;
    }
    std::string text = dice.Pick<const char*>({"", "", "", "-", "-", "+"});
    text += Digits(dice, dice.Chance(10) ? dice.Between(0, 25) : dice.Between(1, 9));
    if (dice.Chance(15)) {
        text.insert(text.size() - std::min<std::size_t>(3, text.size()), ",");
    }
    if (dice.Chance(60)) {
        text += "." + Digits(dice, dice.Chance(10) ? dice.Between(0, 400) : dice.Between(0, 9));
    }
    if (dice.Chance(12)) {
        text += dice.Pick<const char*>({"e", "E", "e-", "E+", "p"}) +
                std::to_string(dice.Between(0, 400));
    }
    if (dice.Chance(5)) {
        text.insert(0, dice.Pick<const char*>({" ", "\t", "\v\f", "\n", "\r "}));
    }
    if (dice.Chance(5)) {
        text += dice.Pick<const char*>({" ", "m", ",", ".", "\t", "e", "\xc2\xa0"});
    }
    return text;
}

std::string MakeAngle(Dice& dice)
{
    std::string text = dice.Pick<const char*>(
        {"", "", "", "-", "+", "N", "s ", "W", "e", "- ", " ", "-N", "\xc2\xa0"});
    const int partCount = dice.Between(1, dice.Chance(5) ? 4 : 3);
    const bool isPacked = dice.Chance(20);
    const char* const kMarks[][7] = {{"\xc2\xb0", " ", ":", "d", "D ", "-", "\xc2\xb0 "},
                                     {"'", " ", ":", "m", "\xe2\x80\xb2", "\xe2\x80\x99", "M "},
                                     {"\"", "s", "''", "\xe2\x80\xb3", "\xe2\x80\x9d", "S", ""},
                                     {"", " ", "\"", "'", "s", ":", "-"}};
    for (int part = 0; part < partCount; ++part) {
        if (isPacked) {
            text += Digits(dice, part == 0 ? dice.Between(1, 3) : 2);
        } else {
            text += std::to_string(part == 0 ? dice.Between(0, 200) : dice.Between(0, 61));
        }
        if (part + 1 == partCount && dice.Chance(50)) {
            text += "." + Digits(dice, dice.Between(0, 6));
        }
        if (!isPacked && (part + 1 < partCount || dice.Chance(60))) {
            text += kMarks[part][dice.Below(7)];
            if (dice.Chance(10)) {
                text += dice.Pick<const char*>({" ", "-", " - ", ":", "\t"});
            }
        }
    }
    text +=
        dice.Pick<const char*>({"", "", "", "", "N", "S", " s", "W", " E", "w", "x", " ", "sS"});
    if (dice.Chance(10)) {
        Break(dice, text);
    }
    return text;
}

std::string MakeWord(Dice& dice)
{
    return dice.Pick<const char*>({"yes",
                                   "NO",
                                   "t",
                                   "F",
                                   "true",
                                   "False",
                                   "1",
                                   "0",
                                   "y",
                                   "tru",
                                   "K\xc3\xb6ln",
                                   "a",
                                   "a b",
                                   "a,b",
                                   "a\"b",
                                   "say \"\"",
                                   "\\\"",
                                   "\\",
                                   "a\nb",
                                   "a\r\nb",
                                   "\xc3\xa9",
                                   "\xe6\x97\xa5\xe6\x9c\xac",
                                   "\xf0\x9f\x98\x80",
                                   "\xef\xbb\xbf",
                                   "\xff",
                                   "\xc3",
                                   "\xed\xa0\x80",
                                   "#",
                                   "//",
                                   " ",
                                   "\t",
                                   "\v",
                                   ";",
                                   "YE\xc5\xbf",
                                   "tr\xc4\xb1",
                                   "\xe2\x84\xaa"});
}

std::string MakeValue(Dice& dice)
{
    switch (dice.Below(8)) {
    case 0:
        return {};
    case 1:
    case 2:
        return MakeWord(dice);
    case 3:
        return MakeAngle(dice);
    default:
        return MakeNumber(dice);
    }
}

std::string MakeField(Dice& dice, std::string_view value, std::string_view separator)
{
    const bool mustQuote = value.find_first_of("\"\r\n") != std::string_view::npos ||
                           (!separator.empty() && value.find(separator) != std::string_view::npos);
    if (!(mustQuote ? dice.Chance(92) : dice.Chance(12))) {
        return std::string(value);
    }
    std::string field = "\"";
    field += Replaced(value, '"', dice.Chance(90) ? "\"\"" : "\\\"");
    if (!dice.Chance(2)) {
        field += '"';
    }
    if (dice.Chance(3)) {
        field.insert(0, " ");
    }
    if (dice.Chance(3)) {
        field += ' ';
    }
    return field;
}

std::string MakeLine(Dice& dice, std::size_t fieldCount, std::string_view separator)
{
    std::string line;
    for (std::size_t i = 0; i < fieldCount; ++i) {
        if (i > 0) {
            line += separator;
        }
        line += MakeField(dice, MakeValue(dice), separator);
    }
    return line;
}

std::string MakeLines(Dice& dice, std::size_t lineCount, std::string_view separator)
{
    const char* const ending = dice.Pick<const char*>({"\n", "\n", "\r\n", "\r"});
    const bool isMixed = dice.Chance(10);
    const std::size_t fieldCount = dice.Below(6) + 1;
    std::string text;
    for (std::size_t i = 0; i < lineCount; ++i) {
        if (dice.Chance(90)) {
            const bool isUneven = dice.Chance(5);
            text += MakeLine(dice, isUneven ? dice.Below(8) : fieldCount, separator);
        }
        if (i + 1 < lineCount || dice.Chance(70)) {
            text += isMixed ? dice.Pick<const char*>({"\n", "\r\n", "\r"}) : ending;
        }
    }
    return text;
}

void Break(Dice& dice, std::string& bytes)
{
    for (int i = dice.Between(1, 4); i > 0; --i) {
        const std::size_t at = dice.Below(bytes.size() + 1);
        switch (dice.Below(6)) {
        case 0:
            bytes.insert(at, 1, static_cast<char>(dice.Byte()));
            break;
        case 1:
            bytes.insert(at,
                         dice.Pick<const char*>({"\"",
                                                 "\n",
                                                 "\r",
                                                 "\r\n",
                                                 ",",
                                                 "\\\"",
                                                 " ",
                                                 "\t",
                                                 "\xc3",
                                                 "\xed\xa0\x80",
                                                 "\xef\xbb\xbf",
                                                 ";"}));
            break;
        case 2:
            bytes.insert(at, 1, '\0');
            break;
        case 3:
            bytes.erase(at, dice.Below(4));
            break;
        case 4:
            bytes.insert(at, bytes.substr(at, dice.Below(12)));
            break;
        default:
            if (at < bytes.size()) {
                bytes[at] = static_cast<char>(dice.Byte());
            }
            break;
        }
    }
}

} // namespace Fuzz
