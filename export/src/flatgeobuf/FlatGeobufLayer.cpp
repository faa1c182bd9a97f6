// Builds the header by the flatbuffers library.
#include "FlatGeobufLayer.h"

#include "WriteFailure.h"

#include <Schema.h>
#include <iterator>

namespace Orvane::FlatGeobuf {

namespace {

/// "fgb", version 3, "fgb", no corrections of the version.
constexpr char kMagic[] = {'f', 'g', 'b', 3, 'f', 'g', 'b', 0};

Schema::ColumnType TypeOf(EVariantType type)
{
    switch (type) {
    case EVariantType::Int32:
        return Schema::ColumnType_Int32;
    case EVariantType::Int64:
        return Schema::ColumnType_Int64;
    case EVariantType::Double:
        return Schema::ColumnType_Double;
    case EVariantType::Float:
        return Schema::ColumnType_Float;
    case EVariantType::Boolean:
        return Schema::ColumnType_Boolean;
    case EVariantType::DateTime:
        return Schema::ColumnType_DateTime;
    default:
        return Schema::ColumnType_Text;
    }
}

flatbuffers::Offset<flatbuffers::String> MakeText(flatbuffers::FlatBufferBuilder& builder,
                                                  const std::string& text)
{
    return text.empty() ? flatbuffers::Offset<flatbuffers::String>() : builder.CreateString(text);
}

flatbuffers::Offset<Schema::CoordinateSystem>
MakeCoordinateSystem(flatbuffers::FlatBufferBuilder& builder, const CoordinateSystem& system)
{
    const auto organization = MakeText(builder, system.organization);
    const auto name = MakeText(builder, system.name);
    const auto wkt = MakeText(builder, system.wkt);
    const auto codeText = MakeText(builder, system.codeText);
    return Schema::CreateCoordinateSystem(
        builder, organization, system.code, name, 0, wkt, codeText);
}

} // namespace

std::string
MakeHeader(const LayerDefinition& layer, std::uint64_t featureCount, bool hasIndex, const Box& box)
{
    flatbuffers::FlatBufferBuilder builder;
    std::vector<flatbuffers::Offset<Schema::Column>> columnOffsets;
    for (const Field& field : layer.fields) {
        const auto name = builder.CreateString(field.name);
        columnOffsets.push_back(Schema::CreateColumn(builder, name, TypeOf(field.type)));
    }
    const auto columns = builder.CreateVector(columnOffsets);
    flatbuffers::Offset<Schema::CoordinateSystem> system;
    if (layer.coordinateSystem) {
        system = MakeCoordinateSystem(builder, *layer.coordinateSystem);
    }
    flatbuffers::Offset<flatbuffers::Vector<double>> envelope;
    if (!box.IsEmpty()) {
        const double sides[] = {box.minX, box.minY, box.maxX, box.maxY};
        envelope = builder.CreateVector(sides, std::size(sides));
    }
    const auto name = builder.CreateString(layer.name);

    Schema::HeaderBuilder header(builder);
    header.add_columns(columns);
    header.add_coordinate_system(system);
    header.add_envelope(envelope);
    header.add_name(name);
    header.add_geometry_type(layer.hasGeometry ? Schema::GeometryType_Point
                                               : Schema::GeometryType_Unknown);
    header.add_has_z(layer.hasHeights);
    // Numbers stand there even when they are those that a reader assumes without them, so that the
    // size stays the same.
    builder.ForceDefaults(true);
    header.add_features_count(featureCount);
    header.add_index_node_size(static_cast<std::uint16_t>(hasIndex ? PackedIndex::kNodeSize : 0));
    builder.ForceDefaults(false);
    builder.FinishSizePrefixed(header.Finish());

    if (builder.GetSize() > kMostHeaderBytes) {
        throw WriteFailure("the names of the columns make a header of " +
                           std::to_string(builder.GetSize()) + " bytes; readers accept " +
                           std::to_string(kMostHeaderBytes));
    }
    std::string bytes(std::begin(kMagic), std::end(kMagic));
    bytes.append(reinterpret_cast<const char*>(builder.GetBufferPointer()), builder.GetSize());
    return bytes;
}

} // namespace Orvane::FlatGeobuf
