// Coordinate systems by authority and code.
#include <Orvane/BCoordSys.h>

#include <utility>

namespace Orvane {

BCoordSys::BCoordSys(BString authority, BString code, BString name, BString wkt)
    : m_authority(std::move(authority))
    , m_code(std::move(code))
    , m_name(std::move(name))
    , m_wkt(std::move(wkt))
{}

BString BCoordSys::GetIdentifier() const
{
    return IsDefined() ? m_authority + BString(u":") + m_code : BString();
}

} // namespace Orvane
