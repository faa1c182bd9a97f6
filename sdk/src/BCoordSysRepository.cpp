// Looks coordinate systems up by their identifier.
#include <Orvane/BCoordSysRepository.h>

namespace Orvane {

BCoordSysRepository::BCoordSysRepository() = default;

BCoordSysRepository::~BCoordSysRepository() = default;

void BCoordSysRepository::Add(const BCoordSys& coordSys)
{
    if (coordSys.IsDefined()) {
        m_systems[coordSys.GetIdentifier().ToLower()] = MakeShared<BCoordSys>(coordSys);
    }
}

BSharedPtr<BCoordSys> BCoordSysRepository::Find(const BString& identifier) const
{
    const auto found = m_systems.find(identifier.ToLower());
    return found == m_systems.end() ? BSharedPtr<BCoordSys>() : found->second;
}

} // namespace Orvane
