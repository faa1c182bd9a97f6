// Counts a layer and describes it in words.
#include "LayerSummary.h"

#include "TerminalText.h"

#include <Orvane/BNumbers.h>
#include <Orvane/BPointGeo.h>
#include <Orvane/BRowWalk.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace OrvaneHost {

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
    return LayerCounter(layer).Run();
}

std::string NameOfType(Orvane::EVariantType type)
{
    using Orvane::EVariantType;
    switch (type) {
    case EVariantType::None:
        return "no type";
    case EVariantType::Int32:
        return "integer";
    case EVariantType::Int64:
        return "64-bit integer";
    case EVariantType::Double:
        return "double";
    case EVariantType::Float:
        return "float";
    case EVariantType::String:
    case EVariantType::Text:
        return "text";
    case EVariantType::Boolean:
        return "boolean";
    default:
        return "type " + std::to_string(static_cast<int>(type));
    }
}

std::string DescribeSchema(const Orvane::BAttributeDefs& schema)
{
    constexpr std::size_t kWidestName = 40;
    std::size_t nameWidth = 0;
    for (std::size_t index = 0; index < schema.GetCount(); ++index) {
        const std::string name = TerminalText::Escape(schema.GetAt(index).GetName());
        nameWidth = std::max(nameWidth, TerminalText::CountCharacters(name));
    }
    nameWidth = std::min(nameWidth, kWidestName);
    const std::size_t numberWidth = std::to_string(schema.GetCount()).size();
    std::string lines;
    for (std::size_t index = 0; index < schema.GetCount(); ++index) {
        const Orvane::BAttributeDef& def = schema.GetAt(index);
        const std::string number = std::to_string(index + 1);
        const std::string name = TerminalText::EscapeAndCut(def.GetName(), kWidestName);
        lines += "  " + std::string(numberWidth - number.size(), ' ') + number + "  " +
                 TerminalText::Pad(name, nameWidth) + "  " + NameOfType(def.GetType());
        if (def.GetLength() != 0) {
            lines += ", length " + std::to_string(def.GetLength());
        }
        if (def.GetPrecision() != 0) {
            lines += ", precision " + std::to_string(def.GetPrecision());
        }
        lines += "\n";
    }
    return lines;
}

std::string FormatNumber(double value)
{
    char buffer[40];
    return {buffer, Orvane::BNumbers::FormatShortest(value, buffer)};
}

std::string DescribeExtent(const Orvane::BMBB& box)
{
    if (box.IsEmpty()) {
        return "none";
    }
    std::string text = "X " + FormatNumber(box.minX) + " to " + FormatNumber(box.maxX) + ", Y " +
                       FormatNumber(box.minY) + " to " + FormatNumber(box.maxY);
    if (!std::isnan(box.minZ)) {
        text += ", Z " + FormatNumber(box.minZ) + " to " + FormatNumber(box.maxZ);
    }
    return text;
}

std::string FormatValue(const Orvane::BVariant& value)
{
    if (value.GetType() == Orvane::EVariantType::Boolean) {
        return value.GetBoolean() ? "true" : "false";
    }
    return TerminalText::Escape(value.GetString());
}

} // namespace OrvaneHost
