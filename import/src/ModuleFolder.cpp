// Looks for the plug-in module beside the program and beside this library.
#include "ModuleFolder.h"

#include <Orvane/BString.h>
#include <Orvane/Import/Failure.h>

#include <dlfcn.h>
#include <system_error>
#include <utility>

namespace Orvane::Import {

namespace {

/// The folder of the file that this library's code is in.
std::filesystem::path FindLibraryFolder()
{
    static const char kInThisLibrary = 0;
    Dl_info info{};
    if (dladdr(&kInThisLibrary, &info) == 0 || info.dli_fname == nullptr) {
        return {};
    }
    std::error_code error;
    return std::filesystem::canonical(info.dli_fname, error).parent_path();
}

} // namespace

std::filesystem::path FindModule(const std::string& named)
{
    constexpr const char* kModuleName = "AsciiReader.so";
    if (!named.empty()) {
        return named;
    }
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path library = FindLibraryFolder();
    const std::filesystem::path places[] = {program.parent_path() / kModuleName,
                                            library / kModuleName,
                                            library / "orvane" / kModuleName};
    for (const std::filesystem::path& place : places) {
        if (std::filesystem::exists(place, error)) {
            return place;
        }
    }
    FailureFields fields;
    fields.kind = EFailureKind::Module;
    fields.code = "no-module";
    fields.underneath = {"BException",
                         "PluginModule::Load",
                         BString::Format("The plug-in <%s> was not found.", places[0].c_str()),
                         BString::Format("Nor is it at <%s>.", places[2].c_str())};
    fields.what = fields.underneath.message.ToUtf8();
    fields.cause = fields.underneath.details.ToUtf8();
    throw ImportFailure(std::move(fields));
}

} // namespace Orvane::Import
