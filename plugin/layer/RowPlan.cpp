// Turns split rows into features: the walk over the fields, and where its values go.
#include "layer/RowPlan.h"

#include "text/Separator.h"
#include "text/ValueRules.h"

#include <Orvane/BAttributes.h>
#include <Orvane/BException.h>
#include <Orvane/BFeatureCollection.h>
#include <Orvane/BPointGeo.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace AsciiReader {

using Orvane::BException;
using Orvane::BString;
using Orvane::EVariantType;

namespace {

/// The point of a row while its fields are walked.
struct RowPoint
{
    double x = std::numeric_limits<double>::quiet_NaN();
    double y = std::numeric_limits<double>::quiet_NaN();
    double z = std::numeric_limits<double>::quiet_NaN();
    bool exists = false;
    bool hasZ = false;
    bool failed = false;

    /// Rule: one coordinate that fails removes the whole point for good.
    void Fail() noexcept
    {
        failed = true;
        exists = false;
    }

    [[nodiscard]] Orvane::EPointKind GetKind() const noexcept
    {
        if (!exists) {
            return Orvane::EPointKind::None;
        }
        return hasZ ? Orvane::EPointKind::XYZ : Orvane::EPointKind::XY;
    }
};

/// Puts a row's attributes straight into a layer's columns.
class LayerSink
{
public:
    explicit LayerSink(Orvane::BFeatureAppender& layer)
        : m_layer(layer)
    {}

    /// Makes room for the attributes of a row without a schema: all at once, since each time costs
    /// as much as there are columns.
    void BeginFree(std::size_t attributeCount)
    {
        std::vector<Orvane::BColumnInfo> added;
        for (std::size_t at = m_layer.GetColumnCount(); at < attributeCount; ++at) {
            added.push_back({MakeAttributeName(at), EVariantType::String});
        }
        if (!added.empty()) {
            m_layer.AddColumns(added);
        }
        m_layer.BeginRow(attributeCount);
    }

    /// The same for a row that has attributes for the first columns of the schema.
    void Begin(std::size_t attributeCount) { m_layer.BeginRow(attributeCount); }

    template <typename Unit>
    void AddFree(std::size_t /*index*/, std::basic_string_view<Unit> text, ETextUnit unit)
    {
        m_layer.AddText(AsBytes(text), ToEncoding(unit));
    }

    void Add(const BString& /*name*/, std::int32_t value) { m_layer.AddInt32(value); }

    void Add(const BString& /*name*/, double value) { m_layer.AddDouble(value); }

    void Add(const BString& /*name*/, float value) { m_layer.AddFloat(value); }

    void Add(const BString& /*name*/, bool value) { m_layer.AddBoolean(value); }

    template <typename Unit>
    void Add(const BString& /*name*/, std::basic_string_view<Unit> text, ETextUnit unit)
    {
        m_layer.AddText(AsBytes(text), ToEncoding(unit));
    }

    void SetPoint(const RowPoint& point) noexcept { m_point = point; }

    [[nodiscard]] const RowPoint& GetPoint() const noexcept { return m_point; }

private:
    Orvane::BFeatureAppender& m_layer;
    RowPoint m_point;
};

/// Collects a row's attributes for a feature of its own.
class FeatureSink
{
public:
    explicit FeatureSink(Orvane::BFeature& feature)
        : m_feature(feature)
    {}

    void BeginFree(std::size_t /*attributeCount*/) {}

    void Begin(std::size_t /*attributeCount*/) {}

    template <typename Unit>
    void AddFree(std::size_t attributeIndex, std::basic_string_view<Unit> text, ETextUnit unit)
    {
        Add(MakeAttributeName(attributeIndex), text, unit);
    }

    template <typename Value>
    void Add(const BString& name, Value value)
    {
        m_attributes.Add(name, Orvane::BVariant(value));
    }

    template <typename Unit>
    void Add(const BString& name, std::basic_string_view<Unit> text, ETextUnit unit)
    {
        m_attributes.Add(name, Orvane::BVariant(MakeString(text, unit)));
    }

