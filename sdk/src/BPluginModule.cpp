// Loads plug-in modules, and unloads them when nothing of theirs is used any more.
#include <Orvane/BException.h>
#include <Orvane/BPluginModule.h>

#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <fstream>
#include <link.h>
#include <system_error>
#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#define ORVANE_IS_LEAK_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ORVANE_IS_LEAK_CHECKED 1
#endif
#endif
#ifndef ORVANE_IS_LEAK_CHECKED
#define ORVANE_IS_LEAK_CHECKED 0
#endif

namespace Orvane {

namespace {

constexpr bool kIsLeakChecked = ORVANE_IS_LEAK_CHECKED != 0;
constexpr const char* kLocation = "PluginModule::Load";

int FlagsOf(EModuleBinding binding) noexcept
{
    int flags = RTLD_NOW | RTLD_LOCAL;
#if defined(RTLD_DEEPBIND)
    if (binding == EModuleBinding::Deep && !kIsLeakChecked) {
        flags |= RTLD_DEEPBIND;
    }
#endif
    return flags;
}

template <typename Record>
bool ReadAt(std::ifstream& file, std::uint64_t offset, Record& record)
{
    file.seekg(static_cast<std::streamoff>(offset));
    return bool(file.read(reinterpret_cast<char*>(&record), sizeof record));
}

/// Whether a part that would be loaded lies beyond the end of the file. The loader maps it without
/// checking, and the process ends when the part is read.
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

BException MakeLoadFailure(const std::filesystem::path& file, const BString& details)
{
    return {
        BString::Format("The plug-in <%s> could not be loaded.", file.c_str()), kLocation, details};
}

} // namespace

struct BPluginModule::State
{
    State() = default;
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    ~State()
    {
        // A leak checker names the module's functions only while the module is loaded.
        if (handle != nullptr && !kIsLeakChecked) {
            dlclose(handle);
        }
    }

    std::filesystem::path file;
    void* handle = nullptr;
    BDataManagerProxy* proxy = nullptr;
};

BPluginModule::BPluginModule(const std::filesystem::path& file, EModuleBinding binding)
    : m_state(std::make_shared<State>())
{
    std::error_code error;
    if (!std::filesystem::exists(file, error)) {
        throw BException(BString::Format("The plug-in <%s> was not found.", file.c_str()),
                         kLocation);
    }
    if (!std::filesystem::is_regular_file(file, error)) {
        throw MakeLoadFailure(file, "It is not a file.");
    }
    // A name without a slash would be searched for in the system's library folders.
    m_state->file = std::filesystem::absolute(file, error);
    if (IsCutShort(m_state->file)) {
        throw MakeLoadFailure(m_state->file, "The file is cut short.");
    }
    m_state->handle = dlopen(m_state->file.c_str(), FlagsOf(binding));
    if (m_state->handle == nullptr) {
        const char* reason = dlerror();
        throw MakeLoadFailure(m_state->file, BString(reason));
    }
    void* symbol = dlsym(m_state->handle, kGetDataMgrProxyName);
    GetDataMgrProxyFunction getProxy = nullptr;
    static_assert(sizeof getProxy == sizeof symbol);
    std::memcpy(&getProxy, &symbol, sizeof getProxy);
    if (getProxy != nullptr) {
        m_state->proxy = getProxy();
    }
    if (m_state->proxy == nullptr) {
        throw BException(BString::Format("The library <%s> is no plug-in.", m_state->file.c_str()),
                         kLocation,
                         getProxy == nullptr ? "It has no function GetDataMgrProxy."
                                             : "Its function GetDataMgrProxy gave nothing.");
    }
}

BDataManagerProxy& BPluginModule::GetProxy() const noexcept
{
    return *m_state->proxy;
}

const std::filesystem::path& BPluginModule::GetFile() const noexcept
{
    return m_state->file;
}

BReaderHandle BPluginModule::CreateReader(const BString& path,
                                          const BParamList& params,
                                          BCoordSysRepository* coordSysRepository,
                                          BLogger* logger) const
{
    BDataReader* reader = GetProxy().CreateReader(path, params, coordSysRepository, logger);
    if (reader == nullptr) {
        throw BException("The plug-in made no reader.", "PluginModule::CreateReader");
    }
    return {*this, reader};
}

BReaderHandle::BReaderHandle() noexcept = default;

BReaderHandle::BReaderHandle(const BPluginModule& module, BDataReader* reader) noexcept
    : m_state(module.m_state)
    , m_reader(reader)
{}

BReaderHandle::BReaderHandle(BReaderHandle&& other) noexcept
    : m_state(std::move(other.m_state))
    , m_reader(std::exchange(other.m_reader, nullptr))
{}

BReaderHandle& BReaderHandle::operator=(BReaderHandle&& other) noexcept
{
    if (this != &other) {
        Reset();
        m_state = std::move(other.m_state);
        m_reader = std::exchange(other.m_reader, nullptr);
    }
    return *this;
}

BReaderHandle::~BReaderHandle()
{
    Reset();
}

void BReaderHandle::Reset() noexcept
{
    if (m_reader != nullptr) {
        try {
            m_state->proxy->DestroyObject(std::exchange(m_reader, nullptr));
        } catch (...) { // NOLINT(bugprone-empty-catch)
            // Rule: a reader that cannot be destroyed changes nothing about what was read from it.
        }
    }
    m_state.reset();
}

BSharedPtr<BVectorLayer> BReaderHandle::GetLayer(std::size_t layerIndex) const
{
    /// Members go in reverse order: the layer before its module.
    struct Held
    {
        std::shared_ptr<BPluginModule::State> module;
        BSharedPtr<BVectorLayer> layer;
    };

    const BSharedPtr<BVectorLayer>& layer = m_reader->GetLayers().GetAt(layerIndex);
    if (!layer) {
        return nullptr;
    }
    auto held = std::make_shared<Held>(Held{m_state, layer});
    return std::shared_ptr<BVectorLayer>(held, held->layer.Get());
}

} // namespace Orvane
