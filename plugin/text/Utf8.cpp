// Tells whether bytes are valid UTF-8.
#include "text/Utf8.h"

#include <Orvane/BUnicode.h>

#include <cstdint>
#include <cstring>

namespace AsciiReader {

namespace {

constexpr std::uint64_t kHighBits = 0x8080808080808080U;

} // namespace

Utf8Check CheckUtf8(std::string_view bytes) noexcept
{
    std::size_t at = 0;
    const std::size_t size = bytes.size();
    const auto byteAt = [bytes](std::size_t index) {
        return static_cast<unsigned char>(bytes[index]);
    };
    while (at < size) {
        std::uint64_t word = 0;
        while (at + sizeof(word) <= size &&
               (std::memcpy(&word, bytes.data() + at, sizeof(word)), (word & kHighBits) == 0)) {
            at += sizeof(word);
        }
        if (at == size) {
            break;
        }
        const Orvane::BUnicode::Utf8Lead lead = Orvane::BUnicode::LeadOf(byteAt(at));
        if (lead.size == 0) {
            return {at, false};
        }
        for (std::size_t index = 1; index < lead.size; ++index) {
            if (at + index == size) {
                return {at, true};
            }
            const unsigned char byte = byteAt(at + index);
            const bool fits = index == 1 ? byte >= lead.secondLow && byte <= lead.secondHigh
                                         : Orvane::BUnicode::IsContinuation(byte);
            if (!fits) {
                return {at, false};
            }
        }
        at += lead.size;
    }
    return {at, true};
}

std::size_t CountIncompleteTail(std::string_view bytes) noexcept
{
    for (std::size_t size = 1; size <= 3 && size <= bytes.size(); ++size) {
        const std::string_view tail = bytes.substr(bytes.size() - size);
        const Orvane::BUnicode::Utf8Lead lead =
            Orvane::BUnicode::LeadOf(static_cast<unsigned char>(tail.front()));
        if (lead.size > size) {
            const Utf8Check check = CheckUtf8(tail);
            return check.validSize == 0 && check.isValidSoFar ? size : 0;
        }
    }
    return 0;
}

} // namespace AsciiReader
