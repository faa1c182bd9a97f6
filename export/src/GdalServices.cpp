// Has the library loaded, and what this one offers of it.
#include "GdalServices.h"

#include "GdalLibrary.h"
#include "LayerWriter.h"

namespace Orvane::Import {

const GdalServices& LoadGdal()
{
    return *static_cast<const GdalServices*>(FindInGdalLibrary("kOrvaneGdalServices"));
}

std::vector<GdalFormat> ListGdalFormats()
{
    return LoadGdal().listFormats(GetTargetFormats());
}

WriteReport WriteByGdal(const WriteRequest& request)
{
    return LoadGdal().write(request);
}

} // namespace Orvane::Import
