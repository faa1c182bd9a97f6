// GDAL for the time of one piece of work: its messages, its settings and its drivers.
#pragma once

#include <cpl_error.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace Orvane::Import {

/// GDAL cannot go on, for another reason than a lack of memory.
class GdalFatalError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Collects what GDAL says on this thread instead of letting it print.
///
/// An error that GDAL does not return from is thrown through it: std::bad_alloc for a lack of
/// memory, else GdalFatalError. Left alone GDAL would end the process. Where GDAL meets such an
/// error in a destructor of its own, C++ ends the process by std::terminate.
class GdalMessages
{
public:
    GdalMessages();
    ~GdalMessages();
    GdalMessages(const GdalMessages&) = delete;
    GdalMessages& operator=(const GdalMessages&) = delete;

    [[nodiscard]] bool HasError() const noexcept { return m_hasError; }

    /// The first error's text.
    [[nodiscard]] const std::string& GetError() const noexcept { return m_error; }

    /// Up to ten different warnings.
    [[nodiscard]] const std::vector<std::string>& GetWarnings() const noexcept
    {
        return m_warnings;
    }

private:
    static void CPL_STDCALL Handle(CPLErr level, CPLErrorNum number, const char* text);

    bool m_hasError = false;
    std::string m_error;
    std::vector<std::string> m_warnings;
};

/// Registers the drivers that are written by; others of the system are neither loaded nor run.
void RegisterDrivers();

} // namespace Orvane::Import
