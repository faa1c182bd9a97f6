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
    {"\xD1\x88\xD0\xB8\xD1\x80\xD0\xBE\xD1\x82\xD0\xB0", EAxis::Latitude},
    {"\xD1\x88\xD0\xB8\xD1\x80\xD0\xBE\xD1\x82\xD1\x8B", EAxis::Latitude},
    {"breddegrad", EAxis::Latitude},
    {"breedtegraad", EAxis::Latitude},
    {"leveysaste", EAxis::Latitude},
    {"szeroko\xC5\x9B\xC4\x87", EAxis::Latitude},
    {"sz\xC3\xA9less\xC3\xA9g", EAxis::Latitude},
    {"enlem", EAxis::Latitude},
    {"lintang", EAxis::Latitude},
    {"\xCF\x80\xCE\xBB\xCE\xAC\xCF\x84\xCE\xBF\xCF\x82", EAxis::Latitude},
    {"\xD8\xA7\xD9\x84\xD8\xB9\xD8\xB1\xD8\xB6", EAxis::Latitude},
    {"\xE0\xB8\xA5\xE0\xB8\xB0\xE0\xB8\x95\xE0\xB8\xB4\xE0\xB8\x88\xE0\xB8\xB9\xE0\xB8\x94",
     EAxis::Latitude},
    {"latdd", EAxis::Latitude},
    {"latdec", EAxis::Latitude},
    {"declat", EAxis::Latitude},
    {"latdeg", EAxis::Latitude},
    {"latwgs", EAxis::Latitude},
    {"gpslat", EAxis::Latitude},
    {"latitudes", EAxis::Latitude},
    {"latitudinea", EAxis::Latitude},
    {"\xD0\xB4\xD0\xBE\xD0\xBB\xD0\xB3\xD0\xBE\xD1\x82\xD0\xB0", EAxis::Longitude},
    {"\xD0\xB4\xD0\xBE\xD0\xBB\xD0\xB3\xD0\xBE\xD1\x82\xD1\x8B", EAxis::Longitude},
    {"\xD0\xB4\xD0\xBE\xD0\xB2\xD0\xB3\xD0\xBE\xD1\x82\xD0\xB0", EAxis::Longitude},
    {"lengdegrad", EAxis::Longitude},
    {"l\xC3\xA6ngdegrad", EAxis::Longitude},
    {"lengtegraad", EAxis::Longitude},
    {"pituusaste", EAxis::Longitude},
    {"d\xC5\x82ugo\xC5\x9B\xC4\x87", EAxis::Longitude},
    {"hossz\xC3\xBAs\xC3\xA1g", EAxis::Longitude},
    {"boylam", EAxis::Longitude},
    {"bujur", EAxis::Longitude},
    {"\xCE\xBC\xCE\xAE\xCE\xBA\xCE\xBF\xCF\x82", EAxis::Longitude},
    {"\xE7\xB6\x93\xE5\xBA\xA6", EAxis::Longitude},
    {"\xD8\xA7\xD9\x84\xD8\xB7\xD9\x88\xD9\x84", EAxis::Longitude},
    {"\xE0\xB8\xA5\xE0\xB8\xAD\xE0\xB8\x87\xE0\xB8\x88\xE0\xB8\xB4\xE0\xB8\x88\xE0\xB8\xB9\xE0\xB8"
     "\x94",
     EAxis::Longitude},
    {"londd", EAxis::Longitude},
    {"longdd", EAxis::Longitude},
    {"londec", EAxis::Longitude},
    {"longdec", EAxis::Longitude},
    {"declon", EAxis::Longitude},
    {"declong", EAxis::Longitude},
    {"londeg", EAxis::Longitude},
    {"longdeg", EAxis::Longitude},
    {"lonwgs", EAxis::Longitude},
    {"gpslon", EAxis::Longitude},
    {"gpslong", EAxis::Longitude},
    {"gpslng", EAxis::Longitude},
    {"longitudes", EAxis::Longitude},
    {"longitudinea", EAxis::Longitude},
    {"longtitude", EAxis::Longitude},
    {"longitute", EAxis::Longitude},
    {"rechts", EAxis::X},
    {"xkoordinate", EAxis::X},
    {"xcoordinate", EAxis::X},
    {"xkoord", EAxis::X},
    {"pointx", EAxis::X},
    {"abscisse", EAxis::X},
    {"x\xEC\xA2\x8C\xED\x91\x9C", EAxis::X},
    {"x\xE5\xBA\xA7\xE6\xA8\x99", EAxis::X},
    {"x\xE5\x9D\x90\xE6\xA0\x87", EAxis::X},
    {"hoch", EAxis::Y},
    {"ykoordinate", EAxis::Y},
    {"ycoordinate", EAxis::Y},
    {"ykoord", EAxis::Y},
    {"pointy", EAxis::Y},
    {"ordonn\xC3\xA9"
     "e",
     EAxis::Y},
    {"ordonnee", EAxis::Y},
    {"y\xEC\xA2\x8C\xED\x91\x9C", EAxis::Y},
    {"y\xE5\xBA\xA7\xE6\xA8\x99", EAxis::Y},
    {"y\xE5\x9D\x90\xE6\xA0\x87", EAxis::Y},
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

