// Takes the choices of a fuzz harness off the front of its bytes, and puts them there.
#pragma once

#include <Orvane/BKeyValuePairs.h>
#include <Orvane/BString.h>
#include <Orvane/BVariant.h>

#include <QString>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Fuzz {

/// Reads choices from the front of an input; after its end every choice is 0 and every text empty.
class FuzzInput
{
public:
    explicit FuzzInput(std::string_view bytes)
        : m_bytes(bytes)
    {}

    [[nodiscard]] bool IsEmpty() const noexcept { return m_bytes.empty(); }

    std::uint8_t Byte();

    /// 0 to count - 1, by one byte; `count` is 1 to 256.
    std::size_t Below(std::size_t count) { return Byte() % count; }

    bool Bit() { return (Byte() & 1U) != 0; }

    /// A number of that type from its bytes, the lowest first.
    template <typename T>
    T Number()
    {
        static_assert(std::is_integral_v<T>);
        std::make_unsigned_t<T> value = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            value = static_cast<std::make_unsigned_t<T>>(
                value | (static_cast<std::uint64_t>(Byte()) << (8 * i)));
        }
        return static_cast<T>(value);
    }

    double Double();
    /// A length byte, then as many bytes as there are of them.
    std::string_view Text();

    /// A text in UTF-8.
    Orvane::BString String() { return Orvane::BString::FromUtf8(Text()); }

    /// A value of any type that an option list takes.
    Orvane::BVariant Value();
    /// A count byte, then keys and values. Keys are one of the readers' options, by number, or any
    /// text.
    Orvane::BParamList Options();

    /// All that is left.
    std::string_view Rest();

private:
    std::string_view m_bytes;
};

/// Writes choices so that FuzzInput reads them in the same order.
class FuzzOutput
{
public:
    FuzzOutput& Byte(std::size_t value);

    template <typename T>
    FuzzOutput& Number(T value)
    {
        static_assert(std::is_integral_v<T>);
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            Byte(static_cast<std::size_t>(static_cast<std::make_unsigned_t<T>>(value) >> (8 * i)));
        }
        return *this;
    }

    FuzzOutput& Double(double value);
    /// Cut after 255 bytes.
    FuzzOutput& Text(std::string_view bytes);

    FuzzOutput& String(const Orvane::BString& text) { return Text(text.ToUtf8()); }

    FuzzOutput& Value(const Orvane::BVariant& value);
    FuzzOutput& Options(const Orvane::BParamList& options);
    FuzzOutput& Rest(std::string_view bytes);

    [[nodiscard]] const std::string& Take() const noexcept { return m_bytes; }

private:
    std::string m_bytes;
};

/// The options of the readers in a fixed order, which corpus files count on: new ones go to the
/// end.
const std::vector<Orvane::BString>& OptionKeys();

} // namespace Fuzz
