// Looks for the plug-in module beside the program and where it is installed.
#include "ModuleFolder.h"

#include <Orvane/BException.h>

#include <system_error>

namespace OrvaneHost {

std::filesystem::path FindModule(const std::string& named)
{
    constexpr const char* kModuleName = "AsciiReader.so";
    if (!named.empty()) {
        return named;
    }
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path folder = program.parent_path();
    std::filesystem::path beside = folder / kModuleName;
    if (std::filesystem::exists(beside, error)) {
        return beside;
    }
    std::filesystem::path installed =
        (folder / ORVANE_PLUGIN_FOLDER / kModuleName).lexically_normal();
    if (std::filesystem::exists(installed, error)) {
        return installed;
    }
    throw Orvane::BException(
        Orvane::BString::Format("The plug-in <%s> was not found.", beside.c_str()),
        "PluginModule::Load",
        Orvane::BString::Format("Nor is it at <%s>; name it with --plugin.", installed.c_str()));
}

} // namespace OrvaneHost
