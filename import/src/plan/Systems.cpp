// Has the library over GDAL and PROJ look into the list of systems.
#include "Systems.h"

#include "GdalLibrary.h"

namespace Orvane::Import {

namespace {

const SystemServices& LoadServices()
{
    return *static_cast<const SystemServices*>(FindInGdalLibrary("kOrvaneSystemServices"));
}

} // namespace

NamedSystem IdentifySystem(const std::string& wkt)
{
    return LoadServices().identify(wkt);
}

std::vector<PlanRival> RankSystems(const SystemSearch& search)
{
    if (search.x.empty() || search.x.size() != search.y.size()) {
        return {};
    }
    return LoadServices().rank(search);
}

} // namespace Orvane::Import
