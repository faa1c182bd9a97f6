// A feature: free-standing with its own values, or a row of a collection.
#include "BFeatureValues.h"

#include <Orvane/BException.h>
#include <Orvane/BFeature.h>
#include <Orvane/BFeatureCollection.h>
#include <Orvane/BFeaturePage.h>

#include <typeinfo>
#include <utility>

namespace Orvane {

namespace {

/// The point of a row that has one.
BPointGeo MakePoint(const BFeaturePage& page, std::size_t rowInPage, EPointKind kind)
{
    return kind == EPointKind::XYZ
               ? BPointGeo(page.x[rowInPage], page.y[rowInPage], page.z[rowInPage])
               : BPointGeo(page.x[rowInPage], page.y[rowInPage]);
}

} // namespace

BFeature::BFeature() = default;

BFeature::BFeature(BFeatureCollection& collection, std::size_t row)
    : m_collection(&collection)
    , m_row(row)
    , m_isOwn(false)
    , m_isHandle(true)
{}

BFeature::~BFeature()
{
    if (m_collection != nullptr) {
        m_collection->Forget(*this);
    }
}

BFeature::Values& BFeature::Own()
{
    if (!m_isOwn) {
        ReadAll();
        m_collection->KeepObject(*this);
        m_isOwn = true;
        m_attributeCount = kUnknownCount;
    }
    return Any();
}

void BFeature::ReadPoint(Values& values) const
{
    if (!values.isPointRead) {
        const BFeaturePage& page = Page();
        const EPointKind kind = page.GetPointKind(m_rowInPage);
        values.hasPoint = kind != EPointKind::None;
        if (values.hasPoint) {
            values.point = MakePoint(page, m_rowInPage, kind);
        }
        values.isPointRead = true;
    }
}

void BFeature::ReadAttributes(Values& values) const
{
    if (values.areAttributesRead) {
        return;
    }
    const BFeaturePage& page = Page();
    const std::size_t count = page.GetAttributeCount(m_rowInPage);
    BAttributes& attributes = values.attributes;
    if (values.columns == page.columns && attributes.GetCount() == count) {
        for (std::size_t i = 0; i < count; ++i) {
            attributes.SetValueAt(i, page.GetValue(m_rowInPage, i));
        }
    } else {
        values.columns = nullptr;
        attributes.Clear();
        attributes.Reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            attributes.Add((*page.columns)[i].name, page.GetValue(m_rowInPage, i));
        }
        values.columns = page.columns;
    }
    values.areAttributesRead = true;
}

void BFeature::ReadAll()
{
    Values& values = Any();
    values.name = GetName();
    ReadPoint(values);
    values.box = GetMBB();
    ReadAttributes(values);
}

BString BFeature::GetName() const
{
    if (!m_isOwn) {
        const BFeaturePage& page = Page();
        if (page.HasNameTexts()) {
            return page.GetName(m_rowInPage);
        }
        // Reuses the buffer of the last number unless somebody has kept that.
        Values& values = Any();
        values.name.SetInteger(page.GetNameNumber(m_rowInPage));
        return values.name;
    }
    return m_values ? m_values->name : BString();
}

void BFeature::SetName(const BString& name)
{
    Own().name = name;
}

const BGeometry* BFeature::GetGeometry() const
{
    if (!m_isOwn) {
        return GetPoint();
    }
    if (!m_values) {
        return nullptr;
    }
    return m_values->hasPoint ? &m_values->point : m_values->geometry.Get();
}

const BPointGeo* BFeature::GetPoint() const
{
    if (!m_isOwn) {
        Values& values = Any();
        ReadPoint(values);
        return values.hasPoint ? &values.point : nullptr;
    }
    return dynamic_cast<const BPointGeo*>(GetGeometry());
}

void BFeature::SetGeometry(const BSharedPtr<BGeometry>& geometry)
{
    BPointGeo point;
    BSharedPtr<BGeometry> copy;
    bool isPoint = false;
    if (geometry) {
        const BGeometry& source = *geometry;
        isPoint = typeid(source) == typeid(BPointGeo);
        if (isPoint) {
            point = static_cast<const BPointGeo&>(source);
        } else {
            copy = source.Clone();
        }
    }
    Values& values = Own();
    values.hasPoint = isPoint;
    values.point = point;
    values.geometry = std::move(copy);
}

BMBB BFeature::GetMBB() const
{
    if (!m_isOwn) {
        const BFeaturePage& page = Page();
        const EPointKind kind = page.GetPointKind(m_rowInPage);
        return kind == EPointKind::None ? BMBB() : MakePoint(page, m_rowInPage, kind).GetMBB();
    }
    return m_values ? m_values->box : BMBB();
}

void BFeature::SetMBR(const BMBB& box)
{
    Own().box = box;
}

const BAttributes& BFeature::GetAttributes() const
{
    Values& values = Any();
    if (!m_isOwn) {
        ReadAttributes(values);
    }
    return values.attributes;
}

void BFeature::SetAttributes(BAttributes attributes)
{
    Own().attributes = std::move(attributes);
}

void BFeature::SetAttributeValue(std::size_t attributeIndex, BVariant value)
{
    CheckSubscript(attributeIndex, GetAttributeCount());
    Own().attributes.SetValueAt(attributeIndex, std::move(value));
}

std::size_t BFeature::CountAttributes() const
{
    if (!m_isOwn) {
        m_attributeCount = Page().GetAttributeCount(m_rowInPage);
        return m_attributeCount;
    }
    return m_values ? m_values->attributes.GetCount() : 0;
}

BString BFeature::GetAttributeName(std::size_t attributeIndex) const
{
    if (!m_isOwn) {
        if (attributeIndex >= GetAttributeCount()) {
            CheckSubscript(attributeIndex, GetAttributeCount());
        }
        const BFeaturePage& page = Page();
        return (*page.columns)[attributeIndex].name;
    }
    return Any().attributes.GetNameAt(attributeIndex);
}

BVariant BFeature::GetAttributeValue(std::size_t attributeIndex) const
{
    if (!m_isOwn) {
        if (attributeIndex >= GetAttributeCount()) {
            CheckSubscript(attributeIndex, GetAttributeCount());
        }
        const BFeaturePage& page = Page();
        return page.GetValue(m_rowInPage, attributeIndex);
    }
    return Any().attributes.GetValueAt(attributeIndex);
}

} // namespace Orvane
