// Builds a feature once and fills in the numbers of others.
#include "FeatureTemplate.h"

#include "WriteFailure.h"

#include <Schema.h>
#include <bit>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <vector>

namespace Orvane::FlatGeobuf {

namespace {

constexpr std::size_t kAlignment = 8;
constexpr char kZeros[kAlignment] = {};

constexpr std::size_t RoundUp(std::size_t size) noexcept
{
    return (size + kAlignment - 1) / kAlignment * kAlignment;
}

template <typename T>
void PutLittle(char* place, T value) noexcept
{
    static_assert(std::endian::native == std::endian::little);
    std::memcpy(place, &value, sizeof value);
}

} // namespace

FeatureTemplate::FeatureTemplate(EGeometry geometry)
    : m_geometry(geometry)
{
    flatbuffers::FlatBufferBuilder builder;
    // The library builds from the end: what is made first stands last.
    const auto properties = builder.CreateVector(std::vector<std::uint8_t>());
    flatbuffers::Offset<Schema::Geometry> point;
    if (geometry != EGeometry::None) {
        constexpr double kZeroPoint[] = {0, 0};
        flatbuffers::Offset<flatbuffers::Vector<double>> z;
        if (geometry == EGeometry::PointWithZ) {
            z = builder.CreateVector(kZeroPoint, 1);
        }
        point = Schema::CreateGeometry(
            builder, 0, builder.CreateVector(kZeroPoint, std::size(kZeroPoint)), z);
    }
    builder.FinishSizePrefixed(Schema::CreateFeature(builder, point, properties));

    const auto* const bytes = reinterpret_cast<const char*>(builder.GetBufferPointer());
    m_head.assign(bytes, builder.GetSize());
    const auto offsetOf = [bytes](const auto* vector) {
        return static_cast<std::size_t>(reinterpret_cast<const char*>(vector->Data()) - bytes);
    };
    const auto& feature = *flatbuffers::GetSizePrefixedRoot<Schema::Feature>(bytes);
    if (feature.geometry() != nullptr) {
        m_xOffset = offsetOf(feature.geometry()->xy());
        m_zOffset = feature.geometry()->z() != nullptr ? offsetOf(feature.geometry()->z()) : 0;
    }
    assert(offsetOf(feature.properties()) == m_head.size());
}

std::size_t FeatureTemplate::GetSize(std::size_t propertySize) const
{
    constexpr std::size_t kMostBytes = std::numeric_limits<std::int32_t>::max();
    const std::size_t size = RoundUp(m_head.size() + propertySize);
    if (size > kMostBytes) {
        throw WriteFailure("a row of " + std::to_string(propertySize) +
                           " bytes is longer than the 2 GiB that the format holds");
    }
    return size;
}

FeatureFrame FeatureTemplate::Fill(const Place& place, std::size_t propertySize) noexcept
{
    constexpr std::size_t kLengthBytes = sizeof(std::uint32_t);
    const std::size_t used = m_head.size() + propertySize;
    const std::size_t size = RoundUp(used);
    char* const head = m_head.data();
    PutLittle(head, static_cast<std::uint32_t>(size - kLengthBytes));
    PutLittle(head + m_head.size() - kLengthBytes, static_cast<std::uint32_t>(propertySize));
    if (m_geometry != EGeometry::None) {
        PutLittle(head + m_xOffset, place.x);
        PutLittle(head + m_xOffset + sizeof place.x, place.y);
    }
    if (m_geometry == EGeometry::PointWithZ) {
        PutLittle(head + m_zOffset, place.z);
    }
    return {m_head, {kZeros, size - used}};
}

} // namespace Orvane::FlatGeobuf
