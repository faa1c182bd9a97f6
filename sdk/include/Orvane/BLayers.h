// The layers of a data manager.
#pragma once

#include <Orvane/BSharedPtr.h>
#include <Orvane/BVectorLayer.h>
#include <Orvane/Export.h>

#include <cstddef>
#include <vector>

namespace Orvane {

/// An ordered list of shared layers. Indices count from 0.
class ORVANE_SDK_EXPORT BLayers
{
public:
    void Add(const BSharedPtr<BVectorLayer>& layer) { m_layers.push_back(layer); }

    void Clear() noexcept { m_layers.clear(); }

    [[nodiscard]] std::size_t GetCount() const noexcept { return m_layers.size(); }

    /// @throws std::out_of_range "invalid vector subscript".
    [[nodiscard]] const BSharedPtr<BVectorLayer>& GetAt(std::size_t layerIndex) const;

private:
    std::vector<BSharedPtr<BVectorLayer>> m_layers;
};

} // namespace Orvane
