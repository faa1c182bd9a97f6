// Rows while they wait for their place in the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Orvane::FlatGeobuf {

/// Where a row is.
struct Place
{
    double x = 0;
    double y = 0;
    double z = 0;
};

/// How the bytes of a row are laid out that waits, in memory or in a temporary file: the size of
/// its properties in 4 bytes, its coordinates (none, X and Y, or all three), its properties. That
/// is half of what the feature has in the file.
class RecordShape
{
public:
    /// @param coordinateCount 0, 2 or 3
    explicit RecordShape(std::size_t coordinateCount)
        : m_placeBytes(coordinateCount * sizeof(double))
    {}

    /// Bytes before the properties.
    [[nodiscard]] std::size_t GetBeginSize() const noexcept
    {
        return sizeof(std::uint32_t) + m_placeBytes;
    }

    /// @param begin gets GetBeginSize() bytes
    void SetBegin(char* begin, const Place& place, std::uint32_t propertySize) const noexcept
    {
        std::memcpy(begin, &propertySize, sizeof propertySize);
        std::memcpy(begin + sizeof propertySize, &place, m_placeBytes);
    }

    [[nodiscard]] Place GetPlace(const char* begin) const noexcept
    {
        Place place;
        std::memcpy(&place, begin + sizeof(std::uint32_t), m_placeBytes);
        return place;
    }

    [[nodiscard]] static std::size_t GetPropertySize(const char* begin) noexcept
    {
        std::uint32_t size = 0;
        std::memcpy(&size, begin, sizeof size);
        return size;
    }

private:
    std::size_t m_placeBytes;
};

} // namespace Orvane::FlatGeobuf
