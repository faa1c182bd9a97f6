// Asks GDAL for well-known texts.
#include "WellKnownText.h"

#include <cpl_conv.h>
#include <cpl_error.h>
#include <ogr_spatialref.h>

#include <memory>

namespace Orvane {

namespace {

struct CplFree
{
    void operator()(char* text) const noexcept { ::CPLFree(text); }
};

} // namespace

std::string MakeWkt(const OGRSpatialReference& system, const char* form)
{
    const std::string format = std::string("FORMAT=") + form;
    const char* const options[] = {format.c_str(), "MULTILINE=NO", nullptr};
    char* text = nullptr;
    // GDAL tells its error handlers, too, that there is no such text.
    CPLErrorHandlerPusher quiet(CPLQuietErrorHandler);
    const OGRErr error = system.exportToWkt(&text, options);
    const std::unique_ptr<char, CplFree> held(text);
    CPLErrorReset();
    return error == OGRERR_NONE && text != nullptr ? text : "";
}

} // namespace Orvane
