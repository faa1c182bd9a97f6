// One feature: name, geometry, bounding box and attributes.
#pragma once

#include <Orvane/BAttributes.h>
#include <Orvane/BGeometry.h>
#include <Orvane/BSharedPtr.h>
#include <Orvane/BString.h>
#include <Orvane/Export.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Orvane {

class BFeatureCollection;
class BFeaturePage;
class BPointGeo;

/// A feature, free-standing or a row of a layer.
///
/// States: a new feature stands free and owns its values. A feature added to a collection, or
/// handed out by one, is *attached*: it stands for one row, its values come from the collection's
/// store when they are asked for, and a change through any setter changes the layer. When the
/// collection goes, the features still in use keep their values and stand free again.
///
/// Geometry and attributes are handed out for reading; they are changed through the setters.
/// References and pointers that a getter returns stay valid until the next change of this feature
/// or its end. A feature that nobody holds any more may be used again by its collection for another
/// row. A feature is used by one thread at a time, together with its collection; the getters of an
/// attached feature throw what reading a page throws (BFeatureCollection::LoadPage).
class ORVANE_SDK_EXPORT BFeature : public std::enable_shared_from_this<BFeature>
{
public:
    BFeature();
    virtual ~BFeature();
    BFeature(const BFeature&) = delete;
    BFeature& operator=(const BFeature&) = delete;

    [[nodiscard]] BString GetName() const;
    void SetName(const BString& name);

    /// The geometry, null when the feature has none.
    [[nodiscard]] const BGeometry* GetGeometry() const;
    /// The geometry when it is a point, else null.
    [[nodiscard]] const BPointGeo* GetPoint() const;
    /// Sets a copy of the geometry; null removes the feature's. A later change of the caller's
    /// object does not change the feature. The bounding box stays as it is.
    virtual void SetGeometry(const BSharedPtr<BGeometry>& geometry);

    /// The bounding box as it was set; empty for a new feature.
    [[nodiscard]] BMBB GetMBB() const;
    void SetMBR(const BMBB& box);

    [[nodiscard]] const BAttributes& GetAttributes() const;
    void SetAttributes(BAttributes attributes);
    /// Replaces one value. @throws std::out_of_range "invalid vector subscript".
    void SetAttributeValue(std::size_t attributeIndex, BVariant value);

    /// Single attributes, for visits that need no list. Indices count from 0.
    /// @throws std::out_of_range "invalid vector subscript".
    [[nodiscard]] std::size_t GetAttributeCount() const
    {
        return m_attributeCount != kUnknownCount ? m_attributeCount : CountAttributes();
    }

    [[nodiscard]] BString GetAttributeName(std::size_t attributeIndex) const;
    [[nodiscard]] BVariant GetAttributeValue(std::size_t attributeIndex) const;

    /// True while the feature stands for a row of a collection.
    [[nodiscard]] bool IsAttached() const noexcept { return m_collection != nullptr; }

private:
    friend class BFeatureCollection;
    struct Values;

    BFeature(BFeatureCollection& collection, std::size_t row);

    static constexpr std::size_t kUnknownCount = static_cast<std::size_t>(-1);

    [[nodiscard]] std::size_t CountAttributes() const;
    /// The page of the feature's row, loaded when it is not in memory; only while the values are
    /// the store's.
    inline const BFeaturePage& Page() const;
    /// The feature's values, as far as they were read or set; made when there are none.
    inline Values& Any() const;
    /// The feature's own values, read from the store first; the layer keeps them from now on.
    Values& Own();
    inline void ReadPoint(Values& values) const;
    void ReadAttributes(Values& values) const;
    /// Reads every value of the row.
    void ReadAll();

    BFeatureCollection* m_collection = nullptr;
    std::size_t m_row = 0;
    /// Where the row is stored, as long as the collection's page generation is this one.
    mutable const BFeaturePage* m_page = nullptr;
    mutable std::size_t m_rowInPage = 0;
    mutable std::uint64_t m_generation = 0;
    /// Known only while the values are the store's, where a row keeps its count.
    mutable std::size_t m_attributeCount = kUnknownCount;
    bool m_isOwn = true;     ///< m_values decide; otherwise they are only a copy of the store's
    bool m_isListed = false; ///< the collection's list of handles has it
    bool m_isHandle = false; ///< made by a collection, which may use it for another row
    mutable std::unique_ptr<Values> m_values;
};

} // namespace Orvane