    void SetPoint(const RowPoint& point)
    {
        if (point.exists) {
            auto geometry = Orvane::MakeShared<Orvane::BPointGeo>(point.x, point.y);
            if (point.hasZ) {
                geometry->SetZ(point.z);
            }
            m_feature.SetGeometry(geometry);
            m_feature.SetMBR(geometry->GetMBB());
        }
        m_feature.SetAttributes(std::move(m_attributes));
    }

private:
    Orvane::BFeature& m_feature;
    Orvane::BAttributes m_attributes;
};

RegularField::Kind KindOf(EVariantType type)
{
    switch (type) {
    case EVariantType::Int32:
        return RegularField::Kind::Int32;
    case EVariantType::Double:
        return RegularField::Kind::Double;
    case EVariantType::Float:
        return RegularField::Kind::Float;
    case EVariantType::Boolean:
        return RegularField::Kind::Boolean;
    default:
        return RegularField::Kind::Text;
    }
}

/// A text's length for the schema; joined lines may be longer than that can say.
std::int32_t ToLength(std::size_t units) noexcept
{
    constexpr std::size_t kLongest = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min(units, kLongest));
}

} // namespace

BString MakeAttributeName(std::size_t attributeIndex)
{
    return BString::Format("attribute%d", attributeIndex);
}

RowPlan::RowPlan(Orvane::BAttributeDefs& schema, const ReadOptions& options)
    : m_schema(schema)
    , m_hasNameColumn(options.nameColumn.has_value())
    , m_nameFieldIndex(std::int64_t{options.nameColumn.value_or(0)} - 1)
{
    const auto resolve = [](Coordinate& coordinate, const CoordinateOptions& from, bool counts) {
        coordinate = {counts ? from.fieldIndex : kNoField, from.multiplier, from.format};
    };
    resolve(m_x, options.x, options.HasCoordinates());
    resolve(m_y, options.y, options.HasCoordinates());
    resolve(m_z, options.z, options.HasCoordinates());
    PlanRegularRow();
}

void RowPlan::PlanRegularRow()
{
    const std::size_t definitions = m_schema.GetCount();
    const bool isByColumn = definitions > 0 && !m_hasNameColumn && m_x.format.IsEmpty() &&
                            m_y.format.IsEmpty() && m_z.format.IsEmpty();
    if (!isByColumn) {
        return;
    }
    std::size_t coordinates = 0;
    for (const Coordinate* coordinate : {&m_x, &m_y, &m_z}) {
        coordinates += coordinate->fieldIndex != kNoField ? 1 : 0;
    }
    const std::size_t count = definitions + coordinates;
    std::vector<RegularField> fields;
    std::size_t column = 0;
    for (std::size_t index = 0; index < count && column <= definitions; ++index) {
        const auto fieldIndex = static_cast<std::int64_t>(index);
        if (fieldIndex == m_x.fieldIndex) {
            fields.push_back({RegularField::Kind::X, 0});
        } else if (fieldIndex == m_y.fieldIndex) {
            fields.push_back({RegularField::Kind::Y, 0});
        } else if (fieldIndex == m_z.fieldIndex) {
            fields.push_back({RegularField::Kind::Z, 0});
        } else if (column < definitions) {
            fields.push_back({KindOf(m_schema.GetAt(column).GetType()), column});
            ++column;
        } else {
            // A coordinate column lies outside the row, or two of them are one.
            return;
        }
    }
    m_regularRow = std::move(fields);
}

double RowPlan::GetMultiplier(RegularField::Kind coordinate) const noexcept
{
    if (coordinate == RegularField::Kind::X) {
        return m_x.multiplier;
    }
    return coordinate == RegularField::Kind::Y ? m_y.multiplier : m_z.multiplier;
}

std::size_t RowPlan::GetWidth(std::size_t columnIndex) const
{
    return static_cast<std::size_t>(std::max(m_schema.GetAt(columnIndex).GetLength(), 0));
}

void RowPlan::RaiseWidth(std::size_t columnIndex, std::size_t length) const
{
    Orvane::BAttributeDef& def = m_schema.GetAt(columnIndex);
    if (def.GetType() == EVariantType::String) {
        def.SetLength(std::max(ToLength(length), def.GetLength()));
    }
}

