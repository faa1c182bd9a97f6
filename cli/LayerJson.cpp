// Writes layers by walking their pages.
#include "LayerJson.h"

#include <Orvane/BPointGeo.h>

#include <memory>

namespace OrvaneHost {

namespace {

using Orvane::BFeaturePage;
using Orvane::EColumnStorage;
using Orvane::EVariantType;

void WriteSchema(JsonWriter& json, const Orvane::BAttributeDefs& schema)
{
    json.Raw('[');
    for (std::size_t index = 0; index < schema.GetCount(); ++index) {
        const Orvane::BAttributeDef& def = schema.GetAt(index);
        json.Raw(index == 0 ? "{\"name\":" : ",{\"name\":");
        json.Text(def.GetName());
        json.Raw(",\"type\":");
        json.Number(static_cast<std::int64_t>(def.GetType()));
        json.Raw(",\"length\":");
        json.Number(std::int64_t{def.GetLength()});
        json.Raw(",\"precision\":");
        json.Number(std::int64_t{def.GetPrecision()});
        json.Raw('}');
    }
    json.Raw(']');
}

void WritePoint(JsonWriter& json, double x, double y, bool hasZ, double z)
{
    json.Raw('[');
    json.Number(x);
    json.Raw(',');
    json.Number(y);
    if (hasZ) {
        json.Raw(',');
        json.Number(z);
    }
    json.Raw(']');
}

/// A feature that is kept as an object.
void WriteObject(JsonWriter& json, const Orvane::BFeature& feature)
{
    json.Raw("{\"name\":");
    json.Text(feature.GetName());
    json.Raw(",\"geometry\":");
    if (const Orvane::BPointGeo* point = feature.GetPoint()) {
        WritePoint(json, point->GetX(), point->GetY(), point->HasZ(), point->GetZ());
    } else {
        json.Raw("null");
    }
    json.Raw(",\"attributes\":[");
    const Orvane::BAttributes& attributes = feature.GetAttributes();
    for (std::size_t index = 0; index < attributes.GetCount(); ++index) {
        const Orvane::BVariant& value = attributes.GetValueAt(index);
        json.Raw(index == 0 ? "[" : ",[");
        json.Text(attributes.GetNameAt(index));
        json.Raw(',');
        json.Number(static_cast<std::int64_t>(value.GetType()));
        json.Raw(',');
        json.Value(value);
        json.Raw(']');
    }
    json.Raw("]}");
}

/// Writes the rows of one page that the page itself holds.
class PageRows
{
public:
    PageRows(JsonWriter& json, const BFeaturePage& page)
        : m_json(json)
        , m_page(page)
    {}

    void WriteRow(std::size_t row)
    {
        m_json.Raw("{\"name\":");
        if (m_page.HasNameTexts()) {
            m_json.Text(m_page.nameTexts.GetBytes(row), m_page.nameTexts.encoding);
        } else {
            m_json.Raw('"');
            m_json.Number(std::int64_t{m_page.GetNameNumber(row)});
            m_json.Raw('"');
        }
        m_json.Raw(",\"geometry\":");
        const Orvane::EPointKind kind = m_page.GetPointKind(row);
        if (kind == Orvane::EPointKind::None) {
            m_json.Raw("null");
        } else {
            const bool hasZ = kind == Orvane::EPointKind::XYZ;
            WritePoint(m_json, m_page.x[row], m_page.y[row], hasZ, hasZ ? m_page.z[row] : 0);
        }
        m_json.Raw(",\"attributes\":[");
        const std::size_t count = m_page.GetAttributeCount(row);
        for (std::size_t columnIndex = 0; columnIndex < count; ++columnIndex) {
            m_json.Raw(columnIndex == 0 ? "[" : ",[");
            m_json.Text((*m_page.columns)[columnIndex].name);
            WriteTypeAndValue(row, columnIndex);
            m_json.Raw(']');
        }
        m_json.Raw("]}");
    }

private:
    void WriteType(EVariantType type)
    {
        m_json.Raw(',');
        m_json.Number(static_cast<std::int64_t>(type));
        m_json.Raw(',');
    }

    void WriteTypeAndValue(std::size_t row, std::size_t columnIndex)
    {
        const Orvane::BColumnData& column = m_page.data[columnIndex];
        switch (column.storage) {
        case EColumnStorage::Int32:
            WriteType(EVariantType::Int32);
            m_json.Number(std::int64_t{column.int32s[row]});
            break;
        case EColumnStorage::Int64:
            WriteType(EVariantType::Int64);
            m_json.Number(column.int64s[row]);
            break;
        case EColumnStorage::Double:
            WriteType(EVariantType::Double);
            m_json.Number(column.doubles[row]);
            break;
        case EColumnStorage::Float:
            WriteType(EVariantType::Float);
            m_json.Number(column.floats[row]);
            break;
        case EColumnStorage::Boolean:
            WriteType(EVariantType::Boolean);
            m_json.Boolean(column.booleans[row] != 0);
            break;
        case EColumnStorage::Text:
            // Every type that is carried as text gives a text value.
            WriteType(EVariantType::String);
            m_json.Text(column.texts.GetBytes(row), column.texts.encoding);
            break;
        }
    }

    JsonWriter& m_json;
    const BFeaturePage& m_page;
};

} // namespace

void WriteLayerJson(JsonWriter& json, const Orvane::BVectorLayer& layer)
{
    json.Raw("{\"name\":");
    json.Text(layer.GetName());
    json.Raw(",\"schema\":");
    WriteSchema(json, layer.GetSchema());
    json.Raw(",\"features\":[");
    const Orvane::BFeatureCollection& features = layer.GetFeatures();
    bool isFirst = true;
    for (std::size_t pageIndex = 0; pageIndex < features.GetPageCount(); ++pageIndex) {
        const std::shared_ptr<const BFeaturePage> held = features.LoadPage(pageIndex);
        const BFeaturePage& page = *held;
        const std::size_t firstRow = features.GetFirstRow(pageIndex);
        PageRows rows(json, page);
        for (std::size_t row = 0; row < page.GetRowCount(); ++row) {
            json.Raw(isFirst ? "" : ",");
            isFirst = false;
            if (const Orvane::BFeature* object = features.GetObjectRow(firstRow + row)) {
                WriteObject(json, *object);
            } else {
                rows.WriteRow(row);
            }
        }
    }
    json.Raw("]}");
}

} // namespace OrvaneHost
