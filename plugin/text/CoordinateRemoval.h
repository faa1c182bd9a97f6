// Removes the coordinate columns of a row, whatever its fields are stored in.
#pragma once

#include <Orvane/BException.h>
#include <Orvane/BString.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>

namespace AsciiReader {

/// The rule of AsciiUtils::RemoveXYZ for any vector of fields.
template <typename Fields>
void RemoveCoordinateColumns(Fields& fields,
                             std::int32_t xIndex,
                             std::int32_t yIndex,
                             std::int32_t zIndex)
{
    using Orvane::BIndexOutOfBoundsException;
    using Orvane::BString;
    const auto remove = [&fields](std::int32_t index) {
        // A negative index becomes one that no row has.
        Orvane::CheckSubscript(static_cast<std::size_t>(index), fields.size());
        fields.erase(fields.begin() + index);
    };
    try {
        if (zIndex < 0) {
            if (fields.size() < 2) {
                throw BIndexOutOfBoundsException(
                    "AsciiUtils::RemoveXYZ",
                    BString::Format("Expected at least 2 (x, y) fields, but only %d present.",
                                    fields.size()));
            }
            // Rule: when both indices are equal the field there goes and the one that followed it.
            remove(xIndex >= yIndex ? xIndex : yIndex);
            remove(xIndex >= yIndex ? yIndex : xIndex);
            return;
        }
        if (fields.size() < 3) {
            throw BIndexOutOfBoundsException(
                "AsciiUtils::RemoveXYZ",
                BString::Format("Expected at least 3 fields (x, y, z), but only %d present.",
                                fields.size()));
        }
        // Rule: with a Z column nothing is removed when two of the three indices are equal.
        if (xIndex == yIndex || yIndex == zIndex || xIndex == zIndex) {
            return;
        }
        std::array<std::int32_t, 3> indices = {xIndex, yIndex, zIndex};
        std::sort(indices.begin(), indices.end(), [](auto a, auto b) { return a > b; });
        for (const std::int32_t index : indices) {
            remove(index);
        }
    } catch (const BIndexOutOfBoundsException&) {
        throw;
    } catch (const std::exception&) {
        // Rule: the location stands first here.
        throw Orvane::BException("BAsciiFile::RemoveXYZ",
                                 "Attempting to remove X/Y/Z columns failed. Possibly due to no "
                                 "X/Y/Z columns being present.");
    }
}

} // namespace AsciiReader
