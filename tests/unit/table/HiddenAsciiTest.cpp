// Characters whose further bytes are those of separators, quotes and digits.
#include "TableFile.h"
#include "plan/scan/CharacterDecoder.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace TableTest;
using namespace std::string_view_literals;
using Orvane::Import::PlanRequest;
using Orvane::Import::Scan::CharacterDecoder;
using Orvane::Import::Scan::HidesAscii;

using Texts = std::vector<std::string>;

struct HiddenCase
{
    const char* name;
    const char* encoding;
    char separator;
    std::string_view word; ///< in the encoding
    const char* utf8;
    const char* given = ""; ///< as the caller's encoding; otherwise the plan finds it
};

void PrintTo(const HiddenCase& row, std::ostream* stream)
{
    *stream << row.name;
}

const HiddenCase kHidden[] = {
    {"ShiftJisWithBackslashes", "SHIFT_JIS", ',', "\x95\\\x8E\xA6\x94\\\x97\xCD", "表示能力"},
    {"ShiftJisWithBars", "SHIFT_JIS", '|', "\x83|\x8F[\x81[\x82\xA0", "ポ充ーあ"},
    {"ShiftJisThatEndsWithABackslash", "SHIFT_JIS", ',', "\"\x83|,\x95\\\"", "ポ,表"},
    {"Big5WithBackslashes", "BIG5", ',', "\xA5\\\xB3\\\xBB\\", "功許蓋"},
    {"Big5ThatEndsWithABar", "BIG5", '|', "\xA5\\\xB3\\\xBB\\\xA8|", "功許蓋育"},
    {"GbkWithBars", "GB18030", '|', "\x81|\x82|\xB0|\xD6\xD0\xCE\xC4", "亅倈皘中文"},
    {"Gb18030WithDigits", "GB18030", ',', "\xD6\xD0\xCE\xC4\x81\x39\xEE\x39\xA2\xE3", "中文㐀€"},
    {"Gb18030AsGiven", "GB18030", ';', "\xD6\xD0\x81\x30\x8A\x31", "中ä", "GB18030"},
    {"Iso2022Jp", "ISO-2022-JP", ',', "\x1B$BF|K\\\x1B(B", "日本", "ISO-2022-JP"},
    {"EucKrHidesNothing", "CP949", ',', "\xBC\xAD\xBF\xEF\xC6\xAF\xBA\xB0", "서울특별"},
};

class HiddenAscii : public testing::TestWithParam<HiddenCase>
{};

INSTANTIATE_TEST_SUITE_P(, HiddenAscii, testing::ValuesIn(kHidden), TestSupport::CaseName());

/// Thirty rows with the word.
std::string MakeFile(const HiddenCase& row)
{
    const std::string separator(1, row.separator);
    std::string bytes = "id" + separator + "lon" + separator + "lat" + separator + "word\n";
    for (int line = 10; line < 40; ++line) {
        const std::string number = std::to_string(line);
        bytes += number + separator + "8." + number + separator + "47." + number + separator;
        bytes.append(row.word) += '\n';
    }
    return bytes;
}

TEST_P(HiddenAscii, CutsNoCharacter)
{
    PlanRequest request;
    request.encoding = GetParam().given;
    const ReadFile file = Read(MakeFile(GetParam()), request);
    EXPECT_EQ(file.plan.bytes.encoding.value, GetParam().encoding);
    EXPECT_TRUE(file.plan.questions.empty());
    EXPECT_EQ(file.counts.rows, 30U);
    EXPECT_EQ(file.counts.points, 30U);
    EXPECT_TRUE(file.bad.empty());
    EXPECT_EQ(Rows(*file.layer).front(), "(8.1 47.1) 10, '" + std::string(GetParam().utf8) + "'");
    EXPECT_EQ(Rows(*file.layer).back(), "(8.39 47.39) 39, '" + std::string(GetParam().utf8) + "'");
}

TEST(HiddenAsciiBytes, ThatAreNoCharactersMakeABadRow)
{
    HiddenCase row = kHidden[1];
    std::string bytes = MakeFile(row);
    const std::size_t at = bytes.find("\n20|");
    bytes.replace(bytes.find("\x8F[", at), 2, "\xFF[");
    PlanRequest request;
    request.encoding = "SHIFT_JIS";
    const ReadFile file = Read(bytes, request);
    EXPECT_EQ(file.counts.rows, 29U);
    EXPECT_EQ(BadWords(file.bad), Texts{"encoding@12:4"});
}

TEST(HidesAscii, AsksTheSystem)
{
    for (const char* encoding : {"SHIFT_JIS",
                                 "CP932",
                                 "BIG5",
                                 "BIG5-HKSCS",
                                 "GBK",
                                 "GB18030",
                                 "JOHAB",
                                 "ISO-2022-JP",
                                 "UTF-7",
                                 "CP037"}) {
        EXPECT_TRUE(HidesAscii(encoding)) << encoding;
    }
    for (const char* encoding : {"UTF-8",
                                 "US-ASCII",
                                 "WINDOWS-1252",
                                 "windows-1251",
                                 "CP1258",
                                 "KOI8-R",
                                 "MACINTOSH",
                                 "EUC-KR",
                                 "CP949",
                                 "EUC-JP",
                                 "EUC-TW",
                                 "GB2312",
                                 "no-such-encoding"}) {
        EXPECT_FALSE(HidesAscii(encoding)) << encoding;
    }
}

TEST(CharacterDecoder, GoesOnWhereAPieceCutsACharacter)
{
    constexpr std::string_view kText = "a\x95\\,\x81\x5F|\\~\n";
    for (std::size_t cut = 0; cut <= kText.size(); ++cut) {
        CharacterDecoder decoder("SHIFT_JIS");
        std::string out;
        std::uint64_t invalid = 0;
        const std::size_t used = decoder.Append(kText.substr(0, cut), false, out, invalid);
        EXPECT_LE(cut - used, 1U);
        decoder.Append(kText.substr(used), true, out, invalid);
        EXPECT_EQ(out, "a表,＼|\\~\n") << cut;
        EXPECT_EQ(invalid, 0U);
    }
}

TEST(CharacterDecoder, CountsBytesThatAreNoCharacters)
{
    CharacterDecoder decoder("SHIFT_JIS");
    std::string out;
    std::uint64_t invalid = 0;
    EXPECT_EQ(decoder.Append("\xFF,a\x95", true, out, invalid), 4U);
    EXPECT_EQ(out, "\xEF\xBF\xBD,a\xEF\xBF\xBD");
    EXPECT_EQ(invalid, 2U);
}

} // namespace
