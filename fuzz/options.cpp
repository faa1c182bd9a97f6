// Option lists: every accessor on every type of value against a plain list and the C library.
#include "Fuzz.h"
#include "FuzzInput.h"
#include "ReaderTraces.h"
#include "TextMaker.h"

#include <Orvane/BException.h>
#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BNumbers.h>
#include <Orvane/BStringQt.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <locale.h> // NOLINT(modernize-deprecated-headers): newlocale is POSIX's
#include <string>
#include <utility>
#include <vector>

namespace Fuzz {

using Orvane::BParamList;
using Orvane::BString;
using Orvane::BVariant;
using Orvane::EVariantType;
using ReaderTraces::Bits;
using ReaderTraces::Quoted;

namespace {

using Entries = std::vector<std::pair<BString, BVariant>>;

locale_t PlainLocale()
{
    static locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

/// All answers about one value as scalars.
struct Scalars
{
    std::int32_t integer = 0;
    double real = 0;
    bool boolean = false;
    std::string text;
};

std::string Describe(const Scalars& scalars)
{
    return std::to_string(scalars.integer) + " " + Bits(scalars.real) + " " +
           YesOrNo(scalars.boolean) + " " + scalars.text;
}

Scalars OfReal(double value)
{
    Scalars result;
    const double whole = std::trunc(value);
    if (whole >= std::numeric_limits<std::int32_t>::min() &&
        whole <= std::numeric_limits<std::int32_t>::max()) {
        result.integer = static_cast<std::int32_t>(whole);
    }
    result.real = value;
    result.boolean = std::fpclassify(value) != FP_ZERO;
    return result;
}

/// The shortest text, by trying how many digits it takes.
template <typename Real>
std::string ShortestText(Real value)
{
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    std::string text(buffer, result.ptr);
    return std::isnan(value) ? std::string("nan") : text;
}

Scalars LiteralScalars(const BVariant& value)
{
    Scalars result;
    switch (value.GetType()) {
    case EVariantType::Int32:
    case EVariantType::Int64: {
        const std::int64_t number = value.GetInt64();
        result = OfReal(static_cast<double>(number));
        result.integer =
            number == static_cast<std::int32_t>(number) ? static_cast<std::int32_t>(number) : 0;
        result.text = Quoted(QString::number(number));
        break;
    }
    case EVariantType::Double:
        result = OfReal(value.GetDouble());
        result.text = Quoted(BString(ShortestText(value.GetDouble())));
        break;
    case EVariantType::Float:
        result = OfReal(static_cast<double>(value.GetFloat()));
        result.text = Quoted(BString(ShortestText(value.GetFloat())));
        break;
    case EVariantType::Boolean:
        result.boolean = value.GetBoolean();
        result.integer = result.boolean ? 1 : 0;
        result.real = result.integer;
        result.text = Quoted(BString(result.boolean ? "1" : "0"));
        break;
    case EVariantType::String: {
        const std::string ascii = value.GetString().Ascii();
        result.integer = static_cast<std::int32_t>(static_cast<std::uint32_t>(
            static_cast<std::uint64_t>(strtol_l(ascii.c_str(), nullptr, 10, PlainLocale()))));
        result.real = strtod_l(ascii.c_str(), nullptr, PlainLocale());
        result.boolean = result.integer != 0;
        result.text = Quoted(value.GetString());
        break;
    }
    default:
        result.text = Quoted(BString());
        break;
    }
    return result;
}

std::string DescribeLists(const BVariant& value)
{
    // Lists come back as they are, converted; scalars are lists of themselves.
    std::string text = "texts";
    std::string numbers = " numbers";
    if (value.GetType() == EVariantType::Strings) {
        for (const BString& part : value.GetStrings()) {
            text += " " + Quoted(part);
            numbers += " " + std::to_string(LiteralScalars(BVariant(part)).integer);
        }
    } else if (value.GetType() == EVariantType::Integers) {
        for (const std::int32_t part : value.GetIntegers()) {
            text += " " + Quoted(QString::number(part));
            numbers += " " + std::to_string(part);
        }
    } else if (value.GetType() != EVariantType::None) {
        const Scalars scalars = LiteralScalars(value);
        text += " " + scalars.text;
        numbers += " " + std::to_string(scalars.integer);
    }
    return text + numbers;
}

std::string DescribeLists(const BParamList& params, const BString& key)
{
    std::string text = "texts";
    for (const BString& part : params.GetStrings(key)) {
        text += " " + Quoted(part);
    }
    text += " numbers";
    for (const std::int32_t part : params.GetIntegers(key)) {
        text += " " + std::to_string(part);
    }
    return text;
}

void CheckKey(const BParamList& params, const Entries& entries, const BString& key)
{
    const auto found = std::find_if(
        entries.begin(), entries.end(), [&key](const auto& entry) { return entry.first == key; });
    const std::string title = "option " + Quoted(key);
    const bool isThere = found != entries.end();
    ExpectSame(title, YesOrNo(isThere), YesOrNo(params.HasProperty(key)));
    ExpectSame(title, YesOrNo(isThere), YesOrNo(params.Find(key) != nullptr));
    Scalars actual;
    actual.integer = params.GetInteger(key, -77);
    actual.real = params.GetDouble(key, -7.5);
    actual.boolean = params.GetBoolean(key, true);
    actual.text = Quoted(params.GetString(key, "absent"));
    if (!isThere) {
        ExpectSame(title + ", absent", "-77 -7.5 (-0x1.ep+2) yes \"absent\"", Describe(actual));
        ExpectSame(title + ", absent", "texts numbers", DescribeLists(params, key));
        ExpectSame(
            title + ", type", "0", std::to_string(static_cast<int>(params.GetValueType(key))));
        return;
    }
    const BVariant& value = found->second;
    if (!(*params.Find(key) == value)) {
        Fail(title + " has another value");
    }
    ExpectSame(title, Describe(LiteralScalars(value)), Describe(actual));
    ExpectSame(title, DescribeLists(value), DescribeLists(params, key));
    ExpectSame(title + ", type",
               std::to_string(static_cast<int>(value.GetType())),
               std::to_string(static_cast<int>(params.GetValueType(key))));
}

} // namespace

void RunInput(std::string_view bytes)
{
    FuzzInput input(bytes);
    BParamList params;
    Entries entries;
    std::vector<BString> asked = {BString(), BString("absent")};
    const auto readKey = [&input] {
        const std::size_t kind = input.Byte();
        return kind < 200 ? OptionKeys()[kind % 8] : input.String();
    };
    while (!input.IsEmpty()) {
        const std::size_t step = input.Below(8);
        const BString key = readKey();
        asked.push_back(key);
        const auto found = std::find_if(entries.begin(), entries.end(), [&key](const auto& entry) {
            return entry.first == key;
        });
        if (step < 5) {
            const BVariant value = input.Value();
            params.Add(key, value);
            if (found == entries.end()) {
                entries.emplace_back(key, value);
            } else {
                found->second = value;
            }
        } else if (step < 7) {
            params.Remove(key);
            if (found != entries.end()) {
                entries.erase(found);
            }
        } else if (input.Below(8) == 0) {
            params.Clear();
            entries.clear();
        }
        CheckKey(params, entries, key);
    }
    ExpectSame("entries", std::to_string(entries.size()), std::to_string(params.GetCount()));
    const BParamList copy = params;
    params.Clear();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        ExpectSame("order", Quoted(entries[i].first), Quoted(copy.GetKeyAt(i)));
        if (!(copy.GetValueAt(i) == entries[i].second)) {
            Fail("the value at " + std::to_string(i) + " is another");
        }
    }
    for (const BString& key : asked) {
        CheckKey(copy, entries, key);
    }
    try {
        static_cast<void>(copy.GetKeyAt(entries.size()));
    } catch (const std::out_of_range&) {
        return;
    }
    Fail("there is an entry after the last");
}

std::string MakeInput(Dice& dice)
{
    FuzzOutput output;
    for (std::size_t left = dice.Below(20); left > 0; --left) {
        output.Byte(dice.Below(8));
        if (dice.Chance(85)) {
            output.Byte(dice.Below(200));
        } else {
            output.Byte(255).Text(MakeWord(dice));
        }
        switch (dice.Below(6)) {
        case 0:
            output.Value(
                BVariant(dice.Pick<double>({0.0, -0.0, 1e300, 2147483647.5, 1.0 / 3, 1e9})));
            break;
        case 1:
            output.Value(BVariant(std::vector<BString>{MakeNumber(dice), MakeWord(dice)}));
            break;
        case 2:
            output.Value(
                BVariant(dice.Pick<std::int64_t>({0, 2147483648, -2147483648, 1LL << 53})));
            break;
        default:
            output.Value(BVariant(BString(MakeValue(dice))));
            break;
        }
    }
    std::string bytes = output.Take();
    if (dice.Chance(30)) {
        Break(dice, bytes);
    }
    return bytes;
}

} // namespace Fuzz
