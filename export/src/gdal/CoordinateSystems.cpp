// Finds systems, makes their texts, and transforms points.
#include "CoordinateSystems.h"

#include "GdalScope.h"
#include "WriteFailure.h"

#include <cpl_conv.h>
#include <cpl_error.h>
#include <ogr_spatialref.h>

#include <limits>
#include <stdexcept>
#include <utility>

namespace Orvane::Import::Gdal {

namespace {

struct CplFree
{
    void operator()(char* text) const noexcept { ::CPLFree(text); }
};

const char* FormOf(EWkt form)
{
    switch (form) {
    case EWkt::First:
        return "FORMAT=WKT1_GDAL";
    case EWkt::Second2015:
        return "FORMAT=WKT2_2015";
    default:
        return "FORMAT=WKT2_2019";
    }
}

std::string MakeWkt(const OGRSpatialReference& system, EWkt form)
{
    const char* const options[] = {FormOf(form), "MULTILINE=NO", nullptr};
    char* text = nullptr;
    // GDAL tells its error handlers, too, that there is no such text.
    const GdalMessages messages;
    const OGRErr error = system.exportToWkt(&text, options);
    const std::unique_ptr<char, CplFree> held(text);
    CPLErrorReset();
    const bool isMade = error == OGRERR_NONE && text != nullptr;
    // Rule: a list of systems that cannot be read is no reason to write a file without its system.
    const bool isUnread = messages.GetError().find("SQLite error") != std::string::npos;
    if (isUnread || (isMade && messages.HasError())) {
        throw WriteFailure("Looking for the coordinate system: " + messages.GetError());
    }
    return isMade ? text : "";
}

OGRSpatialReference Wgs84()
{
    OGRSpatialReference system;
    system.SetWellKnownGeogCS("WGS84");
    system.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return system;
}

bool IsWgs84(const OGRSpatialReference& system)
{
    // The order of the axes is that of the data, whatever the system's own is.
    const char* const options[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES",
                                   "CRITERION=EQUIVALENT_EXCEPT_AXIS_ORDER_GEOGCRS",
                                   nullptr};
    const OGRSpatialReference wgs84 = Wgs84();
    return system.IsSame(&wgs84, options) != 0;
}

PointTransform MakeTransform(const OGRSpatialReference& from)
{
    const GdalMessages messages;
    const OGRSpatialReference wgs84 = Wgs84();
    const std::shared_ptr<OGRCoordinateTransformation> transformation(
        OGRCreateCoordinateTransformation(&from, &wgs84),
        [](OGRCoordinateTransformation* made) { OGRCoordinateTransformation::DestroyCT(made); });
    if (!transformation) {
        throw std::runtime_error(CPLGetLastErrorMsg());
    }
    // A point without a place is told by its coordinates.
    transformation->SetEmitErrors(false);
    return [transformation](std::size_t count, double* x, double* y, double* z) {
        constexpr double kNoPlace = std::numeric_limits<double>::quiet_NaN();
        const GdalMessages scope;
        std::vector<int> isGood(count);
        transformation->Transform(static_cast<int>(count), x, y, z, nullptr, isGood.data());
        for (std::size_t index = 0; index < count; ++index) {
            if (isGood[index] == 0) {
                x[index] = y[index] = kNoPlace;
            }
        }
    };
}

std::string TextOf(const char* text)
{
    return text != nullptr ? text : "";
}

/// "AUTHORITY:CODE"; empty without one.
std::string NameOf(const OGRSpatialReference& system)
{
    const std::string authority = TextOf(system.GetAuthorityName(nullptr));
    const std::string code = TextOf(system.GetAuthorityCode(nullptr));
    return authority.empty() || code.empty() ? std::string() : authority + ":" + code;
}

struct Releaser
{
    void operator()(OGRSpatialReference* system) const { system->Release(); }
};

} // namespace

std::shared_ptr<OGRSpatialReference> FindReference(const std::string& text)
{
    const GdalMessages messages;
    // The reference is counted by GDAL itself: layers that use it hold on to it.
    std::shared_ptr<OGRSpatialReference> reference(
        new OGRSpatialReference(), [](OGRSpatialReference* held) { held->Release(); });
    const OGRErr error = reference->SetFromUserInput(
        text.c_str(), OGRSpatialReference::SET_FROM_USER_INPUT_LIMITATIONS_get());
    if (error != OGRERR_NONE || messages.HasError()) {
        return nullptr;
    }
    reference->SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return reference;
}

std::shared_ptr<const KnownSystem> FindSystem(const std::string& text)
{
    const std::shared_ptr<OGRSpatialReference> reference = FindReference(text);
    if (!reference) {
        return nullptr;
    }
    const GdalMessages messages;
    KnownSystem system;
    system.text = text;
    system.name = TextOf(reference->GetName());
    system.authority = TextOf(reference->GetAuthorityName(nullptr));
    system.code = TextOf(reference->GetAuthorityCode(nullptr));
    system.isWgs84 = IsWgs84(*reference);
    system.makeWkt = [reference](EWkt form) { return MakeWkt(*reference, form); };
    system.makeTransform = [reference] { return MakeTransform(*reference); };
    return std::make_shared<const KnownSystem>(std::move(system));
}

NamedSystem IdentifySystem(const std::string& wkt)
{
    const GdalMessages messages;
    OGRSpatialReference system;
    if (system.importFromWkt(wkt.c_str()) != OGRERR_NONE) {
        return {};
    }
    system.AutoIdentifyEPSG();
    NamedSystem named{NameOf(system), system.IsGeographic() != 0};
    if (named.name.empty()) {
        // Files of many programs have names of their own for datums, and no code.
        constexpr int kLeastConfidence = 90;
        const std::unique_ptr<OGRSpatialReference, Releaser> found(
            system.FindBestMatch(kLeastConfidence, "EPSG", nullptr));
        named.name = found ? NameOf(*found) : std::string();
    }
    return named;
}

} // namespace Orvane::Import::Gdal
