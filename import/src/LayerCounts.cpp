// Counts a layer page by page.
#include "LayerCounter.h"
#include "Wrap.h"

#include <Orvane/BPointGeo.h>
#include <Orvane/BVectorLayer.h>

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

/// Dates and times keep their type; all else that is stored as text is text.
EVariantType TypeOfField(const BColumnInfo& column)
{
    const bool isDate = column.type == EVariantType::Date || column.type == EVariantType::Time ||
                        column.type == EVariantType::DateTime;
    return isDate ? column.type : TypeOf(StorageOf(column.type));
}

} // namespace

void LayerCounter::Add(const SourcePage& source)
{
    const BFeaturePage& page = *source.page;
    for (std::size_t index = m_fieldCount; index < page.data.size(); ++index) {
        AddField((*page.columns)[index].name, TypeOfField((*page.columns)[index]));
    }
    CountValues(page);
    m_counts.rows += page.GetRowCount();
    const bool hasObjects = source.features != nullptr && source.features->GetObjectRowCount() > 0;
    if (!hasObjects && page.pointKinds.IsEmpty()) {
        CountPoints(page);
        return;
    }
    for (std::size_t row = 0; row < page.GetRowCount(); ++row) {
        const BFeature* const object = source.features != nullptr
                                           ? source.features->GetObjectRow(source.firstRow + row)
                                           : nullptr;
        if (object != nullptr) {
            TakeBackValues(page, row);
            CountObject(*object);
        } else {
            CountPageRow(page, row);
        }
    }
}

/// All rows have points of one kind, or none has one.
void LayerCounter::CountPoints(const BFeaturePage& page)
{
    if (page.uniformPointKind == EPointKind::None) {
        return;
    }
    const std::size_t rows = page.GetRowCount();
    m_counts.points += rows;
    m_counts.withHeight += page.uniformPointKind == EPointKind::XYZ ? rows : 0;
    // Memory is what this costs: it comes faster when it is asked for ahead.
    constexpr std::size_t kValuesOfALine = 64 / sizeof(double);
    constexpr std::size_t kAhead = 16 * kValuesOfALine;
    for (std::size_t row = 0; row < rows; ++row) {
        if (row % kValuesOfALine == 0) {
            __builtin_prefetch(page.x.Data() + row + kAhead);
            __builtin_prefetch(page.y.Data() + row + kAhead);
        }
        const bool hasPlace = std::isfinite(page.x[row]) && std::isfinite(page.y[row]);
        m_counts.withoutPlace += hasPlace ? 0U : 1U;
    }
}

LayerCounts LayerCounter::Finish()
{
    m_values.resize(m_fieldCount);
    for (const std::uint64_t values : m_values) {
        m_counts.nulls.push_back(m_counts.rows - values);
    }
    return std::move(m_counts);
}

std::uint64_t& LayerCounter::ValuesOf(std::size_t index)
{
    if (index >= m_values.size()) {
        m_values.resize(index + 1);
    }
    return m_values[index];
}

void LayerCounter::CountValues(const BFeaturePage& page)
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
void LayerCounter::TakeBackValues(const BFeaturePage& page, std::size_t row)
{
    for (std::size_t index = 0; index < page.GetAttributeCount(row); ++index) {
        m_values[index] -= page.data[index].IsNull(row) ? 0U : 1U;
    }
}

void LayerCounter::AddField(const BString& name, EVariantType type)
{
    m_counts.fieldsBeyondSchema.push_back({name, type});
    ++m_fieldCount;
}

void LayerCounter::CountObject(const BFeature& object)
{
    for (std::size_t index = 0; index < object.GetAttributeCount(); ++index) {
        const EVariantType type = object.GetAttributeValue(index).GetType();
        ValuesOf(index) += type == EVariantType::None ? 0U : 1U;
        if (index >= m_fieldCount) {
            AddField(object.GetAttributeName(index), type);
        }
    }
    if (const BPointGeo* point = object.GetPoint()) {
        CountPoint(point->HasZ(), point->GetX(), point->GetY(), m_counts);
    }
}

void LayerCounter::CountPageRow(const BFeaturePage& page, std::size_t row)
{
    const EPointKind kind = page.GetPointKind(row);
    if (kind != EPointKind::None) {
        CountPoint(kind == EPointKind::XYZ, page.x[row], page.y[row], m_counts);
    }
}

LayerCounts CountLayer(const BVectorLayer& layer)
{
    return WrapFailures({}, [&] {
        LayerCounter counter(layer.GetSchema().GetCount());
        LayerPages pages(layer.GetFeatures());
        for (SourcePage page; pages.Next(page);) {
            counter.Add(page);
        }
        return counter.Finish();
    });
}

} // namespace Orvane::Import
