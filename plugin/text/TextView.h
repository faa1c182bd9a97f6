// A view of decoded text in one of the encodings that lines are kept in.
#pragma once

#include <Orvane/BFeaturePage.h>
#include <Orvane/BString.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace AsciiReader {

/// How the units of a text are stored.
enum class ETextUnit : std::uint8_t {
    Latin1, ///< one byte per character
    Utf8,   ///< valid UTF-8
    Utf16   ///< two bytes per code unit
};

/// A run of text, not owned.
class TextView
{
public:
    TextView() noexcept = default;

    TextView(std::string_view bytes, ETextUnit unit) noexcept
        : m_data(bytes.data())
        , m_size(bytes.size())
        , m_unit(unit)
    {}

    explicit TextView(std::u16string_view text) noexcept
        : m_data(text.data())
        , m_size(text.size())
        , m_unit(ETextUnit::Utf16)
    {}

    [[nodiscard]] ETextUnit GetUnit() const noexcept { return m_unit; }

    /// Length in stored units: bytes, or UTF-16 code units.
    [[nodiscard]] std::size_t GetSize() const noexcept { return m_size; }

    [[nodiscard]] bool IsEmpty() const noexcept { return m_size == 0; }

    /// For Latin1 and Utf8.
    [[nodiscard]] std::string_view Bytes() const noexcept
    {
        return {static_cast<const char*>(m_data), m_size};
    }

    /// For Utf16.
    [[nodiscard]] std::u16string_view Wide() const noexcept
    {
        return {static_cast<const char16_t*>(m_data), m_size};
    }

    /// Calls `use` with the view of the stored units.
    template <typename Use>
    decltype(auto) Visit(Use&& use) const
    {
        if (m_unit == ETextUnit::Utf16) {
            return use(Wide());
        }
        return use(Bytes());
    }

    [[nodiscard]] Orvane::BString ToString() const;

private:
    const void* m_data = nullptr;
    std::size_t m_size = 0;
    ETextUnit m_unit = ETextUnit::Latin1;
};

/// The encoding of a layer for texts of that unit.
constexpr Orvane::ETextEncoding ToEncoding(ETextUnit unit) noexcept
{
    switch (unit) {
    case ETextUnit::Latin1:
        return Orvane::ETextEncoding::Latin1;
    case ETextUnit::Utf8:
        return Orvane::ETextEncoding::Utf8;
    case ETextUnit::Utf16:
        break;
    }
    return Orvane::ETextEncoding::Utf16;
}

/// The bytes of a field, as a layer stores them.
inline std::string_view AsBytes(std::string_view text) noexcept
{
    return text;
}

inline std::string_view AsBytes(std::u16string_view text) noexcept
{
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

/// One field as a BString.
Orvane::BString MakeString(std::string_view text, ETextUnit unit);
Orvane::BString MakeString(std::u16string_view text, ETextUnit unit);

/// Length of a field in UTF-16 code units.
std::size_t CountUtf16Units(std::string_view text, ETextUnit unit) noexcept;
std::size_t CountUtf16Units(std::u16string_view text, ETextUnit unit) noexcept;

/// A text of any unit as UTF-16, replacing `out`.
void Widen(const TextView& text, std::u16string& out);

} // namespace AsciiReader
