// Keeps count of the data managers that a plug-in made.
#include <Orvane/BDataManagerProxy.h>
#include <Orvane/BException.h>

namespace Orvane {

BDataManagerProxy::BDataManagerProxy() = default;

BDataManagerProxy::~BDataManagerProxy() = default;

bool BDataManagerProxy::CanRead(const BString& /*dataSourceType*/, const BParamList& /*params*/)
{
    return false;
}

bool BDataManagerProxy::CanRead(const BString& /*dataSourceType*/)
{
    return false;
}

bool BDataManagerProxy::CanWrite(const BString& /*dataSourceType*/, const BParamList& /*params*/)
{
    return false;
}

bool BDataManagerProxy::CanWrite(const BString& /*dataSourceType*/)
{
    return false;
}

BDataReader* BDataManagerProxy::CreateReader(const BString& /*path*/,
                                             const BParamList& /*params*/,
                                             BCoordSysRepository* /*coordSysRepository*/,
                                             BLogger* /*logger*/)
{
    throw BDataManagerException("BDataManagerProxy::CreateReader", "Reading is not supported.");
}

BDataManager* BDataManagerProxy::CreateWriter(const BString& /*path*/,
                                              const BParamList& /*params*/,
                                              BCoordSysRepository* /*coordSysRepository*/,
                                              BLogger* /*logger*/)
{
    throw BDataManagerException("BDataManagerProxy::CreateWriter", "Writing is not supported.");
}

void BDataManagerProxy::DestroyObject(BDataManager* object)
{
    if (object == nullptr) {
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        if (m_objects.erase(object) == 0) {
            throw BDataManagerException("BDataManagerProxy::DestroyObject",
                                        "The object was not made by this proxy.");
        }
    }
    // Outside the lock: closing a reader may need long, and may call this proxy again.
    delete object;
}

BString BDataManagerProxy::MakeTempInputFileName(const BString& path,
                                                 const std::vector<BString>& /*parts*/)
{
    return path;
}

std::size_t BDataManagerProxy::GetObjectCount() const
{
    const std::lock_guard lock(m_mutex);
    return m_objects.size();
}

void BDataManagerProxy::Initialize(BDataManager* object,
                                   BCoordSysRepository* coordSysRepository,
                                   BLogger* logger)
{
    const std::lock_guard lock(m_mutex);
    m_objects.insert(object);
    object->m_coordSysRepository = coordSysRepository;
    object->m_logger = logger;
}

} // namespace Orvane
