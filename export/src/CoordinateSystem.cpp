// Finds coordinate systems: one by itself, all others by GDAL.
#include "CoordinateSystem.h"

#include "GdalServices.h"
#include "WriteFailure.h"

#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Failure.h>

#include <algorithm>
#include <utility>

namespace Orvane::Import {

namespace {

[[noreturn]] void Fail(const char* code, std::string what, const std::string& crs)
{
    FailureFields fields;
    fields.kind = EFailureKind::Request;
    fields.code = code;
    fields.what = std::move(what);
    fields.value = crs;
    throw ImportFailure(std::move(fields));
}

constexpr const char* kWgs84Text = "EPSG:4326";

/// As GDAL finds it, but for the library, which is not loaded for most targets then.
std::shared_ptr<const KnownSystem> MakeWgs84()
{
    KnownSystem system;
    system.text = kWgs84Text;
    system.name = "WGS 84";
    system.authority = "EPSG";
    system.code = "4326";
    system.isWgs84 = true;
    system.makeWkt = [](EWkt form) {
        if (form == EWkt::First) {
            return std::string(kWgs84Wkt);
        }
        const std::shared_ptr<const KnownSystem> found = LoadGdal().findSystem(kWgs84Text);
        if (!found) {
            throw WriteFailure(
                "Looking for the coordinate system: the list of them cannot be read.");
        }
        return found->makeWkt(form);
    };
    // Its points are where they are.
    system.makeTransform = [] { return PointTransform(); };
    return std::make_shared<const KnownSystem>(std::move(system));
}

} // namespace

std::shared_ptr<const KnownSystem> FindCoordinateSystem(const std::string& crs)
{
    if (crs.empty()) {
        return nullptr;
    }
    const std::string shown = "'" + DisplayText::Cut(DisplayText::Escape(crs), 60) + "'";
    const std::size_t colon = crs.find(':');
    const auto isNameCharacter = [](char byte) {
        return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
               (byte >= '0' && byte <= '9') || byte == '_' || byte == '.' || byte == '-';
    };
    const bool isWritten =
        colon != std::string::npos && colon > 0 && colon + 1 < crs.size() &&
        std::all_of(
            crs.begin(), crs.begin() + static_cast<std::ptrdiff_t>(colon), isNameCharacter) &&
        std::all_of(
            crs.begin() + static_cast<std::ptrdiff_t>(colon) + 1, crs.end(), isNameCharacter);
    if (!isWritten) {
        Fail("crs-form",
             "The coordinate system " + shown +
                 " is not written as AUTHORITY:CODE, for example EPSG:4326.",
             crs);
    }
    if (crs == kWgs84Text) {
        return MakeWgs84();
    }
    std::shared_ptr<const KnownSystem> system = LoadGdal().findSystem(crs);
    if (!system) {
        Fail("unknown-crs", "The coordinate system " + shown + " is not known.", crs);
    }
    return system;
}

} // namespace Orvane::Import
