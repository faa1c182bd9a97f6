// The table of lead bytes, the decoders and the encoder.
#include <Orvane/BUnicode.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace {

namespace BUnicode = Orvane::BUnicode;

std::string Encode(char32_t code)
{
    std::string out;
    BUnicode::AppendUtf8(code, out);
    return out;
}

struct DecodeCase
{
    const char* name;
    std::string_view bytes;
    char32_t code;
    std::size_t size;
    bool isValid;
};

void PrintTo(const DecodeCase& row, std::ostream* out)
{
    *out << row.name;
}

constexpr DecodeCase kDecodeCases[] = {
    {"Ascii", "Ab", U'A', 1, true},
    {"Nul", std::string_view("\0x", 2), 0, 1, true},
    {"LastOfOneByte", "\x7F", 0x7F, 1, true},
    {"FirstOfTwoBytes", "\xC2\x80z", 0x80, 2, true},
    {"LastOfTwoBytes", "\xDF\xBF", 0x7FF, 2, true},
    {"FirstOfThreeBytes", "\xE0\xA0\x80", 0x800, 3, true},
    {"LastBeforeTheSurrogates", "\xED\x9F\xBF", 0xD7FF, 3, true},
    {"FirstAfterTheSurrogates", "\xEE\x80\x80", 0xE000, 3, true},
    {"LastOfThreeBytes", "\xEF\xBF\xBF", 0xFFFF, 3, true},
    {"FirstOfFourBytes", "\xF0\x90\x80\x80", 0x10000, 4, true},
    {"LastOfFourBytes", "\xF4\x8F\xBF\xBF", 0x10FFFF, 4, true},
    {"ContinuationAlone", "\x80\x80", 0xFFFD, 1, false},
    {"OverlongOfTwoBytes", "\xC0\x80", 0xFFFD, 1, false},
    {"OverlongOfThreeBytes", "\xE0\x9F\xBF", 0xFFFD, 1, false},
    {"OverlongOfFourBytes", "\xF0\x8F\xBF\xBF", 0xFFFD, 1, false},
    {"Surrogate", "\xED\xA0\x80", 0xFFFD, 1, false},
    {"AboveTheLastCharacter", "\xF4\x90\x80\x80", 0xFFFD, 1, false},
    {"LeadOfFiveBytes", "\xF8\x88\x80\x80\x80", 0xFFFD, 1, false},
    {"CutAfterTheLead", "\xC3", 0xFFFD, 1, false},
    {"CutAfterTwoOfThreeBytes", "\xE2\x82", 0xFFFD, 2, false},
    {"CutAfterThreeOfFourBytes", "\xF0\x9F\x98", 0xFFFD, 3, false},
    {"BrokenInTheThirdByte", "\xE2\x82z", 0xFFFD, 2, false},
};

class BUnicodeDecodeUtf8 : public testing::TestWithParam<DecodeCase>
{};

TEST_P(BUnicodeDecodeUtf8, GivesCharacterSizeAndValidity)
{
    const BUnicode::Character character = BUnicode::DecodeUtf8(GetParam().bytes);
    EXPECT_EQ(character.code, GetParam().code);
    EXPECT_EQ(character.size, GetParam().size);
    EXPECT_EQ(character.isValid, GetParam().isValid);
}

INSTANTIATE_TEST_SUITE_P(,
                         BUnicodeDecodeUtf8,
                         testing::ValuesIn(kDecodeCases),
                         [](const auto& row) { return row.param.name; });

TEST(BUnicodeEncodeUtf8, GivesBackEveryCharacter)
{
    for (char32_t code = 0; code <= 0x10FFFF; ++code) {
        if (BUnicode::IsSurrogate(code)) {
            continue;
        }
        const std::string bytes = Encode(code);
        const BUnicode::Character character = BUnicode::DecodeUtf8(bytes);
        ASSERT_TRUE(character.isValid) << static_cast<unsigned>(code);
        ASSERT_EQ(character.code, code);
        ASSERT_EQ(character.size, bytes.size());
        ASSERT_EQ(BUnicode::LeadOf(static_cast<unsigned char>(bytes[0])).size, bytes.size());
    }
}

TEST(BUnicodeLeadOf, BeginsACharacterForNoOtherByte)
{
    for (unsigned byte = 0x80; byte < 0x100; ++byte) {
        const bool isLead = byte >= 0xC2 && byte <= 0xF4;
        EXPECT_EQ(BUnicode::LeadOf(static_cast<unsigned char>(byte)).size != 0, isLead) << byte;
        EXPECT_EQ(BUnicode::IsContinuation(static_cast<unsigned char>(byte)), byte < 0xC0) << byte;
    }
}

TEST(BUnicodeDecodeUtf16, GivesPairsAndLoneSurrogates)
{
    const std::u16string units = {u'a', 0xD83D, 0xDE00, 0xDE00, 0xD83D, u'z', 0xD83D};
    std::u32string codes;
    for (std::size_t position = 0; position < units.size();) {
        codes.push_back(BUnicode::DecodeUtf16(units, position));
    }
    EXPECT_EQ(codes, (std::u32string{U'a', 0x1F600, 0xDE00, 0xD83D, U'z', 0xD83D}));
}

} // namespace
