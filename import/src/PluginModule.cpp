// Finds, loads and unloads the plug-in module.
#include "PluginModule.h"

#include <Orvane/BException.h>

#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <filesystem>
#include <fstream>
#include <link.h>
#include <system_error>

namespace OrvaneHost {

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kIsLeakChecked = true;
#else
constexpr bool kIsLeakChecked = false;
#endif

constexpr const char* kLocation = "PluginModule::Load";
constexpr const char* kModuleName = "AsciiReader.so";

/// Where a build leaves the module, and where an installation puts it.
std::filesystem::path FindDefault()
{
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
        Orvane::BString::Format("The plug-in <%s> was not found.", beside.native().c_str()),
        kLocation,
        Orvane::BString::Format("Nor is it at <%s>; name it with --plugin.",
                                installed.native().c_str()));
}

template <typename Record>
bool ReadAt(std::ifstream& file, std::uint64_t offset, Record& record)
{
    file.seekg(static_cast<std::streamoff>(offset));
    return bool(file.read(reinterpret_cast<char*>(&record), sizeof record));
}

/// Whether a part that would be loaded lies behind the file's end. The loader maps it without a
/// look, and the process ends when it is read.
bool IsCutShort(const std::filesystem::path& path)
{
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(path, error);
    std::ifstream file(path, std::ios::binary);
    ElfW(Ehdr) header{};
    if (error || !ReadAt(file, 0, header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_phentsize != sizeof(ElfW(Phdr))) {
        return false; // the loader knows what is wrong with it
    }
    for (std::size_t part = 0; part < header.e_phnum; ++part) {
        ElfW(Phdr) place{};
        const std::uint64_t offset = header.e_phoff + part * sizeof place;
        if (offset > size || !ReadAt(file, offset, place)) {
            return true;
        }
        if (place.p_type == PT_LOAD &&
            (place.p_offset > size || place.p_filesz > size - place.p_offset)) {
            return true;
        }
    }
    return false;
}

} // namespace

PluginModule::PluginModule(const std::string& path)
{
    std::filesystem::path file = path.empty() ? FindDefault() : std::filesystem::path(path);
    std::error_code error;
    if (!std::filesystem::exists(file, error)) {
        throw Orvane::BException(
            Orvane::BString::Format("The plug-in <%s> was not found.", path.c_str()), kLocation);
    }
    if (!std::filesystem::is_regular_file(file, error)) {
        throw Orvane::BException(
            Orvane::BString::Format("The plug-in <%s> could not be loaded.", path.c_str()),
            kLocation,
            "It is not a file.");
    }
    // A name without a slash would be searched for in the system's library folders.
    file = std::filesystem::absolute(file, error);
    if (IsCutShort(file)) {
        throw Orvane::BException(
            Orvane::BString::Format("The plug-in <%s> could not be loaded.", file.c_str()),
            kLocation,
            "The file is cut short.");
    }
    m_handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (m_handle == nullptr) {
        const char* reason = dlerror();
        throw Orvane::BException(
            Orvane::BString::Format("The plug-in <%s> could not be loaded.", file.c_str()),
            kLocation,
            reason == nullptr ? "" : reason);
    }
    void* symbol = dlsym(m_handle, Orvane::kGetDataMgrProxyName);
    Orvane::GetDataMgrProxyFunction getProxy = nullptr;
    static_assert(sizeof getProxy == sizeof symbol);
    std::memcpy(&getProxy, &symbol, sizeof getProxy);
    if (getProxy != nullptr) {
        m_proxy = getProxy();
    }
    if (m_proxy == nullptr) {
        dlclose(m_handle);
        throw Orvane::BException(
            Orvane::BString::Format("The library <%s> is no plug-in.", file.c_str()),
            kLocation,
            getProxy == nullptr ? "It has no function GetDataMgrProxy."
                                : "Its function GetDataMgrProxy gave nothing.");
    }
}

PluginModule::~PluginModule()
{
    // A leak checker names the module's functions only while the module is there.
    if (!kIsLeakChecked) {
        dlclose(m_handle);
    }
}

} // namespace OrvaneHost
