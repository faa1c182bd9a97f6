// Lines into fields: the splitter on each encoding of a line against the literal rule.
#include "Fuzz.h"
#include "FuzzInput.h"
#include "LiteralRules.h"
#include "ReaderTraces.h"
#include "TextMaker.h"
#include "text/AsciiUtils.h"
#include "text/Separator.h"
#include "text/SplitPatterns.h"
#include "text/Utf8.h"

#include <Orvane/BStringQt.h>

#include <algorithm>
#include <iterator>

namespace Fuzz {

using AsciiReader::ETextUnit;
using AsciiReader::Separator;
using AsciiReader::SplitRow;
using AsciiReader::TextView;
using Orvane::BString;

namespace {

const char* const kSeparators[] = {",",
                                   "\t",
                                   " ",
                                   ";",
                                   "|",
                                   "::",
                                   "\"",
                                   "\",\"",
                                   "aa",
                                   "aba",
                                   "\xc3\xa9",
                                   "\xf0\x9f\x98\x80",
                                   "\n",
                                   "%1",
                                   "\\E",
                                   ""};

/// Patterns that stand for no literal text.
const char* const kPatterns[] = {"", "[,;]", "\\s+", "a*", "(", "(?=b)", ",|\"", "^", "$"};

std::string Describe(const std::vector<BString>& fields)
{
    std::string text = std::to_string(fields.size()) + " fields";
    for (const BString& field : fields) {
        text += " " + ReaderTraces::Quoted(field);
    }
    return text;
}

std::string Describe(const QStringList& fields)
{
    std::vector<BString> texts;
    for (const QString& field : fields) {
        texts.push_back(Orvane::MakeBString(field));
    }
    return Describe(texts);
}

std::string Split(const Separator& separator, const TextView& line, SplitRow& row)
{
    separator.Split(line, row);
    std::vector<BString> texts;
    row.Visit([&texts](const auto& fields, ETextUnit unit) {
        for (const auto& field : fields) {
            texts.push_back(AsciiReader::MakeString(field, unit));
        }
    });
    return Describe(texts);
}

} // namespace

void RunInput(std::string_view bytes)
{
    FuzzInput input(bytes);
    const std::size_t kind = input.Below(8);
    LiteralReader::Rules::Cut cut;
    if (kind == 0) {
        cut.pattern =
            QRegularExpression(QString::fromUtf8(kPatterns[input.Below(std::size(kPatterns))]));
    } else if (kind == 1) {
        cut = LiteralReader::Rules::CutAt(Orvane::MakeQString(input.String()));
    } else {
        cut = LiteralReader::Rules::CutAt(
            QString::fromUtf8(kSeparators[input.Below(std::size(kSeparators))]));
    }
    std::vector<std::int32_t> widths(input.Below(16) == 1 ? input.Below(5) : 0);
    std::generate(widths.begin(), widths.end(), [&input] { return input.Number<std::int8_t>(); });
    const bool isUtf8 = input.Bit();
    const std::string_view rest = input.Rest();

    const bool isValid = AsciiReader::CheckUtf8(rest).validSize == rest.size();
    const QString line =
        isUtf8 ? Orvane::MakeQString(BString::FromUtf8(rest))
               : QString::fromLatin1(rest.data(), static_cast<qsizetype>(rest.size()));
    std::string title = "fields at " + ReaderTraces::Quoted(cut.pattern.pattern()) + ", widths";
    for (const std::int32_t width : widths) {
        title += " " + std::to_string(width);
    }
    title += ", of " + ReaderTraces::Quoted(line) + ", ";
    const std::string expected =
        Describe(LiteralReader::Rules::SplitLine(line, cut, {widths.begin(), widths.end()}));

    if (cut.literal &&
        cut.pattern != AsciiReader::SplitPatterns::MakeSeparatorPattern(*cut.literal)) {
        Fail("the pattern of the separator <" + cut.literal->toStdString() + "> differs");
    }
    const Separator separator(cut.pattern, widths);
    SplitRow row;
    // The row keeps what an earlier line has left in it.
    const std::u16string_view units{reinterpret_cast<const char16_t*>(line.utf16()),
                                    static_cast<std::size_t>(line.size())};
    ExpectSame(title + "UTF-16", expected, Split(separator, TextView(units), row));
    if (!isUtf8) {
        ExpectSame(title + "Latin-1", expected, Split(separator, {rest, ETextUnit::Latin1}, row));
    } else if (isValid) {
        ExpectSame(title + "UTF-8", expected, Split(separator, {rest, ETextUnit::Utf8}, row));
    }
    ExpectSame(title + "UTF-16 again", expected, Split(separator, TextView(units), row));
    ExpectSame(title + "SplitLine",
               expected,
               Describe(AsciiReader::AsciiUtils::SplitLine(line, cut.pattern, widths)));

    const char single = separator.GetSingleByte();
    if (single != '\0' && (!cut.literal || *cut.literal != QString(QLatin1Char(single)))) {
        Fail("the separator is not the single byte that it is said to be");
    }
}

std::string MakeInput(Dice& dice)
{
    FuzzOutput output;
    const std::size_t kind = dice.Below(8);
    output.Byte(kind);
    std::string separator = ",";
    if (kind == 0) {
        output.Byte(dice.Below(std::size(kPatterns)));
    } else if (kind == 1) {
        separator = MakeWord(dice);
        output.Text(separator);
    } else {
        const std::size_t index = dice.Below(std::size(kSeparators));
        separator = kSeparators[index];
        output.Byte(index);
    }
    if (dice.Chance(8)) {
        const std::size_t count = dice.Below(5);
        output.Byte(1).Byte(count).Rest(dice.Bytes(count));
    } else {
        output.Byte(0);
    }
    output.Byte(dice.Below(2));
    std::string line = MakeLine(dice, dice.Below(dice.Chance(3) ? 300 : 8), separator);
    if (dice.Chance(30)) {
        Break(dice, line);
    }
    return output.Rest(line).Take();
}

} // namespace Fuzz
