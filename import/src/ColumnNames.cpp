// Compares column names with the names that coordinates usually have.
#include "Wrap.h"

#include <Orvane/Import/Columns.h>
#include <Orvane/Import/DisplayText.h>

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

namespace Orvane::Import {

namespace {

/// Names of one kind of coordinates; all X names of a family go with all of its Y names.
struct NameFamily
{
    std::vector<std::string_view> xNames;
    std::vector<std::string_view> yNames;
};

const std::vector<NameFamily>& Families()
{
    static const std::vector<NameFamily> kFamilies = {
        {{"lon",
          "long",
          "lng",
          "longitude",
          "longitud",
          "decimallongitude",
          "decimallong",
          "decimallon",
          "gpslongitude",
          "gpslong",
          "gpslon",
          "gpslng",
          "longitudewgs84",
          "lonwgs84",
          "wgs84lon",
          "wgs84longitude",
          "stoplon",
          "londd",
          "longdd",
          "londeg",
          "longdeg",
          "longitudedeg",
          "longitudedegrees",
          "longitudedecimal",
          "centroidlon"},
         {"lat",
          "latitude",
          "latitud",
          "decimallatitude",
          "decimallat",
          "gpslatitude",
          "gpslat",
          "latitudewgs84",
          "latwgs84",
          "wgs84lat",
          "wgs84latitude",
          "stoplat",
          "latdd",
          "latdeg",
          "latitudedeg",
          "latitudedegrees",
          "latitudedecimal",
          "centroidlat"}},
        {{"x",
          "xcoord",
          "xcoordinate",
          "coordx",
          "coordinatex",
          "pointx",
          "posx",
          "geometryx",
          "geomx",
          "geox",
          "lonx",
          "longitudex",
          "xlongitude",
          "xlon"},
         {"y",
          "ycoord",
          "ycoordinate",
          "coordy",
          "coordinatey",
          "pointy",
          "posy",
          "geometryy",
          "geomy",
          "geoy",
          "laty",
          "latitudey",
          "ylatitude",
          "ylat"}},
        {{"easting", "eastings", "east", "eastingm", "osgbeasting", "geoeast"},
         {"northing", "northings", "north", "northingm", "osgbnorthing", "geonorth"}},
        {{"utmx", "utme", "utmeast", "utmeasting", "xutm", "eutm", "eastutm", "eastingutm"},
         {"utmy", "utmn", "utmnorth", "utmnorthing", "yutm", "nutm", "northutm", "northingutm"}},
        {{"rechtswert", "geolaenge"}, {"hochwert", "geobreite"}},
    };
    return kFamilies;
}

/// Lower-case letters and digits only.
std::string Normalise(const Orvane::BString& name)
{
    std::string normalised;
    for (const char byte : name.ToLower().ToUtf8()) {
        const auto code = static_cast<unsigned char>(byte);
        if ((byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') || code >= 0x80) {
            normalised += byte;
        }
    }
    return normalised;
}

/// One column whose name is in a family's list.
struct Candidate
{
    std::size_t columnIndex;
    std::size_t familyIndex;
};

std::vector<Candidate> FindCandidates(const std::vector<std::string>& names,
                                      std::vector<std::string_view> NameFamily::*list,
                                      std::optional<std::size_t> excluded)
{
    std::vector<Candidate> candidates;
    for (std::size_t columnIndex = 0; columnIndex < names.size(); ++columnIndex) {
        for (std::size_t familyIndex = 0; familyIndex < Families().size(); ++familyIndex) {
            const std::vector<std::string_view>& known = Families()[familyIndex].*list;
            if (columnIndex != excluded &&
                std::find(known.begin(), known.end(), names[columnIndex]) != known.end()) {
                candidates.push_back({columnIndex, familyIndex});
            }
        }
    }
    return candidates;
}

CoordinatePair Guess(const std::vector<Orvane::BString>& names, const CoordinatePair& given)
{
    std::vector<std::string> normalised;
    normalised.reserve(names.size());
    for (const Orvane::BString& name : names) {
        normalised.push_back(Normalise(name));
    }
    const std::vector<Candidate> xs = FindCandidates(normalised, &NameFamily::xNames, given.y);
    const std::vector<Candidate> ys = FindCandidates(normalised, &NameFamily::yNames, given.x);
    CoordinatePair columns = given;
    if (!given.x && !given.y) {
        if (xs.size() == 1 && ys.size() == 1 && xs[0].familyIndex == ys[0].familyIndex) {
            columns.x = xs[0].columnIndex;
            columns.y = ys[0].columnIndex;
        }
    } else if (!given.x && xs.size() == 1) {
        columns.x = xs[0].columnIndex;
    } else if (!given.y && ys.size() == 1) {
        columns.y = ys[0].columnIndex;
    }
    return columns;
}

[[noreturn]] void Fail(const char* code,
                       const std::string& what,
                       const std::string& value,
                       const char* axis,
                       const std::vector<Orvane::BString>& names,
                       std::vector<std::size_t> matches = {})
{
    FailureFields fields;
    fields.kind = EFailureKind::Request;
    fields.code = code;
    fields.what = what;
    fields.subject = axis;
    fields.value = value;
    fields.matches = std::move(matches);
    for (const Orvane::BString& name : names) {
        fields.columns.push_back({name.ToUtf8(), {}});
    }
    throw ImportFailure(std::move(fields));
}

std::size_t
Find(const std::vector<Orvane::BString>& names, const std::string& nameOrIndex, const char* axis)
{
    const std::string shown =
        "'" + DisplayText::Cut(DisplayText::Escape(nameOrIndex), 60) + "' for " + axis;
    const Orvane::BString wanted = Orvane::BString::FromUtf8(nameOrIndex);
    const Orvane::BString wantedFolded = wanted.Trim().ToLower();
    std::vector<std::size_t> exact;
    std::vector<std::size_t> folded;
    for (std::size_t index = 0; index < names.size(); ++index) {
        if (names[index] == wanted) {
            exact.push_back(index);
        }
        if (names[index].ToLower() == wantedFolded) {
            folded.push_back(index);
        }
    }
    const std::vector<std::size_t>& found = exact.empty() ? folded : exact;
    if (found.size() == 1) {
        return found[0];
    }
    if (found.size() > 1) {
        Fail("column-ambiguous",
             "The column " + shown + " is not certain: several columns have that name.",
             nameOrIndex,
             axis,
             names,
             found);
    }
    std::size_t index = 0;
    const char* end = nameOrIndex.data() + nameOrIndex.size();
    const auto result = std::from_chars(nameOrIndex.data(), end, index);
    if (nameOrIndex.empty() || result.ec != std::errc() || result.ptr != end) {
        Fail("no-such-column", "There is no column " + shown + ".", nameOrIndex, axis, names);
    }
    if (index >= names.size()) {
        Fail("column-beyond",
             "There is no column " + shown + "; the file has " + std::to_string(names.size()) +
                 " columns, counted from 0.",
             nameOrIndex,
             axis,
             names);
    }
    return index;
}

} // namespace

CoordinatePair GuessCoordinateColumns(const std::vector<Orvane::BString>& names,
                                      const CoordinatePair& given)
{
    return WrapFailures({}, [&] { return Guess(names, given); });
}

std::size_t FindColumn(const std::vector<Orvane::BString>& names,
                       const std::string& nameOrIndex,
                       const char* axis)
{
    return WrapFailures({}, [&] { return Find(names, nameOrIndex, axis); });
}

} // namespace Orvane::Import
