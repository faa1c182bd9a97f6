// Which types are stored in their own width, and which rows of a column have a value.
#include <Orvane/BColumnData.h>

#include <algorithm>
#include <bit>

namespace Orvane {

namespace {

/// A byte whose lowest `count` bits are 1; `count` is below 8.
constexpr std::uint8_t LowBits(std::size_t count)
{
    return static_cast<std::uint8_t>((1U << count) - 1U);
}

} // namespace

std::size_t BColumnData::CountNulls(std::size_t rows) const noexcept
{
    const std::size_t known = std::min(rows, 8 * validity.GetSize());
    std::size_t nulls = known;
    for (std::size_t index = 0; index < known / 8; ++index) {
        nulls -= static_cast<std::size_t>(std::popcount(validity[index]));
    }
    if (known % 8 != 0) {
        const auto last = static_cast<std::uint8_t>(validity[known / 8] & LowBits(known % 8));
        nulls -= static_cast<std::size_t>(std::popcount(last));
    }
    return nulls;
}

void BColumnData::TruncateValidity(std::size_t rows) noexcept
{
    validity.Truncate((rows + 7) / 8);
    if (rows % 8 != 0 && rows / 8 < validity.GetSize()) {
        std::uint8_t& last = validity[rows / 8];
        last = static_cast<std::uint8_t>(last | ~LowBits(rows % 8));
    }
}

EColumnStorage StorageOf(EVariantType type) noexcept
{
    constexpr auto kText = static_cast<std::uint8_t>(EColumnStorage::Text);
    for (std::uint8_t number = 0; number < kText; ++number) {
        if (TypeOf(EColumnStorage{number}) == type) {
            return EColumnStorage{number};
        }
    }
    return EColumnStorage::Text;
}

} // namespace Orvane
