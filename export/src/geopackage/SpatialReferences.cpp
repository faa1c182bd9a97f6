// Numbers, names and well-known texts.
#include "SpatialReferences.h"

#include <algorithm>
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

bool IsEpsg(std::string_view authority)
{
    constexpr std::string_view kName = "epsg";
    return std::equal(
        authority.begin(), authority.end(), kName.begin(), kName.end(), [](char byte, char wanted) {
            return (byte >= 'A' && byte <= 'Z' ? byte - 'A' + 'a' : byte) == wanted;
        });
}

} // namespace

SpatialReference MakeSpatialReference(const KnownSystem* system)
{
    if (system == nullptr) {
        return UndefinedSpatialReference();
    }
    SpatialReference reference;
    reference.name = system->name;
    const std::int32_t number = system->authority.empty() ? 0 : ParseNumber(system->code);
    // The number of WGS 84 is in every file, and means nothing else there.
    const bool isTaken = number == 4326 && !IsEpsg(system->authority);
    if (number > 0 && !isTaken) {
        reference.id = number;
        reference.organization = system->authority;
    } else {
        reference.id = kFirstOwnNumber;
        reference.organization = "NONE";
    }
    reference.organizationId = reference.id;
    reference.definition = system->makeWkt(EWkt::First);
    if (reference.definition.empty()) {
        reference.definition = "undefined";
        reference.definition2015 = system->makeWkt(EWkt::Second2015);
    }
    return reference;
}

} // namespace Orvane::GeoPackage
