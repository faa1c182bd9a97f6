// Messages, settings and drivers of GDAL.
#include "GdalScope.h"

#include <cpl_conv.h>
#include <gdal_frmts.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <new>

namespace Orvane::Import {

GdalMessages::GdalMessages()
{
    CPLPushErrorHandlerEx(&GdalMessages::Handle, this);
}

GdalMessages::~GdalMessages()
{
    CPLPopErrorHandler();
}

void GdalMessages::Handle(CPLErr level, CPLErrorNum number, const char* text)
{
    if (level == CE_Fatal) {
        if (number == CPLE_OutOfMemory) {
            throw std::bad_alloc();
        }
        throw GdalFatalError(text);
    }
    constexpr std::size_t kMostWarnings = 10;
    auto& self = *static_cast<GdalMessages*>(CPLGetErrorHandlerUserData());
    if (level >= CE_Failure && !self.m_hasError) {
        self.m_hasError = true;
        self.m_error = text;
    } else if (level == CE_Warning && self.m_warnings.size() < kMostWarnings &&
               std::find(self.m_warnings.begin(), self.m_warnings.end(), text) ==
                   self.m_warnings.end()) {
        self.m_warnings.emplace_back(text);
    }
}

void RegisterDrivers()
{
    static const bool isDone = [] {
        RegisterOGRShape();
        return true;
    }();
    static_cast<void>(isDone);
}

} // namespace Orvane::Import
