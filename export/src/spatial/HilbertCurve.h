// Hilbert's curve: an order of cells in which neighbours mostly stay neighbours.
#pragma once

#include <cstdint>

namespace Orvane {

/// The place, from 0, of a cell of a grid of 65536 by 65536 cells on the Hilbert curve through all
/// of them.
[[nodiscard]] std::uint32_t HilbertIndex(std::uint16_t column, std::uint16_t row) noexcept;

/// The same on a grid of 2^32 by 2^32 cells.
[[nodiscard]] std::uint64_t HilbertIndex(std::uint32_t column, std::uint32_t row) noexcept;

} // namespace Orvane
