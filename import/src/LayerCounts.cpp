// Counts a layer page by page.
#include "Wrap.h"

#include <Orvane/BPointGeo.h>
#include <Orvane/BRowWalk.h>
#include <Orvane/Import/LayerCounts.h>

#include <cmath>
#include <utility>

namespace Orvane::Import {

namespace {

void CountPoint(bool hasZ, double x, double y, LayerCounts& counts)
{
    ++counts.points;
    counts.withHeight += hasZ ? 1U : 0U;
    counts.withoutPlace += std::isfinite(x) && std::isfinite(y) ? 0U : 1U;
}

/// Goes through a layer page by page.
class LayerCounter
{
public:
    explicit LayerCounter(const Orvane::BVectorLayer& layer)
        : m_features(layer.GetFeatures())
        , m_fieldCount(layer.GetSchema().GetCount())
    {
        m_counts.rows = m_features.GetCount();
    }

    LayerCounts Run()
    {
        for (Orvane::BRowWalk walk(m_features); walk.NextPage();) {
            const Orvane::BFeaturePage& page = walk.GetPage();
            for (std::size_t index = m_fieldCount; index < page.data.size(); ++index) {
                AddField((*page.columns)[index].name, Orvane::TypeOf(page.data[index].storage));
            }
            for (std::size_t row = 0; row < walk.GetRowCount(); ++row) {
                if (const Orvane::BFeature* object = walk.GetObject(row)) {
                    CountObject(*object);
                } else {
                    CountPageRow(page, row);
                }
            }
        }
        return std::move(m_counts);
    }

private:
    void AddField(const Orvane::BString& name, Orvane::EVariantType type)
    {
        m_counts.fieldsBeyondSchema.push_back({name, type});
        ++m_fieldCount;
    }

    void CountObject(const Orvane::BFeature& object)
    {
        for (std::size_t index = m_fieldCount; index < object.GetAttributeCount(); ++index) {
            AddField(object.GetAttributeName(index), object.GetAttributeValue(index).GetType());
        }
        if (const Orvane::BPointGeo* point = object.GetPoint()) {
            CountPoint(point->HasZ(), point->GetX(), point->GetY(), m_counts);
        }
    }

    void CountPageRow(const Orvane::BFeaturePage& page, std::size_t row)
    {
        const Orvane::EPointKind kind = page.GetPointKind(row);
        if (kind != Orvane::EPointKind::None) {
            CountPoint(kind == Orvane::EPointKind::XYZ, page.x[row], page.y[row], m_counts);
        }
    }

    const Orvane::BFeatureCollection& m_features;
    std::size_t m_fieldCount;
    LayerCounts m_counts;
};

} // namespace

LayerCounts CountLayer(const Orvane::BVectorLayer& layer)
{
    return WrapFailures({}, [&] { return LayerCounter(layer).Run(); });
}

} // namespace Orvane::Import