std::vector<Orvane::BColumnInfo> RowPlan::MakeColumns() const
{
    std::vector<Orvane::BColumnInfo> columns;
    columns.reserve(m_schema.GetCount());
    for (std::size_t index = 0; index < m_schema.GetCount(); ++index) {
        const Orvane::BAttributeDef& def = m_schema.GetAt(index);
        // Rule: types without a conversion, 64-bit integers among them, are carried as text.
        const bool isConverted = KindOf(def.GetType()) != RegularField::Kind::Text;
        columns.push_back({def.GetName(), isConverted ? def.GetType() : EVariantType::String});
    }
    return columns;
}

std::size_t RowPlan::CountCoordinates(std::size_t fieldCount) const noexcept
{
    const auto isInside = [fieldCount](std::int64_t fieldIndex) {
        return fieldIndex >= 0 && static_cast<std::uint64_t>(fieldIndex) < fieldCount;
    };
    const std::int64_t x = m_x.fieldIndex;
    const std::int64_t y = m_y.fieldIndex;
    const std::int64_t z = m_z.fieldIndex;
    return static_cast<std::size_t>(isInside(x)) + static_cast<std::size_t>(isInside(y) && y != x) +
           static_cast<std::size_t>(isInside(z) && z != x && z != y);
}

std::int64_t RowPlan::FindNameField(std::size_t fieldCount) const
{
    if (!m_hasNameColumn) {
        return -1;
    }
    // Rule: the bounds test accepts the column right after the row; the access then fails with
    // an error of its own.
    if (m_nameFieldIndex < 0 || m_nameFieldIndex > static_cast<std::int64_t>(fieldCount)) {
        // Rule: the location stands first here.
        throw BException("AsciiLayer::ParsedToFeature",
                         "The name column specified is out of bounds.");
    }
    Orvane::CheckSubscript(static_cast<std::size_t>(m_nameFieldIndex), fieldCount);
    return m_nameFieldIndex;
}

template <typename Unit>
bool RowPlan::ParseCoordinate(std::basic_string_view<Unit> text,
                              ETextUnit unit,
                              const BString& format,
                              double& value)
{
    if (text.empty()) {
        return false;
    }
    try {
        if (format.IsEmpty()) {
            return ValueRules::ToCoordinate(text, value);
        }
        value = BString::FromFormattedDegrees(format, MakeString(text, unit));
        return true;
    } catch (const std::exception&) {
        // Rule: any failure in a coordinate only means that it did not parse.
        return false;
    }
}

template bool RowPlan::ParseCoordinate<char>(std::string_view, ETextUnit, const BString&, double&);
template bool
RowPlan::ParseCoordinate<char16_t>(std::u16string_view, ETextUnit, const BString&, double&);

template <typename Unit, typename Sink>
void RowPlan::ConvertAttribute(std::basic_string_view<Unit> text,
                               ETextUnit unit,
                               std::size_t definitionIndex,
                               Sink& sink) const
{
    if (definitionIndex >= m_schema.GetCount()) {
        throw Orvane::BIndexOutOfBoundsException(
            "AsciiLayer::ParsedToFeature",
            BString::Format("There are too many columns (%d > %d) for the row.",
                            definitionIndex,
                            m_schema.GetCount()));
    }
    Orvane::BAttributeDef& def = m_schema.GetAt(definitionIndex);
    switch (def.GetType()) {
    case EVariantType::Int32:
        sink.Add(def.GetName(), ValueRules::ToInt32(text));
        break;
    case EVariantType::Double:
        sink.Add(def.GetName(), ValueRules::ToDouble(text));
        break;
    case EVariantType::Float:
        sink.Add(def.GetName(), static_cast<float>(ValueRules::ToDouble(text)));
        break;
    case EVariantType::Boolean:
        sink.Add(def.GetName(), ValueRules::IsTrueWord(text));
        break;
    case EVariantType::String:
        // No text is longer in UTF-16 than in stored units.
        if (static_cast<std::int64_t>(text.size()) > def.GetLength()) {
            def.SetLength(std::max(ToLength(CountUtf16Units(text, unit)), def.GetLength()));
        }
        sink.Add(def.GetName(), text, unit);
        break;
    default:
        sink.Add(def.GetName(), text, unit);
        break;
    }
}

