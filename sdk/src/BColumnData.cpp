// Which types are stored in their own width.
#include <Orvane/BColumnData.h>

namespace Orvane {

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
