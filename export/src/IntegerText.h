// Texts of 64-bit columns as numbers.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Orvane {

/// The whole text as a 64-bit integer: commas left out, a sign, decimal digits. A number written
/// with an exponent counts when it is whole and fits. Nothing for any other text.
[[nodiscard]] std::optional<std::int64_t> ParseInt64(std::string_view text);

} // namespace Orvane
