// Looks for plug-in modules beside the program, beside this library and in the plug-in folder.
#include "ModuleFolder.h"

#include <Orvane/BString.h>
#include <Orvane/Import/Failure.h>
#include <Orvane/Import/Module.h>

#include <array>
#include <dlfcn.h>
#include <map>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace Orvane::Import {

namespace {

constexpr const char* kBundledName = "AsciiReader.so";
constexpr const char* kFolderName = "orvane";

/// Where the bundled module may stand, the first place first.
std::array<std::filesystem::path, 3> ListPlaces()
{
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path library = FindLibraryFolder();
    return {program.parent_path() / kBundledName,
            library / kBundledName,
            library / kFolderName / kBundledName};
}

[[noreturn]] void FailWithoutModule()
{
    const std::array<std::filesystem::path, 3> places = ListPlaces();
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

bool IsModuleName(const std::string& name)
{
    constexpr std::string_view kEnding = ".so";
    return name.size() > kEnding.size() && name.ends_with(kEnding) && !name.starts_with("lib");
}

} // namespace

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

std::filesystem::path FindBundledModule()
{
    std::error_code error;
    for (const std::filesystem::path& place : ListPlaces()) {
        if (std::filesystem::exists(place, error)) {
            return place;
        }
    }
    FailWithoutModule();
}

std::vector<std::filesystem::path> FindModules()
{
    const std::array<std::filesystem::path, 3> places = ListPlaces();
    std::map<std::string, std::filesystem::path> modules;
    std::error_code error;
    std::filesystem::directory_iterator entry(places[2].parent_path(), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::string name = entry->path().filename().native();
        if (IsModuleName(name)) {
            modules.emplace(std::move(name), entry->path());
        }
    }
    for (std::size_t place = 2; place-- > 0;) {
        if (std::filesystem::exists(places[place], error)) {
            modules[kBundledName] = places[place];
        }
    }
    if (modules.empty()) {
        FailWithoutModule();
    }
    std::vector<std::filesystem::path> files;
    files.reserve(modules.size());
    for (const auto& module : modules) {
        files.push_back(module.second);
    }
    return files;
}

bool IsBundledModule(const BPluginModule& module)
{
    return module.GetFile().filename() == kBundledName;
}

} // namespace Orvane::Import
