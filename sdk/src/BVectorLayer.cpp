// A layer: its features and where they are kept.
#include <Orvane/BVectorLayer.h>

namespace Orvane {

BVectorLayer::BVectorLayer() = default;

BVectorLayer::BVectorLayer(const BString& diskCacheBaseName, std::uint32_t diskCachePageSize)
    : m_isDiskCached(true)
    , m_features(diskCacheBaseName, diskCachePageSize)
{}

BVectorLayer::~BVectorLayer() = default;

} // namespace Orvane
