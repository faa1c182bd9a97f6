// A loaded plug-in module and the readers that it made, each given back at its end.
#pragma once

#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BDataReader.h>
#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BSharedPtr.h>
#include <Orvane/BString.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Export.h>

#include <cstddef>
#include <filesystem>
#include <memory>

namespace Orvane {

class BCoordSysRepository;
class BLogger;
class BReaderHandle;

/// How the functions that a module uses and does not define itself are looked up.
enum class EModuleBinding {
    /// As the system does: in the program and its libraries first.
    Plain,
    /// In the module's own libraries first. Needed where the process has loaded other versions of
    /// them, as a Qt 5 program has of the Qt that AsciiReader uses. Plain where the system has no
    /// such binding, and in builds with the address sanitizer, which does not work with it.
    Deep
};

/// A plug-in module that is loaded.
///
/// Copies share the module. It is unloaded when the last of them has gone, together with all reader
/// handles and all layers that BReaderHandle::GetLayer gave: none of them can outlive the code that
/// it needs. Whatever else comes from the module must be gone before them: layers got from the
/// reader itself, features and coordinate systems that outlive their layer, exceptions of classes
/// of the module's own. Exceptions of the SDK's classes may be caught and kept after the module has
/// gone; their texts are their own.
///
/// May be used from any thread, each object by one at a time; loading one module from two threads
/// gives the same module.
///
///     const BPluginModule module("/usr/lib/orvane/AsciiReader.so");
///     BReaderHandle reader = module.CreateReader("stations.csv", options);
///     reader->Open("stations.csv", options);
///     reader->Read();
///     BSharedPtr<BVectorLayer> layer = reader.GetLayer(0);
///     reader->Close();
class ORVANE_SDK_EXPORT BPluginModule
{
public:
    /// Loads the module and asks it for its proxy. A module that is loaded already is not loaded
    /// again.
    /// @param file the module's file; a relative path counts from the working folder, and no
    ///     system folder is searched
    /// @throws BException, location "PluginModule::Load", when nothing stays loaded:
    ///     "The plug-in <FILE> was not found.";
    ///     "The plug-in <FILE> could not be loaded.", details "It is not a file.", "The file is cut
    ///     short." or what the system's loader says;
    ///     "The library <FILE> is no plug-in.", details "It has no function GetDataMgrProxy." or
    ///     "Its function GetDataMgrProxy gave nothing."
    explicit BPluginModule(const std::filesystem::path& file,
                           EModuleBinding binding = EModuleBinding::Plain);

    /// The module's proxy: valid as long as the module is loaded, never deleted.
    [[nodiscard]] BDataManagerProxy& GetProxy() const noexcept;

    /// The module's file as an absolute path.
    [[nodiscard]] const std::filesystem::path& GetFile() const noexcept;

    /// Has the proxy make a reader; nothing is opened yet.
    /// @param path of the data source @param params options, for Open the same again
    /// @param coordSysRepository, logger may be null; they must outlive the reader
    /// @throws what the proxy throws; BException("The plug-in made no reader.",
    ///     "PluginModule::CreateReader") when it gives null.
    [[nodiscard]] BReaderHandle CreateReader(const BString& path,
                                             const BParamList& params,
                                             BCoordSysRepository* coordSysRepository = nullptr,
                                             BLogger* logger = nullptr) const;

private:
    friend class BReaderHandle;
    struct State;

    std::shared_ptr<State> m_state; ///< never null
};

/// The one owner of a reader: gives it back to its proxy at the end, also after a failure, and
/// keeps its module loaded until then.
///
/// Null when it was made by default or moved from. Used by one thread at a time, as its reader.
class ORVANE_SDK_EXPORT BReaderHandle
{
public:
    BReaderHandle() noexcept;
    /// @param reader made by the module's proxy, and owned by nobody else
    BReaderHandle(const BPluginModule& module, BDataReader* reader) noexcept;
    BReaderHandle(BReaderHandle&& other) noexcept;
    BReaderHandle& operator=(BReaderHandle&& other) noexcept;
    /// As Reset.
    ~BReaderHandle();

    [[nodiscard]] BDataReader* Get() const noexcept { return m_reader; }

    BDataReader& operator*() const noexcept { return *m_reader; }

    BDataReader* operator->() const noexcept { return m_reader; }

    explicit operator bool() const noexcept { return m_reader != nullptr; }

    /// Gives the reader back; the handle is null afterwards. A reader that its proxy refuses to
    /// destroy is left alone: what was read from it stays good.
    void Reset() noexcept;

    /// A layer of the reader that keeps the module loaded as long as it is used. Features and
    /// coordinate systems got from the layer must be gone before it.
    /// @param layerIndex from 0, below GetLayers().GetCount() @return null where the list has null
    /// @throws std::out_of_range "invalid vector subscript".
    [[nodiscard]] BSharedPtr<BVectorLayer> GetLayer(std::size_t layerIndex) const;

private:
    std::shared_ptr<BPluginModule::State> m_state;
    BDataReader* m_reader = nullptr;
};

} // namespace Orvane
