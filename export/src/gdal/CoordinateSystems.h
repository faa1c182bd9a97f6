// Coordinate systems by GDAL and PROJ.
#pragma once

#include "KnownSystem.h"
#include "plan/Systems.h"

#include <memory>
#include <string>
#include <vector>

class OGRSpatialReference;

namespace Orvane::Import::Gdal {

/// The system of a text such as "EPSG:25832", X before Y; null when there is none.
[[nodiscard]] std::shared_ptr<OGRSpatialReference> FindReference(const std::string& text);

/// The same as writers need it. May be asked for on any thread.
[[nodiscard]] std::shared_ptr<const KnownSystem> FindSystem(const std::string& text);

/// As Import::IdentifySystem
[[nodiscard]] NamedSystem IdentifySystem(const std::string& wkt);

/// As Import::RankSystems
[[nodiscard]] std::vector<PlanRival> RankSystems(const SystemSearch& search);

} // namespace Orvane::Import::Gdal
