// Checked access to the layers of a data manager.
#include <Orvane/BException.h>
#include <Orvane/BLayers.h>

namespace Orvane {

const BSharedPtr<BVectorLayer>& BLayers::GetAt(std::size_t layerIndex) const
{
    return CheckedAt(m_layers, layerIndex);
}

} // namespace Orvane
