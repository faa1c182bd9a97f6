// The words for true and for false.
#pragma once

#include "kernels/Fields.h"

#include <cstdint>

namespace AsciiReader::Kernels {

namespace {

/// Compares fields with the words for true and for false, in any case. IsBoolean is always inlined:
/// out of line it costs a scan of types a quarter more instructions.
class BooleanWords
{
public:
    [[nodiscard]] bool IsTrue(const char* text, FieldSpan span) const
    {
        return (IsShort(text, span, '1', m_yes, m_true) |
                IsWord(text, span, 3, m_keepThree, m_yes) |
                IsWord(text, span, 4, m_keepFour, m_true)) != 0;
    }

    [[nodiscard]] bool IsFalse(const char* text, FieldSpan span) const
    {
        return (IsShort(text, span, '0', m_no, m_false) | IsWord(text, span, 2, m_keepTwo, m_no) |
                IsWord(text, span, 5, m_keepFive, m_false)) != 0;
    }

    [[nodiscard, gnu::always_inline]] bool IsBoolean(const char* text, FieldSpan span) const
    {
        return (Bit(IsTrue(text, span)) | Bit(IsFalse(text, span))) != 0;
    }

private:
    static std::uint64_t Lower(const char* text, FieldSpan span)
    {
        return LoadWord(text + span.begin) | 0x2020202020202020U;
    }

    // All answers are 0 or 1 and are joined without jumps, since the words come in no order.
    static unsigned Bit(bool value) { return value ? 1 : 0; }

    static unsigned IsWord(const char* text,
                           FieldSpan span,
                           std::uint32_t size,
                           std::uint64_t keep,
                           std::uint64_t word)
    {
        return Bit(span.end - span.begin == size) & Bit((Lower(text, span) & keep) == word);
    }

    /// The field is the digit, or the letter that one of the words begins with.
    [[nodiscard]] unsigned IsShort(const char* text,
                                   FieldSpan span,
                                   char digit,
                                   std::uint64_t firstWord,
                                   std::uint64_t secondWord) const
    {
        const std::uint64_t letter = Lower(text, span) & m_keepOne;
        return Bit(span.end - span.begin == 1) &
               (Bit(text[span.begin] == digit) | Bit(letter == (firstWord & m_keepOne)) |
                Bit(letter == (secondWord & m_keepOne)));
    }

    std::uint64_t m_keepOne = LoadWord("\xFF\0\0\0\0\0\0");
    std::uint64_t m_keepTwo = LoadWord("\xFF\xFF\0\0\0\0\0");
    std::uint64_t m_keepThree = LoadWord("\xFF\xFF\xFF\0\0\0\0");
    std::uint64_t m_keepFour = LoadWord("\xFF\xFF\xFF\xFF\0\0\0");
    std::uint64_t m_keepFive = LoadWord("\xFF\xFF\xFF\xFF\xFF\0\0");
    std::uint64_t m_yes = LoadWord("yes\0\0\0\0");
    std::uint64_t m_true = LoadWord("true\0\0\0");
    std::uint64_t m_no = LoadWord("no\0\0\0\0\0");
    std::uint64_t m_false = LoadWord("false\0\0");
};

} // namespace

} // namespace AsciiReader::Kernels
