// A loaded plug-in module.
#pragma once

#include <Orvane/BDataManagerProxy.h>

#include <string>

namespace OrvaneHost {

/// Loads a module and asks it for its proxy; unloads it at its end. Objects and exceptions that
/// came from the module must be gone before it.
class PluginModule
{
public:
    /// @param path the module's file; empty: "AsciiReader.so" beside the program, then in the
    ///     folder where it is installed.
    /// @throws Orvane::BException at "PluginModule::Load": "The plug-in <...> was not found.",
    ///     "The plug-in <...> could not be loaded.", "The library <...> is no plug-in."
    explicit PluginModule(const std::string& path);
    ~PluginModule();
    PluginModule(const PluginModule&) = delete;
    PluginModule& operator=(const PluginModule&) = delete;

    /// The module's proxy; valid as long as this object.
    [[nodiscard]] Orvane::BDataManagerProxy& GetProxy() const noexcept { return *m_proxy; }

private:
    void* m_handle = nullptr;
    Orvane::BDataManagerProxy* m_proxy = nullptr;
};

} // namespace OrvaneHost
