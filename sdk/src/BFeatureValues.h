// The values that a feature holds itself: its own, or copies of its row's.
#pragma once

#include <Orvane/BAttributes.h>
#include <Orvane/BFeature.h>
#include <Orvane/BPointGeo.h>

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
    bool isPointRead = false;
    bool areAttributesRead = false;
};

} // namespace Orvane