template <typename Fields, typename Sink>
void RowPlan::Convert(const Fields& fields, ETextUnit unit, Sink& sink) const
{
    RowPoint point;
    const auto take = [&point, unit](auto text, const Coordinate& coordinate, double& target) {
        double value = 0;
        if (!point.failed && ParseCoordinate(text, unit, coordinate.format, value)) {
            point.exists = true;
            target = value * coordinate.multiplier;
        } else {
            point.Fail();
        }
    };
    try {
        std::size_t coordinates = 0;
        const std::size_t definitions = m_schema.GetCount();
        const std::size_t attributes = fields.size() - CountCoordinates(fields.size());
        if (definitions == 0) {
            sink.BeginFree(attributes);
        } else {
            sink.Begin(std::min(attributes, definitions));
        }
        for (std::size_t index = 0; index < fields.size(); ++index) {
            const auto text = fields[index];
            const auto fieldIndex = static_cast<std::int64_t>(index);
            if (fieldIndex == m_x.fieldIndex) {
                take(text, m_x, point.x);
                ++coordinates;
            } else if (fieldIndex == m_y.fieldIndex) {
                take(text, m_y, point.y);
                ++coordinates;
            } else if (fieldIndex == m_z.fieldIndex) {
                // Rule: a Z column before X and Y makes the point, as they do.
                take(text, m_z, point.z);
                point.hasZ = true;
                ++coordinates;
            } else if (definitions == 0) {
                sink.AddFree(index - coordinates, text, unit);
            } else {
                ConvertAttribute(text, unit, index - coordinates, sink);
            }
        }
        sink.SetPoint(point);
    } catch (const Orvane::BKelvaCoordinateFormatException&) {
        throw;
    } catch (const std::exception& error) {
        // Rule: the location stands first here.
        throw BException("BAsciiFile::Read", error.what());
    }
}

RowPlan::RowEnd RowPlan::ConvertRow(SplitRow& row, Orvane::BFeatureAppender& layer) const
{
    return row.Visit([this, &layer](const auto& fields, ETextUnit unit) {
        const std::int64_t nameField = FindNameField(fields.size());
        LayerSink sink(layer);
        try {
            Convert(fields, unit, sink);
        } catch (...) {
            layer.AbandonRow();
            throw;
        }
        const RowPoint& point = sink.GetPoint();
        return RowEnd{point.GetKind(), point.x, point.y, point.z, nameField};
    });
}

void RowPlan::EndRow(SplitRow& row,
                     const RowEnd& end,
                     std::uint32_t recordNumber,
                     Orvane::BFeatureAppender& layer)
{
    if (end.nameField < 0) {
        layer.EndRow(end.kind, end.x, end.y, end.z, recordNumber);
        return;
    }
    row.Visit([&end, &layer](const auto& fields, ETextUnit unit) {
        layer.EndRow(end.kind,
                     end.x,
                     end.y,
                     end.z,
                     AsBytes(fields[static_cast<std::size_t>(end.nameField)]),
                     ToEncoding(unit));
    });
}

Orvane::BSharedPtr<Orvane::BFeature> RowPlan::MakeFeature(SplitRow& row,
                                                          std::uint32_t recordNumber) const
{
    return row.Visit([this, recordNumber](const auto& fields, ETextUnit unit) {
        auto feature = Orvane::MakeShared<Orvane::BFeature>();
        const std::int64_t nameField = FindNameField(fields.size());
        feature->SetName(nameField < 0
                             ? BString::FromInteger(recordNumber)
                             : MakeString(fields[static_cast<std::size_t>(nameField)], unit));
        FeatureSink sink(*feature);
        Convert(fields, unit, sink);
        return feature;
    });
}

} // namespace AsciiReader
