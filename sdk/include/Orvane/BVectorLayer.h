// A layer of features.
#pragma once

#include <Orvane/BAttributeDefs.h>
#include <Orvane/BCoordSys.h>
#include <Orvane/BFeatureCollection.h>
#include <Orvane/BSharedPtr.h>
#include <Orvane/BString.h>
#include <Orvane/Export.h>

#include <cstddef>
#include <cstdint>

namespace Orvane {

/// A named list of features with a schema and a coordinate system.
///
/// The schema describes the attributes that features of the layer should have; the layer does not
/// force features to agree with it. Handed out and owned through BSharedPtr; used by one thread at
/// a time together with its features.
class ORVANE_SDK_EXPORT BVectorLayer
{
public:
    /// A layer in memory.
    BVectorLayer();
    /// A layer whose pages may leave memory (see BFeatureCollection). The cache file is made when
    /// the second page begins.
    /// @param diskCacheBaseName path of the cache file but for a unique ending; empty: a name in
    ///     the folder for temporary files
    /// @param diskCachePageSize features per page, at least 1
    BVectorLayer(const BString& diskCacheBaseName, std::uint32_t diskCachePageSize);
    ~BVectorLayer();
    BVectorLayer(const BVectorLayer&) = delete;
    BVectorLayer& operator=(const BVectorLayer&) = delete;

    [[nodiscard]] const BString& GetName() const noexcept { return m_name; }

    void SetName(const BString& name) { m_name = name; }

    [[nodiscard]] const BAttributeDefs& GetSchema() const noexcept { return m_schema; }

    void SetSchema(const BAttributeDefs& schema) { m_schema = schema; }

    /// The coordinate system; null until one is set.
    [[nodiscard]] const BSharedPtr<BCoordSys>& GetCoordSys() const noexcept { return m_coordSys; }

    void SetCoordSys(const BSharedPtr<BCoordSys>& coordSys) { m_coordSys = coordSys; }

    [[nodiscard]] BFeatureCollection& GetFeatures() noexcept { return m_features; }

    [[nodiscard]] const BFeatureCollection& GetFeatures() const noexcept { return m_features; }

    /// The box around all features.
    [[nodiscard]] BMBB GetMBB() const { return m_features.GetMBB(); }

    [[nodiscard]] bool IsDiskCached() const noexcept { return m_isDiskCached; }

private:
    BString m_name;
    BAttributeDefs m_schema;
    BSharedPtr<BCoordSys> m_coordSys;
    bool m_isDiskCached = false;
    BFeatureCollection m_features;
};

} // namespace Orvane
