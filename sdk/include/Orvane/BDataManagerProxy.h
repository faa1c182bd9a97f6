// What a plug-in module shows to the host.
#pragma once

#include <Orvane/BDataManager.h>
#include <Orvane/BDataReader.h>

#include <cstddef>
#include <mutex>
#include <unordered_set>
#include <vector>

namespace Orvane {

/// Makes data managers for data-source types; one static object a plug-in module, never deleted by
/// the host. Derived classes override what they can do; the base can do nothing.
///
/// CanRead and CanWrite may be called from any thread; creating and destroying managers is guarded
/// by a lock. The slots of the virtual table are part of the interface.
class ORVANE_SDK_EXPORT BDataManagerProxy
{
public:
    BDataManagerProxy();
    BDataManagerProxy(const BDataManagerProxy&) = delete;
    BDataManagerProxy& operator=(const BDataManagerProxy&) = delete;
    virtual ~BDataManagerProxy(); // slot 0

    virtual bool CanRead(const BString& dataSourceType, const BParamList& params);  // slot 1
    virtual bool CanRead(const BString& dataSourceType);                            // slot 2
    virtual bool CanWrite(const BString& dataSourceType, const BParamList& params); // slot 3
    virtual bool CanWrite(const BString& dataSourceType);                           // slot 4

    /// Makes a reader; nothing is opened. The host disposes of it with DestroyObject.
    /// @throws BDataManagerException("BDataManagerProxy::CreateReader", "Reading is not
    ///     supported.") in the base.
    virtual BDataReader* CreateReader(const BString& path,
                                      const BParamList& params,
                                      BCoordSysRepository* coordSysRepository,
                                      BLogger* logger); // slot 5
    /// @throws BDataManagerException("BDataManagerProxy::CreateWriter", "Writing is not
    ///     supported.") in the base.
    virtual BDataManager* CreateWriter(const BString& path,
                                       const BParamList& params,
                                       BCoordSysRepository* coordSysRepository,
                                       BLogger* logger); // slot 6
    /// Deletes a manager that this proxy made; null is ignored.
    /// @throws BDataManagerException("BDataManagerProxy::DestroyObject", "The object was not made
    ///     by this proxy.") for any other, which is left alone.
    virtual void DestroyObject(BDataManager* object); // slot 7
    /// The name of the file to read for a data source of several files; the base gives `path`.
    virtual BString MakeTempInputFileName(const BString& path,
                                          const std::vector<BString>& parts); // slot 8

    /// Managers made and not yet destroyed.
    [[nodiscard]] std::size_t GetObjectCount() const;

protected:
    /// Registers a new manager, which must not be null, and hands it repository and logger (each
    /// may be null; the host keeps owning them).
    void Initialize(BDataManager* object, BCoordSysRepository* coordSysRepository, BLogger* logger);

private:
    mutable std::mutex m_mutex;
    std::unordered_set<BDataManager*> m_objects;
};

/// The one function that a plug-in module exports, by this plain name: the address of the module's
/// proxy, the same on every call, valid until the module is unloaded.
using GetDataMgrProxyFunction = BDataManagerProxy* (*)();

/// Name of the exported function.
inline constexpr const char* kGetDataMgrProxyName = "GetDataMgrProxy";

} // namespace Orvane
