// Counts the rows of a layer as its pages pass.
#pragma once

#include <Orvane/BColumnData.h>
#include <Orvane/BFeature.h>
#include <Orvane/BFeaturePage.h>
#include <Orvane/Import/LayerCounts.h>
#include <Orvane/Import/PageSource.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Orvane::Import {

/// Add each page of a layer, in order, then Finish.
class LayerCounter
{
public:
    /// @param fieldCount of the layer's schema
    explicit LayerCounter(std::size_t fieldCount)
        : m_fieldCount(fieldCount)
    {}

    void Add(const SourcePage& source);
    [[nodiscard]] LayerCounts Finish();

private:
    std::uint64_t& ValuesOf(std::size_t index);
    void CountValues(const BFeaturePage& page);
    void TakeBackValues(const BFeaturePage& page, std::size_t row);
    void AddField(const BString& name, EVariantType type);
    void CountObject(const BFeature& object);
    void CountPoints(const BFeaturePage& page);
    void CountPageRow(const BFeaturePage& page, std::size_t row);

    std::size_t m_fieldCount;
    std::vector<std::uint64_t> m_values; ///< by attribute
    LayerCounts m_counts;
};

} // namespace Orvane::Import
