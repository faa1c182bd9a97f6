// Counts a layer page by page.
#include "Wrap.h"

#include <Orvane/BPointGeo.h>
#include <Orvane/BRowWalk.h>
#include <Orvane/Import/LayerCounts.h>

#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

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
                AddField((*page.columns)[index].name, TypeOf((*page.columns)[index]));
            }
            CountValues(page);
            for (std::size_t row = 0; row < walk.GetRowCount(); ++row) {
                if (const Orvane::BFeature* object = walk.GetObject(row)) {
                    TakeBackValues(page, row);
                    CountObject(*object);
                } else {
                    CountPageRow(page, row);
                }
            }
        }
        m_values.resize(m_fieldCount);
        for (const std::uint64_t values : m_values) {
            m_counts.nulls.push_back(m_counts.rows - values);
        }
        return std::move(m_counts);
    }

private:
    /// Dates and times keep their type; all else that is stored as text is text.
    static Orvane::EVariantType TypeOf(const Orvane::BColumnInfo& column)
    {
        using Orvane::EVariantType;
        const bool isDate = column.type == EVariantType::Date ||
                            column.type == EVariantType::Time ||
                            column.type == EVariantType::DateTime;
        return isDate ? column.type : Orvane::TypeOf(Orvane::StorageOf(column.type));
    }

    std::uint64_t& ValuesOf(std::size_t index)
    {
        if (index >= m_values.size()) {
            m_values.resize(index + 1);
        }
        return m_values[index];
    }

    void CountValues(const Orvane::BFeaturePage& page)
    {
        const std::size_t rows = page.GetRowCount();
        for (std::size_t index = 0; index < page.data.size(); ++index) {
            ValuesOf(index) += rows - page.data[index].CountNulls(rows);
        }
        for (std::size_t row = 0; row < rows && !page.attributeCounts.IsEmpty(); ++row) {
            for (std::size_t index = page.attributeCounts[row]; index < page.data.size(); ++index) {
                // What a row lacks has a placeholder, which is no null.
                --m_values[index];
            }
        }
    }

    /// Of a row that stands as an object the page has placeholders.
    void TakeBackValues(const Orvane::BFeaturePage& page, std::size_t row)
    {
        for (std::size_t index = 0; index < page.GetAttributeCount(row); ++index) {
            m_values[index] -= page.data[index].IsNull(row) ? 0U : 1U;
        }
    }

    void AddField(const Orvane::BString& name, Orvane::EVariantType type)
    {
        m_counts.fieldsBeyondSchema.push_back({name, type});
        ++m_fieldCount;
    }

    void CountObject(const Orvane::BFeature& object)
    {
        for (std::size_t index = 0; index < object.GetAttributeCount(); ++index) {
            const Orvane::EVariantType type = object.GetAttributeValue(index).GetType();
            ValuesOf(index) += type == Orvane::EVariantType::None ? 0U : 1U;
            if (index >= m_fieldCount) {
                AddField(object.GetAttributeName(index), type);
            }
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
    std::vector<std::uint64_t> m_values; ///< by attribute
    LayerCounts m_counts;
};

} // namespace

LayerCounts CountLayer(const Orvane::BVectorLayer& layer)
{
    return WrapFailures({}, [&] { return LayerCounter(layer).Run(); });
}

} // namespace Orvane::Import
