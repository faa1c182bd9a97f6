// Texts to numbers and back: the SDK against the C library in the C locale.
#include "Fuzz.h"
#include "LiteralRules.h"
#include "ReaderTraces.h"
#include "TextMaker.h"
#include "text/ValueRules.h"

#include <Orvane/BNumbers.h>
#include <Orvane/BString.h>
#include <Orvane/BStringQt.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <locale.h> // NOLINT(modernize-deprecated-headers): newlocale is POSIX's
#include <string>

namespace Fuzz {

using ReaderTraces::Bits;
namespace BNumbers = Orvane::BNumbers;

namespace {

locale_t PlainLocale()
{
    static locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

std::string Parsed(double value, std::ptrdiff_t consumed)
{
    return Bits(value) + " " + std::to_string(consumed) + " units";
}

template <typename Real>
void ExpectRoundTrip(Real value)
{
    char buffer[32];
    const std::size_t length = BNumbers::FormatShortest(value, buffer);
    if (length >= sizeof buffer) {
        Fail("a number takes " + std::to_string(length) + " bytes");
    }
    const std::string text(buffer, length);
    Real back = 0;
    if constexpr (sizeof(Real) == sizeof(float)) {
        back = strtof_l(text.c_str(), nullptr, PlainLocale());
    } else {
        back = strtod_l(text.c_str(), nullptr, PlainLocale());
    }
    ExpectSame("number \"" + text + "\" read again",
               Bits(static_cast<double>(value)),
               Bits(static_cast<double>(back)));
}

void ExpectCoordinate(const QString& text, std::u16string_view units)
{
    double expected = 0;
    double actual = 0;
    const bool isNumber = LiteralReader::Rules::ParseCoordinate(text, QString(), expected);
    const bool isTaken = AsciiReader::ValueRules::ToCoordinate(units, actual);
    ExpectSame("coordinate " + ReaderTraces::Quoted(text),
               isNumber ? Bits(expected) : "none",
               isTaken ? Bits(actual) : "none");
}

} // namespace

void RunInput(std::string_view bytes)
{
    const std::string name = Escaped(bytes);
    const std::string text(bytes);
    char* end = nullptr;
    const double expected = strtod_l(text.c_str(), &end, PlainLocale());
    std::size_t consumed = 0;
    const double value = BNumbers::Strtod(bytes, &consumed);
    ExpectSame("Strtod of " + name,
               Parsed(expected, end - text.c_str()),
               Parsed(value, static_cast<std::ptrdiff_t>(consumed)));
    ExpectSame("Atof of " + name, Bits(expected), Bits(BNumbers::Atof(bytes)));
    const long long whole = strtoll_l(text.c_str(), nullptr, 10, PlainLocale());
    ExpectSame(
        "Strtoll of " + name, std::to_string(whole), std::to_string(BNumbers::Strtoll(bytes)));
    const auto low = static_cast<std::int32_t>(static_cast<std::uint32_t>(
        static_cast<std::uint64_t>(strtol_l(text.c_str(), nullptr, 10, PlainLocale()))));
    ExpectSame("Atoi of " + name, std::to_string(low), std::to_string(BNumbers::Atoi(bytes)));

    for (const QString& wide :
         {QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size())),
          QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()))}) {
        const std::u16string_view units{reinterpret_cast<const char16_t*>(wide.utf16()),
                                        static_cast<std::size_t>(wide.size())};
        std::wstring widened;
        std::string ascii;
        for (const char16_t unit : units) {
            widened += static_cast<wchar_t>(unit);
            ascii += unit < 0x80 ? static_cast<char>(unit) : '?';
        }
        wchar_t* wideEnd = nullptr;
        const double wideExpected = wcstod_l(widened.c_str(), &wideEnd, PlainLocale());
        const double wideValue = BNumbers::Wcstod(units, &consumed);
        ExpectSame("Wcstod of " + name,
                   Parsed(wideExpected, wideEnd - widened.c_str()),
                   Parsed(wideValue, static_cast<std::ptrdiff_t>(consumed)));
        ExpectSame("Atof of the units of " + name,
                   Bits(strtod_l(ascii.c_str(), nullptr, PlainLocale())),
                   Bits(BNumbers::Atof(units)));
        ExpectSame("Atoi of the units of " + name,
                   std::to_string(BNumbers::Atoi(ascii)),
                   std::to_string(BNumbers::Atoi(units)));
        std::string withoutCommas;
        for (const char unit : ascii) {
            if (unit != ',') {
                withoutCommas += unit;
            }
        }
        ExpectSame("ToDouble of " + name,
                   Bits(strtod_l(withoutCommas.c_str(), nullptr, PlainLocale())),
                   Bits(AsciiReader::ValueRules::ToDouble(units)));
        ExpectSame("ToInt32 of " + name,
                   std::to_string(BNumbers::Atoi(withoutCommas)),
                   std::to_string(AsciiReader::ValueRules::ToInt32(units)));
        ExpectCoordinate(wide, units);
    }
    ExpectRoundTrip(expected);
    ExpectRoundTrip(static_cast<float>(expected));
    if (bytes.size() >= sizeof(double)) {
        double any = 0;
        float anyFloat = 0;
        std::memcpy(&any, bytes.data(), sizeof any);
        std::memcpy(&anyFloat, bytes.data(), sizeof anyFloat);
        ExpectRoundTrip(any);
        ExpectRoundTrip(anyFloat);
    }
}

std::string MakeInput(Dice& dice)
{
    if (dice.Chance(10)) {
        return dice.Bytes(sizeof(double));
    }
    std::string text = MakeNumber(dice);
    if (dice.Chance(30)) {
        Break(dice, text);
    }
    return text;
}

} // namespace Fuzz
