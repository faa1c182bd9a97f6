// What a plug-in module shows to the host.
#pragma once

#include <Orvane/BDataManager.h>
#include <Orvane/BDataReader.h>

#include <cstddef>
#include <mutex>
#include <unordered_set>
#include <vector>

namespace Orvane {

/// Makes data managers for data-source types; one static object per plug-in module, never deleted
/// by the host. Derived classes override what they can do; the base can do nothing.
///
/// A plug-in overrides both CanRead and CreateReader. It says what it reads by data-source type: a
/// host forms the type of a path from "DS_" and the path's extension in capitals, so that a reader
/// of ".marks" files answers for "DS_MARKS". "DS_TXT" stands for delimited text of any extension: a
/// host asks for it when no module reads the path's own type.
///
/// CanRead and CanWrite may be called from any thread at any time; they look at no file. Creating
/// and destroying managers may be done from several threads at once. The slots of the virtual table
/// are part of the interface.
class ORVANE_SDK_EXPORT BDataManagerProxy
{
public:
    BDataManagerProxy();
    BDataManagerProxy(const BDataManagerProxy&) = delete;
    BDataManagerProxy& operator=(const BDataManagerProxy&) = delete;
    /// When the module is unloaded; all managers must have been destroyed.
    virtual ~BDataManagerProxy(); // slot 0

    /// Whether CreateReader makes readers of that data-source type, given these options. The two
    /// overloads are independent: override both, to the same answer unless options decide.
    virtual bool CanRead(const BString& dataSourceType, const BParamList& params); // slot 1
    /// The same without options.
    virtual bool CanRead(const BString& dataSourceType); // slot 2
    /// Whether CreateWriter makes writers of that data-source type.
    virtual bool CanWrite(const BString& dataSourceType, const BParamList& params); // slot 3
    virtual bool CanWrite(const BString& dataSourceType);                           // slot 4

    /// Makes a reader; nothing is opened, and no file is looked at.
    ///
    /// An override makes its reader, sets the flags EManagerFlag::kReads and kVectorData, registers
    /// it with Initialize, and returns it. When any step throws, the reader is deleted and the
    /// exception leaves.
    /// @param path of the data source, handed to Open again
    /// @param params options, kept by the reader
    /// @param coordSysRepository, logger may be null; the host owns them, and they outlive the
    ///     reader
    /// @return never null; the host gives it back with DestroyObject
    /// @throws BDataManagerException("BDataManagerProxy::CreateReader", "Reading is not
    ///     supported.") in the base.
    virtual BDataReader* CreateReader(const BString& path,
                                      const BParamList& params,
                                      BCoordSysRepository* coordSysRepository,
                                      BLogger* logger); // slot 5
    /// As CreateReader, for writers.
    /// @throws BDataManagerException("BDataManagerProxy::CreateWriter", "Writing is not
    ///     supported.") in the base.
    virtual BDataManager* CreateWriter(const BString& path,
                                       const BParamList& params,
                                       BCoordSysRepository* coordSysRepository,
                                       BLogger* logger); // slot 6
    /// Deletes a manager that this proxy made and registered, open or not; null is ignored. Not
    /// overridden as a rule.
    /// @throws BDataManagerException("BDataManagerProxy::DestroyObject", "The object was not made
    ///     by this proxy.") for any other, and for one that was destroyed already; it is left
    ///     alone.
    virtual void DestroyObject(BDataManager* object); // slot 7
    /// The name of the file to read for a data source of several files; the base gives `path`.
    virtual BString MakeTempInputFileName(const BString& path,
                                          const std::vector<BString>& parts); // slot 8

    /// Managers made and not yet destroyed.
    [[nodiscard]] std::size_t GetObjectCount() const;

protected:
    /// Registers a new manager and hands it repository and logger. CreateReader and CreateWriter
    /// call it exactly once for each manager, as their last step that can throw: DestroyObject
    /// knows registered managers only.
    /// @param object not null, not registered @param coordSysRepository, logger may be null; the
    ///     host keeps owning them
    /// @throws std::bad_alloc; the manager is not registered then and belongs to the caller.
    void Initialize(BDataManager* object, BCoordSysRepository* coordSysRepository, BLogger* logger);

private:
    mutable std::mutex m_mutex;
    std::unordered_set<BDataManager*> m_objects;
};

/// The one function that a plug-in module exports, by this plain name: the address of the module's
/// proxy, the same on every call, valid until the module is unloaded. It does no work and throws
/// nothing.
///
///     MyProxy theProxy;
///     extern "C" ORVANE_PLUGIN_EXPORT Orvane::BDataManagerProxy* GetDataMgrProxy()
///     {
///         return &theProxy;
///     }
using GetDataMgrProxyFunction = BDataManagerProxy* (*)();

/// Name of the exported function.
inline constexpr const char* kGetDataMgrProxyName = "GetDataMgrProxy";

} // namespace Orvane
