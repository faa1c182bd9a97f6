// Tables of words.
#include "Words.h"

#include "FoldedCell.h"
#include "Numbers.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace Orvane::Import::Values {

namespace {

/// @param word in lower case
bool IsSameWord(std::string_view text, std::string_view word) noexcept
{
    return text.size() == word.size() &&
           std::equal(text.begin(), text.end(), word.begin(), [](char a, char b) {
               return ToLower(a) == b;
           });
}

template <std::size_t N>
bool IsOneOf(std::string_view text, const std::string_view (&words)[N]) noexcept
{
    return std::any_of(std::begin(words), std::end(words), [&](std::string_view word) {
        return IsSameWord(text, word);
    });
}

} // namespace

std::uint8_t ReadBooleanWord(std::string_view cell) noexcept
{
    static constexpr std::string_view kWords[] = {"true", "false", "yes", "no", "t", "f", "y", "n"};
    const std::string_view text = Trim(cell);
    if (text.empty() || text.size() > 5) {
        return 0;
    }
    for (unsigned bit = 0; bit < std::size(kWords); ++bit) {
        if (IsSameWord(text, kWords[bit])) {
            return static_cast<std::uint8_t>(1U << bit);
        }
    }
    return 0;
}

bool MakeBoolean(std::uint8_t words) noexcept
{
    const auto isWithin = [&](unsigned set) {
        return words != 0 && (static_cast<unsigned>(words) & ~set) == 0;
    };
    return isWithin(WordTrue | WordFalse) || isWithin(WordYes | WordNo) ||
           words == (LetterT | LetterF) || words == (LetterY | LetterN);
}

bool IsNullWord(std::string_view cell) noexcept
{
    static constexpr std::string_view kWords[] = {
        "na",  "n/a",  "#n/a", "n.a.",    "null",   "(null)",  "\\n",
        "nan", "-nan", "none", "nil",     "-",      "--",      "---",
        ".",   "n.d.", "?",    "missing", "nodata", "no data", "<na>"};
    const std::string_view text = Trim(cell);
    return !text.empty() && text.size() <= 8 && IsOneOf(text, kWords);
}

bool IsUnit(std::string_view cell) noexcept
{
    static constexpr std::string_view kUnits[] = {"m",
                                                  "km",
                                                  "cm",
                                                  "mm",
                                                  "ft",
                                                  "feet",
                                                  "in",
                                                  "mi",
                                                  "nm",
                                                  "kg",
                                                  "g",
                                                  "mg",
                                                  "t",
                                                  "s",
                                                  "sec",
                                                  "min",
                                                  "h",
                                                  "hr",
                                                  "ms",
                                                  "m/s",
                                                  "km/h",
                                                  "kn",
                                                  "knots",
                                                  "mph",
                                                  "deg",
                                                  "degrees",
                                                  "rad",
                                                  "%",
                                                  "pa",
                                                  "hpa",
                                                  "kpa",
                                                  "mbar",
                                                  "dbar",
                                                  "bar",
                                                  "k",
                                                  "c",
                                                  "psu",
                                                  "mg/l",
                                                  "ug/l",
                                                  "v",
                                                  "mv",
                                                  "hz",
                                                  "nt",
                                                  "mgal",
                                                  "w/m2",
                                                  "m/s2",
                                                  "metres",
                                                  "meters",
                                                  "utc",
                                                  "m3/s",
                                                  "decimal degrees",
                                                  "degrees_north",
                                                  "degrees_east",
                                                  "yyyy-mm-dd",
                                                  "hh:mm:ss",
                                                  "dd/mm/yyyy",
                                                  "mm/dd/yyyy",
                                                  "l/s",
                                                  "kwh",
                                                  "mw"};
    const std::string_view text = Trim(cell);
    if (text.empty() || text.size() > 24) {
        return false;
    }
    const char open = text.front();
    const char close = text.back();
    if (text.size() > 2 && ((open == '[' && close == ']') || (open == '(' && close == ')'))) {
        return std::none_of(
            text.begin() + 1, text.end() - 1, [](char unit) { return unit == '(' || unit == '['; });
    }
    const FoldedCell folded(text);
    return IsOneOf(text, kUnits) ||
           (!folded.Text().empty() && folded.Text().front() == kDegreeSign);
}

bool IsNumberWithUnit(std::string_view cell) noexcept
{
    const std::string_view text = Trim(cell);
    const std::size_t last = text.find_last_of("0123456789");
    if (last == std::string_view::npos || last + 1 == text.size()) {
        return false;
    }
    const std::string_view unit = text.substr(last + 1);
    // A letter right after digits makes a code or a house number: `32T`, `9c`.
    const bool isLetter = unit.size() == 1 && unit != "m" && unit != "%";
    return !isLetter && IsUnit(unit) && ReadNumber(text.substr(0, last + 1)).notations != 0;
}

bool IsTotalWord(std::string_view cell) noexcept
{
    static constexpr std::string_view kWords[] = {"total",
                                                  "totals",
                                                  "grand total",
                                                  "subtotal",
                                                  "sub-total",
                                                  "sum",
                                                  "sums",
                                                  "average",
                                                  "avg",
                                                  "mean",
                                                  "median",
                                                  "min",
                                                  "max",
                                                  "count",
                                                  "overall",
                                                  "summe",
                                                  "gesamt",
                                                  "gesamtsumme",
                                                  "zwischensumme",
                                                  "mittel",
                                                  "mittelwert",
                                                  "durchschnitt",
                                                  "totale",
                                                  "somma",
                                                  "media",
                                                  "somme",
                                                  "moyenne",
                                                  "suma",
                                                  "promedio",
                                                  "total general",
                                                  "totaal",
                                                  "gemiddeld",
                                                  "gemiddelde",
                                                  "totalt",
                                                  "summa",
                                                  "medel",
                                                  "medelv\xC3\xA4rde",
                                                  "soma"};
    std::string_view text = Trim(cell);
    if (!text.empty() && text.back() == ':') {
        text = Trim(text.substr(0, text.size() - 1));
    }
    return !text.empty() && IsOneOf(text, kWords);
}

bool IsRule(std::string_view cell) noexcept
{
    const std::string_view text = Trim(cell);
    return text.size() >= 2 && (text.front() == '-' || text.front() == '=') &&
           std::all_of(text.begin(), text.end(), [&](char unit) { return unit == text.front(); });
}

} // namespace Orvane::Import::Values
