// Writes layers row by row.
#include "LayerJson.h"

#include <Orvane/BPointGeo.h>
#include <Orvane/BRowWalk.h>

#include <cstddef>
#include <cstdint>

namespace OrvaneHost {

namespace {

using Orvane::BFeaturePage;
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
        if (column.IsNull(row)) {
            WriteType(EVariantType::None);
            m_json.Raw("null");
            return;
        }
        Orvane::VisitStorage(column.storage, [this, &column, row](auto kind) {
            // Every type that is carried as text gives a text value.
            WriteType(kind.kType);
            if constexpr (kind.kIsText) {
                m_json.Text(column.texts.GetBytes(row), column.texts.encoding);
            } else {
                WriteValue(kind.GetValue(column, row));
            }
        });
    }

    void WriteValue(bool value) { m_json.Boolean(value); }

    void WriteValue(std::int32_t value) { m_json.Number(std::int64_t{value}); }

    void WriteValue(std::int64_t value) { m_json.Number(value); }

    void WriteValue(float value) { m_json.Number(value); }

    void WriteValue(double value) { m_json.Number(value); }

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
    bool isFirst = true;
    const auto separate = [&json, &isFirst] {
        json.Raw(isFirst ? "" : ",");
        isFirst = false;
    };
    Orvane::VisitRows(
        layer.GetFeatures(),
        [&](const BFeaturePage& page, std::size_t row) {
            separate();
            PageRows(json, page).WriteRow(row);
        },
        [&](const Orvane::BFeature& object) {
            separate();
            WriteObject(json, object);
        });
    json.Raw("]}");
}

} // namespace OrvaneHost
