// Coordinate systems by reference.
#pragma once

#include <Orvane/BString.h>
#include <Orvane/Export.h>

namespace Orvane {

/// A coordinate system, named by authority and code. A new one is undefined: all texts are empty.
class ORVANE_SDK_EXPORT BCoordSys
{
public:
    BCoordSys() = default;
    /// @param authority for example "EPSG"; @param code for example "4326".
    BCoordSys(BString authority, BString code, BString name = BString(), BString wkt = BString());

    [[nodiscard]] bool IsDefined() const noexcept { return !m_authority.IsEmpty(); }

    [[nodiscard]] const BString& GetAuthority() const noexcept { return m_authority; }

    [[nodiscard]] const BString& GetCode() const noexcept { return m_code; }

    /// "AUTHORITY:CODE", empty when undefined.
    [[nodiscard]] BString GetIdentifier() const;

    [[nodiscard]] const BString& GetName() const noexcept { return m_name; }

    /// Well-known text, empty when it is not known.
    [[nodiscard]] const BString& GetWkt() const noexcept { return m_wkt; }

    friend bool operator==(const BCoordSys&, const BCoordSys&) noexcept = default;

private:
    BString m_authority;
    BString m_code;
    BString m_name;
    BString m_wkt;
};

} // namespace Orvane