/// Directions, which are axes only where no column has the opposite one.
constexpr Word kDirections[] = {
    {"e", EAxis::X},
    {"east", EAxis::X},
    {"est", EAxis::X},
    {"este", EAxis::X},
    {"ost", EAxis::X},
    {"n", EAxis::Y},
    {"north", EAxis::Y},
    {"nord", EAxis::Y},
    {"norte", EAxis::Y},
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

namespace {

/// A letter of two bytes as a small one: Latin, Greek and Cyrillic.
void FoldLetter(char& lead, char& trail) noexcept
{
    const auto first = static_cast<unsigned char>(lead);
    const auto second = static_cast<unsigned char>(trail);
    constexpr unsigned kStep = 0x20;
    const bool isLatin = first == 0xC3 && second >= 0x80 && second <= 0x9E && second != 0x97;
    const bool isGreek = first == 0xCE && second >= 0x91 && second <= 0x9F;
    const bool isCyrillic = first == 0xD0 && second >= 0x90 && second <= 0x9F;
    const bool isGreekNext = first == 0xCE && second >= 0xA0 && second <= 0xA9;
    const bool isCyrillicNext = first == 0xD0 && second >= 0xA0 && second <= 0xAF;
    if (isLatin || isGreek || isCyrillic) {
        trail = static_cast<char>(second + kStep);
    } else if (isGreekNext || isCyrillicNext) {
        lead = static_cast<char>(first + 1);
        trail = static_cast<char>(second - kStep);
    } else if (first == 0xC5 && (second == 0x81 || second == 0x9A)) {
        ++trail; // The capitals of Polish names of axes.
    }
}

/// Signs of degrees and blanks that do not break are no part of a word.
bool IsSign(std::string_view name, std::size_t at) noexcept
{
    const std::string_view unit = name.substr(at, 2);
    return unit == "\xC2\xB0" || unit == "\xC2\xBA" || unit == "\xC2\xA0";
}

/// A word after capitals begins with its own: `GPSLatitude`; `UTMx` is one word.
constexpr std::size_t kShortestTail = 2;

/// The small letters that a text begins with.
std::size_t CountSmall(std::string_view text) noexcept
{
    std::size_t count = 0;
    while (count < text.size() && text[count] >= 'a' && text[count] <= 'z') {
        ++count;
    }
    return count;
}

} // namespace

Tokens Cut(std::string_view name)
{
    Tokens tokens;
    bool isInWord = false;
    char before = 0;
    for (std::size_t at = 0; at < name.size(); ++at) {
        const char unit = name[at];
        if (!IsWordUnit(unit) || IsSign(name, at)) {
            at += IsWordUnit(unit) ? 1U : 0U;
            isInWord = false;
        } else {
            const bool isHump =
                isInWord && IsUpper(unit) && Values::IsLetter(before) &&
                (!IsUpper(before) || CountSmall(name.substr(at + 1)) >= kShortestTail);
            if (!isInWord || isHump) {
                tokens.emplace_back();
            }
            tokens.back().push_back(Values::ToLower(unit));
            isInWord = true;
        }
        before = unit;
    }
    for (std::string& token : tokens) {
        for (std::size_t at = 0; at + 1 < token.size(); ++at) {
            FoldLetter(token[at], token[at + 1]);
        }
    }
    return tokens;
}

bool HasAny(const Tokens& tokens, std::initializer_list<std::string_view> words)
{
    return std::any_of(tokens.begin(), tokens.end(), [&](const std::string& token) {
        return std::find(words.begin(), words.end(), token) != words.end();
    });
}

EAxis FindDirection(std::string_view name, std::string& rest)
{
    EAxis axis = EAxis::None;
    rest.clear();
    for (const std::string& token : Cut(name)) {
        const auto* word = std::find_if(std::begin(kDirections),
                                        std::end(kDirections),
                                        [&](const Word& each) { return each.text == token; });
        if (word != std::end(kDirections) && axis == EAxis::None) {
            axis = word->axis;
        } else if (token != "m") {
            rest += token + " ";
        }
    }
    return axis;
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
