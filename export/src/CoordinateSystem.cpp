// Finds coordinate systems by GDAL.
#include "CoordinateSystem.h"

#include "GdalScope.h"

#include <Orvane/Import/DisplayText.h>
#include <Orvane/Import/Failure.h>

#include <ogr_spatialref.h>

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

} // namespace

std::shared_ptr<OGRSpatialReference> FindCoordinateSystem(const std::string& crs)
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
    const GdalMessages messages;
    // The reference is counted by GDAL itself: layers that use it hold on to it.
    std::shared_ptr<OGRSpatialReference> coordSys(
        new OGRSpatialReference(), [](OGRSpatialReference* reference) { reference->Release(); });
    if (coordSys->SetFromUserInput(crs.c_str(),
                                   OGRSpatialReference::SET_FROM_USER_INPUT_LIMITATIONS_get()) !=
        OGRERR_NONE) {
        Fail("unknown-crs", "The coordinate system " + shown + " is not known.", crs);
    }
    coordSys->SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return coordSys;
}

} // namespace Orvane::Import
