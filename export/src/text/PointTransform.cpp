// Transforms points by PROJ.
#include "PointTransform.h"

#include <cpl_error.h>
#include <ogr_spatialref.h>

#include <limits>
#include <stdexcept>
#include <vector>

namespace Orvane::Import {

namespace {

OGRSpatialReference Wgs84()
{
    OGRSpatialReference system;
    system.SetWellKnownGeogCS("WGS84");
    system.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return system;
}

} // namespace

bool IsWgs84(const OGRSpatialReference& system)
{
    // The order of the axes is that of the data, whatever the system's own is.
    const char* const options[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES",
                                   "CRITERION=EQUIVALENT_EXCEPT_AXIS_ORDER_GEOGCRS",
                                   nullptr};
    const OGRSpatialReference wgs84 = Wgs84();
    return system.IsSame(&wgs84, options) != 0;
}

void PointTransform::Deleter::operator()(OGRCoordinateTransformation* transformation) const
{
    OGRCoordinateTransformation::DestroyCT(transformation);
}

PointTransform::PointTransform(const OGRSpatialReference& from)
{
    const OGRSpatialReference wgs84 = Wgs84();
    m_transformation.reset(OGRCreateCoordinateTransformation(&from, &wgs84));
    if (!m_transformation) {
        throw std::runtime_error(CPLGetLastErrorMsg());
    }
    // A point without a place is told by its coordinates.
    m_transformation->SetEmitErrors(false);
}

PointTransform::~PointTransform() = default;

void PointTransform::Run(std::size_t count, double* x, double* y, double* z) const
{
    constexpr double kNoPlace = std::numeric_limits<double>::quiet_NaN();
    std::vector<int> isGood(count);
    m_transformation->Transform(static_cast<int>(count), x, y, z, nullptr, isGood.data());
    for (std::size_t index = 0; index < count; ++index) {
        if (isGood[index] == 0) {
            x[index] = y[index] = kNoPlace;
        }
    }
}

} // namespace Orvane::Import
