// The host's list of coordinate systems.
#pragma once

#include <Orvane/BCoordSys.h>
#include <Orvane/BSharedPtr.h>
#include <Orvane/Export.h>

#include <unordered_map>

namespace Orvane {

/// The coordinate systems that a host knows, by "AUTHORITY:CODE". The host owns the repository; it
/// must outlive the data managers that were given it. Derive from it to look systems up elsewhere.
class ORVANE_SDK_EXPORT BCoordSysRepository
{
public:
    BCoordSysRepository();
    virtual ~BCoordSysRepository();
    BCoordSysRepository(const BCoordSysRepository&) = delete;
    BCoordSysRepository& operator=(const BCoordSysRepository&) = delete;

    /// Adds a copy of a defined system, or replaces the one of the same identifier (case ignored);
    /// handles of the replaced one stay valid. An undefined system is not added.
    void Add(const BCoordSys& coordSys);
    /// The system of that identifier (case ignored), null when it is not known.
    [[nodiscard]] virtual BSharedPtr<BCoordSys> Find(const BString& identifier) const;

private:
    std::unordered_map<BString, BSharedPtr<BCoordSys>> m_systems;
};

} // namespace Orvane
