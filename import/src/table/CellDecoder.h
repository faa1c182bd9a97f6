// Cells of any encoding as UTF-8.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Orvane::Import::Table {

/// Decodes bytes of one encoding to UTF-8, and tells whether they are characters at all.
///
/// UTF-8 is only checked; encodings of one byte per character go by a table that is made once; all
/// others go through the system's iconv. One thread at a time.
class CellDecoder
{
public:
    enum class EKind : std::uint8_t {
        Utf8,
        OneByte,   ///< a byte is a character, those below 0x80 are ASCII
        ManyBytes, ///< through iconv
    };

    /// @param encoding as iconv knows it
    /// @param file for the failure
    /// @throws ImportFailure `unknown-codec`
    CellDecoder(const std::string& encoding, const std::string& file);
    ~CellDecoder();
    CellDecoder(const CellDecoder&) = delete;
    CellDecoder& operator=(const CellDecoder&) = delete;

    [[nodiscard]] EKind Kind() const noexcept { return m_kind; }

    /// Whether the bytes are their own UTF-8 and valid.
    [[nodiscard]] bool IsPlain(std::string_view bytes) const noexcept;

    /// Whether all bytes are characters. Bytes that are cut out of a character are not.
    [[nodiscard]] bool IsValid(std::string_view bytes);

    /// Appends the bytes as UTF-8, U+FFFD for what is no character. @return whether all were
    bool Append(std::string_view bytes, std::string& out);

private:
    bool AppendUtf8(std::string_view bytes, std::string& out) const;
    bool AppendByTable(std::string_view bytes, std::string& out) const;
    bool AppendByIconv(std::string_view bytes, std::string& out);
    void MakeTable();

    EKind m_kind = EKind::Utf8;
    void* m_iconv = nullptr;
    bool m_keepsAscii = true;   ///< bytes below 0x80 are ASCII on their own
    bool m_isTableWhole = true; ///< every byte is a character
    std::array<std::array<char, 4>, 128> m_table{};
    std::array<std::uint8_t, 128> m_sizes{}; ///< 0: no character
    std::string m_scratch;
};

} // namespace Orvane::Import::Table
