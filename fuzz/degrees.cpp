// Angles written by people: the SDK's scanner against patterns.
#include "Fuzz.h"
#include "FuzzInput.h"
#include "ReaderTraces.h"
#include "Samples.h"
#include "TextMaker.h"

#include <Orvane/BException.h>
#include <Orvane/BStringQt.h>

#include <iterator>

namespace Fuzz {

using Orvane::BString;

namespace {

const char* const kFormats[] = {"D", "DM", "DMS", "DDMM.m", "DDMMSS.s", "dms", "ddmm.M", "", "X"};

std::string Read(const BString& format, const BString& text)
{
    try {
        return ReaderTraces::Bits(BString::FromFormattedDegrees(format, text));
    } catch (const Orvane::BKelvaCoordinateFormatException& error) {
        const bool isExpected =
            error.GetLocation() == BString("BString::FromFormattedDegrees") &&
            (error.GetDetails() ==
                 BString::Format(
                     "The text <%ls> does not fit the coordinate format <%ls>.", text, format) ||
             error.GetDetails() ==
                 BString::Format("The coordinate format <%ls> is not known.", format));
        return isExpected ? "refused" : "refused with other texts";
    }
}

} // namespace

void RunInput(std::string_view bytes)
{
    FuzzInput input(bytes);
    const std::size_t kind = input.Below(std::size(kFormats) + 1);
    const BString format = kind < std::size(kFormats) ? BString(kFormats[kind]) : input.String();
    const bool isUtf8 = !input.Bit();
    const QString text = ToText(input.Rest(), isUtf8);
    std::string expected;
    try {
        expected = ReaderTraces::Bits(
            LiteralReader::Rules::FormattedDegrees(Orvane::MakeQString(format), text));
    } catch (const Orvane::BKelvaCoordinateFormatException&) {
        expected = "refused";
    }
    ExpectSame(ReaderTraces::Quoted(text) + " as " + ReaderTraces::Quoted(format),
               expected,
               Read(format, Orvane::MakeBString(text)));
}

std::string MakeInput(Dice& dice)
{
    FuzzOutput output;
    output.Byte(dice.Chance(90) ? dice.Below(5) : dice.Below(std::size(kFormats)));
    output.Byte(dice.Chance(10) ? 1 : 0);
    return output.Rest(MakeAngle(dice)).Take();
}

} // namespace Fuzz
