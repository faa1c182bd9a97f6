// Asks GDAL for names and well-known texts.
#include "SpatialReferences.h"

#include "WellKnownText.h"

#include <ogr_spatialref.h>

#include <charconv>
#include <string_view>
#include <system_error>

namespace Orvane::GeoPackage {

namespace {

constexpr std::int32_t kFirstOwnNumber = 100000;

/// The number of the whole text, 0 when it is none.
std::int32_t ParseNumber(std::string_view text)
{
    std::int32_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() ? number : 0;
}

} // namespace

SpatialReference MakeSpatialReference(const OGRSpatialReference* system)
{
    if (system == nullptr) {
        return UndefinedSpatialReference();
    }
    SpatialReference reference;
    const char* const name = system->GetName();
    reference.name = name != nullptr ? name : "";
    const char* const authority = system->GetAuthorityName(nullptr);
    const char* const code = system->GetAuthorityCode(nullptr);
    const std::int32_t number = authority != nullptr && code != nullptr ? ParseNumber(code) : 0;
    // The number of WGS 84 is in every file, and means nothing else there.
    const bool isTaken = number == 4326 && !EQUAL(authority, "EPSG");
    if (number > 0 && !isTaken) {
        reference.id = number;
        reference.organization = authority;
    } else {
        reference.id = kFirstOwnNumber;
        reference.organization = "NONE";
    }
    reference.organizationId = reference.id;
    reference.definition = MakeWkt(*system, "WKT1_GDAL");
    if (reference.definition.empty()) {
        reference.definition = "undefined";
        reference.definition2015 = MakeWkt(*system, "WKT2_2015");
    }
    return reference;
}

} // namespace Orvane::GeoPackage
