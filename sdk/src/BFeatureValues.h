// The values that a feature holds itself: its own, or copies of its row's.
#pragma once

#include <Orvane/BAttributes.h>
#include <Orvane/BFeature.h>
#include <Orvane/BFeatureCollection.h>
#include <Orvane/BFeaturePage.h>
#include <Orvane/BPointGeo.h>

#include <memory>
#include <vector>

namespace Orvane {

/// A plain point is held in place, any other geometry by `geometry`. The flags count for features
/// whose row is in the store: they say which copies have been made.
struct BFeature::Values
{
    BString name;
    BPointGeo point;
    bool hasPoint = false;
    BSharedPtr<BGeometry> geometry;
    BMBB box;
    BAttributes attributes;
    /// The columns that `attributes` was last read from: its names are theirs.
    std::shared_ptr<const std::vector<BColumnInfo>> columns;
    bool isPointRead = false;
    bool areAttributesRead = false;
};

const BFeaturePage& BFeature::Page() const
{
    if (m_generation != m_collection->m_generation) {
        m_collection->Bind(*this);
    }
    return *m_page;
}

BFeature::Values& BFeature::Any() const
{
    if (!m_values) {
        m_values = std::make_unique<Values>();
    }
    return *m_values;
}

} // namespace Orvane
