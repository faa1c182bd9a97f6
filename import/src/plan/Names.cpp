// Words of axes in the languages that files come in.
#include "Names.h"

#include "values/FoldedCell.h"

#include <algorithm>

namespace Orvane::Import::Names {

namespace {

bool IsWordUnit(char unit) noexcept
{
    return Values::IsLetter(unit) || static_cast<signed char>(unit) < 0;
}

bool IsUpper(char unit) noexcept
{
    return unit >= 'A' && unit <= 'Z';
}

struct Word
{
    std::string_view text;
    EAxis axis;
};

constexpr Word kWords[] = {
    {"lat", EAxis::Latitude},
    {"lati", EAxis::Latitude},
    {"latitude", EAxis::Latitude},
    {"lattitude", EAxis::Latitude},
    {"latitud", EAxis::Latitude},
    {"latitudine", EAxis::Latitude},
    {"breite", EAxis::Latitude},
    {"breitengrad", EAxis::Latitude},
    {"geobreite", EAxis::Latitude},
    {"szerokosc", EAxis::Latitude},
    {"\xEC\x9C\x84\xEB\x8F\x84", EAxis::Latitude},
    {"\xE7\xBA\xAC\xE5\xBA\xA6", EAxis::Latitude},
    {"\xE7\xB7\xAF\xE5\xBA\xA6", EAxis::Latitude},
    {"lon", EAxis::Longitude},
    {"long", EAxis::Longitude},
    {"lng", EAxis::Longitude},
    {"longitude", EAxis::Longitude},
    {"longitud", EAxis::Longitude},
    {"longitudine", EAxis::Longitude},
    {"laenge", EAxis::Longitude},
    {"l\xC3\xA4nge", EAxis::Longitude},
    {"laengengrad", EAxis::Longitude},
    {"l\xC3\xA4ngengrad", EAxis::Longitude},
    {"geolaenge", EAxis::Longitude},
    {"dlugosc", EAxis::Longitude},
    {"\xEA\xB2\xBD\xEB\x8F\x84", EAxis::Longitude},
    {"\xE7\xBB\x8F\xE5\xBA\xA6", EAxis::Longitude},
    {"\xE7\xB5\x8C\xE5\xBA\xA6", EAxis::Longitude},
    {"x", EAxis::X},
    {"xcoord", EAxis::X},
    {"coordx", EAxis::X},
    {"utmx", EAxis::X},
    {"easting", EAxis::X},
    {"eastings", EAxis::X},
    {"rechtswert", EAxis::X},
    {"ostwert", EAxis::X},
    {"y", EAxis::Y},
    {"ycoord", EAxis::Y},
    {"coordy", EAxis::Y},
    {"utmy", EAxis::Y},
    {"northing", EAxis::Y},
    {"northings", EAxis::Y},
    {"hochwert", EAxis::Y},
    {"nordwert", EAxis::Y},
    {"z", EAxis::Z},
    {"ele", EAxis::Z},
    {"elev", EAxis::Z},
    {"elevation", EAxis::Z},
    {"alt", EAxis::Z},
    {"altitude", EAxis::Z},
    {"altitud", EAxis::Z},
    {"height", EAxis::Z},
    {"depth", EAxis::Z},
    {"hoehe", EAxis::Z},
    {"h\xC3\xB6he", EAxis::Z},
    {"stationshoehe", EAxis::Z},
};

/// Words so long that they are meant also at the end of a longer one (`decimallatitude`).
constexpr Word kEndings[] = {
    {"latitude", EAxis::Latitude},
    {"longitude", EAxis::Longitude},
};

/// Words beside the axis that tell nothing about the pair: `Lon (°E)`, `latitude [degrees_north]`.
bool IsHemisphereOrUnit(std::string_view token)
{
    static constexpr std::string_view kDegree = "\xC2\xB0";
    if (token.starts_with(kDegree)) {
        token.remove_prefix(kDegree.size());
    }
    static constexpr std::string_view kSilent[] = {
        "",     "n",      "s",       "e",    "w",     "o",     "north",  "south", "east",  "west",
        "nord", "sud",    "ost",     "est",  "ouest", "sur",   "este",   "oeste", "norte", "deg",
        "degs", "degree", "degrees", "grad", "m",     "metre", "metres", "meter", "meters"};
    return std::find(std::begin(kSilent), std::end(kSilent), token) != std::end(kSilent);
}

/// @param stem what stands before the axis's word in the token
EAxis AxisOf(const std::string& token, std::string& stem)
{
    stem.clear();
    for (const Word& word : kWords) {
        if (word.text == token) {
            return word.axis;
        }
    }
    for (const Word& word : kEndings) {
        if (token.size() > word.text.size() &&
            token.compare(token.size() - word.text.size(), word.text.size(), word.text) == 0) {
            stem = token.substr(0, token.size() - word.text.size());
            return word.axis;
        }
    }
    return EAxis::None;
}

} // namespace

Tokens Cut(std::string_view name)
{
    Tokens tokens;
    bool isInWord = false;
    char before = 0;
    for (const char unit : name) {
        if (!IsWordUnit(unit)) {
            isInWord = false;
        } else {
            const bool isHump =
                isInWord && IsUpper(unit) && Values::IsLetter(before) && !IsUpper(before);
            if (!isInWord || isHump) {
                tokens.emplace_back();
            }
            tokens.back().push_back(Values::ToLower(unit));
            isInWord = true;
        }
        before = unit;
    }
    return tokens;
}

bool HasAny(const Tokens& tokens, std::initializer_list<std::string_view> words)
{
    return std::any_of(tokens.begin(), tokens.end(), [&](const std::string& token) {
        return std::find(words.begin(), words.end(), token) != words.end();
    });
}

EAxis FindAxis(std::string_view name, std::string& rest)
{
    const Tokens tokens = Cut(name);
    EAxis axis = EAxis::None;
    rest.clear();
    for (const std::string& token : tokens) {
        std::string stem;
        const EAxis found = AxisOf(token, stem);
        if (found != EAxis::None && axis == EAxis::None) {
            axis = found;
            rest += stem.empty() ? stem : stem + " ";
            continue;
        }
        if (!IsHemisphereOrUnit(token)) {
            rest += token + " ";
        }
    }
    for (const char unit : name) {
        if (Values::IsDigit(unit)) {
            rest.push_back(unit);
        }
    }
    return axis;
}

} // namespace Orvane::Import::Names
