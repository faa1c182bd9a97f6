// The one function that the module exports, and the proxy that it hands out.
#include "proxy/BAsciiProxy.h"

#include <Orvane/Export.h>

namespace {

/// Built when the module is loaded and destroyed when it is unloaded.
AsciiReader::BAsciiProxy theProxy;

} // namespace

extern "C" ORVANE_PLUGIN_EXPORT Orvane::BDataManagerProxy* GetDataMgrProxy();

extern "C" ORVANE_PLUGIN_EXPORT Orvane::BDataManagerProxy* GetDataMgrProxy()
{
    return &theProxy;
}
