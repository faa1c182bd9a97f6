// The folding table, and the walk over a cell.
#include "FoldedCell.h"

#include <algorithm>
#include <cstdint>

namespace Orvane::Import::Values {

namespace {

struct Folding
{
    char32_t character;
    char folded;
};

constexpr Folding kFoldings[] = {
    {0x00A0, kNoBreakBlank}, {0x2009, kThinBlank},  {0x202F, kNarrowBlank}, {0x00B0, kDegreeSign},
    {0x00BA, kDegreeSign},   {0x02DA, kDegreeSign}, {0x2070, kDegreeSign},  {0x2218, kDegreeSign},
    {0x2010, '-'},           {0x2011, '-'},         {0x2012, '-'},          {0x2013, '-'},
    {0x2212, '-'},           {0x00B4, '\''},        {0x02B9, '\''},         {0x2018, '\''},
    {0x2019, '\''},          {0x2032, '\''},        {0x02BA, '"'},          {0x201C, '"'},
    {0x201D, '"'},           {0x2033, '"'},
};

char FoldCharacter(char32_t character) noexcept
{
    for (const Folding& folding : kFoldings) {
        if (folding.character == character) {
            return folding.folded;
        }
    }
    return kOtherSign;
}

/// A byte that begins no UTF-8 sequence, read as windows-1252.
char FoldByte(std::uint8_t byte) noexcept
{
    switch (byte) {
    case 0xA0:
        return kNoBreakBlank;
    case 0xB0:
    case 0xBA:
        return kDegreeSign;
    case 0x91:
    case 0x92:
    case 0xB4:
        return '\'';
    case 0x93:
    case 0x94:
        return '"';
    case 0x96:
        return '-';
    default:
        return kOtherSign;
    }
}

/// Decodes one character of two or three bytes; 0 where there is none.
char32_t DecodeSequence(std::string_view bytes, std::size_t& length) noexcept
{
    const auto unit = [&](std::size_t index) {
        return static_cast<std::uint32_t>(static_cast<std::uint8_t>(bytes[index]));
    };
    const auto continues = [&](std::size_t index) {
        return index < bytes.size() && (unit(index) & 0xC0U) == 0x80U;
    };
    const std::uint32_t lead = unit(0);
    if (lead >= 0xC2U && lead < 0xE0U && continues(1)) {
        length = 2;
        return ((lead & 0x1FU) << 6U) | (unit(1) & 0x3FU);
    }
    if (lead >= 0xE0U && lead < 0xF0U && continues(1) && continues(2)) {
        length = 3;
        return ((lead & 0x0FU) << 12U) | ((unit(1) & 0x3FU) << 6U) | (unit(2) & 0x3FU);
    }
    length = 1;
    return 0;
}

/// The folded character at the front of the bytes.
char FoldFront(std::string_view bytes, std::size_t& length) noexcept
{
    const char unit = bytes[0];
    length = 1;
    if (static_cast<std::uint8_t>(unit) < 0x80) {
        return unit >= ' ' || unit == '\t' ? unit : kOtherSign;
    }
    const char32_t character = DecodeSequence(bytes, length);
    return character != 0 ? FoldCharacter(character) : FoldByte(static_cast<std::uint8_t>(unit));
}

} // namespace

FoldedCell::FoldedCell(std::string_view bytes) noexcept
{
    // Most cells are short and of plain characters.
    if (bytes.size() <= kCapacity && !bytes.empty() && bytes.front() != ' ' &&
        bytes.back() != ' ' && std::all_of(bytes.begin(), bytes.end(), [](char unit) {
            return unit >= ' ' && unit <= '~';
        })) {
        std::copy(bytes.begin(), bytes.end(), m_text.begin());
        m_size = bytes.size();
        return;
    }
    std::size_t at = 0;
    std::size_t length = 0;
    while (at < bytes.size()) {
        const char folded = FoldFront(bytes.substr(at), length);
        at += length;
        if (m_size == 0 && IsBlank(folded)) {
            continue;
        }
        if (m_size == kCapacity) {
            // Only blanks may follow a text that is full.
            if (!IsBlank(folded)) {
                m_isTooLong = true;
                m_size = 0;
                return;
            }
            continue;
        }
        m_text[m_size++] = folded;
    }
    while (m_size > 0 && IsBlank(m_text[m_size - 1])) {
        --m_size;
    }
}

std::string_view Trim(std::string_view bytes) noexcept
{
    constexpr std::string_view kNoBreak = "\xC2\xA0";
    for (;;) {
        if (!bytes.empty() && (bytes.front() == ' ' || bytes.front() == '\t')) {
            bytes.remove_prefix(1);
        } else if (bytes.substr(0, 2) == kNoBreak) {
            bytes.remove_prefix(2);
        } else {
            break;
        }
    }
    for (;;) {
        if (!bytes.empty() && (bytes.back() == ' ' || bytes.back() == '\t')) {
            bytes.remove_suffix(1);
        } else if (bytes.size() >= 2 && bytes.substr(bytes.size() - 2) == kNoBreak) {
            bytes.remove_suffix(2);
        } else {
            break;
        }
    }
    return bytes;
}

} // namespace Orvane::Import::Values
